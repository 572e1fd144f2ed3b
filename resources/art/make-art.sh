#!/usr/bin/env bash
# Draws resources/talvenor.ico and the bitmaps resources/states*.bmp from their sources in this folder.
# Needs Debian's librsvg2-bin, icoutils, imagemagick and optipng. Builds do not need these packages, as the results are
# committed.
set -euo pipefail
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

images=()
for size in 16 20 24 32 40 48 64 256; do
  drawing=talvenor.svg
  [ "$size" -gt 24 ] || drawing=talvenor-small.svg
  rsvg-convert --width "$size" --height "$size" --output "$work/$size.png" "$drawing"
  # Only the largest image is a PNG: older readers of icons accept PNG at that size only.
  if [ "$size" -ge 256 ]; then
    optipng -quiet -o7 "$work/$size.png"
    images+=(--raw)
  fi
  images+=("$work/$size.png")
done
icotool --create --output ../talvenor.ico "${images[@]}"

# Each bitmap has the two state images side by side: drawn by hand for 100 % scaling, rendered from one drawing for the
# other scalings.
convert states.xpm -type TrueColor BMP3:../states.bmp
for size in 15 18 24 36; do
  rsvg-convert --width $((2 * size)) --height $size --output "$work/states.png" states.svg
  convert "$work/states.png" -type TrueColor BMP3:../states$size.bmp
done
