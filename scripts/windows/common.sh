# Shared settings for the Windows cross-build scripts. Sourced, not run.

# shellcheck disable=SC2034
win_root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"

# Everything that outlives one build tree (codec libraries, downloaded sources, the
# 32-bit Wine root) lives in one cache folder outside the source tree, so that a
# fresh clone on the same machine reuses it.
win_cache="${SAMPIVO_WIN32_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/sampivo-win32}"

win_triplet=i686-w64-mingw32
win_suite=bookworm

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

# Installs the Debian packages that are missing, and nothing else.
apt_install() {
    local missing=() package
    for package in "$@"; do
        if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
            missing+=("$package")
        fi
    done
    if [ "${#missing[@]}" -gt 0 ]; then
        as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
    fi
}

# The Debian mirror that apt on this machine already uses for the main archive;
# the source packages and the Wine root come from the same place.
debian_mirror() {
    local uri
    uri="$(apt-get indextargets --format '$(REPO_URI)' 'Identifier: Packages' 2>/dev/null \
            | grep -v -e security -e updates | head -n 1)"
    if [ -z "$uri" ]; then
        echo "no Debian mirror found in apt's configuration" >&2
        return 1
    fi
    echo "${uri%/}"
}

# Prints elapsed seconds for one named step, so that build logs carry step times.
step_start() { step_name="$1"; step_t0=$(date +%s); echo "==> $step_name"; }
step_end() { echo "<== $step_name: $(( $(date +%s) - step_t0 )) s"; }
