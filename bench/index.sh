#!/usr/bin/env bash
# Index benchmark: velk-find against find and plocate on a generated home folder.
#
#   bench/index.sh [FILES]        FILES defaults to 100000; 1000000 for the big run
#
# Environment: BUILD (build folder, default <repo>/build), RUNS (timed runs per query, default 15),
# FIND_RUNS (runs of the slow find peers, default 5), TMPDIR (where the home folder goes), KEEP=1 keeps it.
# Times are wall times of whole commands with the file cache warm (each command runs once untimed first).
set -uo pipefail
export LC_ALL=C

files=${1:-100000}
if [[ ! $files =~ ^[0-9]+$ ]] || ((files < 100)); then
  echo "usage: $0 [FILES]   (FILES >= 100, default 100000)" >&2
  exit 2
fi
RUNS=${RUNS:-15}
FIND_RUNS=${FIND_RUNS:-5}
source "$(dirname "${BASH_SOURCE[0]}")/home.sh"
bench_setup index velk-genhome velk-find bench_query
bench_home "$files"

hyperfine=$(command -v hyperfine || true)
gnutime=/usr/bin/time
[[ -x $gnutime ]] || gnutime=

# Median wall time in ms of a command over N runs, after one untimed run; fails when the command does.
median_ms() {
  local runs=$1
  shift
  "$@" >/dev/null 2>&1 || return 1
  if [[ -n $hyperfine ]]; then
    "$hyperfine" -N --style none --runs "$runs" --export-json "$work/hf.json" "$(printf '%q ' "$@")" >/dev/null 2>&1 || return 1
    grep -o '"median": *[0-9.e+-]*' "$work/hf.json" | head -1 | awk -F: '{ printf "%.3f\n", $2 * 1000 }'
    return
  fi
  local i s e
  for ((i = 0; i < runs; i++)); do
    s=$EPOCHREALTIME
    "$@" >/dev/null 2>&1
    e=$EPOCHREALTIME
    awk -v s="$s" -v e="$e" 'BEGIN { printf "%.3f\n", (e - s) * 1000 }'
  done | sort -g | awk '{ a[NR] = $1 } END { if (NR % 2) print a[(NR + 1) / 2]; else printf "%.3f\n", (a[NR / 2] + a[NR / 2 + 1]) / 2 }'
}

# Results a command prints, one per line (or its own count with --count).
results() { "$@" 2>/dev/null | wc -l; }

fmt_ms() {
  [[ -z $1 ]] && { echo "n/a"; return; }
  awk -v t="$1" 'BEGIN { if (t >= 1000) printf "%.2f s", t / 1000; else if (t >= 100) printf "%.0f ms", t; else printf "%.1f ms", t }'
}

rows=()
# row FIGURE VELK_MS VELK_RESULTS PEER PEER_MS PEER_RESULTS MODE LIMIT: MODE "slower" aims at velk/peer <= LIMIT,
# "faster" at peer/velk >= LIMIT.
row() {
  local figure=$1 vms=$2 vres=$3 peer=$4 pms=$5 pres=$6 mode=$7 limit=$8 ratio="n/a" verdict="n/a"
  if [[ -n $vms && -n $pms ]]; then
    if [[ $mode == slower ]]; then
      ratio=$(awk -v v="$vms" -v p="$pms" 'BEGIN { printf "%.2fx", v / p }')
      verdict=$(awk -v v="$vms" -v p="$pms" -v l="$limit" 'BEGIN { print (v / p <= l) ? "yes" : "NO" }')
    else
      ratio=$(awk -v v="$vms" -v p="$pms" 'BEGIN { r = p / v; if (r >= 10) printf "%.0fx faster", r; else if (r >= 1) printf "%.1fx faster", r; else printf "%.1fx slower", 1 / r }')
      verdict=$(awk -v v="$vms" -v p="$pms" -v l="$limit" 'BEGIN { print (p / v >= l) ? "yes" : "NO" }')
    fi
  fi
  local aim="velk <= ${limit}x peer"
  [[ $mode == faster ]] && aim="${limit}x faster"
  # The machine may be shared: the load average (1 minute) when the figure was taken goes with it.
  rows+=("$(printf '%-34s %10s %9s  %-26s %10s %9s  %-14s %-18s %-3s %s' "$figure" "$(fmt_ms "$vms")" "$vres" "$peer" "$(fmt_ms "$pms")" "$pres" "$ratio" "$aim" "$verdict" "$(cut -d' ' -f1 /proc/loadavg)")")
}

# Warm the file cache the way every later command will find it.
find "$HOME" -printf '%s %T@ %p\n' >/dev/null 2>&1

# First full index of the basic attributes (the walk alone, --update --basic): a fresh store each time.
# Reading the contents of files comes after it (velk-find --update without --basic); bench/refresh.sh
# times that.
have_velk=0
store=$XDG_CACHE_HOME/velk/index.sqlite
index_runs=3
((files >= 500000)) && index_runs=1
index_ms=
times=()
for ((i = 0; i < index_runs; i++)); do
  [[ -x $velk ]] || break
  rm -rf "$XDG_CACHE_HOME/velk"
  s=$EPOCHREALTIME
  "$velk" --update --basic >"$work/update.log" 2>&1 || break
  e=$EPOCHREALTIME
  [[ -f $store ]] || break
  times+=("$(awk -v s="$s" -v e="$e" 'BEGIN { printf "%.3f", (e - s) * 1000 }')")
done
if ((${#times[@]} == index_runs)); then
  have_velk=1
  index_ms=$(printf '%s\n' "${times[@]}" | sort -g | awk '{ a[NR] = $1 } END { print a[int((NR + 1) / 2)] }')
else
  say "index.sh: velk-find --update --basic did not build a store at $store; its figures are n/a"
  [[ -s $work/update.log ]] && head -5 "$work/update.log" >&2
fi
find_ms=$(median_ms "$FIND_RUNS" find "$HOME" -printf '%s %T@ %p\n')
find_count=$(find "$HOME" 2>/dev/null | wc -l)
records=
((have_velk)) && records=$("$velk" --raw "kMDItemFSName == '*'" --count 2>/dev/null | tr -dc '0-9')
row "first index (--update --basic)" "$index_ms" "${records:-n/a}" "find -printf size,mtime" "$find_ms" "$find_count" slower 2

# Peer index for the name search; its default settings would leave out /tmp and tmpfs, where this home lives.
db=$work/plocate.db
plocate_ok=0
if command -v updatedb >/dev/null && command -v plocate >/dev/null; then
  updatedb -l 0 -U "$HOME" -o "$db" --prunepaths '' --prunenames '' --prunefs '' --prune-bind-mounts no 2>"$work/updatedb.log" && plocate_ok=1
fi
((plocate_ok)) || say "index.sh: no plocate peer (apt-get install plocate)"

velk_q() { "$velk" --raw "$@"; }
q_name='(kMDItemFSName == "*invoice*"cd || kMDItemTitle == "*invoice*"cd || kMDItemAuthors == "*invoice*"cd || kMDItemAlbum == "*invoice*"cd)'
q_image="(kMDItemContentTypeTree == 'public.image')"
q_movie="(kMDItemContentTypeTree == 'public.movie') && kMDItemFSSize >= 1000000 && kMDItemFSContentChangeDate >= \$time.today(-365)"
q_unused='kMDItemLastUsedDate != *'

velk_time() { ((have_velk)) && median_ms "$RUNS" "$velk" --raw "$@"; }
velk_results() { ((have_velk)) && results "$velk" --raw "$@" || echo n/a; }

v_ms=$(velk_time "$q_name")
v_res=$(velk_results "$q_name")
p_name_ms=
p_name_res=n/a
if ((plocate_ok)); then
  # -b: match the file name only, as the name clause does, not every file below an "Invoices" folder.
  p_name_ms=$(median_ms "$RUNS" plocate -d "$db" -b -i invoice)
  p_name_res=$(results plocate -d "$db" -b -i invoice)
  row 'name "*invoice*"' "$v_ms" "$v_res" "plocate -b -i invoice" "$p_name_ms" "$p_name_res" slower 3
fi
f_name_ms=$(median_ms "$FIND_RUNS" find "$HOME" -iname '*invoice*')
f_name_res=$(results find "$HOME" -iname '*invoice*')
row 'name "*invoice*"' "$v_ms" "$v_res" "find -iname '*invoice*'" "$f_name_ms" "$f_name_res" faster 100

image_find=(find "$HOME" -type f '(' -iname '*.jpg' -o -iname '*.jpeg' -o -iname '*.png' -o -iname '*.gif' -o -iname '*.webp' -o -iname '*.heic'
  -o -iname '*.heif' -o -iname '*.svg' -o -iname '*.tif' -o -iname '*.tiff' -o -iname '*.bmp' -o -iname '*.cr2' -o -iname '*.arw' -o -iname '*.nef'
  -o -iname '*.dng' -o -iname '*.psd' -o -iname '*.ico' -o -iname '*.icns' ')')
f_image_ms=$(median_ms "$FIND_RUNS" "${image_find[@]}")
f_image_res=$(results "${image_find[@]}")
row "kind: images" "$(velk_time "$q_image")" "$(velk_results "$q_image")" "find -iname *.jpg -o ..." "$f_image_ms" "$f_image_res" faster 100

movie_find="find \"\$HOME\" -type f -size +1000000c -mtime -365 '(' -iname '*.mp4' -o -iname '*.m4v' -o -iname '*.mov' -o -iname '*.mkv' \
-o -iname '*.webm' -o -iname '*.avi' -o -iname '*.mpg' -o -iname '*.wmv' -o -iname '*.ogv' ')' -printf '%s %p\n' | sort -rn"
f_movie_ms=$(median_ms "$FIND_RUNS" bash -c "$movie_find")
f_movie_res=$(bash -c "$movie_find" | wc -l)
row "movies >1MB, last year, by size" "$(velk_time "$q_movie" --sort kMDItemFSSize)" "$(velk_results "$q_movie" --sort kMDItemFSSize)" \
  "find -size -mtime | sort" "$f_movie_ms" "$f_movie_res" faster 100

unused_count=n/a
((have_velk)) && unused_count=$("$velk" --raw "$q_unused" --count 2>/dev/null | tr -dc '0-9')
f_unused_ms=$(median_ms "$FIND_RUNS" bash -c 'find "$HOME" | wc -l')
row "never opened (--count)" "$(velk_time "$q_unused" --count)" "${unused_count:-n/a}" "find | wc -l" "$f_unused_ms" "$find_count" faster 100

# The same queries inside one process, the way the app runs them on the index it holds open: the
# latency a person waits for. Each velk figure is the median of bench_query's runs.
bench_query=$BUILD/bin/bench_query
if ((have_velk)) && [[ -x $bench_query ]]; then
  mapfile -t inproc < <("$bench_query" --runs "$((RUNS * 2 + 1))" "$store" "$HOME" "$q_name" "$q_image" --sort kMDItemFSSize "$q_movie" "$q_unused" 2>"$work/bench_query.log")
  if ((${#inproc[@]} == 4)); then
    read -r ms res <<<"${inproc[0]}"
    ((plocate_ok)) && row 'in process: name "*invoice*"' "$ms" "$res" "plocate -b -i invoice" "$p_name_ms" "$p_name_res" slower 3
    row 'in process: name "*invoice*"' "$ms" "$res" "find -iname '*invoice*'" "$f_name_ms" "$f_name_res" faster 100
    read -r ms res <<<"${inproc[1]}"
    row "in process: kind: images" "$ms" "$res" "find -iname *.jpg -o ..." "$f_image_ms" "$f_image_res" faster 100
    read -r ms res <<<"${inproc[2]}"
    row "in process: movies, by size" "$ms" "$res" "find -size -mtime | sort" "$f_movie_ms" "$f_movie_res" faster 100
    read -r ms res <<<"${inproc[3]}"
    row "in process: never opened" "$ms" "$res" "find | wc -l" "$f_unused_ms" "$find_count" faster 100
  else
    say "index.sh: bench_query gave no figures"
    head -5 "$work/bench_query.log" >&2
  fi
else
  say "index.sh: no $bench_query; the in-process rows are left out"
fi

# Memory: a name no file has makes the query visit the whole catalog.
rss_kib=
open_ms=
base_kib=
if ((have_velk)) && [[ -n $gnutime ]]; then
  velk_q 'kMDItemFSName == "*zzzz*"' --count >/dev/null 2>&1
  for ((i = 0; i < 3; i++)); do
    "$gnutime" -f '%M %e' -o "$work/time.$i" "$velk" --raw 'kMDItemFSName == "*zzzz*"' --count >/dev/null 2>&1
  done
  rss_kib=$(cat "$work"/time.* | awk '{ print $1 }' | sort -g | sed -n 2p)
  open_ms=$(cat "$work"/time.* | awk '{ print $2 * 1000 }' | sort -g | sed -n 2p)
  "$gnutime" -f '%M' -o "$work/time.base" "$velk" --version >/dev/null 2>&1 && base_kib=$(cat "$work/time.base")
fi

gen_rate=$(awk -v n="$files" -v s="$gen_s" 'BEGIN { printf "%.0f", n / (s > 0 ? s : 1) }')
echo
echo "Velk index benchmark: $summary"
echo "generation: ${gen_s} s (${gen_rate} files/s); timer: ${hyperfine:+hyperfine }median of $RUNS runs (find peers: $FIND_RUNS), warm cache"
echo "machine: $(nproc) cores; load average at the end: $(cut -d' ' -f1-3 /proc/loadavg)"
echo
printf '%-34s %10s %9s  %-26s %10s %9s  %-14s %-18s %-3s %s\n' figure velk results peer "peer time" results ratio aim ok load
printf '%s\n' "${rows[@]}"
echo
if [[ -n $rss_kib && -n $records && $records -gt 0 ]]; then
  per=$(awk -v k="$rss_kib" -v n="$records" 'BEGIN { printf "%.0f", k * 1024 / n }')
  net=$(awk -v k="$rss_kib" -v b="${base_kib:-0}" -v n="$records" 'BEGIN { printf "%.0f", (k - b) * 1024 / n }')
  ok=$(awk -v p="$per" 'BEGIN { print (p < 300) ? "yes" : "NO" }')
  printf '%-34s %s\n' "memory per record" "$per B ($((rss_kib / 1024)) MiB max RSS / $records records; $net B above the ${base_kib:-?} KiB of --version)  aim < 300 B: $ok"
  ok=$(awk -v t="$open_ms" 'BEGIN { print (t < 2000) ? "yes" : "NO" }')
  printf '%-34s %s\n' "open store + first query" "$(fmt_ms "$open_ms")  aim < 2 s at 1M records: $ok  (load $(cut -d' ' -f1 /proc/loadavg))"
else
  printf '%-34s %s\n' "memory per record" "n/a (needs velk-find with a store, and GNU time)"
  printf '%-34s %s\n' "open store + first query" "n/a"
fi
exit 0
