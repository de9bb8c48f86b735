#!/usr/bin/env bash
# tolmo-server against nginx in one run, both in front of the same fake provider (an nginx
# server block that answers every POST with a fixed reply), repeated a number of times:
#   1. added latency per request, median and p99, at 1 and 100 connections (wrk), on the chat
#      route and on the transcription route (a 1-second WAV, 32 KB of multipart); "added" is
#      the proxy's latency minus that of the fake provider reached directly;
#   2. requests per second, tolmo-server as a ratio to nginx in the same round;
#   3. peak resident memory of tolmo-server with 200 concurrent uploads of 10-minute WAV files.
# Then the median of each figure over the rounds, with its lowest and highest.
# Usage: bench/ServerVergelijk.sh [build/default/TolmoServer/tolmo-server] [seconds per run]
#        [rounds] (TOLMO_BENCH_VERBINDINGEN="1 100 1000" adds 1000 connections)
set -euo pipefail

server=${1:-build/default/TolmoServer/tolmo-server}
duur=${2:-5}
rondes=${3:-3}
verbindingen=${TOLMO_BENCH_VERBINDINGEN:-1 100}
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
  client_body_buffer_size 64k;
  keepalive_requests 100000;
  server {
    listen 127.0.0.1:$nep;
    # It answers before reading an upload: give 200 uploads of 19 MB on a busy machine the time
    # to arrive instead of closing on the sender after nginx's default 30 s.
    lingering_time 600s; lingering_timeout 60s; client_body_timeout 600s;
    location /v1/chat/completions {
      default_type application/json;
      return 200 '{"choices":[{"message":{"role":"assistant","content":"Opgeschoond."}}]}';
    }
    location / {
      default_type application/json;
      return 200 '{"text":"Dit is de transcriptie."}';
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

export XDG_STATE_HOME="$map/staat" TOLMO_SERVER_CONFIG="" OPENAI_API_KEY=sk-bench TMPDIR="$map/tmp"
export TOLMO_SERVER_OPENAI_URL="http://127.0.0.1:$nep" TOLMO_SERVER_VERZOEKEN_PER_MINUUT=100000000
export TOLMO_SERVER_VERZOEKLOG=uit TOLMO_SERVER_PLAFOND=100000 TOLMO_SERVER_LUISTER="127.0.0.1:$relay" TOLMO_SERVER_DRADEN=2
CODE=$("$server" code maak --naam bench --minuten-per-dag 100000000 2>/dev/null)
export CODE

start_relay() {
  "$server" 2>"$map/relay.log" &
  relay_pid=$!
  for _ in $(seq 100); do curl -sf "http://127.0.0.1:$relay/gezond" >/dev/null && return; sleep 0.05; done
  echo "tolmo-server start niet" >&2; exit 1
}
stop_relay() { kill -TERM "$relay_pid"; wait "$relay_pid" || true; }

# WAV of $2 seconds (16 kHz mono) at $1.
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
maakwav "$map/een.wav" 1
python3 - "$map/een.wav" "$map/transcriptie.body" <<'PY'
import sys
wav = open(sys.argv[1], "rb").read()
open(sys.argv[2], "wb").write(
    b'--g\r\nContent-Disposition: form-data; name="model"\r\n\r\nwhisper-1\r\n'
    b'--g\r\nContent-Disposition: form-data; name="file"; filename="d.wav"\r\n'
    b'Content-Type: audio/wav\r\n\r\n' + wav + b'\r\n--g--\r\n')
PY
export BODY="$map/transcriptie.body"

cat > "$map/chat.lua" <<'LUA'
wrk.method = "POST"
wrk.body = '{"model":"m","messages":[{"role":"user","content":"hallo"}]}'
wrk.headers["Content-Type"] = "application/json"
wrk.headers["Authorization"] = "Bearer " .. os.getenv("CODE")
wrk.headers["X-Tolmo-Aanbieder"] = "openai"
LUA
cat > "$map/transcriptie.lua" <<'LUA'
local f = io.open(os.getenv("BODY"), "rb")
wrk.method = "POST"
wrk.body = f:read("*a")
f:close()
wrk.headers["Content-Type"] = "multipart/form-data; boundary=g"
wrk.headers["Authorization"] = "Bearer " .. os.getenv("CODE")
wrk.headers["X-Tolmo-Aanbieder"] = "openai"
LUA

# wrk's "50%" and "99%" lines in microseconds, its requests per second and non-2xx replies.
meet() {
  local uit pad
  pad=$([ "$3" = chat ] && echo /v1/chat/completions || echo /v1/audio/transcriptions)
  uit=$(wrk -t"$(( $2 < 2 ? 1 : 2 ))" -c"$2" -d"${duur}s" --latency -s "$map/$3.lua" "http://127.0.0.1:$1$pad")
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

: > "$map/uitslagen.txt"
for ronde in $(seq "$rondes"); do
  start_relay
  echo "Ronde $ronde: toegevoegde latentie (µs boven de nepaanbieder direct) en verzoeken/s"
  printf "%-12s %-6s %-20s %-20s %-10s %-10s %-6s %s\n" route verb. "nginx p50/p99" "tolmo p50/p99" "nginx r/s" "tolmo r/s" ratio "non-2xx"
  for route in transcriptie chat; do
    for c in $verbindingen; do
      read -r d50 d99 _ _ < <(meet $nep "$c" $route)
      read -r n50 n99 nrps nf < <(meet $proxy "$c" $route)
      read -r t50 t99 trps tf < <(meet $relay "$c" $route)
      python3 - "$route" "$c" "$d50" "$d99" "$n50" "$n99" "$nrps" "$t50" "$t99" "$trps" "$nf" "$tf" <<'PY' | tee -a "$map/uitslagen.txt"
import sys
r, c, d50, d99, n50, n99, nrps, t50, t99, trps, nf, tf = sys.argv[1:]
d50, d99, n50, n99, nrps, t50, t99, trps = map(float, (d50, d99, n50, n99, nrps, t50, t99, trps))
print(f"{r:<12} {c:<6} {n50-d50:>7.0f} / {n99-d99:<10.0f} {t50-d50:>7.0f} / {t99-d99:<10.0f} "
      f"{nrps:<10.0f} {trps:<10.0f} {trps/nrps:<6.2f} {nf}/{tf}")
PY
    done
  done
  stop_relay
done

# 200 uploads of 10 minutes (19 MB) at once, a fresh server for each round so that its peak
# resident memory (VmHWM) is that round's.
maakwav "$map/opname.wav" 600
echo
echo "Piekgeheugen (VmHWM) van tolmo-server bij 200 gelijktijdige uploads van 10 minuten"
for ronde in $(seq "$rondes"); do
  start_relay
  pids=()
  for _ in $(seq 200); do
    curl -s -o /dev/null -w "%{http_code}\n" -H "Authorization: Bearer $CODE" -H "X-Tolmo-Aanbieder: openai" \
      -F model=whisper-1 -F "file=@$map/opname.wav" "http://127.0.0.1:$relay/v1/audio/transcriptions" &
    pids+=($!)
  done > "$map/codes.txt"
  wait "${pids[@]}"
  piek=$(awk '/VmHWM/ {print $2}' "/proc/$relay_pid/status")
  echo "geheugen $((piek / 1024))" | tee -a "$map/uitslagen.txt"
  echo "  antwoorden: $(sort "$map/codes.txt" | uniq -c | tr '\n' ' ')"
  stop_relay
done

echo
echo "Mediaan over $rondes rondes [laagste–hoogste]"
python3 - "$map/uitslagen.txt" <<'PY'
import collections, statistics, sys
reeksen = collections.defaultdict(list)
for regel in open(sys.argv[1]):
    d = regel.split()
    if d[0] == "geheugen":
        reeksen["piekgeheugen, MB"].append(float(d[1]))
        continue
    sleutel = f"{d[0]} {d[1]} verb."
    reeksen[sleutel + ": nginx +p50 µs"].append(float(d[2]))
    reeksen[sleutel + ": tolmo +p50 µs"].append(float(d[5]))
    reeksen[sleutel + ": tolmo +p99 µs"].append(float(d[7]))
    reeksen[sleutel + ": nginx r/s"].append(float(d[8]))
    reeksen[sleutel + ": tolmo r/s"].append(float(d[9]))
    reeksen[sleutel + ": ratio r/s"].append(float(d[10]))
for naam, w in reeksen.items():
    print(f"{naam:<42} {statistics.median(w):>10.2f}  [{min(w):.2f}–{max(w):.2f}]")
PY
