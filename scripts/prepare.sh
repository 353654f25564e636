# SPDX-License-Identifier: MIT
# Read by scripts/test and scripts/demo: shell settings, and the packages they need.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
script=scripts/$(basename "$0")

fail() {
  printf '%s: %s\n' "$script" "$*" >&2
  exit 1
}
trap 'fail "stopped at line $LINENO: $BASH_COMMAND"' ERR

# Installs those of the named Debian packages that are missing.
need_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  command -v apt-get >/dev/null || fail "these packages are missing: ${missing[*]}"
  local as_root=()
  if [ "$(id -u)" != 0 ]; then
    command -v sudo >/dev/null || fail "run as root once, to install: ${missing[*]}"
    as_root=(sudo)
  fi
  echo "$script: installing ${missing[*]}"
  "${as_root[@]}" apt-get update -qq >/dev/null
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null ||
    fail "apt-get could not install: ${missing[*]}"
}

# Configures and builds a preset; what the tools say is shown only when they fail.
build_preset() {
  local log
  log=$(mktemp)
  echo "$script: building preset $1"
  if ! { cmake --preset "$1" && cmake --build --preset "$1"; } >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    fail "preset $1 does not build"
  fi
  rm -f "$log"
}
