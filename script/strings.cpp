// String values: objects of tag 4 whose value is a zero-terminated text;
// they print in double quotes with their escapes, join with "+" and compare
// with "==" and "~=" (the string type's printer, arithmetic and comparison).
#include <cstring>

#include "script/script.hpp"

namespace ostr::script {

obj::Object* make_string(std::string_view text, std::string_view name, Arbenv* env) {
    return obj::make_string_object(text, name, env);
}

Text quoted(std::string_view s) {
    Text out("\"");
    out.reserve(s.size() + 2);
    for (char c : s) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        default: out += c; break;
        }
    }
    out += '"';
    return out;
}

Text print_string(const obj::Object* o, int) { return quoted(obj::text_value(o)); }

Text print_value(const lang::Value& v, Arbenv* env) {
    Text t = lang::display(v, env->significant_digits);
    // A formula may carry the name of a lifted string ("f(\"a\")" with f
    // unknown); the user sees the string again.
    if (v.kind == lang::Value::Kind::formula) return substitute(t, env);
    return t;
}

namespace {

bool is_string(const lang::Value& v) noexcept {
    return v.kind == lang::Value::Kind::object && v.obj && v.obj->tag == obj::string;
}

// The text a value contributes to a joined string: a string's own text
// where it lies, a number as the user would see it (written into `number`);
// nothing for anything else.
bool piece(const lang::Value& v, Arbenv* env, Text& number, std::string_view& out) {
    if (is_string(v)) {
        out = obj::text_value(v.obj.get());
        return true;
    }
    if (v.kind == lang::Value::Kind::number) {
        number = lang::display(v, env->significant_digits);
        out = number;
        return true;
    }
    return false;
}

}  // namespace

// The two texts go straight into the new string's block: one copy of each.
lang::Value string_arithmetic(lang::Value& l, lang::Value& r, char op, Arbenv* env, const lang::OperandTexts&) {
    Text na, nb;
    std::string_view a, b;
    if (op != '+' || !piece(l, env, na, a) || !piece(r, env, nb, b)) return lang::Value::failure();
    if (a.size() + b.size() > limits().max_string_bytes) return abort_value(env, "string too long");
    char* v = obj::new_string_value(a, b);
    if (!v) return lang::Value::failure();
    return lang::Value::object_of(lang::ObjectPtr(obj::make_object(env, obj::string, "", v, obj::string_handlers())));
}

// Order is byte order, which for UTF-8 texts is the order of the code
// points; "|" and "&" take no strings.
int string_compare(const lang::Value& a, const lang::Value& b, lang::ops::Cond c) {
    if (!is_string(a) || !is_string(b)) return -1;
    const int order = obj::text_value(a.obj.get()).compare(obj::text_value(b.obj.get()));
    switch (c) {
    case lang::ops::Cond::eq: return order == 0;
    case lang::ops::Cond::ne: return order != 0;
    case lang::ops::Cond::lt: return order < 0;
    case lang::ops::Cond::gt: return order > 0;
    case lang::ops::Cond::le: return order <= 0;
    case lang::ops::Cond::ge: return order >= 0;
    default: return -1;
    }
}

int truth_text(const lang::Value& v, Arbenv* env) {
    if (v.kind == lang::Value::Kind::number && v.num.im == 0) {
        if (v.num.re == 1) return 1;
        if (v.num.re == 0) return 0;
    }
    if (v.is_error()) return -1;
    Text t = lang::display(v, env->significant_digits);
    if (t == "1") return 1;
    if (t == "0") return 0;
    return -1;
}

}  // namespace ostr::script
