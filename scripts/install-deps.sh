#!/usr/bin/env bash
# Installs every Debian 12 package that building, testing and running the instrument
# needs. Safe to run again; uses sudo when not run as root.
set -euo pipefail

packages=(
    build-essential cmake pkg-config ccache git
    juce-modules-source
    libflac-dev libvorbis-dev libogg-dev libpng-dev libjpeg-dev zlib1g-dev
    libfreetype-dev libfontconfig1-dev libasound2-dev
    libx11-dev libxrandr-dev libxinerama-dev libxcursor-dev libxext-dev libgl-dev
    libgtest-dev libbenchmark-dev
    xvfb xauth fonts-dejavu-core fonts-liberation
    lame
    lilv-utils sordi lv2-dev
)

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
fi

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done

if [ "${#missing[@]}" -gt 0 ]; then
    if [ "${#sudo_cmd[@]}" -gt 0 ] && ! command -v sudo >/dev/null 2>&1; then
        echo "install-deps: these Debian packages are missing: ${missing[*]}" >&2
        echo "install-deps: run as root or install sudo (then run this again)" >&2
        exit 1
    fi
    export DEBIAN_FRONTEND=noninteractive
    "${sudo_cmd[@]}" apt-get update -qq
    "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
