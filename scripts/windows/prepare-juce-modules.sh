#!/usr/bin/env bash
# Copies Debian's JUCE module sources into a build folder and makes the two changes
# that MinGW needs; one copy serves the i686 and the x86_64 build. The installed modules are never touched, and nothing of
# JUCE is committed: the copy is made again whenever the script or the package
# changes.
#
#   scripts/windows/prepare-juce-modules.sh <dest-dir>
set -euo pipefail
source "$(dirname "$0")/common.sh"

dest="${1:?destination folder}"
source_modules=/usr/share/juce/modules
stamp="$dest/.sampivo-patched"
stamp_value="$( (dpkg-query -W -f='${Version}' juce-modules-source; cat "$0") | sha256sum | cut -d' ' -f1)"

if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$stamp_value" ]; then
    echo "JUCE modules ready in $dest"
    exit 0
fi

rm -rf "$dest"
mkdir -p "$(dirname "$dest")"
cp -a "$source_modules" "$dest"

# Replaces exactly one line of a file, and fails loudly if the line is not there
# (a newer JUCE may have fixed or moved it).
replace_line() {
    FILE="$1" OLD="$2" NEW="$3" perl -0pi -e '
        my $count = () = /^\Q$ENV{OLD}\E\r?$/mg;
        die "prepare-juce-modules: expected one line \"$ENV{OLD}\" in $ENV{FILE}, found $count\n"
            unless $count == 1;
        s{^\Q$ENV{OLD}\E(\r?)$}{ my $eol = $1; (my $n = $ENV{NEW}) =~ s/\n/$eol\n/g; $n . $eol }me;
    ' "$1"
}

# 1. i686 MinGW-w64 supports __uuidof like the 64-bit compiler does; JUCE's
#    32-bit MinGW fallback would make every COM interface id a failing assertion.
#    The x86_64 build took the __uuidof branch already and is not changed by this.
replace_line "$dest/juce_core/native/juce_win32_ComSmartPtr.h" \
    '#if (JUCE_MINGW && JUCE_32BIT) || (! defined (_MSC_VER) && ! defined (__uuidof))' \
    '#if (! defined (_MSC_VER) && ! defined (__uuidof))'

# 2. Windows headers define 'boolean' as unsigned char; libjpeg must see the same
#    type with the system library too, not only with JUCE's bundled copy (on both
#    architectures).
loader="$dest/juce_graphics/image_formats/juce_JPEGLoader.cpp"
replace_line "$loader" \
    '#if JUCE_INCLUDE_JPEGLIB_CODE || ! defined (JUCE_INCLUDE_JPEGLIB_CODE)' \
    '#if JUCE_WINDOWS
 typedef unsigned char boolean;
 #define HAVE_BOOLEAN
#endif
#if JUCE_INCLUDE_JPEGLIB_CODE || ! defined (JUCE_INCLUDE_JPEGLIB_CODE)'

echo "$stamp_value" > "$stamp"
echo "JUCE modules ready in $dest"
