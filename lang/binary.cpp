// The binary operation table: one handler per pair of type tags, chosen by
// the tags of the two operand values. Every cell starts as the handler that
// answers ">invalid_expression<"; the meaningful pairs are filled after.
#include <cmath>

#include "lang/complex_adapter.hpp"
#include "lang/containers.hpp"
#include "lang/globals.hpp"

namespace ostr::lang {
namespace {

using obj::Tag;

// Two numbers. A result with an infinite or NaN part is kept as the text of
// the expression itself (1/0 stays "1/0"), never shown as an infinity.
Value numeric_pair(Value& l, Value& r, char op, Arbenv*, const OperandTexts& texts) {
    Complex a = l.num, b = r.num, c;
    switch (op) {
    case '+': c = {a.re + b.re, a.im + b.im}; break;
    case '-': c = {a.re - b.re, a.im - b.im}; break;
    case '*': c = cx::mul(a, b); break;
    case '/': c = cx::div(a, b); break;
    case '^': c = cx::pow(a, b); break;
    default: return Value::failure();
    }
    // Zeros come out unsigned: the quotient 2/-4 carries an imaginary part
    // of -0, which would put a later power on the other side of the branch
    // cut than the number's own text (-0.5) does.
    if (std::isfinite(c.re) && std::isfinite(c.im)) return Value::number({c.re + 0.0, c.im + 0.0});
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

// The pairs of the value forms that arrive with their types (matrices,
// strings, big numbers) have their cells reserved here; until those types
// bring their arithmetic, these handlers answer ">invalid_expression<".
Value matrix_pair(Value& l, Value& r, char op, Arbenv* e, const OperandTexts& t) { return invalid_pair(l, r, op, e, t); }
Value matrix_scalar(Value& l, Value& r, char op, Arbenv* e, const OperandTexts& t) { return invalid_pair(l, r, op, e, t); }
Value string_pair(Value& l, Value& r, char op, Arbenv* e, const OperandTexts& t) { return invalid_pair(l, r, op, e, t); }
Value string_scalar(Value& l, Value& r, char op, Arbenv* e, const OperandTexts& t) { return invalid_pair(l, r, op, e, t); }
Value string_matrix(Value& l, Value& r, char op, Arbenv* e, const OperandTexts& t) { return invalid_pair(l, r, op, e, t); }
Value bignum_scalar(Value& l, Value& r, char op, Arbenv* e, const OperandTexts& t) { return invalid_pair(l, r, op, e, t); }
Value bignum_matrix(Value& l, Value& r, char op, Arbenv* e, const OperandTexts& t) { return invalid_pair(l, r, op, e, t); }
Value bignum_pair(Value& l, Value& r, char op, Arbenv* e, const OperandTexts& t) { return invalid_pair(l, r, op, e, t); }

void both_ways(Globals& g, Tag a, Tag b, BinaryHandler h) { g.table[a][b] = g.table[b][a] = h; }

}  // namespace

Value invalid_pair(Value&, Value&, char, Arbenv*, const OperandTexts&) { return Value::failure(); }

void fill_binary_table(Globals& g) {
    for (auto& row : g.table)
        for (auto& cell : row) cell = invalid_pair;
    g.table[Tag::numeric][Tag::numeric] = numeric_pair;
    g.table[Tag::internal][Tag::internal] = formula_pair;
    both_ways(g, Tag::internal, Tag::numeric, formula_pair);
    g.table[Tag::algebraic][Tag::algebraic] = formula_pair;
    both_ways(g, Tag::algebraic, Tag::numeric, formula_pair);
    g.table[Tag::matrix][Tag::matrix] = matrix_pair;
    both_ways(g, Tag::matrix, Tag::numeric, matrix_scalar);
    g.table[Tag::string][Tag::string] = string_pair;
    both_ways(g, Tag::string, Tag::numeric, string_scalar);
    both_ways(g, Tag::string, Tag::bignum, string_scalar);
    both_ways(g, Tag::string, Tag::matrix, string_matrix);
    both_ways(g, Tag::bignum, Tag::numeric, bignum_scalar);
    both_ways(g, Tag::bignum, Tag::matrix, bignum_matrix);
    g.table[Tag::bignum][Tag::bignum] = bignum_pair;
    fill_array_pairs(g);
}

}  // namespace ostr::lang
