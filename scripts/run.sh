#!/usr/bin/env bash
# The run command: installs the dependencies, builds Release, installs the VST3 bundle
# into ~/.vst3 and the LV2 bundle into ~/.lv2, and runs the main job: a demo rendered
# through the installed VST3 bundle, as a DAW would play it, into demo.wav and demo.png.
#   SAMPIVO_BUILD_DIR  build folder (default: build/ in the repository)
#   SAMPIVO_DEMO_DIR   where demo.wav and demo.png go (default: the repository root)
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="${SAMPIVO_BUILD_DIR:-$root/build}"
demo_dir="${SAMPIVO_DEMO_DIR:-$root}"

"$root/scripts/install-deps.sh"
# The formats are named: a build folder configured before the LV2 existed keeps its
# old list in the CMake cache.
BUILD_TYPE=Release "$root/scripts/build.sh" "$build_dir" "-DSAMPIVO_PLUGIN_FORMATS=VST3;LV2;Standalone"

bundle_name="Vantrel Sampivo.vst3"
installed="$HOME/.vst3/$bundle_name"
mkdir -p "$HOME/.vst3"
rm -rf "$installed"
cp -R "$build_dir/VantrelSampivo_artefacts/Release/VST3/$bundle_name" "$HOME/.vst3/"
echo "Installed $installed"

lv2_name="Vantrel Sampivo.lv2"
mkdir -p "$HOME/.lv2"
rm -rf "$HOME/.lv2/$lv2_name"
cp -R "$build_dir/VantrelSampivo_artefacts/Release/LV2/$lv2_name" "$HOME/.lv2/"
echo "Installed $HOME/.lv2/$lv2_name"

# The built-in tone played with the built-in phrase: no sample or MIDI file needed.
mkdir -p "$demo_dir"
echo
echo "Rendering the demo through the installed bundle..."
"$build_dir/tools/sampivo-render" --plugin "$installed" \
    --out "$demo_dir/demo.wav" --png "$demo_dir/demo.png"

echo
echo "Demo audio:   $demo_dir/demo.wav"
echo "Demo picture: $demo_dir/demo.png"
