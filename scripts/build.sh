#!/usr/bin/env bash
# Configures and builds the project into BUILD_DIR (default: build).
# Set GNR_SANITIZE=ON for the AddressSanitizer + UBSan build.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
BUILD_DIR="${BUILD_DIR:-build}"
SANITIZE="${GNR_SANITIZE:-OFF}"
cmake -S . -B "$BUILD_DIR" -G Ninja -DGNR_SANITIZE="$SANITIZE" >/dev/null
cmake --build "$BUILD_DIR" -j "$(nproc)" "$@"
