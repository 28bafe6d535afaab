# For the tests of completion that source this: keys for tests/tools/at_prompt, and what they call, from the grammar of
# the commands and the usage of kxqos-config.
# shellcheck shell=sh disable=SC2034 # whoever sources this looks at them
typed=$(printf '%b\n' \
    'kxqosctl rul\t5 prof\tbri\tmat\tdmac 00:11:22:33:44:55 act\tq\t3 sw\t' \
    'kxqosctl pu\te\t' \
    'kxqosctl lim\tup a\tvl\t5 ra\t9' \
    'kxqosctl te\tw\tlo\tc\t5' \
    'kxqosctl rule 5 match outdev lo\taction d\t4 by\t' \
    'kxqosctl res\tp\tos\t' \
    'kxqos-config sh\t--j\t' \
    'kxqos-config ap\t--c\t60 --w\t5 /etc/host.co\t' \
    'kxqos-config --v\t')
called='called <rule> <5> <profile> <bridgedata> <match> <dmac> <00:11:22:33:44:55> <action> <queue> <3> <sw-fwd>
called <puredscpremark> <enable>
called <limit> <up> <add> <vlan> <5> <rate> <9>
called <test> <wan> <lo> <counter> <5>
called <rule> <5> <match> <outdev> <lo> <action> <dscp> <4> <bypass-kxnat>
called <reset> <profile> <osgiflow>
called <show> <--json>
called <apply> <--confirm> <60> <--wait> <5> </etc/host.conf>
called <--version>'
