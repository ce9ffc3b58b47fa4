#!/bin/sh
# Installs what the file-manager end-to-end test needs beyond
# scripts/install-deps.sh: the file managers it opens and, for Dolphin, the
# KIO development files its overlay plugin builds against (KF5 on Debian 12,
# KF6 on Debian 13). Large (several hundred MB with Dolphin), so it is a
# separate, optional step.
#
# Usage: scripts/install-filemanagers.sh [FILE_MANAGER...]
#        default: $DW_E2E_FILEMANAGERS, else this release's list:
#        nautilus nemo caja thunar pcmanfm-qt dolphin
#        scripts/install-filemanagers.sh --list  prints that list
set -eu

. /etc/os-release
case "${VERSION_ID:-}" in
12)
    kio="libkf5kio-dev qtbase5-dev"
    # GNOME Files 43 draws the badges, but on a busy machine it now and then
    # keeps the folder "Loading" for good when opened beside a running Dotwise;
    # run it by name to look into that.
    all="nemo caja thunar pcmanfm-qt dolphin"
    ;;
*)
    kio="libkf6kio-dev qt6-base-dev"
    all="nautilus nemo caja thunar pcmanfm-qt dolphin"
    ;;
esac
if [ "${1:-}" = --list ]; then
    echo "$all"
    exit 0
fi

# shellcheck disable=SC2086 # a list of names
[ $# -gt 0 ] || set -- ${DW_E2E_FILEMANAGERS:-$all}
packages=""
for fm in "$@"; do
    case "$fm" in
    nautilus | nemo | caja | thunar) packages="$packages $fm" ;;
    # Qt file managers draw no file icon (nor emblem on it) without an icon
    # theme; no desktop here chooses one, so they fall back to Breeze.
    pcmanfm-qt) packages="$packages pcmanfm-qt breeze-icon-theme" ;;
    dolphin) packages="$packages dolphin breeze-icon-theme extra-cmake-modules $kio" ;;
    *)
        echo "install-filemanagers: unknown file manager '$fm'" >&2
        exit 2
        ;;
    esac
done

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
