#!/usr/bin/env bash
# Draws app/orvek.ico: a jumper's flight over the slope. Needs ImageMagick; run it again after changing the drawing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One drawing in a 256-unit square; small sizes get thicker lines, so that the flight survives the scaling.
# The curve as a row of discs: some ImageMagick versions close every stroked path.
flight() { # line-width
  awk -v r="$(($1 / 2))" 'BEGIN { for (i = 0; i <= 200; i++) { t = i / 200; u = 1 - t
    x = u*u*u*130 + 3*u*u*t*420 + 3*u*t*t*690 + t*t*t*840; y = u*u*u*300 + 3*u*u*t*170 + 3*u*t*t*390 + t*t*t*800
    printf "circle %.1f,%.1f %.1f,%.1f ", x, y, x + r, y } }'
}

draw() { # size line-width dot-radius
  convert -size 1024x1024 gradient:'#2a7fd0'-'#0b2f66' \
    -fill '#f4f9ff' \
    -draw "path 'M 0,420 C 330,450 560,700 760,850 C 850,910 930,930 1024,935 L 1024,1024 L 0,1024 Z'" \
    -fill '#ffc233' -draw "$(flight "$2")" -fill '#ff5a36' -draw "circle 575,361 $((575 + $3)),361" \
    \( -size 1024x1024 xc:black -fill white -draw 'roundrectangle 16,16 1007,1007 190,190' \) \
    -alpha off -compose CopyOpacity -composite -filter Lanczos -resize "$1x$1" "$work/$1.png"
}
draw 256 44 74
draw 48 56 88
draw 32 66 100
draw 16 90 130
convert "$work"/256.png "$work"/48.png "$work"/32.png "$work"/16.png app/orvek.ico
