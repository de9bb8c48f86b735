#!/usr/bin/env bash
# What the user waits for after the dictation: from the command-line tool's end of input (the
# moment it is started on a finished file) to the complete request at a fake speech service
# behind a slow uplink, for dictations of 5, 30 and 120 seconds (espeak-ng speech, repeated by
# sox), sent as 16-bit WAV, as m4a, and as m4a streamed through the relay server while it is
# recorded (when this build's tolmo can; otherwise that column says why it is empty).
#
# Links: 10 Mbit/s up with 40 ms round trip, and 2 Mbit/s up with 80 ms. With root and a kernel
# with netem, the tool runs in a network namespace behind a veth pair shaped by tc netem; else
# bench/Lijn.py imitates the link in user space (rate, delay and the handshake's round trip,
# without TCP's slow start), and the table says so.
#
# "lokaal" is the same run with the test engine (no network): starting, reading, converting and
# encoding the file. The app encodes while the user speaks, so for the app the wait after the
# key's release is about "wacht" minus "lokaal".
# Usage: bench/UploadWacht.sh [build/default/cli/tolmo] [build/default/TolmoServer/tolmo-server]
#        [rounds]   (TOLMO_BENCH_DUREN="5" for a quick run; TOLMO_BENCH_STROOM=1 runs the relay
#        column even when the tool does not stream, which then measures a plain relay upload)
set -euo pipefail

tolmo=$(realpath "${1:-build/default/cli/tolmo}")
server=${2:-build/default/TolmoServer/tolmo-server}
rondes=${3:-3}
hier=$(cd "$(dirname "$0")" && pwd)
map=$(mktemp -d /tmp/tolmo-uploadwacht-XXXXXX)
ns=tolmo-uploadwacht
nepPoort=18941 lijnPoort=18942 relayPoort=18943 relayLijnPoort=18944
pids=()
opruimen() {
  for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done
  ip netns del "$ns" 2>/dev/null || true
  ip link del tolmo-uw-h 2>/dev/null || true
  rm -rf "$map"
}
trap opruimen EXIT

# --- the dictations -----------------------------------------------------------------------
espeak-ng -v nl -s 150 -w "$map/zin.wav" \
  "Dit is een proefdictaat voor de meting van de wachttijd. We sturen het bestand naar de \
spraakdienst en kijken hoe lang het duurt voordat het hele verzoek daar is aangekomen."
zinDuur=$(soxi -D "$map/zin.wav")
duren=${TOLMO_BENCH_DUREN:-5 30 120}
for s in $duren; do
  herhaal=$(python3 -c "import math; print(math.ceil($s / $zinDuur))")
  sox "$map/zin.wav" -r 16000 -c 1 -b 16 "$map/d$s.wav" repeat "$herhaal" trim 0 "$s"
done

# --- the link ---------------------------------------------------------------------------------
netem=nee
if [ "$(id -u)" = 0 ] && ip netns add "$ns" 2>/dev/null; then
  ip link add tolmo-uw-h type veth peer name tolmo-uw-k
  ip link set tolmo-uw-k netns "$ns"
  ip addr add 10.78.0.1/24 dev tolmo-uw-h && ip link set tolmo-uw-h up
  ip netns exec "$ns" ip addr add 10.78.0.2/24 dev tolmo-uw-k
  ip netns exec "$ns" ip link set tolmo-uw-k up
  ip netns exec "$ns" ip link set lo up
  if tc qdisc add dev tolmo-uw-h root netem delay 1ms 2>/dev/null; then
    tc qdisc del dev tolmo-uw-h root
    netem=ja
  else
    reden="tc netem ontbreekt in deze kernel"
  fi
else
  reden=$([ "$(id -u)" = 0 ] && echo "ip netns werkt hier niet" || echo "ip netns vraagt root")
fi
if [ $netem = ja ]; then
  gastheer=10.78.0.1
  echo "Lijn: network namespace $ns achter veth, gevormd met tc netem"
else
  gastheer=127.0.0.1
  echo "Lijn: nagebootst door bench/Lijn.py in user space ($reden)"
fi

# rate (bit/s) and round trip (s) of one link; the fake service and, in front of it, the link.
zetLijn() {
  local rate=$1 rtt=$2 half
  half=$(python3 -c "print($rtt / 2)")
  if [ $netem = ja ]; then
    ip netns exec "$ns" tc qdisc replace dev tolmo-uw-k root netem delay "${half}s" rate "${rate}bit" limit 100000
    tc qdisc replace dev tolmo-uw-h root netem delay "${half}s" limit 100000
    doelNep="http://$gastheer:$nepPoort/" doelRelay="http://$gastheer:$relayPoort/"
  else
    [ -n "${lijnPid:-}" ] && kill "$lijnPid" "$relayLijnPid" 2>/dev/null || true
    python3 "$hier/Lijn.py" $lijnPoort 127.0.0.1 $nepPoort "$rate" "$half" & lijnPid=$!
    python3 "$hier/Lijn.py" $relayLijnPoort 127.0.0.1 $relayPoort "$rate" "$half" & relayLijnPid=$!
    pids+=("$lijnPid" "$relayLijnPid")
    doelNep="http://127.0.0.1:$lijnPoort/" doelRelay="http://127.0.0.1:$relayLijnPoort/"
    sleep 0.3
  fi
}

python3 "$hier/NepAanbieder.py" "$gastheer" $nepPoort "$map/aankomst.log" & pids+=($!)

# --- the relay, for the streamed column --------------------------------------------------------
stroom=""
if ! [ -x "$server" ]; then
  stroom="overgeslagen: geen tolmo-server op $server"
elif [ "${TOLMO_BENCH_STROOM:-}" != 1 ] && ! "$tolmo" dicteer --help 2>&1 | grep -qi "stroom"; then
  stroom="overgeslagen: deze tolmo stroomt de opname nog niet naar de relay"
else
  export XDG_STATE_HOME="$map/relaystaat" TOLMO_SERVER_CONFIG="" OPENAI_API_KEY=sk-bench
  CODE=$(TOLMO_SERVER_OPENAI_URL="http://$gastheer:$nepPoort" "$server" code maak --naam bench \
    --minuten-per-dag 100000000 2>/dev/null)
  TOLMO_SERVER_OPENAI_URL="http://$gastheer:$nepPoort" TOLMO_SERVER_LUISTER="$gastheer:$relayPoort" \
    TOLMO_SERVER_VERZOEKEN_PER_MINUUT=100000000 TOLMO_SERVER_VERZOEKLOG=uit \
    "$server" 2>"$map/relay.log" & pids+=($!)
  for _ in $(seq 100); do curl -sf "http://$gastheer:$relayPoort/gezond" >/dev/null && break; sleep 0.05; done
fi

# --- one run ------------------------------------------------------------------------------------
mkdir -p "$map/home" "$map/tmp"
klant() {
  local prefix=()
  [ $netem = ja ] && prefix=(ip netns exec "$ns")
  "${prefix[@]}" env -i PATH="$PATH" HOME="$map/home" TMPDIR="$map/tmp" \
    XDG_CONFIG_HOME="$map/home/config" XDG_DATA_HOME="$map/home/data" \
    XDG_STATE_HOME="$map/home/state" OPENAI_API_KEY=sk-bench TOLMO_OPENAI_URL="$doelNep" \
    TOLMO_SERVER_URL="$doelRelay" TOLMO_TOEGANGSCODE="${CODE:-}" \
    python3 -c 'import os, sys, time
open(sys.argv[1], "w").write(repr(time.monotonic()))
os.execv(sys.argv[2], sys.argv[2:])' "$map/begin" "$tolmo" dicteer --zonder-opschonen "$@" >/dev/null
}

# "seconds bytes" of one dictation through the link; "- -" when it failed.
meet() {
  : > "$map/aankomst.log"
  if ! klant "$@" 2>"$map/fout.txt"; then
    echo "- -"; cat "$map/fout.txt" >&2; return
  fi
  python3 - "$map/begin" "$map/aankomst.log" <<'PY'
import sys
begin = float(open(sys.argv[1]).read())
regel = open(sys.argv[2]).read().split()
print(f"{float(regel[0]) - begin:.3f} {regel[1]}" if regel else "- -")
PY
}

# Wall time of the same run without the network.
lokaal() {
  local b e
  b=$(date +%s.%N)
  klant --motor test "$@" || true
  e=$(date +%s.%N)
  python3 -c "print(f'{$e - $b:.3f}')"
}

: > "$map/uitslagen.txt"
for lijn in "10000000 0.040" "2000000 0.080"; do
  read -r rate rtt <<<"$lijn"
  zetLijn "$rate" "$rtt"
  for s in $duren; do
    for ronde in $(seq "$rondes"); do
      read -r tw bw < <(meet --motor openai --formaat wav "$map/d$s.wav")
      read -r tm bm < <(meet --motor openai --formaat m4a "$map/d$s.wav")
      if [ -z "$stroom" ]; then
        read -r tr br < <(meet --motor tolmo --aanbieder openai ${TOLMO_BENCH_STROOM_OPTIES:-} "$map/d$s.wav")
      else
        tr=- br=-
      fi
      lw=$(lokaal --formaat wav "$map/d$s.wav")
      lm=$(lokaal --formaat m4a "$map/d$s.wav")
      echo "$rate $rtt $s $tw $bw $tm $bm $tr $br $lw $lm" >> "$map/uitslagen.txt"
    done
  done
done

echo "Mediaan over $rondes rondes: wacht van einde invoer tot volledig verzoek bij de dienst (s),"
echo "bytes van het verzoek, en lokaal (dezelfde run zonder netwerk, s)"
python3 - "$map/uitslagen.txt" "$stroom" <<'PY'
import collections, statistics, sys
rijen = collections.defaultdict(list)
for r in open(sys.argv[1]):
    d = r.split()
    rijen[tuple(d[:3])].append(d[3:])
def med(w, i, fmt="{:.2f}"):
    v = [float(x[i]) for x in w if x[i] != "-"]
    return fmt.format(statistics.median(v)) if v else "-"
print(f"{'lijn':<16} {'duur':>5} | {'WAV wacht':>9} {'bytes':>9} {'lokaal':>6} | "
      f"{'m4a wacht':>9} {'bytes':>8} {'lokaal':>6} | {'m4a gestroomd via relay':>23} | bytes WAV/m4a")
for (rate, rtt, s), w in rijen.items():
    lijn = f"{int(rate) // 1000000} Mbit/{float(rtt) * 1000:.0f} ms"
    stroom = f"{med(w, 4)} s, {med(w, 5, '{:.0f}')} B" if sys.argv[2] == "" else "-"
    bw, bm = med(w, 1, "{:.0f}"), med(w, 3, "{:.0f}")
    ratio = f"{float(bw) / float(bm):.1f}" if "-" not in (bw, bm) else "-"
    print(f"{lijn:<16} {s:>4}s | {med(w, 0):>9} {bw:>9} {med(w, 6):>6} | "
          f"{med(w, 2):>9} {bm:>8} {med(w, 7):>6} | {stroom:>23} | {ratio}")
if sys.argv[2]:
    print(f"m4a gestroomd via relay: {sys.argv[2]}")
PY
