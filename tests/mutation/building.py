"""The sources of the programs, and what it takes to build changed ones and to run the tests on them."""
import os
import re
import shutil
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SOURCES = ROOT + '/src'
CONFIG_TESTS = ROOT + '/tests/config'

WHOLE = ['-flto', '-fno-fat-lto-objects', '-frandom-seed=mutant']
SANITIZE = ['-fsanitize=address,undefined', '-fno-sanitize-recover=all']
FLAGS = ['-std=c++20', '-fno-exceptions', '-fno-rtti', '-w', '-I' + ROOT + '/include']
INCLUDE = re.compile(r'^#include "([\w./]+\.h)"', re.MULTILINE)


def run(words, **more):
    return subprocess.run(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **more)


def must(words, **more):
    done = run(words, **more)
    if done.returncode != 0:
        sys.exit(f'{os.path.basename(sys.argv[0])}: {" ".join(words[:6])}\n{done.stdout.decode(errors="replace")}')
    return done


def every_source():
    """The sources and headers of both programs, as paths within src/."""
    return sorted(os.path.relpath(f'{folder}/{name}', SOURCES) for folder, _, names in os.walk(SOURCES)
                  for name in names if name.endswith(('.cpp', '.h')))


def every_transcript():
    """As paths within tests/, where they are run."""
    return sorted(os.path.relpath(f'{folder}/{name}', ROOT + '/tests')
                  for folder, _, names in os.walk(ROOT + '/tests/transcripts') for name in names
                  if name.endswith('.transcript'))


def modules_of_config():
    """The files of tests/config, without their ending. Those at random and those of damaged files are left out: what
    they notice is not the same every time, or takes long; and a program that is killed counts nothing."""
    return sorted(name[:-3] for name in os.listdir(CONFIG_TESTS)
                  if name.endswith('_test.py') and name not in ('kill_test.py', 'rot_test.py'))


def environment_of_config(built, environment=None):
    # In memory, because every save is synchronised.
    return dict(environment or os.environ, KXQOS_BUILT=built, TMPDIR='/dev/shm')


def read(name):
    return open(f'{SOURCES}/{name}', encoding='utf-8').read()


def included(name, text):
    """The headers of src/ that the text of this source includes, and those that they include."""
    found = set()
    for word in INCLUDE.findall(text):
        beside = os.path.normpath(os.path.join(os.path.dirname(name), word))
        header = next((path for path in (beside, word) if os.path.isfile(f'{SOURCES}/{path}')), None)
        if header is not None and header not in found:
            found |= {header} | included(header, read(header))
    return found


def texts_of(source, changed, place):
    """The texts to be compiled when one is changed. The headers are in the place, the changed one among them."""
    for name in every_source():
        os.makedirs(os.path.dirname(f'{place}/{name}'), exist_ok=True)
        if name.endswith('.h'):
            shutil.copy(f'{SOURCES}/{name}', f'{place}/{name}')
    if source.endswith('.cpp'):
        return {source: changed}
    with open(f'{place}/{source}', 'w', encoding='utf-8') as header:
        header.write(changed)
    texts = {name: read(name) for name in every_source() if name.endswith('.cpp')}
    return {name: text for name, text in texts.items() if source in included(name, text)}


class Build:
    """The lab and the tests, built, and what it takes to build the programs for them."""

    def __init__(self, work, jobs, *targets):
        self.work = work
        # As a shared library the run-time insists on coming before whatever is preloaded.
        self.sanitize = [*SANITIZE, '-static-libasan', '-static-libubsan'] if SANITIZE[0] in FLAGS else []
        self.build = work + '/build'
        must(['cmake', '-S', ROOT, '-B', self.build, '-DCMAKE_BUILD_TYPE=MinSizeRel'])
        must(['cmake', '--build', self.build, '-j', str(jobs), '--target', 'kxqos-lab', 'transcript', *targets])
        self.transcripts = every_transcript()
        with open(self.build + '/CMakeCache.txt', encoding='utf-8') as cache:
            version = re.search(r'^CMAKE_PROJECT_VERSION:\w+=(.*)$', cache.read(), re.MULTILINE)[1]
        self.flags = [*FLAGS, f'-DKXQOS_VERSION_NUMBER={version}']

    def sources_of(self, program):
        """What the build links the program from."""
        with open(f'{self.build}/src/CMakeFiles/{program}.dir/link.txt', encoding='utf-8') as link:
            return re.findall(r'CMakeFiles/[\w-]+\.dir/(\S+\.cpp)\.o', link.read())

    def compile_text(self, name, text, target, *more, headers=SOURCES):
        """From standard input, so that the object is the same wherever the text is kept."""
        words = ['g++', '-pipe', '-Os', *more, *self.flags, '-I' + headers, '-x', 'c++', '-c', '-', '-o', target]
        os.makedirs(os.path.dirname(target), exist_ok=True)
        null = subprocess.DEVNULL
        return subprocess.run(words, input=text.encode(), stdout=null, stderr=null, check=False,
                              cwd=os.path.dirname(f'{headers}/{name}')).returncode == 0

    def link(self, target, objects, more=(), attempt=must):
        return attempt(['gcc', '-o', target, *objects, *more, *self.sanitize, f'-L{self.build}',
                        f'-Wl,-rpath,{self.build}', '-lkx'])

    def lend(self, place):
        """What the tests look for beside the programs."""
        for name in os.listdir(self.build):
            if name.endswith('.so') or name == 'kxqos-lab':
                os.symlink(f'{self.build}/{name}', f'{place}/{name}')

    def transcript(self, tool, name, timeout, environment=None, more=()):
        """The status of a transcript. A mutant that loops for ever is ended by its processor time, which, unlike the
        time of day, is the same on a busy machine; and a transcript in which step after step hangs is given up."""
        words = ['prlimit', '--cpu=1', self.build + '/transcript', '--tool', tool,
                 '--timeout', str(timeout), *more, name]
        null = subprocess.DEVNULL
        runner = subprocess.Popen(words, stdin=null, stdout=null, stderr=null, cwd=ROOT + '/tests', env=environment)
        try:
            return runner.wait(5 * timeout)
        except subprocess.TimeoutExpired:
            runner.kill()
            return runner.wait()
