#!/usr/bin/env bash
# Installs the Debian packages Dotwise needs to build, test, fuzz, package and
# run, when any is missing, on Debian 12 (bookworm) or 13 (trixie). Needs root
# (or sudo). Quiet when everything is already there.
#
# Usage: scripts/install-deps.sh [GROUP...]
# Groups add packages only some jobs need:
#   fresh   what scripts/fresh-machine-test.sh needs on the host (debootstrap)
set -euo pipefail

codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")

packages=(
  build-essential cmake ninja-build ccache pkg-config clang clang-format
  qt6-base-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools qt6-svg-dev
  qt6-qpa-plugins libgl-dev libglib2.0-dev libglib2.0-bin libxcb1-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  shared-mime-info hicolor-icon-theme adwaita-icon-theme fonts-dejavu-core
  dbus dbus-x11 gvfs gvfs-daemons xvfb xauth xdotool imagemagick x11-utils ed vim
  file dpkg-dev time python3 desktop-file-utils appstream git
)
# `clang` points clang++ at the release's own clang, which the fuzz preset
# uses; its runtime (libFuzzer, sanitizers) comes in a versioned package.
# Qt's SVG image and icon plugins moved to their own package in Debian 13;
# Debian 12's qt6-base-dev only recommends its OpenGL headers, which
# find_package(Qt6 Gui) needs.
case "$codename" in
  bookworm) packages+=(clang-14 libclang-rt-14-dev libqt6svg6 libqt6opengl6-dev) ;;
  trixie) packages+=(clang-19 libclang-rt-19-dev qt6-svg-plugins) ;;
  *)
    echo "install-deps.sh: unsupported system '${codename:-unknown}'; Dotwise builds on Debian 12 (bookworm) and 13 (trixie)" >&2
    exit 1
    ;;
esac

for group in "$@"; do
  case "$group" in
    fresh) packages+=(debootstrap) ;;
    *)
      echo "install-deps.sh: unknown package group '$group' (known: fresh)" >&2
      exit 2
      ;;
  esac
done

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
