#!/usr/bin/env bash
# Seed corpora for the fuzz targets, made fresh on every run and never committed.
#
# Each target starts from a few valid files of its format, written by the project's own code so
# that they follow the writers exactly: binary and XML property lists and keyed archives (from
# core::plist), cookie files with one and several pages, ports and comments (safari::write), a
# recently-used.xbel with a file and a folder bookmark, desktop entries with quoted Exec lines,
# profiles.ini with an [Install] group and with a single profile, a user-dirs.dirs with $HOME,
# ${HOME}, an absolute folder and a folder set to the home, helper frames for each request and
# reply (alone and as one stream) and preference files. The fuzz_make_seeds program, built with
# the targets from fuzz/MakeSeeds.cpp, writes them; libFuzzer then mutates from there and keeps
# what reaches new code in build/fuzz/corpus/<target>/.
#
#   fuzz/make-seeds.sh MAKE_SEEDS_PROGRAM OUTPUT_FOLDER
set -euo pipefail

if [ $# -ne 2 ]; then
    echo "usage: $0 MAKE_SEEDS_PROGRAM OUTPUT_FOLDER" >&2
    exit 2
fi
mkdir -p "$2"
"$1" "$2"
