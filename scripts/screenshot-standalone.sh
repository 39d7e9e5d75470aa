#!/usr/bin/env bash
# Starts the Standalone instrument on a virtual display and writes a PNG of its window:
#   scripts/screenshot-standalone.sh [build-dir] [output.png]
# The build folder must hold the Standalone target (cmake --build <dir> --target
# VantrelSampivo_Standalone). The capture tools (Xvfb, xwd, netpbm) are installed here
# when missing; nothing else in the project needs them.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="$(cd "${1:-$root/build}" && pwd)"
output="${2:-$build_dir/screenshots/standalone.png}"
app="$build_dir/VantrelSampivo_artefacts/Release/Standalone/Vantrel Sampivo"

if [ ! -x "$app" ]; then
    echo "no Standalone application at $app: build the VantrelSampivo_Standalone target first" >&2
    exit 1
fi

needed=()
command -v xvfb-run >/dev/null || needed+=(xvfb xauth)
command -v xwd >/dev/null || needed+=(x11-apps)
command -v xwininfo >/dev/null || needed+=(x11-utils)
{ command -v xwdtopnm >/dev/null && command -v pnmtopng >/dev/null; } || needed+=(netpbm)

if [ "${#needed[@]}" -gt 0 ]; then
    sudo_cmd=()
    [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
    export DEBIAN_FRONTEND=noninteractive
    "${sudo_cmd[@]}" apt-get update -qq
    "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${needed[@]}"
fi

mkdir -p "$(dirname "$output")"
output="$(cd "$(dirname "$output")" && pwd)/$(basename "$output")"

# Inside the virtual display: start the app, wait for its window to map and paint,
# capture that window alone, then close the app.
capture='
set -euo pipefail
app="$1"; output="$2"
"$app" >/dev/null 2>&1 &
app_pid=$!
trap "kill $app_pid 2>/dev/null || true; wait $app_pid 2>/dev/null || true" EXIT

window=""
for _ in $(seq 1 100); do
    window="$(xwininfo -root -tree 2>/dev/null | awk "/\"Vantrel Sampivo\"/ { print \$1; exit }")"
    [ -n "$window" ] && break
    sleep 0.2
done

if [ -z "$window" ]; then
    echo "the Standalone window did not appear" >&2
    exit 1
fi

# The editor paints on its first timer tick at the latest; give it two.
sleep 2.5
xwd -silent -id "$window" | xwdtopnm 2>/dev/null | pnmtopng > "$output"
'

xvfb-run -a -s "-screen 0 1024x768x24" bash -c "$capture" capture "$app" "$output"
echo "wrote $output"
