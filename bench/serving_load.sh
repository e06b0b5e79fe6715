#!/usr/bin/env bash
# Load benchmark of file serving: toviktwo_demo and nginx (Debian
# nginx-light, started here on loopback with its own temporary config, 2
# workers, access log off, sendfile on) serve the same two files from disk,
# a 1.4 KB page and a 10 MB file, one after the other in the same run, each
# measured with wrk -t2 -c16. Prints requests/s and MB/s of both and the
# ratio toviktwo/nginx (goals: 0.5 for the small file, 0.8 for the large
# one). Then requests/s of the demo running a trivial CGI shell script and a
# trivial PHP page (php-cgi), one child process per request; no peer.
#
#   bench/serving_load.sh [toviktwo_demo] [seconds per run]
#   (default build-bench/examples/toviktwo_demo, 5 s)
set -euo pipefail
DEMO=$(realpath "${1:-build-bench/examples/toviktwo_demo}")
SECONDS_PER_RUN=${2:-5}
WORK=$(mktemp -d /tmp/tovikserving.XXXXXX)
NGINX_PID=""
DEMO_PID=""

cleanup() {
  if [ -n "$NGINX_PID" ]; then kill "$NGINX_PID" 2>/dev/null || true; fi
  exec 3>&- 2>/dev/null || true  # "quit" by end of input
  if [ -n "$DEMO_PID" ]; then
    for _ in $(seq 50); do kill -0 "$DEMO_PID" 2>/dev/null || break; sleep 0.1; done
    kill "$DEMO_PID" 2>/dev/null || true
    wait "$DEMO_PID" 2>/dev/null || true
  fi
  rm -rf "$WORK"
}
trap cleanup EXIT

free_port() { python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'; }

# "requests/s MB/s" of one wrk run.
measure() {
  wrk -t2 -c16 -d"${SECONDS_PER_RUN}s" "$1" 2>/dev/null | awk '
    /^Requests\/sec:/ { rps = $2 }
    /^Transfer\/sec:/ { v = $2; u = v; sub(/[0-9.]+/, "", u); v += 0
                        if (u == "B") v /= 1048576; if (u == "KB") v /= 1024; if (u == "GB") v *= 1024; mb = v }
    END { printf "%s %.1f\n", rps == "" ? 0 : rps, mb }'
}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "n/a" }'; }

chmod 755 "$WORK"  # nginx workers run as another user
mkdir -p "$WORK/site/cgi-bin" "$WORK/nginx/tmp" "$WORK/nginx/logs"
head -c 1050 /dev/urandom | base64 -w 76 | head -c 1434 > "$WORK/site/small.html"
head -c $((10 * 1024 * 1024)) /dev/urandom > "$WORK/site/large.bin"
printf '#!/bin/sh\nprintf "Content-Type: text/plain\\r\\n\\r\\nhello\\n"\n' > "$WORK/site/cgi-bin/hello.sh"
chmod +x "$WORK/site/cgi-bin/hello.sh"
printf '<?php echo "hello\\n"; ?>\n' > "$WORK/site/hello.php"

# ---- nginx
NP=$(free_port)
cat > "$WORK/nginx/nginx.conf" <<CONF
worker_processes 2;
pid $WORK/nginx/nginx.pid;
error_log $WORK/nginx/logs/error.log;
events { worker_connections 1024; }
http {
  access_log off;
  sendfile on;
  keepalive_requests 1000000;
  client_body_temp_path $WORK/nginx/tmp/body;
  proxy_temp_path $WORK/nginx/tmp/proxy;
  fastcgi_temp_path $WORK/nginx/tmp/fastcgi;
  uwsgi_temp_path $WORK/nginx/tmp/uwsgi;
  scgi_temp_path $WORK/nginx/tmp/scgi;
  server { listen 127.0.0.1:$NP; root $WORK/site; }
}
CONF
nginx -p "$WORK/nginx" -c "$WORK/nginx/nginx.conf" -e "$WORK/nginx/logs/error.log"
for _ in $(seq 50); do [ -s "$WORK/nginx/nginx.pid" ] && break; sleep 0.1; done
NGINX_PID=$(cat "$WORK/nginx/nginx.pid")

# ---- the demo, stopped by the end of its input
DP=$(free_port)
mkfifo "$WORK/in"
(cd "$WORK" && exec "$DEMO" --port "$DP" --root "$WORK/site" --no-browser < "$WORK/in" > "$WORK/demo.out" 2>&1) &
DEMO_PID=$!
exec 3> "$WORK/in"
for _ in $(seq 100); do curl -s -o /dev/null "http://127.0.0.1:$DP/small.html" && break; sleep 0.1; done
for P in "$DP" "$NP"; do
  cmp -s <(curl -s "http://127.0.0.1:$P/large.bin") "$WORK/site/large.bin" || { echo "port $P does not serve large.bin whole"; exit 1; }
done

echo "== file serving from disk, wrk -t2 -c16 -d${SECONDS_PER_RUN}s, loopback (machine shared with other work)"
printf '%-12s %-9s %12s %9s\n' file server "requests/s" "MB/s"
for file in small.html large.bin; do
  read -r T_RPS T_MB < <(measure "http://127.0.0.1:$DP/$file")
  read -r N_RPS N_MB < <(measure "http://127.0.0.1:$NP/$file")
  printf '%-12s %-9s %12s %9s\n' "$file" toviktwo "$T_RPS" "$T_MB" "$file" nginx "$N_RPS" "$N_MB"
  echo "$file ratio toviktwo/nginx: $(ratio "$T_RPS" "$N_RPS")"
done

echo "== child programs through the demo, wrk -t2 -c16 -d${SECONDS_PER_RUN}s"
read -r C_RPS _ < <(measure "http://127.0.0.1:$DP/cgi-bin/hello.sh")
echo "trivial CGI script: $C_RPS requests/s"
read -r P_RPS _ < <(measure "http://127.0.0.1:$DP/hello.php")
echo "trivial PHP page:   $P_RPS requests/s"
