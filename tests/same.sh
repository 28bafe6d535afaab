# For the shell tests that source this: compares, counts what differs, and goes on.
# shellcheck shell=sh disable=SC2034 # whoever sources this looks at the count
failures=0

# same WHAT WANTED GOT
same() {
    [ "$2" = "$3" ] && return
    printf '%s:\n  wanted "%s"\n  got    "%s"\n' "$1" "$2" "$3"
    failures=$((failures + 1))
}
