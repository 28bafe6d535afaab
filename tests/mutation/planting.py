"""Faults that are planted as tests/mutation/planted holds them, and which test finds each."""
import concurrent.futures
import os
import re
import shutil
import sys
import tempfile

from building import ROOT, SOURCES, Build, read, run


class Plant:
    """A fault that is planted: its name, and for each file the lines that others take the place of."""

    def __init__(self, name):
        self.name = name
        self.changes = []  # file, old lines, new lines

    def texts(self):
        """The changed files. Throws ValueError when what is to be changed is not there once."""
        texts = {}
        for source, old, new in self.changes:
            if not os.path.isfile(f'{SOURCES}/{source}'):
                raise ValueError(f'{self.name}: no such file: {source}')
            lines = texts.get(source) or read(source).split('\n')
            bare = [line.strip() for line in lines]
            places = [at for at in range(len(bare)) if bare[at:at + len(old)] == old]
            if len(places) != 1:
                raise ValueError(f'{self.name}: {len(places)} times in {source}: {old[0]}')
            lines[places[0]:places[0] + len(old)] = new
            texts[source] = lines
        return {source: '\n'.join(lines) for source, lines in texts.items()}


def plants(path=ROOT + '/tests/mutation/planted'):
    found = []
    for line in open(path, encoding='utf-8').read().split('\n'):
        if line.startswith('- '):
            if found[-1].changes[-1][2]:
                found[-1].changes.append((found[-1].changes[-1][0], [], []))
            found[-1].changes[-1][1].append(line[2:].strip())
        elif line.startswith('+ '):
            found[-1].changes[-1][2].append(line[2:])
        elif re.fullmatch(r'\w+\.(cpp|h)', line):
            found[-1].changes.append((line, [], []))
        elif line and not line.startswith('#'):
            found.append(Plant(line))
    return found


def not_plantable():
    for plant in plants():
        try:
            plant.texts()
        except ValueError as error:
            yield str(error)


class Planting(Build):
    """The tests that are to find what is planted."""

    HEADERS = ['errno.h', 'fcntl.h', 'locale.h', 'sched.h', 'signal.h', 'stdio.h', 'stdlib.h', 'string.h',
               'sys/file.h', 'sys/stat.h', 'syslog.h', 'unistd.h']
    ROBUST = ['output', 'alone', 'limits', 'signals', 'long_words', 'walks']

    def __init__(self, work, jobs):
        super().__init__(work, jobs, *('robust_' + test for test in self.ROBUST))
        with open(ROOT + '/tests/errors', encoding='utf-8') as errors:
            self.errors = ['--errors', errors.read().strip()]
        self.sources = self.sources_of('kxqosctl')
        self.size = {name: os.path.getsize(f'{ROOT}/tests/{name}') for name in self.transcripts}
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            list(pool.map(lambda name: self.compile_planted(name, read(name), f'{work}/plain/{name}.o'), self.sources))

    def compile_planted(self, name, text, target):
        headers = [word for header in self.HEADERS for word in ('-include', header)]
        if not self.compile_text(name, text, target, '-D_GNU_SOURCE', *headers):
            sys.exit(f'mutate: {target} does not compile')

    def robust(self, place, test):
        words = ['timeout', '300', 'prlimit', '--cpu=60', '--core=0', f'{self.build}/tests/robust/robust_{test}', place]
        return run(words).returncode

    def found_by(self, plant):
        """The first test that finds it, or none."""
        with tempfile.TemporaryDirectory(dir=self.work) as place:
            texts = plant.texts()
            for name, text in texts.items():
                self.compile_planted(name, text, f'{place}/{name}.o')
            self.lend(place)
            tool = place + '/kxqosctl'
            self.link(tool, [f'{place if name in texts else self.work + "/plain"}/{name}.o' for name in self.sources])
            families = {re.sub(r'_.*|\.(cpp|h)$', '', source) for source in texts}
            return next((name for name, passes in self.tests(tool, place, families) if not passes()), None)

    def tests(self, tool, place, families):
        """All of them by name, the most likely ones first, as functions that say whether they pass."""
        likely = lambda name: any(f'/{family}' in name for family in families)
        names = sorted(self.transcripts, key=lambda name: (not likely(name), self.size[name]))
        plain = [(name, lambda name=name: self.transcript(tool, name, 30) == 0) for name in names]
        failing = [(name + ' with other errors',
                    lambda name=name: self.transcript(tool, name, 30, more=self.errors) == 0) for name in names]
        robust = [('robust.' + test, lambda test=test: self.robust(place, test) == 0) for test in self.ROBUST]
        first = sum(map(likely, names))
        return plain[:first] + failing[:first] + robust[:2] + plain[first:] + failing[first:] + robust[2:]


def plant_all(arguments, options):
    known = plants()
    for name in options.files:
        if name not in {plant.name for plant in known}:
            arguments.error(f'not planted: {name}')
    arguments.need('test', 'cmake', 'make', 'g++', 'prlimit')
    chosen = [plant for plant in known if not options.files or plant.name in options.files]
    work = options.work or tempfile.mkdtemp()
    os.makedirs(work, exist_ok=True)
    tests = Planting(os.path.abspath(work), options.jobs)
    untouched = tests.found_by(Plant('nothing')) if not options.files else None
    if untouched is not None:
        sys.exit(f'mutate: {untouched} fails on the original')
    missed = 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for plant, test in zip(chosen, pool.map(tests.found_by, chosen)):
            missed += test is None
            print(f'{plant.name}: {test or "NOT FOUND"}', flush=True)
    if not options.work:
        shutil.rmtree(work)
    print(f'mutate: {len(chosen)} planted, {len(chosen) - missed} found, {missed} not')
    return 0 if missed == 0 else 1


