#!/usr/bin/env bash
# CI entry point for the Windows build. When Debian's i686 MinGW-w64 compiler is
# installed, cross-builds the plug-in (codec libraries and ccache are reused from
# earlier runs on the same machine) and checks the DLL: PE32 i386, exactly the VST3
# exports, no MinGW runtime imports. Then the smoke test under 32-bit Wine:
# SAMPIVO_WIN32_SMOKE=1 always runs it (making the Wine root on first use, about
# five minutes), =0 never, and the default runs it when the Wine root is already
# there (it then takes well under a minute).
# Without the cross compiler it says so and succeeds: the check is optional on
# machines that were not set up for Windows builds.
#
#   scripts/windows/ci-check.sh [build-dir]         (default: build-win32)
set -euo pipefail
source "$(dirname "$0")/common.sh"

build_dir="${1:-$win_root/build-win32}"

if ! command -v "${win_triplet}-g++-posix" >/dev/null 2>&1; then
    echo "Windows check skipped: ${win_triplet}-g++-posix is not installed (scripts/build-windows.sh installs it)"
    exit 0
fi

t0=$(date +%s)
"$win_root/scripts/build-windows.sh" "$build_dir"
t_build=$(( $(date +%s) - t0 ))

smoke="${SAMPIVO_WIN32_SMOKE:-auto}"
if [ "$smoke" = auto ]; then
    smoke=0
    [ -f "$win_cache/wine-root/.sampivo-complete" ] && smoke=1
fi

t_smoke="not run (no Wine root yet; SAMPIVO_WIN32_SMOKE=1 makes one)"
if [ "$smoke" = 1 ]; then
    t1=$(date +%s)
    "$win_root/scripts/windows/wine-smoke.sh" "$build_dir"
    t_smoke="$(( $(date +%s) - t1 )) s"
fi

echo "Windows check times: build and DLL check ${t_build} s; Wine smoke test ${t_smoke}"
