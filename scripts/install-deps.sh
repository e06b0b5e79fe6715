#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need,
# and only those that are missing. `apt-get update` runs only when something
# has to be installed. Given package names as arguments, it installs those
# instead (for targets such as `make docs` that need a tool the rest does not).
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config make
  libssl-dev
  libgtest-dev libbenchmark-dev
  clang libclang-rt-dev
  libxml2-dev libpugixml-dev
  chromium zlib1g-dev
  curl openssl nginx-light wrk
  php-cgi
)

if [ $# -gt 0 ]; then
  packages=("$@")
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

# The browser tests run on node; a node that is already there (from any
# source) is kept.
if [ $# -eq 0 ]; then
  command -v node >/dev/null 2>&1 || missing+=(nodejs)
  command -v npm >/dev/null 2>&1 || missing+=(npm)
fi

if [ ${#missing[@]} -ne 0 ]; then
  echo "installing: ${missing[*]}"
  SUDO=""
  if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# playwright-core for the browser tests, exactly as the lock file says. It
# drives Debian's chromium; it downloads no browser of its own.
browser_tests="$(cd "$(dirname "$0")/.." && pwd)/tests/browser"
if [ $# -eq 0 ] && [ ! -d "$browser_tests/node_modules" ]; then
  (cd "$browser_tests" && npm ci --no-audit --no-fund)
fi
