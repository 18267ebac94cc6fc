// Simplifying constructors of the formula tree, the printer, and the public operations
// on texts and text pairs. Every operation reads its operands, builds one node through
// the constructors and prints it.
#include "formula/formula.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numeric>
#include <unordered_map>

#include "formula/formula_number.hpp"
#include "formula/formula_tree.hpp"
#include "grammar/scan.hpp"

namespace ostr::formula {
namespace detail {
namespace {

bool is_integer(double v) { return std::isfinite(v) && v == std::trunc(v); }

bool negative(const Node& n) {
    return (n.kind == Kind::number || n.kind == Kind::product) && n.value < 0;
}

// Subtracting a negative term is adding its magnitude; terms are stored non-negative.
Item canonical(Item it) {
    if (negative(it.node)) {
        if (it.node.kind == Kind::number) it.node = number(-it.node.value);
        else it.node.value = -it.node.value;
        it.inverse = !it.inverse;
    }
    return it;
}

bool unsettled(const Node& n) {
    if (n.kind != Kind::product) return false;
    for (const Item& f : n.items)
        if (f.node.kind == Kind::number) return true;
    return false;
}

// The product with coefficient c times `rest` (a term without its coefficient).
Node with_coefficient(double c, Node rest) {
    if (rest.kind == Kind::product) rest.value = rest.den = 1;
    std::vector<Item> items;
    items.push_back({false, number(c)});
    items.push_back({false, std::move(rest)});
    return make_product(std::move(items));
}

// One group of like terms: the first term as written and the sum of the coefficients.
struct LikeTerms {
    Item first;
    double coefficient = 0;
    int count = 0;
};

// One group of like factors: the same base on the same side of the fraction bar.
struct LikeFactors {
    Item first;
    double exponent = 0;
    int count = 0;
};

// A factor as base^exponent with a numeric exponent (1 when it is not a power).
bool numeric_exponent(const Node& f) {
    return f.kind == Kind::power && f.items[1].node.kind == Kind::number;
}

bool all_subtracted(const Node& n) {
    if (n.kind != Kind::sum) return false;
    for (const Item& t : n.items)
        if (t.inverse == negative(t.node)) return false;
    return true;
}

// Collects like factors into one power (x*x -> x^2, a/x/x^2 -> a/x^3) and takes the
// sign of a factor like -(a+b) into the coefficient.
std::vector<Item> merged_factors(std::vector<Item> kept, double& num, double& den) {
    std::vector<LikeFactors> groups;
    std::vector<Text> keys;
    keys.reserve(kept.size());
    std::unordered_map<std::string_view, std::size_t> index;
    for (Item& f : kept) {
        if (all_subtracted(f.node)) {
            f.node = negated(std::move(f.node));
            num = -num;
        }
        if (f.node.kind == Kind::number) {
            groups.push_back({std::move(f), 0, 1});
            continue;
        }
        bool powered = numeric_exponent(f.node);
        double e = powered ? f.node.items[1].node.value : 1;
        Text key(f.inverse ? "/" : "*");
        print(powered ? f.node.items[0].node : f.node, key);
        keys.push_back(std::move(key));
        auto [at, fresh] = index.try_emplace(std::string_view(keys.back()), groups.size());
        if (!fresh) {
            groups[at->second].exponent += e;
            ++groups[at->second].count;
            continue;
        }
        groups.push_back({std::move(f), e, 1});
    }
    std::vector<Item> out;
    out.reserve(groups.size());
    for (LikeFactors& g : groups) {
        if (g.count == 1) {
            out.push_back(std::move(g.first));
            continue;
        }
        Node& f = g.first.node;
        Node p = make_power(numeric_exponent(f) ? std::move(f.items[0].node) : std::move(f), number(g.exponent));
        bool inverse = g.first.inverse;
        double up = (inverse ? den : num) * p.value, down = (inverse ? num : den) * p.den;
        bool folds = std::isfinite(up) && std::isfinite(down) && up != 0 && down != 0;
        if (folds && p.kind == Kind::number) {
            (inverse ? den : num) = up;
        } else if (folds && p.kind == Kind::product) {
            (inverse ? den : num) = up;
            (inverse ? num : den) = down;
            for (Item& s : p.items) out.push_back({s.inverse != inverse, std::move(s.node)});
        } else {
            out.push_back({inverse, std::move(p)});
        }
    }
    return out;
}

bool has_subtracted(const Node& sum) {
    return std::any_of(sum.items.begin(), sum.items.end(),
                       [](const Item& t) { return t.inverse != negative(t.node); });
}

// The last step of every product: -(a-b)*c is written (b-a)*c (a lone minus goes into a
// factor that has a subtracted term), and the factors take a fixed order, names and
// powers of names first, then bracketed factors, each by their text, numbers last, so
// that x*y and y*x are recognised as like terms of a sum.
void settle(Node& p) {
    if (p.value == -1) {
        for (Item& f : p.items) {
            if (!f.inverse && f.node.kind == Kind::sum && has_subtracted(f.node)) {
                f.node = negated(std::move(f.node));
                p.value = 1;
                break;
            }
        }
    }
    struct Keyed {
        int rank;
        Text key;
        Item item;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(p.items.size());
    for (Item& f : p.items) {
        const Node& base = numeric_exponent(f.node) ? f.node.items[0].node : f.node;
        int rank = base.kind == Kind::atom && !base.opaque ? 0 : base.kind == Kind::power ? 1 : 2;
        if (f.node.kind == Kind::number) rank = 3;
        Text key;
        if (rank != 3) print(base, key);
        keyed.push_back({rank, std::move(key), std::move(f)});
    }
    std::stable_sort(keyed.begin(), keyed.end(), [](const Keyed& x, const Keyed& y) {
        return x.rank != y.rank ? x.rank < y.rank : x.key < y.key;
    });
    for (std::size_t i = 0; i < keyed.size(); ++i) p.items[i] = std::move(keyed[i].item);
}

// The terms of nested sums, each with its sign in the whole.
std::vector<Item> flattened(std::vector<Item> terms) {
    std::vector<Item> flat;
    flat.reserve(terms.size());
    for (Item& t : terms) {
        if (t.node.kind != Kind::sum) {
            flat.push_back(std::move(t));
            continue;
        }
        for (Item& s : t.node.items) flat.push_back({s.inverse != t.inverse, std::move(s.node)});
    }
    return flat;
}

}  // namespace

// A chain a^b^c^... nests its exponents as deep as it is long (the reader's depth bound
// does not see a chain of one operator); its spine is taken apart in a loop, so freeing it
// costs no stack per level. Other positions nest only as deep as the reader descends.
Node::~Node() {
    while (!items.empty() && !items.back().node.items.empty()) {
        std::vector<Item> next = std::move(items.back().node.items);
        items = std::move(next);
    }
}

bool stopping(bool now) {
    State& s = state();
    if (s.stopped) return true;
    if (!s.expired || (!now && (++s.ticks & 1023u) != 0)) return false;
    s.stopped = s.expired();
    return s.stopped;
}

Node number(double v) {
    Node n;
    n.value = v == 0 ? 0.0 : v;
    return n;
}

Node negated(Node n) {
    switch (n.kind) {
        case Kind::number:
            return number(-n.value);
        case Kind::sum:
            for (Item& t : n.items) t.inverse = !t.inverse;
            return n;
        case Kind::product:
            n.value = -n.value;
            settle(n);
            return n;
        default: {
            Node p;
            p.kind = Kind::product;
            p.value = -1;
            p.items.push_back({false, std::move(n)});
            return p;
        }
    }
}

// Terms are flattened, numbers folded into one constant written last, and like terms
// (equal apart from the numeric coefficient) collected; a zero coefficient removes the
// term. Terms keep the order of their first appearance.
Node make_sum(std::vector<Item> terms) {
    std::vector<Item> flat = flattened(std::move(terms));
    std::vector<Item> numbers;
    std::vector<LikeTerms> groups;
    groups.reserve(flat.size());
    std::vector<Text> keys;
    keys.reserve(flat.size());
    std::unordered_map<std::string_view, std::size_t> index;
    index.reserve(flat.size());
    for (Item& t : flat) {
        t = canonical(std::move(t));
        if (t.node.kind == Kind::number) {
            numbers.push_back(std::move(t));
            continue;
        }
        double c = t.node.kind == Kind::product ? t.node.value / t.node.den : 1;
        if (t.inverse) c = -c;
        if (!unsettled(t.node)) {
            keys.emplace_back();
            print_bare(t.node, keys.back());
            auto [at, fresh] = index.try_emplace(std::string_view(keys.back()), groups.size());
            LikeTerms* g = fresh ? nullptr : &groups[at->second];
            if (g && std::isfinite(g->coefficient + c)) {  // an overflow stays a term of its own
                g->coefficient += c;
                ++g->count;
                continue;
            }
        }
        groups.push_back({std::move(t), c, 1});
    }

    std::vector<Item> out;
    for (LikeTerms& g : groups) {
        if (g.count == 1) {
            out.push_back(std::move(g.first));
        } else if (g.coefficient != 0) {
            out.push_back(canonical({false, with_coefficient(g.coefficient, std::move(g.first.node))}));
        }
    }
    double constant = 0;
    for (const Item& n : numbers) constant += n.inverse ? -n.node.value : n.node.value;
    if (!std::isfinite(constant)) {
        for (Item& n : numbers) out.push_back(std::move(n));
    } else if (constant != 0) {
        out.push_back(canonical({false, number(constant)}));
    }

    if (out.empty()) return number(0);
    if (out.size() == 1) {
        if (out[0].inverse) return negated(std::move(out[0].node));
        return std::move(out[0].node);
    }
    Node s;
    s.kind = Kind::sum;
    s.items = std::move(out);
    return s;
}

// Factors are flattened and numbers folded into the coefficient num/den; a zero
// coefficient absorbs the product unless an unfolded number (a zero divisor) is there.
// The coefficient is written as one number when that is not longer than num and den
// apart, so x/3 stays x/3 while 6*x/3 becomes 2*x.
Node make_product(std::vector<Item> factors) {
    double num = 1, den = 1;
    std::vector<Item> kept;
    kept.reserve(factors.size());
    auto fold = [&](double v, bool divide) {
        double t = divide ? den * v : num * v;
        if (!std::isfinite(t) || (divide && t == 0)) return false;
        (divide ? den : num) = t;
        return true;
    };
    for (Item& f : factors) {
        Node& n = f.node;
        if (n.kind == Kind::number) {
            if (!fold(n.value, f.inverse)) kept.push_back(std::move(f));
        } else if (n.kind == Kind::product) {
            if (!fold(n.value, f.inverse)) kept.push_back({f.inverse, number(n.value)});
            if (!fold(n.den, !f.inverse)) kept.push_back({!f.inverse, number(n.den)});
            for (Item& s : n.items) {
                bool inverse = s.inverse != f.inverse;  // a zero divisor may now multiply
                if (s.node.kind != Kind::number || !fold(s.node.value, inverse))
                    kept.push_back({inverse, std::move(s.node)});
            }
        } else {
            kept.push_back(std::move(f));
        }
    }
    kept = merged_factors(std::move(kept), num, den);
    if (den < 0) {
        den = -den;
        num = -num;
    }

    bool loose_numbers = false;
    for (const Item& f : kept) loose_numbers |= f.node.kind == Kind::number;
    if (num == 0 && !loose_numbers) return number(0);
    if (den != 1 && is_integer(num) && is_integer(den) && std::fabs(num) < 9e15 && den < 9e15) {
        auto g = std::gcd(static_cast<long long>(std::fabs(num)), static_cast<long long>(den));
        num /= static_cast<double>(g);
        den /= static_cast<double>(g);
    }
    if (kept.empty() && std::isfinite(num / den)) return number(num / den);
    if (den != 1) {
        double c = num / den;
        bool has_mult = false;
        for (const Item& f : kept) has_mult |= !f.inverse;
        std::size_t apart = number_text(den).size();
        if (std::fabs(num) != 1 || !has_mult) apart += number_text(std::fabs(num)).size();
        if (std::isfinite(c) && c != 0 && number_text(std::fabs(c)).size() <= apart) {
            num = c;
            den = 1;
        }
    }
    if (den == 1 && kept.size() == 1 && !kept[0].inverse) {
        if (num == 1) return std::move(kept[0].node);
        if (num == -1 && kept[0].node.kind == Kind::sum) return negated(std::move(kept[0].node));
    }
    Node p;
    p.kind = Kind::product;
    p.value = num;
    p.den = den;
    p.items = std::move(kept);
    settle(p);
    return p;
}

// x^1 = x, x^0 = 1, 1^x = 1; numbers fold when the result is real and finite. An
// integer exponent n (which keeps z^n single-valued for complex z) also gives
// (b^e)^n = b^(e*n) and, for n >= 2, distributes over a product.
Node make_power(Node base, Node exponent) {
    if (exponent.kind == Kind::number) {
        if (exponent.value == 1) return base;
        if (exponent.value == 0) return number(1);
    }
    if (base.kind == Kind::number && base.value == 1) return number(1);
    if (base.kind == Kind::number && exponent.kind == Kind::number) {
        double r = std::pow(base.value, exponent.value);
        if (std::isfinite(r) && (base.value >= 0 || is_integer(exponent.value))) return number(r);
    }
    if (exponent.kind == Kind::number && is_integer(exponent.value)) {
        double n = exponent.value;
        if (base.kind == Kind::power) {
            std::vector<Item> e;
            e.push_back({false, std::move(base.items[1].node)});
            e.push_back({false, number(n)});
            return make_power(std::move(base.items[0].node), make_product(std::move(e)));
        }
        double num = std::pow(base.value, n), den = std::pow(base.den, n);
        if (base.kind == Kind::product && n >= 2 && n <= 64 && std::isfinite(num) &&
            std::isfinite(den) && num != 0 && den != 0) {
            std::vector<Item> f;
            f.push_back({false, number(num)});
            f.push_back({true, number(den)});
            for (Item& it : base.items)
                f.push_back({it.inverse, make_power(std::move(it.node), number(n))});
            return make_product(std::move(f));
        }
    }
    Node p;
    p.kind = Kind::power;
    p.items.push_back({false, std::move(base)});
    p.items.push_back({false, std::move(exponent)});
    return p;
}

// ---- printing

namespace {

enum class Slot { term, factor, base, exponent };

// Where the split rules would cut the operand text differently from the tree. A sign
// binds tighter than ^ here (-x^2 reads as (-x)^2), so negative bases are bracketed,
// and a leading sign is never written before a ^, + or - at depth zero; that also keeps
// the text right for a reader that takes leading signs off before it splits.
bool needs_parens(const Node& n, Slot slot) {
    switch (n.kind) {
        case Kind::atom:
            return n.opaque;
        case Kind::number:
            return n.value < 0 && slot != Slot::exponent;
        case Kind::sum:
            return true;
        case Kind::product:
            return slot != Slot::term;
        case Kind::power:
            return slot == Slot::base;
    }
    return true;
}

void put_product(const Node& n, bool flip, bool bare, Text& out);

// A number read from a text keeps the text it was written with; that spares the
// number writer for every untouched number of a long formula.
void put_number(const Node& n, bool magnitude, Text& out) {
    if (n.text.empty()) {
        out += number_text(magnitude ? std::fabs(n.value) : n.value);
    } else {
        out.append(magnitude && n.text[0] == '-' ? n.text.substr(1) : n.text);
    }
}

void put_in(const Node& n, Slot slot, Text& out) {
    bool p = needs_parens(n, slot);
    if (p) out += '(';
    print(n, out);
    if (p) out += ')';
}

// |n| for numbers and products, n otherwise (terms are stored that way).
void put_magnitude(const Node& n, Text& out) {
    if (n.kind == Kind::number)
        put_number(n, true, out);
    else if (n.kind == Kind::product)
        put_product(n, n.value < 0, false, out);
    else
        put_in(n, Slot::term, out);
}

void put_sum(const Node& n, Text& out) {
    auto subtracted = [&](std::size_t i) { return n.items[i].inverse != negative(n.items[i].node); };
    std::size_t lead = 0;
    while (lead < n.items.size() && subtracted(lead)) ++lead;
    if (lead == n.items.size()) {  // every term subtracted: -(a+b+c)
        out += "-(";
        for (std::size_t i = 0; i < n.items.size(); ++i) {
            if (i) out += '+';
            put_magnitude(n.items[i].node, out);
        }
        out += ')';
        return;
    }
    // An added term leads, so the text never starts with a sign before a + or -.
    put_magnitude(n.items[lead].node, out);
    for (std::size_t i = 0; i < n.items.size(); ++i) {
        if (i == lead) continue;
        out += subtracted(i) ? '-' : '+';
        put_magnitude(n.items[i].node, out);
    }
}

// Coefficient, multiplied factors, then the divisors: any run of * and / reads as the
// product of its factors with their exponents +1 or -1, whatever the evaluator's cuts.
void put_product(const Node& n, bool flip, bool bare, Text& out) {
    bool minus = !bare && (n.value < 0) != flip;
    double a = bare ? 1 : std::fabs(n.value);
    bool has_mult = false;
    for (const Item& f : n.items) has_mult |= !f.inverse;
    if (minus) out += '-';
    bool first = true;
    if (a != 1 || !has_mult) {
        out += number_text(a);
        first = false;
    }
    for (const Item& f : n.items) {
        if (f.inverse) continue;
        if (!first) out += '*';
        if (first && minus && f.node.kind == Kind::power) {
            out += '(';  // -(x^2)*y, not (-x)^2*y
            print(f.node, out);
            out += ')';
        } else {
            put_in(f.node, Slot::factor, out);
        }
        first = false;
    }
    if (n.den != 1 && !bare) {
        out += '/';
        out += number_text(n.den);
    }
    for (const Item& f : n.items) {
        if (!f.inverse) continue;
        out += '/';
        put_in(f.node, Slot::factor, out);
    }
}

}  // namespace

void print(const Node& n, Text& out) {
    if (stopping()) return;
    switch (n.kind) {
        case Kind::number:
            put_number(n, false, out);
            return;
        case Kind::atom:
            out.append(n.text);
            return;
        case Kind::sum:
            put_sum(n, out);
            return;
        case Kind::product:
            put_product(n, false, false, out);
            return;
        case Kind::power:
            // An exponent that is a power takes no brackets: the spine of a^b^c^... is
            // written in a loop, as long as the chain may be.
            for (const Node* p = &n;; p = &p->items[1].node) {
                put_in(p->items[0].node, Slot::base, out);
                out += '^';
                if (p->items[1].node.kind != Kind::power || stopping()) {
                    put_in(p->items[1].node, Slot::exponent, out);
                    return;
                }
            }
    }
}

void print_bare(const Node& n, Text& out) {
    if (n.kind == Kind::product)
        put_product(n, false, true, out);
    else
        print(n, out);
}

}  // namespace detail

// ---- public operations

namespace {

using detail::Item;
using detail::Node;

Text printed(const Node& n) {
    Text out;
    detail::print(n, out);
    return out;
}

std::optional<Node> apply(Node x, char op, Node y) {
    std::vector<Item> items;
    switch (op) {
        case '+':
        case '-':
            items.push_back({false, std::move(x)});
            items.push_back({op == '-', std::move(y)});
            return detail::make_sum(std::move(items));
        case '*':
        case '/':
            items.push_back({false, std::move(x)});
            items.push_back({op == '/', std::move(y)});
            return detail::make_product(std::move(items));
        case '^':
            return detail::make_power(std::move(x), std::move(y));
        default:
            return std::nullopt;
    }
}

bool is_zero(std::string_view t) {
    double v = 1;
    return is_number(t, &v) && v == 0;
}

Text aborted_text() { return Text(">evaluation_aborted<"); }

bool plain_name(const Node& n) {
    return n.kind == detail::Kind::atom && !n.opaque && lang::scan::is_plain_name(n.text);
}

// x^x^...^x is folded from the right, one name per step, and reading the whole exponent
// again at every step made such a chain quadratic. A chain of plain names n1^n2^...^nk
// reads as the right-nested powers of its names (the reader cuts it at every ^) with
// nothing to simplify (make_power of two operands that are not numbers is the plain
// node), and prints back as the same text: so a name m raised to it is the text
// m^n1^...^nk, which is again such a chain. The last chain written is remembered, and a
// power whose exponent is that text and whose base reads as a plain name is written
// without reading the exponent; the answer is the one the full reading gives.
std::optional<Text> chain_power(std::string_view a, std::string_view b) {
    detail::State& s = detail::state();
    if (s.chain.empty() || b != std::string_view(s.chain)) return std::nullopt;
    Node base = detail::parse(a);
    if (!plain_name(base)) return std::nullopt;
    Text out(base.text);
    out += '^';
    out.append(b);
    if (s.chain.capacity() < out.size()) s.chain.reserve(2 * out.size());  // grows by doubling
    s.chain.assign(out);
    return out;
}

// Remembers r's text when r is such a chain of plain names.
void remember_chain(const Node& r, const Text& text) {
    const Node* n = &r;
    if (n->kind != detail::Kind::power) return;
    for (; n->kind == detail::Kind::power; n = &n->items[1].node)
        if (!plain_name(n->items[0].node)) return;
    if (plain_name(*n)) detail::state().chain = text;
}

// a+b+c+... is folded from the left, one term per step, and reading the whole sum
// again at every step made a sum of n terms cost n^2 node operations. A sum whose terms
// are collected (no two alike), that has no constant and leads with an added term
// prints as its terms joined by their signs; one more term that is alike to none of
// them and is not a number or a sum lands at the end of it, so the text of the new sum
// is the old text, the sign and the new term. The last such sum is remembered with
// the keys of its terms; the answer is the one the full reading gives.
constexpr std::size_t memo_terms = 16;  // shorter sums are read again: cheaper than keys

Text key_of(const Node& n) {
    Text key;
    detail::print_bare(n, key);
    return key;
}

std::optional<Text> extend_sum(std::string_view a, char op, std::string_view b) {
    detail::SumMemo& m = detail::state().sum;
    if (m.text.empty() || a != std::string_view(m.text)) return std::nullopt;
    Item y = detail::canonical({op == '-', detail::parse(b)});
    const Node& n = y.node;
    if (n.kind == detail::Kind::number || n.kind == detail::Kind::sum) return std::nullopt;
    Text key;
    if (!detail::unsettled(n)) {
        key = key_of(n);
        if (m.keys.count(key)) return std::nullopt;
    }
    Text out;
    out.reserve(a.size() + b.size() + 2);
    out.append(a);
    out += y.inverse ? '-' : '+';
    detail::put_magnitude(n, out);
    if (detail::state().stopped) return aborted_text();
    if (!key.empty()) m.keys.insert(std::move(key));
    if (m.text.capacity() < out.size()) m.text.reserve(2 * out.size());  // grows by doubling
    m.text.assign(out);
    return out;
}

// Remembers r's text when r is such a sum and long enough to be worth it. Another
// result leaves the memo as it is: the imaginary parts summed between two steps of a
// real sum must not make it forget.
void remember_sum(const Node& r, const Text& text) {
    if (r.kind != detail::Kind::sum || r.items.size() < memo_terms) return;
    detail::SumMemo& m = detail::state().sum;
    m.clear();
    bool lead = false;
    for (const Item& t : r.items) {
        if (t.node.kind == detail::Kind::number) return m.clear();
        lead |= t.inverse == detail::negative(t.node);
        if (!detail::unsettled(t.node)) m.keys.insert(key_of(t.node));
    }
    if (!lead) return m.clear();
    m.text = text;
}

// x1*x2*x3*... has the same cost problem. A product of distinct plain names with no
// coefficient and no divisor is written as its names in the order of their texts,
// joined by *; one more plain name that is none of them goes to its place in that
// order, which a binary search over the text finds. The last such product of at least
// memo_terms names is remembered.
std::optional<Text> extend_product(std::string_view a, std::string_view b) {
    Text& memo = detail::state().product;
    if (memo.empty() || a != std::string_view(memo)) return std::nullopt;
    Node y = detail::parse(b);
    if (!plain_name(y)) return std::nullopt;
    // [lo, hi) holds the factors not yet compared; both ends are starts of factors (or
    // the end of the text), and every factor before lo sorts before the new name.
    std::size_t lo = 0, hi = a.size();
    while (lo < hi) {
        std::size_t mid = lo + (hi - lo) / 2;
        if (a[mid] == '*') --mid;  // a star belongs to the factor before it; mid > lo then
        std::size_t begin = a.rfind('*', mid);
        begin = begin == std::string_view::npos ? 0 : begin + 1;
        std::size_t end = std::min(a.find('*', begin), a.size());
        std::string_view f = a.substr(begin, end - begin);
        if (f == y.text) return std::nullopt;  // alike: x*x is x^2
        if (f < y.text) lo = std::min(end + 1, hi);
        else hi = begin;
    }
    Text out;
    out.reserve(a.size() + y.text.size() + 1);
    if (lo < a.size()) {
        out.append(a.substr(0, lo));
        out.append(y.text);
        out += '*';
        out.append(a.substr(lo));
    } else {
        out.append(a);
        out += '*';
        out.append(y.text);
    }
    if (memo.capacity() < out.size()) memo.reserve(2 * out.size());
    memo.assign(out);
    return out;
}

void remember_product(const Node& r, const Text& text) {
    if (r.kind != detail::Kind::product || r.items.size() < memo_terms) return;
    Text& memo = detail::state().product;
    memo.clear();
    if (r.value != 1 || r.den != 1) return;
    for (const Item& f : r.items)
        if (f.inverse || !plain_name(f.node)) return;
    memo = text;
}

}  // namespace

bool is_number(std::string_view t, double* value) {
    double v = 0;
    bool yes = detail::read_number(t, &v);
    if (value) *value = v;
    return yes;
}

Text combine(std::string_view a, char op, std::string_view b) {
    if (detail::stopping(true)) return aborted_text();
    if (op == '^') {
        if (auto chained = chain_power(a, b)) return std::move(*chained);
    }
    const bool summing = op == '+' || op == '-';
    if (summing) {
        if (auto extended = extend_sum(a, op, b)) return std::move(*extended);
    } else if (op == '*') {
        if (auto extended = extend_product(a, b)) return std::move(*extended);
    }
    auto r = apply(detail::parse(a), op, detail::parse(b));
    if (!r) return Text(">invalid_expression<");
    Text out = printed(*r);
    if (detail::state().stopped) return aborted_text();
    if (op == '^') remember_chain(*r, out);
    if (summing) remember_sum(*r, out);
    if (op == '*') remember_product(*r, out);
    return out;
}

Text negate(std::string_view a) {
    if (detail::stopping(true)) return aborted_text();
    Text out = printed(detail::negated(detail::parse(a)));
    return detail::state().stopped ? aborted_text() : out;
}

void set_stop_check(bool (*expired)() noexcept) noexcept {
    if (auto* s = core::part_or_null<detail::State, core::formula_slot>()) s->expired = expired;
}

bool stopped() noexcept {
    auto* s = core::part_if_made<detail::State, core::formula_slot>();
    return s && s->stopped;
}

void clear_stop() noexcept {
    if (auto* s = core::part_if_made<detail::State, core::formula_slot>()) s->stopped = false;
}

TextPair conjugate(const TextPair& a) { return {a.re, negate(a.im)}; }

namespace {

TextPair times(const TextPair& a, const TextPair& b) {
    if (is_zero(a.im) && is_zero(b.im)) return {combine(a.re, '*', b.re), Text("0")};
    return {combine(combine(a.re, '*', b.re), '-', combine(a.im, '*', b.im)),
            combine(combine(a.re, '*', b.im), '+', combine(a.im, '*', b.re))};
}

// (a+bi)/(c+di) = ((ac+bd) + (bc-ad)i) / (c^2+d^2); with d = 0 simply a/c and b/c.
TextPair divided(const TextPair& a, const TextPair& b) {
    if (is_zero(b.im)) return {combine(a.re, '/', b.re), combine(a.im, '/', b.re)};
    Text den = combine(combine(b.re, '^', "2"), '+', combine(b.im, '^', "2"));
    Text re = combine(combine(a.re, '*', b.re), '+', combine(a.im, '*', b.im));
    Text im = combine(combine(a.im, '*', b.re), '-', combine(a.re, '*', b.im));
    return {combine(re, '/', den), combine(im, '/', den)};
}

Text number_text(double v) { return detail::number_text(v); }

std::optional<TextPair> power(const TextPair& a, const TextPair& b) {
    double n = 0;
    bool integer = is_zero(b.im) && is_number(b.re, &n) && detail::is_integer(n) && std::fabs(n) <= 64;
    if (is_zero(a.im) && is_zero(b.im)) return TextPair{combine(a.re, '^', b.re), Text("0")};
    if (integer) {
        // Square and multiply on the pair; a negative exponent divides 1 by the result.
        TextPair result{Text("1"), Text("0")}, square = a;
        for (auto k = static_cast<unsigned>(std::fabs(n)); k; k >>= 1) {
            if (k & 1) result = times(result, square);
            if (k > 1) square = times(square, square);
        }
        if (n < 0) result = divided(TextPair{Text("1"), Text("0")}, result);
        return result;
    }
    double ar, ai, br, bi;
    if (is_number(a.re, &ar) && is_number(a.im, &ai) && is_number(b.re, &br) && is_number(b.im, &bi)) {
        auto r = std::pow(std::complex<double>(ar, ai), std::complex<double>(br, bi));
        if (std::isfinite(r.real()) && std::isfinite(r.imag()))
            return TextPair{number_text(r.real()), number_text(r.imag())};
    }
    return std::nullopt;
}

}  // namespace

std::optional<TextPair> combine_pair(const TextPair& a, char op, const TextPair& b) {
    switch (op) {
        case '+':
        case '-':
            return TextPair{combine(a.re, op, b.re), combine(a.im, op, b.im)};
        case '*':
            return times(a, b);
        case '/':
            return divided(a, b);
        case '^':
            return power(a, b);
        default:
            return std::nullopt;
    }
}

}  // namespace ostr::formula
