/* The special functions through the C face: a value, the integrator and the
   root finder with C callbacks and a context pointer (one returning a
   Complex by value), statistics over a counted vector and a complex routine
   whose result record is its operand. */
#include <math.h>
#include <stdio.h>

#include "ostravine.h"

static double scaled_cos(double x, void *data) { return *(const double *)data * cos(x); }

static Complex phasor(double x, void *data) {
    Complex z;
    (void)data;
    z.re = cos(x);
    z.im = sin(x);
    return z;
}

int main(void) {
    const double pi = 3.14159265358979323846;
    double two = 2.0, v[] = {4, 3, 1, 4, 2};
    int status = -1, ok;
    Complex z = {-3.5, 2.5}, r;

    ok = fabs(BesselJ(1.0, 0.0) - 0.76519768655796655145) < 1e-15;
    ok &= fabs(Integrate(scaled_cos, &two, 0, pi / 2, 1, &status) - 2.0) < 1e-14 && status == OSTR_STATUS_OK;
    ok &= IntegrateC(&r, phasor, NULL, 0, pi, 2, &status) == &r && fabs(r.im - 2.0) < 1e-14;
    ok &= fabs(FindRoot(scaled_cos, &two, 1, 2, &status) - pi / 2) < 1e-15 && status == OSTR_STATUS_OK;
    ok &= isnan(FindRoot(scaled_cos, &two, 2, 3, &status)) && status == OSTR_STATUS_NO_BRACKET;
    ok &= Mean(v) == 2.5 && Median(v) == 2.5;
    ok &= GammaC(&z, &z) == &z && isfinite(z.re);
    if (!ok) fputs("special: a routine gave an unexpected result through the C face\n", stderr);
    return !ok;
}
