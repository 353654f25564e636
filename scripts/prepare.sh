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

# What every build with tests needs, and the readers and writers that the tests compare with.
need_test_packages() {
  need_packages g++ cmake ninja-build libgtest-dev locales
  need_packages exiv2 imagemagick libimage-exiftool-perl libtiff-tools python3 python3-pil \
    python3-tifffile
}

# Runs a command; what it says is shown only when it fails.
run_quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  [ $status = 0 ] || cat "$log" >&2
  rm -f "$log"
  return $status
}

build_preset() {
  echo "$script: building preset $1"
  run_quietly cmake --preset "$1" && run_quietly cmake --build --preset "$1" ||
    fail "preset $1 does not build"
}
