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
  php-cgi
  nodejs chromium nginx-light curl
)

# npm packages of the browser tests, each folder with its own package.json,
# installed when its node_modules is missing.
npm_folders=(tests/browser/client_library)
install_npm_deps() {
  local top
  top="$(cd "$(dirname "$0")/.." && pwd)"
  for f in "${npm_folders[@]}"; do
    if [ ! -d "$top/$f/node_modules" ] && command -v npm >/dev/null 2>&1; then
      echo "installing npm packages in $f"
      (cd "$top/$f" && npm ci --no-audit --no-fund --loglevel=error)
    fi
  done
}

if [ $# -gt 0 ]; then
  packages=("$@")
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  if [ $# -eq 0 ]; then install_npm_deps; fi
  exit 0
fi

echo "installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
if [ $# -eq 0 ]; then install_npm_deps; fi
