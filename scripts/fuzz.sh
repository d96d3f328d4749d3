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
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=${1:-60}
if ! [[ $seconds =~ ^[0-9]+$ ]]; then
    echo "usage: scripts/fuzz.sh [SECONDS]" >&2
    exit 64
fi

bash scripts/install-deps.sh
cmake -S . -B build-fuzz -DTASSELBY_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++-14 >/dev/null
cmake --build build-fuzz -j"$(nproc)" --target fuzzers

export ASAN_OPTIONS=halt_on_error=1:detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
summary=()
for source in fuzz/*_fuzzer.cpp; do
    target=$(basename "$source" .cpp)
    seeds=fuzz/corpus/${target%_fuzzer}
    if ((seconds == 0)); then
        echo "== $target over its seed corpus"
        if ! output=$("build-fuzz/$target" "$seeds"/* 2>&1); then
            tail -n 40 <<<"$output"
            echo "$target: failed on its seed corpus" >&2
            exit 1
        fi
        echo "$(grep -c '^Executed' <<<"$output") inputs, no finding"
        continue
    fi
    echo "== $target for ${seconds}s"
    corpus=build-fuzz/corpus/$target
    mkdir -p "$corpus"
    log=build-fuzz/$target.log
    # Inputs are kept short while fuzzing (the seeds themselves may be longer):
    # speed finds more than size here.
    if ! (cd build-fuzz && "./$target" -max_total_time="$seconds" -max_len=4096 -print_final_stats=1 \
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
