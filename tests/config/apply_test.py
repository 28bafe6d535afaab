"""diff and apply: what is sent, in which order, and what holds afterwards."""

import fcntl
import os
import pathlib
import subprocess
import termios
import unittest

from gateway import CONFIG, NOTHING, TYPED_WHOLE, GatewayTest, rule_bytes

# Something of everything.
FULL = '''\
rule 5 match vid 7 action rate-bucket 3
rule 6 match sip 10.0.0.1~10.0.0.9 indev eth0 action queue 1 counter 9
rule 7 profile lanhost action dscp 5
bucket 3 rate 100
bucket 4 rate 0
limit up mode vlan
limit up add vlan 3 rate 64
limit up add vlan 1 rate 65
limit up add ip 1.2.3.4 rate 5
limit down mode port
limit down add port 3 rate 10
puredscpremark enable
fine-classifi disable
qos enable
counter 9 enable
debug info on
debug error on
'''
OTHER = '''\
rule 5 match vid 8 action rate-bucket 4
rule 1 profile bridgedata action queue 2
bucket 4 rate 640
limit up mode ip
limit up add ip 1.2.3.4 rate 5
limit down mode port
limit down add port 3 rate 11
limit down add port 4 rate 12
'''

# Each match field with two values.
FIELDS = '''\
dmac 00:11:22:33:44:55 00:11:22:33:44:56
smac 00:11:22:33:44:55 01:11:22:33:44:55
ethertype 0x0800 0x0806
tpid 0x8100 0x88a8
vid 7 8
pri 1 2
ivid 7 263
ipri 1 2
dip 10.0.0.1 10.0.0.2
sip 10.0.0.1 11.0.0.1
dip6 2001:db8::1 2001:db8::2
sip6 2001:db8::1 2002:db8::1
tos 1 2
dscp 1 2
pre 1 2
fl 1 65537
tc 1 2
protocol 6 17
sport 80 336
dport 80 443
rxports 0x1 0x2
txports 0x1 0x10000001
indev eth0 eth1
outdev eth0 eth
wan ppp0 ppp01
edmac 00:11:22:33:44:55 00:11:22:33:45:55
esip 10.0.0.1 10.0.1.1
esip6 2001:db8::1 2001:db9::1
esport 80 81
protocols 5 6
'''

VLAN = 'libkx_switchApi_vlanSetRateLimit'
PORT = 'libkx_switchApi_portSetRateLimit'
IPV4 = 'libkx_switchApi_ipv4SetRateLimit'


class Apply(GatewayTest):
    def test_everything_to_an_empty_gateway(self):
        ran = self.config('apply', self.file(FULL))
        self.says(ran, 0)
        # A counter, the buckets, the rules; each direction's limits in the module and in the switch; the switches, the
        # flags, and QoS last. The direction of a port is inverted.
        self.assertEqual(ran.changes, [
            25, 8, 8, 13, 13, 13,
            19, 19, f'{VLAN} 3 1 1 64 = 0', f'{VLAN} 1 1 1 65 = 0',
            19, 19, f'{PORT} 3 1 1 10 = 0',
            32, 34, 1, 28])
        sent = [sent for number, _, sent in ran.requests if number not in (17, 20, 19)]
        self.assertIn(rule_bytes(0, 5, (20, '0700'), (92, 'ffff'), (212, '10'), (220, '0300'), (224, '02')), sent)
        # 100 kbps in units of 1/128: 12800 is 0x3200.
        self.assertIn(bytes.fromhex('030000000032000000000000'), sent)
        self.assertEqual(ran.opens, 1)
        self.assertEqual(self.shown(), '''\
!
qos enable
!
rule 5 profile qos match vid 7/0xffff action rate-bucket 3
rule 6 profile qos match sip 10.0.0.1~10.0.0.9 indev eth0 action queue 1 counter 9
rule 7 profile lanhost action dscp 5
!
puredscpremark enable \nfine-classifi disable \n!
bucket 3 rate 128
bucket 4 rate 0
!
limit up mode vlan
limit up add ip 1.2.3.4~1.2.3.4 rate 5 \nlimit up add vlan 3 rate 64 \nlimit up add vlan 1 rate 65 \n\
limit down mode port
limit down add port 3 rate 10 \n!
''')

    def test_nothing_when_nothing_differs(self):
        self.applied(FULL)
        before = self.status()
        ran = self.config('apply', self.file(FULL))
        self.says(ran, 0)
        # Three switches, three rules and five ends, two buckets and an end, four halves, a counter, the flags.
        self.assertEqual((ran.changes, len(ran.requests)), ([], 3 + 8 + 3 + 4 + 1 + 1))
        # Nothing of the last rule of a profile is sent with the question for the first of the next.
        asked = [sent for number, _, sent in ran.requests if number == 17]
        for profile in range(5):
            self.assertIn(rule_bytes(profile, 0), asked)
        self.assertEqual(self.status(), before)

    def test_the_same_as_typed(self):
        self.applied(FULL)
        ran = self.config('apply', self.file(TYPED_WHOLE))
        self.assertEqual(ran.status, 0)
        applied = self.shown()
        self.state = self.folder / 'another'
        self.type('\n'.join(line for line in TYPED_WHOLE.splitlines() if line and line[0] != '#'))
        self.assertEqual(applied, self.shown())

    def test_what_is_not_named_is_off(self):
        self.applied(FULL)
        changes = self.applied('bucket 4 rate 0\n')
        # QoS first, and the rules before the buckets; a profile that becomes empty is one request.
        self.assertEqual(changes, [
            28, f'{VLAN} 3 1 0 64 = 0', f'{VLAN} 1 1 0 65 = 0', 19, 19, f'{PORT} 3 1 0 10 = 0', 19, 19,
            32, 34, 15, 15, 9])
        self.assertEqual(self.shown(), NOTHING.replace('!\nlimit', 'bucket 4 rate 0\n!\nlimit'))
        # Counters and debug flags are governed one by one, and those were not named.
        shown = self.config('show').out.decode()
        self.assertTrue(shown.startswith('!\ncounter 9 enable\ndebug info on\ndebug error on\nqos'))

    def test_counters_and_flags_one_by_one(self):
        self.applied(FULL)
        self.assertEqual(self.applied(FULL.replace('counter 9 enable', 'counter 9 disable\ncounter 8 enable\n'
                                                   'counter 7 disable').replace('debug info on', 'debug info off\n'
                                                                                'debug match on\ndebug packet off')),
                         [25, 1, 22])
        shown = self.config('show').out.decode()
        self.assertTrue(shown.startswith('!\ncounter 8 enable\ndebug error on\ndebug match on\nqos'), shown)
        # The flags are set as one word: of 0x24 and packet, 0x08.
        ran = self.config('apply', self.file(FULL.replace('debug info on\ndebug error on', 'debug packet on')))
        self.says(ran, 0)
        self.assertEqual([sent for number, _, sent in ran.requests if number == 1], [bytes.fromhex('2c000000')])
        # One alone, too.
        ran = self.config('apply', self.file('debug info on\n'))
        self.says(ran, 0)
        self.assertEqual([sent for number, _, sent in ran.requests if number == 1], [bytes.fromhex('2d000000')])

    def test_refresh_is_sent_when_named(self):
        ran = self.config('apply', self.file('qos enable\nrefresh disable\n'))
        self.assertEqual((ran.status, ran.changes), (0, [36, 28]))
        ran = self.config('apply', self.file('qos enable\nrefresh enable\n'))
        # The module's word suppresses it.
        self.assertEqual((ran.status, [sent for number, _, sent in ran.requests if number == 36]), (0, [bytes(4)]))
        ran = self.config('diff', self.file('qos enable\nrefresh enable\n'))
        self.assertEqual((ran.status, ran.out, ran.changes), (0, b'refresh enable\n', []))

    def test_all_that_there_can_be(self):
        # Everything is otherwise than it was, and every table is full.
        def limits(octet):
            lines = ['mode ip', *(f'add ip 10.0.{octet}.{n} rate {n}' for n in range(24)),
                     *(f'add {kind} {n} rate {octet}' for kind in ('vlan', 'port') for n in range(1, 17))]
            return ''.join(f'limit {direction} {line}\n' for direction in ('up', 'down') for line in lines)

        self.applied(limits(1))
        most = {'qos': 64, 'osgiflow': 512, 'lanhost': 512, 'bridgedata': 64, 'hardacc': 64}
        rules = [f'rule {n} profile {profile} action queue 1\n'
                 for profile, last in most.items() for n in range(1, last + 1)]
        text = limits(2) + ''.join(rules) + ''.join(f'bucket {n} rate 64\n' for n in range(1, 65)) + ''.join(
            f'counter {n} enable\n' for n in range(1, 223))
        text += 'qos enable\npuredscpremark enable\nfine-classifi disable\ndebug all on\nrefresh enable\n'
        changes = self.applied(text)
        # The numbers alone: a limit is a call, and each direction has 24 that go and 24 that come.
        self.assertEqual([change if isinstance(change, int) else 0 for change in changes],
                         [36] + [25] * 222 + [8] * 64 + [13] * len(rules) + ([0] * 24 + [19, 19] + [0] * 24) * 2 +
                         [32, 34, 1, 28])
        self.assertEqual(self.applied(text), [36])

    def test_one_request_for_each_difference(self):
        self.applied(FULL)
        for old, new, changes in (
                ('vid 7', 'vid 9', [13]),
                ('vid 9', 'vid 9/1', [13]),
                ('vid 9/1', 'vid !9/1', [13]),
                ('10.0.0.9 indev', '10.0.0.8 indev', [13]),
                # The same bytes, as a range and as a value under a mask.
                ('10.0.0.1~10.0.0.8', '10.0.0.1~255.255.255.255', [13]),
                ('10.0.0.1~255.255.255.255', '10.0.0.1', [13]),
                ('eth0', 'eth1', [13]),
                # A field less, and one more.
                (' indev eth1', '', [13]),
                ('10.0.0.1 action', '10.0.0.1 indev eth1 action', [13]),
                ('dscp 5', 'dscp 6', [13]),
                ('dscp 6', 'dscp 6 sw-fwd', [13]),
                ('sw-fwd', 'sw-fwd dbgon', [13]),
                ('sw-fwd dbgon', 'bypass-kxnat dbgon', [13]),
                ('dscp 6', '8021p 1 dscp 6', [13]),
                ('8021p 1', '8021p 2', [13]),
                ('queue 1', 'queue 2', [13]),
                ('queue 2 counter 9', 'queue 2 counter 8', [13]),
                ('rate-bucket 3', 'rate-bucket 4', [13]),
                ('rate-bucket 4', 'rate-bucket 3', [13]),
                ('rule 7 profile lanhost', 'rule 8 profile lanhost', [13, 14]),
                ('bucket 3 rate 100', 'bucket 3 rate 129', [8]),
                ('bucket 4', 'bucket 5', [8, 9]),
                ('puredscpremark enable', 'puredscpremark disable', [32]),
                ('fine-classifi disable', 'fine-classifi enable', [34]),
                ('qos enable', 'qos disable', [28]),
                ('debug info', 'debug action', [1]),
                ('rule 6 match', 'rule 60 match', [13, 14])):
            self.text = getattr(self, 'text', FULL).replace(old, new)
            self.assertEqual(self.applied(self.text), changes, new)
            self.assertEqual(self.applied(self.text), [], new)

    def test_each_field_counts(self):
        fields = [line.split() for line in FIELDS.splitlines()]
        former, wanted = (''.join(f'rule {number} match {field[0]} {field[value]} action queue 1\n'
                                  for number, field in enumerate(fields, 1)) for value in (1, 2))
        self.applied(former)
        ran = self.config('diff', self.file(wanted))
        self.says(ran, 1)
        self.assertEqual(ran.out.decode(), wanted)

    def test_what_does_not_count(self):
        # Rounded up to 64 kbps by the module.
        self.applied('bucket 3 rate 65\nrule 5 match sip 10.0.0.1 action queue 1\n')
        for rate in 65, 100, 127, 128:
            self.assertEqual(self.applied(f'bucket 3 rate {rate}\nrule 5 match sip 10.0.0.1 action queue 1\n'), [])
        self.assertEqual(self.applied('bucket 3 rate 64\nrule 5 match sip 10.0.0.1 action queue 1\n'), [8])
        # Hits; an action that only the module sets; a field that is not selected; what is after an IPv4 address; a
        # number of a bucket without its action; bits that are no field.
        for offset, text in ((232, '7700'), (225, '01'), (224, '81'), (225, 'fdffff'), (16, '0700'), (32, 'ff'),
                             (220, '09'), (215, '40')):
            ran = self.config('diff', self.file('bucket 3 rate 64\nrule 5 match sip 10.0.0.1 action queue 1\n'),
                              faults=[f'17#1=bytes:{offset}:{text}'])
            self.assertEqual((ran.status, ran.out), (0, b''), (offset, ran.err))
        # Beside an action that has no number, too.
        self.applied('rule 5 action sw-fwd\n')
        ran = self.config('diff', self.file('rule 5 action sw-fwd\n'), faults=['17#1=bytes:16:0700'])
        self.assertEqual((ran.status, ran.out), (0, b''), ran.err)

    def test_what_does_not_count_of_limits(self):
        text = ''.join(f'limit up add vlan {n} rate 5\nlimit up add ip 10.0.0.{n} rate 5\n' for n in (7, 8)) + (
            'limit up mode vlan\n')
        self.applied(text)
        # Another word that says that a limit is in use; the key and the rate of a free entry.
        for fault in ('4:0001', '44:0001', '484:0001', '492:0001', '86:0100', '120:09', '502:0900', '504:09'):
            ran = self.config('diff', self.file(text), faults=['20#1=bytes:' + fault])
            self.says(ran, 0)
            self.assertEqual(ran.out, b'', fault)
        # What is behind an IPv4 address does, and so does the order.
        for fault in '23:09', '39:09', '63:09', '486:080005000000010007':
            ran = self.config('diff', self.file(text), faults=['20#1=bytes:' + fault])
            self.says(ran, 1)

    def test_buckets_come_before_their_rules_and_go_after_them(self):
        self.assertEqual(self.applied('rule 5 action rate-bucket 1\nrule 6 action queue 1\nbucket 1 rate 64\n'),
                         [8, 13, 13])
        self.assertEqual(self.applied('rule 5 action rate-bucket 2\nrule 6 action queue 1\nbucket 2 rate 64\n'),
                         [8, 13, 9])
        self.assertEqual(self.applied('rule 6 action queue 1\n'), [14, 9])

    def test_each_rule_goes_once(self):
        # The last of a profile, and the first and the last of the next, beside those that stay; and a whole profile.
        self.applied('rule 63 action queue 1\nrule 64 action queue 1\nrule 1 profile osgiflow action queue 2\n'
                     'rule 9 profile osgiflow action queue 2\nrule 512 profile osgiflow action queue 2\n'
                     'rule 1 profile lanhost action queue 3\n')
        ran = self.config('apply', self.file('rule 63 action queue 1\nrule 9 profile osgiflow action queue 2\n'))
        self.says(ran, 0)
        self.assertEqual([(number, sent) for number, _, sent in ran.requests if number in (14, 15)],
                         [(14, rule_bytes(0, 64)), (14, rule_bytes(1, 1)), (14, rule_bytes(1, 512)),
                          (15, rule_bytes(2, 0))])

    def test_counters_and_buckets_are_sent_bare(self):
        self.applied(FULL)
        ran = self.config('apply', self.file('counter 9 disable\ncounter 222 enable\nbucket 64 rate 1\n'))
        self.says(ran, 0)
        # A bucket of 1 kbps is 128.
        self.assertEqual([(number, sent) for number, _, sent in ran.requests if number in (8, 9, 22, 25)],
                         [(25, (222).to_bytes(32, 'little')), (8, bytes.fromhex('400000008000000000000000')),
                          (22, (9).to_bytes(32, 'little')), (9, (3).to_bytes(12, 'little')),
                          (9, (4).to_bytes(12, 'little'))])
        # Right behind a rule that is full of bits, too.
        address = 'ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff'
        rule = ('match dmac ff:ff:ff:ff:ff:ff smac ff:ff:ff:ff:ff:ff ethertype 65535 tpid 65535 vid 4095 pri 7 '
                f'ivid 4095 ipri 7 dip6 {address} sip6 {address} tos 255 dscp 63 pre 7 fl 1048575 tc 255 protocol 255 '
                'sport 65535 dport 65535 rxports -1 txports -1 indev abcdefghijklmno outdev abcdefghijklmno '
                'wan abcdefghijklmno action queue 7 8021p 7 dscp 255 counter 222')
        ran = self.config('apply', self.file(f'rule 5 {rule}\n'))
        self.says(ran, 0)
        self.assertEqual([sent for number, _, sent in ran.requests if number == 9], [(64).to_bytes(12, 'little')])

    def test_limits(self):
        vlans = 'limit up mode vlan\nlimit up add vlan 1 rate 10\nlimit up add vlan 2 rate 20\n'
        self.applied(vlans + 'limit up add vlan 3 rate 30\n')
        for text, changes in (
                # One goes, one comes, one changes its rate: that one is removed with the old, as the tool does it.
                (vlans.replace('rate 20', 'rate 25') + 'limit up add vlan 4 rate 40\n',
                 [f'{VLAN} 2 1 0 20 = 0', f'{VLAN} 3 1 0 30 = 0', 19, 19,
                  f'{VLAN} 2 1 1 25 = 0', f'{VLAN} 4 1 1 40 = 0']),
                # Another order is nothing to the switch.
                ('limit up add vlan 4 rate 40\n' + vlans.replace('rate 20', 'rate 25'), [19, 19]),
                # Nor is a table that is not in force.
                ('limit up add vlan 4 rate 40\n' + vlans.replace('rate 20', 'rate 25') +
                 'limit up add ip 1.2.3.4 rate 50\nlimit up add ip6 ::1~::2 rate 60\n', [19, 19]),
                # Another mode: all of the one table, then all of the other.
                ('limit up add vlan 4 rate 40\nlimit up mode ip\n'
                 'limit up add ip 1.2.3.4 rate 50\nlimit up add ip6 ::1~::2 rate 60\n',
                 [f'{VLAN} 4 1 0 40 = 0', f'{VLAN} 1 1 0 10 = 0', f'{VLAN} 2 1 0 25 = 0', 19, 19,
                  f'{IPV4} 1.2.3.4 1.2.3.4 1 1 50 = 0', 'libkx_switchApi_ipv6SetRateLimit ::1 ::2 1 1 60 = 0']),
                ('limit down mode port\nlimit down add port 0 rate 7\n',
                 [f'{IPV4} 1.2.3.4 1.2.3.4 1 0 50 = 0', 'libkx_switchApi_ipv6SetRateLimit ::1 ::2 1 0 60 = 0', 19, 19,
                  19, 19, f'{PORT} 0 1 1 7 = 0'])):
            self.assertEqual(self.applied(text), changes, text)
            self.assertEqual(self.applied(text), [], text)

    def test_full_tables(self):
        # Of each some are deleted again, in the first half of the table and in the second, and as many come.
        for kind, last in ('ip', 24), ('vlan', 16), ('port', 16):
            key = (lambda n: f'10.0.0.{n}~10.0.0.{n}') if kind == 'ip' else lambda n: n
            limits = {n: f'limit down add {kind} {key(n)} rate {n} \n' for n in range(1, last + 1)}
            gone = 3, last // 2, last - 1
            text = ''.join(limits.values()) + ''.join(limits[n].replace('add', 'delete') for n in gone)
            come = [limits[n].replace(f'rate {n} ', 'rate 99 ') for n in gone]
            self.applied('qos disable\n')
            self.applied(text + ''.join(come))
            kept = [line for n, line in limits.items() if n not in gone]
            self.assertEqual(self.shown(), NOTHING[:-2] + ''.join(kept + come) + '!\n')
            # Without its two comments.
            self.assertEqual(self.config('save', '-').out.decode().split('\n', 2)[2], self.shown())

    def test_the_same_limit_twice(self):
        self.applied('limit up add vlan 5 rate 1\nlimit up add vlan 5 rate 1\n')
        self.assertEqual(self.shown(), NOTHING.replace('limit down', 'limit up add vlan 5 rate 1 \nlimit down'))

    def test_a_reset_in_a_file_is_of_one_profile(self):
        self.applied('rule 64 action queue 1\nrule 1 profile osgiflow action queue 2\nreset profile qos\n')
        self.assertEqual(self.shown(), NOTHING.replace('!\n!\n', '!\nrule 1 profile osgiflow action queue 2\n!\n', 1))

    def test_another_mode_alone(self):
        self.applied(FULL)
        self.assertEqual(self.applied(FULL.replace('up mode vlan', 'up mode ip')),
                         [f'{VLAN} 3 1 0 64 = 0', f'{VLAN} 1 1 0 65 = 0', 19, 19, f'{IPV4} 1.2.3.4 1.2.3.4 1 1 5 = 0'])
        self.assertEqual(self.applied(FULL.replace('up mode vlan', 'up mode disable')),
                         [f'{IPV4} 1.2.3.4 1.2.3.4 1 0 5 = 0', 19, 19])

    def test_diff_shows_commands_and_changes_nothing(self):
        self.applied(FULL)
        ran = self.config('diff', self.file(OTHER))
        self.says(ran, 1)
        self.assertEqual((ran.changes, ran.opens), ([], 1))
        self.assertEqual(ran.out.decode(), '''\
qos disable
bucket 4 rate 640
rule 5 match vid 8 action rate-bucket 4
rule 1 profile bridgedata action queue 2
limit up mode ip
limit up delete vlan 3 rate 64 \nlimit up delete vlan 1 rate 65 \n\
limit down add port 3 rate 11 \nlimit down add port 4 rate 12 \n\
puredscpremark disable
fine-classifi enable
rule 6 profile qos delete
reset profile lanhost
bucket 3 delete
''')
        self.assertEqual(self.config('diff', self.file(FULL)).out, b'')

    def test_diff_of_counters_and_flags(self):
        self.applied(FULL)
        ran = self.config('diff', self.file(FULL.replace('counter 9 enable', 'counter 9 disable\ncounter 8 enable')
                                            .replace('debug info on', 'debug info off\ndebug match on')
                                            .replace('rate 65', 'rate 66')))
        self.says(ran, 1)
        # A counter is there before the rules that use it, and goes after them.
        self.assertEqual(ran.out.decode(), 'counter 8 enable\nlimit up add vlan 1 rate 66 \ndebug info off\n'
                                           'debug match on\ncounter 9 disable\n')

    def test_what_diff_shows_does_what_apply_does(self):
        for former, wanted in ((FULL, OTHER), (OTHER, FULL), (FULL, 'qos disable\n'), ('qos disable\n', FULL),
                               # In another order, with other rates; and what no display shows.
                               ('limit up mode vlan\n' + ''.join(f'limit up add vlan {n} rate 5\n' for n in range(1, 9)),
                                'limit up mode vlan\n' + ''.join(f'limit up add vlan {n} rate {n}\n'
                                                                 for n in (2, 3, 9, 5, 1))),
                               (FULL, 'rule 9 match protocols 5 action queue 1\n'
                                      'rule 10 match sip 10.0.0.0~10.0.0.0 esip 10.0.0.0/10.0.0.0 action\n')):
            self.applied(former)
            shown = self.config('diff', self.file(wanted)).out
            ran = self.config('run', '-', input=shown)
            self.assertEqual((ran.status, ran.err), (0, ''))
            self.assertEqual(self.applied(wanted), [])
            by_run = sorted(self.status().splitlines())  # the switch keeps its limits in the order of the calls
            self.applied(former)
            self.applied(wanted)
            self.assertEqual(by_run, sorted(self.status().splitlines()))

    def test_absent_device(self):
        self.state = self.folder / 'state'
        path = self.file(FULL)
        for words in (['apply', path], ['diff', path], ['save', path], ['show'], ['show', '--json'], ['run', path],
                      ['apply', '--keep-going', path]):
            ran = self.config(*words, faults=['open#*=fail'])
            self.says(ran, 2, '/dev/kxqos: No such file or directory')
            self.assertEqual((ran.out, ran.requests), (b'', []))

    def test_a_wrong_file_changes_nothing(self):
        self.applied(FULL)
        for words in ['apply'], ['apply', '--keep-going'], ['diff']:
            ran = self.config(*words, self.file('qos disable\nbucket 65 rate 1\n'))
            self.says(ran, 2, f"{self.folder}/file:2: Err: parameter '65' beyond the range (1~64): bucket 65 rate 1")
            self.assertEqual((ran.opens, ran.out), (0, b''))

    def test_a_file_that_is_not_there(self):
        for words in ['apply'], ['apply', '--keep-going'], ['diff'], ['run']:
            ran = self.config(*words, '/none/there')
            self.says(ran, 2, '/none/there: No such file or directory')
            self.assertEqual((ran.opens, ran.out), (0, b''))

    def test_from_standard_input(self):
        ran = self.config('diff', '-', input=b'qos enable\n')
        self.says(ran, 1)
        self.assertEqual((ran.out, ran.changes), (b'qos enable\n', []))
        ran = self.config('apply', '-', input=b'qos enable\n')
        self.says(ran, 0)
        self.assertEqual((ran.out, ran.changes), (b'', [28]))

    @staticmethod
    def redirected(descriptors):
        return 'exec "$@"' + ''.join(f' {number}>&-' for number in descriptors)

    def closed(self, descriptors, *words, faults=()):
        return self.run_words('sh', '-c', self.redirected(descriptors), 'sh', CONFIG, *words, faults=faults)

    def test_closed_descriptors(self):
        ran = self.closed((0, 1, 2), 'apply', self.file(FULL))
        self.assertEqual((ran.status, ran.err), (0, ''))
        self.assertEqual(self.applied(FULL), [])
        # Using one fails, whatever else is closed, and nothing reaches the device instead.
        before = self.status()
        saved = self.config('save', '-').out
        for descriptors in (0,), (0, 1):
            self.says(self.closed(descriptors, 'check', '-'), 2, 'standard input: Bad file descriptor')
        for descriptors in (1,), (0, 1):
            self.says(self.closed(descriptors, 'show'), 1, 'standard output: Bad file descriptor')
        for descriptors in (0, 1, 2), (1, 2), (2,):
            self.says(self.closed(descriptors, 'show', faults=['17#1=fail']), 1)
            self.assertEqual(self.closed(descriptors, 'save', str(self.folder / 'saved')).status, 0)
            self.assertEqual((self.folder / 'saved').read_bytes(), saved)
        self.assertEqual(self.status(), before)

    def test_nothing_takes_the_place_of_a_closed_descriptor(self):
        for descriptors in (1,), (2,), (1, 2):
            reading, writing = os.pipe()
            words = ['sh', '-c', self.redirected(descriptors), 'sh', CONFIG, 'check', '-']
            with subprocess.Popen(words, stdin=reading, stderr=subprocess.DEVNULL) as started:
                os.write(writing, b'#')
                while fcntl.ioctl(reading, termios.FIONREAD, bytes(4)) != bytes(4) and started.poll() is None:
                    pass
                links = pathlib.Path(f'/proc/{started.pid}/fd').iterdir()
                opened = {int(link.name): os.readlink(link) for link in links}
                os.close(writing)
            self.assertEqual(started.returncode, 2)
            for number in descriptors:
                self.assertEqual(opened.get(number), '/dev/null')
            os.close(reading)


if __name__ == '__main__':
    unittest.main()
