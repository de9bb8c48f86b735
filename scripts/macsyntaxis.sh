#!/usr/bin/env bash
# Type-checks the Mac app's Objective-C++ (every .mm and every *_mac.cpp) with clang for both Mac
# architectures, as ARC Objective-C++ with -fsyntax-only. There is no SDK here: the Apple API
# comes from our own declarations in macsyntaxis/verklaringen (written from Apple's
# documentation, with each call's availability), the C++ library from libc++'s headers and the
# C library from glibc's, with the few BSD calls libc++ expects on Apple in macsyntaxis/libc.
# BOOL is a signed char on x86_64 and a bool on arm64, as the compiler defines for each target.
#
#   scripts/macsyntaxis.sh [file ...]      (default: all of them)
#   TOLMO_SDK=150000 scripts/macsyntaxis.sh   models the macOS 15 SDK instead of 14
set -euo pipefail
cd "$(dirname "$0")/.."

CLANG=${CLANG:-clang-16}
LIBCXX=/usr/lib/llvm-16/include/c++/v1
CLANG_INCLUDE=$("$CLANG" -print-resource-dir)/include
SDK=${TOLMO_SDK:-140000}

if [ $# -gt 0 ]; then
  bestanden=("$@")
else
  mapfile -t bestanden < <(find Tolmo TolmoKern -name '*.mm' -o -name '*_mac.cpp' | sort)
fi

controleer() {
  local doel=$1 bestand=$2 libc_arch libc_basis taal
  case $doel in
    x86_64-*) libc_arch=/usr/include/x86_64-linux-gnu; libc_basis=/usr/include ;;
    arm64-*) libc_arch=/usr/aarch64-linux-gnu/include; libc_basis=/usr/aarch64-linux-gnu/include ;;
  esac
  # The Mac build's own flags: ARC and -Wall for Objective-C++, the project's warnings for C++;
  # here every warning is an error.
  case $bestand in
    *.mm) taal=(-x objective-c++ -fobjc-arc -Wall) ;;
    *) taal=(-x c++ -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
             -Woverloaded-virtual -Wimplicit-fallthrough -Winconsistent-missing-override
             -Wsuggest-override) ;;
  esac
  # -U__nonnull: clang's Apple targets predefine it as a nullability keyword, which glibc's
  # headers use as an attribute macro. The project's own headers are plain -I, so their
  # warnings count; the others are system headers.
  "$CLANG" -target "$doel" "${taal[@]}" -fsyntax-only -std=c++20 -DTOLMO_SDK="$SDK" \
    -U__nonnull -U__nullable -D_GNU_SOURCE -nostdinc -nostdinc++ \
    -isystem macsyntaxis/verklaringen -isystem macsyntaxis/libc -isystem "$LIBCXX" \
    -isystem "$CLANG_INCLUDE" -isystem "$libc_arch" -isystem "$libc_basis" \
    -isystem "$derden" \
    -I . \
    -Werror -Wunguarded-availability-new -ferror-limit=5 "$bestand" 2>&1 | sed "s|^|[$doel] |"
  return "${PIPESTATUS[0]}"
}
# The third-party headers the sources include, without the rest of the host's /usr/include
# (its C library is for x86_64).
derden=$(mktemp -d)
trap 'rm -rf "$derden"' EXIT
for map in nlohmann unicode; do ln -s "/usr/include/$map" "$derden/$map"; done
export -f controleer
export CLANG LIBCXX CLANG_INCLUDE SDK derden

start=$(date +%s%N)
fouten=0
for doel in x86_64-apple-macos13 arm64-apple-macos13; do
  printf '%s\n' "${bestanden[@]}" |
    xargs -P "${TOLMO_MACSYNTAXIS_JOBS:-2}" -I{} bash -c 'controleer "$0" "$1" || echo "FOUT $0 $1"' \
      "$doel" {} >"/tmp/macsyntaxis.$$.$doel" || true
  cat "/tmp/macsyntaxis.$$.$doel"
  if grep -q '^FOUT ' "/tmp/macsyntaxis.$$.$doel"; then
    fouten=1
  fi
  rm -f "/tmp/macsyntaxis.$$.$doel"
done
printf 'macsyntaxis: %d bestanden x 2 architecturen (SDK %s) in %.1f s\n' "${#bestanden[@]}" \
  "$SDK" "$(awk -v a="$start" -v b="$(date +%s%N)" 'BEGIN { print (b - a) / 1e9 }')"
exit $fouten
