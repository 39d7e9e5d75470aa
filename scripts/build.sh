#!/usr/bin/env bash
# Configures and builds one build tree: scripts/build.sh [build-dir] [extra cmake args...]
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="${1:-$root/build}"
shift || true

# ccache hits must not depend on where the tree or the build folder is.
export CCACHE_BASEDIR="$root"
export CCACHE_NOHASHDIR=1

jobs="$(nproc 2>/dev/null || echo 2)"

cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-Release}" "$@"
# SAMPIVO_BUILD_TARGETS (space-separated) builds only those targets and what they need.
targets=()
for target in ${SAMPIVO_BUILD_TARGETS:-}; do
    targets+=(--target "$target")
done

cmake --build "$build_dir" --parallel "$jobs" "${targets[@]}"
