#!/usr/bin/env bash
# Shows that the macOS check (scripts/check-macos.sh) catches real faults: in a scratch copy of the
# tree it seeds one fault at a time and expects the check to fail with the compiler's word for it.
# A clean copy must pass first. Slow (one full check per fault), so it is run by hand:
#   scripts/check-macos-faults.sh
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# The tree has no power assertion yet, so the copy gets one, written correctly, for the IOKit fault.
assertion_source='#include <IOKit/pwr_mgt/IOPMLib.h>

bool holdAwake(IOPMAssertionID& assertion) {
    return IOPMAssertionCreateWithName(kIOPMAssertionTypePreventUserIdleSystemSleep,
                                       kIOPMAssertionLevelOn, CFSTR("vigilmoth"),
                                       &assertion) == kIOReturnSuccess;
}'

fresh_copy() {
    rm -rf "$work/tree"
    mkdir -p "$work/tree/tests/fixtures" "$work/tree/scripts"
    cp -a "$root/src" "$root/CMakeLists.txt" "$work/tree/"
    cp -a "$root/tests/fixtures/macos" "$work/tree/tests/fixtures/"
    cp -a "$root/scripts/check-macos.sh" "$work/tree/scripts/"
    printf '%s\n' "$assertion_source" >"$work/tree/src/platform/macos/SeededPowerAssertion.cpp"
}

# Each fault: a name, the file it goes into, a Perl substitution that seeds it, and a pattern the
# check's output must hold, so that the check is seen failing for this fault and not another.
faults=(
    "misspelt CoreFoundation call|src/platform/macos/CFPreferencesKeyValueStore.cpp|s/CFStringGetLength\(/CFStringGetLenght(/|CFStringGetLenght"
    "wrong argument type to an IOKit function|src/platform/macos/SeededPowerAssertion.cpp|s/CFSTR\(\"vigilmoth\"\)/\"vigilmoth\"/|IOPMAssertionCreateWithName"
    "method missing from a C++ interface a macOS class implements|src/catalog/ProcessCensus.h|s/(virtual std::optional<ProcessInfoRow> row\(int32_t pid\) = 0;)/\$1\n    virtual bool alive(int32_t pid) = 0;/|abstract class"
    "misspelt AppKit receiver type|src/app/macos/MacPlatform.mm|s/\[NSApplication sharedApplication\]/[NSAplication sharedApplication]/|NSAplication"
    "Objective-C++ syntax error|src/app/macos/MacPlatform.mm|s/\[application run\];/[application run;/|expected"
)

passed=0
failed=0
fresh_copy
if "$work/tree/scripts/check-macos.sh" "$work/tree" >"$work/clean.log" 2>&1; then
    echo "clean copy: compiles"
else
    cat "$work/clean.log"
    echo "clean copy: does not compile, so no fault can be told apart" >&2
    exit 1
fi

for fault in "${faults[@]}"; do
    IFS='|' read -r name file substitution expected <<<"$fault"
    fresh_copy
    perl -0pi -e "$substitution" "$work/tree/$file"
    if cmp -s "$root/$file" "$work/tree/$file"; then
        echo "NOT SEEDED: $name ($file did not change)"
        failed=$((failed + 1))
    elif "$work/tree/scripts/check-macos.sh" "$work/tree" >"$work/fault.log" 2>&1; then
        echo "MISSED: $name"
        failed=$((failed + 1))
    elif ! grep -q -- "$expected" "$work/fault.log"; then
        cat "$work/fault.log"
        echo "FAILED FOR ANOTHER REASON: $name (no \"$expected\" in the output)"
        failed=$((failed + 1))
    else
        echo "caught: $name"
        grep -m1 'error:' "$work/fault.log" | sed 's/^/    /'
        passed=$((passed + 1))
    fi
done

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
