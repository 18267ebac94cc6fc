// The exported interpolation family: the opaque Interpolant holds the C++
// spline; counted vectors are read and written once at the face.
#include <cmath>
#include <limits>
#include <new>

#include "core/memory.hpp"
#include "interp/spline.hpp"
#include "numeric/containers.hpp"
#include "ostravine/interp.h"

struct Interpolant {
    ostr::interp::Spline spline;
};

using namespace ostr;

namespace {

std::span<const double> samples(const double* v) {
    const std::int32_t n = v ? num::vector_length<num::KindD>(v) : 0;
    return n > 0 ? std::span<const double>(v + 1, static_cast<std::size_t>(n)) : std::span<const double>();
}

Interpolant* made(const double* x, const double* y, const char* kind, double d1, double dn) {
    const auto k = kind ? interp::kind_named(kind) : std::nullopt;
    if (!k) return nullptr;
    auto s = std::make_unique<Interpolant>();
    if (!interp::make_spline(samples(x), samples(y), *k, d1, dn, s->spline)) return nullptr;
    return s.release();
}

double* values(const Interpolant* s, const double* t) {
    const std::span<const double> ts = samples(t);
    if (!s || !t) return nullptr;
    double* out = num::vector_raw<num::KindD>(static_cast<std::int32_t>(ts.size()), num::Fill::none);
    if (out && !interp::evaluate(s->spline, ts, out + 1)) {
        FreeVector(out);
        return nullptr;
    }
    return out;
}

}  // namespace

extern "C" {

Interpolant* Spline(const double* x, const double* y, const char* kind, double d1, double dn) noexcept {
    return or_failure(static_cast<Interpolant*>(nullptr), [&] { return made(x, y, kind, d1, dn); });
}

void FreeSpline(Interpolant* s) noexcept { delete s; }

double SplineValue(const Interpolant* s, double t) noexcept {
    return s ? interp::evaluate(s->spline, t) : std::numeric_limits<double>::quiet_NaN();
}

double* SplineValues(const Interpolant* s, const double* t) noexcept { return values(s, t); }

double* Interpolate(const double* x, const double* y, const double* t, const char* kind) noexcept {
    return or_failure(static_cast<double*>(nullptr), [&]() -> double* {
        std::unique_ptr<Interpolant> s(made(x, y, kind, 0, 0));
        return s ? values(s.get(), t) : nullptr;
    });
}

}  // extern "C"
