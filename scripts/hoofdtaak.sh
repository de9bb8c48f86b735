#!/usr/bin/env bash
# The main job: installs what is needed, builds Tolmo and dictates the sample recording made at
# build time (48 kHz stereo, converted to 16 kHz mono like a microphone recording) through the
# whole chain with the test engine. No network and no key needed.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/installeer.sh
cmake --preset default >/dev/null
cmake --build --preset default --target tolmo voorbeeldopname
./build/default/cli/tolmo dicteer --motor test build/default/voorbeeld/voorbeeld.wav
