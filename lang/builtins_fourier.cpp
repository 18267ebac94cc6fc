// Fourier transforms, convolution, windows, the band filter and
// interpolation over arrays and matrices of numbers: each call reads its
// arrays once into contiguous samples, runs the numeric library's routine
// and answers a new array (or matrix). The arguments are evaluated here, not
// by the evaluator, so that an array argument is taken whole rather than
// element by element.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "fourier/transforms.hpp"
#include "interp/spline.hpp"
#include "lang/builtins.hpp"
#include "lang/containers.hpp"
#include "lang/matrices.hpp"
#include "objects/matrix.hpp"
#include "objects/object.hpp"

namespace ostr::lang::builtin {
namespace {

using fourier::cx;
using fourier::Direction;
using BlockPtr = std::unique_ptr<obj::ArrayValue, void (*)(void*)>;

// A failed argument: its own error word, else ">invalid_expression<".
Value refused(const Value& v) { return v.is_error() ? Value::failure(v.error) : Value::failure(); }
Value stopped() { return Value::failure(Error::evaluation_aborted); }

// The numbers of an array value; false for another value, an element that
// is no number, or more elements than a transform takes.
bool samples_of(const Value& v, std::vector<cx>& out) {
    if (!is_array(v)) return false;
    const auto& items = obj::array_of(v.obj.get())->items;
    if (items.empty() || items.size() > fourier::max_length) return false;
    out.reserve(items.size());
    for (const obj::Item& it : items) {
        if (it.obj) return false;
        out.push_back({it.num.re, it.num.im});
    }
    return true;
}

bool reals_of(const std::vector<cx>& x, std::vector<double>& out) {
    out.reserve(x.size());
    for (const cx& z : x) {
        double r = 0;
        if (!as_real({z.re, z.im}, &r)) return false;
        out.push_back(r);
    }
    return true;
}

// Argument k evaluated as an array of numbers (or of real numbers).
std::optional<Value> array_arg(const Call& call, std::size_t k, std::vector<cx>& out) {
    Value v = evaluate(call.args[k], call.env);
    if (v.is_error() || !samples_of(v, out)) return refused(v);
    return std::nullopt;
}
std::optional<Value> real_array_arg(const Call& call, std::size_t k, std::vector<double>& out) {
    std::vector<cx> z;
    if (auto v = array_arg(call, k, z)) return v;
    if (!reals_of(z, out)) return Value::failure();
    return std::nullopt;
}

std::optional<Value> string_arg(const Call& call, std::size_t k, std::string& out) {
    Value v = evaluate(call.args[k], call.env);
    if (v.kind != Value::Kind::object || !v.obj || v.obj->tag != obj::string) return refused(v);
    out = obj::text_value(v.obj.get());
    return std::nullopt;
}

std::optional<Value> real_arg(const Call& call, std::size_t k, double& out) {
    Value v = evaluate(call.args[k], call.env);
    Complex z;
    if (as_number(v, &z) != Args::numbers || !as_real(z, &out) || !std::isfinite(out)) return refused(v);
    return std::nullopt;
}

// A transform's parts below its rounding noise, 1e-15·log2 n times the
// norm of the answer, are shown as 0: fft([1,1,1]) is [3,0,0], not
// [3,1.1e-16,1.1e-16]. Only the language does this; the C face gives the
// computed values.
template <class T>
std::vector<T>& cleaned(std::vector<T>& x) {
    double norm = 0;
    for (const T& z : x) {
        if constexpr (std::is_same_v<T, cx>) norm = std::hypot(norm, std::hypot(z.re, z.im));
        else norm = std::hypot(norm, z);
    }
    const double floor = 1e-15 * std::max(1.0, std::log2(static_cast<double>(x.size()))) * norm;
    auto clean = [floor](double& v) {
        if (std::fabs(v) < floor) v = 0;
    };
    for (T& z : x) {
        if constexpr (std::is_same_v<T, cx>) clean(z.re), clean(z.im);
        else clean(z);
    }
    return x;
}

template <class T>
Value array_answer(const std::vector<T>& x) {
    BlockPtr out(obj::new_array(), obj::array_handlers().free);
    if (!out) return Value::failure();
    out->items.reserve(x.size());
    for (const T& z : x) {
        if constexpr (std::is_same_v<T, cx>) out->items.push_back({{z.re + 0.0, z.im + 0.0}, nullptr});
        else out->items.push_back({{z + 0.0, 0}, nullptr});
    }
    return array_value(out.release());
}

// fft(a) and ifft(a).
template <Direction D>
Value transform(const Call& call, std::span<Value>) {
    std::vector<cx> x;
    if (call.args.size() != 1 || malformed(call)) return Value::failure();
    if (auto v = array_arg(call, 0, x)) return std::move(*v);
    if (!fourier::dft(x, D)) return stopped();
    return array_answer(cleaned(x));
}

// The rows of an array of equal-length arrays of numbers, row by row.
bool grid_of(const Value& v, std::vector<cx>& out, std::size_t& rows, std::size_t& cols) {
    if (!is_array(v)) return false;
    const auto& items = obj::array_of(v.obj.get())->items;
    rows = items.size(), cols = 0;
    for (const obj::Item& row : items) {
        if (!row.obj || row.obj->tag != obj::array) return false;
        const auto& r = obj::array_of(row.obj)->items;
        if (cols == 0) cols = r.size();
        if (r.empty() || r.size() != cols || rows * cols > obj::max_matrix_elements) return false;
        for (const obj::Item& it : r) {
            if (it.obj) return false;
            out.push_back({it.num.re, it.num.im});
        }
    }
    return rows > 0;
}

Value grid_answer(const std::vector<cx>& a, std::size_t rows, std::size_t cols) {
    BlockPtr out(obj::new_array(), obj::array_handlers().free);
    if (!out) return Value::failure();
    for (std::size_t i = 0; i < rows; ++i) {
        Value row = array_answer(std::vector<cx>(a.begin() + static_cast<std::ptrdiff_t>(i * cols),
                                                 a.begin() + static_cast<std::ptrdiff_t>((i + 1) * cols)));
        obj::Item item;
        if (!to_item(row, item)) return Value::failure();
        out->items.push_back(item);
    }
    return array_value(out.release());
}

// fft2(m) and ifft2(m) of a matrix of numbers (answering a matrix) or of an
// array of equal-length arrays of numbers (answering one).
template <Direction D>
Value transform2(const Call& call, std::span<Value>) {
    if (call.args.size() != 1 || malformed(call)) return Value::failure();
    Value v = evaluate(call.args[0], call.env);
    std::vector<cx> a;
    std::size_t rows = 0, cols = 0;
    if (is_array(v)) {
        if (!grid_of(v, a, rows, cols)) return Value::failure();
        if (!fourier::dft2(a, rows, cols, D)) return stopped();
        return grid_answer(cleaned(a), rows, cols);
    }
    if (!is_matrix(v)) return refused(v);
    const obj::MatrixValue& m = *obj::matrix_of(v.obj.get());
    a.reserve(m.items.size());
    for (const obj::Item& it : m.items) {
        if (it.obj) return Value::failure();
        a.push_back({it.num.re, it.num.im});
    }
    if (!fourier::dft2(a, m.rows, m.cols, D)) return stopped();
    cleaned(a);
    obj::MatrixValue* out = obj::new_matrix(m.rows, m.cols);
    if (!out) return Value::failure();
    for (std::size_t k = 0; k < a.size(); ++k) out->items[k].num = {a[k].re + 0.0, a[k].im + 0.0};
    return matrix_value(out);
}

Value rfft_call(const Call& call, std::span<Value>) {
    std::vector<double> x;
    if (call.args.size() != 1 || malformed(call)) return Value::failure();
    if (auto v = real_array_arg(call, 0, x)) return std::move(*v);
    auto X = fourier::real_dft(x);
    return X ? array_answer(cleaned(*X)) : stopped();
}

// irfft(h,n): the n real samples of the half spectrum h.
Value irfft_call(const Call& call, std::span<Value>) {
    std::vector<cx> h;
    double n = 0;
    if (call.args.size() != 2 || malformed(call)) return Value::failure();
    if (auto v = array_arg(call, 0, h)) return std::move(*v);
    if (auto v = real_arg(call, 1, n)) return std::move(*v);
    if (n < 1 || n != std::floor(n) || n > static_cast<double>(fourier::max_length)) return Value::failure();
    auto x = fourier::inverse_real_dft(h, static_cast<std::size_t>(n));
    return x ? array_answer(cleaned(*x)) : stopped();
}

// powerspectrum(a): |X_k|²/n, half of them for real samples.
Value power_call(const Call& call, std::span<Value>) {
    std::vector<cx> x;
    std::vector<double> r;
    if (call.args.size() != 1 || malformed(call)) return Value::failure();
    if (auto v = array_arg(call, 0, x)) return std::move(*v);
    auto p = reals_of(x, r) ? fourier::power_spectrum(std::span<const double>(r))
                            : fourier::power_spectrum(std::span<const cx>(x));
    return p ? array_answer(cleaned(*p)) : stopped();
}

// conv(a,b) and xcorr(a,b): real answers for real arrays.
template <bool Correlate>
Value combine_call(const Call& call, std::span<Value>) {
    std::vector<cx> a, b;
    std::vector<double> ra, rb;
    if (call.args.size() != 2 || malformed(call)) return Value::failure();
    if (auto v = array_arg(call, 0, a)) return std::move(*v);
    if (auto v = array_arg(call, 1, b)) return std::move(*v);
    auto c = Correlate ? fourier::correlate(a, b) : fourier::convolve(a, b);
    if (!c) return stopped();
    if (reals_of(a, ra) && reals_of(b, rb))
        for (cx& z : *c) z.im = 0;
    return array_answer(cleaned(*c));
}

// window(a,"hann"): a times the window of its length.
Value window_call(const Call& call, std::span<Value>) {
    std::vector<cx> x;
    std::string name;
    if (call.args.size() != 2 || malformed(call)) return Value::failure();
    if (auto v = array_arg(call, 0, x)) return std::move(*v);
    if (auto v = string_arg(call, 1, name)) return std::move(*v);
    const std::vector<double> w = fourier::window(name, x.size());
    if (w.empty()) return Value::failure();
    for (std::size_t k = 0; k < x.size(); ++k) x[k] = x[k] * w[k];
    return array_answer(x);
}

// filter(a) with the filter file of the working directory, filter(a,"file")
// with another, filter(a,"lowpass 0.1;...") with the directives themselves.
Value filter_call(const Call& call, std::span<Value>) {
    std::vector<cx> x;
    std::vector<double> r;
    std::string path(fourier::default_filter_file);
    if (call.args.empty() || call.args.size() > 2 || malformed(call)) return Value::failure();
    if (auto v = array_arg(call, 0, x)) return std::move(*v);
    if (call.args.size() == 2)
        if (auto v = string_arg(call, 1, path)) return std::move(*v);
    const auto f = fourier::is_filter_text(path) ? fourier::parse_filter(path) : fourier::read_filter(path);
    if (!f) return Value::failure();
    const bool real = reals_of(x, r);
    if (!fourier::apply_filter(*f, x)) return stopped();
    if (real)
        for (cx& z : x) z.im = 0;
    return array_answer(cleaned(x));
}

// interp(x,y,t,kind,d1,dn): kind "linear" when left out; d1 and dn the end
// slopes of "clamped" (0 when left out). t a number gives a number, an
// array an array.
Value interp_call(const Call& call, std::span<Value>) {
    std::vector<double> x, y, ts;
    std::string name = "linear";
    double ends[2] = {0, 0};
    if (call.args.size() < 3 || call.args.size() > 6 || malformed(call)) return Value::failure();
    if (auto v = real_array_arg(call, 0, x)) return std::move(*v);
    if (auto v = real_array_arg(call, 1, y)) return std::move(*v);
    if (call.args.size() >= 4)
        if (auto v = string_arg(call, 3, name)) return std::move(*v);
    for (std::size_t k = 4; k < call.args.size(); ++k)
        if (auto v = real_arg(call, k, ends[k - 4])) return std::move(*v);
    const auto kind = interp::kind_named(name);
    interp::Spline s;
    if (!kind || (call.args.size() > 4 && *kind != interp::Kind::clamped) ||
        !interp::make_spline(x, y, *kind, ends[0], ends[1], s))
        return Value::failure();
    Value t = evaluate(call.args[2], call.env);
    Complex z;
    double one = 0;
    if (as_number(t, &z) == Args::numbers && as_real(z, &one)) return written({interp::evaluate(s, one), 0}, call);
    std::vector<cx> tz;
    if (t.is_error() || !samples_of(t, tz) || !reals_of(tz, ts)) return refused(t);
    std::vector<double> out(ts.size());
    if (!interp::evaluate(s, ts, out.data())) return stopped();
    return array_answer(out);
}

}  // namespace

Value fft(const Call& call, std::span<Value> v) { return transform<Direction::forward>(call, v); }
Value ifft(const Call& call, std::span<Value> v) { return transform<Direction::backward>(call, v); }
Value fft2(const Call& call, std::span<Value> v) { return transform2<Direction::forward>(call, v); }
Value ifft2(const Call& call, std::span<Value> v) { return transform2<Direction::backward>(call, v); }
Value rfft(const Call& call, std::span<Value> v) { return rfft_call(call, v); }
Value irfft(const Call& call, std::span<Value> v) { return irfft_call(call, v); }
Value power_spectrum(const Call& call, std::span<Value> v) { return power_call(call, v); }
Value convolution(const Call& call, std::span<Value> v) { return combine_call<false>(call, v); }
Value correlation(const Call& call, std::span<Value> v) { return combine_call<true>(call, v); }
Value window(const Call& call, std::span<Value> v) { return window_call(call, v); }
Value filter(const Call& call, std::span<Value> v) { return filter_call(call, v); }
Value interpolate(const Call& call, std::span<Value> v) { return interp_call(call, v); }

}  // namespace ostr::lang::builtin
