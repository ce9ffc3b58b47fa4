#!/usr/bin/env bash
# Runs a command inside a private D-Bus session that can start only the gvfs
# daemons. The standard session would start any file manager installed on the
# machine when a test asks the (absent) one it stands in for, and tests would
# then depend on what else is installed.
# Usage: private-bus.sh COMMAND [ARG...]
set -euo pipefail
dir="$(mktemp -d /tmp/dw-bus.XXXXXX)"
trap 'rm -rf "$dir"' EXIT
mkdir "$dir/services"
for service in org.gtk.vfs.Daemon org.gtk.vfs.Metadata; do
  for folder in /usr/share/dbus-1/services /usr/local/share/dbus-1/services; do
    [ -f "$folder/$service.service" ] && ln -sf "$folder/$service.service" "$dir/services/"
  done
done
cat >"$dir/session.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:tmpdir=$dir</listen>
  <auth>EXTERNAL</auth>
  <servicedir>$dir/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONF
status=0
dbus-run-session --config-file="$dir/session.conf" -- "$@" || status=$?
exit $status
