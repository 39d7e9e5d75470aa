#!/usr/bin/env bash
# Cross-builds the codec libraries that JUCE's Debian modules take from the system
# (libogg, libvorbis, FLAC, libpng, libjpeg) as static i686 Windows libraries, from
# the pinned Debian sources, into one install prefix with pkg-config files. zlib
# comes from Debian's libz-mingw-w64-dev. Safe to run again: a finished prefix whose
# stamp matches the lock file is reused.
#
#   scripts/windows/build-codecs.sh <prefix>
set -euo pipefail
source "$(dirname "$0")/common.sh"

prefix="${1:-$win_cache/codecs}"
lock="$win_root/scripts/windows/codec-sources.lock"
toolchain="$win_root/cmake/toolchains/i686-w64-mingw32.cmake"
stamp="$prefix/.sampivo-codecs"
stamp_value="$(cat "$lock" "$toolchain" "$0" | sha256sum | cut -d' ' -f1)"

if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$stamp_value" ]; then
    echo "Codec libraries ready in $prefix"
    exit 0
fi

apt_install cmake make g++-mingw-w64-i686-posix gcc-mingw-w64-i686-posix libz-mingw-w64-dev

work="$win_cache/codec-build"
"$win_root/scripts/windows/fetch-sources.sh" "$win_cache/sources"
rm -rf "$prefix" "$work"
mkdir -p "$prefix" "$work"

jobs="$(nproc 2>/dev/null || echo 2)"

cmake_build() {
    local name="$1"
    shift
    cmake -S "$win_cache/sources/$name" -B "$work/$name" -G "Unix Makefiles" \
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
    -DZLIB_INCLUDE_DIR=/usr/$win_triplet/include -DZLIB_LIBRARY=/usr/$win_triplet/lib/libz.a
step_end

step_start "libjpeg-turbo"
cmake_build libjpeg-turbo -DENABLE_SHARED=OFF -DENABLE_STATIC=ON -DWITH_SIMD=OFF \
    -DWITH_TURBOJPEG=OFF -DWITH_JAVA=OFF -DCMAKE_INSTALL_BINDIR="$prefix/bin" \
    -DCMAKE_INSTALL_DOCDIR="$prefix/share/doc" -DCMAKE_INSTALL_MANDIR="$prefix/share/man"
# JUCE compiles its JPEG loader with JPEG_INTERNALS, which needs the internal
# header; Debian's libjpeg-dev installs it for the same reason.
cp "$win_cache/sources/libjpeg-turbo/jpegint.h" "$prefix/include/"
step_end

echo "$stamp_value" > "$stamp"
echo "Codec libraries ready in $prefix"
