# For the scripts that source this, before they go to another folder: their help is the comment that they begin with, and
# what they do not know they refuse, before anything is done.
# shellcheck shell=sh

# offer_help "$@": prints the help and ends, when it is asked for.
offer_help() {
    [ "${1-}" = --help ] || return 0
    sed -n -e 1d -e '/^#/!q' -e '/^# shellcheck /d' -e 's/^# \{0,1\}//p' "$0"
    exit 0
}

# refuse WHY
refuse() {
    echo "${0##*/}: $1 (--help tells more)" >&2
    exit 2
}

# take_words LEAST MOST "$@": for a script without options.
take_words() {
    least_words=$1
    most_words=$2
    shift 2
    offer_help "$@"
    case ${1-} in
    -*) refuse "unknown option: $1" ;;
    esac
    [ $# -ge "$least_words" ] || refuse 'a word is missing'
    [ $# -gt "$most_words" ] || return 0
    shift "$most_words"
    refuse "unknown word: $1"
}

# take_build FOLDER: for a script that reads what a build left there.
take_build() {
    [ -f "$1/compile_commands.json" ] || refuse "$1 is not the folder of a build"
}

# take_tree FOLDER: for a script that reads the whole tree.
take_tree() {
    [ -f "$1/CMakeLists.txt" ] || refuse "not the tree: $1"
}

# need PURPOSES PROGRAM...: PURPOSES are words of scripts/setup, which installs the programs.
need() {
    purposes=$1
    shift
    for program in "$@"; do
        command -v "$program" >/dev/null || refuse "$program is not installed: scripts/setup $purposes"
    done
}
