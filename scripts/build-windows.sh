#!/usr/bin/env bash
# Cross-builds the plug-in for 32-bit (i686) and 64-bit (x86_64) Windows with
# Debian's MinGW-w64, from a clean clone, installing only Debian packages (sudo when
# not root), and puts both DLLs into one VST3 bundle:
#
#   scripts/build-windows.sh [build-dir]        (default: build-win)
#
# Layout of the build folder:
#   <build-dir>/Vantrel Sampivo.vst3/Contents/x86-win/Vantrel Sampivo.vst3      32-bit DLL
#   <build-dir>/Vantrel Sampivo.vst3/Contents/x86_64-win/Vantrel Sampivo.vst3   64-bit DLL
#   <build-dir>/codec-versions.txt    the Debian codec sources this build used
#   <build-dir>/i686/, <build-dir>/x86_64/    one CMake build tree per architecture
#   <build-dir>/juce-modules/         the patched JUCE module copy both trees use
#
# Steps: Debian packages; the codec sources in the version Debian bookworm carries
# today; the codec libraries JUCE's Debian modules expect from the system, cross-built
# statically per architecture into a cache outside the tree (SAMPIVO_WIN_CACHE,
# default ~/.cache/sampivo-win32); a patched copy of JUCE's modules; per
# architecture configure, build and the DLL check; the bundle.
# SAMPIVO_WIN_ARCHS="x86_64" (or "i686") builds one architecture only.
set -euo pipefail
source "$(dirname "$0")/windows/common.sh"

build_dir="${1:-$win_root/build-win}"
mkdir -p "$build_dir"
build_dir="$(cd "$build_dir" && pwd)"
read -r -a archs <<<"$win_archs"

total_t0=$(date +%s)

step_start "Debian packages"
arch_packages=()
for arch in "${archs[@]}"; do
    read -r -a packages <<<"$(win_arch_packages "$arch")"
    arch_packages+=("${packages[@]}")
done
apt_install cmake make ninja-build pkg-config perl dpkg-dev debian-archive-keyring \
    "${arch_packages[@]}" libz-mingw-w64-dev juce-modules-source ccache
step_end

step_start "codec sources"
"$win_root/scripts/windows/fetch-sources.sh" "$build_dir/codec-sources.txt"
awk '{ print $1, $2 }' "$build_dir/codec-sources.txt" > "$build_dir/codec-versions.txt"
step_end

step_start "JUCE module copy"
modules="$build_dir/juce-modules"
"$win_root/scripts/windows/prepare-juce-modules.sh" "$modules"
step_end

# Same sources, same DLL: the compile date JUCE embeds is the last commit's time,
# and the paths are mapped (cmake/JuceFromModulesCopy.cmake). ccache leaves those
# path maps out of its hash so that clones in other folders still share objects;
# the mapped names are fixed, so the objects are the same for every folder.
SOURCE_DATE_EPOCH="$(win_source_date_epoch)"
export SOURCE_DATE_EPOCH
export CCACHE_BASEDIR="$win_root"
export CCACHE_NOHASHDIR=1
export CCACHE_IGNOREOPTIONS="-ffile-prefix-map=*"
unset PKG_CONFIG_PATH

# Ninja cannot see SOURCE_DATE_EPOCH: when it differs from the one this folder was
# last built with, the sources that use the date macros (JUCE's juce_Time.cpp today)
# are touched, so that every architecture's tree compiles them again.
epoch_stamp="$build_dir/.source-date-epoch"
if [ "$(cat "$epoch_stamp" 2>/dev/null || true)" != "$SOURCE_DATE_EPOCH" ]; then
    grep -rlZ -E '__DATE__|__TIME__|__TIMESTAMP__' --include='*.c' --include='*.cpp' --include='*.h' \
        "$modules" "$win_root/source" | xargs -0 -r touch
    echo "$SOURCE_DATE_EPOCH" > "$epoch_stamp"
fi
echo "SOURCE_DATE_EPOCH=$SOURCE_DATE_EPOCH ($(date -u -d "@$SOURCE_DATE_EPOCH" '+%Y-%m-%d %H:%M:%S UTC'))"

bundle_name="Vantrel Sampivo.vst3"
for arch in "${archs[@]}"; do
    triplet="$(win_arch_triplet "$arch")"
    arch_dir="$build_dir/$arch"
    codecs="$win_cache/codecs-$arch"

    step_start "$arch codec libraries"
    "$win_root/scripts/windows/build-codecs.sh" "$arch" "$codecs" "$build_dir/codec-sources.txt"
    step_end

    # pkg-config looks only at the cross-built codecs and MinGW's zlib, never at the
    # build machine's libraries, and reports the private dependencies that a static
    # link needs.
    export PKG_CONFIG_LIBDIR="$codecs/lib/pkgconfig:/usr/$triplet/lib/pkgconfig"
    export PKG_CONFIG_SYSTEM_INCLUDE_PATH="/usr/$triplet/include"
    export PKG_CONFIG_SYSTEM_LIBRARY_PATH="/usr/$triplet/lib"

    # The Release plug-in is linked without its symbol table (14 MB down to 9 MB).
    step_start "$arch configure"
    mkdir -p "$arch_dir"
    cmake -S "$win_root" -B "$arch_dir" -G Ninja \
        -DCMAKE_TOOLCHAIN_FILE="$win_root/cmake/toolchains/$triplet.cmake" \
        -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_PREFIX_PATH="$codecs" \
        -DPKG_CONFIG_ARGN=--static \
        -DCMAKE_MODULE_LINKER_FLAGS_RELEASE=-s \
        -DSAMPIVO_JUCE_MODULES_COPY="$modules" \
        -DSAMPIVO_PLUGIN_FORMATS=VST3 \
        -DSAMPIVO_PLUGIN_HOSTING=OFF \
        -DSAMPIVO_BUILD_TESTS=OFF \
        -DSAMPIVO_BUILD_BENCH=OFF \
        -DSAMPIVO_SANITIZER= >"$arch_dir/configure.log"
    step_end

    step_start "$arch build"
    cmake --build "$arch_dir" --target VantrelSampivo_VST3 --parallel "$(nproc 2>/dev/null || echo 2)"
    step_end

    step_start "$arch DLL check"
    "$win_root/scripts/windows/check-dll.sh" \
        "$arch_dir/VantrelSampivo_artefacts/Release/VST3/$bundle_name/Contents/$(win_arch_bundle_dir "$arch")/$bundle_name"
    step_end
done

# One bundle for every host: Contents/x86-win for 32-bit hosts, Contents/x86_64-win
# for 64-bit hosts, as the VST3 bundle layout has it. Made anew each time, so that a
# DLL left by an earlier build cannot stay in it.
step_start "bundle"
bundle="$build_dir/$bundle_name"
rm -rf "$bundle.tmp"
mkdir -p "$bundle.tmp"
for arch in "${archs[@]}"; do
    cp -a "$build_dir/$arch/VantrelSampivo_artefacts/Release/VST3/$bundle_name/." "$bundle.tmp/"
done
rm -rf "$bundle"
mv "$bundle.tmp" "$bundle"
step_end

echo "Codec sources used:"
sed 's/^/  /' "$build_dir/codec-versions.txt"
echo "Built $bundle:"
for arch in "${archs[@]}"; do
    dll="$bundle/Contents/$(win_arch_bundle_dir "$arch")/$bundle_name"
    echo "  $(sha256sum "$dll" | cut -d' ' -f1)  $(stat -c %s "$dll") bytes  Contents/$(win_arch_bundle_dir "$arch")/$bundle_name"
done
echo "Total: $(( $(date +%s) - total_t0 )) s"
