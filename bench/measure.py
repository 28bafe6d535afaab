"""What bench/run and bench/guard measure, and how."""

import os
import re
import shutil
import subprocess

BENCH = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(BENCH)
EMPTY, HALF, FULL = 'empty', 'half', 'full'  # gateways that are computed
STORING = 'storing'  # the one that keeps what is set
LIBRARY = './kx1.so'  # as long as libkx.so

ADD = 'rule 5 profile qos match dmac 00:11:22:33:44:55 action queue 3'
# name, gateway, floor, words of the tool
CASES = [
    ('rule added', EMPTY, 'floor-add', ADD),
    ('rule shown', FULL, 'floor-show', 'rule 5 profile qos show'),
    ('counter show', FULL, 'floor-counter', 'counter show'),
    ('dump, empty', EMPTY, 'floor-dump', 'configuration show'),
    ('dump, full', FULL, 'floor-dump', 'configuration show'),
]


def output(*words, **more):
    return subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True, **more).stdout


def copy_tool(tool, copy):
    shutil.copy(tool, copy)
    output('cmake', f'-DFILE={copy}', '-P', f'{BENCH}/installed.cmake')
    with open(copy, 'rb') as file:
        content = file.read()
    name = b'\0libkx.so\0'
    if content.count(name) != 1:
        raise SystemExit(f'{tool}: libkx.so is not named once')
    with open(copy, 'wb') as file:
        file.write(content.replace(name, b'\0' + LIBRARY.encode() + b'\0'))


def prepare(tool, place):
    """Compiles the floors and three gateways; each gateway gets a folder with the tool and every floor in it.

    The tool is a copy without the build tree's search path, as it is installed. In the copy and in the floors libkx.so
    is named by a path, so that the loader does not look for it in a dozen folders, whichever machine this is.
    """
    os.makedirs(place, exist_ok=True)
    lab = [f'{ROOT}/lab/{name}.c' for name in ('gateway', 'model', 'library', 'store', 'event')]
    flags = ['-std=gnu11', '-D_GNU_SOURCE', f'-I{ROOT}/include', f'-I{ROOT}/lab']
    shared = ['gcc', '-O2', '-fPIC', *flags]
    output(*shared, '-c', f'{ROOT}/lab/libkx.c', '-o', f'{place}/libkx.o')
    output('gcc', '-Os', f'{BENCH}/empty.c', '-o', f'{place}/empty-program')
    for number, gateway in enumerate((EMPTY, HALF, FULL)):
        folder = f'{place}/{gateway}'
        os.makedirs(folder, exist_ok=True)
        output(*shared, '-shared', '-fvisibility=hidden', f'-DRULES={number}', f'-Wl,-soname,{LIBRARY}',
               f'{place}/libkx.o', *lab, f'{BENCH}/device.c', '-o', f'{folder}/{LIBRARY}')
        copy_tool(tool, f'{folder}/kxqosctl')
        for floor in sorted({case[2] for case in CASES}):
            # As the tool is compiled; each call of printf stays one.
            output('gcc', '-Os', '-fno-builtin-printf', '-fno-asynchronous-unwind-tables', *flags,
                   f'{BENCH}/{floor}.c', f'{folder}/{LIBRARY}', '-o', f'{folder}/{floor}')
    folder = f'{place}/{STORING}'
    os.makedirs(folder, exist_ok=True)
    output('objcopy', '--weaken', f'{place}/libkx.o', f'{place}/libkx-weak.o')
    output(*shared, '-shared', '-fvisibility=hidden', f'-Wl,-soname,{LIBRARY}', f'{place}/libkx-weak.o', *lab,
           f'{BENCH}/storing.c', '-o', f'{folder}/{LIBRARY}')
    for program in (tool, os.path.join(os.path.dirname(tool), 'kxqos-config')):
        copy_tool(program, f'{folder}/{os.path.basename(program)}')


def command(place, gateway, words):
    """To be run in the gateway's folder."""
    os.chdir(f'{place}/{gateway}')
    program, *rest = words.split()
    return [f'{place}/{gateway}/{program}', *rest]


def check_floors(place):
    """A floor has to print the very bytes that the tool prints."""
    for name, gateway, floor, words in CASES:
        printed = [output(*command(place, gateway, line)) for line in (floor, 'kxqosctl ' + words)]
        if printed[0] != printed[1]:
            raise SystemExit(f'{name}: {floor} does not print what kxqosctl prints')


def run_quietly(words, **more):
    """Runs to a pipe, as a script that reads the output would; gives the status and what stood on standard error."""
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL,
                          errors='replace', check=False, **more)
    return done.returncode, done.stderr


def instructions(words, place):
    """User-mode instructions, without those of the gateway of the benchmark (its library); None if it failed."""
    out = f'{place}/callgrind.{os.getpid()}'  # tests run side by side
    if os.path.exists(out):
        os.unlink(out)
    status, _ = run_quietly(['env', '-i', '/usr/bin/valgrind', '--tool=callgrind', f'--callgrind-out-file={out}', *words])
    if status != 0 or not os.path.exists(out):
        return None
    names, library, total, called = {}, False, 0, False
    with open(out, encoding='utf-8', errors='replace') as lines:
        for line in lines:
            if line.startswith('ob=') or line.startswith('cob='):
                number, name = re.match(r'c?ob=\((\d+)\)(.*)', line).groups()
                if name.strip():
                    names[number] = name.strip()
                if line.startswith('ob='):
                    library = names[number].endswith(LIBRARY[1:])
            elif line.startswith('calls='):
                called = True  # the next line is the callee's cost, which is counted there
            elif re.match(r'[\d+*-]', line):
                if not called and not library:
                    total += int(line.split()[1])
                called = False
    os.unlink(out)
    return total


def system_calls(words, place):
    trace = f'{place}/strace.{os.getpid()}'
    status, _ = run_quietly(['env', '-i', '/usr/bin/strace', '-f', '-o', trace, *words])
    with open(trace, encoding='utf-8', errors='replace') as lines:
        calls = re.findall(r'^\d+ +([a-z_0-9]+)\(', lines.read(), re.M)
    os.unlink(trace)
    return (len(calls), calls.count('write')) if status == 0 else (None, None)


def page_faults(words):
    """Minor faults; the lowest of ten, because the page cache only ever adds."""
    counts = []
    for _ in range(10):
        child = os.posix_spawn(words[0], words, {}, file_actions=[(os.POSIX_SPAWN_OPEN, 1, '/dev/null', os.O_WRONLY, 0),
                                                                  (os.POSIX_SPAWN_OPEN, 2, '/dev/null', os.O_WRONLY, 0)])
        _, _, usage = os.wait4(child, 0)
        counts.append(usage.ru_minflt)
    return min(counts)


def allocations(words):
    status, said = run_quietly(['env', '-i', '/usr/bin/valgrind', *words])
    found = re.search(r'total heap usage: ([\d,]+) allocs', said)
    return int(found.group(1).replace(',', '')) if found and status == 0 else None


def needed(file):
    return re.findall(r'\(NEEDED\).*\[(.*)\]', output('readelf', '-d', file))


def sizes(file, size='size'):
    """Text as `size` tells it, and bytes of the file without symbols, as it is installed."""
    text = int(output(size, file).splitlines()[1].split()[0])
    stripped = f'/tmp/kxqos-bench-{os.getpid()}'
    strip = size.replace('size', 'strip')
    output(strip, '-o', stripped, file)
    whole = os.path.getsize(stripped)
    os.unlink(stripped)
    return text, whole
