// Root of a real function in a bracketing interval by Brent's method:
// inverse quadratic interpolation through the last three points (secant
// when only two differ), accepted only while it stays inside the bracket and
// shrinks the step at least as fast as bisection would over two steps;
// otherwise bisection. The bracket [b, c] always holds a sign change, so
// the method converges in at most about (log2((x2 - x1)/tol))^2 steps.
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "special/special.hpp"

namespace ostr::special {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double eps = std::numeric_limits<double>::epsilon();
constexpr int max_steps = 1000;

}  // namespace

double find_root(OstrRealFunction f, void* data, double x1, double x2, int* status) noexcept {
    auto fail = [status](int s) {
        if (status) *status = s;
        return nan;
    };
    if (!f || !std::isfinite(x1) || !std::isfinite(x2)) return fail(OSTR_STATUS_BAD_ARGUMENT);
    if (status) *status = OSTR_STATUS_OK;
    double a = x1, b = x2, fa = f(a, data), fb = f(b, data);
    if (!std::isfinite(fa) || !std::isfinite(fb)) return fail(OSTR_STATUS_NOT_FINITE);
    if (fa == 0) return a;
    if (fb == 0) return b;
    if ((fa > 0) == (fb > 0)) return fail(OSTR_STATUS_NO_BRACKET);
    double c = a, fc = fa, d = b - a, e = d;
    for (int step = 0; step < max_steps; ++step) {
        if ((fb > 0) == (fc > 0)) {
            c = a;
            fc = fa;
            d = e = b - a;
        }
        if (std::fabs(fc) < std::fabs(fb)) {  // b is the best guess so far
            a = b;
            b = c;
            c = a;
            fa = fb;
            fb = fc;
            fc = fa;
        }
        double tol = 2 * eps * std::fabs(b) + std::numeric_limits<double>::min();
        double m = 0.5 * (c - b);
        if (std::fabs(m) <= tol || fb == 0) return b;
        if (std::fabs(e) >= tol && std::fabs(fa) > std::fabs(fb)) {
            double s = fb / fa, p, q;
            if (a == c) {
                p = 2 * m * s;
                q = 1 - s;
            } else {
                double qa = fa / fc, r = fb / fc;
                p = s * (2 * m * qa * (qa - r) - (b - a) * (r - 1));
                q = (qa - 1) * (r - 1) * (s - 1);
            }
            if (p > 0) q = -q;
            else p = -p;
            if (2 * p < std::min(3 * m * q - std::fabs(tol * q), std::fabs(e * q))) {
                e = d;
                d = p / q;
            } else {
                d = e = m;
            }
        } else {
            d = e = m;
        }
        a = b;
        fa = fb;
        b += std::fabs(d) > tol ? d : (m > 0 ? tol : -tol);
        fb = f(b, data);
        if (!std::isfinite(fb)) return fail(OSTR_STATUS_NOT_FINITE);
    }
    if (status) *status = OSTR_STATUS_NOT_CONVERGED;
    return b;
}

}  // namespace ostr::special
