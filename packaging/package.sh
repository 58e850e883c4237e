# shellcheck shell=bash
# `./dev package`: what is handed out. Sourced by dev, whose names it uses.
#
# The last commit is packed, built from a copy of its own, so that nothing that lies about comes along. The same commit
# gives the same bytes on every machine with the same tools: no time of day, no path, no order of a folder goes in.

readonly PACKAGE_DIR=$ROOT/build/package
readonly PACKAGE_TOOLS=(zip unzip nsis)
# The one place that knows it; the programs have it from there, too.
PACKAGE_VERSION=$(sed -n 's/^project(Orvekline VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
readonly PACKAGE_VERSION

package() {
  local commit_time out=$PACKAGE_DIR/out
  setup
  install_packages package "${PACKAGE_TOOLS[@]}"
  [ -z "$(git status --porcelain)" ] || say "package: what is not committed is left out"
  commit_time=$(git log -1 --format=%ct)
  rm -rf "$PACKAGE_DIR/source" "$PACKAGE_DIR/stage" "$out"
  mkdir -p "$PACKAGE_DIR/source" "$PACKAGE_DIR/stage" "$out"
  git archive HEAD | tar -x -C "$PACKAGE_DIR/source"
  say "package: Orvekline $PACKAGE_VERSION, commit $(git log -1 --format=%h)"
  build_package_programs

  stage_product "$PACKAGE_DIR/stage/orvekline-$PACKAGE_VERSION"
  stage_rig "$PACKAGE_DIR/stage/orvekline-$PACKAGE_VERSION-rig"
  stage_contract "$PACKAGE_DIR/stage/orvekline-$PACKAGE_VERSION-worker-contract"
  # One time for every file, that of the commit, and one set of rights.
  find "$PACKAGE_DIR/stage" -type d -exec chmod 755 {} + -o -type f -exec chmod 644 {} +
  find "$PACKAGE_DIR/stage" -exec touch -h -d "@$commit_time" {} +
  local folder
  for folder in "$PACKAGE_DIR/stage"/*; do make_zip "$folder" "$out/${folder##*/}.zip"; done
  make_installer "$PACKAGE_VERSION" "$commit_time" "$out/orvekline-$PACKAGE_VERSION-setup.exe"
  (cd "$out" && sha256sum -- * >SHA256SUMS && cat SHA256SUMS)
  say "package: build/package/out"
}

# Where the copy's own ./dev would build, so that the compiler's cache knows every file.
readonly PACKAGE_BIN=$PACKAGE_DIR/source/build/windows/bin

build_package_programs() {
  (
    cd "$PACKAGE_DIR/source"
    cmake --preset windows >../configure.log 2>&1 || { cat ../configure.log; exit 1; }
    cmake --build --preset windows --target "${PRODUCT[@]}"
  )
}

stage_texts() { # folder
  cp packaging/LICENSE.txt CHANGELOG.md "$1/"
}

stage_product() { # folder
  mkdir -p "$1/doc"
  cp "$PACKAGE_BIN/Orvek.exe" "$PACKAGE_BIN/orvekctl.exe" "$1/"
  cp -r "$PACKAGE_BIN/doc/help" "$1/doc/"
  cp packaging/sample/settings.txt packaging/sample/jumpers.csv "$1/"
  stage_texts "$1"
}

stage_rig() { # folder
  local program
  mkdir -p "$1"
  for program in capture motion videogen viewer practice_player capfile measure; do
    cp "$PACKAGE_BIN/$program.exe" "$1/"
  done
  cp packaging/rig/README.md packaging/rig/rig.txt "$1/"
  stage_texts "$1"
}

stage_contract() { # folder
  mkdir -p "$1/ipc"
  cp ipc/{control_block,frame_ring,jumper_region,sync_objects,shared_access}.h "$1/ipc/"
  cp packaging/contract/minimal_worker.cpp "$1/"
  contract_page >"$1/contract.md"
  stage_texts "$1"
}

# The hand-written page with the tables of fields put in, which the headers' comments hold already.
contract_page() {
  local line
  while IFS= read -r line; do
    if [[ $line =~ ^@([A-Za-z]+)\ ([a-z_/.]+)@$ ]]; then
      awk -v wanted="${BASH_REMATCH[1]}" -f packaging/contract/fields.awk "${BASH_REMATCH[2]}"
    else
      printf '%s\n' "$line"
    fi
  done <packaging/contract/contract.md
}

make_zip() { # folder, archive
  (cd "${1%/*}" && find "${1##*/}" -type f | sort | TZ=UTC zip -X -q -9 "$2" -@)
}

make_installer() { # version, time, installer
  SOURCE_DATE_EPOCH=$2 makensis -V2 -NOCD -DVERSION="$1" -DSTAGE="$PACKAGE_DIR/stage/orvekline-$1" -DOUT="$3" \
    packaging/installer.nsi >"$PACKAGE_DIR/makensis.log" || { cat "$PACKAGE_DIR/makensis.log"; return 1; }
}
