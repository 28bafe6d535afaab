# What the stand-in for uci does with a file of /etc/config, given on standard input. The words of the command are in
# WHAT: SECTION[.OPTION][=VALUE].

function quoted(text,    parts, count, i, whole) {
    count = split(text, parts, "\047")
    whole = parts[1]
    for (i = 2; i <= count; i++)
        whole = whole "\047\\\047\047" parts[i]
    return "\047" whole "\047"
}

# Entries are numbered as they stand in the file. A section is one, with the kind "config".
function add(how, what, given) {
    kind[++entries] = how
    key[entries] = what
    value[entries] = given
    if (how == "config" && given == "")
        value[entries] = sprintf("cfg%02x", entries)
}

function take_statement() {
    if (words > 0)
        add(word[1], word[2], word[3])
    words = 0
    delete word
}

# Values may run over several lines within quotes.
function parse(text,    i, c, inside, open) {
    for (i = 1; i <= length(text); i++) {
        c = substr(text, i, 1)
        if (inside != "\047" && c == "\\") {
            i++
            c = substr(text, i, 1)
        } else if (inside != "" && c == inside) {
            inside = ""
            continue
        } else if (inside == "" && (c == "\047" || c == "\"")) {
            inside = c
            if (!open)
                word[++words] = ""
            open = 1
            continue
        } else if (inside == "" && (c == " " || c == "\t" || c == "\n")) {
            open = 0
            if (c == "\n")
                take_statement()
            continue
        } else if (inside == "" && !open && c == "#") {
            while (i < length(text) && substr(text, i + 1, 1) != "\n")
                i++
            continue
        }
        if (!open)
            word[++words] = ""
        open = 1
        word[words] = word[words] c
    }
    take_statement()
}

# The entry of a section, or 0.
function find_section(name,    i) {
    for (i = 1; i <= entries; i++)
        if (kind[i] == "config" && value[i] == name)
            return i
    return 0
}

# The first entry with this option behind the section's, or 0.
function find_option(at, name,    i) {
    for (i = at + 1; i <= entries && kind[i] != "config"; i++)
        if (key[i] == name && kind[i] != "")
            return i
    return 0
}

function insert_behind(at, how, what, given,    i) {
    while (at < entries && kind[at + 1] != "config")
        at++
    for (i = entries++; i > at; i--) {
        kind[i + 1] = kind[i]
        key[i + 1] = key[i]
        value[i + 1] = value[i]
    }
    kind[at + 1] = how
    key[at + 1] = what
    value[at + 1] = given
}

function set_option(section, option, given,    at, old) {
    at = find_section(section)
    if (option == "") {
        if (at)
            key[at] = given
        else
            add("config", given, section)
        return
    }
    old = find_option(at, option)
    if (action == "set" && old)
        value[old] = given
    else
        insert_behind(at, action == "set" ? "option" : "list", option, given)
}

# An entry of no kind is not written.
function delete_option(section, option,    at, i) {
    at = find_section(section)
    if (option == "")
        kind[at] = ""
    for (i = at + 1; i <= entries && kind[i] != "config"; i++)
        if (option == "" || key[i] == option)
            kind[i] = ""
}

function print_file(    i) {
    for (i = 1; i <= entries; i++)
        if (kind[i] != "")
            print (kind[i] == "config" ? "\n" : "\t") kind[i] " " key[i] " " quoted(value[i])
}

function print_words(    i) {
    for (i = 1; i <= entries; i++) {
        if (kind[i] == "config")
            print "section_begins " quoted(key[i]) " " quoted(value[i])
        else
            print (kind[i] == "list" ? "list_has " : "option_is ") quoted(key[i]) " " quoted(value[i])
    }
}

{
    text = text $0 "\n"
}

END {
    parse(text)
    what = ENVIRON["WHAT"]
    given = what
    equals = index(what, "=")
    if (equals) {
        given = substr(what, equals + 1)
        what = substr(what, 1, equals - 1)
    }
    dot = index(what, ".")
    option = dot ? substr(what, dot + 1) : ""
    if (dot)
        what = substr(what, 1, dot - 1)
    if (action == "words") {
        print_words()
        exit
    } else if (action == "get") {
        at = find_section(what)
        if (at && option != "")
            at = find_option(at, option)
        if (!at)
            exit 1
        print option == "" ? key[at] : value[at]
        exit
    } else if (action == "delete")
        delete_option(what, option)
    else
        set_option(what, option, given)
    print_file()
}
