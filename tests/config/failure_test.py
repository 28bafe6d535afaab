"""apply when something fails: what was wanted, what was before, or a word that it is neither."""

import fcntl
import os
import pathlib
import re
import signal
import subprocess
import time
import unittest

from apply_test import FULL, OTHER, PORT, VLAN
from gateway import BUILT, CONFIG, READING, GatewayTest, injected, rule_bytes

BACK = 'put back: the gateway holds what it held before'


class Configured(GatewayTest):
    """A gateway that holds something."""

    def setUp(self):
        super().setUp()
        self.applied(FULL)
        self.before = self.status()

    def same_as_before(self):
        # The switch keeps its limits in the order of the calls.
        self.assertEqual(sorted(self.status().splitlines()), sorted(self.before.splitlines()))

    def attempt(self, text, *faults, options=(), **how):
        ran = self.config('apply', *options, self.file(text), faults=faults, **how)
        self.assertEqual(ran.out, b'')
        return ran


class Failure(Configured):
    def test_each_request_in_turn(self):
        clean = self.attempt(OTHER)
        wanted = self.status()
        self.applied(FULL)
        numbers = [number for number, _, _ in clean.requests]
        for at, number in enumerate(numbers, 1):
            ran = self.attempt(OTHER, f'request#{at}=fail')
            self.assertEqual(ran.status, 1, (at, number, ran.err))
            if number in READING and not ran.changes:
                self.assertTrue(ran.err.endswith(': request %d gave -1 (Input/output error)\n'
                                                 'kxqos-config: nothing was changed\n' % number), ran.err)
            else:
                self.assertTrue(ran.err.endswith(f'kxqos-config: {BACK}\n'), (at, number, ran.err))
                self.assertIn(f'request {number} gave -1 (Input/output error)', ran.err)
            self.same_as_before()
        self.attempt(OTHER)
        self.assertEqual(sorted(self.status().splitlines()), sorted(wanted.splitlines()))

    def test_each_call_in_turn(self):
        clean = self.attempt(OTHER)
        self.applied(FULL)
        counts = {}
        for call in clean.calls:
            function = call.split()[0]
            counts[function] = counts.get(function, 0) + 1
            ran = self.attempt(OTHER, f'{function}#{counts[function]}=fail')
            self.assertEqual(ran.status, 1)
            self.assertIn('the library gave 6 for the switch', ran.err)
            self.assertTrue(ran.err.endswith(f'kxqos-config: {BACK}\n'), ran.err)
            self.same_as_before()

    def test_the_place_of_what_failed(self):
        ran = self.attempt('qos enable\n  rule 5  match vid 8 action queue 1\n', '13#1=fail')
        self.says(ran, 1, f'{self.folder}/file:2: request 13 gave -1 (Input/output error): '
                          'rule 5  match vid 8 action queue 1', BACK)
        ran = self.attempt(FULL.replace('rule 7 profile lanhost action dscp 5\n', ''), '15#1=fail')
        self.says(ran, 1, f'{self.folder}/file: request 15 gave -1 (Input/output error): reset profile lanhost', BACK)
        ran = self.attempt(FULL.replace('limit up add vlan 3 rate 64\n', ''), f'{VLAN}#1=fail')
        self.says(ran, 1, f'{self.folder}/file: the library gave 6 for the switch: limit up delete vlan 3 rate 64',
                  BACK)

        # A limit keeps its line when one before it is deleted again. Two go, then it comes.
        ran = self.attempt('limit up mode vlan\nlimit up add vlan 7 rate 1\nlimit up add vlan 8 rate 2\n'
                           'limit up delete vlan 7 rate 1\nqos enable\n', f'{VLAN}#3=fail')
        self.says(ran, 1, f'{self.folder}/file:3: the library gave 6 for the switch: limit up add vlan 8 rate 2', BACK)

        ran = self.attempt('limit up mode vlan\nlimit up add vlan 7 rate 1\nlimit up add vlan 8 rate 2\n'
                           'limit up add vlan 9 rate 3\nlimit up delete vlan 8 rate 2\nqos enable\n', f'{VLAN}#4=fail')
        self.says(ran, 1, f'{self.folder}/file:4: the library gave 6 for the switch: limit up add vlan 9 rate 3', BACK)
        # Or one of another table, which was full.
        ran = self.attempt('limit up mode vlan\nlimit up add vlan 7 rate 1\nlimit up add vlan 8 rate 2\nqos enable\n' +
                           ''.join(f'limit up add ip 10.0.0.{n} rate 1\n' for n in range(1, 25)) +
                           'limit up delete ip 10.0.0.12 rate 1\n', f'{VLAN}#3=fail')
        self.says(ran, 1, f'{self.folder}/file:2: the library gave 6 for the switch: limit up add vlan 7 rate 1', BACK)
        # Or one behind it, with all of its bytes 0.
        ran = self.attempt('limit up mode port\nlimit up add port 3 rate 1\nlimit up add port 0 rate 2\n'
                           'limit up delete port 0 rate 2\nqos enable\n', f'{PORT}#1=fail')
        self.says(ran, 1, f'{self.folder}/file:2: the library gave 6 for the switch: limit up add port 3 rate 1', BACK)

        # What is sent once for several lines, or for none of them.
        ran = self.attempt(FULL + 'refresh enable\n', '36#1=fail')
        self.says(ran, 1, f'{self.folder}/file:18: request 36 gave -1 (Input/output error): refresh enable', BACK)
        self.assertEqual(ran.changes, [36])  # what it was before cannot be known
        ran = self.attempt(FULL.replace('debug info on\ndebug error on', 'debug match on'), '1#1=fail')
        self.says(ran, 1, f'{self.folder}/file:16: request 1 gave -1 (Input/output error): debug match on', BACK)
        ran = self.attempt(FULL.replace('debug info on\ndebug error on', 'debug error on\ndebug match on'), '1#1=fail')
        self.says(ran, 1, f'{self.folder}/file:16: request 1 gave -1 (Input/output error): debug error on', BACK)
        ran = self.attempt(FULL.replace('debug info on', 'debug info off'), '1#1=fail')
        self.says(ran, 1, f'{self.folder}/file:16: request 1 gave -1 (Input/output error): debug info off', BACK)
        ran = self.attempt(FULL.replace('qos enable\n', ''), '28#1=fail')
        self.says(ran, 1, f'{self.folder}/file: request 28 gave -1 (Input/output error): qos disable', BACK)
        ran = self.attempt('qos enable\n', '19#1=fail')
        self.says(ran, 1, f'{self.folder}/file: request 19 gave -1 (Input/output error): limit up mode disable', BACK)
        self.same_as_before()

    def test_any_error_is_told_and_none_is_tried_again(self):
        text = 'rule 5 match vid 8 action queue 1\n'
        for name, words in (('EINTR', 'Interrupted system call'), ('EAGAIN', 'Resource temporarily unavailable'),
                            ('EBUSY', 'Device or resource busy'), ('EACCES', 'Permission denied'),
                            ('ENOMEM', 'Cannot allocate memory'), ('ENODEV', 'No such device')):
            ran = self.attempt(text, f'13#1=fail:{name}')
            self.says(ran, 1, f'{self.folder}/file:1: request 13 gave -1 ({words}): {text.strip()}', BACK)
            ran = self.attempt(text, f'request#1=fail:{name}')
            self.says(ran, 1, f'cannot read qos: request 29 gave -1 ({words})', 'nothing was changed')
            self.assertEqual([number for number, _, _ in ran.requests].count(29), 1, name)
            ran = self.attempt(text, f'open#*=fail:{name}')
            self.says(ran, 2, f'/dev/kxqos: {words}')
            self.assertEqual(ran.opens, 1, name)
        self.same_as_before()

    def test_nothing_is_sent_behind_a_failure(self):
        ran = self.attempt('qos enable\nbucket 3 rate 100\nrule 1 action queue 1\nrule 2 action queue 2\n', '13#1=fail')
        # Counters are not named; then the rule that failed, and that it is not there. Nothing else.
        self.assertEqual(ran.changes, [13, 14])
        self.same_as_before()

    def test_what_cannot_be_put_back(self):
        ran = self.attempt(FULL.replace('rule 7 profile lanhost', 'rule 8 profile lanhost').replace(
            'rule 6 match', 'rule 60 match'), '14#1=fail', '14#3=fail')
        # Set 60 and 8, failed to delete 6; then 6 is set, 8 deleted, 60 not.
        self.assertEqual(ran.changes, [13, 13, 14, 13, 14, 14])
        self.says(ran, 3, f'{self.folder}/file: request 14 gave -1 (Input/output error): rule 6 profile qos delete',
                  'the gateway: holds: rule 60 profile qos match sip 10.0.0.1~10.0.0.9 indev eth0 action queue 1 '
                  'counter 9',
                  f'could not be put back: the gateway holds neither what it held before nor what {self.folder}/file '
                  'asks for')

    def half_put_back(self, call, *calls):
        """What is said when 3 and the old rate of 1 are gone, and this call fails on the way back; the last calls."""
        text = FULL.replace('limit up add vlan 3 rate 64\n', '').replace('rate 65', 'rate 66')
        ran = self.attempt(text.replace('rule 7 profile lanhost action dscp 5\n', ''), '15#1=fail',
                           f'{VLAN}#{call}=fail')
        self.assertEqual([change for change in ran.changes if change not in (13, 15, 19)],
                         [f'{VLAN} 3 1 0 64 = 0', f'{VLAN} 1 1 0 65 = 0', f'{VLAN} 1 1 1 66 = 0', *calls])
        self.assertEqual(ran.status, 3)
        return ran.err

    def test_the_switch_cannot_be_put_back(self):
        said = self.half_put_back(4, f'{VLAN} 1 1 0 66 = 6', f'{VLAN} 1 1 1 65 = 0', f'{VLAN} 3 1 1 64 = 0')
        self.assertIn('the library gave 6 for the switch: limit up add vlan 1 rate 66', said)

    def test_a_limit_cannot_be_installed_again(self):
        said = self.half_put_back(5, f'{VLAN} 1 1 0 66 = 0', f'{VLAN} 1 1 1 65 = 6', f'{VLAN} 3 1 1 64 = 0')
        self.assertIn(f'{self.folder}/file: the library gave 6 for the switch: limit up delete vlan 1 rate 65\n', said)

    def test_a_profile_cannot_be_put_back(self):
        ran = self.attempt(FULL.replace('rule 7 profile lanhost action dscp 5\n', '').replace('bucket 4 rate 0\n', ''),
                           '9#1=fail', '13#1=fail')
        self.assertEqual(ran.changes, [15, 9, 8, 13])
        self.says(ran, 3, f'{self.folder}/file: request 9 gave -1 (Input/output error): bucket 4 delete',
                  'the gateway: holds: no rule 7 profile lanhost',
                  f'could not be put back: the gateway holds neither what it held before nor what {self.folder}/file '
                  'asks for')

    def test_a_profile_is_put_back(self):
        # And no other: the rule behind its last place stays as it is.
        more = FULL + 'rule 512 profile lanhost action dscp 6\nrule 1 profile bridgedata action queue 2\n'
        self.applied(more)
        self.before = self.status()
        ran = self.attempt(''.join(line for line in more.splitlines(keepends=True)
                                   if 'lanhost' not in line and 'bucket 4' not in line), '9#1=fail')
        self.says(ran, 1, f'{self.folder}/file: request 9 gave -1 (Input/output error): bucket 4 delete', BACK)
        self.assertEqual(ran.changes, [15, 9, 8, 13, 13])
        self.assertEqual([sent[:4] for number, _, sent in ran.requests if number == 13],
                         [rule_bytes(2, 7)[:4], rule_bytes(2, 512)[:4]])
        self.same_as_before()

    def test_the_database_cannot_be_put_back(self):
        # It names limit 3 then. Limit 1 is not installed, because the next apply would not know of it.
        first = 'limit up mode vlan\nlimit up add vlan 1 rate 5\n'
        third = 'limit up mode vlan\nlimit up add vlan 4 rate 8\n'
        self.applied(third)
        end = sorted(self.status().splitlines())
        self.applied(first)
        ran = self.attempt('limit up mode vlan\nlimit up add vlan 3 rate 7\nfine-classifi disable\n', '34#1=fail', '19#3=fail')
        self.assertEqual(ran.changes, [f'{VLAN} 1 1 0 5 = 0', 19, 19, f'{VLAN} 3 1 1 7 = 0', 34, 34, f'{VLAN} 3 1 0 7 = 0', 19])
        self.assertEqual(ran.status, 3)
        self.assertIn('kxqos-config: the gateway: holds: limit up add vlan 3 rate 7\n', ran.err)
        self.applied(third)
        self.assertEqual(sorted(self.status().splitlines()), end)
        # The same when what failed is the very next.
        self.applied(first)
        ran = self.attempt('limit up mode vlan\nlimit up add vlan 3 rate 7\n', f'{VLAN}#2=fail', '19#3=fail')
        self.assertEqual(ran.changes, [f'{VLAN} 1 1 0 5 = 0', 19, 19, f'{VLAN} 3 1 1 7 = 6', f'{VLAN} 3 1 0 7 = 0', 19])
        self.assertEqual(ran.status, 3)
        self.assertIn(f'{self.folder}/file:1: request 19 gave -1 (Input/output error): limit up mode vlan\n', ran.err)

    def test_a_database_that_was_not_written(self):
        # It names what it named before, whether or not it can be written now.
        ran = self.attempt(FULL.replace('rate 65', 'rate 66'), '19#1=fail', '19#2=fail')
        self.assertEqual(ran.changes, [f'{VLAN} 1 1 0 65 = 0', 19, 19, f'{VLAN} 1 1 1 65 = 0'])
        self.says(ran, 1, f'{self.folder}/file:6: request 19 gave -1 (Input/output error): limit up mode vlan', BACK)
        self.same_as_before()

    def test_a_limit_that_may_have_come(self):
        # The call that failed may have been carried out all the same, and the switch cannot be asked.
        ran = self.attempt(FULL + 'limit up add vlan 9 rate 1\n', f'{VLAN}#1=fail', f'{VLAN}#2=fail')
        self.assertEqual(ran.changes, [19, 19, f'{VLAN} 9 1 1 1 = 6', f'{VLAN} 9 1 0 1 = 6', 19, 19])
        failure = f'{self.folder}/file:18: the library gave 6 for the switch: limit up add vlan 9 rate 1'
        self.says(ran, 3, failure, failure,
                  f'could not be put back: the gateway holds neither what it held before nor what {self.folder}/file '
                  'asks for')

    def test_hits_are_not_sent_back(self):
        ran = self.attempt(FULL.replace('vid 7', 'vid 8') + 'rule 9 action queue 1\n', '17#1=bytes:232:77', '13#2=fail')
        sent = [sent for number, _, sent in ran.requests if number == 13]
        # Rule 5 changed, rule 9 failed, rule 5 put back.
        self.assertEqual([(record[2], record[20], record[232:]) for record in sent],
                         [(5, 8, bytes(8)), (9, 0, bytes(8)), (5, 7, bytes(8))])
        self.assertTrue(ran.err.endswith(f'kxqos-config: {BACK}\n'))

    def test_seen_to_be_otherwise(self):
        # Every request works, but the gateway then answers otherwise: the third walk of rules is the second reading's.
        ran = self.attempt('qos enable\n' + FULL.replace('vid 7', 'vid 8'), '17#9=bytes:20:0900')
        self.says(ran, 1, 'the gateway: holds: rule 5 profile qos match vid 9/0xffff action rate-bucket 3', BACK)
        self.same_as_before()
        # The name of the device is "a", two newlines, a blank, a newline and "b".
        ran = self.attempt(FULL.replace('vid 7', 'vid 8'), '17#10=bytes:156:610a0a200a6200')
        self.says(ran, 1, 'the gateway: holds: rule 6 profile qos match sip 10.0.0.1~10.0.0.9 indev a',
                  'the gateway: holds: ', 'the gateway: holds: ', 'the gateway: holds: b action queue 1 counter 9',
                  BACK)
        ran = self.attempt(FULL.replace('rule 7 profile lanhost action dscp 5\n', ''),
                           '17#13=bytes:2:0700,bytes:224:01')
        self.says(ran, 1, 'the gateway: holds: rule 7 profile lanhost action queue 0', BACK)
        self.assertEqual(ran.changes, [15, 13])
        # Of the two counters that are named, 8 is asked for first.
        ran = self.attempt(FULL + 'counter 8 enable\n', '26#3=bytes:0:00000000')
        self.says(ran, 1, 'the gateway: holds: counter 8 disable', BACK)
        ran = self.attempt(FULL + 'debug match on\n', '2#2=bytes:0:05000000')
        self.says(ran, 1, 'the gateway: holds: debug match off', BACK)
        self.same_as_before()

    def test_what_could_not_be_read_is_read_again(self):
        # What was wanted cannot be seen, and then not what was before either, as it is not there again.
        ran = self.attempt(FULL + 'debug match on\n', '2#2=fail', '1#2=fail')
        self.says(ran, 3, 'cannot read the debug flags: request 2 gave -1 (Input/output error)',
                  'the gateway: holds: debug match on',
                  f'could not be put back: the gateway holds neither what it held before nor what {self.folder}/file '
                  'asks for')
        self.assertEqual(ran.changes, [1, 1])

    def test_what_cannot_be_read_is_not_told(self):
        # All of it is there, or not, for all that is known.
        for text, fault, what in ((FULL.replace('vid 7', 'vid 8'), '17#9', 'the rules of profile qos'),
                                  (FULL.replace('dscp 5', 'dscp 6'), '17#13', 'the rules of profile lanhost'),
                                  (FULL.replace('bucket 4 rate 0', 'bucket 4 rate 64'), '11#4', 'the buckets'),
                                  (FULL + 'counter 8 enable\n', '26#3', 'counter 8'),
                                  (FULL.replace('rate 65', 'rate 66'), '20#5', 'the limits up')):
            ran = self.attempt(text, f'{fault}=fail')
            self.says(ran, 1, f'cannot read {what}: request {fault[:2]} gave -1 (Input/output error)', BACK)
        self.same_as_before()

    def test_a_mode_that_there_cannot_be(self):
        # No table is in force by it: nothing is removed, and all that is wanted comes.
        text = FULL + 'limit up add port 3 rate 5\n'
        self.applied(text)
        before = self.status()
        ran = self.attempt(text, '20#1=bytes:1:09')
        self.says(ran, 0)
        self.assertEqual(ran.changes, [19, 19, f'{VLAN} 3 1 1 64 = 0', f'{VLAN} 1 1 1 65 = 0'])
        self.assertEqual(self.status(), before)

    def test_what_the_library_prints_is_lost(self):
        environment = dict(os.environ, KXQOS_LAB_LIBKX_PRINTS='1')
        lost = b'kxqos-config: standard output: No space left on device\n'
        for faults, status in ([f'{VLAN}#1=fail', f'{VLAN}#2=fail'], 3), ([], 1):
            words = self.words(CONFIG, 'apply', self.file(FULL + 'limit up add vlan 9 rate 1\n'), faults=faults)
            with open('/dev/full', 'w', encoding='ascii') as full:
                ran = subprocess.run(words, stdin=subprocess.DEVNULL, stdout=full, stderr=subprocess.PIPE,
                                     env=environment, timeout=60, check=False)
            self.assertEqual(ran.returncode, status)
            self.assertTrue(ran.stderr.endswith(lost), ran.stderr)
        self.assertEqual(ran.stderr, lost)
        self.assertIn('limit up add vlan 9 rate 1 \n', self.shown())

    def test_a_result_above_zero(self):
        # The tool passes it on without a word for a rule; for a counter and for limits it fails.
        ran = self.attempt(FULL.replace('vid 7', 'vid 8'), '13#1=result:5')
        self.says(ran, 0)
        ran = self.attempt(FULL, '13#1=result:5')
        self.says(ran, 0)
        # Nor is it told of what goes wrong later: that rule 6 comes back as 5.
        ran = self.attempt(FULL.replace('vid 7', 'vid 8'), '13#1=result:5', '17#10=bytes:2:0500')
        self.assertEqual(ran.status, 1)
        self.assertIn('kxqos-config: cannot read the rules of profile qos: the kernel module gave a rule twice\n', ran.err)
        ran = self.attempt(FULL + 'counter 8 enable\n', '25#1=result:5')
        self.says(ran, 1, f'{self.folder}/file:18: request 25 gave 5 (not an error number): counter 8 enable', BACK)
        ran = self.attempt(FULL.replace('rate 65', 'rate 66'), '19#2=result:5')
        self.says(ran, 1, f'{self.folder}/file:6: request 19 gave 5 (not an error number): limit up mode vlan', BACK)
        self.same_as_before()

    def test_a_signal_stops_it(self):
        def send_to_itself():
            signal.pthread_sigmask(signal.SIG_BLOCK, {number})
            os.kill(os.getpid(), number)  # waits, also for the program that follows

        environment = dict(os.environ, LD_PRELOAD=str(BUILT / 'libkxqos-lab.so'), KXQOS_LAB_STATE=str(self.state))
        for number, option in ((signal.SIGTERM, []), (signal.SIGTERM, ['--keep-going']), (signal.SIGHUP, []),
                               (signal.SIGINT, [])):
            ran = subprocess.run([CONFIG, 'apply', *option, self.file(OTHER)], stdin=subprocess.DEVNULL,
                                 stderr=subprocess.PIPE, env=environment, preexec_fn=send_to_itself, timeout=60,
                                 check=False)
            self.assertEqual(ran.returncode, 1)
            said = b'kxqos-config: stopped by a signal\n'
            if option:
                self.assertTrue(ran.stderr.startswith(said), ran.stderr)
            else:
                self.assertEqual(ran.stderr, said + b'kxqos-config: nothing was changed\n')
            self.same_as_before()

    def test_a_failed_read_is_no_end(self):
        for fault, what in (('17#1=fail', 'the rules of profile qos'), ('17#3=fail', 'the rules of profile qos'),
                            ('17#3=result:1', 'the rules of profile qos'),
                            ('17#4=fail', 'the rules of profile osgiflow'), ('11#2=fail', 'the buckets'),
                            ('20#1=fail', 'the limits up'), ('20#4=fail', 'the limits down'), ('29#1=fail', 'qos'),
                            ('33#1=result:1', 'puredscpremark'), ('35#1=fail', 'fine-classifi')):
            number, how = fault.split('#')[0], fault.split('=')[1]
            gave = '-1 (Input/output error)' if how == 'fail' else '1 (not an error number)'
            for verb, end in ('apply', 'nothing was changed'), ('diff', 'what cannot be read is not compared'):
                ran = self.config(verb, self.file('qos disable\n'), faults=[fault])
                self.says(ran, 1, f'cannot read {what}: request {number} gave {gave}', end)
                self.assertEqual((ran.changes, ran.out), ([], b''), fault)
        self.same_as_before()

    def test_answers_are_not_trusted(self):
        for fault, why in (('17#1=bytes:2:4100', 'a rule that there cannot be'),
                           ('17#1=bytes:2:ffff', 'a rule that there cannot be'),
                           ('17#1=bytes:0:0700', 'a rule that there cannot be'),
                           ('17#1=bytes:0:01000500', 'a rule that there cannot be'),
                           ('17#2=bytes:2:0500', 'a rule twice'),
                           ('17#*=bytes:2:0500', 'a rule twice'),
                           ('11#1=bytes:0:4100', 'a bucket that there cannot be'),
                           ('11#*=bytes:0:0300', 'a bucket twice')):
            ran = self.attempt('qos disable\n', fault)
            self.assertEqual((ran.status, ran.changes), (1, []), fault)
            self.assertIn(f'the kernel module gave {why}\n', ran.err)
            self.assertLess(len(ran.requests), 40)
        self.same_as_before()


class KeepGoing(Configured):
    def test_it_goes_on(self):
        text = 'bucket 7 rate 64\nrule 1 action queue 1\nrule 2 action queue 2\nqos disable\n'
        ran = self.attempt(text, '8#1=fail', '13#1=fail', options=['--keep-going'])
        self.assertEqual(ran.status, 1)
        self.assertEqual(ran.err.splitlines(), [
            f'kxqos-config: {self.folder}/file:1: request 8 gave -1 (Input/output error): bucket 7 rate 64',
            f'kxqos-config: {self.folder}/file:2: request 13 gave -1 (Input/output error): rule 1 action queue 1',
            'kxqos-config: the gateway: holds: no bucket 7',
            'kxqos-config: the gateway: holds: no rule 1 profile qos'])
        self.assertIn('!\nrule 2 profile qos action queue 2\n!\n!\n!\nlimit up mode disable\n', self.shown())
        self.says(self.attempt(text, options=['--keep-going']), 0)
        self.assertEqual(self.attempt(text, options=['--keep-going']).changes, [])

    def test_each_that_failed_is_named_once(self):
        ran = self.attempt('qos enable\nbucket 4 rate 0\n', '15#1=fail', '15#2=fail', options=['--keep-going'])
        self.says(ran, 1, f'{self.folder}/file: request 15 gave -1 (Input/output error): reset profile qos',
                  f'{self.folder}/file: request 15 gave -1 (Input/output error): reset profile lanhost',
                  'the gateway: holds: rule 5 profile qos match vid 7/0xffff action rate-bucket 3',
                  'the gateway: holds: rule 6 profile qos match sip 10.0.0.1~10.0.0.9 indev eth0 action queue 1 '
                  'counter 9', 'the gateway: holds: rule 7 profile lanhost action dscp 5')

    def test_a_long_rule_is_named_whole(self):
        rule = ('rule 5 profile qos match dip6 2001:db8:1111:2222:3333:4444:5555:6666~'
                '2001:db8:1111:2222:3333:4444:5555:7777 sip6 2001:db8:8888:9999:aaaa:bbbb:cccc:dddd~'
                '2001:db8:8888:9999:aaaa:bbbb:cccc:eeee indev abcdefghijklmno action queue 1 8021p 2 dscp 3 counter 5 '
                'dbgon bypass-kxnat sw-fwd')
        self.assertGreater(len(rule), 256)
        other = 'rule 1 profile osgiflow action queue 2\n'  # the profile after it
        self.applied(rule + '\n' + other)
        ran = self.attempt(other, '15#1=fail', options=['--keep-going'])
        self.says(ran, 1, f'{self.folder}/file: request 15 gave -1 (Input/output error): reset profile qos',
                  'the gateway: holds: ' + rule)

    def test_seen_to_be_otherwise(self):
        for vlan, (fault, *held) in enumerate((
                ('17#9=bytes:20:0900', 'rule 5 profile qos match vid 9/0xffff action rate-bucket 3'),
                ('17#9=bytes:2:0000', 'no rule 5 profile qos', 'no rule 6 profile qos'),
                ('11#4=bytes:4:00800000', 'bucket 3 rate 256'),
                ('11#5=bytes:0:0000', 'no bucket 4'),
                ('20#5=bytes:1:01', 'limit up mode ip', 'limit up add ip 1.2.3.4~1.2.3.4 rate 5',
                 'limit up add vlan 3 rate 64', 'limit up add vlan 1 rate 65'),
                ('20#7=bytes:1:00', 'limit down mode disable', 'limit down add port 3 rate 10'),
                ('29#2=bytes:0:00000000', 'qos disable'),
                ('33#2=bytes:0:00000000', 'puredscpremark disable'),
                ('35#2=bytes:0:01000000', 'fine-classifi enable'),
                ('26#2=bytes:0:00000000', 'counter 9 disable'),
                # Flags that are not named do not count.
                ('2#2=bytes:0:09000000', 'debug error off')), 100):
            ran = self.attempt(FULL.replace('vid 7', f'vid {vlan}'), fault, options=['--keep-going'])
            self.says(ran, 1, *('the gateway: holds: ' + line for line in held))
            self.assertEqual(ran.changes, [13], fault)
        ran = self.attempt(FULL, '29#2=fail', options=['--keep-going'])
        self.says(ran, 1, 'cannot read qos: request 29 gave -1 (Input/output error)', 'the gateway: holds: qos unknown')
        # What was not changed is not read again: as many requests as a diff asks.
        ran = self.attempt(FULL, options=['--keep-going'])
        self.says(ran, 0)
        self.assertEqual((ran.changes, len(ran.requests)), ([], 20))

    def test_a_limit_that_failed_is_tried_again(self):
        # The database names it, and nobody can ask the switch.
        text = FULL + 'limit up add vlan 9 rate 1\n'
        self.assertEqual(self.attempt(text, f'{VLAN}#1=fail', options=['--keep-going']).status, 1)
        self.applied(text)
        after = self.status()
        self.state.unlink()
        self.applied(text)
        self.assertEqual(sorted(after.splitlines()), sorted(self.status().splitlines()))

    def test_the_switch_has_no_limit_that_no_database_names(self):
        # When one could not be removed or the database not be written, the rest of that direction is left out: another file's
        # apply would know of nothing to remove.
        first = 'limit up mode vlan\nlimit up add vlan 1 rate 5\n'
        second = ('limit up mode vlan\nlimit up add vlan 3 rate 7\n'
                  'limit down mode vlan\nlimit down add vlan 3 rate 8\nbucket 7 rate 64\n')
        third = 'limit up mode vlan\nlimit up add vlan 4 rate 8\n'
        self.applied(third)
        end = sorted(self.status().splitlines())
        for fault, up in ((f'{VLAN}#1=fail', [f'{VLAN} 1 1 0 5 = 6']),
                          ('19#1=fail', [f'{VLAN} 1 1 0 5 = 0', 19]),
                          ('19#2=fail', [f'{VLAN} 1 1 0 5 = 0', 19, 19])):
            self.applied(first)
            ran = self.attempt(second, fault, options=['--keep-going'])
            self.assertEqual((ran.status, ran.changes), (1, [8, *up, 19, 19, f'{VLAN} 3 0 1 8 = 0']), fault)
            self.assertIn('kxqos-config: the gateway: holds: limit up add vlan 1 rate 5\n', ran.err)
            self.applied(third)
            self.assertEqual(sorted(self.status().splitlines()), end, fault)

    def test_only_that_direction_is_left_out(self):
        for fault, limits in (
                (f'{VLAN}#1=fail', [f'{VLAN} 3 1 0 64 = 6', f'{PORT} 3 1 0 10 = 0', 19, 19]),
                (f'{PORT}#1=fail', [f'{VLAN} 3 1 0 64 = 0', f'{VLAN} 1 1 0 65 = 0', 19, 19, f'{PORT} 3 1 0 10 = 6'])):
            self.applied(FULL)
            ran = self.attempt('bucket 4 rate 0\n', fault, options=['--keep-going'])
            self.assertEqual((ran.status, ran.changes), (1, [28, *limits, 32, 34, 15, 15, 9]))

    def test_nothing_is_removed_on_account_of_a_failed_read(self):
        # Rule 6 is not seen, so profile qos is not touched; but what is wanted is sent.
        ran = self.attempt(FULL.replace('rule 6 match', 'rule 60 match'), '17#2=fail', options=['--keep-going'])
        self.assertEqual((ran.status, ran.changes), (1, [13]))
        self.assertIn('rule 6 profile qos match', self.shown())
        # Nor is a profile of which one rule was read.
        self.state.unlink()
        self.applied(FULL + 'rule 8 profile lanhost action dscp 5\n')
        ran = self.attempt(FULL.replace('rule 7 profile', 'rule 9 profile'), '17#6=fail', options=['--keep-going'])
        self.assertEqual((ran.status, ran.changes), (1, [13]))
        for fault in '11#1=fail', '11#2=fail', '20#1=fail', '29#1=fail', '33#1=fail', '35#1=fail':
            self.state.unlink()
            self.applied(FULL)
            ran = self.attempt(FULL, fault, options=['--keep-going'])
            self.assertEqual(ran.status, 1)
            self.assertNotIn(9, ran.changes)
            self.same_as_before()
        # Whether it fails at once or in the middle.
        for fault, kept in (('11#1=fail', 'bucket 3 rate 128\nbucket 4 rate 0\n'),
                            ('11#2=fail', 'bucket 3 rate 128\nbucket 4 rate 0\n'),
                            ('17#1=fail', 'rule 5 profile qos'), ('17#2=fail', 'rule 5 profile qos'),
                            ('20#1=fail', 'limit up add vlan 3 rate 64'), ('20#2=fail', 'limit up add vlan 3 rate 64'),
                            ('29#1=fail', 'qos enable'), ('33#1=fail', 'puredscpremark enable'),
                            ('35#1=fail', 'fine-classifi disable')):
            self.state.unlink()
            self.applied(FULL)
            ran = self.attempt('qos disable\n', fault, options=['--keep-going'])
            self.assertEqual(ran.status, 1)
            shown = self.shown()
            self.assertIn(kept, shown, fault)
            self.assertNotIn('rule 7 profile lanhost', shown)

    def test_a_failed_read_holds_nothing_else_back(self):
        up = [f'{VLAN} 3 1 0 64 = 0', f'{VLAN} 1 1 0 65 = 0', 19, 19]
        down = [f'{PORT} 3 1 0 10 = 0', 19, 19]
        rest = [15, 15, 15, 15, 9, 9]
        for fault, changes in (('2#1=fail', [28, *up, *down, 32, 34, *rest]),
                               ('20#1=fail', [28, *down, 32, 34, 1, *rest]),
                               ('20#3=fail', [28, *up, 32, 34, 1, *rest])):
            self.state.unlink()
            self.applied(FULL + 'rule 8 profile osgiflow action queue 1\nrule 9 profile hardacc action queue 2\n')
            ran = self.attempt('debug match on\n', fault, options=['--keep-going'])
            self.assertEqual((ran.status, ran.changes), (1, changes), fault)

    def test_a_counter_that_cannot_be_read_is_set(self):
        for word, number in ('disable', 22), ('disable', 22), ('enable', 25), ('enable', 25):
            ran = self.attempt(FULL.replace('counter 9 enable', f'counter 9 {word}'), '26#1=fail',
                               options=['--keep-going'])
            self.says(ran, 1, 'cannot read counter 9: request 26 gave -1 (Input/output error)')
            self.assertEqual(ran.changes, [number])

    def test_flags_that_cannot_be_read_are_not_set(self):
        ran = self.attempt(FULL.replace('debug info on', 'debug info off'), '2#1=fail', options=['--keep-going'])
        self.says(ran, 1, 'cannot read the debug flags: request 2 gave -1 (Input/output error)',
                  'the gateway: holds: debug info on')
        self.assertEqual(ran.changes, [])


class Mark(Configured):
    """The sticky bit, which the gateway's device has while the switch may lack limits that the database names."""

    def setUp(self):
        super().setUp()
        self.state.chmod(0o1600)

    def test_it_is_there_before_the_database_names_a_limit(self):
        self.state.chmod(0o600)
        ran = self.config('apply', self.file(FULL + 'limit up add vlan 9 rate 1\n'), faults=['19#1=kill'])
        self.assertEqual((ran.status, self.state.stat().st_mode & 0o7777), (137, 0o1600))

    def test_it_stays_when_not_all_was_done(self):
        ran = self.attempt(OTHER, '13#1=fail')
        self.assertEqual((ran.status, self.state.stat().st_mode & 0o7777), (1, 0o1600))
        self.same_as_before()
        self.says(self.attempt(FULL), 0)
        self.assertEqual(self.state.stat().st_mode & 0o7777, 0o600)

    def test_the_other_bits_stay(self):
        self.state.chmod(0o1755)
        self.applied(OTHER)
        self.assertEqual(self.state.stat().st_mode & 0o7777, 0o755)

    def test_it_goes_when_all_was_put_back(self):
        for faults, status, mode in (['34#1=fail'], 1, 0o600), ([f'{VLAN}#2=fail', f'{VLAN}#3=fail'], 3, 0o1600):
            self.state.chmod(0o600)
            ran = self.attempt(OTHER.replace('limit up mode ip', 'limit up mode vlan\nlimit up add vlan 3 rate 65'),
                               *faults)
            self.assertEqual((ran.status, self.state.stat().st_mode & 0o7777), (status, mode), ran.err)

    def test_it_is_about_limits_alone(self):
        self.applied(FULL + 'rule 8 profile osgiflow action queue 1\n')
        self.state.chmod(0o1600)
        self.assertEqual(self.applied(FULL), [
            f'{VLAN} 3 1 0 64 = 0', f'{VLAN} 1 1 0 65 = 0', f'{VLAN} 3 1 1 64 = 0', f'{VLAN} 1 1 1 65 = 0',
            f'{PORT} 3 1 0 10 = 0', f'{PORT} 3 1 1 10 = 0', 15])

    def test_diff_names_every_limit_in_force(self):
        ran = self.config('diff', self.file(FULL))
        self.says(ran, 1)
        self.assertEqual(ran.out.decode(), 'limit up add vlan 3 rate 64 \nlimit up add vlan 1 rate 65 \n'
                                           'limit down add port 3 rate 10 \n')
        self.assertEqual((ran.changes, self.state.stat().st_mode & 0o7777), ([], 0o1600))
        # Once each, behind what the database lacks.
        ran = self.config('diff', self.file(FULL.replace('limit up add vlan 1 rate 65\n', '')))
        self.says(ran, 1)
        self.assertEqual(ran.out.decode(), 'limit up delete vlan 1 rate 65 \nlimit up add vlan 3 rate 64 \n'
                                           'limit down add port 3 rate 10 \n')


class Confirm(Configured):
    def start(self, seconds, text=OTHER):
        """An apply that waits for its answer."""
        words = self.words(CONFIG, 'apply', '--confirm', str(seconds), self.file(text))
        started = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(started.wait)
        self.addCleanup(started.kill)
        if text == OTHER:
            self.assertEqual(started.stderr.readline().decode(),
                             f'kxqos-config: press Enter within {seconds} seconds to keep this\n')
            self.assertIn('bucket 4 rate 640\n', self.shown())
        return started

    def program(self, started):
        # The launcher is what was started; the program is its only child, or itself.
        children = subprocess.run(['ps', '-o', 'pid=', '--ppid', str(started.pid)], stdout=subprocess.PIPE,
                                  check=False).stdout.split()
        return int(children[0]) if children else started.pid

    def end(self, started, status, *lines, answer=b''):
        out, err = started.communicate(answer, timeout=30)
        self.assertEqual((out, err.decode()), (b'', ''.join(f'kxqos-config: {line}\n' for line in lines)))
        self.assertEqual(started.returncode, status)

    def test_enter_keeps(self):
        self.end(self.start(30), 0, answer=b'\n')
        self.assertEqual(self.attempt(OTHER).changes, [])

    def test_anything_else_puts_back(self):
        for answer in b'no\n', b'n\n', b'#\n':
            self.end(self.start(30), 1, 'not Enter alone', BACK, answer=answer)
            self.same_as_before()

    def test_end_of_input_puts_back(self):
        self.end(self.start(30), 1, 'standard input has ended', BACK)
        self.same_as_before()
        self.end(self.start(30), 1, 'standard input has ended', BACK, answer=b'yes')
        self.same_as_before()

    def test_time_out_puts_back(self):
        began = time.monotonic()
        started = self.start(1)
        started.wait(30)
        self.assertGreaterEqual(time.monotonic() - began, 1)
        self.end(started, 1, 'no answer', BACK)
        self.same_as_before()

    def test_how_long_the_answer_is_waited_for(self):
        waits = self.folder / 'waits'
        began = time.monotonic()
        # Each character of the answer comes with a delay.
        ran = self.run_words(*injected('poll,read:delay_enter=20000', 'apply', '--confirm', '30', self.file(OTHER),
                                       trace=waits), input=b'no\n')
        took = (time.monotonic() - began) * 1000
        self.says(ran, 1, 'press Enter within 30 seconds to keep this', 'not Enter alone', BACK)
        left = [int(time) for time in re.findall(r'^poll\(.*\], 2, (-?\d+)\)', waits.read_text(), re.MULTILINE)]
        self.assertEqual(len(left), 3)
        # What has passed meanwhile is taken off.
        for earlier, later in zip(left, left[1:]):
            self.assertGreaterEqual(earlier - later, 30)
        self.assertLessEqual(left[0], 30000)
        self.assertGreaterEqual(left[-1], 30000 - took)

    def test_signals_put_back(self):
        for number in signal.SIGHUP, signal.SIGINT, signal.SIGTERM:
            started = self.start(30)
            os.kill(self.program(started), number)
            started.wait(30)
            self.end(started, 1, 'stopped by a signal', BACK)
            self.same_as_before()

    def test_nothing_else_is_kept_open(self):
        # The file may be on a disk that is to be taken away.
        started = self.start(30)
        opened = [os.readlink(link) for link in pathlib.Path(f'/proc/{self.program(started)}/fd').iterdir()]
        self.assertEqual([path for path in opened if path.startswith('/')], [str(self.state.resolve())])
        self.end(started, 0, answer=b'\n')

    def test_no_other_signal_is_held_back(self):
        started = self.start(30)
        status = pathlib.Path(f'/proc/{self.program(started)}/status').read_text()
        held = sum(1 << number - 1 for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM))
        self.assertEqual(int(re.search(r'^SigBlk:\t(.*)$', status, re.MULTILINE)[1], 16), held)
        self.end(started, 0, answer=b'\n')

    def test_nothing_to_confirm(self):
        self.end(self.start(30, FULL), 0)

    def test_an_apply_that_failed_has_no_timer(self):
        ran = self.attempt(OTHER, '13#1=fail', options=['--confirm', '3000'])
        self.assertEqual(ran.status, 1)
        self.assertNotIn('press Enter', ran.err)

    def test_the_answer_and_the_file_cannot_both_be_standard_input(self):
        ran = self.config('apply', '--confirm', '5', '-', input=OTHER.encode())
        self.says(ran, 2, 'with --confirm standard input is for the answer, so FILE cannot be -')
        self.same_as_before()

    def test_an_answer_that_cannot_be_read(self):
        ended = 'standard input has ended', BACK
        for error, text, status, *said in (('EIO', '\n', 1, *ended), ('EINTR:when=1', '\n', 0),
                                           ('EAGAIN:when=1', '\n', 0), ('EAGAIN:when=1', '', 1, *ended)):
            self.applied(FULL)
            answer = self.file(text, 'answer')
            with open(answer, 'rb') as standard_input:
                ran = self.run_words(*injected(f'read:error={error}', 'apply', '--confirm', '30', self.file(OTHER),
                                               path=answer), stdin=standard_input)
            self.says(ran, status, 'press Enter within 30 seconds to keep this', *said)

    def test_without_a_way_to_see_signals(self):
        ran = self.run_words(*injected('signalfd4:error=EMFILE', 'apply', '--confirm', '30', self.file(OTHER)))
        self.says(ran, 1, 'press Enter within 30 seconds to keep this', 'stopped by a signal', BACK)
        self.same_as_before()

    def test_a_file_whose_name_begins_like_standard_input(self):
        self.file(FULL, '-file')
        self.says(self.config('apply', '--confirm', '30', '--', '-file', cwd=self.folder), 0)

    def test_what_cannot_be_put_back(self):
        words = self.words(CONFIG, 'apply', '--confirm', '30', self.file(FULL + 'rule 9 action queue 1\n'),
                           faults=['14#1=fail'])
        ran = subprocess.run(words, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, timeout=30, check=False)
        self.assertEqual(ran.returncode, 3)
        self.assertIn(b'the gateway: holds: rule 9 profile qos action queue 1\n', ran.stderr)


class Lock(GatewayTest):
    def test_one_at_a_time(self):
        self.applied(FULL)
        path = self.file(FULL)
        # The lab's device is the state file.
        with open(self.state, 'rb') as device:
            fcntl.flock(device, fcntl.LOCK_EX)
            for words in (['apply', '--wait', '0', path], ['apply', '--keep-going', '--wait', '0', path],
                          ['run', '--wait', '0', path], ['diff', '--wait', '0', path],
                          ['save', '--wait', '0', str(self.folder / 'saved')]):
                ran = self.config(*words)
                self.says(ran, 2, 'another kxqos-config is at work on the gateway')
                self.assertEqual((ran.requests, ran.out), ([], b''))
            began = time.monotonic()
            self.assertEqual(self.config('apply', '--wait', '1', path).status, 2)
            self.assertGreaterEqual(time.monotonic() - began, 1)
            self.assertFalse((self.folder / 'saved').exists())
            # Looking is free.
            self.assertEqual(self.config('show').status, 0)
        self.says(self.config('apply', '--wait', '0', path), 0)

    def test_it_cannot_be_taken(self):
        path = self.file(FULL)
        ran = self.run_words(*injected('flock:error=ENOLCK', 'apply', path))
        self.says(ran, 2, '/dev/kxqos: cannot be locked: No locks available')
        self.assertEqual(ran.requests, [])
        self.says(self.run_words(*injected('flock:error=EINTR:when=1', 'apply', '--wait', '1', path)), 0)

    def test_it_is_waited_for(self):
        self.applied(FULL)
        with open(self.state, 'rb') as device:
            fcntl.flock(device, fcntl.LOCK_EX)
            words = self.words(CONFIG, 'apply', self.file(OTHER))
            with subprocess.Popen(words, stderr=subprocess.PIPE) as waiting:
                time.sleep(0.3)
                self.assertIsNone(waiting.poll())
                fcntl.flock(device, fcntl.LOCK_UN)
                self.assertEqual((waiting.communicate(timeout=30)[1], waiting.returncode), (b'', 0))

    def test_how_long_it_is_waited_for(self):
        path, waits = self.file(FULL), self.folder / 'waits'
        self.applied(FULL)
        with open(self.state, 'rb') as device:
            fcntl.flock(device, fcntl.LOCK_EX)
            for options, seconds in ([], 10), (['--wait', '260'], 260):
                # Each wait is over at once.
                ran = self.run_words(*injected('poll:retval=0', 'apply', *options, path, trace=waits))
                self.says(ran, 2, 'another kxqos-config is at work on the gateway')
                waited = [int(time) for time in re.findall(r'poll\(NULL, 0, (\d+)\)', waits.read_text())]
                self.assertEqual(sum(waited), seconds * 1000)

    def test_a_killed_one_leaves_no_lock(self):
        ran = self.config('apply', self.file(FULL), faults=['13#2=kill'])
        self.assertEqual(ran.status, 137)
        self.says(self.config('apply', '--wait', '0', self.file(FULL)), 0)
        self.assertEqual(self.applied(FULL), [])

    def unread(self, words, first, environment=None):
        """One that has begun to print, and whose output nobody reads on."""
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        printing = subprocess.Popen(words, stdout=writing, env=environment)
        self.addCleanup(printing.wait)
        self.addCleanup(printing.kill)
        os.close(writing)
        self.assertEqual(os.read(reading, 1), first)
        return printing

    def test_a_diff_that_nobody_reads_on(self):
        # It has seen the gateway before it prints, so it neither keeps others out nor holds signals back.
        path = self.file(''.join(f'rule {n} profile 1 match sip 10.0.0.{n % 256}~10.255.255.255 action queue 1\n'
                                 for n in range(1, 513)))
        environment = dict(os.environ, LD_PRELOAD=str(BUILT / 'libkxqos-lab.so'), KXQOS_LAB_STATE=str(self.state))
        diff = self.unread([CONFIG, 'diff', path], b'r', environment)
        self.says(self.config('apply', '--wait', '0', self.file('qos enable\n', 'other')), 0)
        self.assertIsNone(diff.poll())
        diff.terminate()
        self.assertEqual(diff.wait(10), -signal.SIGTERM)

    def test_a_save_that_nobody_reads_on(self):
        self.applied(''.join(f'rule {n} profile 1 match sip 10.0.0.{n % 256} action queue 1\n' for n in range(1, 513)))
        save = self.unread(self.words(CONFIG, 'save', '-'), b'#')
        self.says(self.config('apply', '--wait', '0', self.file('qos enable\n')), 0)
        self.assertIsNone(save.poll())

    def test_diff_into_run(self):
        # More than a pipe holds, and each locks the gateway.
        many = ''.join(f'rule {n} profile {p} match sip 10.{p}.{n // 256}.{n % 256}~10.255.255.255 action queue 1\n'
                       for p in (1, 2) for n in range(1, 513))
        diff = subprocess.Popen(self.words(CONFIG, 'diff', self.file(many)), stdout=subprocess.PIPE)
        run = subprocess.run(self.words(CONFIG, 'run', '-'), stdin=diff.stdout, timeout=60, check=False)
        diff.stdout.close()
        self.assertEqual((diff.wait(30), run.returncode), (1, 0))
        self.assertEqual(self.applied(many), [])


if __name__ == '__main__':
    unittest.main()
