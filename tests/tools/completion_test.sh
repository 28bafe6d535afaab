#!/bin/bash
# Completion in bash, and in zsh where there is one: completion_test.sh CONFIG
# What is expected is written from the grammar of the commands; CONFIG is kxqos-config, whose usage is compared.
# Needs scripts/setup test.
set -u
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=scripts/help.sh
. "$here/../../scripts/help.sh"
take_words 1 1 "$@"
[ -x "$1" ] || refuse "no such program: $1"
config=$1
completions=$(cd "$here/../../completions" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit
# shellcheck source=tests/tools/typed.sh
. "$here/typed.sh"

# shellcheck source=tests/same.sh
. "$here/../same.sh"

# shellcheck source=/dev/null
. "$completions/kxqosctl.bash"

# completes LINE WORDS: what is offered at the end of the line.
completes() {
    COMP_LINE=$1
    COMP_POINT=${#1}
    COMPREPLY=()
    _kxqosctl_complete
    same "$1" "$2" "${COMPREPLY[*]}"
}

match='dmac smac ethertype tpid vid pri ivid ipri dip sip dip6 sip6 tos dscp pre fl tc protocol sport dport rxports
 txports indev invirtdev outdev wan edmac esip esip6 esport protocols'
match=${match//$'\n'/}
most='queue rate-bucket 8021p dscp counter bypass-kxnat sw-fwd'
profiles='qos osgiflow lanhost bridgedata hardacc'
interfaces=$(cd /sys/class/net && echo *)

completes 'kxqosctl ' \
    'rule bucket debug configuration qos limit counter queue puredscpremark fine-classifi refresh reset test \?'
completes 'kxqosctl re' 'refresh reset'
completes 'kxqosctl x' ''
completes 'kxqosctl rule ' ''
completes 'kxqosctl rule 5 ' 'profile match action delete show'
completes 'kxqosctl rule 5 profile ' "$profiles"
completes 'kxqosctl rule 5 profile l' lanhost
completes 'kxqosctl rule 5 profile qos ' 'match action delete show'
completes 'kxqosctl rule 5 show ' ''
completes 'kxqosctl rule 5 profile qos delete ' ''
completes 'kxqosctl rule 5 match ' "$match"
completes 'kxqosctl rule 5 profile qos match ' "$match"
completes 'kxqosctl ru 5 pro qos ma ' "$match"
completes 'kxqosctl rule 5 match es' 'esip esip6 esport'
completes 'kxqosctl rule 5 match vid ' ''
completes 'kxqosctl rule 5 match vid 5 ' "$match action"
completes 'kxqosctl rule 5 match dmac 00:11:22:33:44:55 a' action
completes 'kxqosctl rule 5 match dmac 00:11:22:33:44:55/ff:ff:ff:00:00:00 vid 5 act' action
completes 'kxqosctl rule 5 match sip6 2001:db8::1~2001:db8::5 dscp 4 action ' "$most dbgon"
completes 'kxqosctl rule 5 action ' "$most dbgon"
completes 'kxqosctl rule 5 match esport 5 action ' "$most"
completes 'kxqosctl rule 5 match outdev eth0 vid 5 action queue 1 ' "$most"
completes 'kxqosctl rule 5 action queue ' '0 1 2 3 4 5 6 7'
completes 'kxqosctl rule 5 match vid 5 action 8021p ' '0 1 2 3 4 5 6 7'
completes 'kxqosctl rule 5 action counter ' ''
completes 'kxqosctl rule 5 action counter 5 d' 'dscp dbgon'
completes 'kxqosctl rule 5 action dbgon sw' sw-fwd
completes 'kxqosctl rule 5 match vid 5 action queue 3 r' rate-bucket
completes 'kxqosctl rule 5 match indev ' "$interfaces"
completes 'kxqosctl rule 5 match vid 5 outdev lo' lo
completes 'kxqosctl rule 5 match wan !lo' '!lo'
# A device may have the name of a keyword.
completes 'kxqosctl rule 5 match indev action ' "$match action"
completes 'kxqosctl bucket ' show
completes 'kxqosctl bucket 5 ' 'rate show delete'
completes 'kxqosctl bucket 5 rate ' ''
completes 'kxqosctl bucket show ' ''
completes 'kxqosctl debug ' 'info warnning error packet pre-match match action fineclassifi ratelimit all show'
completes 'kxqosctl debug packet ' 'on off'
completes 'kxqosctl debug packet on ' ''
completes 'kxqosctl debug show ' ''
completes 'kxqosctl configuration ' show
completes 'kxqosctl queue ' show
completes 'kxqosctl qos ' 'enable disable'
completes 'kxqosctl qos enable ' ''
completes 'kxqosctl puredscpremark e' enable
completes 'kxqosctl fine-classifi ' 'enable disable'
completes 'kxqosctl refresh d' disable
completes 'kxqosctl limit ' 'up down show'
completes 'kxqosctl limit up ' 'mode add delete'
completes 'kxqosctl limit down mode ' 'ip vlan port disable'
completes 'kxqosctl limit up add ' 'ip ip6 vlan port'
completes 'kxqosctl limit up add ip ' ''
completes 'kxqosctl limit up add ip6 2001:db8::1~2001:db8::5 ' rate
completes 'kxqosctl limit up delete vlan 5 ' rate
completes 'kxqosctl limit up delete vlan 5 rate ' ''
completes 'kxqosctl counter ' 'show clear'
completes 'kxqosctl counter 5 ' 'show clear enable disable'
completes 'kxqosctl counter clear ' ''
completes 'kxqosctl reset ' profile
completes 'kxqosctl reset profile ' "$profiles"
completes 'kxqosctl test ' 'osgi host wan api'
completes 'kxqosctl test osgi 3 ' counter
completes 'kxqosctl test osgi 3 counter 5 ' 'clear show'
completes 'kxqosctl test host 3 ' 'add del counter'
completes 'kxqosctl test host 3 counter 5 ' 'clear show'
completes 'kxqosctl test host 3 add 00:11:22:33:44:55 ' ''
completes 'kxqosctl test wan lo' lo
completes 'kxqosctl test wan lo ' 'counter rate'
completes 'kxqosctl test api ' ''

# Only what stands before the cursor counts.
COMP_LINE='kxqosctl qos enable'
COMP_POINT=11
_kxqosctl_complete
same 'cursor in the middle' qos "${COMPREPLY[*]}"

# An interface may have any name without a blank.
eval "$(declare -f _kxqosctl_interfaces | sed '1s/^/system/')"
# shellcheck disable=SC2016 # that is the point
_kxqosctl_interfaces() { echo '$(touch${IFS}x)' '*'; }
: >file
completes 'kxqosctl rule 5 match indev ' '\$\(touch\$\{IFS\}x\) \*'
same 'evaluated' file "$(echo *)"
eval "$(declare -f system_kxqosctl_interfaces | sed '1s/^system//')"

# kxqos-config

# shellcheck source=/dev/null
. "$completions/kxqos-config.bash"
# shellcheck disable=SC2154 # the completion sets it
same 'kxqos-config: usage' "$("$config" --help | sed 's/^.*kxqos-config //')" "$_kxqos_config_usage"

# completes_config LINE WORDS: the line as bash divides it when it has no quotes.
completes_config() {
    read -ra COMP_WORDS <<<"${1//=/ = }"
    [[ $1 == *' ' ]] && COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _kxqos_config_complete kxqos-config "${COMP_WORDS[COMP_CWORD]}"
    same "$1" "$2" "${COMPREPLY[*]}"
}

rm -f file
mkdir folder
: >folder/new.conf
: >'old one.conf'
completes_config 'kxqos-config ' 'show save check diff apply run'
completes_config 'kxqos-config s' 'show save'
completes_config 'kxqos-config x' ''
completes_config 'kxqos-config -' '--help --version'
completes_config 'kxqos-config --help ' 'show save check diff apply run'
completes_config 'kxqos-config show ' ''
completes_config 'kxqos-config show -' --json
completes_config 'kxqos-config show --json -' ''
completes_config 'kxqos-config save -' '--lossy --wait'
completes_config 'kxqos-config save --lossy --' --wait
completes_config 'kxqos-config check -' ''
completes_config 'kxqos-config check f' folder
completes_config 'kxqos-config check folder/n' folder/new.conf
completes_config 'kxqos-config check folder ' ''
completes_config 'kxqos-config diff --w' --wait
completes_config 'kxqos-config diff --wait ' ''
completes_config 'kxqos-config diff --wait 5 --w' ''
completes_config 'kxqos-config diff --wait=5 f' folder
completes_config 'kxqos-config diff --wait=5 --w' ''
completes_config 'kxqos-config --wait 5 apply -' '--keep-going --confirm'
completes_config 'kxqos-config apply -' '--keep-going --confirm --wait'
completes_config 'kxqos-config apply --keep-going -' --wait
completes_config 'kxqos-config apply --confirm ' ''
completes_config 'kxqos-config apply --confirm 60 -' --wait
completes_config 'kxqos-config run folder/new.conf -' '--keep-going --wait'
completes_config 'kxqos-config apply o' 'old one.conf'
rm 'old one.conf'
completes_config 'kxqos-config run ' folder
rm -r folder

# Typed at a prompt, with the key that completes. The files lie as they are installed.
mkdir -p share/zsh/site-functions share/bash-completion/completions
for program in kxqosctl kxqos-config; do
    cp "$completions/_$program" share/zsh/site-functions
    cp "$completions/$program.bash" share/bash-completion/completions/$program
done
at_prompt() {
    "$here/at_prompt" "$@" <<<"$typed"
}
same 'bash, at a prompt' "$called" "$(at_prompt bash \
    ". $work/share/bash-completion/completions/kxqosctl; . $work/share/bash-completion/completions/kxqos-config")"
if command -v zsh >/dev/null; then
    same 'zsh, at a prompt' "$called" "$(at_prompt zsh "fpath=($work/share/zsh/site-functions \$fpath)")"
else
    echo 'zsh is not there: its completion is not tested'
fi

echo "$failures completions are wrong"
[ $failures -eq 0 ]
