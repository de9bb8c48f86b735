#!/usr/bin/env bash
# A Debian 13 root with the compositors Debian 12 lacks (sway 1.10, KWin 6.3), for the Wayland
# tests: they start a compositor inside it with this machine's /tmp, so its sockets lie at the
# same path for the app, which runs outside. Prints the root's path on the last line, or nothing
# (with the reason on stderr) where the machine cannot make one; the tests then skip.
#
# The root is made once per recipe: debootstrap, then the packages, kept as a tarball under
# ~/.cache/tolmo/ and unpacked under /var/tmp/. A changed package list makes a new one.
# Everything it mounts to install is mounted in a mount namespace of its own, so nothing stays
# mounted when it ends, however it ends.
set -euo pipefail

reden() {
  echo "Debian 13-root niet gemaakt: $*" >&2
  exit 0
}
[ "$(id -u)" -eq 0 ] || reden "debootstrap en chroot vragen root."
command -v debootstrap >/dev/null || reden "debootstrap ontbreekt (scripts/installeer.sh)."
command -v unshare >/dev/null || reden "unshare ontbreekt."
chroot / true 2>/dev/null || reden "chroot is op deze machine niet toegestaan."
unshare --mount --propagation private true 2>/dev/null ||
  reden "een eigen mount-namespace is op deze machine niet toegestaan."

spiegel=http://deb.debian.org/debian
recept=(--variant=minbase trixie)
# sway and foot: the wlroots compositor and a terminal of its time; kwin-wayland: KDE's
# compositor, run with --virtual; dbus-daemon: KWin's session bus. GNOME Shell headless with
# the desktop portals and their GNOME backend; gnome-text-editor: a GTK 4 window to type into;
# libglib2.0-bin: gsettings and gdbus inside the root; mesa's software renderer for the shell;
# a font for the screenshots. KDE's GlobalShortcuts backend and the kglobalaccel daemon that
# keeps and fires its shortcuts.
pakketten=(sway foot wl-clipboard kwin-wayland dbus-daemon gnome-shell xdg-desktop-portal
  xdg-desktop-portal-gnome gnome-text-editor gnome-settings-daemon-common gsettings-desktop-schemas
  dbus-user-session at-spi2-core libglib2.0-bin libgl1-mesa-dri fonts-cantarell
  xdg-desktop-portal-kde kglobalacceld)
sleutel=$(echo "${recept[*]} ${pakketten[*]} $spiegel" | sha256sum | cut -c1-16)
cache="${XDG_CACHE_HOME:-$HOME/.cache}/tolmo"
tarbal="$cache/debian13-root-$sleutel.tar.zst"
root="/var/tmp/tolmo-debian13-$sleutel"
mkdir -p "$cache"

if [ ! -f "$root/.klaar" ]; then
  if [ ! -f "$tarbal" ]; then
    werk=$(mktemp -d /var/tmp/tolmo-debian13-nieuw.XXXXXX)
    chmod 755 "$werk" # apt downloads as _apt
    trap 'rm -rf "$werk"' EXIT
    echo "== Debian 13-root: debootstrap ${recept[*]} en ${pakketten[*]} (eenmalig)" >&2
    debootstrap "${recept[@]}" "$werk" "$spiegel" >/dev/null
    cp /etc/resolv.conf "$werk/etc/resolv.conf"
    echo force-unsafe-io >"$werk/etc/dpkg/dpkg.cfg.d/tolmo"
    unshare --mount --propagation private -- sh -c '
      mount -t proc proc "$1/proc" && mount --rbind /dev "$1/dev" || exit 1
      shift
      exec chroot "$0" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        DEBIAN_FRONTEND=noninteractive sh -c \
        "apt-get update -qq && apt-get install -y -qq --no-install-recommends $*"' \
      "$werk" "$werk" "${pakketten[@]}" >/dev/null
    rm -f "$werk"/var/cache/apt/archives/*.deb
    rm -rf "$werk"/var/lib/apt/lists/*
    tar -C "$werk" --zstd -cf "$tarbal.tmp" . && mv "$tarbal.tmp" "$tarbal"
    rm -rf "$werk"
    trap - EXIT
  fi
  rm -rf "$root"
  mkdir -p "$root"
  tar -C "$root" --zstd -xf "$tarbal"
  chmod 755 "$root" # the compositors run as nobody
  touch "$root/.klaar"
fi
echo "$root"
