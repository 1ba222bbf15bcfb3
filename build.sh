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
#   ./build.sh fuzz [seconds] the fuzz programs (clang, ASan+UBSan), each for the time given (60)
#   ./build.sh tsan       the concurrency tests under ThreadSanitizer
#   ./build.sh soak [seconds] [threads]   the soak program (60 seconds, 1 thread)
set -euo pipefail
cd "$(dirname "$0")"

packages=(g++ cmake ninja-build pkg-config libgtest-dev libbenchmark-dev libpng-dev
          libsdl2-dev libx11-dev xvfb xauth)
# The Python package and its tests (python/), built and run by `test`.
python_packages=(python3-dev python3-numpy python3-pybind11 python3-pytest python3-hypothesis
                 python3-dask python3-distributed)
# The peers of the comparison: large, so only bench-peers installs them.
peer_packages=(libyuv-dev libopencv-core-dev libopencv-imgproc-dev libswscale-dev libavutil-dev)
# libFuzzer and the sanitizer runtimes come with clang; OpenMP for clang.
fuzz_packages=(clang-14 libclang-rt-14-dev libomp-14-dev)

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

configure() {  # directory, extra cmake arguments...
    local dir=$1
    shift
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
}

configure_and_build() {  # directory, extra cmake arguments...
    configure "$@"
    cmake --build "$1" -j "$jobs"
}

# Builds the fuzz programs with clang, checks that the sanitized shared
# library links into an instrumented program and that the committed corpus
# passes, then runs each program for the given seconds. New inputs go to
# build-fuzz/corpus/<target>, findings to build-fuzz/findings/.
run_fuzzers() {  # seconds
    local seconds=$1 dir=build-fuzz failed=()
    CC=clang-14 CXX=clang++-14 configure "$dir" -DMORVA_SANITIZE=ON -DMORVA_FUZZ=ON \
        -DMORVA_BUILD_BENCH=OFF -DMORVA_BUILD_PYTHON=OFF
    local targets=(render image copy y4m png)
    cmake --build "$dir" -j "$jobs" --target morva morva_tool "${targets[@]/#/fuzz_}"
    ctest --test-dir "$dir" --output-on-failure -R '^(downstream_package|fuzz_corpus_.*)$'
    mkdir -p "$dir/findings"
    for target in "${targets[@]}"; do
        local dict=tests/fuzz/$target.dict options=()
        [ -f "$dict" ] && options+=("-dict=$dict")
        mkdir -p "$dir/corpus/$target"
        local log=$dir/findings/$target.log
        echo "Fuzzing $target for $seconds s (log in $log)"
        if "$dir/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=3072 -malloc_limit_mb=512 \
            -print_final_stats=1 -artifact_prefix="$dir/findings/$target-" "${options[@]}" \
            "$dir/corpus/$target" "tests/fuzz/corpus/$target" >"$log" 2>&1; then
            grep -E '^stat::(number_of_executed_units|new_units_added)|DONE' "$log" || true
        else
            failed+=("$target")
            tail -n 40 "$log"
        fi
    done
    if [ ${#failed[@]} -ne 0 ]; then
        echo "Fuzzing found faults in: ${failed[*]} (inputs in $dir/findings/)" >&2
        return 1
    fi
}

run_tests() {  # directory
    ctest --test-dir "$1" --output-on-failure -j "$jobs"
}

command=${1:-test}
case "$command" in
test) install_missing_packages "${python_packages[@]}" ;;
bench-python) install_missing_packages "${python_packages[@]}" python3-opencv ;;
bench-peers) install_missing_packages "${peer_packages[@]}" ;;
fuzz) install_missing_packages "${fuzz_packages[@]}" ;;
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
fuzz)
    run_fuzzers "${2:-60}"
    ;;
tsan)
    configure build-tsan -DMORVA_TSAN=ON -DMORVA_BUILD_BENCH=OFF -DMORVA_BUILD_PYTHON=OFF
    cmake --build build-tsan -j "$jobs" --target test_concurrency
    TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
        ctest --test-dir build-tsan --output-on-failure -L concurrency
    ;;
soak)
    configure_and_build build
    build/tests/soak/morva_soak "${2:-60}" "${3:-1}"
    ;;
*)
    echo "usage: $0 test|sanitize|demo|bench|bench-python|bench-peers|fuzz|tsan|soak" >&2
    exit 2
    ;;
esac
