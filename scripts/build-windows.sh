#!/usr/bin/env bash
# Cross-builds the plug-in for 32-bit Windows (i686) with Debian's MinGW-w64, from a
# clean clone, installing only Debian packages (sudo when not root):
#
#   scripts/build-windows.sh [build-dir]        (default: build-win32)
#
# Result: <build-dir>/VantrelSampivo_artefacts/Release/VST3/
#             Vantrel Sampivo.vst3/Contents/x86-win/Vantrel Sampivo.vst3
#
# Steps: Debian packages; the codec libraries JUCE's Debian modules expect from the
# system, cross-built statically from pinned Debian sources into a cache outside
# the tree (SAMPIVO_WIN32_CACHE, default ~/.cache/sampivo-win32); a patched copy of
# JUCE's modules inside the build folder; configure and build; the DLL check.
set -euo pipefail
source "$(dirname "$0")/windows/common.sh"

build_dir="${1:-$win_root/build-win32}"
mkdir -p "$build_dir"
build_dir="$(cd "$build_dir" && pwd)"

total_t0=$(date +%s)

step_start "Debian packages"
apt_install cmake make ninja-build pkg-config perl dpkg-dev debian-archive-keyring \
    g++-mingw-w64-i686-posix gcc-mingw-w64-i686-posix binutils-mingw-w64-i686 \
    libz-mingw-w64-dev juce-modules-source ccache
step_end

step_start "codec libraries"
codecs="$win_cache/codecs"
"$win_root/scripts/windows/build-codecs.sh" "$codecs"
step_end

step_start "JUCE module copy"
modules="$build_dir/juce-modules"
"$win_root/scripts/windows/prepare-juce-modules.sh" "$modules"
step_end

# pkg-config looks only at the cross-built codecs and MinGW's zlib, never at the
# build machine's libraries, and reports the private dependencies that a static
# link needs.
export PKG_CONFIG_LIBDIR="$codecs/lib/pkgconfig:/usr/$win_triplet/lib/pkgconfig"
export PKG_CONFIG_SYSTEM_INCLUDE_PATH="/usr/$win_triplet/include"
export PKG_CONFIG_SYSTEM_LIBRARY_PATH="/usr/$win_triplet/lib"
unset PKG_CONFIG_PATH
export CCACHE_BASEDIR="$win_root"
export CCACHE_NOHASHDIR=1

# The Release plug-in is linked without its symbol table (14 MB down to 9 MB).
step_start "configure"
cmake -S "$win_root" -B "$build_dir" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$win_root/cmake/toolchains/i686-w64-mingw32.cmake" \
    -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$codecs" \
    -DPKG_CONFIG_ARGN=--static \
    -DCMAKE_MODULE_LINKER_FLAGS_RELEASE=-s \
    -DSAMPIVO_JUCE_MODULES_COPY="$modules" \
    -DSAMPIVO_PLUGIN_FORMATS=VST3 \
    -DSAMPIVO_PLUGIN_HOSTING=OFF \
    -DSAMPIVO_BUILD_TESTS=OFF \
    -DSAMPIVO_BUILD_BENCH=OFF \
    -DSAMPIVO_SANITIZER= >"$build_dir/configure.log"
step_end

step_start "build"
cmake --build "$build_dir" --target VantrelSampivo_VST3 --parallel "$(nproc 2>/dev/null || echo 2)"
step_end

dll="$build_dir/VantrelSampivo_artefacts/Release/VST3/Vantrel Sampivo.vst3/Contents/x86-win/Vantrel Sampivo.vst3"

step_start "DLL check"
"$win_root/scripts/windows/check-dll.sh" "$dll"
step_end

echo "Built $dll"
echo "Total: $(( $(date +%s) - total_t0 )) s"
