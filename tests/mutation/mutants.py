"""What a mutant is: one line of a source that is changed, in one of the ways that are written down here."""
import re

# Operators stand between blanks in this code, so that a template's brackets are none.
SWAPS = [(' < ', ' <= '), (' <= ', ' < '), (' > ', ' >= '), (' >= ', ' > '), (' == ', ' != '), (' != ', ' == '),
         (' && ', ' || '), (' || ', ' && '), (' + ', ' - '), (' - ', ' + '), (' << ', ' >> '), (' >> ', ' << '),
         (' & ', ' | '), (' | ', ' & '), (' % ', ' / '), (' / ', ' % '), (' |= ', ' &= '), (' &= ', ' |= '),
         (' <<= ', ' >>= '), (' += ', ' -= '), ('++', '--'), ('return true', 'return false'),
         ('return false', 'return true'), ('return -1', 'return 0'), ('return 0', 'return -1'), ('!', '')]
STRING = re.compile(r'"(?:[^"\\]|\\.)*"')
CHARACTER = re.compile(r"'(?:[^'\\]|\\.)+'")
NUMBER = re.compile(r"(?<![\w.])(0x[0-9A-Fa-f]+|\d+)(?=[uU]?\b)")
STATEMENT = re.compile(r'^\s+(?!return\b|static\b|const\b|constexpr\b|auto\b|using\b|case\b)[^ ].*;\s*(//.*)?$')
DECLARATION = re.compile(r'^\s+(const |static |struct |unsigned |[a-z_0-9]+_t |[a-z_]+ )+[*&]?\w+( = .*|\[.*\]|)(;|{)')


def without_comment(line):
    """The code of a line; strings of this code hold no "//"."""
    return line.split('//')[0].rstrip()


def blanked(code):
    """The code with the contents of its texts blanked out, so that nothing is found there."""
    hide = lambda match: '"' + '\0' * (len(match.group()) - 2) + '"'
    return CHARACTER.sub(lambda match: "'" + '\0' * (len(match.group()) - 2) + "'", STRING.sub(hide, code))


def changed_texts(code):
    for match in STRING.finditer(code):
        text = match.group()[1:-1]
        before, behind = code[:match.start()], code[match.end():]
        if text:
            first = 2 if text[0] == '\\' else 1
            yield before + '"' + '#' + text[first:] + '"' + behind
            # Of a keyword in a comparison only its first characters count: the last of these is changed.
            counted = re.match(r', (\d)[,)]', behind)
            last = 2 if text[-2:-1] == '\\' else 1
            if counted and int(counted.group(1)) < len(text):
                text = text[:int(counted.group(1)) - 1] + '#'
                yield before + '"' + text + '"' + behind
            else:
                yield before + '"' + text[:-last] + '"' + behind
        else:
            yield before + '"#"' + behind


def changed_code(code):
    bare = blanked(code)
    for old, new in SWAPS:
        start = bare.find(old)
        while start >= 0:
            if not (old == '!' and bare[start + 1:start + 2] == '='):
                yield code[:start] + new + code[start + len(old):]
            start = bare.find(old, start + 1)
    for match in CHARACTER.finditer(code):
        yield code[:match.start()] + "'#'" + code[match.end():]
    for match in NUMBER.finditer(bare):
        value = int(match.group(1), 0) if not re.fullmatch(r'0\d+', match.group(1)) else int(match.group(1), 8)
        for other in (value + 1, value - 1):
            if other >= 0:
                yield code[:match.start()] + str(other) + code[match.end():]
    condition = re.match(r'^(\s*(?:\} else )?if \()(.*)(\)(?: \{)?)$', code)
    if condition and ' = ' not in bare:
        yield condition.group(1) + '!(' + condition.group(2) + ')' + condition.group(3)


def groups(bare):
    """The commas at the top level of each parenthesis of a line, between the places where it begins and ends. One that
    is open at either end of the line ends there."""
    opened = [[len(bare) - len(bare.lstrip())]]
    for place, character in enumerate(bare):
        if character == '(':
            opened.append([place + 1])
        elif character == ')':
            yield opened.pop() + [place]
            opened = opened or [[place + 1]]
        elif character == ',' and place + 1 < len(bare):
            opened[-1].append(place)
    for group in opened:
        yield group + [len(bare.rstrip(',;'))]


def swapped_arguments(code):
    """Each two neighbours in a list of arguments swapped; but what compares two texts does not care which is first."""
    for group in groups(blanked(code)):
        if re.search(r'\b(begins|equals|same_key|memcmp)\($', code[:group[0]]):
            continue
        for first, comma, last in zip(group, group[1:], group[2:]):
            start = first + 2 if code[first:first + 2] == ', ' else first
            left, right = code[start:comma], code[comma + 2:last]
            if left.strip() and right.strip():
                yield code[:start] + right + ', ' + left + code[last:]


def narrowed(code):
    """What is cast loses all but its lowest byte on the way."""
    for match in re.finditer(r'static_cast<[^<>]*>\(', blanked(code)):
        depth, place = 1, match.end()
        while depth > 0 and place < len(code):
            depth += {'(': 1, ')': -1}.get(code[place], 0)
            place += 1
        if depth == 0 and '*' not in match.group():
            yield code[:match.end()] + '(' + code[match.end():place - 1] + ') & 0xFF' + code[place - 1:]


def mutants_of(lines):
    for number, line in enumerate(lines):
        code = without_comment(line)
        if not code.strip() or code.lstrip().startswith(('#', 'static_assert')):
            continue
        seen = {code}
        found = [*changed_code(code), *changed_texts(code), *swapped_arguments(code), *narrowed(code)]
        if STATEMENT.match(line) and not DECLARATION.match(line) and code.count('(') == code.count(')'):
            found.append(re.match(r'^\s*', code).group() + ';')
        for other in found:
            if other not in seen:
                seen.add(other)
                yield number, [other]
        if re.match(r'^    \{["\w]', code) and number + 1 < len(lines) and re.match(r'^    \{["\w]', lines[number + 1]):
            yield number, [without_comment(lines[number + 1]), code]  # two rows swapped
