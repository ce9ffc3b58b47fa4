#!/usr/bin/env bash
# Builds the Debian package, installs it on this machine with dpkg and checks
# that the installed program runs and that its desktop files are valid.
# Needs root (or sudo). Removes the package again unless --keep is given.
# Usage: scripts/package-test.sh [--keep]
set -euo pipefail
cd "$(dirname "$0")/.."
keep=no
[ "${1:-}" = "--keep" ] && keep=yes

scripts/install-deps.sh
cmake --preset package >/dev/null
cmake --build --preset package
rm -f build/package/dotwise_*.deb
cpack --preset package >/dev/null
deb=$(ls build/package/dotwise_*.deb)
echo "Built $deb"
dpkg-deb --field "$deb" Package Version Depends Recommends

fail() { echo "package test: $*" >&2; exit 1; }
# The window's artwork is SVG: the package that holds Qt's SVG image plugin
# on this release must be a dependency, or the switch shows no knob.
svg_owner=$(dpkg-query --search '*/qt6/plugins/imageformats/libqsvg.so' | sed -n '1s/:.*//p')
dpkg-deb --field "$deb" Depends | grep -qw -- "$svg_owner" ||
  fail "the package does not depend on $svg_owner, which has Qt's SVG plugin here"

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
if ! $sudo dpkg -i "$deb"; then
  # Pull in whatever dependency the machine lacks, then configure the package.
  $sudo apt-get install -f -y -qq --no-install-recommends
fi
cleanup() { [ "$keep" = yes ] || $sudo dpkg --purge dotwise >/dev/null; }
trap cleanup EXIT

version=$(/usr/bin/dotwise --version) || fail "dotwise --version failed"
echo "Installed: $version"
grep -q "$(sed -n 's/^project(Dotwise VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)" <<<"$version" ||
  fail "the installed program reports another version"

app_id=org.wrenfield.Dotwise
for file in /usr/share/applications/$app_id.desktop /usr/share/metainfo/$app_id.metainfo.xml \
            /usr/share/icons/hicolor/scalable/apps/$app_id.svg \
            /usr/share/icons/hicolor/48x48/apps/$app_id.png; do
  [ -f "$file" ] || fail "missing $file"
done
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate /usr/share/applications/$app_id.desktop
fi
if command -v appstreamcli >/dev/null; then
  appstreamcli validate --no-net --explain /usr/share/metainfo/$app_id.metainfo.xml
fi
for file in /usr/share/mime/packages/*dotwise*.xml; do
  [ -e "$file" ] || continue
  # The MIME database must have been rebuilt by the package's trigger.
  grep -q taskpaper /usr/share/mime/globs2 || fail "$file was not taken into the MIME database"
done
echo "package test: passed"
