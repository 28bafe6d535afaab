"""The mutants that nobody can notice, as tests/mutation/survivors names them."""
import re

from building import ROOT
from mutants import without_comment


class Survivors:
    """The mutants that have a reason to survive: by rules and one by one."""

    def __init__(self, path=ROOT + '/tests/mutation/survivors'):
        self.rules = []  # file, or none for any; expression; the rule as it is written
        self.single = set()  # file, old line, new line
        source = old = ''
        for line in open(path, encoding='utf-8').read().split('\n'):
            if line.startswith('- '):
                old = line[2:]
            elif line.startswith('+ '):
                self.single.add((source, old, line[2:]))
            elif line.startswith('~ '):
                self.rules.append((source, re.compile(line[2:]), line[2:]))
            elif line and line[0] not in '# ':
                source = '' if line == 'any file' else line

    def rules_for(self, source, lines, number, new):
        """The rules that a mutant is a case of. They are held against the change, or against it and what follows."""
        change = old_line(lines, number) + ' -> ' + joined(new)
        # As far as a declaration is from where its name is used first.
        more = change + ' ... ' + ' '.join(without_comment(line).strip() for line in lines[number + 1:number + 8])
        return [rule for rule in self.rules
                if rule[0] in ('', source) and rule[1].fullmatch(more if r'\.\.\.' in rule[2] else change)]

    def named(self, source, lines, number, new):
        return ((source, old_line(lines, number), joined(new)) in self.single
                or bool(self.rules_for(source, lines, number, new)))

    def in_vain(self, mutants, lines_of):
        """Rules and lines that no mutant is a case of: their code has gone."""
        rules, single = set(), set()
        for source, number, new in mutants:
            single.add((source, old_line(lines_of[source], number), joined(new)))
            rules.update(self.rules_for(source, lines_of[source], number, new))
        for source, _, rule in self.rules:
            if not any(rule == case[2] and source == case[0] for case in rules):
                yield f'{source or "any file"}: ~ {rule}'
        for source, old, new in sorted(self.single - single):
            yield f'{source}: - {old} + {new}'


def old_line(lines, number):
    return without_comment(lines[number].strip())


def joined(new):
    return ' / '.join(line.strip() for line in new)


def described(source, number, new):
    return f'src/{source}:{number + 1}: ' + joined(new)
