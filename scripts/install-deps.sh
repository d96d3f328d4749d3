#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests, the demo and the
# benchmarks need. Does nothing when all of them are there already.
set -euo pipefail

packages=(
    build-essential cmake pkg-config
    libgtest-dev libgmock-dev
    libsqlite3-dev sqlite3
    libplist-dev libplist-utils
    libsecret-1-dev libsecret-tools gnome-keyring
    libglib2.0-dev libglib2.0-bin libnotify-dev
    nlohmann-json3-dev
    dbus dbus-daemon dbus-bin
    python3 python3-dbus python3-dbusmock
    clang-14 libclang-rt-14-dev
)

missing=()
for package in "${packages[@]}"; do
    if [[ $(dpkg-query -W -f='${Status}' "$package" 2>/dev/null) != "install ok installed" ]]; then
        missing+=("$package")
    fi
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

echo "Installing: ${missing[*]}"
run=()
if ((EUID != 0)); then run=(sudo); fi
"${run[@]}" apt-get update -q
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
