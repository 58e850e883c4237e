# shellcheck shell=bash
# A lane counts for itself, in a subshell; finish_lanes adds up.
# shellcheck disable=SC2030,SC2031
# How `./dev test` runs the tests; sourced by dev, whose names (ROOT, WINE, on_display, ...) it uses.
#
# Most of the tests under Wine wait: for a window, a timer, a worker that must not answer. So they run in lanes side by
# side, and what needs the processor runs behind them at the lowest priority. Every lane under Wine has a prefix, hence
# a wineserver, of its own: "Local\SkiJumpControl", process lists, the pointer and the focus are then its own too, and
# a console that somebody has running meanwhile is none of its business. What measures time or films 60 pictures a
# second in gigabytes of memory comes at the end, alone on the machine.

readonly TEST_DIR=$ROOT/build/test
readonly CONSOLE_LANES=3
readonly CONSOLE_ALONE='*OnTheRig*:HungWorkers.*:Crash.*:SecondStart.BesideACrash*:HostileJumpers.*'
readonly SERVICES_ALONE='RigWorkers.*:PreviewThread.*:*HungOwner*:*HungViewer*:PreviewRegions.*'

passed=0 failed=0 skipped=0

# ---------------------------------------------------------------------------------------------------------- suites

count() { # name, outcome of a check that is one test by itself
  if [ "$2" = 0 ]; then passed=$((passed + 1)); echo "   $1: passed"; else
    failed=$((failed + 1)); echo "   $1: FAILED"; fi
}

# Runs one GoogleTest program and adds up its results. A program that dies without a report counts as one failure, and
# so does one that hangs: the slowest takes ten minutes.
suite() { # name, command...
  local name=$1 status=0 xml=$TEST_DIR/$1.xml log=$TEST_DIR/$1.log report started=$SECONDS
  shift
  report=$xml
  [ "${*/$WINE/}" = "$*" ] || report=$(windows_path "$xml")
  rm -f "$xml"
  timeout -k 10 2400 "$@" --gtest_output="xml:$report" >"$log" 2>&1 </dev/null || status=$?
  if [ ! -s "$xml" ]; then
    tail -n 40 "$log"
    echo "   $name died with status $status (whole output: $log)"
    failed=$((failed + 1))
    return
  fi
  local total bad left_out
  total=$(grep -o '<testsuites [^>]*' "$xml" | grep -o ' tests="[0-9]*"' | grep -o '[0-9]*')
  bad=$(grep -o '<testsuites [^>]*' "$xml" | grep -o ' failures="[0-9]*"' | grep -o '[0-9]*')
  left_out=$(grep -c 'result="skipped"' "$xml" || true)
  [ "$status" = 0 ] || [ "$bad" -gt 0 ] || bad=1
  [ "$bad" = 0 ] || { grep -vE '^(\[( +OK|---|===| RUN)|$)' "$log" | head -n 200; echo "   whole output: $log"; }
  passed=$((passed + total - bad - left_out)) failed=$((failed + bad)) skipped=$((skipped + left_out))
  echo "   $name: $((total - bad - left_out)) passed, $bad failed, $left_out skipped ($((SECONDS - started)) s)"
}

# Each fuzz target over its corpus and on for a few seconds.
fuzz_targets() { # seconds
  local target name status
  for target in build/linux-fuzz/bin/*_fuzz; do
    name=${target##*/}
    mkdir -p "build/fuzz/$name" "tests/fuzz/${name%_fuzz}"
    status=0
    "$target" -max_total_time="$1" -max_len=65536 -timeout=60 -artifact_prefix="build/fuzz/$name-" \
      "build/fuzz/$name" "tests/fuzz/${name%_fuzz}" >"$TEST_DIR/$name.log" 2>&1 || status=$?
    [ "$status" = 0 ] || tail -n 30 "$TEST_DIR/$name.log"
    count "fuzz $name ($(grep -oE 'Done [0-9]+ runs|stat::number_of_executed_units: [0-9]+' "$TEST_DIR/$name.log" | tail -n 1))" "$status"
  done
}

# ----------------------------------------------------------------------------------------------------------- lanes

declare -A LANE_OF_PID=()

# Runs a command in the background, in a process group of its own. What it prints and counts lies in files until
# finish_lanes has it.
start_lane() { # name, command...
  local name=$1
  shift
  rm -f "$TEST_DIR/$name.counts"
  set -m
  (
    trap - EXIT INT TERM
    passed=0 failed=0 skipped=0
    "$@"
    echo "$passed $failed $skipped" >"$TEST_DIR/$name.counts"
  ) >"$TEST_DIR/$name.out" 2>&1 </dev/null {LANES_LOCK}>&- &
  set +m
  LANE_OF_PID[$!]=$name
}

# Waits for all lanes and prints what each had to say as soon as it ends. One that ended before it had counted is a
# failure.
finish_lanes() {
  local pid name good bad left_out
  while [ ${#LANE_OF_PID[@]} -gt 0 ]; do
    wait -n -p pid "${!LANE_OF_PID[@]}" || true
    name=${LANE_OF_PID[$pid]}
    unset "LANE_OF_PID[$pid]"
    cat "$TEST_DIR/$name.out"
    if read -r good bad left_out 2>/dev/null <"$TEST_DIR/$name.counts"; then
      passed=$((passed + good)) failed=$((failed + bad)) skipped=$((skipped + left_out))
    else
      count "the lane of $name, which died (its output is above)" 1
    fi
  done
}

# What belongs to this call alone: a folder in LANES_TMPDIR, which the lanes' own lie in, and what stop_lanes ends. A
# tree has one call of a kind at a time, whose lanes have names that no other kind's have.
begin_lanes() { # kind
  mkdir -p "$TEST_DIR"
  exec {LANES_LOCK}>"$TEST_DIR/$1.lock"
  flock -n "$LANES_LOCK" || die "another ./dev $1 is under way in this tree"
  LANES_TMPDIR=$(mktemp -d "${TMPDIR:-/tmp}/$1.XXXXXX")
  trap stop_lanes EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM
}

# Ends what the lanes of this call started, and only that: another call's may run beside them.
stop_lanes() {
  local pid lane prefix
  trap - EXIT INT TERM
  for pid in "${!LANE_OF_PID[@]}"; do kill -TERM -- "-$pid" 2>/dev/null || true; done
  for lane in "$LANES_TMPDIR"/*/; do
    prefix=$TEST_DIR/prefix-$(basename "$lane")
    # Below TMPDIR lies also the socket by which a server is found.
    [ ! -d "$prefix" ] || WINEPREFIX=$prefix TMPDIR=${lane%/} "$WINESERVER" -k 2>/dev/null || true
  done
  unmount_soak_volume
  remove_disks
  rm -rf --one-file-system "$LANES_TMPDIR" || true
}

# Two small file systems for the tests of saving: one that a test may fill, one that nobody can write to. Only root may
# mount; without them those tests say that they are skipped.
make_disks() {
  local disk
  for disk in small_disk read_only_disk; do
    mkdir -p "$LANES_TMPDIR/$disk"
    mount -t tmpfs -o size=2m tmpfs "$LANES_TMPDIR/$disk" 2>/dev/null ||
      { say "test: no disks to fill or to protect (mounting is not allowed)"; return 0; }
  done
  echo "feed_count=2" >"$LANES_TMPDIR/read_only_disk/settings.txt"
  mount -o remount,ro "$LANES_TMPDIR/read_only_disk" || return 0
  ORVEK_SMALL_DISK=$(windows_path "$LANES_TMPDIR/small_disk")
  ORVEK_READ_ONLY_DISK=$(windows_path "$LANES_TMPDIR/read_only_disk")
  export ORVEK_SMALL_DISK ORVEK_READ_ONLY_DISK
}

remove_disks() {
  local disk
  for disk in small_disk read_only_disk; do umount -l "$LANES_TMPDIR/$disk" 2>/dev/null || true; done
}

# A prefix like the one that setup made. The programs in it are never written, so links to them do; the registry, the
# user's files and the system's settings files, which are written in place, are this prefix's own.
make_prefix() { # folder
  rm -rf "$1"
  mkdir -p "$1"
  cp -al "$WINEPREFIX/drive_c" "$1/"
  cp --remove-destination "$WINEPREFIX"/drive_c/windows/*.ini "$1/drive_c/windows/"
  rm -rf "$1/drive_c/users"
  cp -a "$WINEPREFIX/drive_c/users" "$WINEPREFIX"/*.reg "$WINEPREFIX/.update-timestamp" "$WINEPREFIX/dosdevices" "$1/"
  mv "$1/users" "$1/drive_c/"
}

# Runs a command with a prefix, a folder for shared memory and a display of its own.
under_wine() { # name, command...
  local name=$1 status=0
  shift
  make_prefix "$TEST_DIR/prefix-$name"
  export WINEPREFIX=$TEST_DIR/prefix-$name TMPDIR=$LANES_TMPDIR/$name
  mkdir -p "$TMPDIR"
  on_display "$@" || status=$?
  "$WINESERVER" -k 2>/dev/null || true
  "$WINESERVER" -w
  return "$status"
}

# ------------------------------------------------------------------------------------------------ what each lane does

console_lane() { # number, from 1
  export GTEST_TOTAL_SHARDS=$CONSOLE_LANES GTEST_SHARD_INDEX=$(($1 - 1))
  suite "console-wine-$1" "$WINE" "$WINDOWS_BIN/console_tests.exe" "--gtest_filter=-$CONSOLE_ALONE"
}

services_lane() {
  suite unit-wine "$WINE" "$WINDOWS_BIN/unit_tests.exe"
  suite services-wine "$WINE" "$WINDOWS_BIN/windows_tests.exe" "--gtest_filter=-$SERVICES_ALONE"
}

# Builds for itself, so that the lanes that only wait need not wait for that as well.
processor_lane() {
  local status=0
  renice -n 19 "$BASHPID" >/dev/null
  build_preset linux-asan unit_tests orvekctl || die "the sanitized build failed"
  build_preset linux orvekctl || die "the native build failed"
  build_preset linux-fuzz || die "the fuzzers' build failed"
  suite unit-sanitized build/linux-asan/bin/unit_tests
  fuzz_targets 5
  lint || status=$?
  count lint "$status"
}

alone_lane() {
  suite services-wine-alone "$WINE" "$WINDOWS_BIN/windows_tests.exe" "--gtest_filter=$SERVICES_ALONE"
  suite console-wine-alone "$WINE" "$WINDOWS_BIN/console_tests.exe" "--gtest_filter=$CONSOLE_ALONE"
  soak_lane
}

run_tests() {
  local lane
  setup
  install_packages package "${PACKAGE_TOOLS[@]}"  # a lane cannot ask for a password
  build || die "the build failed"
  begin_lanes test
  make_disks

  say "test: the console in $CONSOLE_LANES lanes; units and services under Wine; sanitized units, fuzz targets and lint"
  for lane in $(seq "$CONSOLE_LANES"); do start_lane "console-$lane" under_wine "console-$lane" console_lane "$lane"; done
  start_lane services under_wine services services_lane
  start_lane package under_wine package test_package
  start_lane processor processor_lane
  finish_lanes
  say "test: alone on the machine, what measures time or runs the whole simulated rig"
  start_lane alone under_wine alone alone_lane
  finish_lanes

  echo
  echo "$passed passed, $failed failed, $skipped skipped"
  [ "$failed" = 0 ]
}
