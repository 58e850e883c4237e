# shellcheck shell=bash
# What `./dev package` made, taken as whoever gets it takes it: unpacked, installed, run, uninstalled. Sourced by dev,
# whose names it uses. Every check is one test.

check() { # what, command...
  local what=$1 status=0
  shift
  "$@" >"$TEST_DIR/package_check.log" 2>&1 </dev/null || status=$?
  [ "$status" = 0 ] || tail -n 20 "$TEST_DIR/package_check.log"
  count "package: $what" "$status"
}

is_there() { # files...
  local file
  for file in "$@"; do [ -f "$file" ] || { echo "$file is missing"; return 1; }; done
}

is_gone() {
  local file
  for file in "$@"; do [ ! -e "$file" ] || { echo "$file is still there"; return 1; }; done
}

says() { # wanted text, command...
  local wanted=$1 said=$TEST_DIR/package_said
  shift
  # Into a file: a pipe stays open for as long as what Wine starts beside a program does.
  "$@" >"$said" 2>&1 || { echo "status $?:"; cat "$said"; return 1; }
  grep -qF -e "$wanted" "$said" || { echo "says:"; cat "$said"; return 1; }
}

# The same commit packed again, by a new build, from a tree that lies elsewhere and in which every file is emptied.
packs_alike() { # commit
  local tree=$TEST_DIR/package_tree again=$TEST_DIR/package_again
  rm -rf "$tree"
  mkdir -p "$tree"
  git archive "$1" | tar -x -C "$tree" || return
  find "$tree" -type f -exec truncate -s 0 {} +
  (
    GIT_DIR=$(git rev-parse --absolute-git-dir)
    export GIT_DIR
    cd "$tree" && pack_commit "$1" "$again"
  ) || return
  diff "$PACKAGE_DIR/out/SHA256SUMS" "$again/out/SHA256SUMS"
}

example_compiles() { # folder of the contract
  nice -n 19 x86_64-w64-mingw32-g++-posix -std=c++17 -Wall -Wextra -Werror -O2 \
    -I"$1" -static -o "$1/motion.exe" "$1/minimal_worker.cpp"
}

# What the headers assert of the places of fields, as rows of a table: those and no others has the page.
contract_is_complete() { # folder of the contract
  sed -nE -e 's/^ORVEK_AT\(([a-z_0-9]+), ([0-9]+)\);.*/\2 \1/p' "$1"/ipc/*.h >"$TEST_DIR/asserted"
  grep -ohE 'offsetof\([A-Za-z]+, [a-z_0-9]+\) == [0-9]+' "$1"/ipc/*.h |
    sed -E 's/.*, ([a-z_0-9]+)\) == ([0-9]+)/\2 \1/' >>"$TEST_DIR/asserted"
  sed -nE 's/^\| ([0-9]+) \| `([a-z_0-9]+)[^`]*` \|.*/\1 \2/p' "$1/contract.md" >"$TEST_DIR/rows"
  [ "$(wc -l <"$TEST_DIR/rows")" -gt 50 ] &&
    diff <(sort "$TEST_DIR/asserted") <(sort "$TEST_DIR/rows") &&
    ! grep -E '^\| [0-9]+ \|.*\|  \|$' "$1/contract.md"
}

# The programs that a console ends after a crash.
names_what_is_ended() { # page
  local program programs
  programs=$(grep -oE '[a-z_]+\.exe' "$PACKAGE_DIR/source/ipc/worker_names.cpp") || return
  for program in $programs; do
    sed -n '/By these entries/,/Nothing else is ended/p' "$1" | grep -qF "\`$program\`" || { echo "$program"; return 1; }
  done
}

starts_and_closes() { # folder of the console
  (cd "$1" && ORVEK_RIG_MAX_SECONDS=60 timeout 120 "$WINE" Orvek.exe --capture-test --duration 1) &&
    grep -q 'controller exiting' "$1/controller_debug.log" && is_there "$1/settings.txt"
}

installs() { # folder
  timeout 120 "$WINE" "$PACKAGE_DIR/out/orvekline-$version-setup.exe" /S "/D=$(windows_path "$1")" &&
    is_there "$1/Orvek.exe" "$1/orvekctl.exe" "$1/settings.txt" "$1/doc/help/index.html" "$1/uninstall.exe"
}

# The uninstaller goes on in a copy of itself, which removes the one in the folder last.
uninstalls() { # folder
  timeout 120 "$WINE" "$1/uninstall.exe" /S
  for _ in $(seq 300); do [ -e "$1/uninstall.exe" ] || break; sleep 0.2; done
  is_gone "$1/uninstall.exe" "$1/Orvek.exe" "$1/orvekctl.exe" "$1/doc" "$1/LICENSE.txt"
}

# What the list of installed programs reads.
is_registered() {
  "$WINE" reg query 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Orvekline' /v UninstallString
}

# Asks for what is always there, too, so that a reg.exe that does not run is no good news.
is_unregistered() {
  "$WINE" reg query 'HKCU\Software\Microsoft\Windows\CurrentVersion' >/dev/null && ! is_registered
}

start_menu_entries() {
  find "$WINEPREFIX/drive_c" -path '*Start Menu/Programs/Orvekline/*.lnk' | wc -l
}

test_package() {
  local work=$TEST_DIR/package commit folder version
  commit=$(git rev-parse HEAD)
  pack_commit "$commit" "$PACKAGE_DIR" >"$TEST_DIR/package.log" 2>&1 ||
    { tail -n 20 "$TEST_DIR/package.log"; count "package" 1; return; }
  version=$(package_version "$PACKAGE_DIR/source")
  rm -rf "$work"
  mkdir -p "$work"
  for folder in "" -rig -worker-contract; do
    check "the archive orvekline$folder is whole" unzip -q "$PACKAGE_DIR/out/orvekline-$version$folder.zip" -d "$work"
  done
  check "the sums are right" sh -c "cd '$PACKAGE_DIR/out' && sha256sum --check --quiet SHA256SUMS"
  check "the same commit gives the same bytes, wherever it is packed and whatever its tree holds" packs_alike "$commit"
  check "the example worker compiles as C++17 from the contract alone" \
    example_compiles "$work/orvekline-$version-worker-contract"
  check "every field stands in the contract, with its place and a meaning" \
    contract_is_complete "$work/orvekline-$version-worker-contract"
  check "the contract names every program that a console ends after a crash" \
    names_what_is_ended "$work/orvekline-$version-worker-contract/contract.md"

  folder=$work/orvekline-$version
  check "orvekctl of the archive runs" says "min_blob_sizes[0]" "$WINE" "$folder/orvekctl.exe" settings list
  check "the console of the archive tells its options" says "--capture-test" "$WINE" "$folder/Orvek.exe" --help
  check "the console of the archive starts and closes" starts_and_closes "$folder"

  folder=$work/installed
  check "the installer installs" installs "$folder"
  check "the Start menu shows it" test "$(start_menu_entries)" = 2
  check "the list of installed programs shows it" is_registered
  echo "the operator's" >"$folder/settings.txt"
  echo "a film" >"$folder/cap_0.mp4"
  check "it installs over an older version" installs "$folder"
  check "the operator's settings stay" grep -q "the operator's" "$folder/settings.txt"
  check "the uninstaller removes the programs" uninstalls "$folder"
  check "it keeps settings and recordings" is_there "$folder/settings.txt" "$folder/jumpers.csv" "$folder/cap_0.mp4"
  check "it takes itself out of the Start menu" test "$(start_menu_entries)" = 0
  check "it takes itself out of the list of installed programs" is_unregistered
}
