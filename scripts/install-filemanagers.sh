#!/bin/sh
# Installs what the file-manager end-to-end test needs beyond
# scripts/install-deps.sh: the file managers it opens (Caja for pictures,
# Thunar for emblems, Dolphin for the overlay plugin) and the KIO development
# files the Dolphin plugin builds against (KF5 on Debian 12, KF6 on Debian 13).
# Large (several hundred MB with Dolphin), so it is a separate, optional step.
set -eu

. /etc/os-release
case "${VERSION_ID:-}" in
12) kio="libkf5kio-dev qtbase5-dev" ;;
*) kio="libkf6kio-dev qt6-base-dev" ;;
esac
# Dolphin draws no file icon (nor overlays on it) without its icon theme.
packages="caja thunar dolphin breeze-icon-theme extra-cmake-modules $kio"

missing=""
for package in $packages; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
        missing="$missing $package"
done
[ -z "$missing" ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "install-filemanagers: installing$missing"
# Waits for another apt run on a shared machine instead of failing.
DEBIAN_FRONTEND=noninteractive $sudo apt-get -o DPkg::Lock::Timeout=1800 install -y \
    --no-install-recommends $missing ||
    { $sudo apt-get update && DEBIAN_FRONTEND=noninteractive $sudo apt-get \
        -o DPkg::Lock::Timeout=1800 install -y --no-install-recommends $missing; }
