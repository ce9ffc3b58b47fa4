#!/usr/bin/env bash
# Proves that a fresh, minimal Debian builds and tests Dotwise: makes the
# system with debootstrap (only git added), puts a clean clone of the current
# commit into it, and runs scripts/install-deps.sh && scripts/test.sh STEPS
# there as root. Needs root.
#
# Usage: scripts/fresh-machine-test.sh [bookworm|trixie ...] [-- STEP...]
#        default: bookworm trixie -- dev package
#
# The minimal system is kept as a tarball in $DOTWISE_FRESH_CACHE
# (/var/cache/dotwise-fresh), so later runs start in seconds; downloaded .deb
# files and ccache are kept there per release too. Neither hides a missing
# package: every run installs into an untouched copy of the minimal system.
# The Debian mirror is the one this machine's apt uses (or $DOTWISE_MIRROR).
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
cache="${DOTWISE_FRESH_CACHE:-/var/cache/dotwise-fresh}"

fail() { echo "fresh-machine-test: $*" >&2; exit 1; }

releases=()
steps=()
while [ $# -gt 0 ]; do
  case "$1" in
    --) shift; steps=("$@"); break ;;
    bookworm | trixie) releases+=("$1") ;;
    *) fail "unknown release '$1' (known: bookworm, trixie)" ;;
  esac
  shift
done
[ ${#releases[@]} -gt 0 ] || releases=(bookworm trixie)
[ ${#steps[@]} -gt 0 ] || steps=(dev package)
for step in "${steps[@]}"; do
  case "$step" in fresh*) fail "the fresh system cannot run the step '$step' itself" ;; esac
done
[ "$(id -u)" -eq 0 ] || fail "needs root (debootstrap, chroot and mount)"
command -v debootstrap >/dev/null || "$repo/scripts/install-deps.sh" fresh

# The first Debian archive among this machine's apt sources (one-line or
# deb822 form) that serves the release itself rather than its updates.
host_mirror() {
  local release
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  {
    cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
      awk -v r="$release" '$1 == "deb" { sub(/\[[^]]*\] */, ""); if ($3 == r) print $2 }'
    cat /etc/apt/sources.list.d/*.sources 2>/dev/null | awk -v r="$release" '
      /^$/ { if (uri && suites) print uri; uri = ""; suites = 0 }
      /^URIs:/ { uri = $2 }
      /^Suites:/ { for (i = 2; i <= NF; i++) if ($i == r) suites = 1 }
      END { if (uri && suites) print uri }'
  } | head -n 1
}
mirror="${DOTWISE_MIRROR:-$(host_mirror)}"
[ -n "$mirror" ] || fail "no Debian mirror in this machine's apt sources; set DOTWISE_MIRROR"

commit=$(git -C "$repo" rev-parse HEAD)
work=""
mounts=()

cleanup() {
  local i
  for ((i = ${#mounts[@]} - 1; i >= 0; i--)); do
    umount "${mounts[i]}" 2>/dev/null || umount -l "${mounts[i]}" || true
  done
  mounts=()
  [ -z "$work" ] || remove_tree "$work"
  work=""
}

# Never deletes through a mount that is still there (it could be /dev).
remove_tree() {
  if grep -q " $1/" /proc/mounts; then
    echo "fresh-machine-test: $1 still has mounts; left in place" >&2
  else
    rm -rf "$1"
  fi
}
trap cleanup EXIT
trap 'exit 130' INT TERM

elapsed() { echo "== fresh $1 took $(($(date +%s) - $2)) s"; }

# The minimal system with git, made once per release.
base_tarball() {
  local release="$1" tarball="$cache/$1-minbase.tar.gz" build started
  if [ ! -f "$tarball" ]; then
    started=$(date +%s)
    mkdir -p "$cache"
    build=$(mktemp -d "$cache/debootstrap-$release.XXXXXX")
    if ! debootstrap --variant=minbase --include=git "$release" "$build" "$mirror" \
        >"$build.log" 2>&1; then
      tail -n 20 "$build.log" >&2
      remove_tree "$build"
      fail "debootstrap $release from $mirror failed (log: $build.log)"
    fi
    rm -f "$build"/var/cache/apt/archives/*.deb
    tar -C "$build" -czf "$tarball.part" .
    mv "$tarball.part" "$tarball"
    remove_tree "$build"
    rm -f "$build.log"
    elapsed "debootstrap $release" "$started" >&2
  fi
  echo "$tarball"
}

bind() {
  mkdir -p "$2"
  mount "${@:3}" "$1" "$2"
  mounts+=("$2")
}

run_release() {
  local release="$1" started tarball root
  started=$(date +%s)
  tarball=$(base_tarball "$release")
  work=$(mktemp -d /var/tmp/dotwise-fresh-"$release".XXXXXX)
  root="$work/root"
  mkdir "$root"
  tar -C "$root" -xzf "$tarball"
  chmod 755 "$root" # as a system's root is, whatever mktemp made
  cp /etc/resolv.conf "$root/etc/resolv.conf"
  # A clone has only committed files: nothing uncommitted leaks in.
  git clone --quiet --no-checkout "$repo" "$root/src/dotwise"
  git -C "$root/src/dotwise" checkout --quiet --detach "$commit"

  bind proc "$root/proc" -t proc
  bind sysfs "$root/sys" -t sysfs
  bind /dev "$root/dev" --bind
  # Mounts inside the copy must not propagate back to the host's /dev.
  mount --make-rslave "$root/dev"
  bind /dev/pts "$root/dev/pts" --bind
  bind shm "$root/dev/shm" -t tmpfs
  bind tmp "$root/tmp" -t tmpfs
  mkdir -p "$cache/apt-$release" "$cache/ccache-$release"
  bind "$cache/apt-$release" "$root/var/cache/apt/archives" --bind
  bind "$cache/ccache-$release" "$root/root/.ccache" --bind
  # The end-to-end screenshots, kept past the system's removal when asked for.
  local shots=""
  if [ -n "${DW_E2E_SHOTS:-}" ]; then
    mkdir -p "$DW_E2E_SHOTS"
    bind "$DW_E2E_SHOTS" "$root/shots" --bind
    shots=/shots
  fi
  elapsed "$release system ready" "$started"

  echo "== fresh $release: scripts/install-deps.sh && scripts/test.sh ${steps[*]}"
  chroot "$root" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin \
    LANG=C.UTF-8 TERM=dumb CI="${CI:-}" DOTWISE_JOBS="${DOTWISE_JOBS:-2}" \
    CCACHE_DIR=/root/.ccache DOTWISE_IN_FRESH_SYSTEM=1 \
    DW_E2E_FILEMANAGERS="${DW_E2E_FILEMANAGERS:-}" DW_E2E_SHOTS="$shots" \
    bash -c 'cd /src/dotwise && scripts/install-deps.sh && scripts/test.sh "$@"' \
    bash "${steps[@]}" || fail "$release: scripts/test.sh ${steps[*]} failed (output above)"
  cleanup
  elapsed "$release" "$started"
}

for release in "${releases[@]}"; do
  run_release "$release"
done
