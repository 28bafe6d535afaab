"""For the scripts that import this: their help is the text that they begin with, and what they do not know they refuse,
before anything is done."""
import argparse
import shutil
import sys


class Arguments(argparse.ArgumentParser):
    """The script's own text tells what there is to tell about each option."""

    def __init__(self, text):
        super().__init__(description=text, allow_abbrev=False)

    def format_help(self):
        return self.description.strip() + '\n'

    def error(self, message):
        print(f'{self.prog}: {message} (--help tells more)', file=sys.stderr)
        sys.exit(2)

    def need(self, purposes, *programs):
        """The purposes are words of scripts/setup, which installs the programs."""
        for program in programs:
            if shutil.which(program) is None:
                self.error(f'{program} is not installed: scripts/setup {purposes}')
