# Prints /etc/config/kxqos for the commands on standard input, in the spelling of kxqos-config. refresh is the state of
# the refresh, 1 or 0, unless a command gives it; nothing leaves it out. The status is 1 when a line cannot be said.

function quoted(text,    parts, count, i, whole) {
    count = split(text, parts, "\047")
    whole = parts[1]
    for (i = 2; i <= count; i++)
        whole = whole "\047\\\047\047" parts[i]
    return "\047" whole "\047"
}

function entry(how, name, value) {
    return "\t" how " " name " " quoted(value)
}

function put(how, name, value) {
    out[++written] = entry(how, name, value)
}

function wrong() {
    print "kxqos: line " NR " cannot be said in /etc/config/kxqos: " $0 | "cat >&2"
    failed = 1
}

function section(type, name) {
    if (name in named || name ~ /[^A-Za-z0-9_]/)
        wrong()
    named[name] = 1
    out[++written] = ""
    out[++written] = "config " type " " quoted(name)
}

function state(word) {
    if (word != "enable" && word != "disable")
        wrong()
    return word == "enable"
}

# What stands at a word of a rule and the word behind it.
function pair(i) {
    return $i " " $(i + 1)
}

function rule(    id, profile, i) {
    id = $2
    profile = "qos"
    i = 3
    if ($i == "profile") {
        profile = $(i + 1)
        i += 2
    }
    section("rule", profile "_" id)
    put("option", "id", id)
    put("option", "profile", profile)
    if ($i == "match")
        for (i++; i < NF && $i != "action"; i += 2)
            put("list", "match", pair(i))
    if ($i != "action")
        wrong()
    for (i++; i <= NF; i++) {
        if ($(i + 1) ~ /^[0-9][0-9A-Fa-fx]*$/)
            put("list", "action", pair(i++))
        else
            put("list", "action", $i)
    }
}

function limit() {
    section("limit", "limit_" ++limits)
    put("option", "direction", $2)
    put("option", $4, $5)
    put("option", "rate", $7)
}

# The switches by their keywords, as they are on a gateway that was just switched on.
BEGIN {
    on["qos"] = on["puredscpremark"] = 0
    on["fine-classifi"] = 1
    on["refresh"] = refresh
}

{
    gsub(/\t/, " ")
}

/^ *$/ || /^ *#/ || $0 == "!" {
    next
}

/[[:cntrl:]]/ {
    wrong()
    next
}

$1 == "rule" {
    rule()
    next
}

$1 == "bucket" && $3 == "rate" && NF == 4 {
    section("bucket", "bucket_" $2)
    put("option", "id", $2)
    put("option", "rate", $4)
    next
}

$1 == "counter" && NF == 3 {
    section("counter", "counter_" $2)
    put("option", "id", $2)
    put("option", "enabled", state($3))
    next
}

$1 == "limit" && $2 ~ /^(up|down)$/ && $3 == "mode" && NF == 4 {
    mode[$2] = $4
    next
}

$1 == "limit" && $3 == "add" && $4 ~ /^(ip|ip6|vlan|port)$/ && $6 == "rate" && NF == 7 {
    limit()
    next
}

$1 in on && NF == 2 {
    on[$1] = state($2)
    next
}

$1 == "debug" && $3 == "on" && NF == 3 {
    category[++categories] = $2
    next
}

{
    wrong()
}

END {
    if (failed)
        exit 1
    print "config globals \047globals\047"
    print entry("option", "enabled", 1)
    print entry("option", "qos", on["qos"])
    print entry("option", "pure_dscp_remarking", on["puredscpremark"])
    print entry("option", "fine_classification", on["fine-classifi"])
    if (on["refresh"] != "")
        print entry("option", "refresh", on["refresh"])
    if ("up" in mode)
        print entry("option", "up_mode", mode["up"])
    if ("down" in mode)
        print entry("option", "down_mode", mode["down"])
    for (i = 1; i <= categories; i++)
        print entry("list", "debug", category[i])
    for (i = 1; i <= written; i++)
        print out[i]
}
