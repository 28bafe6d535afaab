"""check: which files are right, what is said of those that are not, and that no gateway is needed."""

import os
import subprocess
import time
import unittest

from gateway import CONFIG, NOTHING, TREE, GatewayTest

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
        for text in DUMP, NOTHING, DUMP.replace('!\n', ''), DUMP + 'counter 5 enable\ndebug info on\n':
            self.assertEqual(self.check(text), (0, ''))

    def test_no_gateway_is_touched(self):
        ran = self.config('check', self.file(DUMP))
        self.assertEqual((ran.status, ran.opens, ran.requests, ran.calls), (0, 0, [], []))
        ran = self.config('check', self.file('limit up mode ip\nlimit up add ip 1.2.3.4 rate 5\n'
                                             'limit up delete ip 1.2.3.4 rate 5\nlimit up mode vlan\ntest api\n'))
        self.assertEqual((ran.status, ran.opens, ran.requests, ran.calls), (2, 0, [], []))

    def test_every_spelling_that_the_tool_takes(self):
        status, said = self.check(str(TREE / 'tests/roundtrip/typed.txt'))
        self.assertEqual(status, 0)
        self.assertRegex(said, r'^kxqos-config: \S+:23: warning: bucket 4 is not set: rule 20 [^\n]*\n$')

    def test_blanks_and_comments(self):
        plain = 'rule 5 match vid 7 action queue 1\nbucket 3 rate 64\n'
        odd = ('\n  \t\n# a comment\n   # another\n  rule\t5  match \t vid 7 action   queue 1  \r\n\r\n'
               '\tbucket 3 rate 64\t\n')
        self.assertEqual(self.applied(plain), [8, 13])
        self.assertEqual(self.applied(odd), [])

    def test_six_marks(self):
        self.refused(DUMP[:-2], '/file: has 5 of the six lines of "!": it was cut off')
        self.refused('!\n', '/file: has 1 of the six lines of "!": it was cut off')
        self.refused(DUMP + '!\n', '/file:14: more than six lines of "!": !')
        self.refused('qos enable\n' + NOTHING.replace('qos disable\n', ''),
                     '/file:1: stands before the first line of "!": qos enable')
        self.refused(DUMP + 'bucket 4 rate 64\n', '/file:14: stands after the wrong line of "!": bucket 4 rate 64')
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
        self.refused('rule 5 action queue 1\nrule 5 action queue 2\n',
                     '/file:2: this rule is given twice, and differently: rule 5 action queue 2')
        self.assertEqual(self.check('rule 5 action queue 1\nrule 5 profile 1 action queue 2\nrule 5 action queue 1\n'
                                    'rule 5 delete\nrule 5 action queue 2\nreset profile qos\n'
                                    'rule 5 action queue 3\n'), (0, ''))

    def test_a_bucket_that_is_missing_is_a_warning(self):
        line = 'rule 5 match vid 7 action rate-bucket 9'
        self.assertEqual(self.check(f'qos enable\n{line}\n'),
                         (0, f'kxqos-config: /file:2: warning: bucket 9 is not set: {line}\n'))
        self.assertEqual(self.check(f'{line}\nbucket 9 rate 64\n'), (0, ''))

    def test_deleted_limits(self):
        self.assertEqual(self.applied('limit up add vlan 1 rate 1\nlimit up add vlan 2 rate 2\n'
                                      'limit up add vlan 3 rate 3\nlimit up delete vlan 2 rate 2\n'), [19, 19])
        self.assertIn('limit up add vlan 1 rate 1 \nlimit up add vlan 3 rate 3 \nlimit down', self.shown())

    def test_what_is_no_file_of_commands(self):
        self.refused('', '/file: names nothing; to have nothing, write "qos disable"')
        self.refused('# only this\n\n', '/file: names nothing; to have nothing, write "qos disable"')
        self.refused(b'qos enable\nbucket 1\0 rate 64\n', '/file:2: a byte of zero')
        self.refused(bytes(100000), '/file:1: a byte of zero')
        self.refused('bucket 1 rate 64\n' * 600000, '/file: larger than 4 MiB')
        os.mkfifo(self.folder / 'fifo')
        self.refused(str(self.folder / 'fifo'), '/fifo: not a regular file')
        self.refused(str(self.folder), ': not a regular file')
        self.refused('/dev/zero', '/dev/zero: not a regular file')
        self.refused('/none/there', '/none/there: No such file or directory')

    def test_standard_input(self):
        for text, status, said in (('qos enable\n', 0, ''),
                                   ('qos\n', 2, 'standard input:1: a word is missing, unknown, too long or out of '
                                                'its range: qos')):
            ran = self.config('check', '-', input=text.encode())
            self.says(ran, status, *([said] if said else []))

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
        self.assertEqual(self.check(line + '\n'), (0, ''))
        line = 'rule 5 match ' + 'vid 7 ' * 520 + 'action queue 1'
        self.refused(line + '\n', '/file:1: the line has too many words: ' + line)
        self.refused('x ' * 1024 + '\n', '/file:1: the line has too many words: ' + ('x ' * 1024)[:-1])
        self.assertEqual(self.check('rule 5 match wan ' + 'x' * 100000 + '\n')[0], 2)

    def test_no_terminal_is_moved(self):
        self.refused(b'qos \x1b[2J\x7f\n',
                     '/file:1: a word is missing, unknown, too long or out of its range: qos ?[2J?')


class Usage(GatewayTest):
    def test_bad_use(self):
        for words in ([], ['frob'], ['--frob'], ['check', 'a', 'b'], ['check', ''], ['check', '--wait', '1'],
                      ['show', 'x'], ['show', '--lossy'], ['apply', '--wait'], ['apply', '--wait', 'x'],
                      ['apply', '--wait', '-1'], ['apply', '--wait', '9999'], ['apply', '--confirm', '0'],
                      ['apply', '--confirm', '5', '--keep-going'], ['run', '--confirm', '5'], ['diff', '--json'],
                      ['save', '--keep-going']):
            ran = self.config(*words)
            self.assertEqual((ran.status, ran.out, ran.requests), (2, b'', []), words)
            self.assertIn('Usage: kxqos-config show [--json]\n', ran.err)

    def test_help_and_version(self):
        ran = self.config('--help')
        self.assertEqual((ran.status, ran.err, ran.out[:32]), (0, '', b'Usage: kxqos-config show [--json'))
        ran = self.config('--version')
        self.assertEqual((ran.status, ran.err, ran.out), (0, '', b'kxqos-config 1.0.0\n'))


if __name__ == '__main__':
    unittest.main()
