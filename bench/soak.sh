#!/usr/bin/env bash
# Soak run of the transport (make soak; not part of CI): SOAK_SECONDS
# (default 300) of mixed wrk load against a server of ours - HTTP with
# keep-alive, HTTP with a new connection per request, HTTPS - while a
# further client opens connections and aborts them mid-head, mid-body and
# mid-answer. Reports wrk's errors (0 is expected: the aborts are made by
# the aborting client, not by wrk) and the server's resident memory at the
# start and at the end.
#
#   bench/soak.sh [directory holding bench/http_bench_server]   (default build-bench)
set -euo pipefail
BUILD=${1:-build-bench}
SECONDS_TOTAL=${SOAK_SECONDS:-300}
WORK=$(mktemp -d /tmp/toviksoak.XXXXXX)
SERVER_PID=""
cleanup() {
  exec 3>&- 2>/dev/null || true
  if [ -n "$SERVER_PID" ]; then
    for _ in $(seq 50); do kill -0 "$SERVER_PID" 2>/dev/null || break; sleep 0.1; done
    kill "$SERVER_PID" 2>/dev/null || true
  fi
  rm -rf "$WORK"
}
trap cleanup EXIT
head -c 1400 /dev/zero | tr '\0' 'a' > "$WORK/index.html"
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout "$WORK/key.pem" \
  -out "$WORK/cert.pem" -days 1 -subj /CN=localhost 2>/dev/null
mkfifo "$WORK/in"
"$BUILD/bench/http_bench_server" "$WORK/index.html" "$WORK/cert.pem" "$WORK/key.pem" < "$WORK/in" > "$WORK/ports" &
SERVER_PID=$!
exec 3> "$WORK/in"
for _ in $(seq 100); do grep -q '^https ' "$WORK/ports" 2>/dev/null && break; sleep 0.1; done
P=$(awk '/^http / {print $2}' "$WORK/ports")
PS=$(awk '/^https / {print $2}' "$WORK/ports")
rss() { awk '/VmRSS/ {print $2}' "/proc/$SERVER_PID/status"; }

# Warm up, then take the starting figure.
wrk -t1 -c8 -d2s "http://127.0.0.1:$P/" > /dev/null
RSS_START=$(rss)
D="${SECONDS_TOTAL}s"
wrk -t1 -c8 -d"$D" "http://127.0.0.1:$P/" > "$WORK/keepalive.txt" &
W1=$!
wrk -t1 -c4 -d"$D" -H "Connection: close" "http://127.0.0.1:$P/" > "$WORK/close.txt" &
W2=$!
wrk -t1 -c4 -d"$D" "https://127.0.0.1:$PS/" > "$WORK/https.txt" &
W3=$!
python3 - "$P" "$SECONDS_TOTAL" > "$WORK/aborts.txt" <<'PY' &
import socket, struct, sys, time
port, total = int(sys.argv[1]), float(sys.argv[2])
pieces = [b"GET / HT", b"POST / HTTP/1.1\r\nContent-Length: 100\r\n\r\nabc", b"GET / HTTP/1.1\r\n\r\n", b""]
end, n = time.time() + total, 0
while time.time() < end:
    s = socket.create_connection(("127.0.0.1", port))
    s.sendall(pieces[n % 4])
    if n % 2 == 0:
        s.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    s.close()
    n += 1
    time.sleep(0.01)
print(n)
PY
W4=$!
wait $W1 $W2 $W3 $W4
RSS_END=$(rss)
errors() { awk '/Socket errors/ {print} /Non-2xx/ {print}' "$1"; }
reqs() { awk '/requests in/ {print $1}' "$1"; }
echo "== soak ${SECONDS_TOTAL}s"
echo "keep-alive:       $(reqs "$WORK/keepalive.txt") requests $(errors "$WORK/keepalive.txt")"
echo "connection close: $(reqs "$WORK/close.txt") requests $(errors "$WORK/close.txt")"
echo "https:            $(reqs "$WORK/https.txt") requests $(errors "$WORK/https.txt")"
echo "aborted connections made: $(cat "$WORK/aborts.txt")"
echo "resident memory: start ${RSS_START} KiB, end ${RSS_END} KiB"
