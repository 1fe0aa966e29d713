#!/bin/bash
# Scale benchmark: synthetic chain models of n compartments, each translated several times.
# Prints a Markdown table: n, statements, translation time (median), peak memory, size of
# Model.cpp, and the time of `g++ -fsyntax-only` on that Model.cpp, with the ratio of the two.
#   tests/tools/bench.sh VARO5 [WORK_DIR]
# Env: BENCH_SIZES (default "10 30 100 300 1000 3000"), BENCH_RUNS (default 5), CXX (g++).
# Each model's outputs stay in WORK_DIR/n<size>/ for a comparison between two builds.
set -eu

varo5=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
work=${2:-bench-out}
sizes=${BENCH_SIZES:-"10 30 100 300 1000 3000"}
runs=${BENCH_RUNS:-5}
cxx=${CXX:-g++}
engine=$(cd "$(dirname "$0")/../engine" && pwd)
chain_model=$(dirname "$0")/chain_model.sh

# Times are read from the shell's own clock in microseconds ($EPOCHREALTIME without its point):
# a `date` process around each run would add its own start-up to the time measured.

# Median of the numbers on standard input.
median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

echo "| n | statements | translation s | peak memory MB | Model.cpp KB | g++ -fsyntax-only s | ratio |"
echo "|---:|---:|---:|---:|---:|---:|---:|"
for n in $sizes; do
    dir=$work/n$n
    mkdir -p "$dir"
    sh "$chain_model" "$n" >"$dir/bench.mdl"
    stmts=$(grep -c '^    [a-z]' "$dir/bench.mdl")
    times=""
    r=0
    while [ "$r" -lt "$runs" ]; do
        t0=${EPOCHREALTIME/./}
        "$varo5" "$dir/bench.mdl" "$dir" >/dev/null
        t1=${EPOCHREALTIME/./}
        times="$times $(((t1 - t0) * 1000))"
        r=$((r + 1))
    done
    tr_ns=$(echo "$times" | tr ' ' '\n' | grep . | median)
    mem_kb=$(/usr/bin/time -f %M "$varo5" "$dir/bench.mdl" "$dir" 2>&1 >/dev/null | tail -1)
    size_kb=$(($(wc -c <"$dir/Model.cpp") / 1024))
    t0=${EPOCHREALTIME/./}
    "$cxx" -std=c++17 -fsyntax-only -I"$engine" -I"$dir" "$dir/Model.cpp"
    t1=${EPOCHREALTIME/./}
    gxx_ns=$(((t1 - t0) * 1000))
    awk -v n="$n" -v s="$stmts" -v t="$tr_ns" -v m="$mem_kb" -v k="$size_kb" -v g="$gxx_ns" \
        'BEGIN { printf "| %d | %d | %.3f | %.1f | %d | %.2f | %.2f %% |\n",
                 n, s, t / 1e9, m / 1024, k, g / 1e9, 100 * t / g }'
done
