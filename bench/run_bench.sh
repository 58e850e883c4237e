# shellcheck shell=bash
# How `./dev bench` measures; sourced by dev, whose names (ROOT, WINE, on_display, ...) it uses.
#
# Everything runs on one processor, the last one that we may use: a program that wanders between processors loses its
# caches on the way. Under Wine that means the program, its wineserver and its display together, so that a figure is
# the sum of their work and not of how well two processors take turns.

readonly BENCH_RESULTS=$ROOT/build/bench/results
readonly BENCH_PACKAGES=(libbenchmark-dev libyuv-dev libswscale-dev valgrind python3)
readonly BENCH_OPTIONS=(--benchmark_repetitions=9 --benchmark_enable_random_interleaving=true --benchmark_min_time=0.2)

# The processors that we may use, as "0,1" or "0-3": the last number.
last_processor() { taskset -cp $$ | grep -oE '[0-9]+$'; }

native_benchmark() { # program
  local name=${1##*/}
  say "bench: $name"
  "$1" "${BENCH_OPTIONS[@]}" --benchmark_out="$BENCH_RESULTS/$name.json" >"$BENCH_RESULTS/$name.log" 2>&1 ||
    { tail -n 20 "$BENCH_RESULTS/$name.log"; return 1; }
}

windows_benchmark() {
  say "bench: windows_bench under Wine"
  # In the results' folder, because the console that it starts leaves a log where it is started.
  (cd "$BENCH_RESULTS" && "$WINE" "$WINDOWS_BIN/windows_bench.exe" "$(windows_path "$BENCH_RESULTS/windows_bench.json")") \
    >"$BENCH_RESULTS/windows_bench.log" 2>&1 </dev/null || { tail -n 20 "$BENCH_RESULTS/windows_bench.log"; return 1; }
}

# Counts the instructions of what the program does inside its function `counted_work`, for each of the rows that it
# knows: without an argument it prints their names, `work/who`, one per line.
callgrind() { # program
  local name=${1##*/} row counts
  say "bench: $name"
  counts=$BENCH_RESULTS/$name.callgrind
  for row in $("$1"); do
    valgrind --tool=callgrind --callgrind-out-file="$BENCH_RESULTS/$name.out" --collect-atstart=no \
      --toggle-collect=counted_work "$1" "$row" >"$BENCH_RESULTS/$name.log" 2>&1 ||
      { tail -n 20 "$BENCH_RESULTS/$name.log"; return 1; }
    echo "$row $(sed -n 's/^\(summary\|totals\): *\([0-9]*\).*/\2/p' "$BENCH_RESULTS/$name.out" | tail -n 1)" >>"$counts"
  done
}

wanted() { # name of a program, beginnings of names that are wanted; none: all
  local name=$1 beginning
  shift
  [ $# -gt 0 ] || return 0
  for beginning in "$@"; do [[ $name != "$beginning"* ]] || return 0; done
  return 1
}

run_bench() { # [--record] [the beginning of a program's name]...
  local record=() whole=(--whole) program name bad=0
  if [ "${1:-}" = --record ]; then record=(--record); shift; fi
  if [ $# -gt 0 ]; then
    whole=()
    [ ${#record[@]} = 0 ] || die "only a whole run is recorded"
  fi
  setup
  install_packages bench "${BENCH_PACKAGES[@]}"
  [ -f build/bench/build.ninja ] || cmake --preset linux -B build/bench -DORVEK_BENCH=ON >/dev/null
  say "build: the benchmarks"
  cmake --build build/bench --target benchmarks
  if [ -f bench/windows_bench.cpp ] && wanted windows_bench "$@"; then build "${PRODUCT[@]}" benchmarks; fi
  rm -rf "$BENCH_RESULTS"
  mkdir -p "$BENCH_RESULTS"
  taskset -cp "$(last_processor)" $$ >/dev/null
  for program in build/bench/bin/*_bench; do
    if wanted "${program##*/}" "$@"; then native_benchmark "$program" || bad=1; fi
  done
  for program in build/bench/bin/callgrind_*; do
    if wanted "${program##*/}" "$@"; then callgrind "$program" || bad=1; fi
  done
  if [ -f bench/windows_bench.cpp ] && wanted windows_bench "$@"; then on_display windows_benchmark || bad=1; fi
  say "bench: ours beside the yardsticks (all numbers: build/bench.json)"
  python3 bench/report.py "$BENCH_RESULTS" build/bench.json "${whole[@]}" "${record[@]}"
  return "$bad"
}
