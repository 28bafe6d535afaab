"""A saved file that was damaged: cut off, with bytes of zero, with lines missing or twice.

What is not refused has to be right: a gateway that was just switched on then holds what the tool makes of the lines that
are there, typed one by one. Of a file that was cut no part is taken.
"""

import unittest

from apply_test import FULL
from gateway import GatewayTest

# With every kind of line that save writes.
KINDS = ('# ', '!', 'qos ', 'rule ', 'puredscpremark ', 'fine-classifi ', 'bucket ', 'limit up mode ', 'limit up add ip ',
         'limit up add ip6 ', 'limit up add vlan ', 'limit down mode ', 'limit down add port ', 'counter ', 'debug ')


class Rot(GatewayTest):
    def setUp(self):
        super().setUp()
        self.applied(FULL + 'limit up add ip6 ::1~::2 rate 7\n')
        self.full = self.held()
        self.saved = self.config('save', '-').out.decode()
        self.lines = self.saved.splitlines(keepends=True)
        for kind in KINDS:
            self.assertTrue(any(line.startswith(kind) for line in self.lines), kind)

    def held(self):
        return sorted(self.status().splitlines())

    def refused(self, text, what):
        """Both refuse it, and nothing is asked of the gateway."""
        file = self.file(text)
        for verb in 'check', 'apply':
            ran = self.config(verb, file)
            self.assertEqual((ran.status, ran.requests), (2, []), (what, verb, ran.err))

    def right(self, text, what):
        """Both take it, and a new gateway then holds its lines. What is said."""
        file = self.file(text)
        check = self.config('check', file)
        self.state.unlink()
        apply = self.config('apply', file)
        self.assertEqual((check.status, apply.status), (0, 0), (what, apply.err))
        held = self.held()
        self.state.unlink()
        self.type('\n'.join(line for line in text.splitlines() if line[0] not in '!#'))
        self.assertEqual(held, self.held(), what)
        return check.err

    def test_cut_after_every_byte(self):
        for size in range(len(self.saved)):
            self.refused(self.saved[:size], size)

    def test_every_byte_zeroed(self):
        whole = self.saved.encode()
        for at in range(len(whole)):
            self.refused(whole[:at] + b'\0' + whole[at + 1:], at)
        self.refused(bytes(len(whole)), 'all')

    def test_every_line_missing(self):
        for at, line in enumerate(self.lines):
            text = ''.join(self.lines[:at] + self.lines[at + 1:])
            if line == '!\n':
                self.refused(text, at)
                continue
            said = self.right(text, line)
            if line.startswith('bucket 3'):
                self.assertIn('warning: bucket 3 is not set: rule 5', said)
            else:
                self.assertEqual(said, '', line)

    def test_every_line_twice(self):
        for at, line in enumerate(self.lines):
            text = ''.join(self.lines[:at] + [line] + self.lines[at:])
            if line == '!\n':
                self.refused(text, at)
                continue
            self.state.unlink()
            self.says(self.config('apply', self.file(text)), 0)
            self.assertEqual(self.held(), self.full, line)


if __name__ == '__main__':
    unittest.main()
