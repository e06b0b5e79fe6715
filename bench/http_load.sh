#!/usr/bin/env bash
# Load benchmark of the transport: wrk -t2 -c16 -d5s against a server of
# ours answering a 1.4 KB body over keep-alive and, in the same run, against
# nginx (Debian nginx-light, 2 workers, access log off) serving the same
# bytes from its own config and temp directories under /tmp; over HTTP and
# over HTTPS. Prints req/s of both and the ratio. Then the idle processor
# time of our server (nothing connected, and 100 idle keep-alive
# connections, 10 s each) and its resident memory per idle connection with
# 10,000 connections held.
#
#   bench/http_load.sh [build dir]     (default build-bench)
set -euo pipefail
BUILD=${1:-build-bench}
SERVER="$BUILD/bench/http_bench_server"
HERE=$(cd "$(dirname "$0")" && pwd)
WORK=$(mktemp -d /tmp/tovikbench.XXXXXX)
NGINX_PID=""
SERVER_PID=""

cleanup() {
  if [ -n "$NGINX_PID" ]; then kill "$NGINX_PID" 2>/dev/null || true; fi
  exec 3>&- 2>/dev/null || true
  if [ -n "$SERVER_PID" ]; then
    for _ in $(seq 50); do kill -0 "$SERVER_PID" 2>/dev/null || break; sleep 0.1; done
    kill "$SERVER_PID" 2>/dev/null || true
  fi
  rm -rf "$WORK"
}
trap cleanup EXIT

free_port() { python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'; }
rps() { wrk -t2 -c16 -d5s "$1" 2>/dev/null | awk '/Requests\/sec:/ {print $2}'; }

mkdir -p "$WORK/www" "$WORK/tmp" "$WORK/logs"
head -c 1400 /dev/zero | tr '\0' 'a' > "$WORK/www/index.html"
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout "$WORK/key.pem" \
  -out "$WORK/cert.pem" -days 1 -subj /CN=localhost 2>/dev/null

# ---- nginx
NP=$(free_port)
NPS=$(free_port)
cat > "$WORK/nginx.conf" <<CONF
worker_processes 2;
pid $WORK/nginx.pid;
error_log $WORK/logs/error.log;
events { worker_connections 1024; }
http {
  access_log off;
  client_body_temp_path $WORK/tmp/body;
  proxy_temp_path $WORK/tmp/proxy;
  fastcgi_temp_path $WORK/tmp/fastcgi;
  uwsgi_temp_path $WORK/tmp/uwsgi;
  scgi_temp_path $WORK/tmp/scgi;
  keepalive_requests 1000000;
  server { listen 127.0.0.1:$NP; root $WORK/www; }
  server {
    listen 127.0.0.1:$NPS ssl;
    ssl_certificate $WORK/cert.pem;
    ssl_certificate_key $WORK/key.pem;
    root $WORK/www;
  }
}
CONF
nginx -p "$WORK" -c "$WORK/nginx.conf" -e "$WORK/logs/error.log"
for _ in $(seq 50); do [ -s "$WORK/nginx.pid" ] && break; sleep 0.1; done
NGINX_PID=$(cat "$WORK/nginx.pid")

# ---- ours
mkfifo "$WORK/in"
"$SERVER" "$WORK/www/index.html" "$WORK/cert.pem" "$WORK/key.pem" < "$WORK/in" > "$WORK/ports" &
SERVER_PID=$!
exec 3> "$WORK/in"
for _ in $(seq 100); do grep -q '^https ' "$WORK/ports" 2>/dev/null && break; sleep 0.1; done
OP=$(awk '/^http / {print $2}' "$WORK/ports")
OPS=$(awk '/^https / {print $2}' "$WORK/ports")

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "n/a" }'; }
OURS_HTTP=$(rps "http://127.0.0.1:$OP/index.html")
NGINX_HTTP=$(rps "http://127.0.0.1:$NP/index.html")
OURS_HTTPS=$(rps "https://127.0.0.1:$OPS/index.html")
NGINX_HTTPS=$(rps "https://127.0.0.1:$NPS/index.html")
echo "== load (wrk -t2 -c16 -d5s, 1.4 KB body, keep-alive)"
echo "http   ours $OURS_HTTP req/s   nginx $NGINX_HTTP req/s   ratio $(ratio "$OURS_HTTP" "$NGINX_HTTP")"
echo "https  ours $OURS_HTTPS req/s   nginx $NGINX_HTTPS req/s   ratio $(ratio "$OURS_HTTPS" "$NGINX_HTTPS")"
kill "$NGINX_PID" 2>/dev/null || true
NGINX_PID=""

echo "== idle (our server)"
T0=$(awk '{print $14 + $15}' "/proc/$SERVER_PID/stat")
sleep 10
T1=$(awk '{print $14 + $15}' "/proc/$SERVER_PID/stat")
echo "nothing connected: $(awk -v d=$((T1 - T0)) -v hz="$(getconf CLK_TCK)" 'BEGIN { printf "%.2f", 100 * d / hz / 10 }')% of one core over 10 s"
python3 "$HERE/hold_connections.py" "$OP" 100 "$SERVER_PID" 10
echo "== scale (10,000 idle keep-alive connections)"
python3 "$HERE/hold_connections.py" "$OP" 10000 "$SERVER_PID" 3
