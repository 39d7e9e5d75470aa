#!/usr/bin/env bash
# Downloads the pinned Debian source packages of the codec libraries that JUCE's
# Debian modules expect from the system, checks them against codec-sources.lock and
# unpacks them. apt runs with a private configuration (a temporary deb-src entry
# and its own lists), so the machine's apt set-up is left untouched.
#
#   scripts/windows/fetch-sources.sh <dest-dir>         fetch, verify, unpack
#   scripts/windows/fetch-sources.sh --record <dest>    rewrite the checksums (after changing a pin)
set -euo pipefail
source "$(dirname "$0")/common.sh"

record=0
if [ "${1:-}" = "--record" ]; then
    record=1
    shift
fi
dest="${1:?destination folder}"
lock="$win_root/scripts/windows/codec-sources.lock"

apt_install dpkg-dev debian-archive-keyring

apt_dir="$win_cache/apt"
mkdir -p "$apt_dir/lists/partial" "$apt_dir/cache/archives/partial" "$apt_dir/parts" "$dest"
echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $(debian_mirror) $win_suite main" \
    > "$apt_dir/sources.list"
apt_opts=(
    -o "Dir::Etc::SourceList=$apt_dir/sources.list"
    -o "Dir::Etc::SourceParts=$apt_dir/parts"
    -o "Dir::State::Lists=$apt_dir/lists"
    -o "Dir::Cache=$apt_dir/cache"
    -o "APT::Sandbox::User=root"
)

mapfile -t pins < <(awk '$1 == "source" { print $2 "=" $3 }' "$lock")
downloads="$dest/downloads"
mkdir -p "$downloads"

# Only fetch when a pinned file is missing: a warm cache needs no network.
need_fetch=0
for pin in "${pins[@]}"; do
    name="${pin%%=*}"
    version="${pin#*=}"
    version="${version#*:}"   # the epoch is not part of file names
    [ -f "$downloads/${name}_${version}.dsc" ] || need_fetch=1
done
while read -r file; do
    [ -f "$downloads/$file" ] || need_fetch=1
done < <(awk '$1 == "sha256" { print $3 }' "$lock")

if [ "$need_fetch" -eq 1 ]; then
    apt-get "${apt_opts[@]}" -qq update
    for pin in "${pins[@]}"; do
        (cd "$downloads" && apt-get "${apt_opts[@]}" -qq source --download-only "$pin") || {
            echo "The pinned source $pin is no longer in $win_suite main; update codec-sources.lock" >&2
            exit 1
        }
    done
fi

if [ "$record" -eq 1 ]; then
    {
        grep '^source ' "$lock"
        (cd "$downloads" && sha256sum -- *.dsc *.tar.* | sort -k 2 | sed 's/^/sha256 /')
    } > "$lock.new"
    {
        sed -n '/^#/p' "$lock"
        cat "$lock.new"
    } > "$lock.tmp"
    mv "$lock.tmp" "$lock"
    rm -f "$lock.new"
fi

# Every file must match its recorded checksum; the .dsc files in turn pin the tarballs.
awk '$1 == "sha256" { print $2 "  " $3 }' "$lock" | (cd "$downloads" && sha256sum --quiet -c -)

for pin in "${pins[@]}"; do
    name="${pin%%=*}"
    version="${pin#*=}"
    version="${version#*:}"
    if [ ! -d "$dest/$name" ]; then
        rm -rf "$dest/$name.tmp"
        dpkg-source --no-check -x "$downloads/${name}_${version}.dsc" "$dest/$name.tmp" >/dev/null
        mv "$dest/$name.tmp" "$dest/$name"
    fi
done
echo "Sources ready in $dest"
