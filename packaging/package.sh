# shellcheck shell=bash
# `./dev package`: what is handed out. Sourced by dev, whose names it uses.
#
# The last commit is packed: a copy of it is taken out of the repository and packs itself, with its own script, so that
# nothing that lies about in the tree comes along. The same commit gives the same bytes on every machine with the same
# tools: no time of day, no path, no order of a folder goes in.

readonly PACKAGE_DIR=$ROOT/build/package
readonly PACKAGE_TOOLS=(zip unzip nsis)

package() {
  setup
  install_packages package "${PACKAGE_TOOLS[@]}"
  [ -z "$(git status --porcelain)" ] || say "package: what is not committed is left out"
  pack_commit HEAD "$PACKAGE_DIR"
  say "package: build/package/out"
}

# Packs a commit of the repository in whose tree we stand. Of that tree itself nothing is read.
pack_commit() { # commit, folder that gets source, stage and out
  local commit seconds
  commit=$(git rev-parse --verify "$1^{commit}") && seconds=$(git log -1 --format=%ct "$commit") || return
  rm -rf "$2/source" "$2/stage" "$2/out"
  mkdir -p "$2/source"
  git archive "$commit" | tar -x -C "$2/source" || return
  say "package: commit $(git log -1 --format=%h "$commit")"
  (cd "$2/source" && ./dev pack "$seconds" "$2")
}

# The one place that knows it; the programs have it from there, too.
package_version() { # folder of a source tree
  sed -n 's/^project(Orvekline VERSION \([0-9.]*\).*/\1/p' "$1/CMakeLists.txt"
}

# `./dev pack`, for the copy alone: packs the tree that this script belongs to.
pack() { # seconds since 1970 that every file gets, folder for stage and out
  local version stage=$2/stage out=$2/out folder
  version=$(package_version "$ROOT")
  say "package: Orvekline $version"
  # Whoever waits for a package can wait; the tests that run beside it measure time.
  renice -n 19 "$BASHPID" >/dev/null
  mkdir -p build "$stage" "$out"
  build_preset windows "${PRODUCT[@]}"

  stage_product "$stage/orvekline-$version"
  stage_rig "$stage/orvekline-$version-rig"
  stage_contract "$stage/orvekline-$version-worker-contract"
  # One time for every file, that of the commit, and one set of rights.
  find "$stage" -type d -exec chmod 755 {} + -o -type f -exec chmod 644 {} +
  find "$stage" -exec touch -h -d "@$1" {} +
  for folder in "$stage"/*; do make_zip "$folder" "$out/${folder##*/}.zip"; done
  make_installer "$version" "$1" "$stage/orvekline-$version" "$out/orvekline-$version-setup.exe"
  (cd "$out" && sha256sum -- * >SHA256SUMS && cat SHA256SUMS)
}

stage_texts() { # folder
  cp packaging/LICENSE.txt CHANGELOG.md "$1/"
}

stage_product() { # folder
  mkdir -p "$1/doc"
  cp "$WINDOWS_BIN/Orvek.exe" "$WINDOWS_BIN/orvekctl.exe" "$1/"
  cp -r "$WINDOWS_BIN/doc/help" "$1/doc/"
  cp packaging/sample/settings.txt packaging/sample/jumpers.csv "$1/"
  stage_texts "$1"
}

stage_rig() { # folder
  local program
  mkdir -p "$1"
  for program in capture motion videogen viewer practice_player capfile measure; do
    cp "$WINDOWS_BIN/$program.exe" "$1/"
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

make_installer() { # version, time, folder of the console, installer
  SOURCE_DATE_EPOCH=$2 makensis -V2 -NOCD -DVERSION="$1" -DSTAGE="$3" -DOUT="$4" packaging/installer.nsi \
    >build/makensis.log || { cat build/makensis.log; return 1; }
}
