#!/usr/bin/env bash
# tolmo-server on its two stores under transcription load (every request looks up its code,
# reserves its seconds and settles them: three store calls): one instance on SQLite against two
# instances sharing one PostgreSQL server, and one instance on PostgreSQL to tell the
# database's cost from the second instance's. All sit in front of one nginx fake provider; the
# PostgreSQL server is a private cluster in a temporary folder on a Unix socket, with its
# default durability (fsync on). Each setup gets the same event-loop threads in total.
# Each runs at 2 connections (the latency a lone user sees) and at many (throughput). Prints
# requests per second (two instances: the sum) and the latency added over the fake provider
# reached directly (p50 and p99; two instances: the worse of the two).
# At 1000 connections and more, every instance takes that many from 127.0.0.1 (the
# per-address cap is raised to fit) and the descriptor limit must hold clients, provider
# connections and wrk's own.
# Usage: bench/ServerPostgres.sh [build/default/TolmoServer/tolmo-server] [seconds] [connections]
set -euo pipefail

server=$(realpath "${1:-build/default/TolmoServer/tolmo-server}")
duur=${2:-10}
verb=${3:-64}
ulimit -n "$(ulimit -Hn)"
if [ "$(ulimit -n)" != unlimited ] && [ "$(ulimit -n)" -lt $((4 * verb + 100)) ]; then
  echo "ulimit -n is $(ulimit -n); $verb verbindingen vragen er minstens $((4 * verb + 100))." >&2
  exit 1
fi
map=$(mktemp -d /tmp/tolmo-pgb-XXXXXX)
nep=18941 a=18942 b=18943
bin=$(ls -d /usr/lib/postgresql/*/bin | sort -V | tail -1)
als=()
if [ "$(id -u)" = 0 ]; then
  # initdb refuses root; the cluster belongs to nobody.
  chown nobody "$map"
  als=(runuser -u nobody --)
fi
opruimen() {
  kill $(jobs -p) 2>/dev/null || true
  wait 2>/dev/null || true
  nginx -p "$map" -c "$map/nginx.conf" -s stop 2>/dev/null || true
  "${als[@]}" "$bin/pg_ctl" -D "$map/data" -m immediate stop >/dev/null 2>&1 || true
  rm -rf "$map"
}
trap opruimen EXIT

"${als[@]}" "$bin/initdb" -D "$map/data" -U tolmo -A trust -E UTF8 --locale=C >/dev/null
"${als[@]}" "$bin/pg_ctl" -D "$map/data" -l "$map/pg.log" -w \
  -o "-c listen_addresses='' -k $map -c max_connections=50" start >/dev/null
pg="host=$map dbname=postgres user=tolmo"

mkdir -p "$map/logs" "$map/tmp"
cat > "$map/nginx.conf" <<CONF
worker_processes 1;
pid $map/nginx.pid;
error_log $map/logs/fout.log crit;
events { worker_connections 4096; }
http {
  access_log off;
  client_body_temp_path $map/tmp;
  client_max_body_size 0;
  keepalive_requests 100000;
  server {
    listen 127.0.0.1:$nep;
    location / { default_type application/json; return 200 '{"text":"ok"}'; }
  }
}
CONF
nginx -p "$map" -c "$map/nginx.conf"

# One second of 16 kHz mono WAV in a multipart body, as the apps send it.
python3 - "$map/body" <<'PY'
import struct, sys
n = 32000
wav = (b"RIFF" + struct.pack("<I", 36 + n) + b"WAVEfmt " +
       struct.pack("<IHHIIHH", 16, 1, 1, 16000, 32000, 2, 16) + b"data" + struct.pack("<I", n) +
       (struct.pack("<h", 3000) * 16 + struct.pack("<h", -3000) * 16) * (n // 64))
open(sys.argv[1], "wb").write(
    b'--g\r\nContent-Disposition: form-data; name="model"\r\n\r\nwhisper-1\r\n'
    b'--g\r\nContent-Disposition: form-data; name="file"; filename="d.wav"\r\n'
    b"Content-Type: audio/wav\r\n\r\n" + wav + b"\r\n--g--\r\n")
PY
cat > "$map/upload.lua" <<'LUA'
local f = io.open(os.getenv("BODY"), "rb")
wrk.method = "POST"
wrk.body = f:read("*a")
f:close()
wrk.headers["Content-Type"] = "multipart/form-data; boundary=g"
wrk.headers["Authorization"] = "Bearer " .. os.getenv("CODE")
wrk.headers["X-Tolmo-Aanbieder"] = "openai"
LUA
export BODY="$map/body" TOLMO_SERVER_CONFIG="" OPENAI_API_KEY=sk-bench XDG_STATE_HOME="$map/staat"
export TOLMO_SERVER_OPENAI_URL="http://127.0.0.1:$nep" TOLMO_SERVER_VERZOEKEN_PER_MINUUT=100000000
export TOLMO_SERVER_VERZOEKLOG=uit TOLMO_SERVER_PLAFOND=100000
export TOLMO_SERVER_MAX_VERBINDINGEN_PER_ADRES=$((verb + 100))

start() {  # poort draden database
  TOLMO_SERVER_LUISTER="127.0.0.1:$1" TOLMO_SERVER_DRADEN=$2 TOLMO_SERVER_DATABASE=$3 \
    "$server" 2>>"$map/relay.log" &
  for _ in $(seq 100); do curl -sf "http://127.0.0.1:$1/gezond" >/dev/null && return; sleep 0.05; done
  echo "tolmo-server start niet:" >&2; cat "$map/relay.log" >&2; exit 1
}
stop() { kill -TERM $(jobs -p) 2>/dev/null; wait $(jobs -p) 2>/dev/null || true; }

# wrk's 50% and 99% in microseconds, its requests per second, and its non-2xx replies plus
# socket errors. The time-out is far above wrk's 2 s: at 1000 connections requests queue for
# seconds, and wrk leaves timed-out requests out of its latencies.
meet() {  # poort verbindingen
  wrk -t1 -c"$2" -d"${duur}s" --timeout 60s --latency -s "$map/upload.lua" "http://127.0.0.1:$1/v1/audio/transcriptions" |
    python3 -c '
import re, sys
t = sys.stdin.read()
def us(p):
    v, e = re.search(r"^\s+%s\s+([\d.]+)(us|ms|s)\s*$" % p, t, re.M).groups()
    return float(v) * {"us": 1, "ms": 1e3, "s": 1e6}[e]
f = re.search(r"Non-2xx or 3xx responses: (\d+)", t)
e = re.search(r"Socket errors: connect (\d+), read (\d+), write (\d+), timeout (\d+)", t)
fout = (int(f.group(1)) if f else 0) + (sum(map(int, e.groups())) if e else 0)
print(us("50%"), us("99%"), re.search(r"Requests/sec:\s+([\d.]+)", t).group(1), fout)'
}

# One setup at one concurrency: its servers are started, loaded by one wrk per instance (the
# connections split between them) and stopped; prints one table row.
opstelling() {  # naam verbindingen database poort...
  local naam=$1 c=$2 db=$3
  shift 3
  local draden=$((2 / $#)) p wrks=()
  for p in "$@"; do start "$p" "$draden" "$db"; done
  for p in "$@"; do
    meet "$p" $((c / $#)) > "$map/$p.txt" &
    wrks+=($!)
  done
  wait "${wrks[@]}"
  stop
  python3 - "$naam" "$c" "$(cat "$map/direct$c.txt")" $(for p in "$@"; do cat "$map/$p.txt"; done) <<'PY'
import sys
naam, c, direct, *w = sys.argv[1:]
d50, d99 = map(float, direct.split()[:2])
rijen = [list(map(float, w[i:i + 4])) for i in range(0, len(w), 4)]
print(f"{naam:<34} {c:>5} {max(r[0] for r in rijen) - d50:>9.0f} {max(r[1] for r in rijen) - d99:>9.0f}"
      f" {sum(r[2] for r in rijen):>9.0f} {int(sum(r[3] for r in rijen)):>8}")
PY
}

export CODE=direct
meet $nep 2 > "$map/direct2.txt"
meet $nep "$verb" > "$map/direct$verb.txt"
echo "$duur s per meting, $(nproc) kernen; latentie in µs boven de nepaanbieder direct"
printf "%-34s %5s %9s %9s %9s %8s\n" opstelling verb. "p50" "p99" "r/s" "fouten"
sqlite="$map/tolmo.db"
CODE=$("$server" code maak --naam bench --minuten-per-dag 100000000 --database "$sqlite" 2>/dev/null)
for c in 2 "$verb"; do opstelling "1 instantie, SQLite" "$c" "$sqlite" $a; done
CODE=$("$server" code maak --naam bench --minuten-per-dag 100000000 --database "$pg" 2>/dev/null)
for c in 2 "$verb"; do
  opstelling "1 instantie, PostgreSQL" "$c" "$pg" $a
  opstelling "2 instanties, één PostgreSQL" "$c" "$pg" $a $b
  # Without waiting for each commit's flush to disk, to show what of the above is fsync.
  opstelling "2 inst., synchronous_commit=off" "$c" "$pg options='-c synchronous_commit=off'" $a $b
done
