#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite.
#   scripts/test.sh              normal build in build/
#   scripts/test.sh --sanitize   ASan + UBSan build in build-asan/
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = "--sanitize" ]; then
    export GNR_SANITIZE=ON BUILD_DIR="${BUILD_DIR:-build-asan}"
    export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1" UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
    shift
fi
BUILD_DIR="${BUILD_DIR:-build}"
export BUILD_DIR
./scripts/build.sh
cd "$BUILD_DIR"
ctest --output-on-failure -j "$(nproc)" "$@"
