#!/usr/bin/env python3
"""Opens COUNT keep-alive connections to 127.0.0.1:PORT, gets one answer on
each, then holds them all for SECONDS while it measures the server process
PID: processor time used while idle and resident memory per connection.

   hold_connections.py PORT COUNT PID SECONDS
"""
import os
import resource
import socket
import sys
import time

port, count, pid, seconds = int(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3]), float(sys.argv[4])
soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))


def rss_kib():
    with open(f"/proc/{pid}/status") as f:
        for line in f:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    return 0


def cpu_ticks():
    with open(f"/proc/{pid}/stat") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return int(fields[11]) + int(fields[12])


request = b"GET /index.html HTTP/1.1\r\nHost: x\r\n\r\n"
before = rss_kib()
held, answered = [], 0
for _ in range(count):
    s = socket.create_connection(("127.0.0.1", port), timeout=10)
    s.sendall(request)
    data = b""
    while b"\r\n\r\n" not in data:
        chunk = s.recv(65536)
        if not chunk:
            break
        data += chunk
    head, _, rest = data.partition(b"\r\n\r\n")
    length = 0
    for line in head.split(b"\r\n"):
        if line.lower().startswith(b"content-length:"):
            length = int(line.split(b":")[1])
    while len(rest) < length:
        chunk = s.recv(65536)
        if not chunk:
            break
        rest += chunk
    if head.startswith(b"HTTP/1.1 200") and len(rest) == length:
        answered += 1
    held.append(s)
time.sleep(1.0)
t0, c0 = time.time(), cpu_ticks()
time.sleep(seconds)
t1, c1 = time.time(), cpu_ticks()
after = rss_kib()
hz = os.sysconf("SC_CLK_TCK")
cpu = 100.0 * (c1 - c0) / hz / (t1 - t0)
per = (after - before) * 1024.0 / max(count, 1)
print(f"connections {count} answered {answered} idle_cpu_percent {cpu:.2f} "
      f"rss_before_kib {before} rss_after_kib {after} bytes_per_connection {per:.0f}")
for s in held:
    s.close()
