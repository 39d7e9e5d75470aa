#!/usr/bin/env bash
# Cross-builds tools/vst3-smoke (our small VST3 loader) for i686 Windows, with the
# VST3 SDK interface headers that JUCE's Debian package carries.
#
#   scripts/windows/build-smoke-loader.sh <output.exe>
set -euo pipefail
source "$(dirname "$0")/common.sh"

output="${1:?output .exe}"
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
flags=(-std=c++17 -O1 -msse2 -mfpmath=sse -mstackrealign -isystem "$sdk")

# The SDK's own source is compiled as it comes, without our warning set.
${win_triplet}-g++-posix "${flags[@]}" -w -c "$sdk/pluginterfaces/base/funknown.cpp" -o "$output.funknown.o"

${win_triplet}-g++-posix "${flags[@]}" -municode \
    -Wall -Wextra -Wshadow -Wconversion -Wno-unused-parameter -Wno-non-virtual-dtor \
    -I "$win_root/tools/vst3-smoke" \
    "$win_root"/tools/vst3-smoke/*.cpp "$output.funknown.o" \
    -static -static-libgcc -static-libstdc++ -lole32 -luser32 -lgdi32 \
    -o "$output"
echo "Loader built: $output"
