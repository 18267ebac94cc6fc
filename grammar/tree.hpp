// The expression tree: what each part of an expression text is, read once by
// the one reader of the grammar and shared by the evaluator and the formulas.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "grammar/operators.hpp"

namespace ostr::grammar {

namespace ops = lang::ops;

// The tree is exactly the cut-and-recurse reading of the text: a text is an
// empty text, a number, a name, a condition or an operator chain before any
// sign or enclosing bracket comes off; then the signs and brackets come off
// one layer at a time and the inside is read afresh.
enum class Kind : std::uint8_t {
    empty,      // "": the value 0
    number,     // a numeric literal; `value`
    failure,    // unreadable: brackets that do not pair, a comma list where one operand belongs
    deep,       // nesting past the reader's bound, kept as written
    name,       // a plain name, or "i"
    fold,       // a chain of one operator `op`: kids are the pieces, then the cut positions
    condition,  // `cond` at `aux` with kids left and right; or only leading "~" (see invert)
    negate,     // leading signs that make a minus, around kid 0
    postfix,    // kid 0 followed by `op` ("!" or "'")
    call,       // name(args): `aux` is the "(", kids are the arguments, then their bounds
    index,      // operand[args]: `aux` is the "[", kid 0 the operand, then arguments, bounds
    member,     // operand.name: `aux` is the ".", kid 0 the operand
    method,     // operand.name(args): `aux` the ".", `aux2` the "(", kid 0 the operand,
                // then arguments and their bounds
    atom,       // anything else (matrix literals, blocks, placeholders of strings, "this")
};

// For every node, [begin, end) is its text within the text read; a node
// whose signs or brackets came off spans what remained. The bounds of an
// argument are those of its text as written (before its brackets come off),
// a pair of positions per argument after the argument nodes.
struct Node {
    Kind kind = Kind::empty;
    char op = 0;
    // condition: bit 0 set for an odd count of leading "~", bit 1 set when
    // there is no operator (only "~", one kid).
    std::uint8_t invert = 0;
    ops::Cond cond = ops::Cond::or_;
    std::uint32_t begin = 0, end = 0;
    std::uint32_t first = 0, count = 0;  // kids in Tree::kids
    std::uint32_t aux = 0, aux2 = 0;
    double value = 0;
};

struct Tree {
    std::vector<Node> nodes;
    std::vector<std::uint32_t> kids;
    std::uint32_t root = 0;

    const Node& operator[](std::uint32_t n) const { return nodes[n]; }
    std::uint32_t kid(const Node& n, std::uint32_t k) const { return kids[n.first + k]; }
    // fold: position of the operator before piece k (1 <= k < count).
    std::uint32_t cut(const Node& n, std::uint32_t k) const { return kids[n.first + n.count + k - 1]; }
    // call, index, method: the argument nodes start at kid `first_argument`.
    static std::uint32_t first_argument(const Node& n) { return n.kind == Kind::call ? 0 : 1; }
    std::uint32_t arguments(const Node& n) const { return n.count - first_argument(n); }
    // Bounds of argument k's text as written.
    std::uint32_t argument_begin(const Node& n, std::uint32_t k) const { return kids[n.first + n.count + 2 * k]; }
    std::uint32_t argument_end(const Node& n, std::uint32_t k) const { return kids[n.first + n.count + 2 * k + 1]; }
    std::size_t bytes() const { return nodes.size() * sizeof(Node) + kids.size() * sizeof(std::uint32_t); }
};

// Reads `text` into a tree; nodes point into the text by position, so the
// caller keeps the text. Nesting (operators, conditions, arguments,
// postfix operands) past `depth_limit` levels gives `deep` nodes instead of
// descending further. A text whose brackets do not pair, or that is too
// long to index, is one `failure` node. The syntax check and the error-word
// rule of the evaluator are the evaluator's; the reader reads any text.
Tree read(std::string_view text, int depth_limit);

}  // namespace ostr::grammar
