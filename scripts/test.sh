#!/usr/bin/env bash
# Builds Dotwise with warnings as errors and runs the whole test suite.
# Usage: scripts/test.sh [preset]   (default: dev; asan and tsan also work)
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-dev}"
scripts/install-deps.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" -j2
