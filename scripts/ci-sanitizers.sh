#!/usr/bin/env bash
# Sanitizer runs for CI: the whole test suite under AddressSanitizer with
# UndefinedBehaviorSanitizer (build-asan), and the thread stress tests under
# ThreadSanitizer (build-tsan). Any report fails the run. Prints the wall time of
# every step.
#
#   scripts/ci-sanitizers.sh            both
#   scripts/ci-sanitizers.sh address    ASan+UBSan only
#   scripts/ci-sanitizers.sh thread     TSan only
#
# SAMPIVO_SANITIZER_BUILD_ROOT moves the two build folders (default: the repository).
# Dependencies are installed by scripts/install-deps.sh (the normal test command runs
# it first in CI).
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_root="${SAMPIVO_SANITIZER_BUILD_ROOT:-$root}"
suppressions="$root/scripts/sanitizers"
which="${1:-all}"

# The stress tests: threads hammering the shared state, the processor, the loader and
# the bundle. A timing-dependent fault may hide from one run, so they run
# SAMPIVO_STRESS_RUNS times (default 3), each with a seed of its own; a failure names
# its seed, and SAMPIVO_STRESS_SEED=<seed> replays the same random choices.
stress_tests='^reliability\.(ProcessorStress|FiniteOutput)\.'
stress_runs="${SAMPIVO_STRESS_RUNS:-3}"

step() {
    local name="$1"
    shift
    local started
    started=$(date +%s)
    echo "==> $name"
    "$@"
    echo "==> $name took $(( $(date +%s) - started )) s"
}

# configure_and_build <dir> <sanitizer> [targets]: no targets builds everything.
configure_and_build() {
    local dir="$1" sanitizer="$2" targets="${3:-}"
    SAMPIVO_BUILD_TARGETS="$targets" BUILD_TYPE=RelWithDebInfo "$root/scripts/build.sh" "$dir" \
        -DSAMPIVO_SANITIZER="$sanitizer" \
        -DSAMPIVO_BUILD_BENCH=OFF \
        -DSAMPIVO_PLUGIN_FORMATS=VST3
}

# run_stress <dir> <runs>: the stress tests, runs times, each with a new seed.
run_stress() {
    local dir="$1" runs="$2" run seed
    for run in $(seq 1 "$runs"); do
        seed=$(( (RANDOM << 15 | RANDOM) + run ))
        echo "--- stress run $run of $runs, SAMPIVO_STRESS_SEED=$seed"
        SAMPIVO_STRESS_SEED=$seed run_ctest "$dir" -R "$stress_tests" \
            || { echo "stress run failed: replay with SAMPIVO_STRESS_SEED=$seed"; return 1; }
    done
}

# Tests need a display for the editors; Xvfb as in the normal test run.
run_ctest() {
    local dir="$1"
    shift
    (cd "$dir" && xvfb-run -a -s "-screen 0 1280x1024x24" \
        ctest --output-on-failure --timeout 900 --parallel "$(nproc 2>/dev/null || echo 2)" "$@")
}

# Every report ends the test process with a failure, so CTest sees it. LeakSanitizer
# runs with AddressSanitizer; suppressions cover only system libraries.
export ASAN_OPTIONS="halt_on_error=1:detect_leaks=1:strict_init_order=1"
export LSAN_OPTIONS="suppressions=$suppressions/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:suppressions=$suppressions/ubsan.supp"
export TSAN_OPTIONS="halt_on_error=1:exitcode=66:second_deadlock_stack=1:suppressions=$suppressions/tsan.supp"

total_started=$(date +%s)

if [ "$which" = all ] || [ "$which" = address ]; then
    step "build-asan (ASan+UBSan, RelWithDebInfo)" configure_and_build "$build_root/build-asan" address
    step "whole suite under ASan+UBSan" run_ctest "$build_root/build-asan"
    step "stress tests under ASan+UBSan, $(( stress_runs - 1 )) more seeds" run_stress "$build_root/build-asan" $(( stress_runs - 1 ))
fi

if [ "$which" = all ] || [ "$which" = thread ]; then
    # Only what the stress tests need (the suite pulls in the bundle it hosts).
    step "build-tsan (TSan, RelWithDebInfo)" configure_and_build "$build_root/build-tsan" thread \
        sampivo_reliability_tests
    step "stress tests under TSan, $stress_runs seeds" run_stress "$build_root/build-tsan" "$stress_runs"
fi

echo "==> sanitizers total $(( $(date +%s) - total_started )) s"
