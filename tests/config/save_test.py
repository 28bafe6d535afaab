"""show, save and show --json: what the gateway holds."""

import json
import os
import pathlib
import signal
import subprocess
import unittest

import jsonschema

from apply_test import FULL
from gateway import CONFIG, NOTHING, TREE, GatewayTest, injected

COMMENTS = '''\
# kxqos-config 1.0.0
# Whether the forwarding table is refreshed ("refresh") cannot be read, so it is not in here.
'''
# What the lines that the tool shows are from the first one on, with what it does not show after that.
FIRST = '!\n'
MORE = '!\ncounter 9 enable\ndebug info on\ndebug error on\n'
SCHEMA = json.loads((TREE / 'docs/kxqos-config.schema.json').read_text())


def hexadecimal(text):
    return text.encode('latin-1').hex()


class Show(GatewayTest):
    def test_the_same_bytes_as_the_tool(self):
        self.assertEqual(self.config('show').out.decode(), NOTHING)
        self.applied(FULL)
        ran = self.config('show')
        self.says(ran, 0)
        self.assertEqual(self.trace().splitlines()[0], f'open {os.O_RDWR | os.O_CLOEXEC} = 0')
        self.assertEqual(ran.out.decode(), self.shown().replace(FIRST, MORE, 1))
        self.assertEqual((ran.changes, ran.opens), ([], 1))

    def test_the_first_and_the_last_counter(self):
        self.applied('counter 1 enable\ncounter 222 enable\n')
        # What a counter has counted is not asked for again with the next.
        for words, begin in (['show'], ''), (['save', '-'], COMMENTS):
            ran = self.config(*words, faults=['26#1=bytes:8:' + '77' * 24])
            self.says(ran, 0)
            counters = '!\ncounter 1 enable\ncounter 222 enable\n'
            self.assertEqual(ran.out.decode(), begin + NOTHING.replace(FIRST, counters, 1))
            self.assertEqual([sent for number, _, sent in ran.requests if number == 26],
                             [number.to_bytes(32, 'little') for number in range(1, 223)])

    def test_every_debug_category(self):
        lines = ''.join(f'debug {name} on\n' for name in ('info', 'warnning', 'error', 'packet', 'pre-match', 'match',
                                                         'action', 'fineclassifi', 'ratelimit'))
        self.applied(lines)
        # The module may have flags that are nobody's category.
        for faults in [], ['2#1=bytes:0:ffffffff']:
            self.assertEqual(self.config('show', faults=faults).out.decode(), NOTHING.replace(FIRST, FIRST + lines, 1))

    def test_a_failed_read_is_told(self):
        self.applied(FULL)
        for fault in '17#1=fail', '11#2=fail', '20#3=fail', '29#1=fail', '26#7=fail', '2#1=fail', '17#2=result:3':
            ran = self.config('show', faults=[fault])
            number, what = fault.split('#')[0], fault.split('=')[1]
            self.says(ran, 1, 'this is not all that the gateway holds: request %s gave %s' % (
                number, '-1 (Input/output error)' if what == 'fail' else '3 (not an error number)'))
            tool = self.run_words(str(pathlib.Path(CONFIG).with_name('kxqosctl')), 'configuration', 'show',
                                  faults=[fault])
            more = {line for line in MORE.encode().splitlines() if line not in tool.out.splitlines()}
            self.assertEqual(b''.join(line for line in ran.out.splitlines(True) if line[:-1] not in more), tool.out, fault)
            self.assertEqual(self.config('show', '--json', faults=[fault]).out, b'')
            self.assertEqual(self.config('show', '--json', faults=[fault]).status, 1)

    def test_output_that_cannot_be_written(self):
        self.applied(FULL)
        for words in ['show'], ['show', '--json'], ['save', '-'], ['diff', self.file('qos disable\n')], ['--version']:
            with open('/dev/full', 'w', encoding='ascii') as full:
                words = self.words(CONFIG, *words)
                ran = subprocess.run(words, stdout=full, stderr=subprocess.PIPE, timeout=60, check=False)
            self.assertEqual((ran.returncode, ran.stderr),
                             (1, b'kxqos-config: standard output: No space left on device\n'), words)

    def test_output_of_which_a_part_was_refused(self):
        # More than the buffer holds, on a disk that has room again at the end.
        self.applied(''.join(f'rule {n} profile 1 match sip 10.0.0.{n % 256} action queue 1\n' for n in range(1, 513)))
        shown = self.folder / 'shown'
        words = self.words(*injected('write:error=ENOSPC:when=1', 'show', path=shown))
        with open(shown, 'wb') as out:
            ran = subprocess.run(words, stdout=out, stderr=subprocess.PIPE, timeout=60, check=False)
        self.assertEqual((ran.returncode, ran.stderr), (1, b'kxqos-config: standard output: Input/output error\n'))

    def test_output_that_nobody_reads(self):
        self.applied(FULL)
        for words in ['show'], ['show', '--json'], ['save', '-'], ['diff', self.file('qos disable\n')]:
            reading, writing = os.pipe()
            os.close(reading)
            ran = subprocess.run(self.words(CONFIG, *words), stdout=writing, stderr=subprocess.PIPE, timeout=60,
                                 check=False)
            os.close(writing)
            self.assertEqual((ran.returncode, ran.stderr), (1, b'kxqos-config: standard output: Broken pipe\n'), words)


class Json(GatewayTest):
    def json(self, *faults):
        ran = self.config('show', '--json', faults=faults)
        self.says(ran, 0)
        self.assertEqual(ran.changes, [])
        told = json.loads(ran.out)
        jsonschema.validate(told, SCHEMA)
        return told

    def test_nothing(self):
        self.assertEqual(self.json(), {
            'version': '1.0.0', 'qos': False, 'pure_dscp_remarking': False, 'fine_classification': True, 'rules': [],
            'buckets': [], 'counters': [], 'queue_map': [1, 0, 2, 3, 4, 5, 6, 7], 'debug': [], 'debug_flags': 0,
            'limits': {direction: {'mode': 'disable', 'ip': [], 'vlan': [], 'port': []}
                       for direction in ('up', 'down')}})

    def test_everything(self):
        self.applied(FULL + 'limit up add ip6 ::1~::2 rate 4294967295\nrule 8 action sw-fwd\n'
                     'rule 9 match dip6 2001:db8::1 sip6 !2001:db8::/32 rxports 0x11 protocols 6 action\n')
        told = self.json('17#1=bytes:232:ffffffffffffffff,bytes:225:01',
                         '26#9=bytes:8:0501,bytes:16:0600000001,bytes:24:ffffffffffffffff')
        self.assertEqual((told['qos'], told['pure_dscp_remarking'], told['fine_classification']), (True, True, False))
        self.assertEqual(told['rules'], [
            {'profile': 'qos', 'id': 5, 'match': [{'field': 'vid', 'inverse': False, 'value': '7', 'mask': '0xffff'}],
             'actions': [{'action': 'rate-bucket', 'value': 3}, {'action': 'forced-dscp-remarking'}],
             'hits': 18446744073709551615},
            {'profile': 'qos', 'id': 6,
             'match': [{'field': 'sip', 'inverse': False, 'value': '10.0.0.1', 'end': '10.0.0.9'},
                       {'field': 'indev', 'inverse': False, 'value': 'eth0'}],
             'actions': [{'action': 'queue', 'value': 1}, {'action': 'counter', 'value': 9}], 'hits': 0},
            {'profile': 'qos', 'id': 8, 'match': [], 'actions': [{'action': 'sw-fwd'}], 'hits': 0},
            {'profile': 'qos', 'id': 9,
             'match': [{'field': 'dip6', 'inverse': False, 'value': '2001:db8::1'},
                       {'field': 'sip6', 'inverse': True, 'value': '2001:db8::', 'mask': '32'},
                       {'field': 'rxports', 'inverse': False, 'value': '0x11'},
                       {'field': 'protocols', 'inverse': False, 'value': '0x06'}], 'actions': [], 'hits': 0},
            {'profile': 'lanhost', 'id': 7, 'match': [], 'actions': [{'action': 'dscp', 'value': 5}], 'hits': 0}])
        # The lab's numbers: 100 and 1000 more than the bucket's.
        self.assertEqual(told['buckets'], [{'id': 3, 'rate': 128, 'hardware': 103, 'tokens': 1003},
                                           {'id': 4, 'rate': 0, 'hardware': 104, 'tokens': 1004}])
        self.assertEqual(told['counters'], [{'id': 9, 'bytes': 0x105, 'packets': 0x100000006, 'speed': (1 << 64) - 1}])
        self.assertEqual(told['limits'], {
            'up': {'mode': 'vlan', 'ip': [{'low': '1.2.3.4', 'high': '1.2.3.4', 'rate': 5},
                                          {'low': '::1', 'high': '::2', 'rate': 4294967295}],
                   'vlan': [{'vlan': 3, 'rate': 64}, {'vlan': 1, 'rate': 65}], 'port': []},
            'down': {'mode': 'port', 'ip': [], 'vlan': [], 'port': [{'port': 3, 'rate': 10}]}})
        self.assertEqual((told['debug'], told['debug_flags']), (['info', 'error'], 5))

    def test_any_byte_in_a_name(self):
        self.applied('rule 5 match wan x action queue 1\n')
        for first in range(1, 256, 15):
            name = bytes(range(first, min(first + 15, 256)))
            told = self.json(f'17#1=bytes:188:{name.hex()}00')
            self.assertEqual(told['rules'][0]['match'][0]['value'], name.decode('latin-1'))
        told = self.json('17#1=bytes:188:' + '41' * 16 + ',bytes:215:ff,bytes:224:ffffffff')
        self.assertEqual(told['rules'][0]['match'][0]['value'], 'A' * 16)
        self.assertEqual(len(told['rules'][0]['actions']), 10)

    def test_a_name_as_it_is(self):
        # What is printable stands for itself.
        self.applied('rule 5 match wan x action queue 1\n')
        ran = self.config('show', '--json', faults=['17#1=bytes:188:' + hexadecimal(' ~') + '00'])
        self.assertIn(b'"value":" ~"}', ran.out)
        self.assertTrue(ran.out.endswith(b'}\n'))

    def test_the_first_and_the_last(self):
        self.applied('rule 1 match dmac 0:1:2:3:4:5 protocols 6 action queue 1\ncounter 1 enable\ncounter 222 enable\n'
                     'bucket 1 rate 64\nbucket 64 rate 64\nqos enable\n')
        told = self.json('2#1=bytes:0:01010000')
        self.assertEqual([field['field'] for field in told['rules'][0]['match']], ['dmac', 'protocols'])
        self.assertEqual([counter['id'] for counter in told['counters']], [1, 222])
        self.assertEqual([bucket['id'] for bucket in told['buckets']], [1, 64])
        self.assertEqual((told['debug'], told['debug_flags']), (['info', 'ratelimit'], 0x101))
        self.assertEqual((told['qos'], told['pure_dscp_remarking'], told['fine_classification']), (True, False, True))

    def test_values_as_the_tool_shows_them(self):
        self.applied('rule 1 match sip6 2001:0:5::/ffff:0:ffff:: rxports 1 action queue 1\n')
        self.assertEqual(self.json()['rules'][0]['match'], [
            {'field': 'sip6', 'inverse': False, 'value': '2001:0:5::', 'mask': 'ffff:0:ffff::'},
            {'field': 'rxports', 'inverse': False, 'value': '0x1'}])

    def test_odd_answers(self):
        for mode in 4, 9:
            self.assertEqual(self.json(f'20#1=bytes:1:0{mode}')['limits']['up']['mode'], mode)
        # Flags that are nobody's category.
        told = self.json('2#1=bytes:0:00feffff')
        self.assertEqual((told['debug'], told['debug_flags']), ([], 0xfffffe00))
        # Any word but 0 says that a limit is in use.
        self.applied('limit up add vlan 7 rate 100\n')
        self.assertEqual(self.json('20#1=bytes:484:0001')['limits']['up']['vlan'], [{'vlan': 7, 'rate': 100}])

    def test_what_cannot_be_read(self):
        for number, what in (31, 'the queue map'), (26, 'the counters'), (2, 'the debug flags'):
            ran = self.config('show', '--json', faults=[f'{number}#1=fail'])
            self.says(ran, 1, f'cannot read {what}: request {number} gave -1 (Input/output error)')
            self.assertEqual(ran.out, b'')


# Commands that the tool takes, why save refuses what they make, and what check says where it knows more of their line.
UNFAITHFUL = (
    (['match', 'protocols', '5/7', 'action', 'queue', '1'], 'protocols: no line shows its mask'),
    (['match', 'protocols', '~9', 'action', 'queue', '1'], 'protocols: no line shows its mask',
     'the range would be ignored'),
    # Behind the "!" of the field a name may have its own.
    (['match', 'protocols', '5/7', 'indev', '!!x', 'action', 'queue', '1'], 'protocols: no line shows its mask'),
    (['match', 'outdev', 'x vid 7', 'action', 'queue', '1'],
     'outdev: a blank, a newline or a leading "!" in its name'),
    (['match', 'indev', 'a\nb', 'action', 'queue', '1'], 'indev: a blank, a newline or a leading "!" in its name'),
    (['match', 'indev', '', 'action', 'queue', '1'], 'indev: an empty name cannot be written'),
    (['match', 'sip6', '::5~::9', 'esip6', '::/64', 'action', 'queue', '1'], 'Invalid IPv6 Address range',
     'a field given before, in the same place, would be ignored'),
    (['match', 'vid', '7', 'vid', '7', 'action'], 'Err: Incomplete command!', 'a field given before would be ignored'),
)


class Save(GatewayTest):
    def setUp(self):
        super().setUp()
        self.saved = self.folder / 'saved'

    def save(self, *options, faults=(), file=None):
        return self.config('save', *options, str(file or self.saved), faults=faults)

    def test_the_file(self):
        self.applied(FULL)
        shown = self.shown()
        ran = self.save()
        self.says(ran, 0)
        self.assertEqual((ran.out, ran.changes, ran.opens), (b'', [], 1))
        self.assertEqual(self.saved.read_text(), COMMENTS + shown.replace(FIRST, MORE, 1))
        self.assertEqual(self.config('save', '-').out.decode(), COMMENTS + shown.replace(FIRST, MORE, 1))
        self.assertEqual(self.config('apply', str(self.saved)).changes, [])
        before = self.status()
        self.state.unlink()
        self.assertEqual(self.config('apply', str(self.saved)).status, 0)
        self.assertEqual(self.status(), before)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ['file', 'saved', 'state', 'trace'])

    def test_the_first_and_the_last(self):
        rules = ''.join(f'rule {number} profile {profile} action queue {queue}\n' for queue, (profile, last) in enumerate(
            (('qos', 64), ('osgiflow', 512), ('lanhost', 512), ('bridgedata', 64), ('hardacc', 64)))
            for number in (1, last))
        buckets = 'bucket 1 rate 64\nbucket 64 rate 128\n'
        self.applied(rules + buckets)
        self.says(self.save(), 0)
        parts = '!\nqos disable\n!\n' + rules + '!\n!\n' + buckets + NOTHING[NOTHING.index('!\nlimit'):]
        self.assertEqual(self.saved.read_text(), COMMENTS + parts)

    def test_mode_and_owner(self):
        self.addCleanup(os.umask, os.umask(0))
        # A new file is the caller's, and for all to read whom the mask does not shut out.
        for mask, mode in (0, 0o644), (0o022, 0o644), (0o027, 0o640), (0o077, 0o600), (0o022, 0o644):
            self.saved.unlink(missing_ok=True)
            os.umask(mask)
            self.says(self.save(), 0)
            status = self.saved.stat()
            self.assertEqual((status.st_mode & 0o7777, status.st_uid, status.st_gid),
                             (mode, os.geteuid(), os.getegid()))
        for mode in 0o7777, 0o604, 0o400:
            os.chmod(self.saved, mode)
            self.says(self.save(), 0)
            self.assertEqual(self.saved.stat().st_mode & 0o7777, mode)
        os.chmod(self.saved, 0o640)
        self.applied('qos enable\n')
        for owner, group in (12, 34), (os.geteuid(), 34), (12, os.getegid()):
            os.chown(self.saved, owner, group)
            self.says(self.save(), 0)
            status = self.saved.stat()
            self.assertEqual((status.st_mode & 0o7777, status.st_uid, status.st_gid), (0o640, owner, group))
        self.assertIn('qos enable', self.saved.read_text())

    def test_a_link_stays(self):
        link = self.folder / 'link'
        link.symlink_to('saved')
        self.says(self.save(file=link), 1, f'{link}: No such file or directory; it is left as it was')
        self.saved.write_text('old')
        self.says(self.save(file=link), 0)
        self.assertTrue(link.is_symlink())
        self.assertEqual(self.saved.read_text(), COMMENTS + NOTHING)

    def test_what_stands_in_the_temporary_files_place(self):
        # One that was left by a save that was killed; what somebody planted, to be written through or kept open.
        self.applied(FULL)
        other, temporary = self.folder / 'other', self.folder / 'saved.saving'
        other.write_text('other')
        for plant in (lambda: temporary.write_text('left'), lambda: temporary.symlink_to('other'),
                      lambda: os.link(other, temporary), lambda: os.mkfifo(temporary)):
            plant()
            self.says(self.save(), 0)
            self.assertEqual(self.saved.read_text(), COMMENTS + self.shown().replace(FIRST, MORE, 1))
            self.assertEqual((self.saved.is_symlink(), self.saved.stat().st_nlink, other.read_text()), (False, 1, 'other'))
            self.assertFalse(temporary.exists())
        temporary.mkdir()
        self.says(self.save(), 1, f'{self.saved}: File exists; it is left as it was')
        self.assertTrue(temporary.is_dir())

    def test_two_saves_of_one_file(self):
        # The second waits for the first to have written, and does not take its temporary file away.
        self.applied(FULL)
        words = self.words('strace', '-qq', '-o', '/dev/null', '-e', 'trace=fsync', '-e',
                           'inject=fsync:delay_enter=1000000:when=1', CONFIG, 'save', str(self.saved))
        environment = dict(os.environ, ASAN_OPTIONS=os.environ.get('ASAN_OPTIONS', '') + ':detect_leaks=0')
        with subprocess.Popen(words, stderr=subprocess.PIPE, env=environment) as first:
            while not (self.folder / 'saved.saving').exists():
                self.assertIsNone(first.poll())
            self.says(self.save('--wait', '0'), 2, 'another kxqos-config is at work on the gateway')
            self.says(self.save(), 0)
            self.assertEqual((first.communicate(timeout=30)[1], first.returncode), (b'', 0))
        self.assertEqual(self.saved.read_text(), COMMENTS + self.shown().replace(FIRST, MORE, 1))

    def test_what_is_no_file_is_left_alone(self):
        os.mkfifo(self.folder / 'fifo')
        for file in self.folder / 'fifo', self.folder, pathlib.Path('/dev/null'):
            self.says(self.save(file=file), 1, f'{file}: not a regular file; it is left as it was')
        absent = f'{self.folder}/none/there'
        self.says(self.save(file=absent), 1, f'{absent}: No such file or directory; it is left as it was')
        within = f'{self.file(NOTHING)}/within'
        self.says(self.save(file=within), 1, f'{within}: Not a directory; it is left as it was')
        # A path has 4095 characters at most.
        long = f'{self.folder}/none' + '/x' * 2500
        self.says(self.save(file=long), 1, f'{long}: File name too long; it is left as it was')

    def test_the_longest_name(self):
        # What is made first has a name of seven characters more, and a path has 4095.
        folder = self.folder
        while len(str(folder)) < 4088 - 200:
            folder /= 'x' * 100
        folder.mkdir(parents=True)
        self.saved = pathlib.Path(f'{folder}/'.ljust(4088, 'y'))
        temporary = pathlib.Path(f'{self.saved}.saving')
        for _ in range(2):
            temporary.write_text('left')
            self.says(self.save(), 0)
            self.assertEqual(self.saved.read_text(), COMMENTS + NOTHING)
            self.assertFalse(temporary.exists())
        self.says(self.save(file=f'{self.saved}y'), 1, f'{self.saved}y: File name too long; it is left as it was')

    def test_a_name_without_a_folder(self):
        self.says(self.config('save', 'saved', cwd=self.folder), 0)
        self.assertEqual(self.saved.read_text(), COMMENTS + NOTHING)

    def test_a_failed_read_saves_nothing(self):
        self.applied(FULL)
        self.saved.write_text('old')
        for fault in '17#1=fail', '17#3=fail', '11#1=fail', '20#2=fail', '29#1=fail', '26#9=fail', '2#1=fail':
            ran = self.save(faults=[fault])
            self.assertEqual(ran.status, 1)
            self.assertTrue(ran.err.endswith('kxqos-config: nothing is saved\n'))
            self.assertEqual(self.saved.read_text(), 'old')

    def test_a_long_rule(self):
        address = '2001:db8:1111:2222:3333:4444:5555:'
        rule = (f'rule 5 profile qos match dip6 {address}6666~{address}7777 sip6 {address}8888~{address}9999 '
                'indev abcdefghijklmno outdev abcdefghijklmno wan abcdefghijklmno action queue 1\n')
        self.assertGreater(len(rule), 256)
        self.applied(rule)
        self.says(self.save(), 0)
        self.assertIn(rule, self.saved.read_text())

    def test_what_commands_make_that_would_not_come_back(self):
        for words, why, *known in UNFAITHFUL:
            self.state.unlink(missing_ok=True)
            self.assertEqual(self.tool('rule', '1', *words).status, 0, words)
            message = f'rule 1 profile qos would not come back equal: {why}'
            self.says(self.save(), 1, message, 'nothing is saved')
            self.assertFalse(self.saved.exists())
            line = ' '.join(['rule 1', *words])
            if len(line.split()) != len(words) + 2:
                continue  # not a line of a file
            file = self.file(f'qos enable\n{line}\n')
            for verb in 'check', 'diff', 'apply':
                ran = self.config(verb, file)
                wrong = known[0] if known else f'would not come back equal: {why}'
                self.says(ran, 2, f'{file}:2: {wrong}: {line}')
                self.assertEqual(ran.requests, [])

    def test_what_would_not_come_back(self):
        self.applied('rule 5 match indev eth0 wan ppp0 action queue 1\nbucket 1 rate 64\n'
                     'rule 6 match sip 10.0.0.1 action queue 1\nlimit up add vlan 7 rate 100\n')
        self.saved.write_text('old')
        name = ': indev: a blank, a newline or a leading "!" in its name'
        for fault, wrong in (
                ('17#1=bytes:156:' + hexadecimal('a b\0'), 'rule 5 profile qos' + name),
                ('17#1=bytes:156:' + hexadecimal('a\tb\0'), 'rule 5 profile qos' + name),
                ('17#1=bytes:156:' + hexadecimal('a\nb\0'), 'rule 5 profile qos' + name),
                ('17#1=bytes:156:' + hexadecimal('!eth0\0'), 'rule 5 profile qos' + name),
                # dmac, with a bit outside of its mask.
                ('17#1=bytes:212:01,bytes:4:01,bytes:76:00ffffffffff',
                 'rule 5 profile qos: dmac: another field is in its place, in a different form, or no command sets it '
                 'like that'),
                # indev as a range, with a good name.
                ('17#1=bytes:210:40', 'rule 5 profile qos: indev: another field is in its place, in a different form, or '
                                      'no command sets it like that'),
                # Of two things the name is told.
                ('17#1=bytes:156:' + hexadecimal('!eth0\0') + ',bytes:218:0900', 'rule 5 profile qos' + name),
                ('17#1=bytes:156:00', 'rule 5 profile qos: indev: an empty name cannot be written'),
                ('17#1=bytes:156:' + '61' * 16, 'rule 5 profile qos: indev: its name has no end'),
                # The protocol bits with the mask 7.
                ('17#1=bytes:215:21,bytes:63:05,bytes:135:07', 'rule 5 profile qos: protocols: no line shows its mask'),
                # sip as a range, and in its place esip under a mask that takes something of the value.
                ('17#2=bytes:215:04,bytes:209:02,bytes:100:00ffffff', 'rule 6 profile qos: a field given before, in the same place, '
                                                                    'would be ignored'),
                # sip under that mask, alone.
                ('17#2=bytes:209:00,bytes:100:00ffffff', 'rule 6 profile qos: sip: another field is in its place, in a '
                                                         'different form, or no command sets it like that'),
                ('17#2=bytes:218:0900', "rule 6 profile qos: Err: parameter '9' beyond the range (0~7)"),
                ('11#1=bytes:4:01200000', 'bucket 1: its rate is no whole number of kbps'),
                ('11#1=bytes:4:ffffffff', "bucket 1: Err: parameter '33554431' beyond the range (0~10485760)"),
                ('20#1=bytes:486:0000', "limit up add vlan 0 rate 100: Err: parameter '0' beyond the range (1~4095)"),
                ('20#1=bytes:492:0100070065000000', 'limit up add vlan 7 rate 101: this limit is given twice, with '
                                                    'two rates'),
                ('20#1=bytes:492:0100070064000000', 'limit up add vlan 7 rate 100: no command adds such a limit'),
                # An IPv4 address with something behind it.
                ('20#1=bytes:4:01000000' '0100000a00000000000000000000000f' '0100000a000000000000000000000000'
                 '05000000',
                 'limit up add ip 10.0.0.1~10.0.0.1 rate 5: no command adds such a limit'),
                ('20#1=bytes:1:07', 'the mode 7 of the limits: Err: unknow mode 7')):
            what, why = wrong.split(': ', 1)
            message = f'{what} would not come back equal: {why}'
            ran = self.save(faults=[fault])
            self.says(ran, 1, message, 'nothing is saved')
            self.assertEqual(self.saved.read_text(), 'old')
            ran = self.save('--lossy', faults=[fault], file=self.folder / 'lossy')
            self.says(ran, 0, message)
            lossy = (self.folder / 'lossy').read_text()
            self.assertTrue(lossy.startswith(COMMENTS + '!\nqos disable\n!\n'))
            check = self.config('check', str(self.folder / 'lossy'))
            self.assertEqual((check.status, check.err), (0, ''), lossy)
            for kept, text in (('rule 5 ', 'rule 5 profile'), ('rule 6 ', 'rule 6 profile'), ('bucket', 'bucket 1 rate'),
                               ('limit up add vlan 0', 'vlan 7 rate 100')):
                self.assertEqual(text in lossy, not wrong.startswith(kept), (wrong, text))

    def test_limits_that_would_not_come_back(self):
        # The others stay, those of the same table in their order.
        limits = ['limit up add ip 10.0.0.2~10.0.0.2 rate 6', 'limit up add ip 10.0.0.3~10.0.0.3 rate 7',
                  'limit up add ip6 2001:db8::1~2001:db8::2 rate 8', 'limit up add port 1 rate 9',
                  'limit up add port 2 rate 10', 'limit down add vlan 5 rate 11', 'limit down add vlan 6 rate 12']
        self.applied('qos enable\n' + ''.join(line + '\n' for line in limits))
        for fault, at, wrong in (
                # A byte behind an IPv4 address; numbers that no port and no VLAN has.
                ('20#1=bytes:23:0f', 0, f'{limits[0]} would not come back equal: no command adds such a limit'),
                ('20#1=bytes:63:0f', 1, f'{limits[1]} would not come back equal: no command adds such a limit'),
                ('20#1=bytes:550:2000', 3, 'limit up add port 32 rate 9 would not come back equal: '
                                           "Err: parameter '32' beyond the range (0~31)"),
                ('20#1=bytes:558:2000', 4, 'limit up add port 32 rate 10 would not come back equal: '
                                           "Err: parameter '32' beyond the range (0~31)"),
                ('20#3=bytes:486:0010', 5, 'limit down add vlan 4096 rate 11 would not come back equal: '
                                           "Err: parameter '4096' beyond the range (1~4095)")):
            self.says(self.save(faults=[fault]), 1, wrong, 'nothing is saved')
            self.says(self.save('--lossy', faults=[fault]), 0, wrong)
            up, down = (''.join(line + ' \n' for line in limits[:at] + limits[at + 1:] if f'limit {direction}' in line)
                        for direction in ('up', 'down'))
            self.assertEqual(self.saved.read_text(), COMMENTS + '!\nqos enable\n!\n!\n!\n!\nlimit up mode disable\n'
                             f'{up}limit down mode disable\n{down}!\n')
            self.saved.unlink()

    def strace(self, *inject):
        trace = self.folder / 'calls'
        # Without a trace of the lab's, which would be written by the same process.
        words = [str(pathlib.Path(CONFIG).with_name('kxqos-lab')), '--state', str(self.state), '--', 'strace', '-f', '-qq', '-o', str(trace), '-e',
                 'trace=fsync,rename,renameat,renameat2,openat,write', *inject, CONFIG, 'save',
                 str(self.saved)]
        # The search for leaks does not work under strace.
        environment = dict(os.environ, ASAN_OPTIONS=os.environ.get('ASAN_OPTIONS', '') + ':detect_leaks=0')
        ran = subprocess.run(words, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, env=environment, timeout=60,
                             check=False)
        return ran.returncode, ran.stderr.decode(), trace.read_text()

    def test_on_the_disk_before_it_is_named(self):
        status, said, calls = self.strace()
        self.assertEqual((status, said), (0, ''))
        order = [call.split('(')[0].split()[-1] for call in calls.splitlines() if 'fsync' in call or 'rename' in call]
        self.assertEqual(order, ['fsync', 'rename', 'fsync'])
        # What is made is the caller's alone until it is as the old one, and nobody else has it open.
        self.assertIn(f'"{self.saved}.saving", O_WRONLY|O_CREAT|O_EXCL|O_CLOEXEC, 0600)', calls)
        self.assertIn(f'"{self.folder}/", O_RDONLY', calls)

    def test_a_full_disk(self):
        self.saved.write_text('old')
        for inject, why in (('write:error=ENOSPC:when=1', 'No space left on device'),
                            ('fsync:error=EIO:when=1', 'Input/output error'),
                            ('rename:error=EROFS', 'Read-only file system')):
            status, said, _ = self.strace('-e', 'inject=' + inject)
            self.assertEqual((status, said), (1, f'kxqos-config: {self.saved}: {why}; it is left as it was\n'))
            self.assertEqual(self.saved.read_text(), 'old')
            self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ['calls', 'saved', 'state'])
        status, said, _ = self.strace('-e', 'inject=fsync:error=EIO:when=2')
        self.assertEqual((status, said), (1, f'kxqos-config: {self.saved}: saved, but perhaps not on the disk yet: '
                                             'Input/output error\n'))
        for call in 'openat', 'close':
            ran = self.run_words(*injected(f'{call}:error=EIO', 'save', str(self.saved), path=f'{self.folder}/'))
            self.says(ran, 1, f'{self.saved}: saved, but perhaps not on the disk yet: Input/output error')
            self.assertEqual(self.saved.read_text(), COMMENTS + NOTHING)

    def test_a_signal_while_it_is_replaced(self):
        # It ends the program when the file is there, or when nothing is left of the new one.
        for inject, saved, *said in (('signal=SIGTERM', COMMENTS + NOTHING),
                                     ('error=EIO:signal=SIGTERM', 'old',
                                      f'{self.saved}: Input/output error; it is left as it was')):
            self.saved.write_text('old')
            ran = self.run_words(*injected(f'fsync:{inject}:when=1', 'save', str(self.saved)))
            self.says(ran, 128 + signal.SIGTERM, *said)
            self.assertEqual(self.saved.read_text(), saved)
            self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ['saved', 'state', 'trace'])

    def test_a_new_file_that_cannot_be_as_the_old_one(self):
        self.saved.write_text('old')
        os.chown(self.saved, 12, 34)
        new = self.folder / 'saved.saving'
        for call, path in ('/stat', self.saved), ('/stat', new), ('fchown', new), ('fchmod', new), ('/^dup', new):
            ran = self.run_words(*injected(f'{call}:error=EIO', 'save', str(self.saved), path=path))
            self.says(ran, 1, f'{self.saved}: Input/output error; it is left as it was')
            self.assertEqual((self.saved.read_text(), new.exists()), ('old', False), call)


if __name__ == '__main__':
    unittest.main()
