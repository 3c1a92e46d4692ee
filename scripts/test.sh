#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite.
#   scripts/test.sh              normal build in build/, then the install
#                                test (scripts/test_install.sh) and the docs
#   scripts/test.sh --sanitize   ASan + UBSan build in build-asan/
#   scripts/test.sh --tsan       ThreadSanitizer build in build-tsan/: builds and
#                                runs only the threaded suites below
# With CI set, the normal run is followed by a second run of the suite under
# LC_ALL=de_DE.UTF-8 (comma decimals; the test programs take the locale from
# the environment) and by the --tsan one.
set -euo pipefail
cd "$(dirname "$0")/.."
# Test executables that run real threads and are clean under ThreadSanitizer
# (test_merge is clean too but takes a minute there: GNR_TSAN_SUITES="test_merge"
# runs it, or any other list).
read -r -a TSAN_SUITES <<< "${GNR_TSAN_SUITES:-test_queue test_registry test_sqlsupport test_thumbqueue}"
if [ "${1:-}" = "--tsan" ]; then
    shift
    export GNR_TSAN=ON BUILD_DIR="${BUILD_DIR:-build-tsan}"
    export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1"
    ./scripts/build.sh "${TSAN_SUITES[@]}"
    for suite in "${TSAN_SUITES[@]}"; do
        "$BUILD_DIR/bin/$suite" --gtest_brief=1 "$@"
    done
    exit 0
fi
if [ "${1:-}" = "--sanitize" ]; then
    export GNR_SANITIZE=ON BUILD_DIR="${BUILD_DIR:-build-asan}"
    export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1" UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
    shift
fi
BUILD_DIR="${BUILD_DIR:-build}"
export BUILD_DIR
./scripts/build.sh
(cd "$BUILD_DIR" && ctest --output-on-failure -j "$(nproc)" "$@")
if [ "${GNR_SANITIZE:-OFF}" != ON ]; then
    # What an outside caller gets: the installed tree, the headers alone, the
    # example through find_package and pkg-config; then the API reference,
    # whose target fails on any Doxygen warning.
    ./scripts/test_install.sh
    if command -v doxygen >/dev/null 2>&1; then
        cmake --build "$BUILD_DIR" --target docs
    fi
fi
if [ -n "${CI:-}" ] && [ "$BUILD_DIR" = build ]; then
    (cd "$BUILD_DIR" && LC_ALL=de_DE.UTF-8 ctest --output-on-failure -j "$(nproc)" "$@")
    BUILD_DIR=build-tsan ./scripts/test.sh --tsan
fi
