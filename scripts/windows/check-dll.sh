#!/usr/bin/env bash
# Checks a built Windows plug-in binary the way a Windows host will see it:
#   - in Contents/x86-win: a PE32 DLL for i386 (optional-header magic 010b);
#     in Contents/x86_64-win: a PE32+ DLL for x86-64 (magic 020b);
#   - its exports are exactly the VST3 entry points GetPluginFactory, InitDll and
#     ExitDll, undecorated (no stdcall "@n" suffix);
#   - it imports no MinGW runtime DLL (libstdc++, libgcc, libwinpthread, ...) and
#     none of the codec libraries: a host machine has none of them.
#
#   scripts/windows/check-dll.sh [--arch i686|x86_64] <dll>
#
# Without --arch, the architecture follows from the bundle folder the DLL is in.
set -euo pipefail

arch=""
if [ "${1:-}" = "--arch" ]; then
    arch="${2:?architecture}"
    shift 2
fi
dll="${1:?path to the plug-in DLL}"

if [ ! -f "$dll" ]; then
    echo "check-dll: no such file: $dll" >&2
    exit 1
fi
if [ -z "$arch" ]; then
    case "$(basename "$(dirname "$dll")")" in
        x86-win) arch=i686 ;;
        x86_64-win) arch=x86_64 ;;
        *) echo "check-dll: say --arch i686 or --arch x86_64 for $dll" >&2; exit 1 ;;
    esac
fi
case "$arch" in
    i686) format=pei-i386; magic=010b; kind="PE32 i386" ;;
    x86_64) format=pei-x86-64; magic=020b; kind="PE32+ x86-64" ;;
    *) echo "check-dll: unknown architecture $arch" >&2; exit 1 ;;
esac
objdump="${OBJDUMP:-$arch-w64-mingw32-objdump}"
echo "check-dll: $dll ($arch)"

headers="$("$objdump" -p "$dll")"
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
pass() { echo "ok:   $*"; }

# Format: the optional header's magic, 0x10b for PE32 and 0x20b for PE32+, and the
# machine as objdump names it.
if grep -q "file format $format\$" <<<"$headers" && grep -Eq "^Magic[[:space:]]+$magic\b" <<<"$headers"; then
    pass "$kind"
else
    fail "not a $kind image: $(grep -m1 'file format' <<<"$headers"), $(grep -m1 '^Magic' <<<"$headers")"
fi
if grep -Eq "^Characteristics.*" <<<"$headers" && grep -q "DLL" <<<"$(grep -A12 '^Characteristics' <<<"$headers")"; then
    pass "DLL"
else
    fail "not marked as a DLL"
fi

# Exports: the names listed under the export name table.
exports="$(awk '/^\[Ordinal\/Name Pointer\] Table/ { inside = 1; next }
                inside && /^[[:space:]]*\[/ { print $NF; next }
                inside && NF == 0 { inside = 0 }' <<<"$headers" | sort)"
expected="$(printf '%s\n' ExitDll GetPluginFactory InitDll)"
if [ "$exports" = "$expected" ]; then
    pass "exports: $(tr '\n' ' ' <<<"$exports")"
else
    fail "exports are '$(tr '\n' ' ' <<<"$exports")', expected '$(tr '\n' ' ' <<<"$expected")'"
fi

# Imports: every DLL named in the import tables.
imports="$(awk '/DLL Name:/ { print $3 }' <<<"$headers" | sort -fu)"
echo "      imports: $(tr '\n' ' ' <<<"$imports")"
forbidden="$(grep -Ei '^(lib.*|zlib1|.*mingw.*|.*pthread.*)\.dll$' <<<"$imports" || true)"
if [ -z "$forbidden" ]; then
    pass "no runtime or codec DLL imported"
else
    fail "imports non-system DLLs: $(tr '\n' ' ' <<<"$forbidden")"
fi

if [ "$failures" -ne 0 ]; then
    echo "DLL check: $failures failed"
    exit 1
fi
echo "DLL check passed"
