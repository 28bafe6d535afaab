# shellcheck shell=bash
# Completion of kxqos-config for bash: verbs, options and the names of files. Needs nothing but bash itself.
#
# _kxqos_config_words works in zsh too, where _kxqos-config is the name of the whole completion.

# What "kxqos-config --help" prints; a test compares them.
_kxqos_config_usage='show [--json]
save [--lossy] [--wait SECONDS] [FILE]
check [FILE]
diff [--wait SECONDS] [FILE]
apply [--keep-going | --confirm SECONDS] [--wait SECONDS] [FILE]
run [--keep-going] [--wait SECONDS] [FILE]
--help | --version'

# The options of a choice of the usage, or FILE; nothing when one of them is there already.
_kxqos_config_choice() {
    local choice="$1 " given=$2 word='' offered=''
    while [ -n "$choice" ]; do
        word=${choice%% *}
        choice=${choice#* }
        case $given in *" $word "*) return ;; esac
        case $word in --* | FILE) offered="$offered$word " ;; esac
    done
    printf '%s\n' "${offered% }" | tr ' ' '\n'
}

# Prints what may stand in place of the last of these words, which follow "kxqos-config"; FILE is the name of a file.
_kxqos_config_words() {
    local verb='' given=' ' value=no line='' rest=''
    while [ $# -gt 1 ]; do
        case $value:$1 in
        yes:*) value=no ;;
        no:--*)
            given="$given${1%%=*} "
            case $_kxqos_config_usage in *"$1 SECONDS"*) value=yes ;; esac
            ;;
        *) [ -n "$verb" ] && given="${given}FILE " || verb=$1 ;;
        esac
        shift
    done
    [ $value = no ] || return # a number
    while read -r line; do
        case $verb:$line in
        :--*) [ "$given" != ' ' ] || _kxqos_config_choice "$line" "$given" ;;
        :*) echo "${line%% *}" ;;
        "$verb:$verb "*)
            rest=$line
            while [ "$rest" != "${rest#*\[}" ]; do
                rest=${rest#*\[}
                _kxqos_config_choice "${rest%%\]*}" "$given"
            done
            ;;
        esac
    done <<<"$_kxqos_config_usage"
}

_kxqos_config_complete() {
    local word name words=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        [ "$word" = = ] || words+=("$word") # bash has divided --wait=5
    done
    COMPREPLY=()
    while read -r name; do
        if [ "$name" = FILE ] && [[ $2 != -* ]]; then
            compopt -o filenames 2>/dev/null # there is none when nothing is being completed
            mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$2")
        elif [[ $name == "$2"* ]] && { [[ $name != -* ]] || [ -n "$2" ]; }; then
            COMPREPLY+=("$name")
        fi
    done < <(_kxqos_config_words "${words[@]}")
}

[ -z "${BASH_VERSION-}" ] || complete -F _kxqos_config_complete kxqos-config
