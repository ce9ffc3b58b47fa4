#!/usr/bin/env bash
# End-to-end: badges on real files, on a real desktop stack.
# Usage: e2e-badges.sh DOTWISE_BINARY E2E_FIXTURE
#
# A returning user (the example offer was made on an earlier run) starts the
# app with badging on (an autostart entry exists, as after the user turned the
# switch on) and three saved task lists plus one whose file is gone.
# Checked as a person would see it: every file gets a custom icon showing the
# badge with its count; an edit changes the badge within the watcher's 2 s
# latency plus a margin; a deleted file leaves the saved list; switching off
# takes every badge off; and the files keep the bytes and modification times
# their editors gave them.
source "$(dirname "$(readlink -f "$0")")/e2e-lib.sh"
e2e_session

# The watcher reports after 2.0 s; the rest is the badge work and the metadata
# round trip on a loaded CI machine.
latency_deadline=5

work="$E2E_FILES/Work Tasks.txt"
home="$E2E_FILES/home.taskpaper"
shop="$E2E_FILES/shopping.txt"
gone="$E2E_FILES/gone.txt"

printf -- '-[] call the bank\n-[x] done already\n-[] write the report\n' >"$work"
printf 'Home:\n\t- fix the tap\n\t- paint the door @done\n\t- mow the lawn\n' >"$home"
printf -- '-[] milk\n-[] bread\n' >"$shop"
printf -- '-[] never mind\n' >"$gone"
# Dates an editor could have left, with nanoseconds, so that any rewrite shows.
touch -d '2025-03-04 05:06:07.123456789' "$work"
touch -d '2025-06-07 08:09:10.987654321' "$home"
touch -d '2024-12-31 23:59:59.5' "$shop"

"$E2E_FIXTURE" store-task-lists "$work" "$gone" "$home" "$shop" || e2e_fail "could not store the task lists"
rm "$gone"
"$E2E_FIXTURE" launch-at-login "$E2E_DOTWISE" on || e2e_fail "could not add the autostart entry"
"$E2E_FIXTURE" first-run-done || e2e_fail "could not mark the first run as done"

declare -A left
for file in "$work" "$home" "$shop"; do left[$file]="$(fingerprint "$file")"; done

e2e_start_app
e2e_log "dotwise is up (pid $E2E_APP_PID, window $E2E_APP_WINDOW)"

for file in "$work" "$home" "$shop"; do
  count="$(open_tasks_of "$file")"
  wait_for 15 "the badge for $count open tasks on $file" badge_shows "$file" "$count"
  check_untouched "$file" "${left[$file]}"
done
e2e_log "all three files show their badges"

expected_list="$(printf '%s\n' "$work" "$home" "$shop")"
stored_matches() {
  E2E_SEEN="$(stored_task_lists | tr '\n' '|')"
  [ "$(stored_task_lists)" = "$expected_list" ]
}
wait_for 5 "the saved task lists to be $(echo "$expected_list" | tr '\n' '|') (the missing file dropped)" stored_matches

# edit FILE HOW: edits a file, then waits for its new badge and checks that
# the modification time stays the one the edit gave it.
edit_and_check() {
  local file="$1" how="$2" count started took
  started=$(date +%s%N)
  case "$how" in
    append) printf -- '-[] book the flights\n' >>"$file" ;;
    sed) sed -i 's/- mow the lawn/- mow the lawn @done/' "$file" ;;
    sed-undo) sed -i 's/- mow the lawn @done/- mow the lawn/' "$file" ;;
    rename) printf -- '-[] milk\n-[] bread\n-[] eggs\n-[x] coffee\n' >"$file.part" && mv "$file.part" "$file" ;;
  esac
  left[$file]="$(fingerprint "$file")"
  count="$(open_tasks_of "$file")"
  wait_for "$latency_deadline" "the badge for $count open tasks on $file after '$how'" badge_shows "$file" "$count"
  took=$((($(date +%s%N) - started) / 1000000))
  e2e_log "'$how' on $(basename "$file"): badge shows $count after $took ms"
  check_untouched "$file" "${left[$file]}"
}
edit_and_check "$work" append
edit_and_check "$home" sed
edit_and_check "$shop" rename

# Two saves within one latency window: the badge ends at the second.
printf -- '-[] call the plumber\n' >>"$work"
sleep 0.3
printf -- '-[] pay the plumber\n' >>"$work"
left[$work]="$(fingerprint "$work")"
count="$(open_tasks_of "$work")"
wait_for "$latency_deadline" "the badge for $count open tasks on $work after two quick saves" badge_shows "$work" "$count"
check_untouched "$work" "${left[$work]}"

# The metadata daemon restarts (an upgrade, a crash): the next edit's badge
# reaches the new daemon.
old_daemon="$E2E_METADATA_PID"
e2e_stop_metadata_daemon
e2e_start_metadata_daemon
e2e_log "metadata daemon restarted (pid $old_daemon, now $E2E_METADATA_PID)"
edit_and_check "$home" sed-undo

# A deleted file leaves the list, and nothing of ours stays for it.
rm "$shop"
expected_list="$(printf '%s\n' "$work" "$home")"
wait_for "$latency_deadline" "the saved task lists to be $(echo "$expected_list" | tr '\n' '|') after deleting $shop" stored_matches
kill -0 "$E2E_APP_PID" || e2e_fail "dotwise exited while its files were edited"

# Switching off takes every badge off, and with it launch at login.
click_switch
for file in "$work" "$home"; do
  wait_for 5 "no custom icon on $file after clicking the switch off" no_custom_icon "$file"
  check_untouched "$file" "${left[$file]}"
done
wait_for 5 "the autostart entry removed after switching off" autostart_entry_gone
no_pictures_left() {
  E2E_SEEN="$(find "$E2E_ROOT/state" "$E2E_ROOT/cache" -path '*dotwise*' -name '*.png' | tr '\n' ' ')"
  [ -z "$E2E_SEEN" ]
}
wait_for 5 "no badge pictures left after switching off" no_pictures_left
e2e_log "switched off: no badges left"

# While off, an edit changes nothing on the file's icon.
printf -- '-[] one more thing\n' >>"$work"
left[$work]="$(fingerprint "$work")"
sleep "$latency_deadline"
no_custom_icon "$work" || e2e_fail "expected no badge while switched off; saw: $E2E_SEEN"

# Switching on again badges every file with its current count, and brings
# launch at login back.
click_switch
wait_for 5 "an autostart entry for dotwise after switching on" autostart_entry_present
for file in "$work" "$home"; do
  count="$(open_tasks_of "$file")"
  wait_for "$latency_deadline" "the badge for $count open tasks on $file after switching on" badge_shows "$file" "$count"
done

for file in "$work" "$home"; do check_untouched "$file" "${left[$file]}"; done

# Uninstalling: with the app gone, clear-badges takes every badge off.
e2e_stop_app
"$E2E_CLI" clear-badges >"$E2E_ROOT/clear-badges.out" 2>&1 ||
  e2e_fail "dotwise clear-badges failed: $(cat "$E2E_ROOT/clear-badges.out")"
for file in "$work" "$home"; do
  no_custom_icon "$file" || e2e_fail "expected no badge on $file after clear-badges; saw: $E2E_SEEN"
  check_untouched "$file" "${left[$file]}"
done
no_pictures_left || e2e_fail "expected no badge pictures after clear-badges; saw: $E2E_SEEN"
e2e_log "passed"
