#!/usr/bin/env bash
# The run command: installs the dependencies, builds Release, installs the VST3 bundle
# into ~/.vst3 and runs the main job: a demo rendered through the installed bundle,
# as a DAW would play it, into demo.wav and demo.png.
#   SAMPIVO_BUILD_DIR  build folder (default: build/ in the repository)
#   SAMPIVO_DEMO_DIR   where demo.wav and demo.png go (default: the repository root)
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="${SAMPIVO_BUILD_DIR:-$root/build}"
demo_dir="${SAMPIVO_DEMO_DIR:-$root}"

"$root/scripts/install-deps.sh"
BUILD_TYPE=Release "$root/scripts/build.sh" "$build_dir"

bundle_name="Vantrel Sampivo.vst3"
installed="$HOME/.vst3/$bundle_name"
mkdir -p "$HOME/.vst3"
rm -rf "$installed"
cp -R "$build_dir/VantrelSampivo_artefacts/Release/VST3/$bundle_name" "$HOME/.vst3/"
echo "Installed $installed"

# The built-in tone played with the built-in phrase: no sample or MIDI file needed.
mkdir -p "$demo_dir"
echo
echo "Rendering the demo through the installed bundle..."
"$build_dir/tools/sampivo-render" --plugin "$installed" \
    --out "$demo_dir/demo.wav" --png "$demo_dir/demo.png"

echo
echo "Demo audio:   $demo_dir/demo.wav"
echo "Demo picture: $demo_dir/demo.png"
