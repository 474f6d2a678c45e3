#!/usr/bin/env bash
# Builds the program and starts it. Arguments are passed on (e.g. --layout, --home, --root).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

cmake -S . -B build/app -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTPC_BUILD_TESTS=OFF
cmake --build build/app -j"$(nproc 2>/dev/null || echo 2)" --target tpc-cli

# The desktop window is not built yet: show the settings through the command line.
exec build/app/src/tpc settings list "$@"
