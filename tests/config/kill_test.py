"""SIGKILL at any moment, and two at once.

TRIALS=200 makes as many of what depends on the moment; 12 unless given.
"""

import os
import random
import subprocess
import time
import unittest

from apply_test import FULL, OTHER
from gateway import BUILT, CONFIG, GatewayTest

TRIALS = int(os.environ.get('TRIALS', '12'))


# Limits of each kind: those that stay, go, come and change their rate, and a change of mode. For the third file some of what
# an apply of the second removed has to be there again, and what it installed has to go.
BEGUN = '''limit up mode vlan
limit up add vlan 1 rate 1
limit up add vlan 2 rate 2
limit up add vlan 3 rate 3
limit down mode port
limit down add port 3 rate 10
limit down add ip 10.0.0.1 rate 7
'''
KILLED = '''limit up mode vlan
limit up add vlan 1 rate 1
limit up add vlan 2 rate 20
limit up add vlan 4 rate 4
limit down mode ip
limit down add ip 10.0.0.1 rate 7
limit down add ip 10.0.0.2 rate 8
'''
THIRD = '''limit up mode vlan
limit up add vlan 2 rate 2
limit up add vlan 3 rate 3
limit up add vlan 5 rate 5
limit down mode port
limit down add port 3 rate 10
limit down add port 4 rate 10
'''


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
        self.assertEqual(self.config('apply', self.paths[text]).changes, [], hint)

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

    def test_killed_between_two_steps_and_then_another_file(self):
        path = self.file(KILLED, 'killed')
        for text in BEGUN, THIRD:
            self.applied(text)
            end = self.held()
            at, deaths = 1, 0
            while True:
                self.applied(BEGUN)
                if not self.killed_at_write(at, path):
                    break
                deaths += 1
                self.applied(text)
                self.assertEqual(self.held(), end, (at, text))
                self.assertEqual(self.applied(text), [], (at, text))
                at += 1
            self.assertGreaterEqual(deaths, 11, text)  # 7 calls and twice 2 requests are on the way

    def test_killed_before_the_first_limit_is_in_the_switch(self):
        # Nothing goes, so the database comes first, and then nobody can see what the switch lacks.
        begun = 'limit up mode vlan\nlimit up add vlan 1 rate 1\n'
        wanted = begun + 'limit up add vlan 2 rate 2\nlimit down mode ip\nlimit down add ip 10.0.0.1 rate 7\n'
        path = self.file(wanted, 'killed')
        self.applied(wanted)
        end = self.held()
        for call, least in ('fchmod', 2), ('pwrite64', 6):
            at = 1
            while True:
                self.applied(begun)
                if not self.killed_at_write(at, path, call):
                    break
                self.applied(wanted)
                self.assertEqual(self.held(), end, (call, at))
                at += 1
            self.assertGreater(at, least, call)

    def killed_at_write(self, at, path, call='pwrite64'):
        """An apply that is killed when the lab's gateway is to be written for the so manieth time, or marked."""
        ran = self.run_words('strace', '-qq', '-o', '/dev/null', '-e', f'trace={call}', '-e',
                             f'inject={call}:signal=SIGKILL:when={at}', CONFIG, 'apply', path)
        self.assertIn(ran.status, (0, 137), ran.err)
        return ran.status != 0

    def kill_after_removals(self):
        """An apply that has removed limits from the switch and not yet written the database."""
        path = self.file(KILLED, 'killed')
        self.applied(BEGUN)
        end, at = self.held(), 1
        while self.held() == end:
            self.applied(BEGUN)
            self.assertTrue(self.killed_at_write(at, path))
            at += 1
        self.assertEqual(self.shown(), self.shown_by(BEGUN))

    def shown_by(self, text):
        state, self.state = self.state, self.folder / 'another'
        self.applied(text)
        shown, self.state = self.shown(), state
        return shown

    def test_it_is_known_until_an_apply_has_worked(self):
        self.applied(THIRD)
        end = self.held()
        for options, faults, changes in (([], ['8#1=fail'], [8, 9]), (['--keep-going'], ['20#1=fail', '20#2=fail'], [8])):
            self.kill_after_removals()
            ran = self.config('apply', *options, self.file('bucket 1 rate 64\n' + THIRD), faults=faults)
            self.assertEqual((ran.status, ran.changes), (1, changes))
            self.applied(THIRD)
            self.assertEqual(self.held(), end)

    def test_diff_tells_it(self):
        self.applied(BEGUN)
        end = self.held()
        self.kill_after_removals()
        ran = self.config('diff', self.file(BEGUN))
        self.says(ran, 1)
        self.assertEqual(ran.out.decode(), 'limit up add vlan 1 rate 1 \nlimit up add vlan 2 rate 2 \n'
                                           'limit up add vlan 3 rate 3 \nlimit down add port 3 rate 10 \n')
        self.says(self.config('run', '-', input=ran.out), 0)
        self.assertEqual(self.held(), end)

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
        seen, left = {old: 0, new: 0}, set()
        for trial in range(TRIALS):
            saved.write_bytes(old)
            # The first at once, so that one is killed; of the others, the later the more is at stake.
            self.killed_after(longest * (1 - self.random.random() ** 2) * (trial > 0), 'save', str(saved))
            found = saved.read_bytes()
            self.assertIn(found, (old, new), f'seed {self.seed}, trial {trial}')
            seen[found] += 1
            left.update(path.name for path in self.folder.glob('saved*'))
            self.assertEqual(self.config('save', '--wait', '0', str(saved)).status, 0)
            self.assertEqual(saved.read_bytes(), new)
            self.assertEqual(list(self.folder.glob('saved.*')), [])
        self.assertGreater(seen[old], 0)
        self.assertLessEqual(left, {'saved', 'saved.saving'})

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

    def test_save_beside_boot(self):
        # Of the same file, on a gateway that was just switched on. What save finds there is its own to say, be it nothing
        # or all; the unit for it waits for the one for boot.
        self.state.unlink()
        nothing = (self.held(), self.config('save', '-').out)
        saved = self.folder / 'saved'
        saved.write_bytes(self.ends[FULL][1])
        longest = self.seconds('apply', '--keep-going', str(saved))
        for trial in range(TRIALS):
            self.state.unlink()
            saved.write_bytes(self.ends[FULL][1])
            words = [['apply', '--keep-going', str(saved)], ['save', str(saved)]]
            self.both(*self.random.sample(words, 2), longest)
            hint = f'seed {self.seed}, trial {trial}'
            self.assertIn(saved.read_bytes(), (nothing[1], self.ends[FULL][1]), hint)
            self.assertIn(self.held(), (nothing[0], self.ends[FULL][0]), hint)
            # It is empty only because the file that it was given was already.
            self.assertTrue(self.held() == self.ends[FULL][0] or saved.read_bytes() == nothing[1], hint)
            self.assertEqual([path.name for path in self.folder.glob('saved*')], ['saved'], hint)

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
