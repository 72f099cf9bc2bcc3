#!/usr/bin/env bash
# Compiles every source that is built for macOS, in syntax-only mode with warnings as errors,
# against the stand-in headers of tests/fixtures/macos/sdk and GNUstep's headers. Exits non-zero when any
# file does not compile. docs/architecture.md ("The macOS check") says what it can and cannot catch.
#   scripts/check-macos.sh [--core] [ROOT]
#     --core  also compile every portable source with clang (slow; the test command leaves it out)
#     ROOT    the source tree to check (default: this checkout)
set -euo pipefail

with_core=false
if [ "${1:-}" = --core ]; then
    with_core=true
    shift
fi
root="$(cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}" && pwd)"
cd "$root"

# The sources built for macOS, found by rule so that new and moved files are covered: every file
# of a macOS or POSIX folder, the sources of app/ and hook/ (built for every system), the
# privileged helper of helper/ (built only for macOS), every other file that names an Apple
# platform guard, and the stand-ins themselves. A file outside the Linux folders that builds only
# on Linux says so with a guard on __linux__ and is left out.
macos_sources() {
    {
        find src -type f \( -path '*/macos/*' -o -path '*/posix/*' \) \
            \( -name '*.cpp' -o -name '*.mm' -o -name '*.h' \)
        find src/app src/hook -maxdepth 1 -type f -name '*.cpp' 2>/dev/null
        find src/helper -type f \( -name '*.cpp' -o -name '*.mm' -o -name '*.h' \) 2>/dev/null
        grep -rlE --include='*.cpp' --include='*.mm' --include='*.h' '__APPLE__|__MACH__|TARGET_OS_' src
        if $with_core; then find src -type f -name '*.cpp'; fi
        find tests/fixtures/macos/sdk -type f -name '*.h'
    } | grep -v '/linux/' | sort -u | while read -r file; do
        grep -qE '^#\s*(if\s+!\s*defined\s*\(?\s*__linux__|ifndef\s+__linux__)' "$file" || echo "$file"
    done
}

# macOS's compiler defines __APPLE__ and __MACH__ and none of Linux's names. Without Apple's SDK
# clang has no C library for a Darwin target, so the host's C and C++ libraries stand in for
# Apple's and the macOS names are set by hand.
platform_flags=(-D__APPLE__=1 -D__MACH__=1 -U__linux__ -U__linux -Ulinux -U__gnu_linux__
    -U__unix__ -U__unix -Uunix)
# CMake gives the application and the helper their version, a string literal; any version does
# here (the backslashes keep its quotes through the response files below).
common_flags=(-std=c++20 -fblocks -Wall -Wextra -Wpedantic -Werror
    -Wno-missing-field-initializers "${platform_flags[@]}" '-DVIGILMOTH_VERSION=\"0.0.0\"' -Isrc
    -isystem tests/fixtures/macos/sdk -isystem tests/fixtures/macos/linux-only)

# GNUstep's own defines and header folders, and GCC's Objective-C runtime headers, which clang
# does not look for by itself; the runtime folder is reached through a link of its own so that
# GCC's other headers stay out of clang's way.
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
objc_flags=(-fobjc-runtime=gcc -fobjc-exceptions)
for flag in $(gnustep-config --objc-flags); do
    case "$flag" in
    -D* | -fconstant-string-class=*) objc_flags+=("$flag") ;;
    -I.) ;;
    -I*) [ -d "${flag#-I}" ] && objc_flags+=(-isystem "${flag#-I}") ;;
    esac
done
mkdir -p "$scratch/runtime"
ln -s "$(gcc -print-file-name=include)/objc" "$scratch/runtime/objc"
objc_flags+=(-isystem "$scratch/runtime")

# CMakeLists.txt precompiles a few headers for every source; they are included here the same way,
# and precompiled once for the C++ sources, which halves the time a source with JSON takes.
printf '%s\n' "${common_flags[@]}" >"$scratch/c++.rsp"
printf '%s\n' "${common_flags[@]}" "${objc_flags[@]}" >"$scratch/objc.rsp"
precompiled="$(sed -n 's/^target_precompile_headers(vigilmoth_core PUBLIC \(.*\))$/\1/p' CMakeLists.txt)"
if [ -n "$precompiled" ]; then
    for header in $precompiled; do echo "#include $header"; done >"$scratch/prefix.h"
    clang++ "@$scratch/c++.rsp" -x c++-header "$scratch/prefix.h" -o "$scratch/prefix.pch" || exit 1
    echo "-include-pch $scratch/prefix.pch" >>"$scratch/c++.rsp"
    echo "-include $scratch/prefix.h" >>"$scratch/objc.rsp"
fi

# Compiles one file, keeping the compiler's words in the scratch folder when it fails. A header is
# compiled through a one-line source that includes it, as its users include it; it is
# Objective-C++ when it holds Objective-C.
check_one() {
    local file="$1" flags="$scratch/c++.rsp" language=c++ include
    case "$file" in
    *.mm) flags="$scratch/objc.rsp" language=objective-c++ ;;
    *.h)
        if grep -qE '^\s*(#import|@interface|@protocol|@class)' "$file"; then
            flags="$scratch/objc.rsp" language=objective-c++
        fi
        ;;
    esac
    case "$file" in
    tests/fixtures/macos/sdk/*) include="#include <${file#tests/fixtures/macos/sdk/}>" ;;
    src/*.h) include="#include \"${file#src/}\"" ;;
    esac
    local log="$scratch/${file//\//_}.log"
    if [ -n "${include:-}" ]; then
        echo "$include" | clang++ -fsyntax-only "@$flags" -x "$language" - >"$log" 2>&1
    else
        clang++ -fsyntax-only "@$flags" -x "$language" "$file" >"$log" 2>&1
    fi
}

mapfile -t sources < <(macos_sources)
if [ "${#sources[@]}" -eq 0 ]; then
    echo "macOS check: no macOS sources found under $root/src" >&2
    exit 1
fi

export -f check_one
export scratch
# The quoted script runs in the child shell, where check_one and $scratch are exported to.
# shellcheck disable=SC2016
printf '%s\0' "${sources[@]}" |
    xargs -0 -P "$(getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2)" -I{} \
        bash -c 'check_one "$1" || echo "$1" >>"$scratch/failed"' _ {}

if [ -s "$scratch/failed" ]; then
    while read -r file; do cat "$scratch/${file//\//_}.log" >&2; done <"$scratch/failed"
    echo "macOS check: $(wc -l <"$scratch/failed") of ${#sources[@]} files do not compile:" >&2
    sed 's/^/  /' "$scratch/failed" >&2
    exit 1
fi
echo "macOS check: all ${#sources[@]} files compile"
