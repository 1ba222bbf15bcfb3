#!/usr/bin/env bash
# One entry for building morva on a fresh Debian 12 machine.
#
#   ./build.sh test       install what is missing, build, run the whole test suite
#   ./build.sh sanitize   the same under AddressSanitizer and UndefinedBehaviorSanitizer
#   ./build.sh demo       build and compose the built-in demo into morva-demo.png
#   ./build.sh bench      build and run the benchmarks
set -euo pipefail
cd "$(dirname "$0")"

packages=(g++ cmake ninja-build pkg-config libgtest-dev libbenchmark-dev libpng-dev)

install_missing_packages() {
    local missing=()
    for p in "${packages[@]}"; do
        dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
}

jobs=$(nproc 2>/dev/null || echo 2)

configure_and_build() {  # directory, extra cmake arguments...
    local dir=$1
    shift
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
    cmake --build "$dir" -j "$jobs"
}

run_tests() {  # directory
    ctest --test-dir "$1" --output-on-failure -j "$jobs"
}

command=${1:-test}
install_missing_packages
case "$command" in
test)
    configure_and_build build
    run_tests build
    ;;
sanitize)
    configure_and_build build-sanitize -DMORVA_SANITIZE=ON -DMORVA_BUILD_BENCH=OFF
    ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
        run_tests build-sanitize
    ;;
demo)
    configure_and_build build
    shift || true
    build/tools/morva compose -o morva-demo.png "$@"
    echo "Wrote morva-demo.png"
    ;;
bench)
    configure_and_build build
    shift || true
    build/bench/morva_bench "$@"
    ;;
*)
    echo "usage: $0 test|sanitize|demo|bench" >&2
    exit 2
    ;;
esac
