#!/bin/sh
# Runs one afl-fuzz campaign on one road of the translator, built with the AFL++ compilers and
# the sanitizers (make build-fuzz), and prints the campaign's counts at its end.
# Usage: fuzz.sh <instrumented VARO5> <road> <seconds> <work root>
#   road: normal (Model.h/Model.cpp), info (/I), override (/R) or trial (/T); N, I, R, T also do.
# Seeds: the examples, golden inputs, robustness samples and tests/corpus/<road>/ of that road.
# Work folder <work root>/fuzz-<road>: in/ (seeds), out/ (afl's findings: default/crashes,
# default/hangs, default/fuzzer_stats; an earlier out/ is kept as out.<time> unless
# FUZZ_RESUME=1) and run/, the current directory of every run. afl writes each input to
# run/model.mdl (run/script.trial), so that /R writes its rewrite beside it and /T its cohort
# files into run/.
# Exit status 0 when the campaign found nothing, 1 when it saved crashes or hangs.
set -eu

if [ $# -ne 4 ]; then
    echo "usage: fuzz.sh <instrumented VARO5> <normal|info|override|trial> <seconds> <work root>" >&2
    exit 2
fi
varo5=$(realpath "$1")
seconds=$3
top=$(cd "$(dirname "$0")/../.." && pwd)

case $2 in
    normal | N | n) road=normal flag="" input=model.mdl ;;
    info | I | i) road=info flag=/I input=model.mdl ;;
    override | R | r) road=override flag=/R input=model.mdl ;;
    trial | T | t) road=trial flag=/T input=script.trial ;;
    *) echo "fuzz.sh: unknown road '$2' (normal, info, override or trial)" >&2; exit 2 ;;
esac

case $road in
    normal) seeds="$top/examples/*.mdl $top/tests/golden/model/*/*.mdl $top/tests/golden/errors/*/*.mdl $top/tests/tools/samples/*.mdl" ;;
    info) seeds="$top/examples/*.mdl $top/tests/golden/info/*/*.mdl $top/tests/golden/model/*/*.mdl $top/tests/tools/samples/*.mdl" ;;
    override) seeds="$top/tests/golden/replace/*/*.mdl $top/tests/golden/info/*/*.mdl $top/tests/golden/errors/include_no_paren_replace_mode/*.mdl $top/examples/*.mdl $top/tests/tools/samples/*.mdl" ;;
    trial) seeds="$top/examples/*.trial $top/tests/golden/trial/*/*.trial $top/tests/golden/errors/trial_*/*.trial $top/tests/tools/samples/*.trial" ;;
esac

work=$(mkdir -p "$4/fuzz-$road" && cd "$4/fuzz-$road" && pwd)
rm -rf "$work/in" "$work/run"
mkdir -p "$work/in" "$work/run"
# FUZZ_RESUME=1 goes on with the queue of the last campaign in out/ instead of starting afresh.
if [ "${FUZZ_RESUME:-0}" = 1 ] && [ -d "$work/out/default/queue" ]; then
    export AFL_AUTORESUME=1
elif [ -d "$work/out" ]; then
    mv "$work/out" "$work/out.$(date +%Y%m%d-%H%M%S)"
fi
n=0
for f in $seeds "$top/tests/corpus/$road"/*; do
    [ -f "$f" ] || continue
    n=$((n + 1))
    cp "$f" "$work/in/seed$n-$(basename "$f")"
done
echo "fuzz.sh: road $road, $n seeds, $seconds s, findings in $work/out/default"

# afl-fuzz needs these sanitizer settings to see a finding as a crash.
export ASAN_OPTIONS=abort_on_error=1:symbolize=0:detect_leaks=0
export UBSAN_OPTIONS=halt_on_error=1:abort_on_error=1:symbolize=0
export AFL_SKIP_CPUFREQ=1 AFL_I_DONT_CARE_ABOUT_MISSING_CRASHES=1
export AFL_NO_UI="${AFL_NO_UI:-1}"
cd "$work/run"
# Runs ending with exit(1) are ordinary error reports; a run over 2 s is a hang.
# shellcheck disable=SC2086 # $flag is empty or one word
afl-fuzz -i "$work/in" -o "$work/out" -t 2000 -m none -V "$seconds" -x "$top/tests/fuzz/varo5.dict" \
    -f "$work/run/$input" -- "$varo5" $flag "$work/run/$input"

stats=$work/out/default/fuzzer_stats
execs=$(sed -n 's/^execs_done *: *//p' "$stats")
crashes=$(sed -n 's/^saved_crashes *: *//p' "$stats")
hangs=$(sed -n 's/^saved_hangs *: *//p' "$stats")
echo "fuzz.sh: road $road: execs_done $execs, saved_crashes $crashes, saved_hangs $hangs"
[ "$crashes" = 0 ] && [ "$hangs" = 0 ] && exit 0
ls "$work/out/default/crashes" "$work/out/default/hangs"
exit 1
