// The evaluator's rows of the type table: the arithmetic of numbers and of
// formulas, one handler per pair of type tags, and the printer of numbers.
// A cell nobody fills answers ">invalid_expression<".
#include <cmath>

#include "lang/complex_adapter.hpp"
#include "lang/bignum.hpp"
#include "lang/containers.hpp"
#include "lang/matrices.hpp"
#include "lang/globals.hpp"

namespace ostr::lang {
namespace {

using obj::Tag;

// Two numbers. A result with an infinite or NaN part is kept as the text of
// the expression itself (1/0 stays "1/0"), never shown as an infinity.
Value numeric_pair(Value& l, Value& r, char op, Arbenv*, const OperandTexts& texts) {
    if (op != '+' && op != '-' && op != '*' && op != '/' && op != '^') return Value::failure();
    Complex c;
    if (numeric_operation(op, l.num, r.num, &c)) return Value::number(c);
    return Value::formula_of(Text(texts.whole));
}

formula::TextPair pair_of(const Value& v) {
    if (v.kind == Value::Kind::number) return number_pair(v.num);
    return v.text;
}

// Formulas, and formulas with numbers: arithmetic on the text pairs; a
// result whose two texts are numbers becomes a number again.
Value formula_pair(Value& l, Value& r, char op, Arbenv*, const OperandTexts&) {
    auto result = formula::combine_pair(pair_of(l), op, pair_of(r));
    if (formula::stopped()) return Value::failure(Error::evaluation_aborted);
    if (!result || result->re.size() + result->im.size() > max_formula_text) return Value::failure();
    double re, im;
    if (formula::is_number(result->re, &re) && formula::is_number(result->im, &im))
        return Value::number({re, im});
    return Value::formula_of(std::move(result->re), std::move(result->im));
}

void both_ways(obj::TypeTable& t, Tag a, Tag b, BinaryHandler h) {
    t.types[a].binary[b] = t.types[b].binary[a] = h;
}

Text print_number(const obj::Object* o, int digits) { return display(Value::number(obj::numeric_value(o)), digits); }

}  // namespace

bool numeric_operation(char op, Complex a, Complex b, Complex* out) noexcept {
    Complex c;
    switch (op) {
    case '+': c = {a.re + b.re, a.im + b.im}; break;
    case '-': c = {a.re - b.re, a.im - b.im}; break;
    case '*': c = cx::mul(a, b); break;
    case '/': c = cx::div(a, b); break;
    case '^': c = cx::pow(a, b); break;
    default: return false;
    }
    // Zeros come out unsigned: the quotient 2/-4 carries an imaginary part
    // of -0, which would put a later power on the other side of the branch
    // cut than the number's own text (-0.5) does.
    if (!std::isfinite(c.re) || !std::isfinite(c.im)) return false;
    *out = {c.re + 0.0, c.im + 0.0};
    return true;
}

BinaryHandler numeric_handler() noexcept { return numeric_pair; }

// Cells left empty answer ">invalid_expression<". The array cells are
// lang/containers.cpp's, the string cells the statement layer's; matrices
// and big numbers get theirs with those types.
void fill_type_table(obj::TypeTable& t) {
    t.types[Tag::numeric].print = print_number;
    t.types[Tag::numeric].binary[Tag::numeric] = numeric_pair;
    t.types[Tag::internal].binary[Tag::internal] = formula_pair;
    both_ways(t, Tag::internal, Tag::numeric, formula_pair);
    t.types[Tag::algebraic].binary[Tag::algebraic] = formula_pair;
    both_ways(t, Tag::algebraic, Tag::numeric, formula_pair);
    fill_array_pairs(t);
    fill_big_pairs(t);
    fill_matrix_pairs(t);
}

}  // namespace ostr::lang
