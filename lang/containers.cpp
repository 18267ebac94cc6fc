// Arrays in the evaluator: items to values and back, element-wise
// arithmetic through the binary table, and predefined functions applied to
// arrays (element by element, or over the elements for the statistics).
#include "lang/containers.hpp"

#include "lang/builtins.hpp"
#include "lang/globals.hpp"

namespace ostr::lang {
namespace {

Value copy_of(const Value& v) {
    switch (v.kind) {
    case Value::Kind::number: return Value::number(v.num);
    case Value::Kind::error: return Value::failure(v.error);
    case Value::Kind::formula:
    case Value::Kind::pair: {
        Value c = Value::formula_of(v.text.re, v.text.im);
        c.kind = v.kind;
        return c;
    }
    case Value::Kind::object: return Value::object_of(ObjectPtr(obj::copy_object(v.obj.get())));
    }
    return Value::failure();
}

// The text of a number as an operand of a formula: bracketed unless it is
// a plain real number.
Text operand_text(const Value& v) {
    Text t = v.kind == Value::Kind::number ? joined(number_pair(v.num)) : joined(v.text);
    if (t.find_first_of("+-*/^", 1) != Text::npos || (!t.empty() && t[0] == '-')) return Text("(") + t + Text(")");
    return t;
}

// One element operation. A non-finite result of two numbers is kept as the
// text of the element operation (1/0), as the whole expression would be.
Value element_op(Value& l, Value& r, char op, Arbenv* env) {
    if (l.is_error() || r.is_error()) return Value::failure();
    const bool numbers = l.kind == Value::Kind::number && r.kind == Value::Kind::number;
    Value out = obj::binary_handler(l.tag(), r.tag())(l, r, op, env, OperandTexts{});
    if (!numbers || out.kind != Value::Kind::formula) return out;
    Text whole = operand_text(l) + Text(1, op) + operand_text(r);
    return Value::formula_of(std::move(whole));
}

bool push_result(obj::ArrayValue& a, Value&& v) {
    obj::Item it;
    if (!to_item(v, it)) return false;
    a.items.push_back(it);
    return true;
}

Value finish(obj::ArrayValue* block) {
    obj::refresh_depth(*block);
    if (block->depth > obj::max_container_depth) {
        obj::array_handlers().free(block);
        return Value::failure();
    }
    return array_value(block);
}

using BlockPtr = std::unique_ptr<obj::ArrayValue, void (*)(void*)>;
BlockPtr new_block() { return BlockPtr(obj::new_array(), obj::array_handlers().free); }

Value array_pair(Value& l, Value& r, char op, Arbenv* env, const OperandTexts&) {
    const obj::ArrayValue* a = is_array(l) ? obj::array_of(l.obj.get()) : nullptr;
    const obj::ArrayValue* b = is_array(r) ? obj::array_of(r.obj.get()) : nullptr;
    if (!globals() || (a && b && a->items.size() != b->items.size())) return Value::failure();
    const std::size_t n = a ? a->items.size() : b->items.size();
    BlockPtr out = new_block();
    if (!out) return Value::failure();
    out->items.reserve(n);
    for (std::size_t k = 0; k < n; ++k) {
        Value x = a ? item_value(a->items[k]) : copy_of(l);
        Value y = b ? item_value(b->items[k]) : copy_of(r);
        if (!push_result(*out, element_op(x, y, op, env))) return Value::failure();
    }
    return finish(out.release());
}

// The call text of one element, for a result kept as a formula.
Text element_call(std::string_view name, std::span<Value> vals) {
    Text t(name);
    t += '(';
    for (std::size_t k = 0; k < vals.size(); ++k) {
        if (k) t += ',';
        t += vals[k].kind == Value::Kind::number ? joined(number_pair(vals[k].num)) : joined(vals[k].text);
    }
    t += ')';
    return t;
}

Value one_call(const Builtin& b, std::string_view name, const Call& call, std::vector<Value>& vals) {
    for (const Value& v : vals)
        if (is_array(v)) {
            std::vector<Value> again;
            for (const Value& w : vals) again.push_back(copy_of(w));
            return *array_call(b, name, call, again);
        }
    Value out = b.call_fn(call, vals);
    if (out.kind != Value::Kind::formula) return out;
    Text text = element_call(name, vals);
    return b.call_fn(Call{text, call.args, call.env}, vals);
}

Value elementwise(const Builtin& b, std::string_view name, const Call& call, std::span<Value> args) {
    std::size_t n = 0;
    bool sized = false;
    for (const Value& v : args) {
        if (!is_array(v)) continue;
        const std::size_t m = obj::array_of(v.obj.get())->items.size();
        if (sized && m != n) return Value::failure();
        n = m, sized = true;
    }
    BlockPtr out = new_block();
    if (!out) return Value::failure();
    out->items.reserve(n);
    std::vector<Value> vals(args.size());
    for (std::size_t k = 0; k < n; ++k) {
        for (std::size_t j = 0; j < args.size(); ++j)
            vals[j] = is_array(args[j]) ? item_value(obj::array_of(args[j].obj.get())->items[k]) : copy_of(args[j]);
        if (!push_result(*out, one_call(b, name, call, vals))) return Value::failure();
    }
    return finish(out.release());
}

// The statistics see the elements of an array argument as arguments.
Value over_elements(const Builtin& b, const Call& call, std::span<Value> args) {
    std::vector<Value> flat;
    for (Value& v : args) {
        if (!is_array(v)) {
            flat.push_back(std::move(v));
            continue;
        }
        for (const obj::Item& it : obj::array_of(v.obj.get())->items) flat.push_back(item_value(it));
    }
    std::vector<std::string_view> texts(flat.size(), "x");
    return b.call_fn(Call{call.text, texts, call.env}, flat);
}

}  // namespace

Value item_value(const obj::Item& it) {
    if (!it.obj) return Value::number(it.num);
    return value_of(it.obj);
}

bool is_array(const Value& v) noexcept { return v.kind == Value::Kind::object && v.obj && v.obj->tag == obj::array; }
bool is_map(const Value& v) noexcept { return v.kind == Value::Kind::object && v.obj && v.obj->tag == obj::map; }

bool to_item(Value& v, obj::Item& out) {
    out = {};
    switch (v.kind) {
    case Value::Kind::number: out.num = v.num; return true;
    case Value::Kind::formula:
    case Value::Kind::pair: out.obj = obj::make_algebraic(joined(v.text), "", nullptr); return out.obj != nullptr;
    case Value::Kind::error: return false;
    case Value::Kind::object:
        if (!obj::storable(v.obj.get())) return false;
        if (v.obj->tag == obj::numeric) {
            out.num = obj::numeric_value(v.obj.get());
            return true;
        }
        out.obj = v.obj.release();
        // An element belongs to its container, not to an environment.
        out.obj->env = nullptr;
        out.obj->members->abort_text = nullptr;
        return true;
    }
    return false;
}

Value array_value(obj::ArrayValue* block) {
    return Value::object_of(ObjectPtr(obj::make_array(block, nullptr)));
}

Value negated_array(Value& v) {
    if (!is_array(v)) return Value::failure();
    Value zero = Value::number({0, 0});
    return array_pair(zero, v, '-', nullptr, OperandTexts{});
}

void fill_array_pairs(obj::TypeTable& types) {
    for (obj::Tag t : {obj::numeric, obj::algebraic, obj::internal, obj::array}) {
        types.types[obj::array].binary[t] = array_pair;
        types.types[t].binary[obj::array] = array_pair;
    }
}

std::optional<Value> array_call(const Builtin& b, std::string_view name, const Call& call, std::span<Value> args) {
    bool any = false;
    for (const Value& v : args) any = any || is_array(v);
    if (!any || !b.call_fn || !b.evaluate_arguments || !find_help(name)) return std::nullopt;
    if (builtin::malformed(call)) return Value::failure();
    if (b.arity < 0) return over_elements(b, call, args);
    return elementwise(b, name, call, args);
}

}  // namespace ostr::lang
