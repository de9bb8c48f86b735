#!/usr/bin/env bash
# The main job: installs what is needed, builds Tolmo and runs one dictation through the whole
# chain with the test engine on a recording made on the spot. No network and no key needed.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/installeer.sh
cmake --preset default >/dev/null
cmake --build --preset default
./build/default/voorbeeld/tolmo-keten-demo
