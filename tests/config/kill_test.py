"""SIGKILL at any moment, and two at once.

TRIALS=200 makes as many of what depends on the moment; 20 unless given.
"""

import os
import random
import subprocess
import time
import unittest

from apply_test import FULL, OTHER
from gateway import BUILT, CONFIG, GatewayTest

TRIALS = int(os.environ.get('TRIALS', '20'))


class KillTest(GatewayTest):
    def setUp(self):
        super().setUp()
        self.seed = random.randrange(1 << 32)
        self.random = random.Random(self.seed)
        self.paths = {text: self.file(text, name) for text, name in ((FULL, 'full'), (OTHER, 'other'))}
        self.ends = {}
        for text, path in self.paths.items():
            self.config('apply', path)
            self.ends[text] = (self.held(), self.config('save', '-').out)

    def held(self):
        # The switch keeps its limits in the order of the calls, and what is named one by one stays.
        return sorted(line for line in self.status().splitlines() if not line.startswith(('counter', 'debug')))

    def begin(self, *words):
        """The program itself in the lab, without a launcher, so that it can be killed."""
        environment = {**os.environ, 'KXQOS_LAB_STATE': str(self.state), 'LD_PRELOAD': str(BUILT / 'libkxqos-lab.so')}
        return subprocess.Popen([CONFIG, *words], env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)

    def end(self, program):
        _, errors = program.communicate(timeout=60)
        return program.returncode, errors.decode()

    def seconds(self, *words):
        """How long the program needs, about."""
        times = []
        for _ in range(3):
            began = time.monotonic()
            self.assertEqual(self.end(self.begin(*words)), (0, ''))
            times.append(time.monotonic() - began)
        return sorted(times)[1]

    def reached(self, text, hint):
        """The next apply brings the gateway to the file, though nobody gave back the lock."""
        ran = self.config('apply', '--wait', '0', self.paths[text])
        self.says(ran, 0)
        self.assertEqual(self.held(), self.ends[text][0], hint)

    def killed_after(self, seconds, *words):
        program = self.begin(*words)
        time.sleep(seconds)
        program.kill()
        return self.end(program)[0] == -9


class Apply(KillTest):
    def test_killed_in_each_request(self):
        self.applied(FULL)
        count = len(self.config('apply', self.paths[OTHER]).requests)
        for at in range(1, count + 1):
            self.applied(FULL)
            self.assertEqual(self.config('apply', self.paths[OTHER], faults=[f'request#{at}=kill']).status, 137)
            self.reached(OTHER, at)

    def test_killed_at_any_moment(self):
        self.applied(FULL)
        longest = self.seconds('apply', self.paths[OTHER]) * 1.2
        killed = 0
        for trial in range(TRIALS):
            self.applied(FULL)
            # The first at once, so that one is killed however fast this machine has become.
            killed += self.killed_after(self.random.random() * longest * (trial > 0), 'apply', self.paths[OTHER])
            self.reached(OTHER, f'seed {self.seed}, trial {trial}')
        self.assertGreater(killed, 0)


class Save(KillTest):
    def test_killed_at_any_moment(self):
        saved = self.folder / 'saved'
        self.applied(OTHER)
        longest = self.seconds('save', str(saved)) * 1.2
        old, new = self.ends[FULL][1], self.config('save', '-').out
        seen = {old: 0, new: 0}
        for trial in range(TRIALS):
            saved.write_bytes(old)
            # The first at once, so that one is killed; of the others, the later the more is at stake.
            self.killed_after(longest * (1 - self.random.random() ** 2) * (trial > 0), 'save', str(saved))
            found = saved.read_bytes()
            self.assertIn(found, (old, new), f'seed {self.seed}, trial {trial}')
            seen[found] += 1
            self.assertEqual(self.config('save', '--wait', '0', str(saved)).status, 0)
            self.assertEqual(saved.read_bytes(), new)
            for left in self.folder.glob('saved.*'):
                left.unlink()
        self.assertGreater(seen[old], 0)

    def test_killed_in_each_request(self):
        saved = self.folder / 'saved'
        self.applied(OTHER)
        old = self.ends[FULL][1]
        for at in range(1, len(self.config('save', '-').requests) + 1):
            saved.write_bytes(old)
            self.assertEqual(self.config('save', str(saved), faults=[f'request#{at}=kill']).status, 137)
            self.assertEqual(saved.read_bytes(), old)


class TwoAtOnce(KillTest):
    def both(self, first, second, longest):
        """The second begins somewhen while the first is at work; both work."""
        one = self.begin(*first)
        time.sleep(self.random.random() * longest)
        two = self.begin(*second)
        for program in one, two:
            self.assertEqual(self.end(program), (0, ''), f'seed {self.seed}')

    def test_save_beside_apply(self):
        saved = self.folder / 'saved'
        longest = self.seconds('apply', self.paths[OTHER])
        for trial in range(TRIALS):
            self.applied(FULL)
            before = self.config('save', '-').out
            words = [['apply', self.paths[OTHER]], ['save', str(saved)]]
            self.both(*self.random.sample(words, 2), longest)
            after = self.config('save', '-').out
            self.assertIn(saved.read_bytes(), (before, after), f'seed {self.seed}, trial {trial}')

    def test_apply_beside_apply(self):
        longest = self.seconds('apply', self.paths[OTHER])
        for trial in range(TRIALS):
            texts = self.random.sample((FULL, OTHER), 2)
            self.both(*(['apply', self.paths[text]] for text in texts), longest)
            self.assertIn(self.held(), [end for end, _ in self.ends.values()], f'seed {self.seed}, trial {trial}')

    def test_apply_of_the_file_that_is_saved(self):
        saved = self.folder / 'saved'
        self.applied(FULL)
        self.assertEqual(self.config('save', str(saved)).status, 0)
        longest = self.seconds('save', str(saved))
        for _ in range(TRIALS):
            words = [['apply', str(saved)], ['save', str(saved)]]
            self.both(*self.random.sample(words, 2), longest)
            self.assertEqual(self.held(), self.ends[FULL][0], f'seed {self.seed}')


if __name__ == '__main__':
    unittest.main()
