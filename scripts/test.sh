#!/usr/bin/env bash
# Builds Dotwise with warnings as errors and runs its tests.
#
# Usage: scripts/test.sh            the whole suite, as CI runs it: format,
#                                   fresh-bookworm, fresh-trixie, loomwork, e2e,
#                                   asan, tsan
#        scripts/test.sh STEP...    the given steps in order, e.g. "dev" alone
#                                   for the quick suite
# Steps: format   every C++ file as .clang-format says
#        dev      the quick suite (Debug, -Werror)
#        ci       the quick suite, optimised
#        loomwork the library built and tested without the application
#        e2e      the real desktop stack: Xvfb, D-Bus, gvfs, the real binary
#        asan     the quick suite under ASan+UBSan
#        tsan     the threaded tests under TSan
#        package  the .deb built, installed with dpkg and run (root or sudo)
#        fuzz     the libFuzzer targets built with clang, each run over its seeds
#        fresh-bookworm, fresh-trixie
#                 dev and package on a fresh minimal Debian 12 or 13 that has
#                 nothing but git beforehand (scripts/fresh-machine-test.sh;
#                 root or sudo). They stand in for dev and package on the host.
#        filemanagers
#                 badges by pixels in real file managers (GNOME Files, Nemo,
#                 Caja, Thunar, PCManFM-Qt, Dolphin with its plugin); installs
#                 them first, several hundred MB, so it is in no default list.
#                 DW_E2E_FILEMANAGERS="thunar dolphin" picks some. On a fresh
#                 system: scripts/fresh-machine-test.sh trixie -- filemanagers
#
# Each step prints how long it took, so CI's time budget stays visible.
set -euo pipefail
cd "$(dirname "$0")/.."

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(format fresh-bookworm fresh-trixie loomwork e2e asan tsan)
groups=()
for preset in "${presets[@]}"; do
  case "$preset" in
    fresh-*)
      if [ -n "${DOTWISE_IN_FRESH_SYSTEM:-}" ]; then
        echo "test.sh: $preset cannot run inside a fresh system" >&2
        exit 2
      fi
      groups=(fresh)
      ;;
  esac
done
scripts/install-deps.sh "${groups[@]}"

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
jobs="${DOTWISE_JOBS:-2}"

elapsed() { echo "== $1 took $(($(date +%s) - $2)) s"; }

run_preset() {
  local preset="$1" started
  started=$(date +%s)
  echo "== $preset"
  case "$preset" in
    format)
      git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
      ;;
    package)
      scripts/package-test.sh
      ;;
    fuzz)
      cmake --preset fuzz >/dev/null
      cmake --build --preset fuzz -j"$jobs"
      local target
      for target in build/fuzz/fuzz/fuzz_*; do
        [ -f "$target" ] && [ -x "$target" ] || continue
        "$target" -runs=0 -close_fd_mask=2 "fuzz/corpus/${target##*/fuzz_}" 2>&1 | tail -n 1
      done
      ;;
    fresh-bookworm | fresh-trixie)
      $sudo scripts/fresh-machine-test.sh "${preset#fresh-}" -- dev package
      ;;
    e2e)
      # The end-to-end tests use the dev build: the app, the CLI and their fixture.
      cmake --preset dev >/dev/null
      cmake --build --preset dev -j"$jobs" --target dotwise dw_e2e_fixture
      # One at a time: each test starts its own X server, bus and app.
      ctest --preset e2e -j1
      ;;
    filemanagers)
      # Installed before configuring, which builds Dolphin's plugin only when
      # it finds KIO's development files.
      scripts/install-filemanagers.sh
      elapsed "installing the file managers" "$started"
      cmake --preset dev >/dev/null
      local targets=(dotwise dw_e2e_fixture dw_screenshot_probe)
      [[ " ${DW_E2E_FILEMANAGERS:-$(scripts/install-filemanagers.sh --list)} " != *" dolphin "* ]] ||
        targets+=(dotwise_dolphin)
      cmake --build --preset dev -j"$jobs" --target "${targets[@]}"
      # Verbose: the log names what each file manager showed and how fast.
      ctest --preset filemanagers -V
      ;;
    tsan)
      # ThreadSanitizer runs only the tests labelled "threaded", so only those
      # binaries (and what they link) are built.
      cmake --preset tsan >/dev/null
      local targets
      targets=$(ctest --preset tsan -N | sed -n 's/^ *Test *#[0-9]*: *//p')
      if [ -z "$targets" ]; then
        echo "no threaded tests found" >&2
        exit 1
      fi
      # shellcheck disable=SC2086
      cmake --build --preset tsan -j"$jobs" --target $targets
      ctest --preset tsan -j"$jobs"
      ;;
    *)
      cmake --preset "$preset" >/dev/null
      cmake --build --preset "$preset" -j"$jobs"
      ctest --preset "$preset" -j"$jobs"
      ;;
  esac
  elapsed "$preset" "$started"
}

total=$(date +%s)
for preset in "${presets[@]}"; do
  run_preset "$preset"
done
elapsed "all of ${presets[*]}" "$total"
# Any failing step has stopped the script above (set -e).
echo "steps: ${#presets[@]} passed, 0 failed"
