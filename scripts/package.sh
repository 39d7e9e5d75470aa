#!/usr/bin/env bash
# Release archives: builds the Release plug-ins and packs what a user installs.
#
#   scripts/package.sh [--linux-only | --windows-only] [out-dir]     (default: dist/)
#
#   sampivo-<version>-linux-x86_64.tar.gz   the VST3 and LV2 bundles, the standalone
#                                           instrument, the sampivo-render tool,
#                                           README.md and LICENSE
#   sampivo-<version>-windows.zip           the VST3 bundle with the 32- and 64-bit
#                                           DLLs, README.md and LICENSE
#
# The version is the project's (CMakeLists.txt). Both archives are made the same way
# every time from the same files: names sorted, owners and permissions normalised, and
# every time stamp set to the last commit's time (SOURCE_DATE_EPOCH when set).
#   SAMPIVO_BUILD_DIR          the Linux build folder (default: build/)
#   SAMPIVO_WINDOWS_BUILD_DIR  the Windows build folder (default: build-win/)
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
make_linux=1
make_windows=1
case "${1:-}" in
    --linux-only) make_windows=0; shift ;;
    --windows-only) make_linux=0; shift ;;
esac
out_dir="${1:-$root/dist}"
mkdir -p "$out_dir"
out_dir="$(cd "$out_dir" && pwd)"

version="$(sed -n 's/^project(VantrelSampivo VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")"
[ -n "$version" ] || { echo "package: no version in CMakeLists.txt" >&2; exit 1; }
epoch="${SOURCE_DATE_EPOCH:-$(git -C "$root" log -1 --format=%ct 2>/dev/null || date +%s)}"
export SOURCE_DATE_EPOCH="$epoch"

stage="$(mktemp -d)"
trap 'rm -rf "$stage"' EXIT

# Copies README and licence into a staged folder and gives every entry the same time.
finish_stage() {
    cp "$root/README.md" "$root/LICENSE" "$1/"
    chmod -R u+rwX,go+rX,go-w "$1"
    find "$1" -exec touch -h -d "@$epoch" {} +
}

report() { echo "$1 ($(du -h "$1" | cut -f1), $(stat -c %s "$1") bytes)"; }

if [ "$make_linux" = 1 ]; then
    build_dir="${SAMPIVO_BUILD_DIR:-$root/build}"
    "$root/scripts/install-deps.sh"
    BUILD_TYPE=Release SAMPIVO_BUILD_TARGETS="VantrelSampivo_VST3 VantrelSampivo_LV2 VantrelSampivo_Standalone sampivo-render" \
        "$root/scripts/build.sh" "$build_dir" "-DSAMPIVO_PLUGIN_FORMATS=VST3;LV2;Standalone"

    artefacts="$build_dir/VantrelSampivo_artefacts/Release"
    name="sampivo-$version-linux-x86_64"
    mkdir -p "$stage/$name"
    cp -R "$artefacts/VST3/Vantrel Sampivo.vst3" "$artefacts/LV2/Vantrel Sampivo.lv2" "$stage/$name/"
    cp "$artefacts/Standalone/Vantrel Sampivo" "$build_dir/tools/sampivo-render" "$stage/$name/"
    finish_stage "$stage/$name"

    archive="$out_dir/$name.tar.gz"
    tar -C "$stage" --sort=name --owner=0 --group=0 --numeric-owner --mtime="@$epoch" -cf - "$name" \
        | gzip -n -9 > "$archive"
    report "$archive"
fi

if [ "$make_windows" = 1 ]; then
    source "$root/scripts/windows/common.sh"
    apt_install zip
    windows_build="${SAMPIVO_WINDOWS_BUILD_DIR:-$root/build-win}"
    "$root/scripts/build-windows.sh" "$windows_build"

    name="sampivo-$version-windows"
    mkdir -p "$stage/$name"
    cp -R "$windows_build/Vantrel Sampivo.vst3" "$stage/$name/"
    finish_stage "$stage/$name"

    archive="$out_dir/$name.zip"
    rm -f "$archive"
    # zip keeps local times: in UTC they are the same on every machine.
    (cd "$stage" && find "$name" -print | LC_ALL=C sort | TZ=UTC zip -q -X -9 -@ "$archive")
    report "$archive"
fi
