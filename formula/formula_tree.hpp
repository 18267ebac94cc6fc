// The working form of a formula: a small tree read from a text under the evaluator's
// split rules and built only through the simplifying constructors below.
#pragma once

#include <string_view>
#include <unordered_set>
#include <vector>

#include "core/limits.hpp"
#include "core/memory.hpp"
#include "core/runtime.hpp"

namespace ostr::formula::detail {

// Deeper nesting than this is kept as written (core/limits.hpp says why).
constexpr int max_depth = limits::formula_depth;

enum class Kind : unsigned char { number, atom, sum, product, power };

struct Item;

// Invariants kept by the constructors:
//   sum:     two or more terms, none of them a sum; items[i].inverse means "subtracted";
//   product: value/den is the numeric coefficient (den > 0), items are the factors, none
//            of them a product, items[i].inverse means "divided by"; a number among the
//            factors is one that could not be folded (a zero divisor, an overflow);
//   power:   items[0] is the base, items[1] the exponent;
//   atom:    text as written (a name, a call, a literal of another kind); opaque atoms
//            (conditions, lists, postfix operands, and text beyond max_depth) are
//            bracketed wherever they stand as an operand.
struct Node {
    Node() = default;
    Node(Node&&) noexcept = default;
    Node(const Node&) = default;
    Node& operator=(Node&&) noexcept = default;
    Node& operator=(const Node&) = default;
    ~Node();

    Kind kind = Kind::number;
    bool opaque = false;
    double value = 0;
    double den = 1;
    std::string_view text;  // atom; for a number read from a text, how it was written
    std::vector<Item> items;
};

struct Item {
    bool inverse = false;
    Node node;
};

Node number(double v);
Node negated(Node n);
Node make_sum(std::vector<Item> terms);
Node make_product(std::vector<Item> factors);
Node make_power(Node base, Node exponent);

// The last long sum written by `+` or `-` (see combine): its text and the keys of its
// terms (each term without its numeric coefficient), so that one more term is added
// without reading the sum again.
struct SumMemo {
    struct KeyHash {
        std::size_t operator()(const Text& t) const noexcept { return std::hash<std::string_view>()(t); }
    };
    Text text;
    std::unordered_set<Text, KeyHash> keys;
    void clear() noexcept {
        text.clear();
        keys.clear();
    }
};

// The formula part of the runtime record: the stop check of the line under way, whether
// it has fired, the last chain of names written by `^` and the last long sum (see
// combine).
struct State {
    bool (*expired)() noexcept = nullptr;
    bool stopped = false;
    unsigned ticks = 0;
    Text chain;
    SumMemo sum;
    Text product;  // the last long product of distinct plain names (see combine)
};
inline State& state() { return core::part_of<State, core::formula_slot>(); }

// Whether the work under way gives up. Reading and printing ask on every node; the stop
// check itself (a clock read) runs on every 1024th question, or at once with `now`.
bool stopping(bool now = false);

// The tree of a text; atoms point into `text`, which must outlive the tree.
Node parse(std::string_view text);

// Appends the text of n, with parentheses exactly where the split rules need them.
void print(const Node& n, Text& out);
// The same without the numeric coefficient of a product: the key of like terms.
void print_bare(const Node& n, Text& out);

}  // namespace ostr::formula::detail
