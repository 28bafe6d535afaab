"""What is told to Prometheus, and the lines of jq in the documents."""

import os
import pathlib
import re
import subprocess
import sys
import unittest

TREE = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(TREE / 'tests/config'))
from gateway import BUILT, GatewayTest

METRICS = str(TREE / 'integrations/prometheus/kxqos-metrics')

HELD = '''\
qos enable
bucket 1 rate 10240
bucket 2 rate 0
rule 6 match sip 192.168.1.0/24 action rate-bucket 1 counter 7
rule 7 profile lanhost action queue 3
counter 7 enable
'''
# 10240 kbps are 1,280,000 bytes a second. The lab's numbers of a bucket are 100 and 1000 more than its own; 1000 packets
# of 1000 bytes within a second are 8000 kbps.
TOLD = '''\
# HELP kxqos_config_info The version of kxqos-config.
# TYPE kxqos_config_info gauge
kxqos_config_info{version="1.0.0"} 1
# HELP kxqos_qos_enabled Whether the engine is on.
# TYPE kxqos_qos_enabled gauge
kxqos_qos_enabled 1
# HELP kxqos_rule_hits_total Hits of a rule.
# TYPE kxqos_rule_hits_total counter
kxqos_rule_hits_total{profile="qos",rule="6"} 42
kxqos_rule_hits_total{profile="lanhost",rule="7"} 0
# HELP kxqos_packets_total Packets of a counter.
# TYPE kxqos_packets_total counter
kxqos_packets_total{counter="7"} 1000
# HELP kxqos_bytes_total Bytes of a counter.
# TYPE kxqos_bytes_total counter
kxqos_bytes_total{counter="7"} 1000000
# HELP kxqos_speed_bytes_per_second The present rate of a counter.
# TYPE kxqos_speed_bytes_per_second gauge
kxqos_speed_bytes_per_second{counter="7"} 1000000
# HELP kxqos_bucket_rate_bytes_per_second The rate of a bucket, 0 for no limit.
# TYPE kxqos_bucket_rate_bytes_per_second gauge
kxqos_bucket_rate_bytes_per_second{bucket="1"} 1280000
kxqos_bucket_rate_bytes_per_second{bucket="2"} 0
# HELP kxqos_bucket_hardware The number of a bucket in the hardware.
# TYPE kxqos_bucket_hardware gauge
kxqos_bucket_hardware{bucket="1"} 101
kxqos_bucket_hardware{bucket="2"} 102
# HELP kxqos_bucket_tokens The tokens of a bucket, as the module names them.
# TYPE kxqos_bucket_tokens gauge
kxqos_bucket_tokens{bucket="1"} 1001
kxqos_bucket_tokens{bucket="2"} 1002
'''
HITS = '17#1=bytes:232:2a'


class Prometheus(GatewayTest):
    def setUp(self):
        super().setUp()
        self.metrics = self.folder / 'kxqos.prom'
        environment = dict(os.environ, PATH=f'{BUILT}:{os.environ["PATH"]}')
        self.how = {'env': environment, 'cwd': self.folder}

    def promtool(self):
        with open(self.metrics, 'rb') as file:
            ran = subprocess.run(['promtool', 'check', 'metrics'], stdin=file, stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT, timeout=60, check=False)
        self.assertEqual((ran.returncode, ran.stdout), (0, b''))

    def tell(self, **more):
        return self.run_words(METRICS, str(self.metrics), **self.how, **more)

    def test_what_is_told(self):
        self.applied(HELD)
        subprocess.run([BUILT / 'kxqos-lab', '--state', self.state, '--traffic', '1000', '--', 'true'], timeout=60, check=True)
        os.umask(0o077)
        ran = self.tell(faults=[HITS])
        self.assertEqual((ran.status, ran.out, ran.err, ran.changes), (0, b'', '', []))
        self.assertEqual(self.metrics.read_text(), TOLD)
        self.assertEqual(self.metrics.stat().st_mode & 0o777, 0o644)
        self.assertEqual(sorted(self.folder.glob('kxqos.prom*')), [self.metrics])
        self.promtool()

    def test_nothing_and_a_great_deal(self):
        self.assertEqual(self.tell().status, 0)
        self.assertIn('kxqos_qos_enabled 0\n', self.metrics.read_text())
        self.promtool()
        self.applied(HELD)
        self.assertEqual(self.tell(faults=['17#1=bytes:232:ffffffffffffffff']).status, 0)
        hits = re.search('^kxqos_rule_hits_total.*"6"} (.*)$', self.metrics.read_text(), re.M).group(1)
        self.assertEqual(float(hits), 2.0 ** 64)
        self.promtool()

    def test_what_cannot_be_read_leaves_the_file(self):
        self.applied(HELD)
        self.metrics.write_text('old\n')
        ran = self.tell(faults=['11#1=fail'])
        self.assertEqual(ran.status, 1)
        self.assertNotEqual(ran.err, '')
        self.assertEqual(self.metrics.read_text(), 'old\n')
        self.assertEqual(sorted(self.folder.glob('kxqos.prom*')), [self.metrics])

    def test_a_line_for_a_shell(self):
        """docs/fleet.md has one."""
        line, = re.findall(r'^    (kxqos-config show --json \| jq .*)$', (TREE / 'docs/fleet.md').read_text(), re.M)
        self.applied(HELD)
        ran = self.run_words('sh', '-c', line, faults=[HITS], **self.how)
        self.assertEqual((ran.status, ran.out), (0, b'42 qos 6\n0 lanhost 7\n'))


if __name__ == '__main__':
    unittest.main()
