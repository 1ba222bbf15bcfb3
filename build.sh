#!/usr/bin/env bash
# One entry for building morva on a fresh Debian 12 machine.
#
#   ./build.sh test       install what is missing, build, run the whole test suite
#   ./build.sh sanitize   the same under AddressSanitizer and UndefinedBehaviorSanitizer
#   ./build.sh demo       build and compose the built-in demo into morva-demo.png
#   ./build.sh bench      build and run the benchmarks
#   ./build.sh bench-python   the Python package beside OpenCV's cv2 (bench/python_vs_cv2.py)
#   ./build.sh bench-peers    install libyuv, OpenCV and swscale, build and run the comparison
#                             with them (bench/peers/; arguments go to the program)
set -euo pipefail
cd "$(dirname "$0")"

packages=(g++ cmake ninja-build pkg-config libgtest-dev libbenchmark-dev libpng-dev
          libsdl2-dev libx11-dev xvfb xauth)
# The Python package and its tests (python/), built and run by `test`.
python_packages=(python3-dev python3-numpy python3-pybind11 python3-pytest python3-hypothesis
                 python3-dask python3-distributed)
# The peers of the comparison: large, so only bench-peers installs them.
peer_packages=(libyuv-dev libopencv-core-dev libopencv-imgproc-dev libswscale-dev libavutil-dev)

install_missing_packages() {  # extra packages...
    local missing=()
    for p in "${packages[@]}" "$@"; do
        dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq -o DPkg::Lock::Timeout=600 "${missing[@]}"
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
case "$command" in
test) install_missing_packages "${python_packages[@]}" ;;
bench-python) install_missing_packages "${python_packages[@]}" python3-opencv ;;
bench-peers) install_missing_packages "${peer_packages[@]}" ;;
*) install_missing_packages ;;
esac
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
    # The library and the tool only: the tests and benchmarks wait for `test`.
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
    cmake --build build -j "$jobs" --target morva_tool
    shift || true
    build/tools/morva compose -y -o morva-demo.png "$@"
    echo "Wrote morva-demo.png"
    ;;
bench)
    configure_and_build build
    shift || true
    build/bench/morva_bench "$@"
    ;;
bench-python)
    configure_and_build build
    shift || true
    PYTHONPATH=build/python /usr/bin/python3 bench/python_vs_cv2.py "$@"
    ;;
bench-peers)
    # Only the comparison program: the peers are found at configure time.
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMORVA_BUILD_BENCH=ON
    cmake --build build -j "$jobs" --target morva_peers
    shift || true
    build/bench/peers/morva_peers "$@"
    ;;
*)
    echo "usage: $0 test|sanitize|demo|bench|bench-python|bench-peers" >&2
    exit 2
    ;;
esac
