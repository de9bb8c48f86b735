#!/usr/bin/env bash
# The real programs the desktop app's end-to-end tests paste into (Firefox ESR, FeatherPad as a
# Qt app with a menu bar, stock xterm, LibreOffice Writer). They are large, so only the test run
# installs them, not the main job. Safe to run again.
set -euo pipefail

pakketten=(firefox-esr featherpad xterm libreoffice-writer)

ontbrekend=()
for p in "${pakketten[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    ontbrekend+=("$p")
  fi
done
if [ ${#ontbrekend[@]} -eq 0 ]; then
  exit 0
fi

echo "Installeren voor de tests met echte programma's: ${ontbrekend[*]}"
als_root=()
[ "$(id -u)" -eq 0 ] || als_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${als_root[@]}" apt-get update -qq
"${als_root[@]}" apt-get install -y -qq --no-install-recommends "${ontbrekend[@]}"
