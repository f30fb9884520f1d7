# Converts the headers' plain comments to documentation for doxygen. The comment at the top
# documents the file, a comment before declarations documents each declaration up to the next
# blank line, and a comment after a member documents the member. Lines indented by four
# spaces or more, such as examples, are kept as written.

function plain(text) {
    gsub(/[\\@#<>%&]/, "\\\\&", text)
    return text
}

# Returns the collected block as documentation that begins with a command.
function documentation(command,    i, text, verbatim, result) {
    result = "/**"
    for (i = 1; i <= count; ++i) {
        text = block[i]
        sub(/^ *\/\/ ?/, "", text)
        if ((text ~ /^    /) != verbatim && text != "") {
            verbatim = !verbatim
            result = result "\n" (verbatim ? "@verbatim" : "@endverbatim")
        }
        if (!verbatim) {
            text = plain(text)
            sub(/^[0-9]+\. /, "-# ", text) # an item of a numbered list
        }
        # A star that begins a line would count as a frame.
        result = result (text ~ /^\*/ ? " " : "\n") command text
        command = ""
    }
    return result (verbatim ? "\n@endverbatim" : "") "\n*/"
}

function indentation(line) {
    match(line, /^ */)
    return RLENGTH
}

# A comment after a member continues on lines that begin in the same column.
behind && index($0, "//") == behind && /^ *\/\// {
    print substr($0, 1, behind - 1) "///< " plain(substr($0, behind + 3))
    next
}

{ behind = 0 }

/^ *\/\// {
    block[++count] = $0
    next
}

/^ *$/ {
    if (count && FNR == count + 1)
        print documentation("@file\n@brief ")
    count = 0 # else of no declaration
    common = ""
}

count {
    common = documentation("")
    depth = indentation($0)
    count = 0
    complete = 1
}

{
    if (common && complete && indentation($0) == depth && $0 !~ /^ *[}{#]/)
        print common
    complete = $0 ~ /[;}]( *\/\/.*)?$/
    if (match($0, /[^ ] *\/\/ /)) {
        behind = RSTART + RLENGTH - 3
        print substr($0, 1, behind - 1) "///< " plain(substr($0, behind + 3))
    } else {
        print
    }
}
