// The methods of matrices: one function per row of the table at the end.
// Structural methods (transpose, append, delete, ...) keep formula elements;
// numeric ones (det, invert, eigvals, ...) refuse a matrix that holds one.
// Results that are exact in floating point (products and sums of integers,
// the determinant of an integer matrix, found by fraction-free elimination)
// print exact.
#include <algorithm>
#include <cmath>

#include "lang/globals.hpp"
#include "script/files.hpp"
#include "script/matrices.hpp"
#include "script/script.hpp"

namespace ostr::script {
namespace {

using la::CMat;
using la::cplx;
using la::RMat;
using lang::Elements;
using lang::Value;
using obj::MatrixValue;
using BlockPtr = std::unique_ptr<MatrixValue, void (*)(void*)>;

Value fail() { return Value::failure(); }
Value number(double x) { return Value::number({x + 0.0, 0}); }
const MatrixValue& mat(const obj::Object* self) { return *obj::matrix_of(self); }
Value self_value(const obj::Object* self) { return Value::object_of(lang::ObjectPtr(obj::copy_object(self, nullptr))); }
BlockPtr new_block(std::size_t r, std::size_t c) { return BlockPtr(obj::new_matrix(r, c), obj::release_matrix); }

bool numeric(const MatrixValue& m) { return lang::elements_of(m) != Elements::symbolic; }

bool integer(const Value& v, long long& k) {
    if (v.kind != Value::Kind::number || v.num.im != 0 || v.num.re != std::floor(v.num.re) || std::abs(v.num.re) > 1e9)
        return false;
    k = static_cast<long long>(v.num.re);
    return true;
}


// The items of an argument that adds `n` elements along a row or column:
// an array of n elements, or a matrix whose rows (or columns) are n long.
bool vectors_of(const Value& v, std::size_t n, bool columns, std::vector<std::vector<obj::Item>>& out) {
    auto copy_in = [&](std::vector<obj::Item>& dst, const obj::Item& src) {
        obj::Item c;
        if (!obj::copy_item(src, c)) return false;
        dst.push_back(c);
        return !c.obj || c.obj->tag == obj::algebraic;
    };
    if (lang::is_array(v)) {
        const auto& items = obj::array_of(v.obj.get())->items;
        if (items.size() != n) return false;
        out.emplace_back();
        for (const obj::Item& it : items)
            if (!copy_in(out.back(), it)) return false;
        return true;
    }
    if (!lang::is_matrix(v)) return false;
    const MatrixValue& m = *obj::matrix_of(v.obj.get());
    if ((columns ? m.rows : m.cols) != n) return false;
    for (std::size_t k = 0; k < (columns ? m.cols : m.rows); ++k) {
        out.emplace_back();
        for (std::size_t l = 0; l < n; ++l)
            if (!copy_in(out.back(), columns ? m.at(l, k) : m.at(k, l))) return false;
    }
    return true;
}

void free_vectors(std::vector<std::vector<obj::Item>>& vs) {
    for (auto& v : vs)
        for (obj::Item& it : v) obj::free_item(it);
}

// Replaces the block of self with `fresh`; self's block is its own here.
Value replace(obj::Object* self, MatrixValue* fresh) {
    obj::release_matrix(self->value);
    self->value = fresh;
    return self_value(self);
}

// A new block of r × c: (i, j) takes the item pick(i, j) returns, moved out
// of where it is. Null when memory runs out.
template <class Pick>
MatrixValue* rebuilt(std::size_t r, std::size_t c, Pick pick) {
    MatrixValue* m = obj::new_matrix(r, c);
    if (!m) return nullptr;
    for (std::size_t i = 0; i < r; ++i)
        for (std::size_t j = 0; j < c; ++j)
            if (obj::Item* src = pick(i, j)) std::swap(m->at(i, j), *src);
    return m;
}

// Inserts rows (or columns) at 0-based place p.
Value insert_at(obj::Object* self, std::size_t p, std::span<Value> args, bool columns, Arbenv* env) {
    MatrixValue& m = *obj::matrix_of(self);
    std::vector<std::vector<obj::Item>> add;
    for (const Value& v : args)
        if (!vectors_of(v, columns ? m.rows : m.cols, columns, add)) return free_vectors(add), fail();
    const std::size_t r = columns ? m.rows : m.rows + add.size(), c = columns ? m.cols + add.size() : m.cols;
    if (c > obj::max_matrix_elements / r) return free_vectors(add), too_large(env);
    MatrixValue* fresh = rebuilt(r, c, [&](std::size_t i, std::size_t j) -> obj::Item* {
        std::size_t& k = columns ? j : i;
        const std::size_t keep = k;
        obj::Item* it;
        if (k < p)
            it = &m.at(i, j);
        else if (k < p + add.size())
            it = &add[k - p][columns ? i : j];
        else {
            k -= add.size();
            it = &m.at(i, j);
        }
        k = keep;
        return it;
    });
    free_vectors(add);
    return fresh ? replace(self, fresh) : fail();
}

Value m_append(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    return insert_at(self, mat(self).rows, args, false, env);
}
Value m_appendcol(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    return insert_at(self, mat(self).cols, args, true, env);
}
Value m_insert(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    const std::size_t p = position(args[0], mat(self).rows, true);
    return p == std::string_view::npos ? fail() : insert_at(self, p, args.subspan(1), false, env);
}
Value m_insertcol(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    const std::size_t p = position(args[0], mat(self).cols, true);
    return p == std::string_view::npos ? fail() : insert_at(self, p, args.subspan(1), true, env);
}

// delete(i, ...) / deletecol(j, ...): distinct valid places, not all of them.
Value remove(obj::Object* self, std::span<Value> args, bool columns) {
    MatrixValue& m = *obj::matrix_of(self);
    const std::size_t n = columns ? m.cols : m.rows;
    std::vector<bool> gone(n, false);
    std::size_t count = 0;
    for (const Value& v : args) {
        const std::size_t p = position(v, n);
        if (p == std::string_view::npos || gone[p]) return fail();
        gone[p] = true, ++count;
    }
    if (count == n) return fail();
    std::vector<std::size_t> kept;
    for (std::size_t k = 0; k < n; ++k)
        if (!gone[k]) kept.push_back(k);
    MatrixValue* fresh =
        columns ? rebuilt(m.rows, kept.size(), [&](std::size_t i, std::size_t j) { return &m.at(i, kept[j]); })
                : rebuilt(kept.size(), m.cols, [&](std::size_t i, std::size_t j) { return &m.at(kept[i], j); });
    return fresh ? replace(self, fresh) : fail();
}
Value m_delete(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) { return remove(self, args, false); }
Value m_deletecol(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) { return remove(self, args, true); }

Value swap(obj::Object* self, std::span<Value> args, bool columns) {
    MatrixValue& m = *obj::matrix_of(self);
    const std::size_t n = columns ? m.cols : m.rows;
    const std::size_t p = position(args[0], n), q = position(args[1], n);
    if (p == std::string_view::npos || q == std::string_view::npos) return fail();
    for (std::size_t k = 0; k < (columns ? m.rows : m.cols); ++k)
        columns ? std::swap(m.at(k, p), m.at(k, q)) : std::swap(m.at(p, k), m.at(q, k));
    return self_value(self);
}
Value m_swap(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) { return swap(self, args, false); }
Value m_swapcol(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) { return swap(self, args, true); }

// enlarge(n): n × n, the old elements in place and zeros around them; n
// below either size is an error.
Value m_enlarge(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    MatrixValue& m = *obj::matrix_of(self);
    long long n;
    if (!integer(args[0], n) || n < static_cast<long long>(std::max(m.rows, m.cols))) return fail();
    const auto un = static_cast<std::size_t>(n);
    if (un > obj::max_matrix_elements / un) return too_large(env);
    MatrixValue* fresh =
        rebuilt(un, un, [&](std::size_t i, std::size_t j) { return i < m.rows && j < m.cols ? &m.at(i, j) : nullptr; });
    return fresh ? replace(self, fresh) : fail();
}

// elem(i, j) reads an element; elem(i, j, x) sets it and answers the matrix.
Value m_elem(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) {
    MatrixValue& m = *obj::matrix_of(self);
    const std::size_t i = position(args[0], m.rows), j = position(args[1], m.cols);
    if (i == std::string_view::npos || j == std::string_view::npos) return fail();
    if (args.size() == 2) return lang::item_value(m.at(i, j));
    return lang::put_element(std::move(args[2]), m.at(i, j)) ? self_value(self) : fail();
}

Value m_size(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    return number(static_cast<double>(mat(self).items.size()));
}
Value m_dims(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    return number_array(std::vector<double>{static_cast<double>(mat(self).rows), static_cast<double>(mat(self).cols)});
}

Value binary(obj::Object* self, Value& b, char op, Arbenv* env) {
    Value a = self_value(self);
    if (a.is_error()) return a;
    return obj::binary_handler(a.tag(), b.tag())(a, b, op, env, lang::OperandTexts{});
}
Value m_mul(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    return binary(self, args[0], '*', env);
}
Value m_add(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    return binary(self, args[0], '+', env);
}
Value m_sub(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    return binary(self, args[0], '-', env);
}
Value m_dirmul(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    if (lang::is_array(args[0])) return fail();
    return lang::elementwise(self_value(self), args[0], '*', env);
}
Value m_diradd(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    if (lang::is_array(args[0])) return fail();
    return lang::elementwise(self_value(self), args[0], '+', env);
}

Value m_transpose(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    const MatrixValue& m = mat(self);
    BlockPtr t = new_block(m.cols, m.rows);
    if (!t) return fail();
    for (std::size_t i = 0; i < m.rows; ++i)
        for (std::size_t j = 0; j < m.cols; ++j)
            if (!obj::copy_item(m.at(i, j), t->at(j, i))) return fail();
    return lang::matrix_value(t.release());
}

Value m_conj(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (!numeric(m)) return fail();
    BlockPtr c = new_block(m.rows, m.cols);
    if (!c) return fail();
    for (std::size_t k = 0; k < m.items.size(); ++k) c->items[k].num = {m.items[k].num.re, 0.0 - m.items[k].num.im};
    return lang::matrix_value(c.release());
}

Value m_trace(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (m.rows != m.cols) return fail();
    Value acc = number(0);
    for (std::size_t k = 0; k < m.rows && !acc.is_error(); ++k) {
        Value x = lang::item_value(m.at(k, k));
        acc = obj::binary_handler(acc.tag(), x.tag())(acc, x, '+', env, lang::OperandTexts{});
    }
    return acc;
}

// vectorize(): the elements column after column, as an array.
Value m_vectorize(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    const MatrixValue& m = mat(self);
    obj::ArrayValue* a = obj::new_array();
    Value out = lang::array_value(a);
    if (out.is_error()) return out;
    a->items.reserve(m.items.size());
    for (std::size_t j = 0; j < m.cols; ++j)
        for (std::size_t i = 0; i < m.rows; ++i) {
            obj::Item c;
            if (!obj::copy_item(m.at(i, j), c)) return fail();
            a->items.push_back(c);
        }
    return out;
}

// matricize(): a single row or column of n² elements as the n × n matrix
// whose columns they are, the inverse of vectorize.
Value m_matricize(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    const MatrixValue& m = mat(self);
    const std::size_t len = m.items.size();
    const auto n = static_cast<std::size_t>(std::llround(std::sqrt(static_cast<double>(len))));
    if ((m.rows != 1 && m.cols != 1) || n * n != len) return fail();
    BlockPtr out = new_block(n, n);
    if (!out) return fail();
    for (std::size_t k = 0; k < len; ++k)
        if (!obj::copy_item(m.items[k], out->at(k % n, k / n))) return fail();
    return lang::matrix_value(out.release());
}

Value m_array(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    const MatrixValue& m = mat(self);
    obj::ArrayValue* a = obj::new_array();
    Value out = lang::array_value(a);
    if (out.is_error()) return out;
    for (std::size_t i = 0; i < m.rows; ++i) {
        obj::ArrayValue* row = obj::new_array();
        if (!row) return fail();
        obj::Item it;
        it.obj = obj::make_array(row, nullptr);
        if (!it.obj) return fail();
        a->items.push_back(it);
        for (std::size_t j = 0; j < m.cols; ++j) {
            obj::Item c;
            if (!obj::copy_item(m.at(i, j), c)) return fail();
            row->items.push_back(c);
        }
    }
    obj::refresh_depth(*a);
    return out;
}

// writematrix(): the matrix as text, one line per row, elements separated
// by commas (the form spreadsheets read); writematrix("file") writes the
// file in full precision, as writematrix("file", m) does.
Value m_writematrix(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    if (args.size() == 1) return write_matrix_file(args[0], mat(self));
    if (!args.empty()) return fail();
    const MatrixValue& m = mat(self);
    Text out;
    for (std::size_t i = 0; i < m.rows; ++i) {
        for (std::size_t j = 0; j < m.cols; ++j) {
            if (j) out += ',';
            out += print_item(m.at(i, j), 15);
        }
        out += '\n';
    }
    return Value::object_of(lang::ObjectPtr(make_string(out, "", env)));
}

}  // namespace

// The numeric methods are in matrix_numeric.cpp.
Value matrix_invert(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_det(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_rank(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_eigvals(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_eigvecs(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_solve(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_norm(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_cond(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_lu(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_qr(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_svd(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_pinv(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_kron(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);
Value matrix_expm(obj::Object*, std::span<Value>, Arbenv*, std::uint32_t);

namespace {

// The rows in the order of the type's method table, then swap and swapcol,
// then the additions.
constexpr MethodRow rows[] = {
    {"size", 0, 0, false, m_size},
    {"rank", 0, 0, false, matrix_rank},
    {"mul", 1, 1, false, m_mul},
    {"add", 1, 1, false, m_add},
    {"sub", 1, 1, false, m_sub},
    {"dirmul", 1, 1, false, m_dirmul},
    {"diradd", 1, 1, false, m_diradd},
    {"append", 1, -1, true, m_append},
    {"appendcol", 1, -1, true, m_appendcol},
    {"insert", 2, 2, true, m_insert},
    {"insertcol", 2, 2, true, m_insertcol},
    {"enlarge", 1, 1, true, m_enlarge},
    {"delete", 1, -1, true, m_delete},
    {"deletecol", 1, -1, true, m_deletecol},
    {"transpose", 0, 0, false, m_transpose},
    {"elem", 2, 3, true, m_elem},
    {"invert", 0, 0, false, matrix_invert},
    {"conj", 0, 0, false, m_conj},
    {"dims", 0, 0, false, m_dims},
    {"trace", 0, 0, false, m_trace},
    {"vectorize", 0, 0, false, m_vectorize},
    {"matricize", 0, 0, false, m_matricize},
    {"det", 0, 0, false, matrix_det},
    {"eigvals", 0, 0, false, matrix_eigvals},
    {"eigvecs", 0, 0, false, matrix_eigvecs},
    {"array", 0, 0, false, m_array},
    {"writematrix", 0, -1, false, m_writematrix},
    {"swap", 2, 2, true, m_swap},
    {"swapcol", 2, 2, true, m_swapcol},
    {"solve", 1, 1, false, matrix_solve},
    {"norm", 0, 1, false, matrix_norm},
    {"cond", 0, 0, false, matrix_cond},
    {"lu", 1, 1, false, matrix_lu},
    {"qr", 1, 1, false, matrix_qr},
    {"svd", 0, 1, false, matrix_svd},
    {"pinv", 0, 0, false, matrix_pinv},
    {"kron", 1, 1, false, matrix_kron},
    {"expm", 0, 0, false, matrix_expm},
};

}  // namespace

std::span<const MethodRow> matrix_methods() noexcept { return rows; }

const MethodRow* matrix_method(std::string_view name) noexcept {
    for (const MethodRow& r : rows)
        if (r.name == name) return &r;
    return nullptr;
}

}  // namespace ostr::script
