// Matrices in the statement layer: the literal, access chains and element
// assignment, the printer, comparison and the constructors. The methods are
// in matrix_methods.cpp.
#include "script/matrices.hpp"

#include <cmath>

#include "grammar/scan.hpp"
#include "lang/globals.hpp"
#include "script/script.hpp"

namespace ostr::script {
namespace {

using lang::Value;

Value fail(lang::Error e = lang::Error::invalid_expression) { return Value::failure(e); }

using BlockPtr = std::unique_ptr<obj::MatrixValue, void (*)(void*)>;

bool is_matrix_object(const obj::Object* o) noexcept { return o && o->value && o->tag == obj::matrix; }

// Rows from arrays of one length; null (with `too_big` set past the bound)
// when they are ragged, empty or hold what a matrix may not.
obj::MatrixValue* from_rows(std::span<const obj::ArrayValue* const> rows, bool& too_big) {
    too_big = false;
    if (rows.empty() || rows[0]->items.empty()) return nullptr;
    const std::size_t c = rows[0]->items.size();
    if (rows.size() > obj::max_matrix_elements / c) return too_big = true, nullptr;
    BlockPtr m(obj::new_matrix(rows.size(), c), obj::release_matrix);
    if (!m) return nullptr;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i]->items.size() != c) return nullptr;
        for (std::size_t j = 0; j < c; ++j)
            if (!lang::put_element(lang::item_value(rows[i]->items[j]), m->at(i, j))) return nullptr;
    }
    return m.release();
}

Value row_array(const obj::MatrixValue& m, std::size_t i) {
    obj::ArrayValue* a = obj::new_array();
    Value out = lang::array_value(a);
    if (out.is_error()) return out;
    a->items.reserve(m.cols);
    for (std::size_t j = 0; j < m.cols; ++j) {
        obj::Item c;
        if (!obj::copy_item(m.at(i, j), c)) return fail();
        a->items.push_back(c);
    }
    return out;
}

// The values of every step's index or arguments, in order.
bool evaluate_steps(const Access& a, Arbenv* env, std::vector<std::vector<Value>>& out, Value* error) {
    out.resize(a.steps.size());
    for (std::size_t k = 0; k < a.steps.size(); ++k) {
        const Step& s = a.steps[k];
        if (!s.method && s.inside.empty()) return *error = fail(), false;
        if (s.inside.empty()) continue;
        for (std::string_view piece : lang::scan::split_commas(s.inside)) {
            if (piece.empty()) return *error = fail(), false;
            out[k].push_back(lang::evaluate(piece, env));
            if (out[k].back().is_error()) return *error = std::move(out[k].back()), false;
        }
        if (!s.method && out[k].size() != 1) return *error = fail(), false;
    }
    return true;
}

Value call(obj::Object* self, const MethodRow* row, std::vector<Value>& args, Arbenv* env) {
    const int n = static_cast<int>(args.size());
    if (n < row->min_args || (row->max_args >= 0 && n > row->max_args)) return fail();
    try {
        return row->fn(self, args, env, obj::max_container_depth);
    } catch (const std::bad_alloc&) {
        return fail();
    }
}

// Walks the steps from a matrix; `root` is the variable when the first step
// may change it.
Value walk(const Access& a, std::vector<std::vector<Value>>& args, Value cur, obj::Object* root, Arbenv* env) {
    for (std::size_t k = 0; k < a.steps.size(); ++k) {
        const Step& s = a.steps[k];
        if (!s.method) {
            if (lang::is_array(cur)) {
                const auto& items = obj::array_of(cur.obj.get())->items;
                const std::size_t p = position(args[k][0], items.size());
                if (p == std::string_view::npos) return fail(lang::Error::invalid_object);
                cur = lang::item_value(items[p]);
                continue;
            }
            if (!lang::is_matrix(cur)) {  // a value some earlier step answered
                cur = step_on_value(std::move(cur), s, args[k], env);
                if (cur.is_error()) return cur;
                continue;
            }
            const obj::MatrixValue& m = *obj::matrix_of(cur.obj.get());
            const std::size_t p = position(args[k][0], m.rows);
            if (p == std::string_view::npos) return fail(lang::Error::invalid_object);
            cur = row_array(m, p);
            continue;
        }
        if (!lang::is_matrix(cur)) {
            cur = step_on_value(std::move(cur), s, args[k], env);
            if (cur.is_error()) return cur;
            continue;
        }
        const MethodRow* row = matrix_method(s.name);
        if (!row) return fail();
        if (row->changes && k == 0 && root) {
            if (!obj::writable_matrix(root)) return fail();
            cur = call(root, row, args[k], env);
        } else if (row->changes) {
            Value own = Value::object_of(
                lang::ObjectPtr(obj::make_matrix(obj::clone_matrix(*obj::matrix_of(cur.obj.get())), nullptr)));
            if (own.is_error()) return own;
            cur = call(own.obj.get(), row, args[k], env);
        } else {
            cur = call(cur.obj.get(), row, args[k], env);
        }
        if (cur.is_error()) return cur;
    }
    return cur;
}

// zeros(r, c) and identity(n).
bool dimension(const Value& v, std::size_t& n) {
    if (v.kind != Value::Kind::number || v.num.im != 0 || v.num.re != std::floor(v.num.re) || v.num.re < 1)
        return false;
    n = v.num.re > static_cast<double>(obj::max_matrix_elements) ? obj::max_matrix_elements + 1
                                                                 : static_cast<std::size_t>(v.num.re);
    return true;
}

Value zeros(std::span<Value> args, Arbenv* env) {
    std::size_t r, c;
    if (!dimension(args[0], r) || !dimension(args[1], c)) return fail();
    if (r > obj::max_matrix_elements / c) return too_large(env);
    return lang::matrix_value(obj::new_matrix(r, c));
}

Value identity(std::span<Value> args, Arbenv* env) {
    std::size_t n;
    if (!dimension(args[0], n)) return fail();
    if (n > obj::max_matrix_elements / n) return too_large(env);
    obj::MatrixValue* m = obj::new_matrix(n, n);
    if (m)
        for (std::size_t k = 0; k < n; ++k) m->at(k, k).num = {1, 0};
    return lang::matrix_value(m);
}

}  // namespace

Value matrix_literal(std::string_view inside, Arbenv* env) {
    if (inside.empty()) return fail();
    std::vector<Value> rows;
    for (std::string_view piece : lang::scan::split_commas(inside)) {
        if (piece.empty()) return fail();
        rows.push_back(lang::evaluate(piece, env));
        if (rows.back().is_error()) return std::move(rows.back());
        if (!lang::is_array(rows.back())) return fail();
    }
    std::vector<const obj::ArrayValue*> blocks;
    for (const Value& r : rows) blocks.push_back(obj::array_of(r.obj.get()));
    bool too_big;
    obj::MatrixValue* m = from_rows(blocks, too_big);
    if (too_big) return too_large(env);
    return lang::matrix_value(m);
}

Value matrix_from_array(const obj::ArrayValue& a) {
    std::vector<const obj::ArrayValue*> rows;
    for (const obj::Item& it : a.items) {
        if (!it.obj || it.obj->tag != obj::array) {
            rows.clear();
            break;
        }
        rows.push_back(obj::array_of(it.obj));
    }
    if (rows.empty()) rows.push_back(&a);
    bool too_big;
    return lang::matrix_value(from_rows(rows, too_big));
}

Value matrix_chain(const Access& a, obj::Object* root, Arbenv* env) {
    std::vector<std::vector<Value>> args;
    Value err;
    if (!evaluate_steps(a, env, args, &err)) return err;
    // Looked up again: the arguments may have replaced the variable.
    root = obj::resolve(env, a.base);
    if (!is_matrix_object(root)) return fail();
    Value cur = Value::object_of(lang::ObjectPtr(obj::copy_object(root, nullptr)));
    if (cur.is_error()) return cur;
    return walk(a, args, std::move(cur), root, env);
}

Value matrix_steps(const Access& a, std::vector<std::vector<Value>>& args, Value base, Arbenv* env) {
    return walk(a, args, std::move(base), nullptr, env);
}

Value matrix_chain(const Access& a, Value base, Arbenv* env) {
    std::vector<std::vector<Value>> args;
    Value err;
    if (!evaluate_steps(a, env, args, &err)) return err;
    return walk(a, args, std::move(base), nullptr, env);
}

std::optional<Text> assign_matrix_element(std::string_view left, std::string_view right, Arbenv* env) {
    std::optional<Access> a = parse_access(left);
    if (!a || a->steps.empty() || a->steps.size() > 2 || !lang::scan::is_plain_name(a->base)) return std::nullopt;
    if (!is_matrix_object(obj::resolve(env, a->base))) return std::nullopt;
    auto word = [](lang::Error e) { return Text(lang::error_word(e)); };
    for (const Step& s : a->steps)
        if (s.method) return word(lang::Error::invalid_assignment);
    Value v = lang::evaluate(right, env);
    if (v.is_error()) return word(aborted(env) ? lang::Error::evaluation_aborted : v.error);
    std::vector<std::vector<Value>> args;
    Value err;
    if (!evaluate_steps(*a, env, args, &err)) return word(err.error);
    obj::Object* o = obj::resolve(env, a->base);
    if (!is_matrix_object(o)) return word(lang::Error::invalid_assignment);
    const obj::MatrixValue& shape = *obj::matrix_of(o);
    const std::size_t i = position(args[0][0], shape.rows);
    const std::size_t j = a->steps.size() == 2 ? position(args[1][0], shape.cols) : 0;
    if (i == std::string_view::npos || j == std::string_view::npos) return word(lang::Error::invalid_assignment);
    if (a->steps.size() == 1) {  // a whole row from an array of the row's length
        if (!lang::is_array(v)) return word(lang::Error::invalid_assignment);
        const auto& items = obj::array_of(v.obj.get())->items;
        if (items.size() != shape.cols) return word(lang::Error::invalid_assignment);
        BlockPtr row(obj::new_matrix(1, shape.cols), obj::release_matrix);
        if (!row) return word(lang::Error::invalid_expression);
        for (std::size_t c = 0; c < shape.cols; ++c)
            if (!lang::put_element(lang::item_value(items[c]), row->items[c])) return word(lang::Error::invalid_expression);
        obj::MatrixValue* m = obj::writable_matrix(o);
        if (!m) return word(lang::Error::invalid_expression);
        for (std::size_t c = 0; c < shape.cols; ++c) std::swap(m->at(i, c), row->items[c]);
        return Text();
    }
    obj::Item it;
    if (!lang::put_element(std::move(v), it)) return word(lang::Error::invalid_expression);
    obj::MatrixValue* m = obj::writable_matrix(o);
    if (!m) {
        obj::free_item(it);
        return word(lang::Error::invalid_expression);
    }
    obj::free_item(m->at(i, j));
    m->at(i, j) = it;
    return Text();
}

Text print_matrix(const obj::Object* o, int digits) {
    const obj::MatrixValue& m = *obj::matrix_of(o);
    Text out("matrix:");
    for (std::size_t i = 0; i < m.rows; ++i) {
        out += i ? ",[" : "[";
        for (std::size_t j = 0; j < m.cols; ++j) {
            if (j) out += ',';
            out += print_item(m.at(i, j), digits);
        }
        out += ']';
    }
    out += ';';
    return out;
}

int matrix_compare(const Value& a, const Value& b, lang::ops::Cond c) {
    if (!lang::is_matrix(a) && !lang::is_matrix(b)) return -1;
    if (c != lang::ops::Cond::eq && c != lang::ops::Cond::ne) return -1;
    bool same = lang::is_matrix(a) && lang::is_matrix(b);
    if (same) {
        const obj::MatrixValue &x = *obj::matrix_of(a.obj.get()), &y = *obj::matrix_of(b.obj.get());
        same = x.rows == y.rows && x.cols == y.cols;
        for (std::size_t k = 0; same && k < x.items.size(); ++k) same = same_item(x.items[k], y.items[k]);
    }
    return c == lang::ops::Cond::eq ? same : !same;
}

void install_matrices() {
    obj::TypeTable& t = obj::type_table();
    t.types[obj::matrix].print = print_matrix;
    t.types[obj::matrix].compare = matrix_compare;
    if (lang::globals()) {
        lang::register_builtin("zeros(2)", zeros);
        lang::register_builtin("identity(1)", identity);
    }
}

}  // namespace ostr::script
