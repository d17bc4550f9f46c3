#!/usr/bin/env bash
# Refresh benchmark: a generated home folder indexed in full (the walk and the contents of files), then
# 1% of its files changed; the time `velk-find --update` takes to bring the index fully up to date again,
# against the peer of a full re-walk (`find -printf`) and against a full index of the changed home from
# scratch.
#
#   bench/refresh.sh [FILES]        FILES defaults to 100000
#
# Environment: BUILD (build folder, default <repo>/build), FIND_RUNS (runs of find, default 5), TMPDIR
# (where the home folder goes), KEEP=1 keeps it. Wall times of whole commands, file cache warm.
#
# The 1% (FILES / 100 files, taken evenly from the sorted list of files the index sees): four in ten
# touched (new modification time), two appended to, two renamed, one removed, and one copied to a new
# name beside it (an added file with contents to read).
set -uo pipefail
export LC_ALL=C

files=${1:-100000}
if [[ ! $files =~ ^[0-9]+$ ]] || ((files < 1000)); then
  echo "usage: $0 [FILES]   (FILES >= 1000, default 100000)" >&2
  exit 2
fi
FIND_RUNS=${FIND_RUNS:-5}
source "$(dirname "${BASH_SOURCE[0]}")/home.sh"
load() { cut -d' ' -f1 /proc/loadavg; }
bench_setup refresh velk-genhome velk-find
bench_home "$files"
store_dir=$XDG_CACHE_HOME/velk

# Wall time in ms of one run of a command; its standard error goes to $work/last.log.
time_ms() {
  local s e
  s=$EPOCHREALTIME
  "$@" >/dev/null 2>"$work/last.log" || return 1
  e=$EPOCHREALTIME
  awk -v s="$s" -v e="$e" 'BEGIN { printf "%.3f\n", (e - s) * 1000 }'
}
median_ms() {
  local runs=$1 i
  shift
  "$@" >/dev/null 2>&1 || return 1
  for ((i = 0; i < runs; i++)); do time_ms "$@"; done | sort -g | awk '{ a[NR] = $1 } END { if (NR % 2) print a[(NR + 1) / 2]; else printf "%.3f\n", (a[NR / 2] + a[NR / 2 + 1]) / 2 }'
}
fmt_ms() {
  [[ -z $1 ]] && { echo "n/a"; return; }
  awk -v t="$1" 'BEGIN { if (t >= 1000) printf "%.2f s", t / 1000; else if (t >= 100) printf "%.0f ms", t; else printf "%.1f ms", t }'
}
# The last progress line of velk-find --update, without the terminal's carriage returns.
last_line() { tr '\r' '\n' <"$work/last.log" | grep -v '^$' | tail -1; }

find "$HOME" -printf '%s %T@ %p\n' >/dev/null 2>&1

# 1. The home indexed in full: the walk, then the contents of every file an extractor reads.
rm -rf "$store_dir"
full_ms=$(time_ms "$velk" --update) || { say "refresh.sh: velk-find --update failed"; cat "$work/last.log" >&2; exit 1; }
full_line=$(last_line)
full_load=$(load)
say "full index: $(fmt_ms "$full_ms"): $full_line"

# 2. 1% of the files change.
mapfile -t candidates < <(find "$HOME" -type f -not -path '*/.*' -not -path '*/node_modules/*' -not -path '*/site-packages/*' \
  -not -path '*/Pods/*' -not -path '*/DerivedData/*' -not -path '*/__pycache__/*' -not -path '*.app/*' -not -path '*.framework/*' \
  -not -path '*.bundle/*' -not -path '*.photoslibrary/*' -not -path '*.xcodeproj/*' -not -path '*.lproj/*' 2>/dev/null | sort)
changes=$((files / 100))
step=$((${#candidates[@]} / changes))
((step >= 1)) || step=1
touched=0 appended=0 renamed=0 removed=0 added=0
for ((i = 0; i < changes && i * step < ${#candidates[@]}; i++)); do
  f=${candidates[i * step]}
  [[ -f $f && -w $f ]] || continue
  case $((i % 10)) in
  0 | 1 | 2 | 3) touch "$f" && ((touched++)) ;;
  4 | 5) printf 'appended line %d\n' "$i" >>"$f" && ((appended++)) ;;
  6 | 7)
    base=${f##*/}
    if [[ $base == *.* ]]; then new="${f%/*}/${base%.*} moved.${base##*.}"; else new="$f moved"; fi
    mv "$f" "$new" && ((renamed++))
    ;;
  8) rm -f "$f" && ((removed++)) ;;
  9)
    base=${f##*/}
    if [[ $base == *.* ]]; then new="${f%/*}/${base%.*} copy.${base##*.}"; else new="$f copy"; fi
    cp -p "$f" "$new" && touch "$new" && ((added++))
    ;;
  esac
done
change_summary="$touched touched, $appended appended, $renamed renamed, $removed removed, $added added"
say "changed: $change_summary"

# 3. velk-find --update brings it fully up to date; a second run finds nothing to do.
refresh_ms=$(time_ms "$velk" --update)
refresh_line=$(last_line)
refresh_load=$(load)
noop_ms=$(time_ms "$velk" --update)
noop_line=$(last_line)
noop_load=$(load)

# 4. The peers: a re-walk with find, and a full index of the changed home from scratch.
find_ms=$(median_ms "$FIND_RUNS" find "$HOME" -printf '%s %T@ %p\n')
find_load=$(load)
mv "$store_dir" "$work/store.kept"
scratch_ms=$(time_ms "$velk" --update)
scratch_line=$(last_line)
scratch_load=$(load)
rm -rf "$store_dir"
scratch_basic_ms=$(time_ms "$velk" --update --basic)
scratch_basic_load=$(load)

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (a == "" || b == "" || b == 0) print "n/a"; else printf "%.2fx", a / b }'; }

echo
echo "Velk refresh benchmark: $summary"
echo "machine: $(nproc) cores; load average now: $(cut -d' ' -f1-3 /proc/loadavg); find runs: $FIND_RUNS (median)"
echo "1% changed: $change_summary"
echo
printf '%-44s %10s  %-5s %s\n' figure time load "what velk-find reported"
printf '%-44s %10s  %-5s %s\n' "full index from scratch (walk + contents)" "$(fmt_ms "$full_ms")" "$full_load" "$full_line"
printf '%-44s %10s  %-5s %s\n' "update after 1% changed" "$(fmt_ms "$refresh_ms")" "$refresh_load" "$refresh_line"
printf '%-44s %10s  %-5s %s\n' "update with nothing changed" "$(fmt_ms "$noop_ms")" "$noop_load" "$noop_line"
printf '%-44s %10s  %-5s\n' "peer: find -printf size,mtime (re-walk)" "$(fmt_ms "$find_ms")" "$find_load"
printf '%-44s %10s  %-5s %s\n' "peer: full index of the changed home" "$(fmt_ms "$scratch_ms")" "$scratch_load" "$scratch_line"
printf '%-44s %10s  %-5s\n' "  of which the walk alone (--update --basic)" "$(fmt_ms "$scratch_basic_ms")" "$scratch_basic_load"
echo
echo "update after 1% changed / find re-walk:        $(ratio "$refresh_ms" "$find_ms")"
echo "update after 1% changed / full re-index:       $(ratio "$refresh_ms" "$scratch_ms")"
echo "update with nothing changed / find re-walk:    $(ratio "$noop_ms" "$find_ms")"
exit 0
