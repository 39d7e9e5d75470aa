#!/usr/bin/env bash
# Draws the editor's background picture again and writes resources/background.jpg:
#   scripts/make-background.sh [build-dir]
# The picture comes from tools/backgroundart/BackgroundArt.cpp; commit both together.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="${1:-$root/build}"

export CCACHE_BASEDIR="$root"
export CCACHE_NOHASHDIR=1

if [ ! -f "$build_dir/CMakeCache.txt" ]; then
    cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-Release}"
fi
cmake --build "$build_dir" --target sampivo-background-art --parallel "$(nproc 2>/dev/null || echo 2)"

"$build_dir/tools/sampivo-background-art" "$root/resources/background.jpg" 2>/dev/null \
    || xvfb-run -a "$build_dir/tools/sampivo-background-art" "$root/resources/background.jpg"

# JUCE's binary-data step watches the list of resource files, not their contents: drop
# the generated sources so that the next build of this tree compiles the new picture in.
rm -f "$build_dir"/juce_binarydata_SampivoBinaryData/JuceLibraryCode/BinaryData*.cpp
file "$root/resources/background.jpg" 2>/dev/null || true
