# What it does is done by the action plug-in of the same name, on the machine that runs Ansible; this is its page.

DOCUMENTATION = r'''
module: config
short_description: Bring a home gateway to its QoS configuration
description:
  - Compares what the gateway holds with a file of C(kxqosctl) commands, and applies the file when they differ.
  - The gateway needs C(kxqos-config), a shell, and the commands C(cat), C(chmod), C(cp), C(mktemp), C(mv),
    C(readlink), C(rm), C(sha256sum) and C(sync), as busybox has them. It needs no Python.
  - The file is in its place on the gateway only once it has been applied, so that a gateway which could not be
    brought to it comes up with the former one.
version_added: 1.0.0
options:
  src:
    description: The file, on the machine that runs Ansible. Either this or I(content) is needed.
    type: path
  content:
    description: The text of the file, as a template gives it.
    type: str
  path:
    description: Where the file is to lie on the gateway.
    type: path
    default: /etc/kxqos.conf
attributes:
  check_mode:
    description: Nothing is changed; what would be sent is told.
    support: full
  diff_mode:
    description: Shows the commands that are sent, as C(kxqos-config diff) tells them.
    support: full
author:
  - the developers of kxqosctl (@kxqos)
'''

EXAMPLES = r'''
- name: Bring the gateway to its configuration
  kxqos.gateway.config:
    src: gateway.conf

- name: Bring the gateway to a configuration of its own
  kxqos.gateway.config:
    content: "{{ lookup('ansible.builtin.template', 'gateway.conf.j2') }}"
'''

RETURN = r'''
commands:
  description: What was sent to the gateway, or would be.
  returned: always, once the gateway was compared
  type: list
  elements: str
  sample: [rule 5 match vid 7 action queue 3]
rc:
  description: The status of C(kxqos-config). 1, the gateway was put back; 2, nothing was begun; 3, it could not be put
    back.
  returned: when it fails
  type: int
  sample: 1
'''
