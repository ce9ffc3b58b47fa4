#!/usr/bin/env bash
# Builds Dotwise (release) and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target dotwise
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ] &&
   [ "$#" -eq 0 ]; then
  echo "Dotwise is built (build/release/src/dotwise), but there is no display to show it on." >&2
  echo "To try it without a desktop session, run it under a virtual X server:" >&2
  echo "  xvfb-run -s '-screen 0 1280x800x24' build/release/src/dotwise" >&2
  exit 1
fi
exec build/release/src/dotwise "$@"
