#!/usr/bin/env bash
# Builds the desktop application, starts it under a virtual X display on a fresh fake home and
# writes a picture of its main window to the given file (default: build/screenshot.png).
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:-build/screenshot.png}
shift || true
scripts/install-deps.sh
if ! command -v xvfb-run >/dev/null; then
    sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get install -y --no-install-recommends xvfb xauth
fi

scripts/build-app.sh tavrin-privacy-cleaner

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -p "$(dirname "$out")"
xvfb-run -a -s "-screen 0 1280x800x24" \
    build/app/src/ui/tavrin-privacy-cleaner --layout linux --home "$home" --screenshot "$out" "$@"
echo "wrote $out"
