// The complete elliptic integrals K(m) and E(m) of the parameter m = k^2 < 1,
// in the extended format, by the arithmetic-geometric mean:
//   K = pi / (2 M(1, sqrt(1 - m))),  E = K (1 - sum_{n>=0} 2^(n-1) c_n^2),
//   c_0^2 = m, c_{n+1} = (a_n - b_n) / 2,
// which doubles the correct digits each step (six to eight steps). 1 - m is
// carried apart so that m next to 1 keeps its digits (K ~ ln(4/sqrt(1-m))).
// For m < 0 the imaginary-modulus transformation
//   K(m) = K(m') / sqrt(1 - m),  E(m) = sqrt(1 - m) E(m'),  m' = -m / (1 - m),
// keeps the sum free of the cancellation that large negative c_0^2 would bring.
#include <cmath>
#include <limits>

#include "special/scientific.hpp"

namespace ostr::special {
namespace {

using LD = long double;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr LD eps = std::numeric_limits<LD>::epsilon();
constexpr LD pi_l = 3.141592653589793238462643383279502884L;

struct KE {
    LD k, e;
};

// K and E of m in [0, 1) with m1 = 1 - m given apart.
KE agm(LD m, LD m1) {
    LD a = 1, b = std::sqrt(m1), sum = m / 2, power = 0.5L;
    for (int n = 0; n < 100 && std::fabs(a - b) > eps * a; ++n) {
        LD c = (a - b) / 2;
        LD next = (a + b) / 2;
        b = std::sqrt(a * b);
        a = next;
        power *= 2;
        sum += power * c * c;
    }
    LD k = pi_l / (2 * a);
    return {k, k * (1 - sum)};
}

KE elliptic(double m) {
    if (m >= 0) return agm(m, 1 - static_cast<LD>(m));
    LD s = 1 - static_cast<LD>(m);
    KE r = agm(-m / s, 1 / s);
    LD root = std::sqrt(s);
    return {r.k / root, r.e * root};
}

}  // namespace

double ellip_k(double m) noexcept {
    if (!(m < 1)) return m == 1 ? std::numeric_limits<double>::infinity() : nan;
    if (std::isinf(m)) return 0;
    return static_cast<double>(elliptic(m).k);
}

double ellip_e(double m) noexcept {
    if (!(m <= 1)) return nan;
    if (m == 1) return 1;
    if (std::isinf(m)) return std::numeric_limits<double>::infinity();
    return static_cast<double>(elliptic(m).e);
}

}  // namespace ostr::special
