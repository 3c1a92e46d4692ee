#!/usr/bin/env bash
# Installs what is missing, builds, and runs the projectdb demo: it records
# one acquisition into a fresh jobs database and prints what was stored.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR="${BUILD_DIR:-build}"
export BUILD_DIR
./scripts/build.sh projectdb >/dev/null
exec "$BUILD_DIR/bin/projectdb" demo "$@"
