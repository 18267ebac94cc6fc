/* The linear algebra through the C face, as a C11 front end uses it: a
   solve and a product on counted row-pointer matrices, the NULL answers of a
   singular matrix and of sizes that do not fit, eigenvalues and singular
   values, and every result released by the Free... of its kind. */
#include <math.h>
#include <stdio.h>

#include "ostravine.h"

static double **filled(int r, int c, const double *v) {
    double **m = Matrix(r, c);
    int i, j;
    for (i = 1; i <= r; ++i)
        for (j = 1; j <= c; ++j) m[i][j] = v[(i - 1) * c + (j - 1)];
    return m;
}

int main(void) {
    const double av[] = {2, 1, 1, 3}, bv[] = {3, 5}, sv[] = {1, 2, 2, 4};
    double **a = filled(2, 2, av), **b = filled(2, 1, bv), **s = filled(2, 2, sv);
    double **x = SolveM(a, b), **ab = MulM(a, x), *w = EigenvaluesSymM(a), *sing = SingularValuesM(s);
    Complex *ev = EigenvaluesM(a);
    int ok = x != NULL && ab != NULL && w != NULL && sing != NULL && ev != NULL;
    ok = ok && fabs(x[1][1] - 0.8) < 1e-15 && fabs(x[2][1] - 1.4) < 1e-15;
    ok = ok && fabs(ab[1][1] - 3) < 1e-15 && fabs(ab[2][1] - 5) < 1e-15;
    ok = ok && w[0] == 2 && fabs(w[1] + w[2] - 5) < 1e-14 && fabs(ev[1].re * ev[2].re - 5) < 1e-13;
    ok = ok && fabs(sing[1] - 5) < 1e-14 && fabs(sing[2]) < 1e-14;
    ok = ok && InvertM(s) == NULL && MulM(b, b) == NULL && fabs(DetM(a) - 5) < 1e-14;
    FreeMatrix(a);
    FreeMatrix(b);
    FreeMatrix(s);
    FreeMatrix(x);
    FreeMatrix(ab);
    FreeVector(w);
    FreeVector(sing);
    FreeVectorC(ev);
    if (!ok) {
        puts("linalg through the C face: wrong answer");
        return 1;
    }
    return 0;
}
