#!/usr/bin/env bash
# Makes the 32-bit Debian root in which the Windows plug-in is smoke-tested under
# Wine: i386 bookworm with Wine and Xvfb, from the Debian mirror apt already uses.
# A 32-bit root keeps the host free of an i386 multiarch set-up. Needs root (or
# sudo); safe to run again: an existing, complete root is left as it is.
#
#   scripts/windows/make-wine-root.sh [root-dir]
set -euo pipefail
source "$(dirname "$0")/common.sh"

wine_root="${1:-$win_cache/wine-root}"
stamp="$wine_root/.sampivo-complete"

if [ -f "$stamp" ]; then
    echo "Wine root ready: $wine_root"
    exit 0
fi

apt_install debootstrap
mirror="$(debian_mirror)"
log="$win_cache/wine-root.log"
mkdir -p "$win_cache"
: > "$log"

# Keeps the long package logs out of the build output, and shows them on failure.
logged() {
    if ! "$@" >>"$log" 2>&1; then
        tail -n 30 "$log" >&2
        echo "make-wine-root: failed: $* (log: $log)" >&2
        exit 1
    fi
}

step_start "debootstrap i386 $win_suite"
if [ ! -f "$wine_root/.sampivo-debootstrap" ]; then
    # A root left by an interrupted run is made again from nothing.
    if mountpoint -q "$wine_root/proc" 2>/dev/null; then
        as_root umount "$wine_root/proc"
    fi
    as_root rm -rf "$wine_root"
    as_root mkdir -p "$wine_root"
    logged as_root debootstrap --arch=i386 --variant=minbase "$win_suite" "$wine_root" "$mirror"
    as_root touch "$wine_root/.sampivo-debootstrap"
fi
step_end

step_start "Wine and Xvfb inside the root"
as_root mount -t proc proc "$wine_root/proc"
trap 'as_root umount "$wine_root/proc" || true' EXIT
logged as_root chroot "$wine_root" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
logged as_root chroot "$wine_root" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends wine wine32 xvfb xauth
logged as_root chroot "$wine_root" apt-get clean
step_end

as_root touch "$stamp"
echo "Wine root ready: $wine_root"
