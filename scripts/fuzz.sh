#!/usr/bin/env bash
# Builds the fuzz targets of fuzz/ with clang's libFuzzer under
# AddressSanitizer and UndefinedBehaviorSanitizer (build-fuzz/) and runs
# every one of them.
#
#   bash scripts/fuzz.sh [SECONDS]   fuzz each target for SECONDS (default 60),
#                                    starting from its seed corpus
#   bash scripts/fuzz.sh 0           run each target over its seed corpus only
#
# Inputs found while fuzzing go to build-fuzz/corpus/<target>, never into the
# tree; a crashing input is left in build-fuzz/ and the script fails.
# FUZZ_BUILD names another build folder (test.sh uses its sanitizer build).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=${1:-60}
if ! [[ $seconds =~ ^[0-9]+$ ]]; then
    echo "usage: scripts/fuzz.sh [SECONDS]" >&2
    exit 64
fi

build=${FUZZ_BUILD:-build-fuzz}

bash scripts/install-deps.sh
cmake -S . -B "$build" -DTASSELBY_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++-14 >/dev/null
cmake --build "$build" -j"$(nproc)" --target fuzzers

export ASAN_OPTIONS=halt_on_error=1:detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
summary=()
for source in fuzz/*_fuzzer.cpp; do
    target=$(basename "$source" .cpp)
    seeds=fuzz/corpus/${target%_fuzzer}
    if ((seconds == 0)); then
        echo "== $target over its seed corpus"
        if ! output=$("$build/$target" "$seeds"/* 2>&1); then
            tail -n 40 <<<"$output"
            echo "$target: failed on its seed corpus" >&2
            exit 1
        fi
        echo "$(grep -c '^Executed' <<<"$output") inputs, no finding"
        continue
    fi
    echo "== $target for ${seconds}s"
    corpus=$build/corpus/$target
    mkdir -p "$corpus"
    log=$build/$target.log
    # Inputs are kept short while fuzzing (the seeds themselves may be longer):
    # speed finds more than size here.
    if ! (cd "$build" && "./$target" -max_total_time="$seconds" -max_len=4096 -print_final_stats=1 \
            "corpus/$target" "../$seeds" >"$target.log" 2>&1); then
        tail -n 40 "$log"
        echo "$target: failed, see $log" >&2
        exit 1
    fi
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    coverage=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1)
    features=$(grep -o 'ft: [0-9]*' "$log" | tail -n 1)
    summary+=("$(printf '%-36s %12s executions   %s   %s' "$target" "$executions" "$coverage" "$features")")
done
if ((${#summary[@]} > 0)); then
    echo "== Summary (${seconds}s each)"
    printf '%s\n' "${summary[@]}"
fi
