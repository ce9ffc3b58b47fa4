#!/usr/bin/env bash
# End-to-end: the badges as a person sees them in real file managers, by
# pixels. Usage:
#   e2e-filemanagers.sh DOTWISE E2E_FIXTURE SCREENSHOT_PROBE DOLPHIN_PLUGIN_BUILD_DIR
#
# Installs the file managers first (scripts/install-filemanagers.sh). Then, for
# each file manager in the table below (Dolphin with its overlay plugin, taken
# from the dotwise-dolphin package built in DOLPHIN_PLUGIN_BUILD_DIR): starts
# Dotwise with badging on in the file manager's mode and two task lists, opens
# the folder beside Dotwise's window, and checks the screen: a red badge at
# each file, a different badge after an edit (and how long that took from the
# save), and none after clicking the switch off. Screenshots go to shots/ in
# the kept folder, and to DW_E2E_SHOTS when set.
# DW_E2E_FILEMANAGERS="caja thunar" runs some of them; the default is
# `scripts/install-filemanagers.sh --list`.

# Name, badge mode, window class (for a window its own process does not
# own), where the files start below the window's top (past menus and
# toolbars, as Caja's red stop button is), and command line; the folder
# follows it.
filemanagers=(
  "nautilus   picture org.gnome.Nautilus 60  nautilus --new-window"
  "nemo       picture nemo               100 nemo --no-desktop"
  "caja       picture caja               100 caja --no-desktop --browser"
  "thunar     emblem  thunar             100 thunar"
  "pcmanfm-qt emblem  pcmanfm-qt         100 pcmanfm-qt --new-window"
  "dolphin    emblem  dolphin            100 dolphin_with_plugin"
)
here="$(dirname "$(readlink -f "$0")")"
chosen="${DW_E2E_FILEMANAGERS:-$("$here/../../scripts/install-filemanagers.sh" --list)}"
export DW_E2E_FILEMANAGERS="$chosen"
if [ -z "${DW_E2E_ROOT:-}" ]; then
  started=$(date +%s)
  "$here/../../scripts/install-filemanagers.sh" || { echo "could not install the file managers" >&2; exit 1; }
  echo "install-filemanagers: $(($(date +%s) - started)) s"
fi
source "$here/e2e-lib.sh"
e2e_session

probe="$(readlink -f "${E2E_ARGS[0]}")"
plugin_build="$(readlink -f "${E2E_ARGS[1]}")"
shots="$E2E_ROOT/shots"
mkdir -p "$shots"
# Dotwise's settings, where the fixture's writes land too.
settings="$XDG_CONFIG_HOME/Wrenfield/Dotwise.conf"

screenshot() {
  import -window root "$shots/$1.png" 2>/dev/null || e2e_fail "could not take a screenshot"
  [ -n "${DW_E2E_SHOTS:-}" ] && mkdir -p "$DW_E2E_SHOTS" && cp "$shots/$1.png" "$DW_E2E_SHOTS/"
  printf '%s\n' "$shots/$1.png"
}

# The badges in the file manager's window on a screenshot, one "x y w h" a
# line.
badges_in() {
  # shellcheck disable=SC2086 # four numbers
  "$probe" badges "$1" $fm_area
}

# at_least_badges N NAME: a fresh screenshot shows N badges or more; the shot
# is left in E2E_SHOT.
at_least_badges() {
  local found
  E2E_SHOT="$(screenshot "$2")"
  found="$(badges_in "$E2E_SHOT")"
  E2E_SEEN="$(printf '%s' "$found" | grep -c .) badge(s) in $E2E_SHOT: $(echo $found)"
  [ "$(printf '%s' "$found" | grep -c .)" -ge "$1" ]
}

# Whether the file manager's window is in front of Dotwise's (xwininfo lists
# the screen's windows top first).
fm_in_front() {
  local fm_id app_id
  fm_id="$(printf '0x%x' "$E2E_FM_WINDOW")" app_id="$(printf '0x%x' "$E2E_APP_WINDOW")"
  [ "$(xwininfo -root -children | awk -v fm="$fm_id" -v app="$app_id" \
    '$1 == fm || $1 == app { print $1; exit }')" = "$fm_id" ]
}

# No badge on a fresh shot of the file manager in front of Dotwise's window,
# which was raised to click its switch.
no_badges() {
  local shot found
  if ! fm_in_front; then
    xdotool windowraise "$E2E_FM_WINDOW"
    # Nothing keeps what the window hid: the shot waits for it to be redrawn.
    sleep 1
  fi
  shot="$(screenshot "$1")"
  E2E_SEEN="Dotwise's window in front of $fm in $shot"
  fm_in_front || return 1
  found="$(badges_in "$shot")"
  E2E_SEEN="badges still at $(echo $found) in $shot"
  [ -z "$found" ]
}

# A new shot still shows a badge at each file, and pixels changed in the first
# shot's badge boxes (grown by 4 pixels): a badge that merely went away is no
# redrawn badge.
badges_changed() {
  local shot box x y w h differing=0 found
  shot="$(screenshot "$1")"
  found="$(badges_in "$shot" | grep -c .)"
  E2E_SEEN="$found badge(s) in $shot"
  [ "$found" -ge "$(printf '%s\n' "$before_badges" | grep -c .)" ] || return 1
  while read -r x y w h; do
    box="$((x - 4)) $((y - 4)) $((w + 8)) $((h + 8))"
    # shellcheck disable=SC2086 # four numbers
    differing=$((differing + $("$probe" differ "$before_shot" "$shot" $box)))
  done <<<"$before_badges"
  E2E_SEEN="$differing pixels changed in the badges' boxes ($shot)"
  [ "$differing" -ge 20 ]
}

has_mark() { # FILE MODE: the metadata Dotwise sets in that mode
  local attribute=metadata::custom-icon
  [ "$2" = emblem ] && attribute=metadata::emblems
  gio info -a "$attribute" "$1" 2>/dev/null | grep -q "$attribute: .*\(dotwise\|\.png\)"
}

fm_window() {
  E2E_FM_WINDOW="$(xdotool search --onlyvisible --pid "$fm_pid" 2>/dev/null | tail -n1)"
  [ -n "$E2E_FM_WINDOW" ] || E2E_FM_WINDOW="$(xdotool search --onlyvisible --class "$fm_class" 2>/dev/null | tail -n1)"
  kill -0 "$fm_pid" 2>/dev/null || { E2E_SEEN="$fm exited: $(tail -n 5 "$E2E_ROOT/$fm.log")"; return 2; }
  E2E_SEEN="no window of $fm yet"
  [ -n "$E2E_FM_WINDOW" ]
}

# run FILE_MANAGER MODE CLASS TOP COMMAND...: one file manager, start to
# switch-off.
run() {
  fm="$1" mode="$2" fm_class="$3" fm_top="$4"
  shift 4
  local folder="$E2E_FILES/$fm" alpha beta app_width count edited took
  mkdir -p "$folder"
  alpha="$folder/alpha.txt" beta="$folder/beta.txt"
  printf -- '-[] call the bank\n-[] write the report\n-[] pay the rent\n' >"$alpha"
  printf -- '-[] milk\n' >"$beta"
  mkdir -p "$(dirname "$settings")"
  printf '[General]\nBadgeMode=%s\n' "$mode" >"$settings"
  "$E2E_FIXTURE" store-task-lists "$alpha" "$beta" || e2e_fail "could not store the task lists"
  "$E2E_FIXTURE" launch-at-login "$E2E_DOTWISE" on || e2e_fail "could not add the autostart entry"
  "$E2E_FIXTURE" first-run-done || e2e_fail "could not mark the first run as done"
  grep -q "^BadgeMode=$mode" "$settings" || e2e_fail "the fixture dropped BadgeMode from $settings"

  e2e_start_app
  for file in "$alpha" "$beta"; do
    wait_for 20 "Dotwise's $mode on $file" has_mark "$file" "$mode"
  done
  # The common counts' emblems are drawn after the first badges; the edit's
  # latency is measured once they are all there.
  [ "$mode" = emblem ] &&
    wait_for 120 "the emblems of the common counts drawn" \
      test -f "$XDG_DATA_HOME/icons/hicolor/256x256@2/emblems/emblem-dotwise-99.png"

  "$@" "$folder" >"$E2E_ROOT/$fm.log" 2>&1 &
  fm_pid=$!
  wait_for 60 "a window of $fm" fm_window
  # Beside Dotwise's window, whose switch must stay clickable.
  app_width="$(xwininfo -id "$E2E_APP_WINDOW" | awk '/^ *Width:/ { print $2 }')"
  xdotool windowmove "$E2E_FM_WINDOW" "$((app_width + 10))" 0 windowsize "$E2E_FM_WINDOW" \
    "$((1270 - app_width))" 600
  sleep 1
  fm_area="$((app_width + 10)) $fm_top $((1270 - app_width)) $((600 - fm_top))"
  wait_for 30 "a red badge at each of the two files in $fm" at_least_badges 2 "$fm-on"
  before_shot="$E2E_SHOT"
  before_badges="$(badges_in "$before_shot")"
  e2e_log "$fm ($mode): badges at $(echo $before_badges)"

  edited=$(date +%s%N)
  printf -- '-[] %s\n' one two three four five six seven eight nine >>"$alpha"
  wait_for 40 "the badge of $alpha to change in $fm after an edit" badges_changed "$fm-edited"
  took=$((($(date +%s%N) - edited) / 1000000))
  e2e_log "$fm ($mode): badge redrawn $took ms after the save"
  echo "latency $fm $mode $took ms" >>"$E2E_ROOT/latencies"

  xdotool windowraise "$E2E_APP_WINDOW"
  click_switch
  # The switch's tooltip would cover the files.
  xdotool mousemove 0 799
  wait_for 30 "no badge in $fm after switching off" no_badges "$fm-off"
  for file in "$alpha" "$beta"; do
    has_mark "$file" picture && e2e_fail "a custom icon left on $file"
    has_mark "$file" emblem && e2e_fail "an emblem left on $file"
  done
  e2e_log "$fm ($mode): no badge after switching off"

  kill "$fm_pid" 2>/dev/null
  wait "$fm_pid" 2>/dev/null
  e2e_stop_app
  rm -f "$XDG_CONFIG_HOME"/autostart/*.desktop
}

# Dolphin with the plugin built here, unpacked from its package. An installed
# dotwise-dolphin would be loaded as well, and could be older than this build.
dolphin_with_plugin() {
  local deb
  if dpkg-query -W -f='${Status}' dotwise-dolphin 2>/dev/null | grep -q "install ok installed"; then
    e2e_fail "dotwise-dolphin is installed: remove it, or Dolphin would load it beside the plugin built here"
  fi
  (cd "$plugin_build" && cpack -G DEB >"$E2E_ROOT/cpack.log" 2>&1) ||
    e2e_fail "could not package the Dolphin plugin in $plugin_build (see $E2E_ROOT/cpack.log)"
  deb="$(ls "$plugin_build"/dotwise-dolphin_*.deb | head -n1)"
  dpkg-deb -x "$deb" "$E2E_ROOT/dolphin-package" || e2e_fail "could not unpack $deb"
  plugins="$(dirname "$(dirname "$(find "$E2E_ROOT/dolphin-package" -path '*/overlayicon/*.so' | head -n1)")")"
  [ -d "$plugins" ] || e2e_fail "no overlay plugin in $deb"
  e2e_log "Dolphin plugin from $(basename "$deb"), plugin path $(dirname "$plugins")"
  QT_PLUGIN_PATH="$(dirname "$plugins")" QT_QPA_PLATFORM=xcb \
    exec dolphin --new-window "$1"
}

# No desktop here chooses an icon theme, and PCManFM-Qt's own fallback is not
# installed: without one it draws emblems on no file icon.
mkdir -p "$XDG_CONFIG_HOME/pcmanfm-qt/default"
printf '[System]\nIconThemeName=breeze\nFallbackIconThemeName=breeze\n' \
  >"$XDG_CONFIG_HOME/pcmanfm-qt/default/settings.conf"

for fm in $chosen; do
  line="$(printf '%s\n' "${filemanagers[@]}" | awk -v fm="$fm" '$1 == fm')"
  [ -n "$line" ] || e2e_fail "unknown file manager '$fm' in DW_E2E_FILEMANAGERS"
  # shellcheck disable=SC2086 # the table's words
  run $line
done
cat "$E2E_ROOT/latencies"
e2e_log "passed"
