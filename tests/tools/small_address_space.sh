#!/bin/sh
# The translator in a small address space (`ulimit -v`). Where the block pool can't reserve
# its span, every block comes from the heap and the files are the same; where memory runs out,
# the translator says so, ends with status 1 and leaves no half-written Model.cpp.
#   small_address_space.sh VARO5 MODEL WORK_DIR
set -eu
varo5=$1
model=$2
work=$3
rm -rf "$work"
mkdir -p "$work/free" "$work/limited" "$work/starved"
"$varo5" "$model" "$work/free" >/dev/null
(ulimit -v 1000000 && exec "$varo5" "$model" "$work/limited") >/dev/null
for f in Model.h Model.cpp; do
    grep -v '#define MODELRUNID' "$work/free/$f" >"$work/free-$f"
    grep -v '#define MODELRUNID' "$work/limited/$f" >"$work/limited-$f"
    cmp "$work/free-$f" "$work/limited-$f"
done

# The benchmark's chain of 2,000 compartments needs some 45 MB; 16 MB of address space is not
# enough.
big=$work/chain.mdl
sh "$(dirname "$0")/chain_model.sh" 2000 >"$big"
status=0
(ulimit -v 16000 && exec "$varo5" "$big" "$work/starved") >/dev/null 2>"$work/starved.err" ||
    status=$?
[ "$status" = 1 ] || { echo "status $status, not 1"; exit 1; }
grep -qx 'Error: out of memory' "$work/starved.err" || { cat "$work/starved.err"; exit 1; }
[ ! -e "$work/starved/Model.cpp" ] || { echo "a half-written Model.cpp stayed"; exit 1; }
