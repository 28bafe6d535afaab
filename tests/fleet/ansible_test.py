"""The collection for Ansible, over SSH, with twenty simulated gateways."""

import ast
import ctypes
import fcntl
import json
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import time
import unittest

TREE = pathlib.Path(__file__).resolve().parent.parent.parent
BUILT = os.environ['KXQOS_BUILT']
sys.path.insert(0, str(TREE / 'tests/config'))
from gateway import READING

ALL = [f'gw{number:03}' for number in range(1, 21)]

FIRST = '''\
# The same for all.
qos enable
bucket 1 rate 10240
rule 6 profile qos match sip 192.168.1.0/24 action rate-bucket 1
limit up mode vlan
limit up add vlan 7 rate 6400
'''
# What brings a gateway there that was just switched on; QoS is last.
COMMANDS = '''\
bucket 1 rate 10240
rule 6 profile qos match sip 192.168.1.0/24 action rate-bucket 1
limit up mode vlan
limit up add vlan 7 rate 6400 \nqos enable
'''
SECOND = FIRST.replace('vlan 7', 'vlan 8') + 'rule 7 profile qos match vid 7 action queue 3\nbucket 2 rate 640\n'


class Run:
    """What a run of Ansible said and did."""

    def __init__(self, ran):
        self.status, self.out = ran.returncode, ran.stdout
        self.changed, self.failed, self.unreachable = ([host for host, counts in re.findall(
            r'^(gw\d+) +: (.*)$', self.out, re.M) if f'{what}=1 ' in counts] for what in ('changed', 'failed', 'unreachable'))
        # From playbooks; and from commands for one gateway.
        self.why = {host: json.loads(text) for host, text in
                    re.findall(r'^fatal: \[(\w+)\]: FAILED! => (\{.*\})$', self.out, re.M)}
        alone = re.search(r'^gw\d+ \| \w+!? => (?=\{)', self.out, re.M)
        self.single = json.JSONDecoder().raw_decode(self.out, alone.end())[0] if alone else {}

    def shown(self):
        """What --diff showed, by gateway."""
        return dict(re.findall(r'^# (gw\d+): what brings it to gateway.conf\n(.*?)changed: \[\1\]$', self.out, re.M | re.S))


class Ansible(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        # Whatever loses its parent becomes a child of this process, so that nothing is overlooked at the end.
        ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)
        cls.addClassCleanup(cls.nothing_is_left)
        cls.fleet = subprocess.Popen([TREE / 'integrations/fleet/gateways', BUILT, str(len(ALL)), 'sh', '-c',
                                      'pwd; exec cat'], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        cls.addClassCleanup(cls.end)
        cls.folder = pathlib.Path(cls.fleet.stdout.readline().strip())
        cls.port = int(re.search(r'Port (\d+)', (cls.folder / 'ssh_config').read_text()).group(1))
        cls.environment = dict(os.environ, ANSIBLE_CONFIG=str(cls.folder / 'ansible.cfg'), LC_ALL='C.UTF-8')

    @classmethod
    def end(cls):
        cls.fleet.stdin.close()
        cls.fleet.stdout.close()
        assert cls.fleet.wait(120) == 0, 'the fleet did not end well'
        assert not cls.folder.exists(), 'its folder is left'
        with socket.socket() as connection:
            assert connection.connect_ex(('127.0.0.1', cls.port)) != 0, 'the server still answers'

    @classmethod
    def nothing_is_left(cls):
        end = time.monotonic() + 60
        left = '?'
        while time.monotonic() < end:
            try:
                if os.waitpid(-1, os.WNOHANG)[0] == 0:
                    time.sleep(0.05)
            except ChildProcessError:
                return
        for entry in pathlib.Path('/proc').glob('[0-9]*'):
            if f'PPid:\t{os.getpid()}\n' in (entry / 'status').read_text():
                left = (entry / 'cmdline').read_bytes()
                os.kill(int(entry.name), signal.SIGKILL)
        raise AssertionError(f'still running: {left}')

    def setUp(self):
        """Twenty gateways that were just switched on, without a file."""
        for name in ALL:
            for file in (self.folder / name).iterdir():
                file.unlink()
            self.give(name, faults='', trace='')

    def give(self, name, **files):
        for file, text in files.items():
            (self.folder / name / file).write_text(text)

    def ansible(self, *words):
        return Run(subprocess.run(words, cwd=self.folder, env=self.environment, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=300, check=False))

    def apply(self, text, *options):
        for name in ALL:
            self.give(name, trace='')
        (self.folder / 'gateway.conf').write_text(text)
        return self.ansible('ansible-playbook', 'apply.yml', *options)

    def applied(self, text):
        run = self.apply(text)
        self.assertEqual((run.status, run.failed, run.unreachable), (0, [], []), run.out)
        return run.changed

    def one(self, name, **arguments):
        """The module alone, on one gateway."""
        if arguments:
            arguments.setdefault('path', str(self.folder / name / 'kxqos.conf'))
        self.give(name, trace='')
        words = ['-a', json.dumps(arguments)] if arguments else []
        return self.ansible('ansible', name, '-m', 'kxqos.gateway.config', *words)

    def lab(self, name, *words):
        words = [f'{BUILT}/kxqos-lab', '--state', self.folder / name / 'state', *words]
        return subprocess.run(words, stdout=subprocess.PIPE, timeout=60, check=True).stdout.decode()

    def shows(self, name):
        return self.lab(name, '--', f'{BUILT}/kxqos-config', 'show')

    def requests(self, name):
        return [line.split() for line in (self.folder / name / 'trace').read_text().splitlines()]

    def changes(self, name):
        """What changes something: requests by number, calls by name."""
        return [event[1] for event in self.requests(name)
                if event[0] == 'call' or event[0] == 'request' and int(event[1]) not in READING]

    def files(self, name):
        return sorted(file.name for file in (self.folder / name).iterdir())

    def file(self, name):
        return (self.folder / name / 'kxqos.conf').read_text()

    def test_check_then_all_then_none(self):
        run = self.apply(FIRST, '--check', '--diff')
        self.assertEqual((run.status, run.changed), (0, ALL), run.out)
        self.assertEqual(run.shown(), {name: f'{COMMANDS}# {name}: the file there is another one\n' for name in ALL})
        for name in ALL:
            self.assertEqual((self.changes(name), self.files(name)), ([], ['faults', 'state', 'trace']))
            self.assertNotEqual(self.requests(name), [])
        self.assertIn('qos disable', self.shows('gw020'))

        self.assertEqual(self.applied(FIRST), ALL)
        for name in ALL:
            self.assertEqual(sorted(self.changes(name)), ['13', '19', '19', '28', '8', 'libkx_switchApi_vlanSetRateLimit'])
            self.assertEqual(self.file(name), FIRST)
            self.assertEqual(self.files(name), ['faults', 'kxqos.conf', 'state', 'trace'])
            self.assertEqual(self.shows(name), '''\
!
qos enable
!
rule 6 profile qos match sip 192.168.1.0/255.255.255.0 action rate-bucket 1
!
!
bucket 1 rate 10240
!
limit up mode vlan
limit up add vlan 7 rate 6400 \nlimit down mode disable
!
''')
        self.assertEqual((self.folder / 'gw001/kxqos.conf').stat().st_mode & 0o777, 0o644)

        run = self.apply(FIRST, '--diff')
        self.assertEqual((run.status, run.changed, run.failed), (0, [], []), run.out)
        self.assertEqual(run.shown(), {})
        for name in ALL:
            self.assertEqual(self.changes(name), [])
            self.assertNotEqual(self.requests(name), [])

    def test_drift_is_seen_and_mended(self):
        self.applied(FIRST)
        self.lab('gw005', '--', f'{BUILT}/kxqosctl', 'bucket', '1', 'rate', '64')
        # Two files alone, of which one is a link, and not for all to read.
        self.give('gw009', **{'kxqos.conf': 'qos disable\n'})
        kept = self.folder / 'gw010/kept.conf'
        kept.write_text('')
        kept.chmod(0o640)
        (self.folder / 'gw010/kxqos.conf').unlink()
        (self.folder / 'gw010/kxqos.conf').symlink_to('kept.conf')
        run = self.apply(FIRST, '--diff')
        self.assertEqual((run.status, run.changed), (0, ['gw005', 'gw009', 'gw010']), run.out)
        self.assertEqual(run.shown(), {'gw005': 'bucket 1 rate 10240\n', 'gw009': '# gw009: the file there is another one\n',
                                       'gw010': '# gw010: the file there is another one\n'})
        self.assertEqual({name: self.changes(name) for name in ALL}, {name: ['8'] if name == 'gw005' else [] for name in ALL})
        self.assertEqual({self.file(name) for name in ALL}, {FIRST})
        self.assertTrue((self.folder / 'gw010/kxqos.conf').is_symlink())
        self.assertEqual(kept.stat().st_mode & 0o777, 0o640)

    def test_faults_are_put_back_and_named_and_the_others_go_on(self):
        self.applied(FIRST)
        # The second bucket; the rule; the limit in the switch. And one that cannot be put back: its bucket stays.
        faults = {'gw003': '8#1=fail', 'gw007': '13#1=fail', 'gw011': 'libkx_switchApi_vlanSetRateLimit#2=fail',
                  'gw013': '13#1=fail\n9#*=fail'}
        before = {}
        for name, fault in faults.items():
            self.give(name, faults=fault + '\n')
            before[name] = self.lab(name, '--status')
        run = self.apply(SECOND)
        self.assertEqual((run.status, run.failed, run.unreachable), (2, sorted(faults), []), run.out)
        self.assertEqual(run.changed, [name for name in ALL if name not in faults])
        for name in run.changed:
            self.assertEqual(self.file(name), SECOND)
            self.assertIn('rule 7 profile qos match vid 7', self.shows(name))
            self.assertIn('vlan 8 rate 6400', self.shows(name))
        back = 'kxqos-config: put back: the gateway holds what it held before'
        for name, place, line in (('gw003', 8, 'bucket 2 rate 640'),
                                  ('gw007', 7, 'rule 7 profile qos match vid 7 action queue 3'),
                                  ('gw011', 6, 'limit up add vlan 8 rate 6400')):
            why = run.why[name]
            self.assertRegex(why['msg'], f'^kxqos-config: gateway.conf:{place}: .*: {line}\n{back}$')
            self.assertEqual((why['rc'], why['changed']), (1, False))
            self.assertEqual(self.lab(name, '--status'), before[name])
        for name in faults:
            self.assertEqual((self.file(name), self.files(name)), (FIRST, ['faults', 'kxqos.conf', 'state', 'trace']))
        self.assertEqual(run.why['gw013']['rc'], 3)
        self.assertTrue(run.why['gw013']['msg'].endswith(
            'kxqos-config: could not be put back: the gateway holds neither what it held before nor what gateway.conf asks '
            'for'), run.why)
        # Once it works again, the next run brings the four to the file, and touches no other.
        for name in faults:
            self.give(name, faults='')
        self.assertEqual(self.applied(SECOND), sorted(faults))

    def test_one_that_never_answers_is_named_and_the_others_go_on(self):
        few = ['--limit', 'gw003:gw004:gw005']
        self.assertEqual(self.apply(FIRST, *few).status, 0)
        with open(self.folder / 'gw004/state', 'r+b') as state:
            fcntl.lockf(state, fcntl.LOCK_EX)
            begun = time.monotonic()
            run = self.apply(SECOND, *few, '-e', 'kxqos_timeout=10')
            self.assertLess(time.monotonic() - begun, 120)
        self.assertEqual((run.status, run.failed, run.changed), (2, ['gw004'], ['gw003', 'gw005']), run.out)
        # In Ansible's own words, which are others in each of its versions.
        self.assertRegex(run.why['gw004']['msg'], r'expected time frame \(10\)|Timed out after 10 second')
        self.assertEqual(self.file('gw004'), FIRST)

    def test_what_is_told_of_a_file_that_cannot_be_put(self):
        # Nothing was begun.
        run = self.one('gw001', content='qos enable\n', path='/proc/kxqos.conf')
        self.assertEqual((run.single.get('rc'), run.single.get('changed'), self.changes('gw001')), (2, False, []), run.out)
        # It was applied.
        program = self.folder / 'bin/mv'
        busybox = program.readlink()
        program.unlink()
        try:
            run = self.one('gw001', content='qos enable\n')
        finally:
            program.symlink_to(busybox)
        self.assertRegex(run.single.get('msg'), '^applied, but the file on the gateway is still the former one: .*mv')
        self.assertEqual((run.single['changed'], self.changes('gw001')), (True, ['28']), run.out)
        self.assertEqual(self.files('gw001'), ['faults', 'state', 'trace'])

    def test_a_wrong_file_stops_before_the_first_request(self):
        for name in ALL:
            self.give(name, **{'kxqos.conf': FIRST})
        run = self.apply(FIRST + 'rule 65 action queue 3\n')
        self.assertEqual((run.status, run.failed), (2, ALL), run.out)
        for name in ALL:
            self.assertEqual((run.why[name]['msg'], run.why[name]['rc']), (
                'kxqos-config: gateway.conf:7: Err: Maximum 64 rules of qos profile!: rule 65 action queue 3', 2))
            self.assertEqual((self.requests(name), self.file(name)), ([], FIRST))
        run = self.one('gw001', content='')
        self.assertEqual((run.single.get('msg'), run.single.get('rc')),
                         ('kxqos-config: content: names nothing; to have nothing, write "qos disable"', 2), run.out)
        self.assertEqual((self.requests('gw001'), self.file('gw001')), ([], FIRST))

    def test_what_does_not_arrive_whole_is_not_applied(self):
        plugin = ast.parse((TREE / 'integrations/ansible/plugins/action/config.py').read_text())
        put = next(ast.literal_eval(part.value) for part in plugin.body
                   if isinstance(part, ast.Assign) and part.targets[0].id == 'PUT')
        script = put.format(path=self.folder / 'gw001/kxqos.conf', sum='0' * 64)
        ran = subprocess.run(['ssh', '-F', 'ssh_config', 'gw001', script], input='qos enable\n', cwd=self.folder, text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60, check=False)
        self.assertEqual((ran.returncode, ran.stdout, ran.stderr), (2, '', 'not all of the file arrived\n'))
        self.assertEqual((self.requests('gw001'), self.files('gw001')), ([], ['faults', 'state', 'trace']))

    def test_one_version_for_all(self):
        version = re.search(r'VERSION ([0-9.]+)', (TREE / 'CMakeLists.txt').read_text().partition('project(')[2]).group(1)
        self.assertIn(f'\nversion: {version}\n', (TREE / 'integrations/ansible/galaxy.yml').read_text())

    def test_a_text_and_any_path(self):
        path = str(self.folder / "gw001/it's $(false) \"here\" {path}")
        run = self.one('gw001', content='qos enable\nrefresh enable\nrule 1 action rate-bucket 9\n', path=path)
        self.assertEqual((run.status, run.single.get('changed')), (0, True), run.out)
        self.assertIn('[WARNING]: kxqos-config: content:3: warning: bucket 9 is not set: rule 1 action rate-bucket 9',
                      ' '.join(run.out.split()))
        self.assertEqual(pathlib.Path(path).read_text(), 'qos enable\nrefresh enable\nrule 1 action rate-bucket 9\n')
        # What cannot be read back is no difference.
        run = self.one('gw001', content='qos enable\nrefresh enable\nrule 1 action rate-bucket 9\n', path=path)
        self.assertEqual((run.single['changed'], run.single['commands'], self.changes('gw001')), (False, [], []))

    def test_other_failures(self):
        for arguments, message in (
                ({}, 'either src or content is needed'),
                ({'src': 'gateway.conf', 'content': 'qos enable\n'}, 'either src or content is needed'),
                ({'content': 'qos enable\n', 'path': '/none/there'}, 'no such folder: /none/there')):
            run = self.one('gw001', **arguments)
            self.assertEqual((run.status, run.single.get('msg')), (2, message), run.out)
            self.assertEqual(self.changes('gw001'), [])
        self.assertIn('no-such-file cannot be read: ', self.one('gw001', src='no-such-file').single['msg'])
        # A gateway that cannot be read is not taken for an equal one.
        self.give('gw001', faults='11#1=fail\n')
        run = self.one('gw001', content='qos disable\n')
        self.assertEqual(run.single['rc'], 1, run.out)
        self.assertTrue(run.single['msg'].endswith('kxqos-config: what cannot be read is not compared'), run.out)
        # Nor is one without a device.
        self.give('gw001', faults='open#1=fail\n')
        run = self.one('gw001', content='qos disable\n')
        self.assertEqual(run.single['rc'], 2, run.out)


if __name__ == '__main__':
    unittest.main()
