#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, and any named as arguments. Safe to
# run again.
set -euo pipefail

packages=(
    build-essential clang cmake ninja-build lld pkg-config
    libplist-dev libplist++-dev
    libcli11-dev nlohmann-json3-dev
    libsqlite3-dev sqlite3 libleveldb-dev libsnappy-dev liblz4-dev libsystemd-dev dbus-daemon libpugixml-dev
    libcurl4-openssl-dev libssl-dev
    libgtest-dev libgmock-dev
    qt6-base-dev qt6-svg-dev libgl-dev fonts-dejavu-core
    "$@"
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update
$sudo apt-get install -y --no-install-recommends "${missing[@]}"
