#!/usr/bin/env bash
# Smoke test of the Windows plug-in under 32-bit Wine, in the 32-bit Debian root
# made by make-wine-root.sh (so the host needs no i386 multiarch). Our loader
# (tools/vst3-smoke) loads the DLL, reads the factory, restores a state naming a
# WAV and a FLAC file, renders notes, round-trips the state, opens the editor and
# unloads. Needs root (or sudo) for chroot.
#
#   scripts/windows/wine-smoke.sh [build-dir]      (default: build-win32, built by
#                                                   scripts/build-windows.sh)
set -euo pipefail
source "$(dirname "$0")/common.sh"

build_dir="${1:-$win_root/build-win32}"
build_dir="$(cd "$build_dir" && pwd)"
bundle="$build_dir/VantrelSampivo_artefacts/Release/VST3/Vantrel Sampivo.vst3"
wine_root="$win_cache/wine-root"

if [ ! -f "$bundle/Contents/x86-win/Vantrel Sampivo.vst3" ]; then
    echo "wine-smoke: no Windows build in $build_dir; run scripts/build-windows.sh first" >&2
    exit 1
fi

step_start "Wine root"
"$win_root/scripts/windows/make-wine-root.sh" "$wine_root"
apt_install flac perl
step_end

step_start "smoke loader"
loader="$build_dir/smoke/vst3-smoke.exe"
"$win_root/scripts/windows/build-smoke-loader.sh" "$loader"
step_end

# One run at a time per root: runs share its /proc mount and its Wine prefix.
exec 9>"$win_cache/wine-root.lock"
flock 9

# Everything the run needs is staged inside the root, where Wine sees it as Z:\.
run_name="sampivo-smoke.$$"
run_dir="$wine_root/tmp/$run_name"
proc_mounted=0

cleanup() {
    as_root chroot "$wine_root" env WINEPREFIX=/root/.wine-sampivo wineserver -k >/dev/null 2>&1 9>&- || true
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

if ! mountpoint -q "$wine_root/proc"; then
    as_root mount -t proc proc "$wine_root/proc"
    proc_mounted=1
fi

# Wine turns Unix file names and arguments into Windows text through the locale's
# character set: a UTF-8 locale (C.UTF-8 is built into the root's C library) keeps the
# non-ASCII sample path intact.
in_root() {
    as_root chroot "$wine_root" env -i HOME=/root PATH=/usr/local/bin:/usr/bin:/bin LANG=C.UTF-8 LC_ALL=C.UTF-8 \
        WINEPREFIX=/root/.wine-sampivo WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" \
        "$@" 9>&-
}

step_start "Wine prefix"
# Made once and kept in the root; later runs only check it.
if ! in_root timeout 300 xvfb-run -a wineboot --init >"$build_dir/smoke/wineboot.log" 2>&1; then
    tail -n 20 "$build_dir/smoke/wineboot.log" >&2
    echo "wine-smoke: making the Wine prefix failed" >&2
    exit 1
fi
in_root wineserver -w
step_end

windows_dir="Z:\\tmp\\$run_name"
step_start "smoke run"
status=0
# The loader's exit code is kept while wineserver winds down before Xvfb stops.
in_root timeout 300 xvfb-run -a -s "-screen 0 1280x1024x24" sh -c 'wine "$@"; status=$?; wineserver -w; exit $status' \
    sh "/tmp/$run_name/vst3-smoke.exe" \
    "$windows_dir\\Vantrel Sampivo.vst3\\Contents\\x86-win\\Vantrel Sampivo.vst3" \
    "$windows_dir\\$sample_folder\\a.wav" "$windows_dir\\b.flac" "$windows_dir\\editor.ppm" || status=$?
step_end

# The editor as Wine drew it, for a person to look at.
if [ -f "$run_dir/editor.ppm" ]; then
    mkdir -p "$build_dir/smoke"
    if command -v pnmtopng >/dev/null 2>&1; then
        pnmtopng "$run_dir/editor.ppm" > "$build_dir/smoke/editor.png" 2>/dev/null && echo "Editor picture: $build_dir/smoke/editor.png"
    else
        cp "$run_dir/editor.ppm" "$build_dir/smoke/editor.ppm" && echo "Editor picture: $build_dir/smoke/editor.ppm"
    fi
fi

if [ "$status" -ne 0 ]; then
    echo "Wine smoke test FAILED (exit $status)"
    exit 1
fi
echo "Wine smoke test passed"
