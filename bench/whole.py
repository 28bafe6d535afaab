"""What bringing up a whole gateway costs, for bench/run and bench/guard."""

import collections
import ctypes
import os
import re
import shutil
import statistics
import subprocess
import time

import measure

STORED = 1 << 20  # bytes of the storing gateway's file, and some to spare
ROUNDS = 5
GUARDED = ['apply, full', 'apply, no change']
SAMPLE = 25  # of one process a line, every so many is counted
CLONE_NEWNET = 0x40000000
SYSTEM = '/usr/sbin:/usr/bin:/sbin:/bin'
# What a peer's batch says for number n, what comes before the lines, and the words that put the namespace back.
PEERS = [
    ('nft', ['-f'], ['add table inet bench', 'add chain inet bench lines'],
     'add rule inet bench lines ip saddr 10.0.{high}.{low} udp dport {n} accept', 'nft flush ruleset'),
    ('ip', ['-batch'], [], 'route add 10.{high}.{low}.0/24 dev lo',
     'ip link set lo down && ip link set lo up'),
    ('tc', ['-batch'], ['qdisc add dev lo root handle 1: htb'],
     'class add dev lo parent 1: classid 1:{n:x} htb rate {n}mbit quantum 1500', 'tc qdisc del dev lo root 2>/dev/null; true'),
]


class Way:
    """One way to bring a gateway up. What is in before is not measured."""

    def __init__(self, name, lines, words, before, folder):
        self.name, self.lines, self.words, self.before, self.folder = name, lines, words, before, folder
        self.instructions = self.processes = self.calls = self.requests = self.changing = None
        self.allocations = self.resident = self.own = self.time = None
        self.memory = {}
        self.estimated = False

    def begin(self):
        os.chdir(self.folder)
        subprocess.run(['/bin/sh', '-c', self.before], check=True)

    def count(self, place):
        self.begin()
        self.instructions = measure.instructions(self.words, place)
        self.begin()
        self.allocations = measure.allocations(self.words)
        self.begin()
        self.trace(place)

    def trace(self, place):
        """All but what the gateway of the benchmark does to keep its records."""
        trace = f'{place}/strace.{os.getpid()}'
        status, _ = measure.run_quietly(['env', '-i', '/usr/bin/strace', '-f', '-y', '-X', 'raw', '-o', trace,
                                         *self.words])
        with open(trace, encoding='utf-8', errors='replace') as file:
            lines = re.findall(r'^(\d+) +([a-z_0-9]+\(.*)', file.read(), re.M)
        os.unlink(trace)
        if status != 0:
            return
        self.processes = len({process for process, _ in lines})
        calls = [call for _, call in lines if not re.match(r'p(read|write)64\(\d+<[^>]*/gateway>', call)]
        self.calls = len(calls)
        asked = [int(number, 16) & 0xFF for call in calls
                 for number in re.findall(r'^ioctl\(\d+<[^>]*/gateway>, (0x\w+)', call)]
        self.requests = len(asked)
        self.changing = len([number for number in asked if number in changing_requests()])

    def measure_memory(self):
        """Of memory in KiB, the highest that was resident, and what of it is no file's; read while strace holds the process
        back from its end."""
        self.begin()
        with subprocess.Popen(['strace', '-D', '-o', '/dev/null', '-e', 'trace=exit_group', '-e',
                               'inject=exit_group:delay_enter=500000', *self.words], env={}, executable='/usr/bin/strace',
                              stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
            while process.poll() is None:
                with open(f'/proc/{process.pid}/status', encoding='utf-8') as file:
                    found = dict(re.findall(r'^(VmHWM|RssAnon):\s*(\d+) kB', file.read(), re.M))
                if found:
                    self.resident, self.own = int(found['VmHWM']), int(found['RssAnon'])
                    self.memory = resident_by_file(process.pid) or self.memory
                time.sleep(0.01)

    def clock(self):
        self.begin()
        began = time.perf_counter()
        subprocess.run(self.words, check=True, stdout=subprocess.DEVNULL, env={})
        return time.perf_counter() - began


    def cells(self):
        time_to_apply = f'{self.time:.2f}' if self.time else None
        changing = self.changing if self.requests else None  # a peer makes none of these requests
        return [self.lines, self.instructions, self.a_line(), self.processes, self.calls, changing, self.allocations,
                self.resident, self.own, time_to_apply]

    def a_line(self):
        return round(self.instructions / self.lines) if self.instructions else None


class Loop(Way):
    """One process a line; what is counted by callgrind is every 25th of them, without the shell that starts them."""

    def count(self, place):
        self.begin()
        with open(f'{self.folder}/full.lines', encoding='utf-8') as file:
            lines = file.read().splitlines()[::SAMPLE]
        counted = [measure.instructions([f'{self.folder}/kxqosctl', *line.split()], place) for line in lines]
        self.instructions = round(sum(counted) * self.lines / len(counted))
        self.estimated = True
        self.begin()
        self.trace(place)

    def measure_memory(self):
        """Each process has its own."""


def resident_by_file(process):
    """KiB that are resident, by the file that they are of; what is of none is the process's own."""
    with open(f'/proc/{process}/smaps', encoding='utf-8') as file:
        maps = re.split(r'^(?=[0-9a-f]+-[0-9a-f]+ )', file.read(), flags=re.M)
    found = collections.Counter()
    for one in maps[1:]:
        size = {name: int(number) for name, number in re.findall(r'^(Rss|Anonymous): *(\d+) kB', one, re.M)}
        path = one.splitlines()[0].partition('/')[2]
        found[os.path.basename(path) or 'vdso'] += size['Rss'] - size['Anonymous']
        found['its own'] += size['Anonymous']
    return {name: size for name, size in found.items() if size}


def memory(place, applied):
    """Rows that say where the resident memory of a way lies, beside that of a program that does nothing."""
    empty = Way('empty program', 0, [f'{place}/empty-program'], 'true', place)
    empty.measure_memory()
    names = sorted(applied.memory, key=applied.memory.get, reverse=True)
    rows = [[name, applied.memory[name], empty.memory.get(name, 0)] for name in names]
    return rows + [['all', sum(applied.memory.values()), sum(empty.memory.values())]]


def changing_requests():
    with open(f'{measure.ROOT}/include/kxqos.h', encoding='utf-8') as file:
        rows = re.findall(r'^    X\((\w+), (\d+), (?:kxqos_|uint32_t)', file.read(), re.M)
    return {int(number) for name, number in rows if not re.search('_(GET|NEXT|SHOW)$', name)}


def prepare(place):
    """The files of a full gateway, of one with half of the rules and of an empty one, as the computed gateways are shown;
    returns the numbers of their lines."""
    for gateway in (measure.EMPTY, measure.HALF, measure.FULL):
        text = measure.output(*measure.command(place, gateway, 'kxqosctl configuration show'))
        lines = [line for line in text.splitlines(True) if line != '!\n']
        for name, content in ((f'{gateway}.conf', text), (f'{gateway}.lines', ''.join(lines))):
            with open(f'{place}/{measure.STORING}/{name}', 'w', encoding='utf-8') as file:
                file.write(content)
    return counts(place)


def counts(place):
    found = {}
    for gateway in (measure.EMPTY, measure.HALF, measure.FULL):
        with open(f'{place}/{measure.STORING}/{gateway}.lines', encoding='utf-8') as file:
            found[gateway] = len(file.readlines())
    return found


def ways(place, lines):
    folder = f'{place}/{measure.STORING}'
    program = f'{folder}/kxqos-config'
    empty = f'rm -f gateway && truncate -s {STORED} gateway'
    full, half = lines[measure.FULL], lines[measure.HALF]
    applied = Way('apply, full', full, [program, 'apply', 'full.conf'], empty, folder)
    unchanged = Way('apply, no change', full, applied.words, f'{empty} && ./kxqos-config apply full.conf', folder)
    halved = Way('apply, half of the rules', half, [program, 'apply', 'half.conf'], empty, folder)
    nothing = Way('apply, nothing', lines[measure.EMPTY], [program, 'apply', 'empty.conf'], empty, folder)
    ran = Way('run, full', full, [program, 'run', 'full.conf'], empty, folder)
    script = 'set -f; while read -r line; do ./kxqosctl $line || exit; done <full.lines'
    loop = Loop('one kxqosctl a line', full, ['/bin/sh', '-c', script], empty, folder)
    return [nothing, halved, applied, unchanged, ran, loop]


def check(ways_there, place):
    """Each brings the gateway to what its file says, as the tool shows it."""
    for way in ways_there:
        way.begin()
        measure.output(*way.words)
        name = way.words[-1] if way.words[-1].endswith('.conf') else 'full.conf'
        with open(f'{way.folder}/{name}', encoding='utf-8') as file:
            wanted = file.read()
        if measure.output(*measure.command(place, measure.STORING, 'kxqosctl configuration show')) != wanted:
            raise SystemExit(f'{way.name}: the gateway does not hold {name}')


def peers(place, lines):
    """In a network namespace of this process's own, which everything that it starts from here on is in."""
    if ctypes.CDLL(None).unshare(CLONE_NEWNET) != 0:
        return [], [f'`{name} {" ".join(option)}`: no network namespace can be made here' for name, option, *_ in PEERS]
    found, missing = [], []
    for program, option, first, line, before in PEERS:
        name = f'{program} {option[0]}'
        rows = first + [line.format(n=n, high=n >> 8, low=n & 0xFF) for n in range(1, lines - len(first) + 1)]
        with open(f'{place}/{program}.batch', 'w', encoding='utf-8') as file:
            file.write('\n'.join(rows) + '\n')
        path = shutil.which(program, path=SYSTEM) or program
        way = Way(name, lines, [path, *option, f'{place}/{program}.batch'], f'PATH={SYSTEM}; {before}',
                  place)
        try:
            subprocess.run(['/usr/sbin/ip', 'link', 'set', 'lo', 'up'], check=True, capture_output=True)
            way.begin()
            measure.output(*way.words, stderr=subprocess.DEVNULL)
            found.append(way)
        except (OSError, subprocess.CalledProcessError):
            missing.append(f'`{name}`: not installed, or it fails in a network namespace here')
    return found, missing


def measure_times(ways_there, applied):
    """To the time of apply in the same round, so that a busy moment hits all; the median of the ratios."""
    ratios = {way.name: [] for way in ways_there}
    for _ in range(ROUNDS):
        times = {way.name: min(way.clock() for _ in range(1 if way.estimated else 5)) for way in ways_there}
        for name, seconds in times.items():
            ratios[name].append(seconds / times[applied.name])
    for way in ways_there:
        way.time = statistics.median(ratios[way.name])


def goals(ways_there, peers_there, guest):
    """Rows of what bringing up a whole gateway is meant to cost and what was measured; the guest's ratio may be unknown."""
    by_name = {way.name: way for way in ways_there + peers_there}
    applied, unchanged, loop = (by_name[name] for name in ('apply, full', 'apply, no change', 'one kxqosctl a line'))
    rows = []
    for program, share in (('ip -batch', 1), ('nft -f', 10)):
        if program in by_name:
            limit = by_name[program].a_line() / share
            rows.append((f'`apply`: fewer instructions a line than {"a tenth of " if share > 1 else ""}`{program}`',
                         f'{applied.a_line():,} to {limit:,.0f}', applied.a_line() < limit))
    rows.append(('Nothing to change: no more instructions than `apply` in full, no changing request',
                 f'{unchanged.instructions:,} to {applied.instructions:,}, {unchanged.changing} requests',
                 unchanged.instructions <= applied.instructions and unchanged.changing == 0))
    if loop.time:
        rows.append(('At least 50 times faster than one process a line', f'{loop.time:.0f} times', loop.time >= 50))
    if guest:
        rows.append(('At least 80 times faster in the guest of the rig', f'{float(guest):.0f} times', float(guest) >= 80))
    rows.append(('Less than 2 MiB resident', f'{applied.resident:,} KiB, {applied.own:,} of it its own',
                 applied.resident < 2048))
    rows.append(('No allocation', f'{applied.allocations}', applied.allocations == 0))
    return [f'| {goal} | {measured} | {"met" if met else "missed"} |' for goal, measured, met in rows]
