# Makes the page nimbl.3 of the public headers: each becomes a section, each comment the text of the
# declarations below it. Files whose names do not end in ".h" are copied as they stand.

function escape(text)
{
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    gsub(/~/, "\\(ti", text)
    gsub(/\^/, "\\(ha", text)
    gsub(/'/, "\\(aq", text)
    return text
}

# A line of prose: names between backquotes in italics, hyphens only within words.
function prose(text)
{
    sub(/^ +/, "", text)
    text = escape(text)
    while (match(text, /[A-Za-z]\\-[A-Za-z]/))
        text = substr(text, 1, RSTART) "-" substr(text, RSTART + 3)
    gsub(/`[^`]*`/, "\\fI&\\fP", text)
    gsub(/`/, "", text)
    if (text ~ /^\./) text = "\\&" text
    return text
}

# A heading begins a paragraph of its own.
function startParagraph()
{
    if (!fresh) print ".PP"
    fresh = 0
}

function printComment(    i, words, paragraph)
{
    for (i = 1; i <= commentLines; ++i) {
        if (comment[i] == "") {
            if (i < commentLines && comment[i + 1] !~ /^@/) paragraph = 1
        } else if (comment[i] ~ /^@param/) {
            split(comment[i], words, " +")
            print ".TP 4\n\\fI" escape(words[2]) "\\fP"
            fresh = 0
            sub(/^@param +[^ ]+ +/, "", comment[i])
            print prose(comment[i])
        } else {
            if (sub(/^@return +/, "Returns ", comment[i]) || paragraph) startParagraph()
            print prose(comment[i])
            fresh = paragraph = 0
        }
    }
    commentLines = 0
}

# The declarations gathered since the last comment or blank line, with their comment.
function flush(    i, isRecord)
{
    if (commentLines && comment[1] ~ /^Library-private/) declarations = commentLines = 0
    if (!declarations) return
    startParagraph()
    print ".nf"
    for (i = 1; i <= declarations; ++i) {
        print "\\fB" escape(declaration[i]) "\\fP"
        if (declaration[i] ~ /^(typedef )?(struct|enum)/) isRecord = 1
    }
    print ".fi"
    if (commentLines) {
        print ".RS 4"
        fresh = 1
        printComment()
        print ".RE"
    }
    declarations = 0
}

function declare(line)
{
    declaration[++declarations] = line
}

# A comment that no declaration follows: the header's own, or a heading of what comes.
function dropComment()
{
    if (commentLines && comment[1] !~ /^Library-private/) {
        startParagraph()
        printComment()
    }
    commentLines = 0
}

FNR == 1 {
    flush()
    commentLines = 0
    copying = FILENAME !~ /\.h$/
    if (!copying) {
        match(FILENAME, /(drivers\/)?[a-z0-9]+\/[A-Za-z0-9]+\.h$/)
        print ".SS " substr(FILENAME, RSTART)
        fresh = 1
    }
}
copying { print; next }

/^#ifdef __cplusplus/ { skipping = 1 }
skipping { if (/^#endif/) skipping = 0; next }
/^static inline/ { inBody = 1; commentLines = 0 }
inBody { if (/^}/) inBody = 0; next }

/^\/\*/ && !inRecord {
    flush()
    dropComment()
    inComment = 1
    sub(/^\/\*\*? ?/, "")
}
inComment {
    last = sub(/ *\*\/$/, "")
    sub(/^ \* ?/, "")
    if ($0 == " ") $0 = ""
    if (!($0 == "" && (last || !commentLines))) comment[++commentLines] = $0
    if (last) inComment = 0
    next
}

/^#/ { flush(); dropComment(); next }
/^$/ {
    if (inRecord) { declare(""); next }
    flush()
    dropComment()
    next
}

# A statement may go over several lines; one of a private name is left out as a whole.
{
    if (!inStatement) isPrivate = $0 ~ /[ *]nbp[A-Z]/
    if (/\{$/) inRecord = 1
    if (/^}/) inRecord = 0
    inStatement = inRecord || $0 !~ /;( *\/\*.*)?$/
    if (!isPrivate) declare($0)
    else if (!inStatement && !declarations) privateOnly = 1
    if (!inStatement && privateOnly) { if (!declarations) commentLines = 0; privateOnly = 0 }
}
