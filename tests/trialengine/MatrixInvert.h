// Matrix routines of the run-time library: the inverse of a symmetric matrix stored as a lower
// triangle by rows, with 'bError' set when it has none.
#pragma once

void MatrixInvert(int n, double const* a, double* inverse, int& bError);
