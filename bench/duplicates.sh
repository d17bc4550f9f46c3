#!/usr/bin/env bash
# Figures for the duplicate scans, against peers run in the same script on the same trees.
#
#   bench/duplicates.sh [BUILD_DIR] [WORK_DIR]
#
# Exact copies: a generated tree with planted duplicates (equal sizes with different contents, equal
# ends with different middles, hard links, sparse files above the sampling bound, unreadable files).
# Velk's groups must equal those of `fdupes -r` once both are restricted to files of at least 51200
# bytes with hard links folded; the times of fdupes, jdupes and rmlint are taken with the same floor.
#
# Look-alike photos: a labelled corpus made from the wallpaper photographs of Debian's packages, each
# with edited copies (lower JPEG quality, half size, cropped by up to 5%, exposure and contrast moved
# by 15%, slightly blurred, another format), plus unrelated photos. Precision and recall of the
# joined pairs for Velk and for findimagedupes, and the feature prints per second on one core.
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build}
work=${2:-/tmp/velk-bench-duplicates}
bench=$build/bin/bench_duplicates
runs=3

# The peers and the picture packages are for this benchmark only.
peers=(fdupes jdupes rmlint findimagedupes)
pictures=(mate-backgrounds ukui-wallpapers plasma-workspace-wallpapers lomiri-wallpapers opencv-doc)
missing=()
for p in "${peers[@]}" "${pictures[@]}"; do
  [[ $(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true) == "install ok installed" ]] || missing+=("$p")
done
if ((${#missing[@]})); then
  sudo=()
  [[ $(id -u) -eq 0 ]] || sudo=(sudo)
  export DEBIAN_FRONTEND=noninteractive
  "${sudo[@]}" apt-get update -qq
  "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
[[ -x $bench ]] || { echo "build bench_duplicates first (cmake --build $build --target bench_duplicates)" >&2; exit 1; }
export QT_QPA_PLATFORM=offscreen

seconds() { date +%s.%N; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN {print a / b}'; }
# The median wall time of $runs runs of a command, its output thrown away.
median_time() {
  local times=()
  for ((i = 0; i < runs; i++)); do
    local start end
    start=$(seconds)
    "$@" > /dev/null 2>&1 || true
    end=$(seconds)
    times+=("$(awk -v a="$start" -v b="$end" 'BEGIN {print b - a}')")
  done
  printf '%s\n' "${times[@]}" | sort -g | sed -n "$(((runs + 1) / 2))p"
}

echo "== exact copies"
tree=$work/exact
if [[ ! -d $tree ]]; then
  "$bench" generate-exact "$tree"
fi
# One read of everything first, so that every tool meets a warm cache.
find "$tree" -type f -exec cat {} + > /dev/null 2>&1 || true

"$bench" exact "$tree" "$work/velk-groups.txt" | tee "$work/velk-exact.log"
fdupes -r -q "$tree" > "$work/fdupes-all.txt" 2>/dev/null || true
"$bench" compare-exact "$work/velk-groups.txt" "$work/fdupes-all.txt" || echo "exact: groups differ from fdupes"

velk_times=()
for ((i = 0; i < runs; i++)); do
  velk_times+=("$("$bench" exact "$tree" /dev/null | awk '/velk-scan-seconds/ {print $2}')")
done
velk=$(printf '%s\n' "${velk_times[@]}" | sort -g | sed -n "$(((runs + 1) / 2))p")
fdupes=$(median_time fdupes -r -q -G 51200 "$tree")
jdupes=$(median_time jdupes -r -q -X size+=:51200 "$tree")
rmlint=$(median_time rmlint -T df --size 51200-1T -o fdupes:/dev/null "$tree")
printf 'exact scan, median of %d (velk: query and hashing over an index already up to date)\n' "$runs"
printf '  velk    %6.2f s\n  fdupes  %6.2f s  (fdupes / velk %.2f)\n  jdupes  %6.2f s  (jdupes / velk %.2f)\n  rmlint  %6.2f s  (rmlint / velk %.2f)\n' \
  "$velk" "$fdupes" "$(ratio "$fdupes" "$velk")" "$jdupes" "$(ratio "$jdupes" "$velk")" "$rmlint" "$(ratio "$rmlint" "$velk")"
grep "index walk" "$work/velk-exact.log" || true

echo "== look-alike photos"
photos=$work/photos
if [[ ! -d $photos ]]; then
  mapfile -t originals < <(
    set +e +o pipefail
    {
      find /usr/share/backgrounds -maxdepth 1 -type f \( -iname '*.jpg' -o -iname '*.png' \) -size +50k
      # The abstract MATE pictures are transparent overlays; the coloured variants of one design are
      # look-alikes of each other, so only one of them is taken.
      find /usr/share/backgrounds/mate -type f \( -iname '*.jpg' -o -iname '*.png' \) -size +50k |
        grep -v -E 'Elephants_|mate/abstract/.*\.png|Ubuntu-Mate-(Cold|Dark|Radioactive)|MATE-Stripes'
      # One picture per wallpaper: its other sizes are other crops of the same photo.
      for d in /usr/share/wallpapers/*/contents/images; do ls -S "$d"/*.jpg "$d"/*.png 2>/dev/null | head -1; done
    } | sort -u
  )
  "$bench" make-photos "$photos" "${originals[@]}"
  data=/usr/share/doc/opencv-doc/examples
  "$bench" add-distractors "$photos" $data/data/{baboon,fruits,leuvenA,squirrel_cls,aloeL,board,starry_night,messi5,building,ela_original}.jpg \
    $data/data/smarties.png $data/alphamat/input_images/plant.jpg $data/text/scenetext0{1,2,4,5,6}.jpg $data/dnn_superres/butterfly.png
fi
"$bench" similar "$photos"
start=$(seconds)
findimagedupes -R -q -t 90% "$photos" > "$work/findimagedupes.txt" 2>/dev/null || true
end=$(seconds)
"$bench" score-groups "$photos" "$work/findimagedupes.txt" findimagedupes
printf 'findimagedupes: %.1f s for the corpus\n' "$(awk -v a="$start" -v b="$end" 'BEGIN {print b - a}')"
