#!/usr/bin/env bash
# The mutation check: plants each fault of tests/mutants.txt in the code, one at a
# time, rebuilds and runs the tests, and reports whether the suite noticed.
#
#   scripts/mutation-check.sh                 every fault
#   scripts/mutation-check.sh envelope text-  only faults whose id starts with a word
#                                             given (an area such as "envelope", or
#                                             a full id such as "state-magic")
#   scripts/mutation-check.sh --list          check that every fault's text is still
#                                             in its file, without building
#
# One line per fault: KILLED (and the first test that failed), SURVIVED, or
# NOT-APPLIED (its text is missing or not unique, or the changed code does not
# build); then "killed K of N". Not part of CI: a full run takes tens of minutes.
#
# How one fault is judged:
#  1. The text is changed and the suite named in its "notice:" field is rebuilt and
#     run with --stop-on-failure, so most faults are caught within a minute.
#  2. Only if that suite passes is everything else built and run, the slow stress,
#     fuzz and renderer tests included (--stop-on-failure again). So no test
#     is left out: a fault is reported SURVIVED only once the whole suite has passed
#     with it in place.
#  3. The file is put back, also when the script is interrupted or fails.
#
# Environment:
#   SAMPIVO_MUTATION_BUILD_DIR  the build tree (default: build-mutants). It is
#                               configured like the normal build without the
#                               benchmark, so ccache shares JUCE's objects with it.
#   SAMPIVO_MUTANTS             the list (default: tests/mutants.txt)
#   SAMPIVO_MUTATION_TIMEOUT    seconds per test (default 300); a test that hangs
#                               under a fault counts as noticing it
#   SAMPIVO_MUTATION_NO_BASELINE=1  skip the first full run without faults
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="${SAMPIVO_MUTATION_BUILD_DIR:-$root/build-mutants}"
mutants="${SAMPIVO_MUTANTS:-$root/tests/mutants.txt}"
timeout="${SAMPIVO_MUTATION_TIMEOUT:-300}"
jobs="$(nproc 2>/dev/null || echo 2)"

export CCACHE_BASEDIR="$root"
export CCACHE_NOHASHDIR=1

list_only=0
filters=()
for argument in "$@"; do
    case "$argument" in
        --list) list_only=1 ;;
        -h|--help) sed -n '2,34p' "$0"; exit 0 ;;
        *) filters+=("$argument") ;;
    esac
done

# The editor suites need a display: run the whole check inside one Xvfb.
if [ "$list_only" = 0 ] && [ -z "${DISPLAY:-}" ] && command -v xvfb-run >/dev/null 2>&1; then
    exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" "$@"
fi

#-- the list ---------------------------------------------------------------------------
ids=() files=() finds=() replaces=() notices=()

add_mutant() {
    [ -n "$1" ] || return 0
    if [ -z "$2" ] || [ -z "$3" ] || [ -z "$5" ]; then
        echo "mutants: [$1] needs file, find and notice" >&2
        exit 2
    fi
    ids+=("$1") files+=("$2") finds+=("$3") replaces+=("$4") notices+=("$5")
}

id="" file="" find="" replace="" notice=""
while IFS= read -r line || [ -n "$line" ]; do
    case "$line" in
        '#'*|'') continue ;;
        '['*']')
            add_mutant "$id" "$file" "$find" "$replace" "$notice"
            id="${line#[}" id="${id%]}" file="" find="" replace="" notice="" ;;
        file:*)    file="$(sed -E 's/^file:[ ]*//' <<<"$line")" ;;
        find:*)    find="$(sed -E 's/^find:[ ]?[ ]*//' <<<"$line")" ;;
        replace:*) replace="$(sed -E 's/^replace:[ ]*//' <<<"$line")" ;;
        notice:*)  notice="$(sed -E 's/^notice:[ ]*//' <<<"$line")" ;;
        why:*) ;;
        *) echo "mutants: unreadable line: $line" >&2; exit 2 ;;
    esac
done <"$mutants"
add_mutant "$id" "$file" "$find" "$replace" "$notice"

selected() {
    [ "${#filters[@]}" = 0 ] && return 0
    local filter
    for filter in "${filters[@]}"; do
        [[ "$1" == "$filter" || "$1" == "$filter"-* || ( "$filter" == *- && "$1" == "$filter"* ) ]] && return 0
    done
    return 1
}

# substitute <file> <find> <replace>: changes the one occurrence of find. Exit status
# 0 done, 1 not found, 2 found more than once, 3 file unreadable. In find and
# replace, \n is a line break and \\ a backslash.
substitute() {
    FIND="$2" REPLACE="$3" perl -e '
        my ($path) = @ARGV;
        my ($find, $replace) = ($ENV{FIND}, $ENV{REPLACE});
        for ($find, $replace) { s/\\(.)/$1 eq "n" ? "\n" : $1/ge; }
        open (my $in, "<", $path) or exit 3;
        local $/; my $text = <$in>; close $in;
        my $count = () = $text =~ /\Q$find\E/g;
        exit 1 if $count == 0;
        exit 2 if $count > 1;
        $text =~ s/\Q$find\E/$replace/;
        open (my $out, ">", $path) or exit 3;
        print $out $text; close $out;
        exit 0;' "$1"
}

#-- putting files back -----------------------------------------------------------------
backup_dir="$(mktemp -d)"
mutated_file=""

restore() {
    if [ -n "$mutated_file" ]; then
        cp "$backup_dir/original" "$root/$mutated_file"
        mutated_file=""
    fi
}

cleanup() {
    restore
    rm -rf "$backup_dir"
}
trap cleanup EXIT
trap 'echo "interrupted: the file is put back" >&2; exit 130' INT TERM

if [ "$list_only" = 1 ]; then
    status=0
    for i in "${!ids[@]}"; do
        selected "${ids[$i]}" || continue
        cp "$root/${files[$i]}" "$backup_dir/check"
        outcome=0
        substitute "$backup_dir/check" "${finds[$i]}" "${replaces[$i]}" || outcome=$?
        case "$outcome" in
            0) echo "ok          ${ids[$i]}" ;;
            1) echo "NOT FOUND   ${ids[$i]}  (${files[$i]})"; status=1 ;;
            2) echo "AMBIGUOUS   ${ids[$i]}  (${files[$i]})"; status=1 ;;
            *) echo "NO FILE     ${ids[$i]}  (${files[$i]})"; status=1 ;;
        esac
    done
    exit "$status"
fi

#-- building and testing -------------------------------------------------------------
log_dir="$build_dir/mutation-logs"

configure() {
    cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-Release}" -DSAMPIVO_BUILD_BENCH=OFF >/dev/null
}

# What CTest needs: the suites, the renderer and
# the bundles they load (the Standalone application and the tools that no test runs
# are left out).
all_targets() {
    cmake --build "$build_dir" --target help \
        | sed -nE 's/^\.\.\. ([A-Za-z0-9_-]+).*/\1/p' \
        | grep -E '^(sampivo_[a-z_]+_tests|sampivo-render|VantrelSampivo_VST3|VantrelSampivo_LV2)$'
}

# The targets a label's tests run.
label_targets() {
    local label="$1"
    case "$label" in
        renderer) echo "sampivo_renderer_tests sampivo-render" ;;
        lv2) echo "VantrelSampivo_LV2" ;;
        *) echo "sampivo_${label}_tests" ;;
    esac
}

build() {
    local targets=() target
    for target in "$@"; do targets+=(--target "$target"); done
    cmake --build "$build_dir" --parallel "$jobs" "${targets[@]}"
}

# run_ctest <log> <ctest args...>: true when every test passed.
run_ctest() {
    local log="$1"
    shift
    (cd "$build_dir" && ctest --output-on-failure --stop-on-failure --timeout "$timeout" \
        --parallel "$jobs" "$@") >>"$log" 2>&1
}

# The first test that CTest reported as not passed, with how it ended.
first_failure() {
    perl -ne 'if (/Test +#\d+: (.+?) \.*\*+(\w[\w ]*?)\s+[\d.]+ sec/) { print "$1 ($2)\n"; exit }' "$1"
}

mkdir -p "$build_dir"
configure
mkdir -p "$log_dir"
mapfile -t targets < <(all_targets)

started=$(date +%s)

if [ "${SAMPIVO_MUTATION_NO_BASELINE:-0}" != 1 ]; then
    echo "==> baseline: building and running every test without a fault"
    : >"$log_dir/baseline.log"
    if ! build "${targets[@]}" >>"$log_dir/baseline.log" 2>&1 || ! run_ctest "$log_dir/baseline.log"; then
        echo "the suite fails without any fault; see $log_dir/baseline.log" >&2
        exit 1
    fi
    echo "==> baseline passed in $(( $(date +%s) - started )) s"
fi

total=0 killed=0 survived=0 not_applied=0
survivors=()

for i in "${!ids[@]}"; do
    selected "${ids[$i]}" || continue
    total=$((total + 1))
    mutant_started=$(date +%s)
    id="${ids[$i]}" file="${files[$i]}" label="${notices[$i]}"
    log="$log_dir/$id.log"
    : >"$log"

    cp "$root/$file" "$backup_dir/original"
    mutated_file="$file"
    outcome=0
    substitute "$root/$file" "${finds[$i]}" "${replaces[$i]}" || outcome=$?

    if [ "$outcome" != 0 ]; then
        mutated_file=""
        reason="text not found"
        [ "$outcome" = 2 ] && reason="text not unique"
        [ "$outcome" = 3 ] && reason="no such file"
        printf '%-12s %-30s %s\n' "NOT-APPLIED" "$id" "$reason"
        not_applied=$((not_applied + 1))
        continue
    fi

    # shellcheck disable=SC2046
    if ! build $(label_targets "$label") >>"$log" 2>&1; then
        restore
        printf '%-12s %-30s %s\n' "NOT-APPLIED" "$id" "does not build (see $log)"
        not_applied=$((not_applied + 1))
        continue
    fi

    verdict="" by=""
    if ! run_ctest "$log" -L "^${label}\$"; then
        verdict=KILLED by="$(first_failure "$log")"
    elif ! build "${targets[@]}" >>"$log" 2>&1; then
        verdict=NOT-APPLIED by="does not build (see $log)"
    elif ! run_ctest "$log" -LE "^${label}\$"; then
        verdict=KILLED by="$(first_failure "$log")"
    else
        verdict=SURVIVED by="every test passed"
    fi

    restore
    printf '%-12s %-30s %s  [%d s]\n' "$verdict" "$id" "${by:-a test failed (see $log)}" \
        $(( $(date +%s) - mutant_started ))

    case "$verdict" in
        KILLED) killed=$((killed + 1)) ;;
        SURVIVED) survived=$((survived + 1)); survivors+=("$id") ;;
        *) not_applied=$((not_applied + 1)) ;;
    esac
done

# Leave the tree built from the unchanged code.
build "${targets[@]}" >"$log_dir/final.log" 2>&1 || true

echo "==> $survived survived${survivors[*]:+: ${survivors[*]}}; $not_applied not applied"
echo "==> took $(( $(date +%s) - started )) s; logs in $log_dir"
echo "killed $killed of $total"
