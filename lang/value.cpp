// Values to and from object records, and the text shown for a value.
#include "lang/value.hpp"

#include <algorithm>
#include <cmath>

#include "numtext/numtext_adapter.hpp"
#include "objects/types.hpp"

namespace ostr::lang {

Value value_of(const obj::Object* o) {
    if (auto f = obj::type_of(o->tag).value_of) return f(o);
    return Value::object_of(ObjectPtr(obj::copy_object(o)));
}

formula::TextPair number_pair(Complex c) { return {number_text(c.re, 15), number_text(c.im, 15)}; }

Text joined(const formula::TextPair& p) {
    if (p.im == "0") return p.re;
    return formula::combine(p.re, '+', formula::combine(p.im, '*', "i"));
}

obj::Object* to_object(Value v, Arbenv* env, std::string_view name) {
    switch (v.kind) {
    case Value::Kind::number: return obj::make_numeric(v.num, name, env);
    case Value::Kind::formula:
    case Value::Kind::pair: return obj::make_algebraic(joined(v.text), name, env);
    case Value::Kind::error: return obj::make_algebraic(error_word(v.error), name, env);
    case Value::Kind::object: {
        obj::Object* o = v.obj.release();
        if (!obj::rename_object(o, name)) {
            obj::free_object(o);
            return nullptr;
        }
        o->env = env;
        return o;
    }
    }
    return nullptr;
}

Text display(const Value& v, int digits) {
    digits = std::clamp(digits, 1, 17);
    switch (v.kind) {
    case Value::Kind::number: {
        // A part below 1e-15 of the other is rounding noise of the polar
        // power ((-2)^2 has an imaginary part of 1e-16) and is shown as 0.
        Complex c = v.num;
        if (std::fabs(c.im) < 1e-15 * std::fabs(c.re)) c.im = 0;
        if (std::fabs(c.re) < 1e-15 * std::fabs(c.im)) c.re = 0;
        Text re = number_text(c.re, digits);
        if (c.im == 0) return re;
        Text im = std::fabs(c.im) == 1 ? Text("i") : number_text(std::fabs(c.im), digits) + Text("*i");
        Text sign(c.im < 0 ? "-" : "+");
        if (c.re == 0) return c.im < 0 ? sign + im : im;
        return re + sign + im;
    }
    case Value::Kind::formula:
    case Value::Kind::pair: return joined(v.text);
    case Value::Kind::error: return Text(error_word(v.error));
    case Value::Kind::object: return obj::print(v.obj.get(), digits);
    }
    return Text(error_word(Error::invalid_expression));
}

}  // namespace ostr::lang
