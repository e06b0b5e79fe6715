#!/usr/bin/env bash
# Runs the client script library test in headless Chromium.
# Usage: run_browser_test.sh <print_dhtml program>
# Exit 77 (skipped) when node or chromium is not installed; a missing
# node_modules is a failure: scripts/install-deps.sh installs it.
set -u
here="$(cd "$(dirname "$0")" && pwd)"
if ! command -v node >/dev/null 2>&1; then
  echo "SKIPPED: node is not installed; the client script library browser test needs node and chromium"
  exit 77
fi
if [ ! -x /usr/bin/chromium ]; then
  echo "SKIPPED: /usr/bin/chromium is not installed; the client script library browser test needs it"
  exit 77
fi
if [ ! -d "$here/../node_modules/playwright-core" ]; then
  echo "FAILED: $here/../node_modules/playwright-core is missing; run scripts/install-deps.sh"
  exit 1
fi
exec node "$here/dhtml_browser_test.cjs" "$1"
