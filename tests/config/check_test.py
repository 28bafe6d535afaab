"""check: which files are right, what is said of those that are not, and that no gateway is needed."""

import os
import subprocess
import time
import unittest

from gateway import CONFIG, NOTHING, TYPED, TYPED_LOST, TYPED_WHOLE, GatewayTest, injected

DUMP = '''!
qos enable
!
rule 5 profile qos match sip 192.168.1.7/255.255.255.255 action rate-bucket 3
!
puredscpremark enable
!
bucket 3 rate 64
!
limit up mode vlan
limit up add vlan 7 rate 100
limit down mode disable
!
'''

# A line, and what is wrong with it.
WRONG = '''\
test wan eth0 counter|a command that does not configure
test api|a command that does not configure
configuration show|a command that does not configure
rule 5 show|a command that does not configure
bucket show|a command that does not configure
bucket 3 show|a command that does not configure
limit show|a command that does not configure
queue show|a command that does not configure
counter show|a command that does not configure
counter 5 clear|a command that does not configure
counter clear|a command that does not configure
debug show|a command that does not configure
debug ?|a command that does not configure
?|a command that does not configure
rule 5 foo|Err: Unknown command!
rule|a word is missing, unknown, too long or out of its range
nonsense|Err: unknow argument: nonsense
!x|Err: unknow argument: !x
qos on|a word is missing, unknown, too long or out of its range
rule 65 action queue 1|Err: Maximum 64 rules of qos profile!
rule 513 profile 1 action queue 1|no such rule: the number is too high for its profile
rule 5 match sip 192.168.1.999 action queue 1|Err: sip address format error
rule 5 match vid 4096 action queue 1|Err: parameter '4096' beyond the range (0~4095)
rule 5 match sip6 ::1/zz action queue 1|Invalid IPv6 Mask 'zz' specified
rule 5 match indev  action queue 1|Err: Unknow command!
rule 5 match indev abcdefghijklmnop action queue 1|a word is missing, unknown, too long or out of its range
rule 5 delete|there is no such rule to delete
rule 513 profile 1 delete|there is no such rule to delete
bucket 65 rate 1|Err: parameter '65' beyond the range (1~64)
bucket 5 delete|there is no such bucket to delete
bucket 5 rate 64 kbps|the last word would be ignored
limit up mode ip vlan|the last word would be ignored
limit up mode tcp|Err: unknow mode tcp
limit up add vlan 5 rate 6 7|the last word would be ignored
limit up add vlan 5 kbps 6|a word is missing, unknown, too long or out of its range
limit up add dot 5 rate 6|Err: unknow argument dot
limit up delete vlan 5 rate 6|there is no such limit to delete
debug info on now|the last word would be ignored
debug info maybe|Err: Unknow argument: maybe
'''

# A line of which the tool would use only a part, and the part that it would not, by what is wrong with it.
LOST = {
    'given twice in a rule': '''\
rule 5 match vid 7 vid 8 action queue 1|a field given before
rule 5 match vid 7 pri 1 vid 7 action queue 1|a field given before
rule 5 match indev eth0 invirtdev eth1 action queue 1|a field given before
rule 5 match vid 7 action queue 1 queue 2|an action given before
rule 5 match vid 7 action queue 1 dscp 3 queue 1|an action given before
rule 5 action dbgon dbgon|an action given before
''',
    'one place for two fields': '''\
rule 5 match dmac 0:1:2:3:4:5 edmac 0:1:2:3:4:6 action queue 1|a field given before, in the same place,
rule 5 match edmac 0:1:2:3:4:5 vid 7 dmac 0:1:2:3:4:5/ff:ff:ff:0:0:0 action queue 1|a field given before, in the same place,
rule 5 match sip 10.0.0.1 esip 10.0.0.2 action queue 1|a field given before, in the same place,
rule 5 match sip 10.0.0.1 sip6 2001:db8::1 action queue 1|a field given before, in the same place,
rule 5 match sip6 2001:db8::1 sip 10.0.0.1 action queue 1|a field given before, in the same place,
rule 5 match sip6 2001:db8::1 esip6 2001:db8::2 action queue 1|a field given before, in the same place,
rule 5 match dip6 2001:db8::1 dip 10.0.0.1 action queue 1|a field given before, in the same place,
rule 5 match sip 10.0.0.1 esip 10.0.0.2 sip6 100:a::/ffff:ffff:: action queue 1|a field given before, in the same place,
rule 5 match sip6 201:a::/ffff:ffff:: esip 10.0.1.1 sip 10.0.1.2 action queue 1|a field given before, in the same place,
rule 5 match sip 10.0.0.2 esip 10.0.0.1 sip6 100:a::/ffff:ffff:: action queue 1|a field given before, in the same place,
rule 5 match sport 5 esport 6 action queue 1|a field given before, in the same place,
rule 5 match sport 5~7 esport 5~8 action queue 1|a field given before, in the same place,
rule 5 match protocol 6 protocols 7 action queue 1|a field given before, in the same place,
''',
    'the key of a limit': '''\
limit up add ip !10.0.0.1 rate 5|the "!"
limit up add ip !10.0.0.1~10.0.0.2 rate 5|the "!"
limit up add ip6 !2001:db8::1 rate 5|the "!"
limit up add ip 10.0.0.0/24 rate 5|the mask
limit up add ip 10.0.0.1/255.255.255.255 rate 5|the mask
limit down add ip6 2001:db8::/64 rate 5|the mask
''',
    'a map of ports': '''\
rule 5 match rxports 3/1 action queue 1|the mask
rule 5 match rxports 3/0xffff action queue 1|the mask
rule 5 match rxports 1~3 action queue 1|the range
rule 5 match txports !0xff/3 action queue 1|the mask
rule 5 match txports ~3 action queue 1|the range
''',
    'protocol bits': '''\
rule 5 match protocols 1~3 action queue 1|the range
''',
    'the end of an address': '''\
rule 5 match dmac 00:11:22:33:44:55junk action queue 1|the end of the address
rule 5 match smac 00:11:22:33:44:555 action queue 1|the end of the address
rule 5 match edmac !00:11:22:33:44:55x/ff:ff:ff:ff:ff:ff action queue 1|the end of the address
rule 5 match dmac 00:11:22:33:44:55/ff:ff:ff:ff:ff:ff. action queue 1|the end of the address
rule 5 match dmac 00:11:22:33:44:55~00:11:22:33:44:66~00:11:22:33:44:77 action queue 1|the end of the address
rule 5 match sip 000000000010.0.0.123 action queue 1|the end of the address
rule 5 match dip 10.0.0.0/000000255.255.255.128 action queue 1|the end of the address
limit up add ip 10.0.0.1~000000000010.0.0.123 rate 5|the end of the address
rule 5 match sip6 ::1/{zeros}64 action queue 1|the end of the address
'''.replace('{zeros}', '0' * 251),
    'a mask that is none': '''\
rule 5 match sip 10.0.0.1/0 action queue 1|the prefix length 0
rule 5 match dip 10.0.0.1~0 action queue 1|the prefix length 0
rule 5 match sip 10.0.0.1/ action queue 1|the mask
rule 5 match sip6 nonsense/0 action queue 1|the address
rule 5 match sip6 2001:db8::1/:: action queue 1|the address
''',
    'bits for which there is no room': '''\
rule 5 match pri 3/0x1ff action queue 1|the high bits of the mask
rule 5 match tos 3/256 action queue 1|the high bits of the mask
rule 5 match protocols 3/0xffff action queue 1|the high bits of the mask
rule 4294967301 action queue 1|the high bits of a number
rule 5 profile 4294967297 action queue 1|the high bits of a number
reset profile 4294967297|the high bits of a number
rule 5 match vid 4294967303 action queue 1|the high bits of a number
rule 5 match vid 7/4294967311 action queue 1|the high bits of a number
rule 5 match vid 7~4294967304 action queue 1|the high bits of a number
rule 5 match rxports 99999999999999999999 action queue 1|the high bits of a number
rule 5 action queue -4294967295|the high bits of a number
bucket 4294967301 rate 64|the high bits of a number
bucket 5 rate 4294967360|the high bits of a number
counter 4294967301 enable|the high bits of a number
limit up add vlan 5 rate 4294967296|the high bits of a number
limit up add vlan 5 rate 18446744073709551615|the high bits of a number
limit up add vlan 5 rate -2147483649|the high bits of a number
limit up add vlan 5 rate -99999999999999999999|the high bits of a number
limit up add port 4294967301 rate 5|the high bits of a number
''',
    'a blank': '''\
rule \f5 action queue 1|a blank
rule 5 match sip 10.\v0.0.1 action queue 1|a blank
''',
}

# Lines that look like those, and of which all counts.
WHOLE = '''\
rule 1 match dmac 0:1:2:3:4:5 edmac 0:1:2:3:4:5 sip 10.0.0.1 esip 10.0.0.1 action queue 1
rule 2 match sip6 100:a::/ffff:ffff:: esip6 100:a::/ffff:ffff:: sip 10.0.0.1 action queue 1
rule 3 match sip 10.0.0.1 sip6 100:a::/ffff:ffff:: action queue 1
rule 4 match sport 5~7 esport 5/7 protocol 6 protocols !6/0xff action queue 1
rule 5 match rxports !-1 txports 0xffffffff action queue 7 dscp 7
rule 6 match pri 3/0xff vid 7/0xffff fl 5/0xffff action queue 1
rule 7 match dmac 0:1:2:3:4:5/ff:ff:ff:ff:ff:ff smac 0:1:2:3:4:5~0:1:2:3:4:6 action queue 1
rule 8 match sip 0000000010.0.0.0001/00000000000000000000000024 dip 10.0.0.1~ action queue 1
rule 9 match sip 10.0.0.1/0.0.0.0 sip6 ::/0 action queue 1
rule 10 match sip6 2001:db8::1/64 dip 10.0.0.7/24 action queue 0x00000000000000001
limit up add ip 10.0.0.1~10.0.0.2 rate 4294967295
limit up add ip6 2001:db8::1~2001:db8::2 rate -1
limit up add vlan 5 rate -2147483648
'''


def shown(line):
    """A line as messages show it."""
    return ''.join('?' if c < ' ' else c for c in line)


class Check(GatewayTest):
    def check(self, text):
        """Outside of any gateway."""
        path = text if isinstance(text, str) and text.startswith('/') else self.file(text)
        ran = subprocess.run([CONFIG, 'check', path], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, timeout=30, check=False)
        self.assertEqual(ran.stdout, b'')
        return ran.returncode, ran.stderr.decode(errors='replace').replace(str(self.folder), '')

    def refused(self, text, *messages):
        self.assertEqual(self.check(text), (2, ''.join(f'kxqos-config: {message}\n' for message in messages)))

    def test_right_files(self):
        for text in DUMP, NOTHING, DUMP.replace('!\n', ''), '!\ncounter 5 enable\ndebug info on\n' + DUMP[2:]:
            self.assertEqual(self.check(text), (0, ''))

    def test_no_gateway_is_touched(self):
        ran = self.config('check', self.file(DUMP))
        self.assertEqual((ran.status, ran.opens, ran.requests, ran.calls), (0, 0, [], []))
        ran = self.config('check', self.file('limit up mode ip\nlimit up add ip 1.2.3.4 rate 5\n'
                                             'limit up delete ip 1.2.3.4 rate 5\nlimit up mode vlan\ntest api\n'))
        self.assertEqual((ran.status, ran.opens, ran.requests, ran.calls), (2, 0, [], []))

    def test_every_spelling_that_the_tool_takes(self):
        self.refused('\n'.join(TYPED) + '\n', *(f'/file:{number}: {what} would be ignored: {TYPED[number - 1]}'
                                                for number, what in TYPED_LOST.items()))
        status, said = self.check(TYPED_WHOLE)
        self.assertEqual(status, 0)
        self.assertRegex(said, r'^kxqos-config: /file:23: warning: bucket 4 is not set: rule 20 [^\n]*\n$')

    def test_blanks_and_comments(self):
        plain = 'rule 5 match vid 7 action queue 1\nbucket 3 rate 64\n'
        odd = ('\n  \t\n# a comment\n   # another\n  rule\t5  match \t vid 7 action   queue 1  \r\n\r\n'
               '\tbucket 3 rate 64\t\n')
        self.assertEqual(self.applied(plain), [8, 13])
        self.assertEqual(self.applied(odd), [])
        self.refused('\t  qos \t\nqos enable\n', '/file:1: a word is missing, unknown, too long or out of its range: qos')

    def test_a_carriage_return(self):
        # It ends a line, and elsewhere it is a part of a word.
        for end in '\r\n', ' \r\n':
            self.refused('qos' + end, '/file:1: a word is missing, unknown, too long or out of its range: qos')
        self.refused('\rqos enable\n', '/file:1: Err: unknow argument: ?qos: ?qos enable')
        self.refused('\r\r\n', '/file:1: Err: unknow argument: ?: ')

    def test_six_marks(self):
        self.refused(DUMP[:-2], '/file: has 5 of the six lines of "!": it was cut off')
        self.refused('!\n', '/file: has 1 of the six lines of "!": it was cut off')
        self.refused(DUMP + '!\n', '/file:14: more than six lines of "!": !')
        self.refused('qos enable\n' + NOTHING.replace('qos disable\n', ''),
                     '/file:1: stands before the first line of "!": qos enable')
        self.refused(DUMP + 'bucket 4 rate 64\n', '/file:14: stands after the wrong line of "!": bucket 4 rate 64')
        # Nothing stands behind the last, where it could be cut off unnoticed.
        for line in 'counter 5 enable', 'debug info on', 'refresh enable', 'rule 5 delete', 'reset profile qos':
            self.refused(f'{DUMP}{line}\n', f'/file:14: stands after the wrong line of "!": {line}')
        self.refused('!\nbucket 4 rate 64\n' + DUMP[2:], '/file:2: stands after the wrong line of "!": bucket 4 rate 64')
        self.refused(DUMP.replace('qos enable\n!\n', '!\nqos enable\n'),
                     '/file:3: stands after the wrong line of "!": qos enable')

    def test_every_cut(self):
        for size in range(len(DUMP)):
            self.assertEqual(self.check(DUMP[:size])[0], 2, size)

    def test_no_newline_at_the_end(self):
        self.refused('qos enable\nbucket 1 rate 64',
                     '/file:2: the last line has no newline: the file was cut off')

    def test_wrong_lines(self):
        lines = [row.split('|') for row in WRONG.splitlines()]
        text = 'qos enable\n' + ''.join(line + '\n' for line, _ in lines)
        self.refused(text, *(f'/file:{n}: {why}: {line}' for n, (line, why) in enumerate(lines, 2)))

    def test_what_would_be_lost(self):
        many = [f'limit down add ip 10.0.0.{n} rate {n}' for n in range(1, 26)]
        self.refused('\n'.join(many) + '\n', '/file:25: the table of these limits is full: ' + many[-1])
        self.assertEqual(self.check('\n'.join(many[:24]) + '\n'), (0, ''))
        self.refused('limit up add vlan 5 rate 1\nlimit up add vlan 5 rate 2\n',
                     '/file:2: this limit is given twice, with two rates: limit up add vlan 5 rate 2')
        self.assertEqual(self.check('limit up add vlan 5 rate 1\nlimit up add vlan 5 rate 1\n'
                                    'limit down add vlan 5 rate 2\nlimit up add port 5 rate 2\n'), (0, ''))
        self.refused('bucket 5 rate 64\nbucket 5 rate 128\n',
                     '/file:2: this bucket is given twice, with two rates: bucket 5 rate 128')
        self.assertEqual(self.check('bucket 5 rate 64\nbucket 5 rate 64\n'), (0, ''))
        self.refused('rule 5 action queue 1\nrule 5 action queue 2\n',
                     '/file:2: this rule is given twice, and differently: rule 5 action queue 2')
        self.assertEqual(self.check('rule 5 action queue 1\nrule 5 profile 1 action queue 2\nrule 5 action queue 1\n'
                                    'rule 5 delete\nrule 5 action queue 2\nreset profile qos\n'
                                    'rule 5 action queue 3\n'), (0, ''))
        # The first of all, and a limit whose number is 0.
        self.assertEqual(self.check('rule 1 action queue 1\nrule 1 delete\n'), (0, ''))
        self.assertEqual(self.check('limit up add port 3 rate 1\nlimit up add port 0 rate 1\n'
                                    'limit up delete port 0 rate 1\n'), (0, ''))

    def refused_losses(self, kind):
        rows = [row.split('|') for row in LOST[kind].split('\n')[:-1]]
        text = 'qos enable\n' + ''.join(line + '\n' for line, _ in rows)
        self.refused(text, *(f'/file:{n}: {what} would be ignored: {shown(line)}' for n, (line, what)
                             in enumerate(rows, 2)))
        for line, _ in rows:  # the tool itself takes it
            self.assertEqual(self.tool(*line.split(' ')).status, 0, line)

    def test_given_twice_in_a_rule(self):
        self.refused_losses('given twice in a rule')

    def test_one_place_for_two_fields(self):
        self.refused_losses('one place for two fields')

    def test_the_key_of_a_limit(self):
        self.refused_losses('the key of a limit')

    def test_a_map_of_ports(self):
        self.refused_losses('a map of ports')

    def test_protocol_bits(self):
        self.refused_losses('protocol bits')

    def test_the_end_of_an_address(self):
        self.refused_losses('the end of an address')

    def test_a_mask_that_is_none(self):
        self.refused_losses('a mask that is none')

    def test_bits_for_which_there_is_no_room(self):
        self.refused_losses('bits for which there is no room')

    def test_a_blank_within_a_word(self):
        self.refused_losses('a blank')

    def test_of_which_all_counts(self):
        self.assertEqual(self.check(WHOLE), (0, ''))

    def test_two_values_of_one_thing(self):
        for first, second in (('qos enable', 'qos disable'), ('puredscpremark disable', 'puredscpremark enable'),
                              ('fine-classifi enable', 'fine-classifi disable'),
                              ('limit up mode ip', 'limit up mode disable'),
                              ('limit down mode disable', 'limit down mode port'),
                              ('counter 5 enable', 'counter 5 disable'), ('counter 5 disable', 'counter 5 enable'),
                              ('debug info on', 'debug info off'), ('debug info off', 'debug all on'),
                              ('debug all on', 'debug ratelimit off'), ('refresh enable', 'refresh disable'),
                              ('refresh disable', 'refresh enable')):
            self.refused(f'{first}\nbucket 5 rate 64\n{second}\n',
                         f'/file:3: this is given twice, and differently: {second}')
            self.assertEqual(self.check(f'{first}\n{first}\n'), (0, ''))
        self.assertEqual(self.check('limit up mode ip\nlimit down mode vlan\ncounter 5 enable\ncounter 6 disable\n'
                                    'debug info on\ndebug error off\nqos enable\nrefresh disable\n'), (0, ''))

    def test_a_bucket_that_is_missing_is_a_warning(self):
        for line in 'rule 5 match vid 7 action rate-bucket 9', 'rule 1 action rate-bucket 9':
            self.assertEqual(self.check(f'qos enable\n{line}\n'),
                             (0, f'kxqos-config: /file:2: warning: bucket 9 is not set: {line}\n'))
        self.assertEqual(self.check(f'{line}\nbucket 9 rate 64\n'), (0, ''))

    def test_deleted_limits(self):
        self.assertEqual(self.applied('limit up add vlan 1 rate 1\nlimit up add vlan 2 rate 2\n'
                                      'limit up add vlan 3 rate 3\nlimit up delete vlan 2 rate 2\n'), [19, 19])
        self.assertIn('limit up add vlan 1 rate 1 \nlimit up add vlan 3 rate 3 \nlimit down', self.shown())

    def test_a_deleted_bucket(self):
        self.assertEqual(self.applied('bucket 5 rate 64\nbucket 6 rate 64\nbucket 5 delete\n'), [8])
        self.assertEqual(self.shown(), NOTHING.replace('!\nlimit', 'bucket 6 rate 64\n!\nlimit'))

    def test_what_is_no_file_of_commands(self):
        self.refused('', '/file: names nothing; to have nothing, write "qos disable"')
        self.refused('# only this\n\n', '/file: names nothing; to have nothing, write "qos disable"')
        self.refused(b'qos enable\nbucket 1\0 rate 64\n', '/file:2: a byte of zero')
        self.refused(bytes(100000), '/file:1: a byte of zero')
        self.refused(b'\n' * 300 + b'\0\n', '/file:301: a byte of zero')
        self.refused('x', '/file:1: the last line has no newline: the file was cut off')
        whole = 'qos enable'.ljust(63) + '\n' + ('#' * 63 + '\n') * 65535
        self.says(self.config('check', self.file(whole)), 0)
        self.refused(whole + '\n', '/file: larger than 4 MiB')
        os.mkfifo(self.folder / 'fifo')
        self.refused(str(self.folder / 'fifo'), '/fifo: not a regular file')
        self.refused(str(self.folder), ': not a regular file')
        self.refused('/dev/zero', '/dev/zero: not a regular file')
        self.refused('/none/there', '/none/there: No such file or directory')

    def test_a_terminal_is_not_taken_for_its_own(self):
        # It would be, of a session that has none, and hung up at the end: what is left of the session would die.
        controller, terminal = os.openpty()
        for descriptor in controller, terminal:
            self.addCleanup(os.close, descriptor)
        name = os.ttyname(terminal)
        left = 'exec 3<&0; { read line <&3 && echo "$line"; } & exec "$0" check "$1"'
        started = subprocess.Popen(['sh', '-c', left, CONFIG, name], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, start_new_session=True)
        self.assertEqual(started.wait(30), 2)
        self.assertEqual(started.communicate(b'alive\n', timeout=30),
                         (b'alive\n', f'kxqos-config: {name}: not a regular file\n'.encode()))

    def test_standard_input(self):
        for text, status, said in (('qos enable\n', 0, ''),
                                   ('qos\n', 2, 'standard input:1: a word is missing, unknown, too long or out of '
                                                'its range: qos')):
            ran = self.config('check', '-', input=text.encode())
            self.says(ran, status, *([said] if said else []))
        # In the pieces that a pipe gives.
        whole = b'#' * ((4 << 20) - 12) + b'\nqos enable\n'
        self.says(self.config('check', '-', input=whole), 0)
        self.says(self.config('check', '-', input=whole + bytes(100000)), 2, 'standard input: larger than 4 MiB')

    def test_a_file_that_cannot_be_read(self):
        file = self.file('qos enable\n')
        for call in '/stat', 'read':
            ran = self.run_words(*injected(f'{call}:error=EIO', 'check', file, path=file))
            self.says(ran, 2, f'{file}: Input/output error')
        self.says(self.run_words(*injected('read:error=EINTR:when=1', 'check', file, path=file)), 0)

    def test_the_usual_file(self):
        if not os.path.exists('/etc/kxqos.conf'):
            ran = self.config('check')
            self.says(ran, 2, '/etc/kxqos.conf: No such file or directory')

    def test_time_is_linear(self):
        started = time.monotonic()
        blanks = ' ' * 4000000
        self.assertEqual(self.check(f'{blanks}qos enable\n'), (0, ''))
        self.assertEqual(self.check('\t\n' * 1000000 + 'qos enable\n'), (0, ''))
        self.assertEqual(self.check('#' * 4000000 + '\nqos enable\n'), (0, ''))
        self.assertEqual(self.check('x' * 4000000 + '\n')[0], 2)
        self.assertEqual(self.check('x\n' * 100000)[0], 2)
        self.assertLess(time.monotonic() - started, 20)  # a square would take hours

    def test_long_lines(self):
        line = 'rule 5 match ' + 'vid 7 ' * 505 + 'action queue 1'  # 1016 words
        self.refused(line + '\n', '/file:1: a field given before would be ignored: ' + line)
        line = 'rule 5 match ' + 'vid 7 ' * 520 + 'action queue 1'
        self.refused(line + '\n', '/file:1: the line has too many words: ' + line)
        self.refused('x ' * 1024 + '\n', '/file:1: the line has too many words: ' + ('x ' * 1024)[:-1])
        self.refused('x ' * 1023 + '\n', '/file:1: Err: unknow argument: x: ' + ('x ' * 1023)[:-1])
        # So much of it is shown.
        self.refused('x ' * 2048 + '\n', '/file:1: the line has too many words: ' + 'x ' * 2047 + 'x')
        self.refused('x ' * 2048 + 'x\n', '/file:1: the line has too many words: ' + 'x ' * 2047 + 'x')
        self.assertEqual(self.check('rule 5 match wan ' + 'x' * 100000 + '\n')[0], 2)
        word = 'x' * 1000
        self.refused(f'{word}\n', f'/file:1: Err: unknow argument: {word}: {word}')
        # What is cut is a line still, whatever was full at its end.
        for size in [*range(8160, 8200), 100000]:
            status, said = self.check('x' * size + '\n')
            self.assertEqual((status, said.count('\n'), said[-2:]), (2, 1, 'x\n'))
            self.assertTrue(said.startswith(f'kxqos-config: /file:1: Err: unknow argument: {word}'), said)

    def test_no_terminal_is_moved(self):
        self.refused(b'qos \x1b[2J\x7f\n',
                     '/file:1: a word is missing, unknown, too long or out of its range: qos ?[2J?')
        # Nor by what the tool says of a word.
        self.refused(b'\x1b[2J\n', '/file:1: Err: unknow argument: ?[2J: ?[2J')


USAGE = '''\
Usage: kxqos-config show [--json]
       kxqos-config save [--lossy] [--wait SECONDS] [FILE]
       kxqos-config check [FILE]
       kxqos-config diff [--wait SECONDS] [FILE]
       kxqos-config apply [--keep-going | --confirm SECONDS] [--wait SECONDS] [FILE]
       kxqos-config run [--keep-going] [--wait SECONDS] [FILE]
       kxqos-config --help | --version
'''


class Usage(GatewayTest):
    def refused(self, *words, what=''):
        ran = self.config(*words)
        self.assertEqual((ran.status, ran.out, ran.requests, ran.opens), (2, b'', [], 0), words)
        self.assertTrue(ran.err.endswith(USAGE), words)
        said = ran.err[:-len(USAGE)]
        self.assertEqual((said != '', what in said), (what != '', True), said)

    def test_bad_use(self):
        for words in ([], ['frob'], ['check', 'a', 'b'], ['check', ''], ['show', 'x'], ['apply', '--wait', 'x'],
                      ['apply', '--wait', '-1'], ['apply', '--wait', '3601'], ['apply', '--confirm', '0'],
                      ['apply', '--confirm', '3601'], ['apply', '--confirm', '5', '--keep-going'],
                      ['--help', '--version'], ['check', '--help', '--wait', '1'], ['--wait', 'x', 'diff'],
                      ['--confirm', '0', 'apply']):
            self.refused(*words)
        for words in ['--frob'], ['apply', '--wait'], ['-#']:
            self.refused(*words, what=words[-1].lstrip('-'))

    def test_which_verb_takes_what(self):
        options = ['--json'], ['--lossy'], ['--keep-going'], ['--confirm', '5'], ['--wait', '1']
        for verb in USAGE.splitlines()[:-1]:
            words = verb.replace('Usage:', '').split()
            for option in options:
                if not any(option[0] in word for word in words):
                    self.refused(words[1], *option)
            self.refused(words[1], 'a', 'b')

    def test_the_longest_wait(self):
        file = self.file('qos disable\n')
        for option in '--wait', '--confirm':
            self.says(self.config('apply', option, '3600', file), 0)

    def test_help_and_version(self):
        ran = self.config('--help')
        self.assertEqual((ran.status, ran.err, ran.out.decode()), (0, '', USAGE))
        ran = self.config('--version')
        self.assertEqual((ran.status, ran.err, ran.out), (0, '', b'kxqos-config 1.0.0\n'))
        # Without what takes the place of closed descriptors, too.
        ran = self.run_words(*injected('openat:error=EACCES', '--version', path='/dev/null'))
        self.assertEqual((ran.status, ran.err, ran.out), (0, '', b'kxqos-config 1.0.0\n'))


if __name__ == '__main__':
    unittest.main()
