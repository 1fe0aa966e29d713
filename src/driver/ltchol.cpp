// Dense Cholesky factorisation of a covariance matrix, used to test that it is positive
// definite and to give the factor of a random-effect block.
#include "driver/driver.h"

#include <cmath>

// Factors the symmetric n-by-n 'A' as L times its transpose, column by column; column c of
// 'L' is stored at offset c*n, the strict upper part set to 0. False when A is not
// positive definite.
bool ltcholCol(int n, double const* A, double* L) {
    for (int c = 0; c < n; c++) {
        for (int r = c; r < n; r++) {
            double x = A[c * n + r];
            for (int k = 0; k < c; k++)
                x -= L[k * n + r] * L[k * n + c];
            if (r == c) {
                if (!(x > 0)) return false;
                L[c * n + c] = sqrt(x);
            } else {
                if (!(L[c * n + c] > 0)) return false;
                L[c * n + r] = x / L[c * n + c];
                L[r * n + c] = 0;
            }
        }
    }
    return true;
}
