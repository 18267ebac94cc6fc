// The built-ins whose results are lists, answered as arrays: primes,
// divisors and primefactors (numeric/primes.hpp), and the combinations and
// permutations of an array (combine, permute), each with a bound on the
// size of what it builds.
#include <cmath>
#include <memory>
#include <vector>

#include "lang/builtins.hpp"
#include "lang/containers.hpp"
#include "numeric/primes.hpp"

namespace ostr::lang::builtin {
namespace {

// The most numbers a list answer may hold: primes(1,10^8) has 5761455.
constexpr std::size_t max_list = 10000000;
// The most elements, over all inner arrays, of combine and permute.
constexpr double max_elements = 1000000;
// Integers a double holds exactly, and the bound of the 64-bit kernels.
constexpr double exact_bound = 9007199254740992.0;
constexpr double two_64 = 18446744073709551616.0;

using BlockPtr = std::unique_ptr<obj::ArrayValue, void (*)(void*)>;
BlockPtr new_block() { return BlockPtr(obj::new_array(), obj::array_handlers().free); }

Value numbers_array(const std::vector<std::uint64_t>& v) {
    BlockPtr out = new_block();
    if (!out) return Value::failure();
    out->items.reserve(v.size());
    for (std::uint64_t x : v) out->items.push_back({{static_cast<double>(x), 0}, nullptr});
    return array_value(out.release());
}

// A whole number in [lo, hi): nullopt when it is, else the call's value.
std::optional<Value> whole(const Call& call, std::span<Value> values, double lo, double hi, double* out) {
    Complex z[2];
    if (auto v = numbers(call, values, z)) return v;
    for (std::size_t k = 0; k < values.size(); ++k) {
        double x = 0;
        if (!as_real(z[k], &x) || x != std::floor(x) || x < lo || x >= hi) return Value::failure();
        out[k] = x;
    }
    return std::nullopt;
}

// primes(a,b): the primes from a to b, both included.
Value primes(const Call& call, std::span<Value> values) {
    double ab[2];
    if (auto v = whole(call, values, 0, exact_bound, ab)) return std::move(*v);
    if (ab[1] < ab[0]) return Value::failure();
    std::vector<std::uint64_t> p;
    switch (num::primes_between(static_cast<std::uint64_t>(ab[0]), static_cast<std::uint64_t>(ab[1]), max_list, p)) {
    case num::ListStatus::ok: return numbers_array(p);
    case num::ListStatus::too_many: return Value::failure();
    case num::ListStatus::stopped: return Value::failure(Error::evaluation_aborted);
    }
    return Value::failure();
}

template <std::vector<std::uint64_t> (*F)(std::uint64_t)>
Value factor_list(const Call& call, std::span<Value> values) {
    double n;
    if (auto v = whole(call, values, 1, two_64, &n)) return std::move(*v);
    return numbers_array(F(static_cast<std::uint64_t>(n)));
}

// The array to choose from: an array, or a whole number n for [1,...,n].
struct Source {
    std::vector<obj::Item> items;  // borrowed from `held`, or numbers
    Value held;
};

std::optional<Value> source_of(const Call& call, Source* s) {
    s->held = evaluate(call.args[0], call.env);
    if (is_array(s->held)) {
        const obj::ArrayValue* a = obj::array_of(s->held.obj.get());
        s->items.assign(a->items.begin(), a->items.end());
        return std::nullopt;
    }
    Complex z;
    if (s->held.is_error()) return Value::failure(s->held.error);
    double n = 0;
    if (as_number(s->held, &z) != Args::numbers || !as_real(z, &n) || n != std::floor(n) || n < 0 ||
        n > max_elements)
        return Value::failure();
    for (double k = 1; k <= n; ++k) s->items.push_back({{k, 0}, nullptr});
    return std::nullopt;
}

// The choice of indices `pick` as an inner array, its items copied.
bool push_choice(obj::ArrayValue& out, const Source& s, const std::vector<std::size_t>& pick) {
    BlockPtr inner = new_block();
    if (!inner) return false;
    inner->items.reserve(pick.size());
    for (std::size_t i : pick) {
        obj::Item it;
        if (!obj::copy_item(s.items[i], it)) return false;
        inner->items.push_back(it);
    }
    obj::refresh_depth(*inner);
    Value v = array_value(inner.release());
    obj::Item it;
    if (!to_item(v, it)) return false;
    out.items.push_back(it);
    return true;
}

// The number of choices, counted in doubles so that it cannot overflow.
double count_of(double n, double k, bool ordered) {
    double c = 1;
    for (double j = 0; j < k; ++j) c = ordered ? c * (n - j) : c * (n - j) / (j + 1);
    return std::round(c);
}

// combine(a,k) and permute(a,k): k elements of a, in the order of their
// places in a (lexicographic), unordered or ordered.
template <bool Ordered>
Value choices(const Call& call, std::span<Value>) {
    const std::size_t want_args = Ordered ? 1 : 2;
    if (call.args.size() < want_args || call.args.size() > 2 || malformed(call)) return Value::failure();
    Source s;
    if (auto v = source_of(call, &s)) return std::move(*v);
    const double n = static_cast<double>(s.items.size());
    double k = n;
    if (call.args.size() == 2) {
        Value kv = evaluate(call.args[1], call.env);
        Complex z;
        if (kv.is_error()) return kv;
        if (as_number(kv, &z) != Args::numbers || !as_real(z, &k) || k != std::floor(k) || k < 0 || k > n)
            return Value::failure();
    }
    const double count = count_of(n, k, Ordered);
    if (count * std::max(k, 1.0) > max_elements) return Value::failure();
    BlockPtr out = new_block();
    if (!out) return Value::failure();
    const std::size_t m = static_cast<std::size_t>(k), size = s.items.size();
    std::vector<std::size_t> pick(m);
    std::vector<bool> used(size);
    // Depth-first through the places: the next index of position j is
    // above the last one (combinations) or any unused one (permutations).
    std::vector<std::size_t> next(m + 1, 0);
    std::size_t j = 0;
    for (;;) {
        if (j == m) {
            if (!push_choice(*out, s, pick)) return Value::failure();
            if (j == 0) break;
            --j;
            used[pick[j]] = false;
            continue;
        }
        std::size_t i = next[j];
        while (i < size && Ordered && used[i]) ++i;
        if (i >= size) {
            if (j == 0) break;
            --j;
            used[pick[j]] = false;
            continue;
        }
        pick[j] = i;
        used[i] = true;
        next[j] = i + 1;
        next[j + 1] = Ordered ? 0 : i + 1;
        ++j;
    }
    obj::refresh_depth(*out);
    if (out->depth > obj::max_container_depth) return Value::failure();
    return array_value(out.release());
}

}  // namespace

Value primes_list(const Call& call, std::span<Value> values) { return primes(call, values); }
Value divisors_list(const Call& call, std::span<Value> values) { return factor_list<num::divisors>(call, values); }
Value prime_factors_list(const Call& call, std::span<Value> values) {
    return factor_list<num::prime_factors>(call, values);
}
Value combine(const Call& call, std::span<Value> values) { return choices<false>(call, values); }
Value permute(const Call& call, std::span<Value> values) { return choices<true>(call, values); }

}  // namespace ostr::lang::builtin
