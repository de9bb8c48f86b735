#!/usr/bin/env bash
# Builds the Debian packages twice, once as an older version, runs lintian on them and proves
# them in a clean Debian 12 root made with debootstrap: the older packages are
# installed with apt-get as a user would, settings, a key, an edited configuration file and the
# server's database are made, the new packages upgrade them, every command runs, and remove and
# purge leave or delete what they should. Needs root (chroot, mount). The root is cached as a
# tarball under ~/.cache/tolmo/, and the packages apt fetches into it in a folder next to it.
# The packages come from build/pakket, or from the tree of the preset TOLMO_PAKKET_PRESET names:
# CI uses its `ci` tree, which is built with the same flags.
# shellcheck disable=SC2016,SC2034  # the checks are shell text that controleer evaluates
set -euo pipefail
cd "$(dirname "$0")/.."
export CCACHE_BASEDIR="$PWD"

overslaan() {
  echo "pakkettest overgeslagen: $*"
  exit 0
}
[ "$(id -u)" -eq 0 ] || overslaan "chroot en mount vragen root."
command -v debootstrap >/dev/null || overslaan "debootstrap ontbreekt (scripts/installeer.sh)."
chroot / true 2>/dev/null || overslaan "chroot is op deze machine niet toegestaan."

kop() { echo "== $* (${SECONDS} s)"; }
mislukt() {
  echo "MISLUKT: $*" >&2
  exit 1
}
# A named check: the shell text is evaluated here, so it may use pipes and the helpers below.
controleer() {
  eval "$2" || mislukt "$1"
  echo "  ok: $1"
}

# -- the packages: an older version first, to upgrade from
preset=${TOLMO_PAKKET_PRESET:-pakket}
bouw=build/$preset
versie=$(sed -n 's/^project(Tolmo VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
vorige="$versie~vorige"
rm -rf "$bouw/debs"
for v in "$vorige" "$versie"; do
  kop "pakketten $v"
  cmake --preset "$preset" -DTOLMO_PAKKET_VERSIE="$v" >/dev/null
  cmake --build --preset "$preset"
  (cd "$bouw" && cpack -B "$PWD/debs/$v" >/dev/null)
done
nieuw=("$bouw/debs/$versie"/tolmo*_"$versie"_*.deb)
oud=("$bouw/debs/$vorige"/tolmo*_"$vorige"_*.deb)
[ ${#nieuw[@]} -eq 2 ] && [ ${#oud[@]} -eq 2 ] || mislukt "cpack maakte niet twee pakketten"

kop "lintian (fouten laten de test mislukken; waarschuwingen staan hieronder)"
lintian --fail-on error --tag-display-limit 0 "${nieuw[@]}"

# -- the clean root, from the cache when its recipe is unchanged
spiegel=http://deb.debian.org/debian
# What goes into the root: a new recipe (another variant, --include=...) makes a new tarball.
recept=(--variant=minbase bookworm)
cache="${XDG_CACHE_HOME:-$HOME/.cache}/tolmo"
tarbal="$cache/debian12-root-$(echo "${recept[*]} $spiegel" | sha256sum | cut -c1-16).tar.zst"
archief="$cache/apt-archief"
mkdir -p "$cache" "$archief/partial"
werk=$(mktemp -d /var/tmp/tolmo-pakkettest.XXXXXX)
root="$werk/root"
xvfb=""
# Every process inside the root (server, app, sound server): they would hold its mounts.
stopRoot() {
  local p
  for p in /proc/[0-9]*; do
    if [ "$(readlink "$p/root" 2>/dev/null)" = "$root" ]; then kill "${p#/proc/}" 2>/dev/null || true; fi
  done
  sleep 0.5
}
opruimen() {
  local m
  stopRoot
  [ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null || true
  for m in root/var/cache/apt/archives root/tmp/.X11-unix root/dev/pts root/dev root/proc .; do
    if mountpoint -q "$werk/$m"; then umount "$werk/$m" || umount -l "$werk/$m"; fi
  done
  # Never delete through a mount that is still there.
  if ! findmnt -rn -o TARGET | grep -q "^$werk/"; then rm -rf "$werk"; fi
}
trap opruimen EXIT
# The root lives in memory where it can: unpacking is faster, and cleaning up is one umount
# instead of deleting a whole system from a busy disk.
mount -t tmpfs -o size=4g tolmo-pakkettest "$werk" || true
if [ ! -f "$tarbal" ]; then
  kop "debootstrap ${recept[*]} (eenmalig, daarna uit $tarbal)"
  debootstrap "${recept[@]}" "$werk/nieuw" "$spiegel" >/dev/null
  rm -f "$werk/nieuw"/var/cache/apt/archives/*.deb
  tar -C "$werk/nieuw" --zstd -cf "$tarbal.tmp" . && mv "$tarbal.tmp" "$tarbal"
  rm -rf "$werk/nieuw"
fi
mkdir "$root"
tar -C "$root" --zstd -xf "$tarbal"
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
mount --bind /dev/pts "$root/dev/pts"
mount --bind "$archief" "$root/var/cache/apt/archives"
cp /etc/resolv.conf "$root/etc/resolv.conf"
# No fsync per unpacked file: the root is thrown away, and apt is most of the test's time.
echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/tolmo-pakkettest"
# A Debian 12 system as users have it: the point releases' updates and security updates.
printf 'deb %s bookworm main\ndeb %s bookworm-updates main\ndeb %s-security bookworm-security main\n' \
  "$spiegel" "$spiegel" "$spiegel" >"$root/etc/apt/sources.list"
mkdir -p "$root/tmp/oud" "$root/tmp/nieuw"
cp "${oud[@]}" "$root/tmp/oud/"
cp "${nieuw[@]}" "$root/tmp/nieuw/"
cp "$bouw/voorbeeld/voorbeeld.wav" "$root/tmp/"
inroot() {
  chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "$@"
}
alsdienst() { inroot runuser -u tolmo-server -- "$@"; }
installeer() { inroot sh -c "cd /tmp/$1 && apt-get install -y -qq $2" >/dev/null; }
inroot apt-get update -qq

kop "installeren ($vorige) en gegevens maken"
installeer oud "./tolmo_*.deb ./tolmo-server_*.deb"
inroot tolmo instellingen zet houdToets rechterControl >/dev/null
echo sk-pakkettest | inroot tolmo sleutel zet openai >/dev/null
alsdienst tolmo-server code maak --naam anna --minuten-per-dag 7 >/dev/null
echo "luister = 127.0.0.1:8788  # door de beheerder" >>"$root/etc/tolmo-server/tolmo-server.conf"
gebruiker=(root/.config/tolmo/app.tolmo.json root/.config/tolmo/sleutels.json
  etc/tolmo-server/tolmo-server.conf var/lib/tolmo-server/tolmo-server.db)
sommen() { (cd "$root" && sha256sum "${gebruiker[@]:0:3}" && ls "${gebruiker[3]}"); }
voor=$(sommen)

kop "bijwerken naar $versie"
installeer nieuw "./tolmo_*.deb ./tolmo-server_*.deb"
controleer "instellingen, sleutel, configuratie en database blijven" '[ "$(sommen)" = "$voor" ]'
controleer "de toegangscode staat nog in de database" 'alsdienst tolmo-server code lijst | grep -q anna'
controleer "tolmo --versie" '[ "$(inroot tolmo --versie)" = "tolmo $versie" ]'
controleer "tolmo dicteer --motor test" 'inroot tolmo dicteer /tmp/voorbeeld.wav --motor test | grep -q .'
controleer "tolmo-app --help zonder beeldscherm" 'inroot tolmo-app --help | grep -q "Gebruik: tolmo-app"'
controleer "tolmo-bediening --hulp" 'inroot tolmo-bediening --hulp | grep -q "Gebruik: tolmo-bediening"'
controleer "tolmo-bediening zonder draaiende app faalt" '! inroot tolmo-bediening --stop 2>/dev/null'
for f in usr/share/applications/app.tolmo.Tolmo.desktop usr/share/icons/hicolor/scalable/apps/tolmo-app.svg \
  usr/share/metainfo/app.tolmo.Tolmo.metainfo.xml usr/share/man/man1/tolmo-app.1.gz \
  usr/share/man/man1/tolmo.1.gz usr/share/man/man1/tolmo-bediening.1.gz usr/share/man/man8/tolmo-server.8.gz; do
  controleer "/$f" '[ -s "$root/$f" ]'
done
controleer "de configuratie is een conffile" \
  'inroot dpkg-query -W -f="\${Conffiles}" tolmo-server | grep -q /etc/tolmo-server/tolmo-server.conf'
controleer "alleen root en de dienst lezen de configuratie" \
  '[ "$(stat -c "%a %U" "$root/etc/tolmo-server/tolmo-server.conf")" = "640 root" ]'

kop "tolmo-app zoals het menu het start: een gebruiker met een geluidsserver en een X-server"
mkdir -p "$root/tmp/.X11-unix"
mount --bind /tmp/.X11-unix "$root/tmp/.X11-unix"
Xvfb -displayfd 3 -nolisten tcp 3>"$werk/scherm" 2>/dev/null &
xvfb=$!
for _ in $(seq 50); do [ -s "$werk/scherm" ] && break; sleep 0.1; done
inroot useradd -m gebruiker
alsgebruiker() {
  inroot runuser -u gebruiker -- env HOME=/home/gebruiker XDG_RUNTIME_DIR=/tmp/run-gebruiker \
    DISPLAY=":$(cat "$werk/scherm")" "$@"
}
alsgebruiker mkdir -m 700 /tmp/run-gebruiker
printf 'load-module module-native-protocol-unix\nload-module module-null-sink\n' >"$root/tmp/geluid.pa"
alsgebruiker pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no -F /tmp/geluid.pa \
  2>/dev/null &
for _ in $(seq 50); do [ -S "$root/tmp/run-gebruiker/pulse/native" ] && break; sleep 0.2; done
read -r -a opdracht <<<"$(sed -n 's/^Exec=//p' "$root/usr/share/applications/app.tolmo.Tolmo.desktop")"
alsgebruiker "${opdracht[@]}" 2>"$werk/app.log" &
# The app answers its control socket once its main loop runs: --annuleer is then confirmed.
for _ in $(seq 50); do alsgebruiker tolmo-app --annuleer >/dev/null 2>&1 && break; sleep 0.2; done
controleer "tolmo-app draait en antwoordt" \
  'alsgebruiker tolmo-app --annuleer >/dev/null || { cat "$werk/app.log"; false; }'
stopRoot

kop "tolmo-server zoals de unit het start"
eenheid="$root/lib/systemd/system/tolmo-server.service"
read -r -a start <<<"$(sed -n 's/^ExecStart=//p' "$eenheid")"
[ "$(sed -n 's/^User=//p' "$eenheid")" = tolmo-server ] || mislukt "de unit draait niet als tolmo-server"
poort=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
id=$(inroot id -u tolmo-server):$(inroot id -g tolmo-server)
chroot --userspec="$id" --groups="${id#*:}" "$root" /usr/bin/env -i XDG_STATE_HOME=/var/lib \
  TOLMO_SERVER_LUISTER="127.0.0.1:$poort" "${start[@]}" 2>"$werk/server.log" &
for _ in $(seq 50); do curl -fsS "http://127.0.0.1:$poort/gezond" >/dev/null 2>&1 && break; sleep 0.2; done
controleer "/gezond antwoordt" 'curl -fsS -o /dev/null "http://127.0.0.1:$poort/gezond"'
controleer "tolmo-server code maak naast de lopende server" \
  'alsdienst tolmo-server code maak --naam bram | grep -q "^tolmo_"'
stopRoot

kop "verwijderen en purgen"
inroot apt-get remove -y -qq tolmo tolmo-server >/dev/null
controleer "remove laat gegevens en configuratie staan" '[ "$(sommen)" = "$voor" ]'
controleer "remove haalt de programma's weg" '[ ! -e "$root/usr/bin/tolmo" ] && [ ! -e "$root/usr/bin/tolmo-server" ]'
inroot apt-get purge -y -qq tolmo-server >/dev/null
controleer "purge haalt de configuratie weg" '[ ! -e "$root/etc/tolmo-server" ]'
controleer "purge laat de database staan" '[ -f "$root/var/lib/tolmo-server/tolmo-server.db" ]'
installeer nieuw "./tolmo-server_*.deb"
touch "$root/var/lib/tolmo-server/wis-bij-purge"
inroot apt-get purge -y -qq tolmo-server >/dev/null
controleer "purge met wis-bij-purge wist de database" '[ ! -e "$root/var/lib/tolmo-server" ]'
echo "pakkettest geslaagd in ${SECONDS} s"
