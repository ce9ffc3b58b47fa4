#!/usr/bin/env bash
# Builds Dotwise (release) and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target dotwise
exec build/release/src/dotwise "$@"
