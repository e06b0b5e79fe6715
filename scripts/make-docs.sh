#!/usr/bin/env bash
# Builds the HTML API reference into $1 (default build-docs) with Doxygen and
# fails when Doxygen warns about our headers or pages: broken references and
# bad markup. Undocumented members are not warnings.
set -euo pipefail
cd "$(dirname "$0")/.."
out="${1:-build-docs}"
mkdir -p "$out"
warnings="$out/doxygen-warnings.txt"
rm -f "$warnings"
( cat docs/Doxyfile
  for d in foundation scheduler transport xml documents application persistence devices; do
    [ -d "$d" ] && echo "INPUT += $d"
  done
  echo "OUTPUT_DIRECTORY = $out"
  echo "WARN_LOGFILE = $warnings"
  echo "PROJECT_NUMBER = $(sed -n 's/^project(toviktwo VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)"
) | doxygen -
if [ -s "$warnings" ]; then
  echo "Doxygen warnings:" >&2
  cat "$warnings" >&2
  exit 1
fi
echo "API reference: $out/html/index.html"
