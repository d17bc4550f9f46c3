#!/usr/bin/env bash
# The preview sheet's speed: bench_preview, offscreen, with the date, the commit and the machine's load
# printed first, as bench/README.md records them. The benchmark makes its own home and peers.
#
#   bench/preview.sh
set -uo pipefail
export LC_ALL=C
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=${BUILD:-$repo/build}
if ! cmake --build "$BUILD" --target bench_preview velk-worker >/dev/null 2>&1; then
  printf 'preview: building failed; using the binaries already there\n' >&2
fi
printf '%s, commit %s, load %s\n' "$(date +%F)" "$(git -C "$repo" rev-parse --short HEAD)" "$(cut -d' ' -f1-3 /proc/loadavg)"
QT_QPA_PLATFORM=offscreen "$BUILD/bin/bench_preview"
