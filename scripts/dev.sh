#!/usr/bin/env bash
# One entry point for setting up, building, running and testing vigilmoth.
#   scripts/dev.sh run    install what is missing, build optimised, run the application until
#                         Ctrl-C or its menu's Quit (arguments after "run" go to vigilmoth)
#   scripts/dev.sh test   install what is missing, check formatting and include edges, build under
#                         the sanitizers, run every test
#   scripts/dev.sh bench  install what is missing, build optimised, run the benchmarks
#   scripts/dev.sh check-macos  install what is missing, compile the macOS sources (Linux only)
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$root"

debian_packages=(build-essential cmake ninja-build pkg-config ccache nlohmann-json3-dev libasio-dev
    libsystemd-dev libgtest-dev libgmock-dev libbenchmark-dev clang-format dbus python3-dbusmock
    # The autostart entry's test checks it with desktop-file-validate; the D-Bus tests read the
    # mocks' calls and menus with busctl.
    desktop-file-utils systemd
    # The macOS check: clang, GNUstep's headers with GCC's Objective-C runtime, the blocks runtime.
    clang libgnustep-gui-dev gobjc libblocksruntime-dev)
brew_packages=(cmake ninja pkg-config nlohmann-json asio googletest google-benchmark clang-format)

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

install_debian() {
    local missing=()
    for package in "${debian_packages[@]}"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" \
            || missing+=("$package")
    done
    # The hook script tests load the generated plugins in Node.js; any node on the PATH will do.
    command -v node >/dev/null 2>&1 || missing+=(nodejs)
    if [ "${#missing[@]}" -gt 0 ]; then
        echo "Installing ${missing[*]}"
        as_root apt-get update -qq
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
    fi
}

install_macos() {
    command -v brew >/dev/null 2>&1 || {
        echo "vigilmoth's setup needs Homebrew on macOS; install it from brew.sh and run this again." >&2
        exit 1
    }
    local missing=()
    for package in "${brew_packages[@]}"; do
        brew list --versions "$package" >/dev/null 2>&1 || missing+=("$package")
    done
    if [ "${#missing[@]}" -gt 0 ]; then brew install "${missing[@]}"; fi
}

install_dependencies() {
    case "$(uname -s)" in
    Darwin) install_macos ;;
    Linux)
        local like=""
        if [ -r /etc/os-release ]; then like="$(. /etc/os-release && echo "${ID:-} ${ID_LIKE:-}")"; fi
        case " $like " in
        *" debian "* | *" ubuntu "*) install_debian ;;
        *)
            echo "vigilmoth's setup knows Debian, Ubuntu and macOS with Homebrew, and this system is none of them." >&2
            exit 1
            ;;
        esac
        ;;
    *)
        echo "vigilmoth's setup knows Debian, Ubuntu and macOS with Homebrew, and this system is none of them." >&2
        exit 1
        ;;
    esac
}

jobs() { getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2; }

build() {
    local preset="$1"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$(jobs)"
}

check_format() {
    local files
    files="$(git ls-files -- 'src/*.cpp' 'src/*.h' 'src/*.mm' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'bench/*.h' 2>/dev/null || true)"
    [ -n "$files" ] || return 0
    # shellcheck disable=SC2086
    clang-format --dry-run --Werror $files
}

# On Linux the macOS sources are compiled against stand-in headers; on a Mac the build compiles
# them for real.
check_macos() {
    if [ "$(uname -s)" = Darwin ]; then
        echo "The macOS check is for Linux; on a Mac the build itself compiles the macOS sources."
        return 0
    fi
    "$root/scripts/check-macos.sh"
}

case "${1:-}" in
run)
    install_dependencies
    build release
    # Without logind or a desktop the application still runs: it watches the agents, shows them
    # in the terminal and says why it cannot keep the computer awake.
    exec "$root/build/release/bin/vigilmoth" "${@:2}"
    ;;
test)
    install_dependencies
    check_format
    scripts/check-includes.sh
    check_macos
    build sanitize
    ctest --preset sanitize
    ;;
bench)
    install_dependencies
    build bench
    "$root/build/bench/bench/vigilmoth_bench" "${@:2}"
    ;;
check-macos)
    install_dependencies
    check_macos
    ;;
*)
    echo "usage: scripts/dev.sh run|test|bench|check-macos" >&2
    exit 2
    ;;
esac
