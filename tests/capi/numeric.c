/* The numeric containers and complex functions from C: a matrix built,
   grown, cropped and released, a complex vector, a string vector, and the
   deliberate rules of the quotient and the root. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

static int failures = 0;

static void check(int ok, const char *what) {
    if (!ok) {
        fprintf(stderr, "numeric: %s\n", what);
        ++failures;
    }
}

static void matrices(void) {
    double **m = Matrix0(2, 3);
    double **row2;
    double *v = Vector(2);
    int i, j;
    for (i = 1; i <= 2; ++i)
        for (j = 1; j <= 3; ++j) m[i][j] = 10 * i + j;
    check(*m[0] == 2 && m[1][0] == 3, "Matrix0 sizes");
    ExtendMatrix(&m, 3, 4);
    check(*m[0] == 3 && m[3][0] == 4 && m[2][3] == 23, "ExtendMatrix keeps positions");
    row2 = CropMatrix(m, 2, 2, 1, 4);
    check(*row2[0] == 1 && row2[1][0] == 4 && row2[1][2] == 22, "CropMatrix row 2");
    v[1] = 7, v[2] = 8;
    AppendMatrix(&row2, v);
    check(*row2[0] == 2 && row2[2][1] == 7 && row2[2][4] == 0, "AppendMatrix pads with zeros");
    SwapRows(row2, 1, 2);
    check(row2[1][2] == 8, "SwapRows");
    FreeMatrix(m);
    FreeMatrix(row2);
    FreeVector(v);
}

static void complex_vectors(void) {
    Complex *z = Vector0C(3);
    Complex *w;
    Complex r;
    check(z[0].re == 3 && z[0].im == 0 && z[2].re == 0, "Vector0C");
    ComplexR(&z[1], 3, 4);
    ComplexR(&z[3], 0, 0);
    check(NormC(z) == 5 && AbsC(&z[1]) == 5, "NormC and AbsC");
    w = z;
    ExtendVectorC(&z, 2);
    check(z == w, "ExtendVectorC to a smaller length leaves the vector");
    w = CopyVectorC(z);
    check(w != z && w[1].im == 4, "CopyVectorC");
    check(DivC(&r, &(Complex){1, -1}, &(Complex){0, 0}) == &r && r.re == HUGE_VAL && r.im == -HUGE_VAL,
          "DivC by zero gives signed infinities");
    check(SqrtC(&r, &(Complex){-4, -0.0})->im == 2 && r.re == 0, "SqrtC on the cut");
    check(PowC(&r, &(Complex){0, 0}, &(Complex){0, 0})->re == 1, "PowC(0, 0)");
    check(isinf(ArctanC(&r, &(Complex){0, 1})->im), "ArctanC(i)");
    check(CompareFloats(1.0, 1.0 + 1e-16) && !CompareFloats(1.0, 1.0001), "CompareFloats");
    FreeVectorC(z);
    FreeVectorC(w);
}

static void strings(void) {
    char **s = StringVector(2);
    char **c;
    check(strcmp(s[0], "0") == 0 && s[2][0] == '\0', "StringVector");
    c = CopyStringVector(s);
    check(c != s && strcmp(c[1], "0") == 0 && c[2][0] == '\0', "CopyStringVector");
    FreeStringVector(s);
    FreeStringVector(c);
}

int main(void) {
    matrices();
    complex_vectors();
    strings();
    return failures != 0;
}
