# Shared by the end-to-end scripts; sourced, not run.
#
# A script calls `e2e_session "$@"` first: it re-runs itself inside a private
# D-Bus session with a temporary HOME and XDG folders, then starts Xvfb and the
# gvfs metadata daemon there. Every wait has a deadline, and a failure says
# what was expected and what was seen. The temporary folder is kept when a
# test fails (its path is printed), removed when it passes unless DW_E2E_KEEP
# is set.

set -uo pipefail

E2E_DOTWISE="$(readlink -f "$1")"
E2E_FIXTURE="$(readlink -f "$2")"
# The subcommands (count, badge) that give the expected results; the app's own
# binary unless DW_E2E_CLI names another build of them.
E2E_CLI="$(readlink -f "${DW_E2E_CLI:-$1}")"
E2E_SCRIPT="$(readlink -f "$0")"
shift 2
E2E_ARGS=("$@")

e2e_log() { echo "[$(date +%T.%3N)] $*"; }

e2e_fail() {
  echo "FAILED: $*" >&2
  if [ -n "${E2E_APP_PID:-}" ] && [ -f "$E2E_ROOT/app.log" ]; then
    echo "--- last lines of the app's log ($E2E_ROOT/app.log):" >&2
    tail -n 20 "$E2E_ROOT/app.log" >&2
  fi
  exit 1
}

e2e_session() {
  if [ -z "${DW_E2E_ROOT:-}" ]; then
    for tool in dbus-run-session Xvfb gio /usr/libexec/gvfsd-metadata; do
      command -v "$tool" >/dev/null || { echo "missing $tool (scripts/install-deps.sh installs it)" >&2; exit 1; }
    done
    local root status
    root="$(mktemp -d /tmp/dw-e2e.XXXXXX)"
    mkdir -p "$root"/{home,config,cache,data,state,runtime,files,ref}
    chmod 700 "$root/runtime"
    # The checks read custom icons: badges are pictures whatever file manager
    # the machine has (a script may choose otherwise).
    mkdir -p "$root/config/Wrenfield"
    printf '[General]\nBadgeMode=picture\n' >"$root/config/Wrenfield/Dotwise.conf"
    env -u DBUS_SESSION_BUS_ADDRESS -u DISPLAY -u WAYLAND_DISPLAY -u XDG_DATA_DIRS \
      DW_E2E_ROOT="$root" DW_E2E_CLI="$E2E_CLI" HOME="$root/home" XDG_CONFIG_HOME="$root/config" \
      XDG_CACHE_HOME="$root/cache" XDG_DATA_HOME="$root/data" XDG_STATE_HOME="$root/state" \
      XDG_RUNTIME_DIR="$root/runtime" XDG_CURRENT_DESKTOP=X-Generic \
      "$(dirname "${BASH_SOURCE[0]}")/../support/private-bus.sh" "$E2E_SCRIPT" "$E2E_DOTWISE" "$E2E_FIXTURE" "${E2E_ARGS[@]}"
    status=$?
    if [ $status -eq 0 ] && [ -z "${DW_E2E_KEEP:-}" ]; then
      chmod -R u+rwX "$root" 2>/dev/null
      rm -rf "$root"
    elif [ $status -eq 0 ]; then
      echo "kept (DW_E2E_KEEP): $root" >&2
    else
      echo "kept for inspection: $root" >&2
    fi
    exit $status
  fi
  E2E_ROOT="$DW_E2E_ROOT"
  E2E_FILES="$E2E_ROOT/files"
  trap e2e_cleanup EXIT
  e2e_start_x
  e2e_start_metadata_daemon
}

e2e_cleanup() {
  local pid
  # gvfsd, started by the bus for the app, goes too: left alone it complains
  # when the session ends.
  for pid in "${E2E_APP_PID:-}" "$(metadata_daemon_pid)" "$(bus_name_pid org.gtk.vfs.Daemon)" \
    "${E2E_X_PID:-}"; do
    [ -n "$pid" ] && kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
  done
  return 0
}

# wait_for SECONDS WHAT PREDICATE [ARGS...]: polls the predicate every 50 ms.
# A predicate may leave what it saw in E2E_SEEN for the failure message, and
# return 2 when waiting longer can't help.
wait_for() {
  local seconds="$1" what="$2"
  shift 2
  local deadline=$(($(date +%s%N) + seconds * 1000000000))
  E2E_SEEN=""
  local status
  while :; do
    "$@"
    status=$?
    [ $status -eq 0 ] && return 0
    [ $status -eq 2 ] && break # the predicate says waiting is pointless
    [ "$(date +%s%N)" -lt "$deadline" ] || break
    sleep 0.05
  done
  e2e_fail "expected $what within ${seconds} s; saw: ${E2E_SEEN:-nothing}"
}

e2e_start_x() {
  Xvfb -displayfd 5 -screen 0 1280x800x24 -nolisten tcp 5>"$E2E_ROOT/display" \
    >"$E2E_ROOT/xvfb.log" 2>&1 &
  E2E_X_PID=$!
  wait_for 20 "Xvfb to report its display number" test -s "$E2E_ROOT/display"
  export DISPLAY=":$(head -n1 "$E2E_ROOT/display")"
}

metadata_daemon_owns_name() {
  dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.NameHasOwner string:org.gtk.vfs.Metadata 2>/dev/null | grep -q "true"
}

# The pid of a name's owner as the private bus knows it: whether we started
# it or the bus did on demand, it is a process of this session.
bus_name_pid() {
  dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.GetConnectionUnixProcessID "string:$1" 2>/dev/null |
    awk '/uint32/ { print $2 }'
}

metadata_daemon_pid() { bus_name_pid org.gtk.vfs.Metadata; }

e2e_start_metadata_daemon() {
  /usr/libexec/gvfsd-metadata >>"$E2E_ROOT/gvfsd-metadata.log" 2>&1 &
  wait_for 20 "the gvfs metadata daemon on the session bus" metadata_daemon_owns_name
  E2E_METADATA_PID="$(metadata_daemon_pid)"
}

e2e_stop_metadata_daemon() {
  local pid
  pid="$(metadata_daemon_pid)"
  [ -n "$pid" ] || return 0
  kill "$pid"
  wait "$pid" 2>/dev/null # reaps it when we started it
  E2E_SEEN="the daemon (pid $pid) still owns its name"
  wait_for 10 "the metadata daemon (pid $pid) to stop" sh -c "! kill -0 $pid 2>/dev/null"
  E2E_METADATA_PID=""
}

e2e_start_app() {
  QT_QPA_PLATFORM=xcb "$E2E_DOTWISE" >>"$E2E_ROOT/app.log" 2>&1 &
  E2E_APP_PID=$!
  E2E_SEEN="the app exited"
  wait_for 20 "the main window of dotwise (pid $E2E_APP_PID) on $DISPLAY" app_window_shown
}

app_window_shown() {
  kill -0 "$E2E_APP_PID" 2>/dev/null || { E2E_SEEN="the app exited: $(tail -n 5 "$E2E_ROOT/app.log")"; return 2; }
  E2E_APP_WINDOW="$(xdotool search --onlyvisible --pid "$E2E_APP_PID" 2>/dev/null | head -n1)"
  [ -n "$E2E_APP_WINDOW" ]
}

e2e_stop_app() {
  kill "$E2E_APP_PID" 2>/dev/null && wait "$E2E_APP_PID" 2>/dev/null
  E2E_APP_PID=""
}

# The file's custom icon as a local path, or nothing.
custom_icon_of() {
  local uri
  uri="$(gio info -a metadata::custom-icon "$1" 2>/dev/null | sed -n 's/^ *metadata::custom-icon: //p')"
  [ -n "$uri" ] && printf '%s\n' "${uri#file://}"
}

open_tasks_of() {
  "$E2E_CLI" count "$1" 2>/dev/null | cut -f1
}

# The reference badge for N open tasks on a file of this kind, drawn by the CLI.
reference_badge_for() {
  local file="$1" count="$2" key folder
  key="$(basename "$file" | sed 's/.*\.//')-$count"
  folder="$E2E_ROOT/ref/$key"
  if [ ! -d "$folder" ]; then
    mkdir -p "$folder.tmp"
    "$E2E_CLI" badge --count "$count" --file "$file" -o "$folder.tmp" >/dev/null ||
      e2e_fail "dotwise badge --count $count --file $file failed"
    mv "$folder.tmp" "$folder"
  fi
  printf '%s\n' "$folder"
}

# badge_shows FILE N: the file's custom icon is a PNG showing the badge for N.
badge_shows() {
  local file="$1" count="$2" icon problem
  if ! [[ "$count" =~ ^-?[0-9]+$ ]]; then
    E2E_SEEN="no open-task count from '$E2E_CLI count $file' to compare with"
    return 2
  fi
  icon="$(custom_icon_of "$file")"
  if [ -z "$icon" ]; then
    E2E_SEEN="$file has no custom icon"
    return 1
  fi
  if ! problem="$("$E2E_FIXTURE" check-badge "$icon" "$(reference_badge_for "$file" "$count")" 2>&1)"; then
    E2E_SEEN="$file: $problem"
    return 1
  fi
}

no_custom_icon() {
  local icon
  icon="$(custom_icon_of "$1")"
  [ -z "$icon" ] && return 0
  E2E_SEEN="$1 still has the custom icon $icon"
  return 1
}

# Fingerprint of a file as its editor left it: contents and modification time.
fingerprint() {
  printf '%s %s\n' "$(sha256sum <"$1" | cut -c1-64)" "$(stat -c %y "$1")"
}

# A task file's sha256 and mtime must be what the last editor left.
check_untouched() {
  local file="$1" expected="$2" seen
  seen="$(fingerprint "$file")"
  [ "$seen" = "$expected" ] ||
    e2e_fail "$file changed behind the editor's back: expected contents+mtime '$expected', saw '$seen'"
}

stored_task_lists() {
  "$E2E_FIXTURE" stored-task-lists
}

rss_kb() {
  awk '/^VmRSS:/ { print $2 }' "/proc/$1/status"
}

# Total CPU ticks (utime + stime) of a process.
cpu_ticks() {
  awk '{ sub(/^.*\) /, ""); print $12 + $13 }' "/proc/$1/stat"
}

# Quiet: no CPU used for longer than the watcher's 2 s latency, so no report
# is pending and the badge worker has drained.
app_is_quiet() {
  local before after
  before="$(cpu_ticks "$E2E_APP_PID")"
  sleep 3
  after="$(cpu_ticks "$E2E_APP_PID")"
  E2E_SEEN="still busy: $((after - before)) ticks in 3 s"
  [ "$before" = "$after" ]
}

# The windows of dotwise on screen other than the main window (a sheet or a
# dialog in front of it would swallow a click on the switch).
other_app_windows() {
  local window
  for window in $(xdotool search --onlyvisible --pid "$E2E_APP_PID" 2>/dev/null); do
    [ "$window" = "$E2E_APP_WINDOW" ] && continue
    printf '%s (%s) ' "$window" "$(xdotool getwindowname "$window" 2>/dev/null)"
  done
}

# Clicks the big ON/OFF switch as a person would, with the pointer. Where it
# is comes from the window's size and the app's own form; no window manager
# runs, so the window is where the app put it.
click_switch() {
  local size centre blocking
  size="$(xwininfo -id "$E2E_APP_WINDOW" 2>/dev/null | awk '/^ *Width:/ { w = $2 } /^ *Height:/ { h = $2 } END { print w, h }')"
  # shellcheck disable=SC2086 # two numbers
  centre="$("$E2E_FIXTURE" switch-centre $size)" ||
    e2e_fail "could not find the switch in the main window $E2E_APP_WINDOW (size '$size')"
  blocking="$(other_app_windows)"
  [ -z "$blocking" ] ||
    e2e_fail "expected only the main window of dotwise on screen to click its switch; saw also $blocking"
  # No --sync: it waits for a motion that never comes when the pointer is
  # already there (the second click). The server takes the move and the click
  # in the order sent.
  # shellcheck disable=SC2086 # two numbers
  xdotool mousemove --window "$E2E_APP_WINDOW" $centre click 1 ||
    e2e_fail "could not click the switch at ($centre) of window $E2E_APP_WINDOW"
  e2e_log "clicked the switch at ($centre) of the ${size/ /x} main window"
}

autostart_entry_gone() {
  E2E_SEEN="$(grep -l "^Exec=.*dotwise" "$XDG_CONFIG_HOME"/autostart/*.desktop 2>/dev/null | tr '\n' ' ')"
  [ -z "$E2E_SEEN" ]
}

autostart_entry_present() {
  grep -q "^Exec=.*dotwise" "$XDG_CONFIG_HOME"/autostart/*.desktop 2>/dev/null && return 0
  E2E_SEEN="$(ls "$XDG_CONFIG_HOME"/autostart 2>/dev/null | tr '\n' ' ')"
  E2E_SEEN="autostart folder holds: ${E2E_SEEN:-nothing}"
  return 1
}
