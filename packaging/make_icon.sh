#!/usr/bin/env bash
# Draws app/orvek.ico: a jumper's flight over the slope. Needs ImageMagick; run it again after changing the drawing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One drawing in a 256-unit square; small sizes get thicker lines, so that the flight survives the scaling.
draw() { # size line-width dot-radius
  convert -size 1024x1024 xc:none -scale 1024x1024 \
    \( -size 1024x1024 gradient:'#2a7fd0'-'#0b2f66' \) \
    \( -size 1024x1024 xc:black -fill white -draw 'roundrectangle 16,16 1007,1007 190,190' \) \
    -delete 0 -alpha off -compose CopyOpacity -composite -compose Over \
    \( -size 1024x1024 xc:none -fill '#f4f9ff' \
       -draw "path 'M 16,420 C 330,450 560,700 760,850 C 850,910 930,930 1008,935 L 1008,1008 L 16,1008 Z'" \
       \( -size 1024x1024 xc:black -fill white -draw 'roundrectangle 16,16 1007,1007 190,190' \) \
       -alpha on -compose DstIn -composite -compose Over \) -composite \
    -fill none -stroke '#ffc233' -strokewidth "$2" \
    -draw "stroke-linecap round path 'M 130,330 C 420,200 680,400 840,800'" \
    -stroke none -fill '#ff5a36' -draw "circle 560,362 $((560 + $3)),362" \
    -filter Lanczos -resize "$1x$1" "$work/$1.png"
}
draw 256 44 74
draw 48 56 88
draw 32 66 100
draw 16 90 130
convert "$work"/256.png "$work"/48.png "$work"/32.png "$work"/16.png app/orvek.ico
