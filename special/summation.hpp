// Compensated summation shared by the statistics, the integrator and the
// series sums of the language.
#pragma once

#include <cmath>

namespace ostr::num {

// Neumaier's variant of Kahan summation: the rounding error of every
// addition is carried separately, whichever operand is larger, so the sum
// of n terms is accurate to about one rounding of the total instead of n.
struct Neumaier {
    double sum = 0, comp = 0;
    void add(double x) {
        const double t = sum + x;
        comp += std::fabs(sum) >= std::fabs(x) ? (sum - t) + x : (x - t) + sum;
        sum = t;
    }
    double value() const { return sum + comp; }
};

}  // namespace ostr::num
