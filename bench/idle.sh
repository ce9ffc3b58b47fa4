#!/usr/bin/env bash
# Idle cost of the running app, next to a peer measured in the same run.
# Usage: bench/idle.sh DOTWISE_BINARY E2E_FIXTURE [SECONDS] [PEER]
#   (the binaries of a dev or release build: build/<preset>/src/dotwise and
#   build/<preset>/tests/e2e/dw_e2e_fixture; SECONDS defaults to 60, PEER to
#   qlipper, a Qt clipboard tray program that Debian packages)
#
# Starts dotwise with 100 watched files under Xvfb and a private D-Bus session,
# waits until it is idle, then measures both programs over the same window:
# CPU time (utime+stime from /proc/PID/stat, and the exact run time of all
# threads from /proc/PID/task/*/schedstat), wake-ups (voluntary and
# involuntary context switches of all threads) and resident memory.
# Goals for dotwise: no wake-ups while nothing changes, CPU < 10 ms, RSS < 60 MB.
source "$(dirname "$(readlink -f "$0")")/../tests/e2e/e2e-lib.sh"
e2e_session

seconds="${E2E_ARGS[0]:-60}"
peer_name="${E2E_ARGS[1]:-qlipper}"

peer="$(command -v "$peer_name")"
if [ -z "$peer" ]; then
  e2e_log "installing $peer_name for the comparison"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "$peer_name" >/dev/null
  peer="$(command -v "$peer_name")" || e2e_fail "could not install $peer_name"
fi

files=()
for folder in $(seq -w 1 10); do
  mkdir -p "$E2E_FILES/folder $folder"
  for n in $(seq -w 1 10); do
    file="$E2E_FILES/folder $folder/list $n.txt"
    printf -- '-[] first task\n-[x] finished task\n-[] second task\n' >"$file"
    files+=("$file")
  done
done
"$E2E_FIXTURE" store-task-lists "${files[@]}" || e2e_fail "could not store the task lists"
"$E2E_FIXTURE" launch-at-login "$E2E_DOTWISE" on || e2e_fail "could not add the autostart entry"
"$E2E_FIXTURE" first-run-done || e2e_fail "could not mark the first run as done"
e2e_start_app
for file in "${files[@]}"; do
  wait_for 120 "the badge on $file" badge_shows "$file" 2
done

QT_QPA_PLATFORM=xcb "$peer" >"$E2E_ROOT/peer.log" 2>&1 &
peer_pid=$!
E2E_PEER_PID=$peer_pid
trap 'kill "$E2E_PEER_PID" 2>/dev/null; e2e_cleanup' EXIT

wait_for 120 "dotwise to be idle" app_is_quiet
sleep 5 # the peer's start-up
kill -0 "$peer_pid" 2>/dev/null || e2e_fail "$peer_name exited: $(tail -n 5 "$E2E_ROOT/peer.log")"

run_ns() { cat /proc/"$1"/task/*/schedstat 2>/dev/null | awk '{ s += $1 } END { print s + 0 }'; }
switches() {
  cat /proc/"$1"/task/*/status 2>/dev/null |
    awk '/^(voluntary|nonvoluntary)_ctxt_switches:/ { s += $2 } END { print s + 0 }'
}
threads() { ls /proc/"$1"/task | wc -l; }
hz="$(getconf CLK_TCK)"

declare -A t0 r0 w0
for pid in "$E2E_APP_PID" "$peer_pid"; do
  t0[$pid]="$(cpu_ticks "$pid")"; r0[$pid]="$(run_ns "$pid")"; w0[$pid]="$(switches "$pid")"
done
e2e_log "measuring for $seconds s"
sleep "$seconds"

printf '\n%-10s %12s %14s %10s %10s %8s\n' program "cpu ms" "run time ms" wake-ups "RSS MB" threads
for pid in "$E2E_APP_PID" "$peer_pid"; do
  kill -0 "$pid" 2>/dev/null || e2e_fail "process $pid exited during the measurement"
  name=dotwise
  [ "$pid" = "$peer_pid" ] && name="$peer_name"
  ticks=$(($(cpu_ticks "$pid") - t0[$pid]))
  run=$(($(run_ns "$pid") - r0[$pid]))
  wakeups=$(($(switches "$pid") - w0[$pid]))
  printf '%-10s %12d %14.3f %10d %10.1f %8d\n' "$name" $((ticks * 1000 / hz)) \
    "$(awk -v n="$run" 'BEGIN { print n / 1e6 }')" "$wakeups" \
    "$(awk -v n="$(rss_kb "$pid")" 'BEGIN { print n / 1024 }')" "$(threads "$pid")"
  if [ "$name" = dotwise ]; then
    app_ms=$((ticks * 1000 / hz)); app_wakeups=$wakeups; app_rss=$(rss_kb "$pid")
  fi
done
echo "(over ${seconds} s, both measured in the same window)"
verdict=0
[ "$app_wakeups" -eq 0 ] || { echo "goal missed: dotwise woke up $app_wakeups times"; verdict=1; }
[ "$app_ms" -lt 10 ] || { echo "goal missed: dotwise used $app_ms ms of CPU"; verdict=1; }
[ "$app_rss" -lt $((60 * 1024)) ] || { echo "goal missed: dotwise holds $((app_rss / 1024)) MB"; verdict=1; }
exit $verdict
