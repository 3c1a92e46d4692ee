#!/usr/bin/env bash
# Installs the Debian packages that the project builds with. Does nothing when
# they are all present already, so it is cheap to call before every build.
set -euo pipefail

PACKAGES=(build-essential cmake ninja-build pkg-config libsqlite3-dev qtbase5-dev
          libgtest-dev libgmock-dev libbenchmark-dev sqlite3
          librsvg2-bin graphviz libtbb-dev libtiff-dev libpng-dev locales doxygen)

missing=()
for p in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

# The suite runs once more under a comma-decimal UTF-8 locale.
ensure_test_locale() {
    if command -v localedef >/dev/null 2>&1 && ! locale -a 2>/dev/null | grep -qix 'de_DE.utf-\?8'; then
        $SUDO localedef -i de_DE -f UTF-8 de_DE.UTF-8 || echo "setup: cannot generate de_DE.UTF-8" >&2
    fi
}

if [ ${#missing[@]} -eq 0 ]; then
    ensure_test_locale
    exit 0
fi

echo "setup: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
ensure_test_locale
