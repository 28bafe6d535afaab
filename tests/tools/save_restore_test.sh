#!/bin/sh
# kxqos-save and kxqos-restore, inside a gateway: save_restore_test.sh [TEST...]
#
#   GATEWAY   the launcher, and the options that name its state   (kxqos-lab --state FILE)
#   TOOLS     the folder of the two scripts                       (tools/ of this tree)
#   ASH       the shell that runs them                            (busybox sh)
#   SAVES     how many saves are killed, each a little later      (40)
#
# kxqosctl and the launcher are found in PATH. Runs in the ash of busybox, with nothing that busybox has not.
# shellcheck disable=SC2086 # GATEWAY and ASH are lists of words
# shellcheck disable=SC2317 # the tests are called by their names
set -u
here=$(cd "$(dirname "$0")" && pwd)
TOOLS=${TOOLS-$here/../../tools}
ASH=${ASH-busybox sh}
SAVES=${SAVES-40}
work=$(mktemp -d)
GATEWAY=${GATEWAY-kxqos-lab --state $work/state}
trap 'rm -rf "$work"' EXIT
cd "$work" || exit
failures=0

# inside COMMAND...: with the words of $options for the gateway.
options=''
inside() {
    $GATEWAY $options -- "$@"
}

tool() {
    inside kxqosctl "$@"
}

save() {
    inside $ASH "$TOOLS/kxqos-save" "$@" >said 2>&1
}

restore() {
    inside $ASH "$TOOLS/kxqos-restore" "$@" >said 2>&1
}

# same WHAT WANTED GOT
same() {
    [ "$2" = "$3" ] && return
    printf '%s: wanted "%s", got "%s"\n' "$1" "$2" "$3"
    failures=$((failures + 1))
}

# same_file WHAT WANTED GOT: two files
same_file() {
    cmp "$2" "$3" && return
    printf '%s: %s and %s differ\n' "$1" "$2" "$3"
    failures=$((failures + 1))
}

reboot_gateway() {
    $GATEWAY --reboot || exit
}

# What the gateway shows for it, to the byte, in full.cfg: it is written here by hand.
full_configuration() {
    cat >full.cfg <<'END'
!
qos enable
!
rule 5 profile qos match dmac 00:11:22:33:44:55/ff:ff:ff:ff:ff:ff action queue 3
rule 64 profile qos match sip !10.0.0.1~10.0.0.9 indev eth0 action rate-bucket 7 dscp 46
rule 512 profile osgiflow match sip6 2001:db8::/32 action counter 222
rule 1 profile hardacc action sw-fwd
!
puredscpremark enable 
fine-classifi disable 
!
bucket 7 rate 1024
!
limit up mode ip
limit up add ip 192.168.1.10~192.168.1.20 rate 2048 
limit up add ip6 2001:db8::1~2001:db8::ff rate 64 
limit up add vlan 100 rate 4096 
limit down mode port
limit down add port 3 rate 512 
!
END
    cat >empty.cfg <<'END'
!
qos disable
!
!
!
!
limit up mode disable
limit down mode disable
!
END
}

shown() {
    tool configuration show >shown.cfg
    same_file "$1" "$2" shown.cfg
}

saved_rebooted_restored() {
    restore full.cfg
    same 'restored' '0 ' "$? $(cat said)"
    shown 'after the first restore' full.cfg
    save saved.cfg
    same 'saved' '0 ' "$? $(cat said)"
    same_file 'saved' full.cfg saved.cfg
    reboot_gateway
    shown 'after the reboot' empty.cfg
    restore saved.cfg
    same 'restored again' '0 ' "$? $(cat said)"
    shown 'after the second restore' full.cfg
}

# shellcheck disable=SC2016 # nothing is to expand
# A name may be empty; then two blanks stand together.
names_come_back() {
    tool rule 1 match indev '' wan '' action queue 1
    tool rule 2 match indev '$(x)' outdev '*' wan '`x`;x&x|x>x' action queue 1
    tool rule 3 match outdev !eth0 indev '' action queue 1
    tool configuration show >wanted.cfg
    save saved.cfg
    same 'saved' 0 $?
    reboot_gateway
    restore saved.cfg
    same 'restored' '0 ' "$? $(cat said)"
    shown 'names' wanted.cfg
}

# refused WHAT MESSAGE: the save that comes next, over a good file.
refused() {
    echo 'a good file' >saved.cfg
    save saved.cfg
    same "$1: status" 1 $?
    same "$1: said" "kxqos-save: $2; saved.cfg is left as it was" "$(cat said)"
    same "$1: file" 'a good file' "$(cat saved.cfg)"
    same "$1: what is there" saved.cfg "$(echo saved.cfg*)"
}

save_refuses() {
    restore full.cfg
    # 18 opens for each of the two times that the configuration is read.
    for open in 1 2 5 10 18; do
        options="--fault open#$open=fail"
        refused "open $open fails" \
            'the configuration has a line that does not belong there: Open kxqos dev failure!'
    done
    options='--fault open#22=fail'
    refused 'open 22 fails' 'the configuration is not the same when it is read again'
    options='--fault open#*=fail'
    refused 'no device' 'the configuration has a line that does not belong there: Open kxqos dev failure!'
    options='--fault 29#1=fail'
    refused 'no global switch' 'the configuration is incomplete'
    options='--fault 20#1=fail'
    refused 'no limits' 'the configuration is incomplete'
    options='--fault 17#2=fail'
    refused 'rules break off' 'the configuration is not the same when it is read again'
    options='--fault 11#1=fail'
    refused 'buckets break off' 'the configuration is not the same when it is read again'
    options=''
    tool rule 9 match indev 'a
qos disable' action queue 1
    refused 'a name with a command in it' \
        'the configuration has a line that does not belong there: qos disable action queue 1'
    mkdir saved.dir
    save saved.dir
    same 'a folder' 1 $?
    save nowhere/saved.cfg
    same 'no such folder' 1 $?
    save saved.cfg another
    same 'two files' 2 $?
}

# shellcheck disable=SC2016 # for the script that is written
# A tool that prints the file "prints" and ends with the status in "status".
with_another_tool() {
    mkdir bin
    printf '#!/bin/sh\ncat "%s/prints"\nexit $(cat "%s/status")\n' "$work" "$work" >bin/kxqosctl
    chmod +x bin/kxqosctl
    path=$PATH
    PATH=$work/bin:$PATH
    cp full.cfg prints
    echo 255 >status
    refused 'a tool that fails' 'kxqosctl failed'
    echo 0 >status
    lines=$(grep -c '' full.cfg)
    line=0
    while [ $line -lt "$lines" ]; do
        head -n $line full.cfg >prints
        echo 'a good file' >saved.cfg
        save saved.cfg
        same "cut off after $line lines" '1 a good file' "$? $(cat saved.cfg)"
        line=$((line + 1))
    done
    cp full.cfg prints
    save saved.cfg
    same 'not cut off' 0 $?
    same_file 'not cut off' full.cfg saved.cfg
    PATH=$path
}

a_link_is_followed() {
    restore full.cfg
    mkdir -p flash
    echo 'a good file' >flash/real.cfg
    ln -s flash/real.cfg link.cfg
    save link.cfg
    same 'saved' 0 $?
    same_file 'what the link leads to' full.cfg flash/real.cfg
    same 'the link' flash/real.cfg "$(readlink link.cfg)"
}

restore_names_what_fails() {
    printf '%s\n' '# A comment.' '' '!' '   ' 'qos enable' 'rule 65 profile qos action queue 1' '  bucket 1 rate 64' \
        'bucket 2 rote 64' 'frobnicate' 'reset profile' 'rule 1 match sip6 ::1/x action queue 1' >bad.cfg
    printf 'bucket 3 rate 64' >>bad.cfg # no newline
    restore bad.cfg
    same 'status' 1 $?
    cat >wanted <<'END'
kxqos-restore: bad.cfg:6: Err: Maximum 64 rules of qos profile! : rule 65 profile qos action queue 1
kxqos-restore: bad.cfg:8: Err: Unknown command! : bucket 2 rote 64
kxqos-restore: bad.cfg:9: Err: unknow argument: frobnicate: frobnicate
kxqos-restore: bad.cfg:10: Usage: : reset profile
END
    sed '/:11:/d' said >said.others
    same_file 'messages' wanted said.others
    # The message for a bad IPv6 mask has no newline, and the tool is content.
    same 'line 11' 1 "$(grep -c "^kxqos-restore: bad.cfg:11: Invalid IPv6 Mask 'x' specified" said)"
    same 'the others are carried out' 'qos enable|bucket 1 rate 64|bucket 3 rate 64' \
        "$(tool configuration show | grep -e ^qos -e ^bucket | tr '\n' '|' | sed 's/|$//')"
    reboot_gateway
    options='--fault libkx_switchApi_vlanSetRateLimit#1=fail'
    printf '%s\n' 'limit up mode vlan' 'limit up add vlan 5 rate 64' >bad.cfg
    restore bad.cfg
    same 'the switch fails: status' 1 $?
    same 'the switch fails' 1 "$(grep -c '^kxqos-restore: bad.cfg:2: hw .*: limit up add vlan 5 rate 64$' said)"
    options='--fault open#2=fail'
    printf '%s\n' 'qos enable' 'puredscpremark enable' >bad.cfg
    restore bad.cfg
    same 'no device' '1 kxqos-restore: bad.cfg:2: Open kxqos dev failure!: puredscpremark enable' "$? $(cat said)"
    options='--fault 13#1=result:3'
    echo 'rule 1 action queue 1' >bad.cfg
    restore bad.cfg
    same 'a result' '1 kxqos-restore: bad.cfg:1: status 3: rule 1 action queue 1' "$? $(cat said)"
    options=''
    restore nothere.cfg
    same 'no file' '2 kxqos-restore: nothere.cfg cannot be read' "$? $(cat said)"
    restore --frobnicate full.cfg
    same 'an unknown option' 2 $?
}

# shellcheck disable=SC2016 # that is the point
nothing_is_evaluated() {
    printf '%s\n' '$(touch evaluated)' '`touch evaluated`' 'qos enable; touch evaluated' \
        'qos enable && touch evaluated' 'rule a[$(touch${IFS}evaluated)] action queue 1' 'bucket x=5 rate 64' '*' \
        'rule * action queue 1' \
        'bucket 1 rate 64 > evaluated' '-e qos enable' '\n' >bad.cfg
    restore --check bad.cfg
    same 'check' 1 $?
    # The tool does not look at what follows the rate of a bucket.
    same 'check: lines' 10 "$(grep -c bad.cfg: said)"
    restore bad.cfg
    same 'restore' 1 $?
    same 'evaluated' 'evaluated*' "$(echo evaluated*)"
    # The shell would make a list of files of it.
    same 'a star' 1 "$(grep -c '^kxqos-restore: bad.cfg:7: Err: unknow argument: \*: \*$' said)"
}

# What --check finds, and that it sends nothing.
check_finds() {
    : >trace
    options="--trace $work/trace"
    restore --check full.cfg
    same 'a good file' '0 ' "$? $(cat said)"
    cat >bad.cfg <<'END'
rule 0 action queue 1
rule 65 action queue 1
rule 513 profile osgiflow action queue 1
rule 1 profile nobody action queue 1
rule 1 profile
rule 1 match vid 4096 action queue 1
rule 1 match vid action queue 1
rule 1 match vid 5
rule 1 match vid 5 pri 3
rule 1 match nothing 5 action queue 1
rule 1 match dmac 00:11:22:33:44:gg action queue 1
rule 1 match sip 10.0.0.x action queue 1
rule 1 match indev abcdefghijklmnop action queue 1
rule 1 match action queue 1 queue 2
rule 1 action queue 8
rule 1 action queue
rule 1 action queu 1
rule 1 action
rule 1 delete now
rule 1
bucket 65 rate 1
bucket 1 rate 10485761
bucket 1 rate
bucket 1
qos
qos on
limit up mode nat
limit sideways mode ip
limit up add vlan 4096 rate 1
limit up add vlan 5 rote 1
limit up add port 32 rate 1
limit up add ip 10.0.0.1 rate
limit up
debug everything on
debug info
counter 223 enable
counter
reset profile
configuration show
test api
rule 08 action queue 1
rule 0x action queue 1
rule 99999999999999999999 action queue 1
qos  enable
END
    restore --check bad.cfg
    same 'status' 1 $?
    line=1
    while [ $line -le "$(grep -c '' bad.cfg)" ]; do
        same "line $line" 1 "$(grep -c "^kxqos-restore: bad.cfg:$line: ..*: $(sed -n ${line}p bad.cfg)\$" said)"
        line=$((line + 1))
    done
    same 'and no more' 'kxqos-restore: nothing was changed' "$(grep -v '^kxqos-restore: bad.cfg:' said)"
    same 'a message' 'kxqos-restore: bad.cfg:6: not 0 to 4095: 4096: rule 1 match vid 4096 action queue 1' \
        "$(sed -n 6p said)"
    restore --clear bad.cfg
    same '--clear with a bad file' 1 $?
    same 'what was sent' '' "$(cat trace)"
    # As people type it, abbreviated and in all forms: the check is never stricter than the tool.
    if [ -f "$here/../roundtrip/typed.txt" ]; then
        options=''
        cp "$here/../roundtrip/typed.txt" typed.cfg
        restore --check typed.cfg
        same 'typed' '0 ' "$? $(cat said)"
        restore typed.cfg
        same 'typed, for real' '0 ' "$? $(cat said)"
    fi
}

clear_empties() {
    printf '%s\n' 'qos enable' 'rule 2 match vid 5 action queue 1' \
        'rule 500 profile lanhost match vid 5 action queue 1' 'rule 3 profile bridgedata action queue 1' \
        'bucket 1 rate 64' 'bucket 64 rate 64' 'puredscpremark enable' \
        'fine-classifi disable' 'limit up mode vlan' 'limit up add vlan 7 rate 64' 'limit up add vlan 8 rate 64' \
        'limit down mode ip' 'limit down add ip 10.0.0.1 rate 4294967295' 'limit down add ip6 2001:db8::5 rate 64' \
        'limit down add port 0 rate 64' >other.cfg
    restore other.cfg
    same 'before' 0 $?
    : >none.cfg
    restore --clear none.cfg
    same 'cleared' '0 ' "$? $(cat said)"
    shown 'cleared' empty.cfg
    restore other.cfg
    restore --clear full.cfg
    same 'cleared and restored' '0 ' "$? $(cat said)"
    shown 'cleared and restored' full.cfg
    restore other.cfg
    options='--fault 9#1=fail'
    restore --clear none.cfg
    same 'a bucket that stays: status' 1 $?
    same 'a bucket that stays' 'kxqos-restore: while clearing: status 255: bucket 1 delete
kxqos-restore: while clearing: something is still configured: configuration show' "$(cat said)"
    options=''
}

# Runs inside the gateway. Saves two configurations in turn and kills each save a little later than the one before. The
# file is always one of the two, whole; which one is not asked, because the mv of a killed save may still be on its way.
# So the file is opened once, for a copy: it may be the other one when it is opened again.
kill_saves() {
    kxqosctl qos disable && kxqosctl configuration show >disable.cfg
    kxqosctl qos enable && kxqosctl configuration show >enable.cfg
    killed=0
    i=0
    # Every save and what it starts holds this pipe open, so that its end is the end of all of them.
    mkfifo alive
    cat alive &
    reader=$!
    exec 9>alive
    while [ $i -lt "$SAVES" ]; do
        [ $((i % 2)) -eq 0 ] && state=disable || state=enable
        kxqosctl qos $state
        $ASH "$TOOLS/kxqos-save" saved.cfg &
        sleep "0.$(printf %03d $((i * i * 160 / (SAVES * SAVES))))"
        kill -9 $! 2>/dev/null
        wait $!
        [ $? -ne 137 ] || killed=$((killed + 1))
        cat saved.cfg >seen.cfg
        cmp -s seen.cfg disable.cfg || cmp -s seen.cfg enable.cfg || {
            echo "save $i left something else:"
            cat seen.cfg
            return 1
        }
        i=$((i + 1))
    done
    kxqosctl qos disable
    $ASH "$TOOLS/kxqos-save" saved.cfg || return
    # The mv of a killed save may still be on its way.
    exec 9>&-
    wait $reader
    kxqosctl qos enable
    $ASH "$TOOLS/kxqos-save" saved.cfg && cmp saved.cfg enable.cfg || return
    echo "$killed of $SAVES saves were killed before their end"
    [ $killed -gt 0 ]
}

killed_while_saving() {
    restore full.cfg
    cp full.cfg saved.cfg
    export ASH TOOLS SAVES
    inside sh "$here/save_restore_test.sh" --inside "$work" 2>&1 | grep -v Killed >killing
    same 'killed' 1 "$(grep -c '^[1-9][0-9]* of [0-9]* saves were killed before their end$' killing)"
    cat killing
}

if [ "${1-}" = --inside ]; then
    cd "$2" || exit
    kill_saves
    exit
fi
[ $# -gt 0 ] || set -- saved_rebooted_restored names_come_back save_refuses with_another_tool a_link_is_followed \
    restore_names_what_fails nothing_is_evaluated check_finds clear_empties killed_while_saving
for test in "$@"; do
    before=$failures
    options=''
    rm -rf ./*
    full_configuration
    reboot_gateway
    $test
    [ $failures -eq $before ] && echo "pass $test" || echo "FAIL $test"
done
[ $failures -eq 0 ]
