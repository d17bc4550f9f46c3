#!/usr/bin/env bash
# The parsing worker's cost, on a generated home folder:
#   - the first index with contents, read in process against through the worker (bench_worker), per kind;
#   - the text of a 1920x1080 screenshot both ways;
#   - velk-find as a whole process (start-up with --version, and a name query) against plocate on the
#     same tree. OLD_BUILD=<build folder of an earlier version> adds that version's velk-find beside it.
#
#   bench/worker.sh [FILES]     (default 20000)
set -uo pipefail
export LC_ALL=C
files=${1:-20000}
source "$(dirname "${BASH_SOURCE[0]}")/home.sh"
bench_setup worker velk-genhome velk-find velk-worker bench_worker
bench_home "$files"

"$BUILD/bin/bench_worker" "$home" "${RUNS:-1}"

# The index the query below answers from.
"$velk" --update >/dev/null 2>&1
db=$work/plocate.db
updatedb -l 0 -U "$home" -o "$db" 2>/dev/null || say "worker: updatedb failed"

hf() {
  hyperfine -N --style none --warmup 3 --runs "${HF_RUNS:-30}" --export-json "$work/hf.json" "$1" >/dev/null 2>&1 || { echo n/a; return; }
  grep -o '"median": *[0-9.e+-]*' "$work/hf.json" | head -1 | awk -F: '{ printf "%.1f", $2 * 1000 }'
}
echo
echo "whole processes, median ms (hyperfine); both velk-find versions started through env with their own store"
query="kMDItemFSName == \"*report*\"c"
printf '%-34s %10s\n' "command" "ms"
printf '%-34s %10s\n' "velk-find --version" "$(hf "env XDG_CACHE_HOME=$XDG_CACHE_HOME $velk --version")"
printf '%-34s %10s\n' "velk-find --raw name query" "$(hf "env XDG_CACHE_HOME=$XDG_CACHE_HOME $velk --raw '$query'")"
if [[ -n ${OLD_BUILD:-} && -x $OLD_BUILD/bin/velk-find ]]; then
  # The earlier version keeps a store of another format: it gets a cache folder of its own.
  old_cache=$work/old-cache
  XDG_CACHE_HOME=$old_cache "$OLD_BUILD/bin/velk-find" --update >/dev/null 2>&1
  printf '%-34s %10s\n' "earlier velk-find --version" "$(hf "env XDG_CACHE_HOME=$old_cache $OLD_BUILD/bin/velk-find --version")"
  printf '%-34s %10s\n' "earlier velk-find name query" "$(hf "env XDG_CACHE_HOME=$old_cache $OLD_BUILD/bin/velk-find --raw '$query'")"
fi
printf '%-34s %10s\n' "plocate --version" "$(hf "plocate --version")"
printf '%-34s %10s\n' "plocate -i report" "$(hf "plocate -d $db -i report")"
printf '%-34s %10s\n' "answers: velk-find / plocate" "$("$velk" --raw "$query" | wc -l) / $(plocate -d "$db" -i report | wc -l)"
