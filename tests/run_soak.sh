# shellcheck shell=bash
# How the endurance run is started; sourced by dev, whose names (ROOT, WINE, under_wine, ...) it uses.

# The settings folder of the run lies on a small volume of its own, which can be full and read-only without harm to
# anything else. Only root can have one; without it the run says what it leaves out.
mount_soak_volume() {
  [ "$(id -u)" = 0 ] || return 1
  unmount_soak_volume
  mkdir -p "$LANES_TMPDIR/soak_volume"
  mount -t tmpfs -o size=96m tmpfs "$LANES_TMPDIR/soak_volume" 2>/dev/null
}

unmount_soak_volume() {
  local volume=$LANES_TMPDIR/soak_volume
  mountpoint -q "$volume" 2>/dev/null || return 0
  chattr -i "$volume" 2>/dev/null || true
  umount "$volume" 2>/dev/null || umount -l "$volume" || true
}

# A preloaded library answers for the wall clock, so that it can be set back for the run's processes alone; the clock
# that only counts on stays the machine's. Looked at once a second.
fake_clock() { # file
  local library
  library=$(find /usr/lib -name libfaketimeMT.so.1 2>/dev/null | head -n 1)
  [ -n "$library" ] || return 0
  printf '+0\n' >"$1"
  ORVEK_SOAK_CLOCK=$(windows_path "$1")
  export ORVEK_SOAK_CLOCK LD_PRELOAD=$library FAKETIME_TIMESTAMP_FILE=$1 FAKETIME_CACHE_DURATION=1
  export FAKETIME_DONT_FAKE_MONOTONIC=1 DONT_FAKE_MONOTONIC=1
}

# Inside a lane with a prefix and a display of its own.
soak_run() { # minutes, seed, report without .txt and .json
  local status=0
  timeout 60 "$WINESERVER" -w || true  # one that runs already knows the machine's clock only
  if mount_soak_volume; then
    ORVEK_SOAK_FOLDER=$(windows_path "$LANES_TMPDIR/soak_volume")
    export ORVEK_SOAK_FOLDER
  fi
  (
    fake_clock "$LANES_TMPDIR/soak_clock"
    timeout $((($1 + 5) * 60)) "$WINE" "$WINDOWS_BIN/soak.exe" "$1" "$2" "$(windows_path "$3.json")"
  ) </dev/null >"$3.txt" 2>&1 || status=$?
  unmount_soak_volume
  return "$status"
}

soak_figures() { sed -n '/^seed .* minutes/,$p' "$1"; } # report

# ./dev soak MINUTES [SEED]: the whole rig under faults; figures on the screen and, as JSON, in build/soak.
soak() {
  local minutes=${1:-10} seed=${2:-$((RANDOM * 32768 + RANDOM))} status=0 report
  report=$ROOT/build/soak/report-$seed
  setup
  build "${PRODUCT[@]}" soak || die "the build failed"
  begin_lanes soak
  mkdir -p "$ROOT/build/soak"
  rm -f "$report.txt" "$report.json"
  say "soak: $minutes minutes with seed $seed (progress: build/soak/report-$seed.txt)"
  start_lane soak under_wine soak soak_run "$minutes" "$seed" "$report"
  wait "${!LANE_OF_PID[@]}" || status=$?
  LANE_OF_PID=()
  cat "$TEST_DIR/soak.out"
  [ ! -f "$report.txt" ] || soak_figures "$report.txt"
  return "$status"
}

# The short form, for the tests: a minute or two with a seed that throws much.
readonly SOAK_TEST_SEED=20
soak_lane() {
  local status=0 report=$TEST_DIR/soak-$SOAK_TEST_SEED
  soak_run 1 "$SOAK_TEST_SEED" "$report" || status=$?
  [ "$status" = 0 ] || soak_figures "$report.txt"
  count "soak ($(awk '/^all /{print $2 " faults thrown, " $3 " survived"}' "$report.txt"))" "$status"
}
