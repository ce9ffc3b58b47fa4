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
#
# Idle means no thread of dotwise has run for SETTLE seconds (default 35).
# That outlasts the one-off timers Qt leaves behind after the start's work:
# its pixmap cache trims itself once 30 s after an insert, and the threads of
# its global pool, which its raster painter uses for large fills (the 512 px
# file icon drawn from SVG), end 30 s after their last job. Those fire
# once, not periodically; with SETTLE=0 the measurement starts as soon as the
# CPU is quiet and shows them, thread by thread.
source "$(dirname "$(readlink -f "$0")")/../tests/e2e/e2e-lib.sh"
e2e_session

seconds="${E2E_ARGS[0]:-60}"
peer_name="${E2E_ARGS[1]:-qlipper}"
settle="${SETTLE:-35}"

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

run_ns() { cat /proc/"$1"/task/*/schedstat 2>/dev/null | awk '{ s += $1 } END { printf "%.0f\n", s }'; }
switches() {
  cat /proc/"$1"/task/*/status 2>/dev/null |
    awk '/^(voluntary|nonvoluntary)_ctxt_switches:/ { s += $2 } END { printf "%.0f\n", s }'
}
threads() { ls /proc/"$1"/task | wc -l; }
# "TID NAME SWITCHES RUN_NS" per thread, to tell which thread woke up.
thread_switches() {
  local task
  for task in /proc/"$1"/task/*; do
    awk -v tid="${task##*/}" -v name="$(tr ' ' _ <"$task/comm" 2>/dev/null)" \
      -v run="$(cut -d' ' -f1 "$task/schedstat" 2>/dev/null)" \
      '/^(voluntary|nonvoluntary)_ctxt_switches:/ { s += $2 } END { print tid, name, s + 0, run + 0 }' \
      "$task/status" 2>/dev/null
  done
}
hz="$(getconf CLK_TCK)"

wait_for 120 "dotwise to be idle" app_is_quiet
app_sleeps() {
  local before after
  before="$(thread_switches "$E2E_APP_PID")"
  sleep "$settle"
  after="$(thread_switches "$E2E_APP_PID")"
  E2E_SEEN="threads that ran in ${settle} s (tid, name, switches, run ns): $(diff <(echo "$before") <(echo "$after") | sed -n 's/^> //p' | tr '\n' ';')"
  [ "$before" = "$after" ]
}
[ "$settle" -gt 5 ] || sleep 5 # the peer's start-up
if [ "$settle" -gt 0 ]; then
  wait_for 180 "no thread of dotwise to run for ${settle} s" app_sleeps
  e2e_log "dotwise has slept for ${settle} s"
fi
kill -0 "$peer_pid" 2>/dev/null || e2e_fail "$peer_name exited: $(tail -n 5 "$E2E_ROOT/peer.log")"

declare -A t0 r0 w0
for pid in "$E2E_APP_PID" "$peer_pid"; do
  t0[$pid]="$(cpu_ticks "$pid")"; r0[$pid]="$(run_ns "$pid")"; w0[$pid]="$(switches "$pid")"
done
app_threads_before="$(thread_switches "$E2E_APP_PID")"
e2e_log "measuring for $seconds s"
sleep "$seconds"
app_threads_after="$(thread_switches "$E2E_APP_PID")"

# Which of dotwise's threads ran, counted per thread: a thread that ended
# meanwhile takes its figures along, so it counts as one wake-up and no time.
app_wakeups=0
app_run_ns=0
threads_report=""
while read -r tid name count run; do
  read -r later later_run < <(awk -v tid="$tid" '$1 == tid { print $3, $4 }' <<<"$app_threads_after")
  if [ -z "${later:-}" ]; then
    threads_report+="  dotwise thread $tid ($name) ended"$'\n'
    app_wakeups=$((app_wakeups + 1))
  elif [ "$later" != "$count" ]; then
    threads_report+="  dotwise thread $tid ($name): $((later - count)) wake-ups, $((later_run - run)) ns"$'\n'
    app_wakeups=$((app_wakeups + later - count))
    app_run_ns=$((app_run_ns + later_run - run))
  fi
  later=""
done <<<"$app_threads_before"
while read -r tid name count run; do
  grep -q "^$tid " <<<"$app_threads_before" && continue
  threads_report+="  dotwise thread $tid ($name) started: $count wake-ups, $run ns"$'\n'
  app_wakeups=$((app_wakeups + count))
  app_run_ns=$((app_run_ns + run))
done <<<"$app_threads_after"
printf '\n%-10s %12s %14s %10s %10s %8s\n' program "cpu ms" "run time ms" wake-ups "RSS MB" threads
for pid in "$E2E_APP_PID" "$peer_pid"; do
  kill -0 "$pid" 2>/dev/null || e2e_fail "process $pid exited during the measurement"
  name=dotwise
  [ "$pid" = "$peer_pid" ] && name="$peer_name"
  ticks=$(($(cpu_ticks "$pid") - t0[$pid]))
  run=$(($(run_ns "$pid") - r0[$pid]))
  wakeups=$(($(switches "$pid") - w0[$pid]))
  [ "$name" = dotwise ] && wakeups=$app_wakeups && run=$app_run_ns
  printf '%-10s %12d %14.3f %10d %10.1f %8d\n' "$name" $((ticks * 1000 / hz)) \
    "$(awk -v n="$run" 'BEGIN { print n / 1e6 }')" "$wakeups" \
    "$(awk -v n="$(rss_kb "$pid")" 'BEGIN { print n / 1024 }')" "$(threads "$pid")"
  if [ "$name" = dotwise ]; then
    app_rss=$(rss_kb "$pid")
  fi
done
echo "(over ${seconds} s, both measured in the same window; dotwise's wake-ups and"
echo " run time are counted thread by thread, a thread that ended counting as one"
echo " wake-up and no time)"
printf '%s' "$threads_report"
verdict=0
[ "$app_wakeups" -eq 0 ] || { echo "goal missed: dotwise woke up $app_wakeups times"; verdict=1; }
# Judged by the scheduler's exact run time; the ticks only count whole 10 ms.
[ "$app_run_ns" -lt 10000000 ] || { echo "goal missed: dotwise ran for $((app_run_ns / 1000000)) ms"; verdict=1; }
[ "$app_rss" -lt $((60 * 1024)) ] || { echo "goal missed: dotwise holds $((app_rss / 1024)) MB"; verdict=1; }
exit $verdict
