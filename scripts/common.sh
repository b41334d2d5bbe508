# Shared set-up for scripts/run and scripts/test: installs what is missing from
# scripts/packages.txt, then configures and builds into build/.
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BUILD_DIR="${QUILLBAR_BUILD_DIR:-$ROOT/build}"

install_missing_packages() {
  local missing=()
  local pkg
  while read -r pkg; do
    pkg="${pkg%%#*}"
    pkg="$(echo "$pkg" | tr -d '[:space:]')"
    [ -z "$pkg" ] && continue
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$pkg")
    fi
  done < "$ROOT/scripts/packages.txt"
  if [ "${#missing[@]}" -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
  fi
}

configure_and_build() {
  if [ ! -f "$BUILD_DIR/build.ninja" ]; then
    cmake -S "$ROOT" -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
  fi
  cmake --build "$BUILD_DIR" -j2
}

# Gives the commands that follow a fresh temporary HOME and XDG folders, removed on exit,
# so that no test program can read or write the user's own.
use_private_home() {
  PRIVATE_HOME="$(mktemp -d "${TMPDIR:-/tmp}/quillbar-home-XXXXXX")"
  trap 'rm -rf "$PRIVATE_HOME"' EXIT
  export HOME="$PRIVATE_HOME"
  local name
  for name in XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME XDG_STATE_HOME XDG_RUNTIME_DIR; do
    mkdir -m 700 "$PRIVATE_HOME/$name"
    export "$name=$PRIVATE_HOME/$name"
  done
}
