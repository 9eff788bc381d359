#!/usr/bin/env bash
# One entry for setting up, building and running TetherMedia on Debian 12.
#
#   scripts/setup.sh deps            install the system packages the build needs
#   scripts/setup.sh build [PRESET]  deps, then configure and build (default: release)
#   scripts/setup.sh main            build, then import a sample project with the
#                                    reference host (frames, contact sheet, WAV)
#   scripts/setup.sh test            build, then run every test of the release preset
#
# Installing is idempotent: only missing packages are fetched, and the package
# lists are refreshed once, only when something is missing.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

PACKAGES=(
  build-essential cmake ninja-build pkg-config ccache git
  clang libclang-rt-14-dev
  libboost-dev rapidjson-dev libxxhash-dev libmsgpack-cxx-dev
  libpng-dev libsndfile1-dev libcli11-dev libpugixml-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libgtk-3-dev xvfb xdotool x11-apps netpbm
  ffmpeg
  libcpp-httplib-dev libssl-dev zlib1g-dev libbrotli-dev
  libexempi-dev libimage-exiftool-perl exiv2
  libfreetype-dev libfontconfig-dev fonts-dejavu-core
)

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

install_deps() {
  local missing=()
  for package in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$package")
    fi
  done
  if [ "${#missing[@]}" -eq 0 ]; then
    return
  fi
  echo "setup: installing ${missing[*]}"
  as_root apt-get update -qq
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# ccache results are shared between clones of the tree (CI builds a fresh clone
# each time): paths are hashed relative to the tree, and the working directory
# is left out of the hash.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$PWD}"
export CCACHE_NOHASHDIR="${CCACHE_NOHASHDIR:-1}"

build() {
  local preset="${1:-release}"
  install_deps
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$(nproc)"
}

case "${1:-build}" in
  deps) install_deps ;;
  build) build "${2:-release}" ;;
  main)
    build release
    # Imports the first composition of a sample project through the module,
    # served by the reference server that the link starts on demand, and
    # leaves its frames, a contact sheet and its audio in one folder.
    out="${TETHERHOST_OUT:-$PWD/tetherhost-out}"
    exec ./build/release/bin/tetherhost import examples/simple.marlp --out "$out" --audio "$out/simple.wav"
    ;;
  test)
    build release
    ctest --preset release -j "$(nproc)"
    ;;
  *)
    echo "usage: $0 {deps|build [PRESET]|main|test}" >&2
    exit 2
    ;;
esac
