#!/usr/bin/env bash
# Installs every Debian package that building, running and testing Tolmo needs.
# Safe to run again: when everything is present it only checks and returns.
set -euo pipefail

pakketten=(
  # build
  build-essential cmake ninja-build pkg-config git ccache
  clang clang-format clang-tidy libclang-rt-14-dev llvm clang-16 libc++-16-dev libc++abi-16-dev
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev valgrind
  # libraries
  libicu-dev nlohmann-json3-dev libcurl4-openssl-dev libboost1.81-dev libssl-dev libavformat-dev
  libavcodec-dev libavutil-dev
  libsoxr-dev libsndfile1-dev libpulse-dev libspeexdsp-dev libsqlite3-dev libpq-dev libglib2.0-dev
  libx11-dev libxtst-dev libxi-dev libxfixes-dev libxres-dev libpng-dev qt6-base-dev
  libatspi2.0-dev libdbus-1-dev libsecret-1-dev libwayland-dev libxkbcommon-dev qt6-wayland
  # real parts the tests run against
  pulseaudio pulseaudio-utils espeak-ng sox xvfb openbox curl flac postgresql
  dbus at-spi2-core gnome-keyring xclip xdotool
  sway foot wtype wl-clipboard
  # the relay server's second client (npm's openai package) and its benchmark
  nodejs nginx wrk
  # the upload benchmark's shaped link
  iproute2
  # the Debian packages: dependencies from dpkg-shlibdeps, checks, and the clean test root
  dpkg-dev lintian debootstrap zstd
  # the Mac syntax check: arm64's C library headers (x86_64's come with build-essential)
  libc6-dev-arm64-cross
)

ontbrekend=()
for p in "${pakketten[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    ontbrekend+=("$p")
  fi
done
# Some nodejs builds bring npm themselves; Debian's is a package of its own.
command -v npm >/dev/null || ontbrekend+=(npm)

# The openai package the relay server's tests use as a client, pinned by package-lock.json.
npm_ci() {
  local map
  map="$(dirname "$0")/../tests/TolmoServer/node"
  if [ -f "$map/package-lock.json" ] && command -v npm >/dev/null; then
    (cd "$map" && npm ci --silent --no-audit --no-fund)
  fi
}

if [ ${#ontbrekend[@]} -eq 0 ]; then
  echo "Alle pakketten zijn er al."
  npm_ci
  exit 0
fi

echo "Installeren: ${ontbrekend[*]}"
als_root=()
[ "$(id -u)" -eq 0 ] || als_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${als_root[@]}" apt-get update -qq
"${als_root[@]}" apt-get install -y -qq --no-install-recommends "${ontbrekend[@]}"
npm_ci
