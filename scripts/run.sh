#!/usr/bin/env bash
# Builds the desktop application and starts it. Arguments are passed on to it
# (--layout macos|linux, --home DIR, --root DIR).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

cmake -S . -B build/app -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTPC_BUILD_TESTS=OFF
cmake --build build/app -j"$(nproc 2>/dev/null || echo 2)" --target tavrin-privacy-cleaner tpc-cli

exec build/app/src/ui/tavrin-privacy-cleaner "$@"
