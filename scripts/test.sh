#!/usr/bin/env bash
# The test command: installs the dependencies, builds everything and runs every test
# through CTest. Editor tests need a display, so the run happens inside Xvfb. Where the
# Windows cross compilers (i686 and x86_64) are installed, the Windows build of both
# architectures and its DLL checks run too.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="${SAMPIVO_BUILD_DIR:-$root/build}"

"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" "$build_dir"

(
    cd "$build_dir"
    xvfb-run -a -s "-screen 0 1280x1024x24" \
        ctest --output-on-failure --timeout 600 --parallel "$(nproc 2>/dev/null || echo 2)"
)

if command -v i686-w64-mingw32-g++-posix >/dev/null 2>&1 &&
    command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1; then
    "$root/scripts/windows/ci-check.sh"
fi
