#!/usr/bin/env bash
# Every test: formatting, the CI build (warnings are errors) with all tests, the same tests
# under AddressSanitizer and UndefinedBehaviorSanitizer, a build with clang-16 and libc++ (the
# Mac's kind of standard library) with the tests that need no daemon, the Mac app's
# Objective-C++ type-checked for both architectures, the Debian packages in a clean Debian 12
# root, and a short run of every fuzzer. The Wayland tests run under Debian 12's sway and, from a
# Debian 13 root, under sway 1.10 and KWin 6.3.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/installeer.sh
# The real programs the desktop app's tests paste into; their tests fail instead of skipping.
scripts/echte-apps.sh
export TOLMO_ECHTE_APPS=verplicht
# Newer compositors than Debian 12 has, from a Debian 13 root the Wayland tests start them in.
TOLMO_DEBIAN13_ROOT=$(scripts/debian13-root.sh | tail -1)
export TOLMO_DEBIAN13_ROOT
# Paths relative to the checkout, so that another clone of the same tree hits ccache as well.
export CCACHE_BASEDIR="$PWD"
# Five build trees (ci, asan, libcxx, fuzz and the main job's) outgrow ccache's 5 GB.
export CCACHE_MAXSIZE="${CCACHE_MAXSIZE:-20G}"

# ctest prints a failing test's output where it ran, which in a long log is far from its end;
# after a failure the failed tests' output is printed once more, last.
toets() {
  local boom=$1
  shift
  if ctest --preset "$boom" "$@"; then
    return 0
  fi
  echo "== mislukt in $boom: de uitvoer van elke mislukte test"
  awk '/^[0-9]+\/[0-9]+ Test: / { naam = $3; uitvoer = ""; next }
       { uitvoer = uitvoer $0 "\n" }
       /^Test Failed/ { printf "--- %s\n%s", naam, uitvoer }' \
    "build/$boom/Testing/Temporary/LastTest.log" | tail -n 300
  return 1
}

echo "== opmaak"
scripts/formaat.sh --check

echo "== ci: bouwen en testen"
cmake --preset ci >/dev/null
cmake --build --preset ci
toets ci -j2

echo "== asan: bouwen en testen"
cmake --preset asan >/dev/null
cmake --build --preset asan
toets asan -j2

echo "== libcxx: clang-16 met libc++ (de standaardbibliotheek van de Mac)"
cmake --preset libcxx >/dev/null
cmake --build --preset libcxx
toets libcxx -j2 -LE 'pulse|x11|wayland'

echo "== mac: de Objective-C++ type-gecontroleerd voor x86_64 en arm64"
scripts/macsyntaxis.sh

echo "== pakketten: bouwen, lintian, installeren in een schone Debian 12-root"
# From the ci tree, which is built with the packages' flags: a separate tree would compile
# everything again.
TOLMO_PAKKET_PRESET=ci scripts/pakkettest.sh

if compgen -G "fuzz/*.cpp" >/dev/null; then
  echo "== fuzzers"
  cmake --preset fuzz >/dev/null
  doelen=()
  for bron in fuzz/*.cpp; do doelen+=("fuzz_$(basename "$bron" .cpp)"); done
  cmake --build --preset fuzz --target "${doelen[@]}"
  for doel in "${doelen[@]}"; do
    echo "-- $doel"
    # A crash or a failed check ends the fuzzer with a non-zero status, and so this script.
    "build/fuzz/fuzz/$doel" -max_total_time="${TOLMO_FUZZ_SECONDEN:-20}" -rss_limit_mb=2048 \
      -print_final_stats=1 2>&1 | tail -4
  done
fi
