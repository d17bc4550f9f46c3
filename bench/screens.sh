#!/usr/bin/env bash
# The home screen and the duplicates screen on a generated home: bench_screens over a home of FILES
# files (default 100000) with GROUPS extra groups of identical copies (default 500) and its index
# built.
#
#   bench/screens.sh [FILES] [GROUPS]
set -uo pipefail
export LC_ALL=C
files=${1:-100000}
groups=${2:-500}
source "$(dirname "${BASH_SOURCE[0]}")/home.sh"
bench_setup screens velk-genhome velk-find velk-worker bench_screens
bench_home "$files"
# Copies of documents big enough to be compared, each its own group.
mkdir -p "$home/Documents/Copies"
n=0
while IFS= read -r -d '' f; do
  cp -p "$f" "$home/Documents/Copies/$n-$(basename "$f")"
  n=$((n + 1))
  [[ $n -ge $groups ]] && break
done < <(find "$home/Documents" "$home/Pictures" -type f -size +60k -print0 2>/dev/null)
say "screens: $n copies made; indexing"
"$velk" --update >/dev/null 2>&1
"$BUILD/bin/bench_screens"
