#!/usr/bin/env bash
# tolmo-server against nginx in one run, both in front of the same fake provider (an nginx
# server block that answers every POST with a fixed chat reply):
#   1. added latency per chat request, median and p99, at 1, 100 and 1000 connections (wrk);
#      "added" is the proxy's latency minus that of the fake provider reached directly;
#   2. requests per second, tolmo-server as a ratio to nginx;
#   3. peak resident memory of tolmo-server with 200 concurrent uploads of 1-minute and of
#      10-minute WAV files (the peak must not grow with the upload's size).
# Usage: bench/ServerVergelijk.sh [build/default/TolmoServer/tolmo-server] [seconds per run]
set -euo pipefail

server=${1:-build/default/TolmoServer/tolmo-server}
duur=${2:-5}
map=$(mktemp -d /tmp/tolmo-bench-XXXXXX)
nep=18931 proxy=18932 relay=18933
trap 'nginx -p "$map" -c "$map/nginx.conf" -s stop 2>/dev/null || true; kill $(jobs -p) 2>/dev/null || true; rm -rf "$map"' EXIT

mkdir -p "$map/logs" "$map/tmp"
cat > "$map/nginx.conf" <<CONF
worker_processes 2;
pid $map/nginx.pid;
error_log $map/logs/fout.log crit;
events { worker_connections 8192; }
http {
  access_log off;  # tolmo-server runs with verzoeklog = uit to match
  client_body_temp_path $map/tmp; proxy_temp_path $map/tmp;
  fastcgi_temp_path $map/tmp; uwsgi_temp_path $map/tmp; scgi_temp_path $map/tmp;
  client_max_body_size 0;
  keepalive_requests 100000;
  server {
    listen 127.0.0.1:$nep;
    location / {
      default_type application/json;
      return 200 '{"choices":[{"message":{"role":"assistant","content":"Opgeschoond."}}]}';
    }
  }
  upstream nep { server 127.0.0.1:$nep; keepalive 128; }
  server {
    listen 127.0.0.1:$proxy;
    location / {
      proxy_pass http://nep;
      proxy_http_version 1.1;
      proxy_set_header Connection "";
      proxy_set_header Authorization "Bearer sk-bench";
      proxy_request_buffering off;
    }
  }
}
CONF
nginx -p "$map" -c "$map/nginx.conf"

export XDG_STATE_HOME="$map/staat" TOLMO_SERVER_CONFIG="" OPENAI_API_KEY=sk-bench
export TOLMO_SERVER_OPENAI_URL="http://127.0.0.1:$nep" TOLMO_SERVER_VERZOEKEN_PER_MINUUT=100000000
export TOLMO_SERVER_VERZOEKLOG=uit TOLMO_SERVER_PLAFOND=100000 TOLMO_SERVER_LUISTER="127.0.0.1:$relay" TOLMO_SERVER_DRADEN=2
CODE=$("$server" code maak --naam bench --minuten-per-dag 100000 2>/dev/null)
export CODE

start_relay() {
  "$server" 2>"$map/relay.log" &
  relay_pid=$!
  for _ in $(seq 100); do curl -sf "http://127.0.0.1:$relay/gezond" >/dev/null && return; sleep 0.05; done
  echo "tolmo-server start niet" >&2; exit 1
}
stop_relay() { kill -TERM "$relay_pid"; wait "$relay_pid" || true; }

cat > "$map/chat.lua" <<'LUA'
wrk.method = "POST"
wrk.body = '{"model":"m","messages":[{"role":"user","content":"hallo"}]}'
wrk.headers["Content-Type"] = "application/json"
wrk.headers["Authorization"] = "Bearer " .. os.getenv("CODE")
wrk.headers["X-Tolmo-Aanbieder"] = "openai"
LUA

# wrk's "50%" and "99%" lines in microseconds, and its requests per second.
meet() {
  local uit
  uit=$(wrk -t"$(( $2 < 2 ? 1 : 2 ))" -c"$2" -d"${duur}s" --latency -s "$map/chat.lua" "http://127.0.0.1:$1/v1/chat/completions")
  python3 - "$uit" <<'PY'
import re, sys
t = sys.argv[1]
def us(p):
    v, e = re.search(r"^\s+%s\s+([\d.]+)(us|ms|s)\s*$" % p, t, re.M).groups()
    return float(v) * {"us": 1, "ms": 1e3, "s": 1e6}[e]
fouten = re.search(r"Non-2xx or 3xx responses: (\d+)", t)
print(us("50%"), us("99%"), re.search(r"Requests/sec:\s+([\d.]+)", t).group(1),
      fouten.group(1) if fouten else 0)
PY
}

start_relay
echo "Toegevoegde latentie per chatverzoek (µs boven de nepaanbieder direct) en verzoeken/s"
printf "%-6s %-22s %-22s %-12s %-12s %-8s %s\n" verb. "nginx p50/p99" "tolmo p50/p99" "nginx r/s" "tolmo r/s" ratio "non-2xx"
for c in 1 100 1000; do
  read -r d50 d99 _ _ < <(meet $nep $c)
  read -r n50 n99 nrps nf < <(meet $proxy $c)
  read -r t50 t99 trps tf < <(meet $relay $c)
  python3 - "$c" "$d50" "$d99" "$n50" "$n99" "$nrps" "$t50" "$t99" "$trps" "$nf" "$tf" <<'PY'
import sys
c, d50, d99, n50, n99, nrps, t50, t99, trps, nf, tf = sys.argv[1:]
d50, d99, n50, n99, nrps, t50, t99, trps = map(float, (d50, d99, n50, n99, nrps, t50, t99, trps))
print(f"{c:<6} {n50-d50:>8.0f} / {n99-d99:<10.0f} {t50-d50:>8.0f} / {t99-d99:<10.0f} "
      f"{nrps:<12.0f} {trps:<12.0f} {trps/nrps:<8.2f} {nf}/{tf}")
PY
done
stop_relay

# Uploads: WAV files of 1 and 10 minutes (16 kHz mono), 200 at once, a fresh server for each
# size so that its peak resident memory (VmHWM) belongs to that size alone.
maakwav() {
  python3 - "$1" "$2" <<'PY'
import struct, sys
s = int(sys.argv[2]); n = s * 32000
with open(sys.argv[1], "wb") as f:
    f.write(b"RIFF" + struct.pack("<I", 36 + n) + b"WAVEfmt " +
            struct.pack("<IHHIIHH", 16, 1, 1, 16000, 32000, 2, 16) + b"data" + struct.pack("<I", n))
    blok = (struct.pack("<h", 3000) * 16 + struct.pack("<h", -3000) * 16) * 1000
    for _ in range(n // len(blok)): f.write(blok)
    f.write(blok[: n % len(blok)])
PY
}
echo
echo "Piekgeheugen (VmHWM) van tolmo-server bij 200 gelijktijdige uploads"
for minuten in 1 10; do
  maakwav "$map/opname.wav" $((minuten * 60))
  start_relay
  pids=()
  for _ in $(seq 200); do
    curl -s -o /dev/null -w "%{http_code}\n" -H "Authorization: Bearer $CODE" -H "X-Tolmo-Aanbieder: openai" \
      -F model=whisper-1 -F "file=@$map/opname.wav" "http://127.0.0.1:$relay/v1/audio/transcriptions" &
    pids+=($!)
  done > "$map/codes.txt"
  wait "${pids[@]}"
  piek=$(awk '/VmHWM/ {print $2}' "/proc/$relay_pid/status")
  echo "$minuten min ($(du -m "$map/opname.wav" | cut -f1) MB per upload): $((piek / 1024)) MB;" \
       "antwoorden: $(sort "$map/codes.txt" | uniq -c | tr '\n' ' ')"
  stop_relay
done
