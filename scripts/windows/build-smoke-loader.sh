#!/usr/bin/env bash
# Cross-builds tools/vst3-smoke (our small VST3 loader) for i686 or x86_64 Windows,
# with the VST3 SDK interface headers that JUCE's Debian package carries. A loader
# loads DLLs of its own architecture only, so each plug-in DLL gets its own.
#
#   scripts/windows/build-smoke-loader.sh [--arch i686|x86_64] <output.exe>   (default i686)
set -euo pipefail
source "$(dirname "$0")/common.sh"

arch=i686
if [ "${1:-}" = "--arch" ]; then
    arch="${2:?architecture}"
    shift 2
fi
output="${1:?output .exe}"
cxx="$(win_arch_triplet "$arch")-g++-posix"
sdk=/usr/share/juce/modules/juce_audio_processors/format_types/VST3_SDK
sources=("$win_root"/tools/vst3-smoke/*.cpp "$sdk/pluginterfaces/base/funknown.cpp")

# Rebuild only when a source changed.
if [ -f "$output" ]; then
    newer="$(find "${sources[@]}" "$win_root"/tools/vst3-smoke/*.h "$0" -newer "$output" | head -n 1)"
    if [ -z "$newer" ]; then
        echo "Loader up to date: $output"
        exit 0
    fi
fi

mkdir -p "$(dirname "$output")"
flags=(-std=c++17 -O1 -isystem "$sdk")
# As in the plug-in's 32-bit toolchain: SSE2 maths, stack realigned on entry.
[ "$arch" = i686 ] && flags+=(-msse2 -mfpmath=sse -mstackrealign)

# The SDK's own source is compiled as it comes, without our warning set.
"$cxx" "${flags[@]}" -w -c "$sdk/pluginterfaces/base/funknown.cpp" -o "$output.funknown.o"

"$cxx" "${flags[@]}" -municode \
    -Wall -Wextra -Wshadow -Wconversion -Wno-unused-parameter -Wno-non-virtual-dtor \
    -I "$win_root/tools/vst3-smoke" \
    "$win_root"/tools/vst3-smoke/*.cpp "$output.funknown.o" \
    -static -static-libgcc -static-libstdc++ -lole32 -luser32 -lgdi32 \
    -o "$output"
echo "Loader ($arch) built: $output"
