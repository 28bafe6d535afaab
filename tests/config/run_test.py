"""run: a file's commands one after the other, as kxqosctl would."""

import os
import subprocess
import unittest

from gateway import CONFIG, GatewayTest

COMMANDS = '''\
# What is shown is shown, too.
bucket 1 rate 100
bucket 1 show
!
rule 5 match vid 7 action queue 1
  rule\t5   show\r
limit up mode vlan
limit up add vlan 5 rate 6
limit show
counter 5 enable
counter 5 show
queue show
test wan eth0 counter
test api
configuration show
refresh disable
?
'''


class Run(GatewayTest):
    def test_the_same_as_the_tool(self):
        ran = self.config('run', self.file(COMMANDS))
        self.assertEqual((ran.status, ran.err, ran.opens), (0, '', 1))
        status = self.status()
        self.state.unlink()
        out, requests, calls = b'', [], []
        for line in COMMANDS.splitlines():
            if line[0] not in '#!':
                typed = self.tool(*line.split())
                self.assertEqual(typed.status, 0)
                out += typed.out
                requests += typed.requests
                calls += typed.calls
        self.assertEqual(ran.out.decode(), out.decode())
        self.assertIn(b'Bucket 1: rate 128(kbps), hwID 101, tocken 1001 \n', ran.out)
        self.assertEqual((ran.requests, ran.calls), (requests, calls))
        self.assertEqual(self.status(), status)

    def test_it_stops_at_the_first_line_that_fails(self):
        for line, out, why, faults in (
                ('bucket 65 rate 1', "Err: parameter '65' beyond the range (1~64) \nFail! \n",
                 "Err: parameter '65' beyond the range (1~64)", []),
                ('bucket 2 rate 1', 'Fail! \n', 'request 8 gave -1 (Input/output error)', ['8#2=fail']),
                ('qos', 'Usage: \n  qos (enable|disable) \nFail! \n',
                 'a word is missing, unknown, too long or out of its range', []),
                # Told by a message alone.
                ('rule 5 foo', 'Err: Unknown command! \n', 'Err: Unknown command!', []),
                ('limit up mode vlan', 'hw enable vlan 1 rate limit fail \n', 'hw enable vlan 1 rate limit fail',
                 ['libkx_switchApi_vlanSetRateLimit#1=fail'])):
            text = f'limit up add vlan 1 rate 1\nbucket 1 rate 64\n{line}\nbucket 3 rate 64\n'
            self.state.unlink(missing_ok=True)
            ran = self.config('run', self.file(text), faults=faults)
            self.says(ran, 1, f'{self.folder}/file:3: {why}: {line}')
            self.assertEqual(ran.out.decode(), 'add to a free entry 0\n' + out)
            self.assertIn('!\nbucket 1 rate 64\n!', self.shown())
            self.state.unlink()
            ran = self.config('run', '--keep-going', self.file(text), faults=faults)
            self.says(ran, 1, f'{self.folder}/file:3: {why}: {line}')
            self.assertIn('bucket 3 rate 64\n', self.shown())

    def test_what_a_line_printed_is_its_own(self):
        # Three lines of trouble, and then less of it.
        text = ''.join(f'limit up add vlan {n} rate {n}\n' for n in (1, 2, 3)) + 'limit up mode vlan\nbucket 5 show\n'
        ran = self.config('run', '--keep-going', self.file(text),
                          faults=[f'libkx_switchApi_vlanSetRateLimit#{call}=fail' for call in (1, 2, 3)])
        self.says(ran, 1, f'{self.folder}/file:4: hw enable vlan 1 rate limit fail: limit up mode vlan',
                  f'{self.folder}/file:5: the bucket is not configured: bucket 5 show')

    def test_trouble_behind_another_line(self):
        line = 'limit up add vlan 1 rate 1'
        ran = self.config('run', self.file(line + '\n'), faults=['19#1=fail'])
        self.says(ran, 1, f'{self.folder}/file:1: Err: write back rate limit db fail: {line}')
        self.assertTrue(ran.out.startswith(b'add to a free entry 0\n'), ran.out)

    def test_a_result_above_zero_is_none_that_fails(self):
        ran = self.config('run', self.file('bucket 1 rate 64\nbucket 2 rate 64\n'), faults=['8#1=result:7'])
        self.says(ran, 0)
        self.assertEqual(ran.changes, [8, 8])
        # Nor is it the reason why another fails.
        ran = self.config('run', self.file('bucket 1 rate 64\nqos\n'), faults=['8#1=result:7'])
        self.says(ran, 1, f'{self.folder}/file:2: a word is missing, unknown, too long or out of its range: qos')

    def test_what_is_no_file_of_commands(self):
        for text, why in (('bucket 1 rate 64\nbucket 2 rate 64', ':2: the last line has no newline: the file was cut '
                                                                'off'),
                          ('bucket 1 rate 64\n\0\n', ':2: a byte of zero'),
                          ('bucket 1 rate 64\n' * 600000, ': larger than 4 MiB')):
            ran = self.config('run', self.file(text))
            self.says(ran, 2, f'{self.folder}/file{why}')
            self.assertEqual((ran.opens, ran.changes), (0, []))
        os.mkfifo(self.folder / 'fifo')
        self.says(self.config('run', str(self.folder / 'fifo')), 2, f'{self.folder}/fifo: not a regular file')

    def test_a_line_of_too_many_words(self):
        ran = self.config('run', self.file('x ' * 1024 + '\nqos enable\n'))
        self.says(ran, 1, f'{self.folder}/file:1: the line has too many words: ' + ' '.join(['x'] * 1024))
        self.assertEqual((ran.out, ran.requests), (b'', []))

    def test_nothing_is_nothing(self):
        self.says(self.config('run', '-', input=b''), 0)

    def test_output_that_nobody_reads(self):
        reading, writing = os.pipe()
        os.close(reading)
        words = self.words(CONFIG, 'run', self.file('bucket 1 rate 64\n?\nbucket 2 rate 64\n'))
        ran = subprocess.run(words, stdout=writing, stderr=subprocess.PIPE, timeout=60, check=False)
        os.close(writing)
        self.assertEqual((ran.returncode, ran.stderr), (1, b'kxqos-config: standard output: Broken pipe\n'))
        self.assertIn('!\nbucket 1 rate 64\n!', self.shown())


if __name__ == '__main__':
    unittest.main()
