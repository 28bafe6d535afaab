#!/bin/sh
# A stand-in for the base system's functions for /etc/config, as an init script sees them: values pass through eval into
# variables, as they are.
# shellcheck shell=dash

# config_load PACKAGE
config_load() {
    config_sections=''
    eval "$(uci words "$1")"
}

# What "uci words" prints calls these.
section_begins() {
    config_section=$2
    config_sections="$config_sections $2"
    eval "config_type_$2=\$1"
}

option_is() {
    eval "config_${config_section}_$1=\$2"
}

# The option of a list's name has all its values, one blank between two.
list_has() {
    local count=0 whole=''
    eval "count=\${config_${config_section}_$1_count-0} whole=\${config_${config_section}_$1-}"
    eval "config_${config_section}_$1_$count=\$2"
    eval "config_${config_section}_$1_count=$((count + 1))"
    option_is "$1" "${whole:+$whole }$2"
}

# config_foreach FUNCTION TYPE
config_foreach() {
    local section type
    for section in $config_sections; do
        eval "type=\$config_type_$section"
        [ "$type" != "$2" ] || "$1" "$section"
    done
}

# config_get VARIABLE SECTION OPTION [DEFAULT]
config_get() {
    eval "$1=\${config_${2}_${3}:-\${4-}}"
}

# config_get_bool VARIABLE SECTION OPTION DEFAULT
config_get_bool() {
    local read
    config_get read "$2" "$3"
    case $read in
    1 | on | true | yes | enabled) read=1 ;;
    0 | off | false | no | disabled) read=0 ;;
    *) read=$4 ;;
    esac
    eval "$1=$read"
}

# config_list_foreach SECTION OPTION FUNCTION
config_list_foreach() {
    local count=0 at=0 item
    eval "count=\${config_${1}_${2}_count-0}"
    while [ "$at" -lt "$count" ]; do
        eval "item=\$config_${1}_${2}_$at"
        "$3" "$item"
        at=$((at + 1))
    done
}
