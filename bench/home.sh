# Shared by the index benchmarks (source it): the build, a scratch folder removed on exit, and a
# generated home folder that HOME and the XDG folders point into.
#
#   bench_setup NAME TARGET...   makes $work and builds the targets
#   bench_home FILES             generates $home (seed 1, dates ending today); sets $summary and $gen_s
#
# Environment: BUILD (build folder, default <repo>/build), TMPDIR (where the home goes), KEEP=1 keeps it.

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=${BUILD:-$repo/build}
velk=$BUILD/bin/velk-find
genhome=$BUILD/bin/velk-genhome

say() { printf '%s\n' "$*" >&2; }

bench_cleanup() {
  if [[ ${KEEP:-0} == 1 ]]; then
    say "$bench_name: kept $work"
    return
  fi
  # The fixture has folders nobody may enter; open them so rm can descend.
  find "$work" -type d ! -perm -u+rwx -exec chmod u+rwx {} + 2>/dev/null
  rm -rf "$work"
}

bench_setup() {
  bench_name=$1
  shift
  work=$(mktemp -d "${TMPDIR:-/tmp}/velk-$bench_name.XXXXXX") || exit 1
  trap bench_cleanup EXIT
  trap 'exit 130' INT TERM
  # A stale binary is still better than none while someone else's change breaks the build.
  if [[ ! -f $BUILD/CMakeCache.txt ]]; then
    cmake -S "$repo" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >"$work/build.log" 2>&1 || { tail -20 "$work/build.log" >&2; exit 1; }
  fi
  if ! cmake --build "$BUILD" --target "$@" >"$work/build.log" 2>&1; then
    tail -5 "$work/build.log" >&2
    say "$bench_name: building failed; using the binaries already there"
  fi
  [[ -x $genhome && -x $velk ]] || { say "$bench_name: no $genhome or $velk"; exit 1; }
}

bench_home() {
  home=$work/home
  export HOME=$home XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share XDG_CACHE_HOME=$home/.cache
  export XDG_STATE_HOME=$home/.local/state XDG_DATA_DIRS=/usr/local/share:/usr/share
  # Dates end today, so "the last year" holds the same share of the files whichever day this runs.
  local today start
  today=$(date -u -d 'today 00:00' +%s)
  say "$bench_name: generating $1 files into $home"
  start=$EPOCHREALTIME
  summary=$("$genhome" --files "$1" --seed 1 --large --now "$today" "$home") || { say "$bench_name: velk-genhome failed"; exit 1; }
  gen_s=$(awk -v s="$start" -v e="$EPOCHREALTIME" 'BEGIN { printf "%.1f", e - s }')
  say "$summary"
}
