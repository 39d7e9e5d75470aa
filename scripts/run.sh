#!/usr/bin/env bash
# The run command: installs the dependencies, builds Release, installs the VST3 bundle
# into ~/.vst3 and runs the main job against the installed bundle.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="${SAMPIVO_BUILD_DIR:-$root/build}"

"$root/scripts/install-deps.sh"
BUILD_TYPE=Release "$root/scripts/build.sh" "$build_dir"

bundle_name="Vantrel Sampivo.vst3"
mkdir -p "$HOME/.vst3"
rm -rf "$HOME/.vst3/$bundle_name"
cp -R "$build_dir/VantrelSampivo_artefacts/Release/VST3/$bundle_name" "$HOME/.vst3/"
echo "Installed $HOME/.vst3/$bundle_name"

"$build_dir/tools/sampivo-hostcheck" "$HOME/.vst3/$bundle_name"
