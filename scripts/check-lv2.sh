#!/usr/bin/env bash
# Checks a built LV2 bundle with the LV2 project's own tools (Debian's lilv-utils,
# sordi and lv2-dev), so that what hosts read from the bundle is judged by code that
# is not JUCE's:
#
#   scripts/check-lv2.sh CHECK BUNDLE URI [PARAMETERS]
#
#   listed      lv2ls finds the plug-in URI in the bundle's folder
#   instrument  lv2info shows an instrument with stereo audio out and an atom input,
#               which takes MIDI, and the bundle declares PARAMETERS parameters
#   turtle      sord_validate finds no error in the bundle's Turtle files, checked
#               against the LV2 schemas
#
# LV2_SCHEMA_DIR is the folder of the installed LV2 schema bundles (default
# /usr/lib/lv2); lilv needs them to know plug-in classes and port types.
set -euo pipefail

check="$1" bundle="$2" uri="$3" parameters="${4:-}"
schema_dir="${LV2_SCHEMA_DIR:-/usr/lib/lv2}"

# Only the built bundle's folder and the schema bundles: a copy installed in ~/.lv2
# must not be the one that is checked.
bundle="$(cd "$bundle" && pwd)"
LV2_PATH="$(dirname "$bundle"):$schema_dir"
export LV2_PATH

fail() {
    echo "check-lv2 $check: $*" >&2
    exit 1
}

case "$check" in
    listed)
        lv2ls | grep -Fxq "$uri" || fail "lv2ls does not list $uri (LV2_PATH=$LV2_PATH)"
        ;;

    instrument)
        info="$(lv2info "$uri")" || fail "lv2info fails on $uri"
        echo "$info"
        grep -Eq '^[[:space:]]*Class:[[:space:]]+Instrument Plugin$' <<<"$info" \
            || fail "not an instrument (lv2:InstrumentPlugin)"

        # lv2info prints a "Port N:" block with the port's types.
        read -r audio_out atom_in < <(awk '
            function finish() { if (audio && output) a++; if (atom && input) m++ }
            /^\tPort [0-9]+:/ { finish(); audio = output = atom = input = 0 }
            /#AudioPort$/  { audio = 1 }
            /#OutputPort$/ { output = 1 }
            /#InputPort$/  { input = 1 }
            /#AtomPort$/   { atom = 1 }
            END { finish(); print a + 0, m + 0 }' <<<"$info")
        [ "$audio_out" = 2 ] || fail "$audio_out audio outputs, expected 2"
        [ "$atom_in" = 1 ] || fail "$atom_in atom inputs, expected 1"

        # What lv2info leaves out is read from the triples: that the atom input takes
        # MIDI, and the parameters, which are patch:writable properties of the plug-in
        # (not control ports).
        triples="$(for ttl in "$bundle"/*.ttl; do sordi "$ttl" "file://$bundle/"; done)"
        midi_in="$(awk '
            / <http:\/\/lv2plug.in\/ns\/lv2core#InputPort> \.$/ { input[$1] = 1 }
            / <http:\/\/lv2plug.in\/ns\/ext\/midi#MidiEvent> \.$/ { midi[$1] = 1 }
            END { for (port in midi) if (port in input) n++; print n + 0 }' <<<"$triples")"
        [ "$midi_in" = 1 ] || fail "$midi_in MIDI inputs, expected 1"
        writable="$(grep -c "^<$uri> <http://lv2plug.in/ns/ext/patch#writable> " <<<"$triples" || true)"
        [ "$writable" = "$parameters" ] || fail "$writable writable parameters, expected $parameters"
        ;;

    turtle)
        schemas=("$schema_dir"/*.lv2/*.ttl)
        output="$(sord_validate "${schemas[@]}" "$bundle"/*.ttl 2>&1)" || fail "sord_validate failed: $output"
        echo "$output"
        grep -q "^Found 0 errors " <<<"$output" || fail "sord_validate reports errors"
        ;;

    *)
        fail "unknown check (listed, instrument or turtle)"
        ;;
esac
echo "check-lv2 $check: ok"
