#!/usr/bin/env bash
# A fuzzing campaign: each libFuzzer target in turn with both cores (-jobs=2), for a
# given time each, into a corpus that grows from run to run and is merged (minimised)
# afterwards. Prints executions, coverage and findings per target.
#
#   scripts/fuzz-campaign.sh [seconds-per-target] [targets...]
#
# Targets: state, audio (both by default). The libFuzzer build (clang, ASan+UBSan) lives
# in build-fuzz/ and is made here if it is missing; corpora in build-fuzz/corpus/<target>,
# findings in build-fuzz/findings/ (see docs/FUZZING.md).
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="${SAMPIVO_FUZZ_BUILD_DIR:-$root/build-fuzz}"
seconds="${1:-1800}"
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(state audio)
jobs="${SAMPIVO_FUZZ_JOBS:-2}"
# Seconds one input may take. libFuzzer measures wall time, so on a machine that is busy
# with other work a short limit reports inputs that merely waited for a core.
timeout="${SAMPIVO_FUZZ_TIMEOUT:-60}"

declare -A max_len=([state]=8192 [audio]=32768)

if [ ! -f "$build/CMakeCache.txt" ]; then
    CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
        -DSAMPIVO_FUZZ=ON -DSAMPIVO_SANITIZER=address -DSAMPIVO_BUILD_BENCH=OFF
fi
cmake --build "$build" --parallel "$jobs" $(for t in "${targets[@]}"; do echo --target "sampivo_${t}_fuzzer"; done)

mkdir -p "$build/findings"
summary=()

for target in "${targets[@]}"; do
    fuzzer="$build/tests/sampivo_${target}_fuzzer"
    corpus="$build/corpus/$target"
    logs="$build/logs/$target"
    rm -rf "$logs" && mkdir -p "$corpus" "$logs" && touch "$logs/started"
    echo "==> $target: $jobs jobs for $seconds s into $corpus"

    # Each job logs to fuzz-<n>.log in the working folder; an empty corpus starts with
    # the target's seeds.
    (cd "$logs" && "$fuzzer" -jobs="$jobs" -workers="$jobs" -max_total_time="$seconds" \
        -max_len="${max_len[$target]}" -timeout="$timeout" -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$build/findings/$target-" "$corpus" > /dev/null 2>&1) || true

    # Each job's last status line ("#<executions> ...") counts, whether it ran to the
    # end or stopped on a finding.
    executions=$(for log in "$logs"/fuzz-*.log; do grep -o '^#[0-9][0-9]*' "$log" | tail -1 | tr -d '#'; done | awk '{ s += $1 } END { print s + 0 }')

    # The merge keeps the inputs that reach new coverage; its last line gives the
    # coverage of the whole corpus.
    merged="$build/corpus/$target.merged"
    rm -rf "$merged" && mkdir -p "$merged"
    "$fuzzer" -merge=1 -max_len="${max_len[$target]}" -timeout="$timeout" -rss_limit_mb=2048 "$merged" "$corpus" > "$logs/merge.log" 2>&1
    rm -rf "$corpus" && mv "$merged" "$corpus"
    coverage=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$logs/merge.log" | tail -1)
    findings=$(find "$build/findings" -name "$target-*" -newer "$logs/started" | wc -l)

    summary+=("$target: $executions executions in $seconds s with $jobs jobs ($(( executions / seconds )) per second), corpus $(ls "$corpus" | wc -l) inputs, $coverage, findings $findings")
done

echo
printf '%s\n' "${summary[@]}"
ls "$build/findings" 2>/dev/null | sed 's/^/finding: /' || true
