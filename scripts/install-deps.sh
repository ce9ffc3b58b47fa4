#!/usr/bin/env bash
# Installs the Debian 12 packages Dotwise needs to build, test and run, when any
# is missing. Needs root (or sudo). Quiet when everything is already there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config clang-14 libclang-rt-14-dev clang-format
  qt6-base-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools qt6-svg-dev
  qt6-qpa-plugins libgl-dev libglib2.0-dev libglib2.0-bin
  libgtest-dev libgmock-dev libbenchmark-dev
  shared-mime-info hicolor-icon-theme adwaita-icon-theme fonts-dejavu-core
  dbus dbus-x11 gvfs gvfs-daemons xvfb xauth xdotool imagemagick x11-utils ed vim
  file dpkg-dev time python3 desktop-file-utils appstream
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
    missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
