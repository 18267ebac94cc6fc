// Matrices in the evaluator: dense copies for the kernels, and the
// arithmetic of the binary-table cells of tag 2. Numbers take the kernels
// (blocked product, LU for negative powers); a matrix with a formula among
// its elements combines element by element through the evaluator's own
// arithmetic, so symbolic matrices add and multiply too.
#include "lang/matrices.hpp"

#include <cmath>

#include "lang/containers.hpp"
#include "lang/globals.hpp"

namespace ostr::lang {
namespace {

using BlockPtr = std::unique_ptr<obj::MatrixValue, void (*)(void*)>;
BlockPtr new_block(std::size_t r, std::size_t c) { return BlockPtr(obj::new_matrix(r, c), obj::release_matrix); }

// A symbolic product costs r·c·k evaluator operations; past this it is
// refused rather than left to run for minutes.
constexpr double max_symbolic_steps = 1e6;

const obj::MatrixValue* block(const Value& v) { return obj::matrix_of(v.obj.get()); }

// One element operation through the binary table; a number pair that
// leaves the finite range fails rather than becoming a formula text.
Value element_op(Value& l, Value& r, char op, Arbenv* env) {
    if (l.is_error() || r.is_error()) return Value::failure();
    const bool numbers = l.kind == Value::Kind::number && r.kind == Value::Kind::number;
    Value out = obj::binary_handler(l.tag(), r.tag())(l, r, op, env, OperandTexts{});
    if (numbers && out.kind != Value::Kind::number) return Value::failure();
    return out;
}

Value scalar_copy(const Value& v) {
    if (v.kind == Value::Kind::number) return Value::number(v.num);
    Value c = Value::formula_of(v.text.re, v.text.im);
    c.kind = v.kind;
    return c;
}

}  // namespace

Value elementwise(const Value& l, const Value& r, char op, Arbenv* env) {
    const obj::MatrixValue* a = is_matrix(l) ? block(l) : nullptr;
    const obj::MatrixValue* b = is_matrix(r) ? block(r) : nullptr;
    if (a && b && (a->rows != b->rows || a->cols != b->cols)) return Value::failure();
    const obj::MatrixValue& shape = a ? *a : *b;
    BlockPtr out = new_block(shape.rows, shape.cols);
    if (!out) return Value::failure();
    for (std::size_t k = 0; k < out->items.size(); ++k) {
        Value x = a ? item_value(a->items[k]) : scalar_copy(l);
        Value y = b ? item_value(b->items[k]) : scalar_copy(r);
        if (!put_element(element_op(x, y, op, env), out->items[k])) return Value::failure();
    }
    return matrix_value(out.release());
}

namespace {

Value symbolic_product(const obj::MatrixValue& a, const obj::MatrixValue& b, Arbenv* env) {
    if (static_cast<double>(a.rows) * static_cast<double>(b.cols) * static_cast<double>(a.cols) >
        max_symbolic_steps)
        return Value::failure();
    BlockPtr out = new_block(a.rows, b.cols);
    if (!out) return Value::failure();
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < b.cols; ++j) {
            Value acc = Value::number({0, 0});
            for (std::size_t l = 0; l < a.cols; ++l) {
                Value x = item_value(a.at(i, l)), y = item_value(b.at(l, j));
                Value p = element_op(x, y, '*', env);
                acc = element_op(acc, p, '+', env);
                if (acc.is_error()) return acc;
            }
            if (!put_element(std::move(acc), out->at(i, j))) return Value::failure();
        }
    return matrix_value(out.release());
}

template <class T>
Value from_status(la::Status s, const la::Dense<T>& d) {
    if (s == la::Status::stopped) return Value::failure(Error::evaluation_aborted);
    if (s != la::Status::ok) return Value::failure();
    return matrix_value(block_of(d));
}

template <class T>
Value dense_power(la::Dense<T> base, long long k) {
    la::Dense<T> result = la::identity<T>(base.rows), tmp;
    if (k < 0) {
        la::Dense<T> inv;
        if (la::Status s = la::inverse(base, inv); s != la::Status::ok) return from_status(s, inv);
        base = std::move(inv);
        k = -k;
    }
    bool first = true;
    for (; k > 0; k >>= 1) {
        if (k & 1) {
            if (first) result = base, first = false;
            else if (la::Status s = la::multiply(result, base, tmp); s != la::Status::ok) return from_status(s, tmp);
            else result = std::move(tmp);
        }
        if (k > 1) {
            if (la::Status s = la::multiply(base, base, tmp); s != la::Status::ok) return from_status(s, tmp);
            base = std::move(tmp);
        }
    }
    return matrix_value(block_of(result));
}

// A matrix and an array as a vector: M·v with v a column, v·M with v a row.
Value with_vector(const obj::MatrixValue& m, const obj::ArrayValue& v, bool matrix_left, Arbenv* env) {
    const std::size_t n = v.items.size();
    BlockPtr vec = matrix_left ? new_block(n, 1) : new_block(1, n);
    if (!vec) return Value::failure();
    for (std::size_t k = 0; k < n; ++k)
        if (!put_element(item_value(v.items[k]), vec->items[k])) return Value::failure();
    Value p = matrix_left ? matrix_product(m, *vec, env) : matrix_product(*vec, m, env);
    if (!is_matrix(p)) return p;
    const obj::MatrixValue& r = *block(p);
    obj::ArrayValue* out = obj::new_array();
    if (!out) return Value::failure();
    Value arr = array_value(out);
    if (arr.is_error()) return arr;
    out->items.reserve(r.items.size());
    for (const obj::Item& it : r.items) {
        obj::Item c;
        if (!obj::copy_item(it, c)) return Value::failure();
        out->items.push_back(c);
    }
    return arr;
}

bool integer_exponent(const Value& v, long long& k) {
    if (v.kind != Value::Kind::number || v.num.im != 0 || v.num.re != std::floor(v.num.re) ||
        std::abs(v.num.re) > 2147483647.0)
        return false;
    k = static_cast<long long>(v.num.re);
    return true;
}

Value matrix_pair(Value& l, Value& r, char op, Arbenv* env, const OperandTexts&) {
    if (!globals()) return Value::failure();
    const bool ml = is_matrix(l), mr = is_matrix(r);
    if (is_array(l) || is_array(r)) {
        if (op != '*') return Value::failure();
        return ml ? with_vector(*block(l), *obj::array_of(r.obj.get()), true, env)
                  : with_vector(*block(r), *obj::array_of(l.obj.get()), false, env);
    }
    switch (op) {
    case '+':
    case '-': return elementwise(l, r, op, env);
    case '*': return ml && mr ? matrix_product(*block(l), *block(r), env) : elementwise(l, r, op, env);
    case '/': return ml && !mr ? elementwise(l, r, op, env) : Value::failure();
    case '^': {
        long long k;
        if (!ml || mr || !integer_exponent(r, k)) return Value::failure();
        return matrix_power(*block(l), k, env);
    }
    default: return Value::failure();
    }
}

}  // namespace

bool is_matrix(const Value& v) noexcept {
    return v.kind == Value::Kind::object && v.obj && v.obj->tag == obj::matrix && v.obj->value;
}

Value matrix_value(obj::MatrixValue* b) {
    if (!b) return Value::failure();
    return Value::object_of(ObjectPtr(obj::make_matrix(b, nullptr)));
}

Elements elements_of(const obj::MatrixValue& m) noexcept {
    Elements e = Elements::real;
    for (const obj::Item& it : m.items) {
        if (it.obj) return Elements::symbolic;
        if (it.num.im != 0) e = Elements::complex;
    }
    return e;
}

la::RMat real_dense(const obj::MatrixValue& m) {
    la::RMat d(m.rows, m.cols);
    for (std::size_t k = 0; k < m.items.size(); ++k) d.a[k] = m.items[k].num.re;
    return d;
}

la::CMat complex_dense(const obj::MatrixValue& m) {
    la::CMat d(m.rows, m.cols);
    for (std::size_t k = 0; k < m.items.size(); ++k) d.a[k] = {m.items[k].num.re, m.items[k].num.im};
    return d;
}

obj::MatrixValue* block_of(const la::RMat& d) {
    for (double x : d.a)
        if (!std::isfinite(x)) return nullptr;
    obj::MatrixValue* b = obj::new_matrix(d.rows, d.cols);
    if (!b) return nullptr;
    // + 0.0 turns a -0 into 0, so that a zero prints as "0".
    for (std::size_t k = 0; k < d.a.size(); ++k) b->items[k].num = {d.a[k] + 0.0, 0.0};
    return b;
}

obj::MatrixValue* block_of(const la::CMat& d) {
    for (const la::cplx& x : d.a)
        if (!std::isfinite(x.real()) || !std::isfinite(x.imag())) return nullptr;
    obj::MatrixValue* b = obj::new_matrix(d.rows, d.cols);
    if (!b) return nullptr;
    for (std::size_t k = 0; k < d.a.size(); ++k) b->items[k].num = {d.a[k].real() + 0.0, d.a[k].imag() + 0.0};
    return b;
}

Value matrix_product(const obj::MatrixValue& a, const obj::MatrixValue& b, Arbenv* env) {
    if (a.cols != b.rows) return Value::failure();
    const Elements ea = elements_of(a), eb = elements_of(b);
    if (ea == Elements::symbolic || eb == Elements::symbolic) return symbolic_product(a, b, env);
    if (ea == Elements::real && eb == Elements::real) {
        la::RMat c;
        return from_status(la::multiply(real_dense(a), real_dense(b), c), c);
    }
    la::CMat c;
    return from_status(la::multiply(complex_dense(a), complex_dense(b), c), c);
}

Value matrix_power(const obj::MatrixValue& m, long long k, Arbenv* env) {
    if (m.rows != m.cols) return Value::failure();
    switch (elements_of(m)) {
    case Elements::real: return dense_power(real_dense(m), k);
    case Elements::complex: return dense_power(complex_dense(m), k);
    case Elements::symbolic: break;
    }
    if (k < 1 || k > 64) return Value::failure();
    Value acc = Value::object_of(ObjectPtr(obj::make_matrix(obj::clone_matrix(m), nullptr)));
    for (long long s = 1; s < k && !acc.is_error(); ++s) acc = matrix_product(*block(acc), m, env);
    return acc;
}

Value negated_matrix(Value& v) {
    if (!is_matrix(v)) return Value::failure();
    Value zero = Value::number({0, 0});
    return elementwise(zero, v, '-', nullptr);
}

bool put_element(Value&& v, obj::Item& slot) {
    obj::Item it;
    if (!to_item(v, it)) return false;
    if (it.obj && it.obj->tag != obj::algebraic) {
        obj::free_item(it);
        return false;
    }
    obj::free_item(slot);
    slot = it;
    return true;
}

void fill_matrix_pairs(obj::TypeTable& types) {
    for (obj::Tag t : {obj::numeric, obj::algebraic, obj::internal, obj::array, obj::matrix}) {
        types.types[obj::matrix].binary[t] = matrix_pair;
        types.types[t].binary[obj::matrix] = matrix_pair;
    }
}

}  // namespace ostr::lang
