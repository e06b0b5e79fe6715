#!/usr/bin/env bash
# The example application from the outside: its command line, what it
# serves (file, CGI, PHP, 404, HTTPS with a self-made certificate), --root
# and --cgi-timeout, and that it ends with exit code 0 on "quit", end of
# input, SIGINT and SIGTERM.
# Usage: test_demo.sh <path of toviktwo_demo>
set -u
demo=$(realpath "$1")
work=$(mktemp -d /tmp/toviktwo-demo-test-XXXXXX)
pid=""
cleanup() {
  [ -n "$pid" ] && kill -KILL "$pid" 2>/dev/null
  exec 3>&- 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

# Starts the demo with its standard input on a pipe (descriptor 3) and waits
# until it prints the address; sets pid and port.
start() {
  rm -f "$work/in" "$work/out"
  mkfifo "$work/in"
  (cd "$work" && exec "$demo" --port 0 --no-browser "$@" < "$work/in" > "$work/out" 2>&1) &
  pid=$!
  exec 3> "$work/in"
  port=""
  for _ in $(seq 1 100); do
    port=$(sed -n 's|^toviktwo demo: open http://127.0.0.1:\([0-9]*\)/$|\1|p' "$work/out")
    [ -n "$port" ] && return 0
    sleep 0.1
  done
  fail "no address printed: $(cat "$work/out")"
  return 1
}

# Waits for the demo to end; its exit code must be 0.
expect_exit0() {
  local what="$1" rc=""
  for _ in $(seq 1 100); do
    if ! kill -0 "$pid" 2>/dev/null; then break; fi
    sleep 0.1
  done
  if kill -0 "$pid" 2>/dev/null; then fail "$what: still running"; kill -KILL "$pid"; fi
  wait "$pid"; rc=$?
  [ "$rc" = 0 ] || fail "$what: exit code $rc"
  pid=""
}

fetch() { curl -s --max-time 30 "$@"; }

# ---- the command line
"$demo" --bogus > /dev/null 2>&1; [ $? = 2 ] || fail "unknown option is not refused"
"$demo" --port > /dev/null 2>&1; [ $? = 2 ] || fail "--port without a number is not refused"
"$demo" --port 70000 > /dev/null 2>&1; [ $? = 2 ] || fail "--port 70000 is not refused"
"$demo" --cgi-timeout 0 > /dev/null 2>&1; [ $? = 2 ] || fail "--cgi-timeout 0 is not refused"
"$demo" --bogus 2>&1 | grep -q 'usage: toviktwo_demo \[--port N\] \[--https-port N\] \[--root DIR\] \[--no-browser\] \[--cgi-timeout S\]' ||
  fail "usage text"

# ---- what it serves, and "quit"
if start; then
  fetch "http://127.0.0.1:$port/" | grep -q "<title>toviktwo workbench</title>" || fail "session page"
  fetch "http://127.0.0.1:$port/" | grep -q '^tovikid="[0-9a-f_]*";' || fail "session page without its session id"
  fetch "http://127.0.0.1:$port/index.html" | grep -q "toviktwo demo" || fail "index page"
  fetch "http://127.0.0.1:$port/style.css" | grep -q "font-family" || fail "style sheet"
  fetch "http://127.0.0.1:$port/logo.svg" | grep -q "<svg" || fail "image"
  fetch "http://127.0.0.1:$port/cgi-bin/hello.sh?from=test" | grep -q "QUERY_STRING: from=test" || fail "CGI"
  fetch "http://127.0.0.1:$port/hello.php?name=tester" | grep -q "Hello, tester" || fail "PHP GET"
  fetch --data "message=posted+text" "http://127.0.0.1:$port/hello.php" | grep -q "You posted: posted text" ||
    fail "PHP POST"
  [ "$(curl -s -o /dev/null -w '%{http_code}' --max-time 10 "http://127.0.0.1:$port/nothing")" = 404 ] || fail "404"
  echo "quit" >&3
  expect_exit0 "quit"
fi

# ---- end of input
if start; then exec 3>&-; expect_exit0 "end of input"; fi

# ---- SIGINT and SIGTERM
for sig in INT TERM; do
  if start; then kill -"$sig" "$pid"; expect_exit0 "SIG$sig"; exec 3>&-; fi
done

# ---- --root and --cgi-timeout: another folder, and a CGI script cut off
mkdir -p "$work/root/cgi-bin"
echo "from the other root" > "$work/root/mine.txt"
printf '#!/bin/sh\nprintf "Content-Type: text/plain\\r\\n\\r\\nbefore\\n"\nsleep 30\necho after\n' \
  > "$work/root/cgi-bin/slow.sh"
chmod +x "$work/root/cgi-bin/slow.sh"
if start --root "$work/root" --cgi-timeout 1; then
  [ "$(fetch "http://127.0.0.1:$port/mine.txt")" = "from the other root" ] || fail "--root"
  [ "$(curl -s -o /dev/null -w '%{http_code}' --max-time 10 "http://127.0.0.1:$port/index.html")" = 404 ] ||
    fail "--root still serves the demo's own folder"
  began=$(date +%s)
  [ "$(fetch --max-time 20 "http://127.0.0.1:$port/cgi-bin/slow.sh")" = "before" ] || fail "--cgi-timeout answer"
  [ $(($(date +%s) - began)) -lt 15 ] || fail "--cgi-timeout did not stop the script"
  echo "quit" >&3
  expect_exit0 "quit with --root"
fi

# ---- HTTPS with a self-signed pair made at first start
if start --https-port 0; then
  [ -s "$work/cacert.pem" ] && [ -s "$work/privkey.pem" ] || fail "no certificate pair made"
  hport=""
  for _ in $(seq 1 200); do
    hport=$(sed -n 's|^ *or https://127.0.0.1:\([0-9]*\)/$|\1|p' "$work/out")
    [ -n "$hport" ] && break
    sleep 0.1
  done
  fetch -k "https://127.0.0.1:$hport/" | grep -q "<title>toviktwo workbench</title>" || fail "HTTPS session page"
  echo "quit" >&3
  expect_exit0 "quit with HTTPS"
fi

[ "$failures" = 0 ] && echo "demo: all checks passed"
exit "$failures"
