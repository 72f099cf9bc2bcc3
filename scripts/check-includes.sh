#!/usr/bin/env bash
# Lists the include edges between the folders of src/ and fails on any the layers forbid, on a
# folder that includes a platform header where only portable code may live, and on a source
# file without a header of its name.
#   scripts/check-includes.sh          check, and print each folder's edges
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Who may include whom, top to bottom as docs/architecture.md draws the layers. A folder may
# include itself and the folders after its colon, nothing else; the order makes loops
# impossible. display/ is planned and listed already.
layers='
app:            *
app/linux:      *
app/macos:      *
app/posix:      *
hook:           platform/linux platform/macos platform/posix hooks/runtime hooks evidence catalog base
helper:         platform/macos
lab:            state ui notices decision power display hooks/install hooks/json hooks evidence catalog base
state:          ui notices decision power display hooks/install hooks/json hooks evidence catalog base
ui:             notices decision power display hooks/install hooks/json hooks evidence catalog base
notices:        decision power display evidence catalog base
decision:       power display evidence catalog base
power:          evidence catalog base
display:        evidence catalog base
hooks/install:  hooks/json hooks evidence catalog base
hooks/runtime:  hooks evidence catalog base
hooks/json:     base
hooks:          evidence catalog base
evidence:       catalog base
catalog:        base
base:
platform/linux: platform/posix notices power display evidence catalog base
platform/macos: platform/posix state notices power display evidence catalog base
platform/posix: notices power display evidence catalog base
'

# Folders that may include system headers; everywhere else only the standard library's and
# nlohmann/json.
platform_folders=' app/linux app/macos app/posix hook helper platform/linux platform/macos platform/posix '

failed=0
sources="$(git ls-files -co --exclude-standard -- 'src/*.h' 'src/*.cpp' 'src/*.mm')"

awk -v layers="$layers" -v platforms="$platform_folders" '
# The folder a path names: the first part, or the first two where src/ has sub-folders.
function folder(path,    parts, n) {
    n = split(path, parts, "/")
    if (n >= 3 && (parts[1] == "app" || parts[1] == "platform" || parts[1] == "hooks"))
        return parts[1] "/" parts[2]
    return parts[1]
}
BEGIN {
    n = split(layers, rows, "\n")
    for (i = 1; i <= n; i++) {
        if (rows[i] !~ /:/) continue
        split(rows[i], halves, ":")
        from = halves[1]
        known[from] = 1
        m = split(halves[2], targets, " ")
        for (j = 1; j <= m; j++) allowed[from, targets[j]] = 1
    }
    failed = 0
}
FNR == 1 { file = FILENAME; sub(/^src\//, "", file); source = folder(file) }
/^[ \t]*#[ \t]*(include|import)[ \t]*</ {
    if (index(platforms, " " source " ")) next
    match($0, /<[^>]*>/)
    header = substr($0, RSTART + 1, RLENGTH - 2)
    if (header ~ /[.\/]/ && header !~ /^nlohmann\//) {
        printf "%s:%d: portable code includes <%s>\n", FILENAME, FNR, header > "/dev/stderr"
        failed = 1
    }
    next
}
/^[ \t]*#[ \t]*(include|import)[ \t]*"/ {
    match($0, /"[^"]*"/)
    target = folder(substr($0, RSTART + 1, RLENGTH - 2))
    if (target == source) next
    edges[source " -> " target]++
    if (!(source in known)) {
        printf "%s:%d: the folder %s has no row in the layers\n", FILENAME, FNR, source > "/dev/stderr"
        failed = 1
    } else if (!allowed[source, "*"] && !allowed[source, target]) {
        printf "%s:%d: %s may not include %s\n", FILENAME, FNR, source, target > "/dev/stderr"
        failed = 1
    }
}
END {
    for (edge in edges) {
        split(edge, ends, " -> ")
        list[ends[1]] = list[ends[1]] " " ends[2]
    }
    # Each folder'"'"'s targets in alphabetical order, so that the listing reads the same every run.
    for (from in list) {
        n = split(list[from], names, " ")
        for (i = 2; i <= n; i++)
            for (j = i; j > 1 && names[j - 1] > names[j]; j--) {
                swap = names[j]; names[j] = names[j - 1]; names[j - 1] = swap
            }
        list[from] = ""
        for (i = 1; i <= n; i++) list[from] = list[from] " " names[i]
    }
    for (from in list) printf "%-15s ->%s\n", from, list[from] | "sort"
    close("sort")
    exit failed
}
' $sources || failed=1

# Every source file has a header of its name beside it, or one folder up for the shells that
# implement app/Platform.h; main.cpp and main.mm are entry points.
for source in $(printf '%s\n' "$sources" | grep -E '\.(cpp|mm)$'); do
    case "$(basename "$source")" in main.cpp | main.mm) continue ;; esac
    name="$(basename "${source%.*}")"
    folder="$(dirname "$source")"
    [ -f "$folder/$name.h" ] && continue
    case "$folder" in src/app/*) [ -f "$(dirname "$folder")/$name.h" ] && continue ;; esac
    echo "$source: no header $name.h" >&2
    failed=1
done
[ "$failed" -eq 0 ] || { echo "check-includes: the include rules are broken above." >&2; exit 1; }
