/* The solvers through the C face: callbacks with a context pointer that
   receive counted vectors, the counted results and their release, the
   status codes, and an ODE right-hand side that stops the work. */
#include <math.h>
#include <stdio.h>

#include "ostravine.h"

static double line_basis(double x, int j, void *data) {
    (void)data;
    return j == 1 ? 1.0 : x;
}

static double exponential(double x, const double *p, void *data) {
    (void)data;
    return p[0] == 2 ? p[1] * exp(p[2] * x) : NAN; /* p is counted: p[0] = 2 */
}

static double bowl(const double *x, void *data) {
    const double *c = (const double *)data;
    return x[0] == 2 ? (x[1] - c[0]) * (x[1] - c[0]) + 3 * (x[2] - c[1]) * (x[2] - c[1]) : NAN;
}

static double gauss(double x, void *data) {
    (void)data;
    return exp(-x * x);
}

static double parabola(double x, void *data) {
    return (x - *(const double *)data) * (x - *(const double *)data);
}

/* y1' = y2, y2' = -y1; counts its calls in *data and stops at the limit. */
static int oscillator(double t, const double *y, double *dy, void *data) {
    int *calls = (int *)data;
    (void)t;
    if (y[0] != 2 || dy[0] != 2 || ++calls[0] > calls[1]) return 1;
    dy[1] = y[2];
    dy[2] = -y[1];
    return 0;
}

int main(void) {
    const double pi = 3.14159265358979323846;
    double x[] = {4, 0, 1, 2, 3}, y[] = {4, 1, 3, 5, 7}, ye[] = {4, 0, 0, 0, 0}, p0[] = {2, 1, -1};
    double start[] = {2, 0, 0}, centre[] = {1, -2}, y0[] = {2, 1, 0}, times[] = {3, 0, pi / 2, pi};
    double chi2 = -1, fmin = -1, error = -1, at = 0.25, **cov = NULL, *c, *m, **sol;
    int status = -1, calls[2] = {0, 100000}, ok = 1, i;

    c = FitLinear(line_basis, NULL, 2, x, y, NULL, &cov, &chi2, &status);
    ok &= c && status == OSTR_STATUS_OK && fabs(c[1] - 1) < 1e-14 && fabs(c[2] - 2) < 1e-14 && chi2 < 1e-25;
    ok &= cov && cov[0][0] == 2 && cov[1][0] == 2;
    FreeVector(c);
    FreeMatrix(cov);

    for (i = 1; i <= 4; ++i) ye[i] = 0.5 * exp(-0.7 * x[i]);
    c = FitNonlinear(exponential, NULL, x, ye, NULL, p0, NULL, &chi2, &status);
    ok &= c && status == OSTR_STATUS_OK && fabs(c[1] - 0.5) < 1e-10 && fabs(c[2] + 0.7) < 1e-10;
    FreeVector(c);

    m = MinimizeNelderMead(bowl, centre, start, &fmin, &status);
    ok &= m && m[0] == 2 && fabs(m[1] - 1) < 1e-6 && fabs(m[2] + 2) < 1e-6 && fmin < 1e-12;
    FreeVector(m);
    m = MinimizeBFGS(bowl, centre, start, &fmin, &status);
    ok &= m && status == OSTR_STATUS_OK && fabs(m[1] - 1) < 1e-6 && fabs(m[2] + 2) < 1e-6;
    FreeVector(m);
    ok &= fabs(MinimizeBrent(parabola, &at, -1, 1, &fmin, &status) - 0.25) < 1e-8 && status == OSTR_STATUS_OK;

    ok &= fabs(IntegrateAdaptive(gauss, NULL, -INFINITY, INFINITY, 1e-12, 0, &error, &status) - sqrt(pi)) < 1e-13;
    ok &= status == OSTR_STATUS_OK && error < 1e-11;
    ok &= fabs(IntegrateGK(gauss, NULL, 0, INFINITY, 1e-12, 0, NULL, &status) - sqrt(pi) / 2) < 1e-13;
    ok &= fabs(IntegrateTanhSinh(gauss, NULL, 0, 1, 1e-12, 0, NULL, &status) - 0.74682413281242702540) < 1e-13;
    ok &= isnan(IntegrateGK(NULL, NULL, 0, 1, 1e-12, 0, NULL, &status)) && status == OSTR_STATUS_BAD_ARGUMENT;

    sol = SolveODE(oscillator, calls, y0, times, 1e-10, 1e-10, OSTR_ODE_AUTOMATIC, &status);
    ok &= sol && status == OSTR_STATUS_OK && sol[0][0] == 3 && sol[1][0] == 3;
    ok &= sol && sol[3][1] == pi && fabs(sol[3][2] + 1) < 1e-8 && fabs(sol[2][3] + 1) < 1e-8;
    FreeMatrix(sol);
    calls[0] = 0;
    calls[1] = 10;
    ok &= SolveODE(oscillator, calls, y0, times, 1e-10, 1e-10, OSTR_ODE_DORMAND_PRINCE, &status) == NULL;
    ok &= status == OSTR_STATUS_STOPPED;
    ok &= SolveODE(oscillator, calls, y0, times, 1e-10, 1e-10, 7, &status) == NULL;
    ok &= status == OSTR_STATUS_BAD_ARGUMENT;

    if (!ok) fputs("solvers: a routine gave an unexpected result through the C face\n", stderr);
    return !ok;
}
