# shellcheck shell=bash
# Completion of kxqosctl for bash: commands, sub-commands, match and action keywords in the places where they are valid,
# profiles, and the names of network interfaces. Needs nothing but bash itself.
#
# Every function but the last prints what may stand in place of its last word; they work in zsh too, where _kxqosctl is
# the name of the whole completion. The words are typed here, because the file is installed as it is; a test compares
# them with the tool's tables.

_kxqosctl_interfaces() {
    local interfaces
    interfaces=(/sys/class/net/*)
    printf '%s\n' "${interfaces[@]##*/}"
}

# The words after "action".
_kxqosctl_actions() {
    while [ $# -gt 1 ]; do
        case $1 in
        queue | 8021p)
            [ $# -eq 2 ] && echo 0 1 2 3 4 5 6 7
            shift
            ;;
        dscp | rate-bucket | counter) shift ;;
        esac
        [ $# -le 1 ] && return # the last word is a value
        shift
    done
    # The debug flag cannot be combined with what is known only on the way out.
    echo queue rate-bucket 8021p dscp counter bypass-kxnat sw-fwd
    [ "$_kxqosctl_egress" = yes ] || echo dbgon
}

# The words after "match": pairs of a keyword and a value, then "action".
_kxqosctl_matches() {
    local first=yes
    while [ $# -gt 2 ]; do
        if [ "$1" = action ]; then
            _kxqosctl_actions "${@:2}"
            return
        fi
        case $1 in
        ou* | wan | edmac | esip | esip6 | esport) _kxqosctl_egress=yes ;;
        esac
        first=no
        shift 2
    done
    if [ $# -eq 2 ]; then
        case $1 in
        action) _kxqosctl_actions "$2" ;;
        in* | ou* | wan) _kxqosctl_interfaces ;;
        esac
        return
    fi
    echo dmac smac ethertype tpid vid pri ivid ipri dip sip dip6 sip6 tos dscp pre fl tc protocol sport dport rxports \
        txports indev invirtdev outdev wan edmac esip esip6 esport protocols
    [ $first = yes ] || echo action
}

# The words after "rule".
_kxqosctl_rule() {
    shift # the number
    case $#:${1-} in
    0:*) ;;
    1:*) echo profile match action delete show ;;
    2:pro*) echo qos osgiflow lanhost bridgedata hardacc ;;
    3:pro*) echo match action delete show ;;
    *)
        case $1 in pro*) shift 2 ;; esac
        case $1 in
        ma*) _kxqosctl_matches "${@:2}" ;;
        ac*) _kxqosctl_actions "${@:2}" ;;
        esac
        ;;
    esac
}

_kxqosctl_limit() {
    case $#:${2-} in
    1:*) echo up down show ;;
    2:*) echo mode add delete ;;
    3:mo*) echo ip vlan port disable ;;
    3:ad* | 3:de*) echo ip ip6 vlan port ;;
    5:ad* | 5:de*) echo rate ;;
    esac
}

_kxqosctl_test() {
    case $#:$1 in
    1:*) echo osgi host wan api ;;
    2:wa*) _kxqosctl_interfaces ;;
    3:os*) echo counter ;;
    3:ho*) echo add del counter ;;
    3:wa*) echo counter rate ;;
    5:os*) echo clear show ;;
    5:ho*) case $3 in co*) echo clear show ;; esac ;;
    esac
}

# The words after "kxqosctl".
_kxqosctl_words() {
    local _kxqosctl_egress=no command=$1
    shift
    case $#:$command in
    0:*)
        echo rule bucket debug configuration qos limit counter queue puredscpremark fine-classifi refresh reset test
        echo '?'
        ;;
    *:ru*) _kxqosctl_rule "$@" ;;
    1:bu*) echo show ;;
    2:bu*) [ "$1" = show ] || echo rate show delete ;;
    1:de*) echo info warnning error packet pre-match match action fineclassifi ratelimit all show ;;
    2:de*) case $1 in sh*) ;; *) echo on off ;; esac ;;
    1:conf* | 1:que*) echo show ;;
    1:qo* | 1:pu* | 1:fi* | 1:ref*) echo enable disable ;;
    *:li*) _kxqosctl_limit "$@" ;;
    1:coun*) echo show clear ;;
    2:coun*) case $1 in [0-9]*) echo show clear enable disable ;; esac ;;
    1:res*) echo profile ;;
    2:res*) echo qos osgiflow lanhost bridgedata hardacc ;;
    *:te*) _kxqosctl_test "$@" ;;
    esac
}

_kxqosctl_complete() {
    local line=${COMP_LINE:0:COMP_POINT} words word mark='' names name
    # Not COMP_WORDS, which are also divided at the colons of an address.
    read -ra words <<<"$line"
    [[ $line == *[[:blank:]] ]] && words+=('')
    word=${words[${#words[@]} - 1]}
    if [[ $word == !* ]]; then # turns a match round
        mark=!
        word=${word#!}
    fi
    COMPREPLY=()
    # Not compgen -W, which evaluates the words: an interface may have any name.
    while read -ra names; do
        for name in "${names[@]}"; do
            [[ $name == "$word"* ]] || continue
            printf -v name %q "$name"
            COMPREPLY+=("$mark$name")
        done
    done < <(_kxqosctl_words "${words[@]:1}")
}

[ -z "${BASH_VERSION-}" ] || complete -F _kxqosctl_complete kxqosctl
