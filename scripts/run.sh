#!/usr/bin/env bash
# Builds the desktop application and starts it. Arguments are passed on to it
# (--layout macos|linux, --home DIR, --root DIR).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/build-app.sh

exec build/app/src/ui/tavrin-privacy-cleaner "$@"
