"""Some of the random pairs from outside: the shipped programs in the lab."""

import os
import pathlib
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / 'config'))
from gateway import BUILT, GatewayTest

PAIRS = int(os.environ.get('PAIRS', '4'))


class Outside(GatewayTest):
    def typed(self, path):
        """The gateway, switched on again, with the file's lines typed by the tool."""
        self.state.unlink(missing_ok=True)
        for line in path.read_bytes().decode(errors='surrogateescape').splitlines():
            words = line.split()
            if words and words[0] != '!' and words[0][0] != '#':
                self.assertEqual(self.tool(*words).status, 0, line)

    def held(self):
        shown = self.shown()
        status = self.status()
        return shown, sorted(status[status.index('\nlibrary'):].splitlines())

    def test_pairs(self):
        program = str(BUILT / 'tests/property/property-pairs')
        made = subprocess.run([program, '--pairs', str(PAIRS), '--write', str(self.folder)], stdout=subprocess.PIPE,
                              check=True)
        for number in range(PAIRS):
            a, b = self.folder / f'{number}.a', self.folder / f'{number}.b'
            self.typed(b)
            wanted = self.held()
            self.typed(a)
            before = self.state.read_bytes()
            self.assertEqual(self.config('apply', str(b)).status, 0, (made.stdout, number))
            self.assertEqual(self.held(), wanted, (made.stdout, number))
            self.assertLessEqual(set(self.config('apply', str(b)).changes), {36})
            self.state.write_bytes(before)
            difference = self.config('diff', str(b)).out
            self.assertEqual(self.config('run', '-', input=difference).status, 0, (made.stdout, number))
            self.assertEqual(self.held(), wanted, (made.stdout, number))


if __name__ == '__main__':
    unittest.main()
