/* The numeric containers and complex functions from C: a matrix grown
   through its handle, cropped and appended to, a complex vector, a result
   record that is also the return value, and a string vector closed by an
   empty text. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

int main(void) {
    double **m = Matrix0(2, 3), **row;
    Complex *z = Vector0C(2), r, zero = {0, 0};
    char **s = StringVector(2);
    int ok;

    m[2][3] = 23;
    ExtendMatrix(&m, 3, 4);
    row = CropMatrix(m, 2, 2, 1, 4);
    AppendMatrix(&row, m[2]);
    ComplexR(&z[1], 3, -4);
    ok = *m[0] == 3 && m[3][0] == 4 && m[2][3] == 23 && *row[0] == 2 && row[1][0] == 4 && row[2][3] == 23;
    ok &= z[0].re == 2 && NormC(z) == 5 && AbsC(&z[1]) == 5;
    ok &= DivC(&r, &z[1], &zero) == &r && r.re == HUGE_VAL && r.im == -HUGE_VAL;
    ok &= strcmp(s[1], "0") == 0 && s[2][0] == '\0';
    FreeMatrix(m);
    FreeMatrix(row);
    FreeVectorC(z);
    FreeStringVector(s);
    if (!ok) fputs("numeric: a container or complex routine misbehaved through the C face\n", stderr);
    return !ok;
}
