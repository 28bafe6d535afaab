"""What the tests of kxqos-config share: a gateway in the lab, and what a program did to it."""

import os
import pathlib
import subprocess
import tempfile
import unittest

BUILT = pathlib.Path(os.environ['KXQOS_BUILT'])
TREE = pathlib.Path(__file__).resolve().parent.parent.parent
CONFIG = str(BUILT / 'kxqos-config')

# Requests that change nothing.
READING = {2, 10, 11, 16, 17, 20, 26, 29, 31, 33, 35}

# What a gateway shows that was just switched on.
NOTHING = '!\nqos disable\n!\n!\n!\n!\nlimit up mode disable\nlimit down mode disable\n!\n'


# Commands as people type them, and the lines among them of which the tool uses only a part.
TYPED = (TREE / 'tests/roundtrip/typed.txt').read_text().splitlines()
TYPED_LOST = {
    24: 'an action given before',
    28: 'the high bits of the mask',
    34: 'the prefix length 0',
    42: 'the address',
    74: 'the range',
    76: 'the mask',
    98: 'a field given before, in the same place,',
    99: 'a field given before, in the same place,',
    100: 'a field given before, in the same place,',
    101: 'a field given before, in the same place,',
    116: 'the mask',
    128: 'the "!"',
}
TYPED_WHOLE = ''.join(line + '\n' for number, line in enumerate(TYPED, 1) if number not in TYPED_LOST)


def injected(what, *words, path=None, trace='/dev/null'):
    """The program with a system call that fails, as strace has it; of those that use the path when one is given."""
    # The search for leaks does not work under strace.
    options = os.environ.get('ASAN_OPTIONS', '') + ':detect_leaks=0'
    return ['strace', '--quiet=all', '-o', str(trace), '-E', f'ASAN_OPTIONS={options}',
            *(['-P', str(path)] if path is not None else []), '-e', 'trace=' + what.split(':')[0], '-e',
            f'inject={what}', CONFIG, *words]


class Ran:
    """What a program said, and the trace of what it asked the gateway."""

    def __init__(self, status, out, err, trace):
        self.status, self.out, self.err = status, out, err
        events = [line.split() for line in trace.splitlines()]
        self.opens = sum(event[0] == 'open' for event in events)
        # (number, result, payload as it was sent)
        self.requests = [(int(e[1]), int(e[3]), bytes.fromhex(e[5]) if e[5] != '-' else b'')
                         for e in events if e[0] == 'request']
        self.calls = [line[5:] for line in trace.splitlines() if line.startswith('call ')]
        # Everything that changes something, in order: requests by number, calls by their words.
        self.changes = [int(e[1]) if e[0] == 'request' else ' '.join(e[1:]) for e in events
                        if e[0] == 'call' or e[0] == 'request' and int(e[1]) not in READING]


class GatewayTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.state = self.folder / 'state'

    def file(self, text, name='file'):
        """A file with this text; its name."""
        path = self.folder / name
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        return str(path)

    def words(self, *words, faults=()):
        trace = self.folder / 'trace'
        trace.write_text('')
        lab = [str(BUILT / 'kxqos-lab'), '--state', str(self.state), '--trace', str(trace)]
        for fault in faults:
            lab += ['--fault', fault]
        return lab + ['--'] + list(words)

    def trace(self):
        return (self.folder / 'trace').read_text()

    def run_words(self, *words, faults=(), **how):
        how.setdefault('stdin', subprocess.DEVNULL if 'input' not in how else None)
        if how['stdin'] is None:
            del how['stdin']
        ran = subprocess.run(self.words(*words, faults=faults), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                             timeout=60, check=False, **how)
        return Ran(ran.returncode, ran.stdout, ran.stderr.decode(), self.trace())

    def config(self, *words, **how):
        return self.run_words(CONFIG, *words, **how)

    def tool(self, *words):
        return self.run_words(str(BUILT / 'kxqosctl'), *words)

    def type(self, text):
        """Types the commands into the gateway with the tool, one by one."""
        for line in text.splitlines():
            self.assertEqual(self.tool(*line.split()).status, 0, line)

    def shown(self):
        return self.tool('configuration', 'show').out.decode()

    def status(self):
        """All that the lab knows of the gateway, the switch included, but for the module's log."""
        lab = [str(BUILT / 'kxqos-lab'), '--state', str(self.state), '--status']
        return subprocess.run(lab, stdout=subprocess.PIPE, timeout=60, check=True).stdout.decode()

    def applied(self, text, *options, **how):
        """Applies the text, which must work; what was changed."""
        ran = self.config('apply', *options, self.file(text), **how)
        self.assertEqual((ran.status, ran.out), (0, b''), ran.err)
        return ran.changes

    def says(self, ran, status, *lines):
        """The program ended with this status, and said these lines."""
        self.assertEqual(ran.err, ''.join(f'kxqos-config: {line}\n' for line in lines))
        self.assertEqual(ran.status, status)


def rule_bytes(profile, number, *fields):
    """The 240 bytes of a rule: each field is an offset and its bytes in hexadecimal."""
    record = bytearray(240)
    record[0:4] = profile.to_bytes(2, 'little') + number.to_bytes(2, 'little')
    for offset, text in fields:
        value = bytes.fromhex(text)
        record[offset:offset + len(value)] = value
    return bytes(record)
