/* The Fourier and interpolation families through the C face, as a C11 front
   end uses them: a transform and its inverse on counted vectors, a real
   half spectrum, a convolution, a window, a filter given as text, a spline
   made, evaluated and freed, and the NULL answers of bad input. */
#include <math.h>
#include <stdio.h>

#include "ostravine.h"

static double *filled(int n, const double *v) {
    double *out = Vector(n);
    int k;
    for (k = 1; k <= n; ++k) out[k] = v[k - 1];
    return out;
}

int main(void) {
    const double xv[] = {1, 2, 3, 4}, yv[] = {0, 1, 4, 9}, tv[] = {1.5, 2.5};
    double *x = filled(4, xv), *y = filled(4, yv), *t = filled(2, tv);
    Complex *z = VectorC(4), *f, *back, *half;
    double *conv, *win, *filtered, *values;
    Interpolant *s;
    int k, ok;
    for (k = 1; k <= 4; ++k) z[k].re = xv[k - 1], z[k].im = 0;
    f = FFTC(z);
    back = InverseFFTC(f);
    half = RealFFT(x);
    conv = Convolve(x, x);
    win = Window(x, "hamming");
    filtered = FourierFilterText(x, "lowpass 0");
    s = Spline(x, y, "linear", 0, 0);
    values = SplineValues(s, t);
    ok = f && back && half && conv && win && filtered && s && values;
    ok = ok && f[1].re == 10 && f[2].re == -2 && f[2].im == 2 && f[4].im == -2;
    for (k = 1; ok && k <= 4; ++k) ok = fabs(back[k].re - xv[k - 1]) < 1e-15 && filtered[k] == 2.5;
    ok = ok && half[0].re == 3 && half[3].re == -2 && half[3].im == 0;
    ok = ok && conv[0] == 7 && conv[1] == 1 && conv[7] == 16;
    ok = ok && fabs(win[1] - 0.08) < 1e-16 && fabs(win[2] - 2 * 0.77) < 1e-15;
    ok = ok && values[0] == 2 && values[1] == 0.5 && values[2] == 2.5 && SplineValue(s, 4) == 9;
    ok = ok && FFTC(NULL) == NULL && Window(x, "square") == NULL;
    ok = ok && Spline(t, x, "natural", 0, 0) == NULL && FourierFilterText(x, "lowpass") == NULL;
    FreeVector(x);
    FreeVector(y);
    FreeVector(t);
    FreeVector(conv);
    FreeVector(win);
    FreeVector(filtered);
    FreeVector(values);
    FreeVectorC(z);
    FreeVectorC(f);
    FreeVectorC(back);
    FreeVectorC(half);
    FreeSpline(s);
    if (!ok) {
        puts("fourier and interp through the C face: wrong answer");
        return 1;
    }
    return 0;
}
