#!/usr/bin/env bash
# Fetches the Debian source packages of the codec libraries that JUCE's Debian
# modules expect from the system (names in codec-packages.txt), in whatever version
# Debian bookworm carries today, and unpacks each version once.
#
# apt runs with a private configuration (a deb-src entry signed-by the Debian archive
# keyring, and its own lists in the cache), so the machine's apt set-up is left
# untouched. apt checks the Release file's signature when it reads the index, and the
# checksums of every file it downloads; files already in the cache are checked here
# against the SHA-256 sums of that same signed index. A warm cache needs no network:
# the index is refreshed when it is older than SAMPIVO_WIN_INDEX_MAX_AGE minutes
# (default 360), and when that refresh fails the index already fetched is used.
#
#   scripts/windows/fetch-sources.sh <versions-file>
#
# Writes "<name> <version> <source-dir>" lines to <versions-file>.
set -euo pipefail
source "$(dirname "$0")/common.sh"

versions_out="${1:?file to write the versions to}"
names_file="$win_root/scripts/windows/codec-packages.txt"
mapfile -t names < <(sed -e 's/#.*//' -e '/^[[:space:]]*$/d' "$names_file" | awk '{ print $1 }')

apt_install dpkg-dev debian-archive-keyring

apt_dir="$win_cache/apt-sources"
downloads="$win_sources/downloads"
mkdir -p "$apt_dir/lists/partial" "$apt_dir/cache/archives/partial" "$apt_dir/parts" "$downloads"

# One fetch at a time per cache: apt's lists and the unpacked folders are shared.
exec 8>"$win_cache/debian-sources.lock"
flock 8

echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $(debian_mirror) $win_suite main" \
    > "$apt_dir/sources.list"
apt_opts=(
    -o "Dir::Etc::SourceList=$apt_dir/sources.list"
    -o "Dir::Etc::SourceParts=$apt_dir/parts"
    -o "Dir::State::Lists=$apt_dir/lists"
    -o "Dir::Cache=$apt_dir/cache"
    -o "APT::Sandbox::User=root"
    -o "Acquire::Retries=1"
)

have_index() { compgen -G "$apt_dir/lists/*Sources*" >/dev/null; }
max_age="${SAMPIVO_WIN_INDEX_MAX_AGE:-360}"
if ! have_index || [ -n "$(find "$apt_dir/lists" -maxdepth 1 -name '*Sources*' -mmin +"$max_age" | head -n 1)" ]; then
    if ! apt-get "${apt_opts[@]}" -qq update 8>&-; then
        have_index || { echo "fetch-sources: cannot read the $win_suite source index" >&2; exit 1; }
        echo "fetch-sources: index refresh failed; using the index fetched before" >&2
    fi
    # apt leaves an index alone when it has not changed; its age counts from this check.
    find "$apt_dir/lists" -maxdepth 1 -name '*Sources*' -exec touch {} +
fi

# The newest version of a source package in the index, and the SHA-256 sums of its
# files as the signed index gives them.
newest_version() {
    local best="" version
    while read -r version; do
        if [ -z "$best" ] || dpkg --compare-versions "$version" gt "$best"; then
            best="$version"
        fi
    done < <(apt-cache "${apt_opts[@]}" showsrc --only-source "$1" 2>/dev/null | awk '/^Version:/ { print $2 }')
    echo "$best"
}
index_checksums() {
    apt-cache "${apt_opts[@]}" showsrc --only-source "$1" 2>/dev/null | awk -v version="$2" '
        /^Version:/ { current = ($2 == version) }
        /^[^ ]/ { in_sums = ($1 == "Checksums-Sha256:") ; next }
        current && in_sums && NF == 3 { print $1 "  " $3 }'
}

: > "$versions_out.tmp"
for name in "${names[@]}"; do
    version="$(newest_version "$name")"
    if [ -z "$version" ]; then
        echo "fetch-sources: $name is not in $win_suite main" >&2
        exit 1
    fi
    sums="$(index_checksums "$name" "$version")"
    if [ -z "$sums" ]; then
        echo "fetch-sources: no checksums for $name $version in the index" >&2
        exit 1
    fi
    # Download only what is missing or does not match the index.
    if ! (cd "$downloads" && sha256sum --quiet -c - <<<"$sums" >/dev/null 2>&1); then
        (cd "$downloads" && apt-get "${apt_opts[@]}" -qq source --download-only "$name=$version" 8>&-)
        (cd "$downloads" && sha256sum --quiet -c - <<<"$sums")
    fi
    file_version="${version#*:}"   # the epoch is not part of file names
    unpacked="$win_sources/${name}_$file_version"
    if [ ! -d "$unpacked" ]; then
        # dpkg-source links the upstream tarball beside the folder it makes: a
        # scratch folder keeps those links out of the cache.
        scratch="$win_sources/.unpack"
        rm -rf "$scratch"
        mkdir -p "$scratch"
        dpkg-source --no-check -x "$downloads/${name}_$file_version.dsc" "$scratch/src" >/dev/null
        mv "$scratch/src" "$unpacked"
        rm -rf "$scratch"
    fi
    echo "$name $version $unpacked" >> "$versions_out.tmp"
    echo "  $name $version"
done
mv "$versions_out.tmp" "$versions_out"
