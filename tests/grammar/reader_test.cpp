// The reader: text to tree shape, one row per rule and per deliberate quirk,
// and the invariants of every tree over all short texts of an alphabet.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "grammar/tree.hpp"

namespace ostr::grammar {
namespace {

// The shape of a tree: leaves by their text, inner nodes by kind with their
// kids in brackets.
void shape(const Tree& t, std::string_view text, std::uint32_t index, std::string& out) {
    const Node& n = t[index];
    static const char* const conds[] = {"|", "&", "<=", ">=", "==", "~=", "<", ">"};
    auto leaf = [&](const char* kind) { out.append(kind).append(text.substr(n.begin, n.end - n.begin)); };
    switch (n.kind) {
    case Kind::empty: out += "empty"; return;
    case Kind::number: leaf("num:"); return;
    case Kind::failure: leaf("fail:"); return;
    case Kind::deep: leaf("deep:"); return;
    case Kind::name: leaf("name:"); return;
    case Kind::atom: leaf("atom:"); return;
    case Kind::fold:
    case Kind::postfix: out += n.op; break;
    case Kind::condition:
        if (n.invert & 1) out += '~';
        if (!(n.invert & 2)) out += conds[static_cast<int>(n.cond)];
        break;
    case Kind::negate: out += "neg"; break;
    case Kind::call: out.append("call:").append(text.substr(n.begin, n.aux - n.begin)); break;
    case Kind::index: out += "index"; break;
    case Kind::member: out.append("member:").append(text.substr(n.aux + 1, n.end - n.aux - 1)); break;
    case Kind::method: out.append("method:").append(text.substr(n.aux + 1, n.aux2 - n.aux - 1)); break;
    }
    out += '(';
    for (std::uint32_t k = 0; k < n.count; ++k) {
        if (k) out += ' ';
        shape(t, text, t.kid(n, k), out);
    }
    out += ')';
}

std::string shape(std::string_view text, int limit = 1000) {
    Tree t = read(text, limit);
    std::string out;
    shape(t, text, t.root, out);
    return out;
}

TEST(Reader, ShapeRows) {
    struct Row { const char* text; const char* shape; };
    const Row rows[] = {
        {"", "empty"}, {"1.5", "num:1.5"}, {"-5", "num:-5"}, {"i", "name:i"}, {"x", "name:x"},
        {"this", "atom:this"}, {"[1,2]", "atom:[1,2]"}, {"if:x;", "atom:if:x;"},
        // precedence and grouping: + before -, * before /, ^ from the right
        {"1+2*x", "+(num:1 *(num:2 name:x))"}, {"a-b+c", "+(-(name:a name:b) name:c)"},
        {"a+b-c", "+(name:a -(name:b name:c))"}, {"a/b*c", "*(/(name:a name:b) name:c)"},
        {"a*b/c", "*(name:a /(name:b name:c))"}, {"2^3^2", "^(num:2 num:3 num:2)"},
        // signs: leading runs, after operators, of exponents; a sign binds tighter than ^
        {"2*-3", "*(num:2 num:-3)"}, {"-2^2", "^(num:-2 num:2)"}, {"--x", "name:x"}, {"-x", "neg(name:x)"},
        {"1E-3+1", "+(num:1E-3 num:1)"}, {"x2e-1", "-(name:x2e num:1)"},
        // the exponent rule: a mantissa has at most one point and starts after a delimiter
        {"1.2.3e-4", "-(member:3e(num:1.2) num:4)"}, {"$2e-1", "-(name:$2e num:1)"}, {"(2e-1)", "num:2e-1"},
        // brackets and signs come off one layer at a time, the inside read afresh
        {"((x))", "name:x"}, {"-(-9+2)", "neg(+(num:-9 num:2))"}, {"(1+2)*(3+4)", "*(+(num:1 num:2) +(num:3 num:4))"},
        // the postfix takes the operand with its sign
        {"-x!", "!(neg(name:x))"}, {"x'", "'(name:x)"},
        // conditions bind loosest; "~" negates the whole condition after it
        {"x<1|y", "|(<(name:x num:1) name:y)"}, {"~a&b", "~&(name:a name:b)"}, {"~x", "~(name:x)"},
        {"1<=2", "<=(num:1 num:2)"}, {"a=b", "atom:a=b"},
        // a comma list where one operand belongs, and brackets that do not pair
        {"1,2", "fail:1,2"}, {"(1+2", "fail:(1+2"}, {"1+2]", "fail:1+2]"},
        // calls and accesses, also chained and on strings' placeholders
        {"f(1,x)", "call:f(num:1 name:x)"}, {"f()", "call:f()"}, {"a[1]", "index(name:a num:1)"},
        {"a.b", "member:b(name:a)"}, {"a.m(x,2)", "method:m(name:a name:x num:2)"},
        {"\xFF" "0\xFF.upper()", "method:upper(name:\xFF" "0\xFF)"},
        {"a.b[1].c(2)", "method:c(index(member:b(name:a) num:1) num:2)"},
        {"f(x)[2,3]", "index(call:f(name:x) num:2 num:3)"}, {"(a+b).c", "member:c(+(name:a name:b))"},
        {"-a.b", "neg(member:b(name:a))"}, {"1.2.3", "atom:1.2.3"}, {"a.2", "atom:a.2"}, {".b", "atom:.b"},
        {"f(1)(2)", "atom:f(1)(2)"},
    };
    for (const Row& r : rows) EXPECT_EQ(shape(r.text), r.shape) << r.text;
}

TEST(Reader, DepthLimitKeepsTheRestAsWritten) {
    EXPECT_EQ(shape("x+1", 1), "+(deep:x deep:1)");
    EXPECT_EQ(shape("(x+1)*2", 2), "*(+(deep:x deep:1) num:2)");
    EXPECT_EQ(shape("a.b(x)", 1), "method:b(deep:a deep:x)");
    // Brackets and chains cost no depth of their own, however long.
    std::string parens = std::string(100000, '(') + "x" + std::string(100000, ')');
    EXPECT_EQ(shape(parens, 1), "name:x");
    std::string members = "a";
    for (int k = 0; k < 100000; ++k) members += ".b";
    Tree t = read(members, 2);
    EXPECT_EQ(t[t.root].kind, Kind::member);
    EXPECT_EQ(t.nodes.size(), 100001u);
}

// Every node spans its text, arguments keep the bounds they were written with.
TEST(Reader, SpansAndArgumentBounds) {
    std::string_view text = "-f((1),y+2)";
    Tree t = read(text, 1000);
    const Node& neg = t[t.root];
    EXPECT_EQ(neg.kind, Kind::negate);
    EXPECT_EQ(neg.begin, 0u);
    EXPECT_EQ(neg.end, text.size());
    const Node& call = t[t.kid(neg, 0)];
    EXPECT_EQ(text.substr(call.begin, call.end - call.begin), "f((1),y+2)");
    ASSERT_EQ(t.arguments(call), 2u);
    EXPECT_EQ(text.substr(t.argument_begin(call, 0), 3), "(1)");
    const Node& one = t[t.kid(call, 0)];
    EXPECT_EQ(text.substr(one.begin, one.end - one.begin), "1");
    EXPECT_EQ(text.substr(t.argument_begin(call, 1), t.argument_end(call, 1) - t.argument_begin(call, 1)), "y+2");
    const Node& sum = t[t.kid(call, 1)];
    EXPECT_EQ(text[t.cut(sum, 1)], '+');
}

// Kids lie inside their parents, cuts hold their operator, and the reader
// answers every text without reading out of bounds.
void check_tree(const Tree& t, std::string_view text, std::uint32_t index, std::uint32_t b, std::uint32_t e) {
    const Node& n = t[index];
    ASSERT_TRUE(b <= n.begin && n.begin <= n.end && n.end <= e) << text;
    std::uint32_t kids = n.kind == Kind::fold || n.kind == Kind::condition || n.kind == Kind::negate ||
                                 n.kind == Kind::postfix || n.kind == Kind::call || n.kind == Kind::index ||
                                 n.kind == Kind::member || n.kind == Kind::method
                             ? n.count
                             : 0;
    for (std::uint32_t k = 0; k < kids; ++k) check_tree(t, text, t.kid(n, k), n.begin, n.end);
    if (n.kind != Kind::fold) return;
    for (std::uint32_t k = 1; k < n.count; ++k) ASSERT_EQ(text[t.cut(n, k)], n.op) << text;
}

TEST(Reader, ExhaustiveShortTexts) {
    constexpr std::string_view alphabet = "(:[)];+-*^e1.<~|,x!";
    std::string t;
    std::vector<std::size_t> digit;
    for (std::size_t len = 0; len <= 4; ++len) {
        digit.assign(len, 0);
        while (true) {
            t.resize(len);
            for (std::size_t k = 0; k < len; ++k) t[k] = alphabet[digit[k]];
            Tree tree = read(t, 3);
            check_tree(tree, t, tree.root, 0, static_cast<std::uint32_t>(t.size()));
            if (::testing::Test::HasFatalFailure()) return;
            std::size_t k = 0;
            while (k < len && ++digit[k] == alphabet.size()) digit[k++] = 0;
            if (k == len) break;
        }
    }
}

}  // namespace
}  // namespace ostr::grammar
