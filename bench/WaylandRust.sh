#!/usr/bin/env bash
# What tolmo-app costs while it waits, on Wayland against X11 in the same run: a private headless
# sway and a private Xvfb with openbox, each with its own PulseAudio daemon and its own copy of
# the app, both idle at the same time so that both see the same machine load.
#
#   wakeups/s  context switches (voluntary + involuntary) summed over every thread in
#              /proc/PID/task/*/status, over TOLMO_BENCH_SECONDEN (default 60) seconds; the
#              display server's own (sway, or Xvfb + openbox) beside it, since a client that
#              wakes its server costs that too. Threads that end inside the window take their
#              count with them, so the thread count at both ends is printed.
#   memory     VmRSS from /proc/PID/status and PSS from /proc/PID/smaps_rollup, idle after the
#              start and again after TOLMO_BENCH_DICTATEN (default 3) dictations, each driven
#              the way a compositor's binding drives it (tolmo-bediening --start, speech played
#              into the microphone, tolmo-bediening --stop) against a fake speech service.
#   latency    bench_BedieningLatentie of the same build tree (key release to request on the
#              wire), once as the machine is and once beside two busy-looping processes; its
#              median per client. TOLMO_BENCH_LATENTIE=0 leaves it out.
#
# The binaries are copied first, so a rebuild of the tree during the run does not change what is
# measured. The latency bench has the tree's paths built in: as root it runs in a mount namespace
# of its own where the copy is mounted over the tree; otherwise it runs the tree itself, and the
# table says when those binaries changed under it.
# Usage: bench/WaylandRust.sh [build/ci]   (TOLMO_BENCH_APP_OMGEVING="VAR=waarde ..." is given to
#        both apps, for trying a toolkit setting)
set -Eeuo pipefail

bouw=$(realpath "${1:-build/ci}")
seconden=${TOLMO_BENCH_SECONDEN:-60}
dictaten=${TOLMO_BENCH_DICTATEN:-3}
read -r -a extra <<<"${TOLMO_BENCH_APP_OMGEVING:-}"
hier=$(cd "$(dirname "$0")" && pwd)
for b in Tolmo/tolmo-app Tolmo/tolmo-bediening cli/tolmo; do
  [ -x "$bouw/$b" ] || { echo "WaylandRust: $bouw/$b ontbreekt" >&2; exit 1; }
done
map=$(mktemp -d /tmp/tolmo-waylandrust-XXXXXX)
# sway runs as nobody when we are root and must read its configuration here.
chmod 755 "$map"
pids=()
opruimen() {
  local p
  for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done
  for p in "${pids[@]}"; do wait "$p" 2>/dev/null || true; done
  rm -rf "$map"
}
trap opruimen EXIT
trap 'echo "WaylandRust: afgebroken op regel $LINENO" >&2' ERR
mkdir -p "$map/boom/Tolmo" "$map/boom/cli" "$map/boom/bench"
cp -p "$bouw/Tolmo/tolmo-app" "$bouw/Tolmo/tolmo-bediening" "$map/boom/Tolmo/"
cp -p "$bouw/cli/tolmo" "$map/boom/cli/"
cp -p "$bouw/bench/bench_BedieningLatentie" "$map/boom/bench/" 2>/dev/null || true
find "$map/boom" -type f -printf "  %TY-%Tm-%Td %TH:%TM  $bouw/%P\n" | sort

# Polls a condition (a command) every 50 ms for at most $1 seconds.
wachtTot() {
  local tot=$(($(date +%s%N) + $1 * 1000000000))
  shift
  until "$@"; do
    [ "$(date +%s%N)" -lt "$tot" ] || return 1
    sleep 0.05
  done
}
regels() { grep -c -- "$2" "$1" || true; }
laad() { cut -d' ' -f1-3 /proc/loadavg; }

# --- the fake speech service ------------------------------------------------------------------
poort=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
: >"$map/aankomst.log"
python3 "$hier/NepAanbieder.py" 127.0.0.1 "$poort" "$map/aankomst.log" & pids+=($!)
espeak-ng -v nl -w "$map/zin.wav" "Hallo vanuit Tolmo"

# --- one session: its sound server, display server and app --------------------------------------
declare -A appPid serverPids omgeving

startPulse() {
  local s=$1 d=$map/$1
  mkdir -p "$d/run" "$d/config" "$d/state" "$d/cache" "$d/home"
  chmod 700 "$d/run"
  cat >"$d/default.pa" <<EOF
load-module module-native-protocol-unix auth-anonymous=1 socket=$d/run/pulse.sock
load-module module-null-sink sink_name=nul format=float32le rate=48000 channels=2
set-default-sink nul
set-default-source nul.monitor
EOF
  env XDG_RUNTIME_DIR="$d/run" PULSE_RUNTIME_PATH="$d/pulse" PULSE_STATE_PATH="$d/pulse" \
    PULSE_COOKIE="$d/pulse/cookie" HOME="$d/home" \
    pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no --disable-shm=yes \
    -F "$d/default.pa" --log-target=newfile:"$d/pulse.log" & pids+=($!)
  wachtTot 10 env PULSE_SERVER="unix:$d/run/pulse.sock" pactl info >/dev/null 2>&1 ||
    { echo "WaylandRust: pulseaudio ($s) antwoordt niet" >&2; exit 1; }
}

waylandSocket() { compgen -G "$1/wayland-[0-9]" >/dev/null && compgen -G "$1/sway-ipc*" >/dev/null; }
startSway() {
  local d=$map/wayland voor=()
  mkdir -p "$d/swayrun"
  chmod 700 "$d/swayrun"
  printf 'xwayland disable\noutput HEADLESS-1 resolution 1280x800\n' >"$d/sway.conf"
  chmod 644 "$d/sway.conf"
  # sway refuses root; as root it runs as nobody and we reach it through the socket's full path.
  if [ "$(id -u)" = 0 ]; then
    chown 65534:65534 "$d/swayrun"
    voor=(setpriv --reuid=65534 --regid=65534 --clear-groups)
  fi
  "${voor[@]}" env -i PATH="$PATH" HOME="$d/swayrun" XDG_RUNTIME_DIR="$d/swayrun" \
    WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
    sway -c "$d/sway.conf" 2>"$d/sway.log" & pids+=($!)
  serverPids[wayland]=$!
  wachtTot 10 waylandSocket "$d/swayrun" || { echo "WaylandRust: sway start niet" >&2; exit 1; }
  omgeving[wayland]="WAYLAND_DISPLAY=$(compgen -G "$d/swayrun/wayland-[0-9]")"
}

startX11() {
  local d=$map/x11 nummer=""
  # Xvfb writes its display number to the descriptor it is given once it takes connections.
  Xvfb -displayfd 9 -nolisten tcp -screen 0 1280x800x24 -noreset +extension XInputExtension \
    9>"$d/display" 2>"$d/xvfb.log" & pids+=($!)
  local xvfb=$!
  wachtTot 10 grep -q . "$d/display" || { echo "WaylandRust: Xvfb start niet" >&2; exit 1; }
  nummer=$(head -n1 "$d/display")
  # Without key bindings, or openbox would take combinations for itself.
  printf '<openbox_config xmlns="http://openbox.org/3.4/rc"><keyboard/><mouse/></openbox_config>\n' \
    >"$d/openbox.xml"
  DISPLAY=":$nummer" openbox --sm-disable --config-file "$d/openbox.xml" 2>"$d/openbox.log" &
  pids+=($!)
  serverPids[x11]="$xvfb $!"
  # A window manager announces itself on the root window once it manages windows.
  if command -v xprop >/dev/null; then
    wachtTot 10 sh -c "DISPLAY=:$nummer xprop -root _NET_SUPPORTING_WM_CHECK | grep -q window" ||
      { echo "WaylandRust: openbox start niet" >&2; exit 1; }
  else
    sleep 2
  fi
  omgeving[x11]="DISPLAY=:$nummer"
}

# The app's environment: only its own session's servers, no desktop's. Into the array app, so
# that a command started in the background with it is the process itself, not a subshell.
appOmgeving() {
  local d=$map/$1
  app=(env -i PATH="$PATH" HOME="$d/home" LANG=C.UTF-8 XDG_RUNTIME_DIR="$d/run"
    XDG_CONFIG_HOME="$d/config" XDG_STATE_HOME="$d/state" XDG_CACHE_HOME="$d/cache"
    PULSE_SERVER="unix:$d/run/pulse.sock" OPENAI_API_KEY=sk-bench
    TOLMO_OPENAI_URL="http://127.0.0.1:$poort/" "${omgeving[$1]}" "${extra[@]}")
}
alsApp() {
  local app
  appOmgeving "$1"
  shift
  "${app[@]}" "$@"
}

startApp() {
  local s=$1 d=$map/$1
  alsApp "$s" "$map/boom/cli/tolmo" instellingen zet motor openai >/dev/null
  alsApp "$s" "$map/boom/cli/tolmo" instellingen zet opschonen uit >/dev/null
  # Consent already given for the text the Linux app shows (its version 2).
  python3 - "$d/config/tolmo/group.app.tolmo.json" <<'PY'
import json, sys
doc = json.load(open(sys.argv[1]))
doc["toestemming.cloud"] = json.dumps({"versie": 2, "datum": 0})
json.dump(doc, open(sys.argv[1], "w"), indent=2)
PY
  local app
  appOmgeving "$s"
  : >"$d/app.log"
  "${app[@]}" "$map/boom/Tolmo/tolmo-app" 2>"$d/app.log" & pids+=($!)
  appPid[$s]=$!
  wachtTot 30 grep -q "Tolmo: klaar" "$d/app.log" ||
    { echo "WaylandRust: tolmo-app ($s) start niet:" >&2; cat "$d/app.log" >&2; exit 1; }
  grep -m1 "Sessie" "$d/app.log" >&2 || true
}

# --- what is measured ----------------------------------------------------------------------------
# Context switches of every thread of the processes named. A thread may end between the listing
# and the read; its file is then skipped instead of ending the run.
wisselingen() {
  local p f k v som=0
  for p in "$@"; do
    for f in /proc/"$p"/task/*/status; do
      {
        while read -r k v _; do
          case $k in voluntary_ctxt_switches: | nonvoluntary_ctxt_switches:) som=$((som + v)) ;; esac
        done <"$f"
      } 2>/dev/null || true
    done
  done
  echo "$som"
}
draden() { local t=(/proc/"$1"/task/*); echo "${#t[@]}"; }
# Where the resident memory is: Rss per mapped file (anonymous memory and the heap as one), MiB,
# largest first.
grootsteDelen() {
  awk '/^[0-9a-f]+-[0-9a-f]+ / { naam = NF >= 6 ? $6 : "[anoniem]"; if (naam !~ /^\//) naam = "[anoniem]" }
       $1 == "Rss:" { rss[naam] += $2 }
       END { for (n in rss) printf "%8.1f %s\n", rss[n] / 1024, n }' "/proc/$1/smaps" | sort -rn | awk 'NR <= 8'
}
perSeconde() { python3 -c "print(f'{($2 - $1) / (($4 - $3) / 1e9):.2f}')"; }
kB() { awk -v k="$2:" '$1 == k { print $2 }' "/proc/$1/$3"; }

# Stops the run with the app's log when it is gone.
levend() {
  local status
  [ -d "/proc/${appPid[$1]}" ] && return
  wait "${appPid[$1]}" && status=0 || status=$?
  echo "WaylandRust: tolmo-app ($1) draait niet meer (status $status); zijn log:" >&2
  tail -n 30 "$map/$1/app.log" >&2
  exit 1
}

# Both sessions idle over the same window; the figures go into uitslag under the phase's name.
declare -A uitslag
meetRust() {
  local fase=$1 s t0 t1
  declare -A a0 s0 d0
  for s in wayland x11; do
    levend "$s"
    a0[$s]=$(wisselingen "${appPid[$s]}")
    # shellcheck disable=SC2086 # a list of pids
    s0[$s]=$(wisselingen ${serverPids[$s]})
    d0[$s]=$(draden "${appPid[$s]}")
  done
  t0=$(date +%s%N)
  uitslag[$fase,laadVoor]=$(laad)
  sleep "$seconden"
  t1=$(date +%s%N)
  for s in wayland x11; do
    local a1 s1
    levend "$s"
    a1=$(wisselingen "${appPid[$s]}")
    # shellcheck disable=SC2086
    s1=$(wisselingen ${serverPids[$s]})
    uitslag[$fase,$s,app]=$(perSeconde "${a0[$s]}" "$a1" "$t0" "$t1")
    uitslag[$fase,$s,server]=$(perSeconde "${s0[$s]}" "$s1" "$t0" "$t1")
    uitslag[$fase,$s,draden]="${d0[$s]}→$(draden "${appPid[$s]}")"
    uitslag[$fase,$s,rss]=$(kB "${appPid[$s]}" VmRSS status)
    uitslag[$fase,$s,pss]=$(kB "${appPid[$s]}" Pss smaps_rollup)
    grootsteDelen "${appPid[$s]}" >"$map/$s/delen-$fase.txt"
  done
  uitslag[$fase,laadNa]=$(laad)
}

# One dictation as a compositor's hold-key binding drives it; false when no request came.
dicteer() {
  local s=$1 d=$map/$1 opnames verzoeken
  opnames=$(regels "$d/app.log" "toestand neemt op")
  verzoeken=$(wc -l <"$map/aankomst.log")
  alsApp "$s" "$map/boom/Tolmo/tolmo-bediening" --start
  wachtTot 10 sh -c "[ \$(grep -c 'toestand neemt op' '$d/app.log') -gt $opnames ]" || return 1
  PULSE_SERVER="unix:$d/run/pulse.sock" paplay --device=nul "$map/zin.wav"
  alsApp "$s" "$map/boom/Tolmo/tolmo-bediening" --stop
  wachtTot 15 sh -c "[ \$(wc -l <'$map/aankomst.log') -gt $verzoeken ]" || return 1
  # The text goes out and the app is idle again.
  sleep 2
}

# --- the run -------------------------------------------------------------------------------------
echo "Build: $bouw; $seconden s per meting, $dictaten dictaten per sessie"
for s in wayland x11; do mkdir -p "$map/$s"; startPulse "$s"; done
startSway
startX11
# The display servers alone first: what they cost before any client of ours connects.
sleep 2
kort=$((seconden < 10 ? seconden : 10))
declare -A leeg0
for s in wayland x11; do
  # shellcheck disable=SC2086
  leeg0[$s]=$(wisselingen ${serverPids[$s]})
done
t0=$(date +%s%N)
sleep "$kort"
t1=$(date +%s%N)
for s in wayland x11; do
  # shellcheck disable=SC2086
  uitslag[leeg,$s]=$(perSeconde "${leeg0[$s]}" "$(wisselingen ${serverPids[$s]})" "$t0" "$t1")
done
for s in wayland x11; do startApp "$s"; done
# The start's own work (fonts, the first frames) is not idle time.
sleep 5
echo "Rust meten ($seconden s, beide sessies tegelijk)..."
meetRust start
declare -A gelukt
for s in wayland x11; do
  gelukt[$s]=0
  for _ in $(seq "$dictaten"); do
    if dicteer "$s"; then gelukt[$s]=$((gelukt[$s] + 1)); else levend "$s"; fi
  done
done
sleep 3
echo "Rust na de dictaten meten ($seconden s)..."
meetRust na

verhouding() { python3 -c "a, b = '$1', '$2'; print(f'{float(a) / float(b):.2f}' if a and b and float(b) else '-')"; }
MiB() { python3 -c "print(f'{$1 / 1024:.1f}')"; }
echo
printf '%-38s %14s %14s %12s\n' "tolmo-app" "Wayland/sway" "X11/Xvfb+ob" "Wayland/X11"
printf '%-38s %14s %14s\n' "weergaveserver zonder app, wekkingen/s" "${uitslag[leeg,wayland]}" "${uitslag[leeg,x11]}"
for fase in start na; do
  [ $fase = start ] && kop="rust na de start" || kop="rust na ${gelukt[wayland]}/${gelukt[x11]} dictaten"
  printf '%-38s %14s %14s %12s\n' "wekkingen/s, $kop" "${uitslag[$fase,wayland,app]}" \
    "${uitslag[$fase,x11,app]}" "$(verhouding "${uitslag[$fase,wayland,app]}" "${uitslag[$fase,x11,app]}")"
  printf '%-38s %14s %14s %12s\n' "  weergaveserver wekkingen/s" "${uitslag[$fase,wayland,server]}" \
    "${uitslag[$fase,x11,server]}" "$(verhouding "${uitslag[$fase,wayland,server]}" "${uitslag[$fase,x11,server]}")"
  printf '%-38s %14s %14s\n' "  draden (begin→eind)" "${uitslag[$fase,wayland,draden]}" "${uitslag[$fase,x11,draden]}"
  for m in rss pss; do
    printf '%-38s %14s %14s %12s\n' "  $([ $m = rss ] && echo VmRSS || echo PSS) (MiB)" \
      "$(MiB "${uitslag[$fase,wayland,$m]}")" "$(MiB "${uitslag[$fase,x11,$m]}")" \
      "$(verhouding "${uitslag[$fase,wayland,$m]}" "${uitslag[$fase,x11,$m]}")"
  done
  printf '%-38s %s → %s\n' "  /proc/loadavg (1/5/15 min)" "${uitslag[$fase,laadVoor]}" "${uitslag[$fase,laadNa]}"
done
echo
echo "Grootste delen van VmRSS na de dictaten (MiB):"
paste -d'|' "$map/wayland/delen-na.txt" "$map/x11/delen-na.txt" |
  awk -F'|' '{ printf "  %-60.60s %-60.60s\n", $1, $2 }'

# --- release to request, idle and under load ------------------------------------------------------
[ "${TOLMO_BENCH_LATENTIE:-1}" = 0 ] && exit 0
if ! [ -x "$map/boom/bench/bench_BedieningLatentie" ]; then
  echo "Latentie overgeslagen: geen $bouw/bench/bench_BedieningLatentie"
  exit 0
fi
bench=("$bouw/bench/bench_BedieningLatentie")
if [ "$(id -u)" = 0 ] && unshare -m --propagation private true 2>/dev/null; then
  # shellcheck disable=SC2016 # expanded by that inner shell
  bench=(unshare -m --propagation private sh -c 'mount --bind "$0" "$1" && shift && exec "$@"'
    "$map/boom" "$bouw" "$bouw/bench/bench_BedieningLatentie")
  echo
  echo "Latentie met de gekopieerde binaries (eigen mount-namespace)"
fi
stempel() { stat -c %Y "$bouw/Tolmo/tolmo-app" "$bouw/Tolmo/tolmo-bediening" "$bouw/cli/tolmo"; }
# Medians of both clients from the bench's JSON, "app bediening" in ms.
medianen() {
  python3 - "$1" <<'PY'
import json, sys
m = {b["run_name"].split("/")[1]: b["real_time"]
     for b in json.load(open(sys.argv[1]))["benchmarks"] if b.get("aggregate_name") == "median"}
print(f"{m.get('tolmo_app', float('nan')):.2f} {m.get('tolmo_bediening', float('nan')):.2f}")
PY
}
stempelVoor=$(stempel)
echo
printf '%-34s %10s %16s %s\n' "loslaten → verzoek, mediaan (ms)" "tolmo-app" "tolmo-bediening" "/proc/loadavg begin → eind"
for belasting in 0 2; do
  bezig=()
  for _ in $(seq $belasting); do sh -c 'while :; do :; done' & bezig+=($!); pids+=($!); done
  [ $belasting = 0 ] || sleep 5
  begin=$(laad)
  "${bench[@]}" --benchmark_out="$map/latentie$belasting.json" --benchmark_out_format=json \
    >"$map/latentie$belasting.txt" 2>&1 || true
  eind=$(laad)
  for p in "${bezig[@]}"; do kill "$p"; wait "$p" 2>/dev/null || true; done
  read -r app bed < <(medianen "$map/latentie$belasting.json" 2>/dev/null || echo "- -")
  printf '%-34s %10s %16s %s\n' "  $([ $belasting = 0 ] && echo "zonder extra belasting" || echo "naast 2 bezige processen")" \
    "$app" "$bed" "$begin → $eind"
done
[ ${#bench[@]} -gt 1 ] || [ "$(stempel)" = "$stempelVoor" ] || echo "Let op: de binaries in $bouw veranderden tijdens de latentiemeting."
