#!/usr/bin/env bash
# The window's speed on generated homes: bench_window over a home of FILES files (default 100000)
# with its index built, and find answering the same question as the search typed in the window.
#
#   bench/window.sh [FILES]
set -uo pipefail
export LC_ALL=C
files=${1:-100000}
source "$(dirname "${BASH_SOURCE[0]}")/home.sh"
bench_setup window velk-genhome velk-find velk-worker bench_window
bench_home "$files"
say "window: indexing $files files"
"$velk" --update >/dev/null 2>&1
"$BUILD/bin/bench_window"
start=$(date +%s%N)
n=$(find "$home" -iname '*.pdf' -mtime -7 2>/dev/null | wc -l)
end=$(date +%s%N)
printf 'peer: find -iname *.pdf -mtime -7  %8.0f ms   (%d files)\n' "$(( (end - start) / 1000000 ))" "$n"
