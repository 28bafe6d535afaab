"""Brings a gateway to its configuration. All that runs there is a shell and kxqos-config; its page is the module's."""

import hashlib
import re
import shlex

from ansible.errors import AnsibleError
from ansible.module_utils.common.text.converters import to_bytes
from ansible.plugins.action import ActionBase

# Reads only. The last line is the status of the comparison and what the file there sums up to.
LOOK = '''\
kxqos-config diff -
s=$?
[ $s -le 1 ] || exit $s
sum=none
[ ! -e {path} ] || sum=$(sha256sum <{path}) || exit 2
echo "= $s $sum"'''

# The file gets its name last. What did not arrive whole, as when the connection broke, is never applied.
PUT = '''\
set -e
file=$(readlink -f {path}) || {{ echo 'no such folder:' {path} >&2; exit 2; }}
new=$(mktemp "$file.XXXXXX") || exit 2
trap 'rm -f "$new"' EXIT
trap 'exit 1' HUP INT TERM
if [ -e "$file" ]; then cp -p "$file" "$new"; else chmod 644 "$new"; fi || exit 2
cat >"$new" || exit 2
case $(sha256sum <"$new") in {sum}*) ;; *) echo 'not all of the file arrived' >&2; exit 2 ;; esac
kxqos-config apply - <"$new"
echo applied
sync "$new"
mv "$new" "$file"
sync "${{file%/*}}/"'''


class ActionModule(ActionBase):
    TRANSFERS_FILES = False
    _VALID_ARGS = frozenset(('src', 'content', 'path'))

    def run(self, tmp=None, task_vars=None):
        result = super().run(tmp, task_vars)
        self._gateway = task_vars['inventory_hostname']
        wrong = self._take_file()
        if wrong is not None:
            result.update(failed=True, msg=wrong)
            return result
        path = shlex.quote(self._task.args.get('path', '/etc/kxqos.conf'))
        ran, said = self._on_gateway(LOOK.format(path=path))
        lines = ran['stdout'].rstrip('\n').split('\n')
        status, held = lines.pop().split()[1:3] if ran['rc'] == 0 else ('', '')
        if status == '1' and not lines:
            ran['rc'] = 1
        if ran['rc'] != 0:
            return self._failed(result, ran, said)
        warnings = [line for line in said if ': warning: ' in line]
        if warnings:
            result['warnings'] = warnings
        # A difference has its commands. Without one there may still be what is sent each time, which is none.
        result['commands'] = lines if status == '1' else []
        wanted = hashlib.sha256(self._text).hexdigest()
        result['changed'] = status == '1' or held != wanted
        if self._task.diff and result['changed']:
            result['diff'] = {'prepared': self._difference(result['commands'], held != wanted)}
        if not result['changed'] or self._task.check_mode:
            return result
        ran, said = self._on_gateway(PUT.format(path=path, sum=wanted))
        if ran['rc'] != 0:
            return self._failed(result, ran, said)
        return result

    def _take_file(self):
        """Takes what messages call the file, and its bytes; what is wrong, or None."""
        src, content = self._task.args.get('src'), self._task.args.get('content')
        if (src is None) == (content is None):
            return 'either src or content is needed'
        if src is None:
            self._name, self._text = 'content', to_bytes(content)
            return None
        try:
            with open(self._find_needle('files', src), 'rb') as file:
                self._name, self._text = src, file.read()
        except (AnsibleError, OSError) as error:
            return f'{src} cannot be read: {error}'
        return None

    def _on_gateway(self, script):
        """Runs the script there, with the file as its input; what it gave, and the lines of its messages."""
        # With nothing at all to send, Ansible would give the shell a terminal. A blank line says as little.
        ran = self._low_level_execute_command(script, in_data=self._text or b'\n',
                                              executable=self._play_context.executable)
        said = re.sub('^kxqos-config: standard input(?=:)|(?<= what )standard input(?= asks for$)',
                      lambda found: found.group().replace('standard input', self._name), ran['stderr'], flags=re.M)
        return ran, said.rstrip('\n').split('\n') if said else []

    def _failed(self, result, ran, said):
        # What SSH itself has to say is of interest only when nobody else says anything.
        own = [line for line in said if line.startswith('kxqos-config: ')]
        message = '\n'.join(own or said) or f'the gateway gave status {ran["rc"]} and no word'
        applied = ran['stdout'].strip() == 'applied'
        if applied:
            message = 'applied, but the file on the gateway is still the former one: ' + message
        result.update(failed=True, changed=applied and bool(result['commands']), rc=ran['rc'], msg=message)
        return result

    def _difference(self, commands, other_file):
        text = f'# {self._gateway}: what brings it to {self._name}\n' + ''.join(f'{line}\n' for line in commands)
        return text + (f'# {self._gateway}: the file there is another one\n' if other_file else '')
