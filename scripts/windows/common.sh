# Shared settings for the Windows cross-build scripts. Sourced, not run.

# shellcheck disable=SC2034
win_root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"

# Everything that outlives one build tree (codec libraries, downloaded sources, the
# 32-bit Wine root) lives in one cache folder outside the source tree, so that a
# fresh clone on the same machine reuses it.
# SAMPIVO_WIN_CACHE moves it; SAMPIVO_WIN32_CACHE, its older name, is still read.
win_cache="${SAMPIVO_WIN_CACHE:-${SAMPIVO_WIN32_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/sampivo-win32}}"

# The architectures built, as MinGW-w64 names their CPUs: i686 for 32-bit hosts,
# x86_64 for 64-bit hosts. SAMPIVO_WIN_ARCHS narrows a build to one of them.
win_archs="${SAMPIVO_WIN_ARCHS:-i686 x86_64}"
# The 32-bit triplet, for scripts that serve only the 32-bit build.
win_triplet=i686-w64-mingw32
win_suite=bookworm

# Debian's Windows source packages, unpacked once per version (fetch-sources.sh).
win_sources="$win_cache/debian-sources"

win_arch_triplet() { echo "$1-w64-mingw32"; }

# The folder inside a VST3 bundle's Contents that holds one architecture's binary.
win_arch_bundle_dir() {
    case "$1" in
        i686) echo x86-win ;;
        x86_64) echo x86_64-win ;;
        *) echo "unknown Windows architecture: $1 (i686 or x86_64)" >&2; return 1 ;;
    esac
}

# Debian package names of one architecture's cross compiler and binutils.
win_arch_packages() {
    local deb_arch="${1//_/-}"
    echo "g++-mingw-w64-$deb_arch-posix gcc-mingw-w64-$deb_arch-posix binutils-mingw-w64-$deb_arch"
}

# The time that goes into __DATE__ and __TIME__ (GCC honours SOURCE_DATE_EPOCH): the
# last commit's, so that the same sources give the same DLL; outside a git checkout,
# the newest modification time of the files that go into the build.
win_source_date_epoch() {
    if [ -n "${SOURCE_DATE_EPOCH:-}" ]; then
        echo "$SOURCE_DATE_EPOCH"
    elif git -C "$win_root" rev-parse --git-dir >/dev/null 2>&1; then
        git -C "$win_root" log -1 --format=%ct
    else
        find "$win_root/CMakeLists.txt" "$win_root/cmake" "$win_root/source" "$win_root/resources" \
            -type f -printf '%T@\n' | sort -n | tail -n 1 | cut -d. -f1
    fi
}

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
