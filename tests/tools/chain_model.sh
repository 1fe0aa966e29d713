#!/bin/sh
# The synthetic model of 'n' compartments of the scale benchmark: a dose into A1,
# A1 -> A2 -> ... -> An -> out, one rate constant per compartment (stparm, fixed effect, random
# effect), a volume scaled by a covariate, and two observations with their errors.
#   chain_model.sh N
set -eu
n=$1
echo "bench() {"
echo "    covariate(wt)"
echo "    dosepoint(A1)"
echo "    deriv(A1 = -k1 * A1)"
i=2
while [ "$i" -le "$n" ]; do
    echo "    deriv(A$i = k$((i - 1)) * A$((i - 1)) - k$i * A$i)"
    i=$((i + 1))
done
echo "    C = A$n / V"
echo "    error(CEps = 0.1)"
echo "    observe(CObs = C * (1 + CEps))"
echo "    error(AEps = 0.5)"
echo "    observe(AObs = A1 + AEps)"
echo "    stparm(V = tvV * (wt / 70) * exp(nV))"
echo "    fixef(tvV = c(0, 10, 100))"
echo "    ranef(diag(nV) = c(0.1))"
i=1
while [ "$i" -le "$n" ]; do
    echo "    stparm(k$i = tvk$i * exp(nk$i))"
    echo "    fixef(tvk$i = c(0, 1, 10))"
    echo "    ranef(diag(nk$i) = c(0.1))"
    i=$((i + 1))
done
echo "}"
