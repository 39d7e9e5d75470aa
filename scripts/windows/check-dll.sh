#!/usr/bin/env bash
# Checks the built Windows plug-in binary the way a 32-bit Windows host will see it:
#   - a PE32 DLL for i386;
#   - its exports are exactly the VST3 entry points GetPluginFactory, InitDll and
#     ExitDll, undecorated (no stdcall "@n" suffix);
#   - it imports no MinGW runtime DLL (libstdc++, libgcc, libwinpthread, ...) and
#     none of the codec libraries: a host machine has none of them.
#
#   scripts/windows/check-dll.sh "<bundle>/Contents/x86-win/Vantrel Sampivo.vst3"
set -euo pipefail

dll="${1:?path to the plug-in DLL}"
objdump="${OBJDUMP:-i686-w64-mingw32-objdump}"

if [ ! -f "$dll" ]; then
    echo "check-dll: no such file: $dll" >&2
    exit 1
fi

headers="$("$objdump" -p "$dll")"
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
pass() { echo "ok:   $*"; }

# Format: the optional header's magic 0x10b is PE32 (0x20b would be PE32+), and the
# machine is i386.
if grep -q "file format pei-i386" <<<"$headers" && grep -Eq "^Magic[[:space:]]+010b" <<<"$headers"; then
    pass "PE32 i386"
else
    fail "not a PE32 i386 image: $(grep -m1 'file format' <<<"$headers")"
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
