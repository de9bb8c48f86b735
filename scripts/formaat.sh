#!/usr/bin/env bash
# Formats our own sources with the root .clang-format; --check only reports and fails.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t bestanden < <(git ls-files --cached --others --exclude-standard -- \
  '*.h' '*.cpp' '*.mm' | grep -v '^build' || true)
[ ${#bestanden[@]} -gt 0 ] || exit 0
if [ "${1:-}" = "--check" ]; then
  clang-format --dry-run --Werror "${bestanden[@]}"
else
  clang-format -i "${bestanden[@]}"
fi
