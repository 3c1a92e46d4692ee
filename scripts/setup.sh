#!/usr/bin/env bash
# Installs the Debian packages that the project builds with. Does nothing when
# they are all present already, so it is cheap to call before every build.
set -euo pipefail

PACKAGES=(build-essential cmake ninja-build pkg-config libsqlite3-dev qtbase5-dev
          libgtest-dev libgmock-dev libbenchmark-dev sqlite3
          librsvg2-bin graphviz libtbb-dev libtiff-dev libpng-dev)

missing=()
for p in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "setup: installing ${missing[*]}" >&2
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
