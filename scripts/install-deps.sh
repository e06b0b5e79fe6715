#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need,
# and only those that are missing. `apt-get update` runs only when something
# has to be installed.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config make
  libssl-dev
  libgtest-dev libbenchmark-dev
  clang libclang-rt-dev
  libxml2-dev libpugixml-dev
  php-cgi
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
