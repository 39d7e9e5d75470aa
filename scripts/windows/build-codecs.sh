#!/usr/bin/env bash
# Cross-builds the codec libraries that JUCE's Debian modules take from the system
# (libogg, libvorbis, FLAC, libpng, libjpeg) as static Windows libraries for one
# architecture (i686 or x86_64), from the Debian sources that fetch-sources.sh
# fetched and listed, into one install prefix with pkg-config files. zlib comes
# from Debian's libz-mingw-w64-dev, which covers both architectures. Safe to run
# again: a finished prefix whose stamp matches the source versions, the toolchain
# file and this script is reused.
#
#   scripts/windows/build-codecs.sh <arch> <prefix> <versions-file>
set -euo pipefail
source "$(dirname "$0")/common.sh"

arch="${1:?architecture (i686 or x86_64)}"
prefix="${2:?install prefix}"
versions="${3:?versions file written by fetch-sources.sh}"
triplet="$(win_arch_triplet "$arch")"
toolchain="$win_root/cmake/toolchains/$triplet.cmake"
stamp="$prefix/.sampivo-codecs"
# The stamp names the versions only, not the cache paths beside them.
stamp_value="$( (awk '{ print $1, $2 }' "$versions"; cat "$toolchain" "$(dirname "$toolchain")/MinGWCommon.cmake" "$0") | sha256sum | cut -d' ' -f1)"

if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$stamp_value" ]; then
    echo "Codec libraries ($arch) ready in $prefix"
    exit 0
fi

# shellcheck disable=SC2046
apt_install cmake make $(win_arch_packages "$arch") libz-mingw-w64-dev

source_dir() { awk -v name="$1" '$1 == name { print $3 }' "$versions"; }

work="$win_cache/codec-build-$arch"
rm -rf "$prefix" "$work"
mkdir -p "$prefix" "$work"

jobs="$(nproc 2>/dev/null || echo 2)"

cmake_build() {
    local name="$1"
    shift
    cmake -S "$(source_dir "$name")" -B "$work/$name" -G "Unix Makefiles" \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
        -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$prefix" \
        -DCMAKE_INSTALL_LIBDIR="$prefix/lib" \
        -DCMAKE_PREFIX_PATH="$prefix" \
        -DBUILD_SHARED_LIBS=OFF \
        -Wno-dev "$@" >"$work/$name.configure.log"
    cmake --build "$work/$name" --parallel "$jobs" >"$work/$name.build.log"
    cmake --install "$work/$name" >"$work/$name.install.log"
}

step_start "libogg"
cmake_build libogg -DINSTALL_DOCS=OFF
step_end

step_start "libvorbis"
cmake_build libvorbis
step_end

step_start "FLAC"
cmake_build flac -DBUILD_CXXLIBS=OFF -DBUILD_PROGRAMS=OFF -DBUILD_EXAMPLES=OFF \
    -DBUILD_TESTING=OFF -DBUILD_DOCS=OFF -DINSTALL_MANPAGES=OFF -DWITH_OGG=ON \
    -DWITH_STACK_PROTECTOR=OFF -DWITH_FORTIFY_SOURCE=OFF
# Consumers of the static library must not declare its functions dllimport.
sed -i 's|^Cflags: \(.*\)$|Cflags: \1 -DFLAC__NO_DLL|' "$prefix/lib/pkgconfig/flac.pc"
step_end

step_start "libpng"
cmake_build libpng1.6 -DPNG_SHARED=OFF -DPNG_STATIC=ON -DPNG_EXECUTABLES=OFF -DPNG_TESTS=OFF \
    -DZLIB_INCLUDE_DIR="/usr/$triplet/include" -DZLIB_LIBRARY="/usr/$triplet/lib/libz.a"
step_end

step_start "libjpeg-turbo"
cmake_build libjpeg-turbo -DENABLE_SHARED=OFF -DENABLE_STATIC=ON -DWITH_SIMD=OFF \
    -DWITH_TURBOJPEG=OFF -DWITH_JAVA=OFF -DCMAKE_INSTALL_BINDIR="$prefix/bin" \
    -DCMAKE_INSTALL_DOCDIR="$prefix/share/doc" -DCMAKE_INSTALL_MANDIR="$prefix/share/man"
# JUCE compiles its JPEG loader with JPEG_INTERNALS, which needs the internal
# header; Debian's libjpeg-dev installs it for the same reason.
cp "$(source_dir libjpeg-turbo)/jpegint.h" "$prefix/include/"
step_end

awk '{ print $1, $2 }' "$versions" > "$prefix/codec-versions.txt"
echo "$stamp_value" > "$stamp"
echo "Codec libraries ($arch) ready in $prefix"
