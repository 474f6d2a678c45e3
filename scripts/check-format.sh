#!/usr/bin/env bash
# Checks that every C++ file of the repository (src, tests, fuzz, bench, tools: *.h, *.cpp, *.h.in)
# is formatted as clang-format formats it with the style file at the root. Changes nothing; fails
# with the list of files that differ. `clang-format -i FILE...` puts them right.
#
#   scripts/check-format.sh [--no-install]
#
# Set CLANG_FORMAT to use another clang-format program.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

if [ "${1:-}" != "--no-install" ]; then
    scripts/install-deps.sh clang-format
fi
clang_format=${CLANG_FORMAT:-clang-format}

mapfile -d '' files < <(find src tests fuzz bench tools -type f \
    \( -name '*.h' -o -name '*.cpp' -o -name '*.h.in' \) -print0 2>/dev/null | sort -z)
if [ ${#files[@]} -eq 0 ]; then
    echo "check-format: no C++ files found under $root" >&2
    exit 1
fi

# One file at a time would start the program some four hundred times; in batches the whole check
# takes a few seconds. A file whose text differs makes clang-format print a warning naming it.
log=$(mktemp)
trap 'rm -f "$log"' EXIT
status=0
printf '%s\0' "${files[@]}" |
    xargs -0 -n 64 "$clang_format" --style=file --dry-run --Werror >"$log" 2>&1 || status=$?

mapfile -t bad < <(sed -n 's/^\(.*\):[0-9]*:[0-9]*: error: code should be clang-formatted.*/\1/p' \
    "$log" | sort -u)
if [ ${#bad[@]} -gt 0 ]; then
    echo "These ${#bad[@]} files are not formatted (run clang-format -i on them):" >&2
    printf '    %s\n' "${bad[@]}" >&2
    exit 1
fi
if [ "$status" -ne 0 ]; then
    # clang-format failed for another reason (a missing style file, an unreadable file).
    cat "$log" >&2
    exit 1
fi
echo "check-format: ${#files[@]} files formatted"
