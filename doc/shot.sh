# shellcheck shell=bash
# `./dev shot`: renews the pictures in doc/screenshots. Sourced by dev, whose names it uses.
#
# tests/shots/photographer.cpp plays a practice run on the simulated rig and photographs what it sees; here its pictures
# get small enough to be kept with the sources.

readonly SHOT_DIR=$ROOT/build/shots
readonly SCREENSHOTS=$ROOT/doc/screenshots

shot() {
  local picture name
  setup
  build "${PRODUCT[@]}" photographer || die "the build failed"
  rm -rf "$SHOT_DIR"
  mkdir -p "$SHOT_DIR" "$SCREENSHOTS"
  say "shot: a practice run with the camera (two minutes)"
  ORVEK_SHOTS=$(windows_path "$SHOT_DIR") on_display \
    "$WINE" "$WINDOWS_BIN/photographer.exe" --gtest_filter='Photographer*' >"$SHOT_DIR/log" 2>&1 </dev/null ||
    { tail -n 20 "$SHOT_DIR/log"; die "not every picture was taken"; }
  rm -f "$SCREENSHOTS"/*.png
  for picture in "$SHOT_DIR"/*.bmp; do
    name=$(basename "$picture" .bmp)
    # The black edge is the desktop; without dithering plain ground stays plain, and small.
    convert "$picture" -bordercolor black -border 1 -trim +repage +dither -colors 96 -strip "png8:$SCREENSHOTS/$name.png"
  done
  say "shot: $(find "$SCREENSHOTS" -name '*.png' | wc -l) pictures, $(du -sk "$SCREENSHOTS" | cut -f 1) KiB, in doc/screenshots"
}
