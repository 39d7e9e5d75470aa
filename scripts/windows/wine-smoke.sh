#!/usr/bin/env bash
# Smoke test of one of the Windows plug-in's DLLs under Wine:
#   --arch i686 (the default): the 32-bit DLL under 32-bit Wine, in the 32-bit Debian
#     root made by make-wine-root.sh (so the host needs no i386 multiarch; needs root
#     or sudo for chroot);
#   --arch x86_64: the 64-bit DLL under Debian's wine64, installed on this amd64
#     host as it is (no multiarch needed), with its own Wine prefix in the cache.
# Our loader (tools/vst3-smoke), built for the same architecture, loads the DLL,
# reads the factory, restores a state naming a WAV and a FLAC file, renders notes,
# round-trips the state, opens the editor and unloads.
#
#   scripts/windows/wine-smoke.sh [--arch i686|x86_64] [build-dir]
#                                  (default build-win, built by scripts/build-windows.sh)
set -euo pipefail
source "$(dirname "$0")/common.sh"

arch=i686
if [ "${1:-}" = "--arch" ]; then
    arch="${2:?architecture}"
    shift 2
fi
build_dir="${1:-$win_root/build-win}"
build_dir="$(cd "$build_dir" && pwd)"
bundle="$build_dir/Vantrel Sampivo.vst3"
bundle_arch_dir="$(win_arch_bundle_dir "$arch")"
smoke_dir="$build_dir/smoke/$arch"

if [ ! -f "$bundle/Contents/$bundle_arch_dir/Vantrel Sampivo.vst3" ]; then
    echo "wine-smoke: no $arch DLL in $bundle; run scripts/build-windows.sh first" >&2
    exit 1
fi
mkdir -p "$smoke_dir"

# Where Wine runs: stage_root is the folder that Wine's Z:\ stands for, seen from
# the host; wine_env runs a command with Wine's environment. Wine turns Unix file
# names and arguments into Windows text through the locale's character set: a UTF-8
# locale (C.UTF-8 is built into Debian's C library, in the root and on the host)
# keeps the non-ASCII sample path intact.
if [ "$arch" = i686 ]; then
    wine_root="$win_cache/wine-root"
    stage_root="$wine_root"
    wine_lock="$win_cache/wine-root.lock"
    step_start "Wine root"
    "$win_root/scripts/windows/make-wine-root.sh" "$wine_root"
    apt_install flac perl
    step_end
    wine_env() {
        as_root chroot "$wine_root" env -i HOME=/root PATH=/usr/local/bin:/usr/bin:/bin LANG=C.UTF-8 LC_ALL=C.UTF-8 \
            WINEPREFIX=/root/.wine-sampivo WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" \
            "$@" 9>&-
    }
else
    stage_root=""
    wine_lock="$win_cache/wine64.lock"
    step_start "Wine (64-bit)"
    # 'wine' (architecture all) brings the wine, wineserver and wineboot commands;
    # with wine64 beside it and no wine32 they run the 64-bit Wine.
    apt_install wine64 wine xvfb xauth flac perl
    step_end
    wine_env() {
        env -i HOME="$HOME" PATH=/usr/local/bin:/usr/bin:/bin LANG=C.UTF-8 LC_ALL=C.UTF-8 \
            WINEPREFIX="$win_cache/wine64-prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" \
            "$@" 9>&-
    }
fi

step_start "smoke loader"
loader="$smoke_dir/vst3-smoke.exe"
"$win_root/scripts/windows/build-smoke-loader.sh" --arch "$arch" "$loader"
step_end

# One run at a time per Wine: runs share its Wine prefix (and the root's /proc mount).
exec 9>"$wine_lock"
flock 9

# Everything the run needs is staged under <stage_root>/tmp, which Wine sees as Z:\tmp.
run_name="sampivo-smoke.$$"
run_dir="$stage_root/tmp/$run_name"
proc_mounted=0

cleanup() {
    wine_env wineserver -k >/dev/null 2>&1 || true
    if [ "$proc_mounted" -eq 1 ]; then
        as_root umount "$wine_root/proc" || true
    fi
    as_root rm -rf "$run_dir"
}
trap cleanup EXIT

as_root mkdir -p "$run_dir"
as_root cp -a "$bundle" "$run_dir/"
as_root cp "$loader" "$run_dir/"
as_root perl "$win_root/scripts/windows/make-samples.pl" "$run_dir"
as_root flac --silent --force -o "$run_dir/b.flac" "$run_dir/b.wav"
as_root rm "$run_dir/b.wav"
# The WAV sample lives in a folder named with non-ASCII letters (Latin and CJK), as
# on a host set up in another language; the state names it in UTF-8.
sample_folder="Klänge ñø 音"
as_root mkdir "$run_dir/$sample_folder"
as_root mv "$run_dir/a.wav" "$run_dir/$sample_folder/"

if [ "$arch" = i686 ] && ! mountpoint -q "$wine_root/proc"; then
    as_root mount -t proc proc "$wine_root/proc"
    proc_mounted=1
fi

step_start "Wine prefix"
# Made once and kept (in the root, or in the cache for wine64); later runs only check it.
if ! wine_env timeout 300 xvfb-run -a wineboot --init >"$smoke_dir/wineboot.log" 2>&1; then
    tail -n 20 "$smoke_dir/wineboot.log" >&2
    echo "wine-smoke: making the Wine prefix failed" >&2
    exit 1
fi
wine_env wineserver -w
step_end

windows_dir="Z:\\tmp\\$run_name"
step_start "smoke run"
status=0
# The loader's exit code is kept while wineserver winds down before Xvfb stops.
wine_env timeout 300 xvfb-run -a -s "-screen 0 1280x1024x24" sh -c 'wine "$@"; status=$?; wineserver -w; exit $status' \
    sh "/tmp/$run_name/vst3-smoke.exe" \
    "$windows_dir\\Vantrel Sampivo.vst3\\Contents\\$bundle_arch_dir\\Vantrel Sampivo.vst3" \
    "$windows_dir\\$sample_folder\\a.wav" "$windows_dir\\b.flac" "$windows_dir\\editor.ppm" || status=$?
step_end

# The editor as Wine drew it, for a person to look at.
if [ -f "$run_dir/editor.ppm" ]; then
    if command -v pnmtopng >/dev/null 2>&1; then
        pnmtopng "$run_dir/editor.ppm" > "$smoke_dir/editor.png" 2>/dev/null && echo "Editor picture: $smoke_dir/editor.png"
    else
        cp "$run_dir/editor.ppm" "$smoke_dir/editor.ppm" && echo "Editor picture: $smoke_dir/editor.ppm"
    fi
fi

if [ "$status" -ne 0 ]; then
    echo "Wine smoke test ($arch) FAILED (exit $status)"
    exit 1
fi
echo "Wine smoke test ($arch) passed"
