#!/usr/bin/env bash
# Configures and builds the project into BUILD_DIR (default: build);
# arguments name targets (default: all).
# Set GNR_SANITIZE=ON for the AddressSanitizer + UBSan build, GNR_TSAN=ON for
# the ThreadSanitizer build (not both).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
BUILD_DIR="${BUILD_DIR:-build}"
SANITIZE="${GNR_SANITIZE:-OFF}"
TSAN="${GNR_TSAN:-OFF}"
LAUNCHER=()
if command -v ccache >/dev/null 2>&1; then
    # Optional: shares compiled objects between build folders when present.
    export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
    LAUNCHER=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$BUILD_DIR" -G Ninja -DGNR_SANITIZE="$SANITIZE" -DGNR_TSAN="$TSAN" "${LAUNCHER[@]}" >/dev/null
# Arguments name the targets to build; none builds everything.
if [ $# -gt 0 ]; then
    cmake --build "$BUILD_DIR" -j "$(nproc)" --target "$@"
else
    cmake --build "$BUILD_DIR" -j "$(nproc)"
fi
