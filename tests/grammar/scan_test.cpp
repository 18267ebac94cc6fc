// The scanner: one row per rule and per deliberate quirk, and an exhaustive
// comparison over every short text of the bracket and operator alphabet
// against plain reference walks written from the rules.
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "grammar/scan.hpp"

namespace ostr::lang::scan {
namespace {

constexpr std::size_t none = npos;

TEST(Scan, ConditionRows) {
    struct Row { const char* text; std::size_t pos, len; ops::Cond cond; };
    using ops::Cond;
    const Row rows[] = {
        {"1<2|0", 3, 1, Cond::or_}, {"1|0&0", 1, 1, Cond::or_}, {"1&0<2", 1, 1, Cond::and_},
        {"1<=2", 1, 2, Cond::le}, {"a<b<c", 3, 1, Cond::lt}, {"a>b>c", 1, 1, Cond::gt},
        {"a>=b>=c", 1, 2, Cond::ge}, {"a<=b<=c", 4, 2, Cond::le}, {"a==b", 1, 2, Cond::eq},
        {"a~=b", 1, 2, Cond::ne}, {"1<2>=3", 3, 2, Cond::ge}, {"(1|0)&1", 5, 1, Cond::and_},
    };
    for (const Row& r : rows) {
        CondFound f = find_condition(r.text);
        ASSERT_TRUE(f.found()) << r.text;
        EXPECT_EQ(f.pos, r.pos) << r.text;
        EXPECT_EQ(f.len, r.len) << r.text;
        EXPECT_EQ(f.cond, r.cond) << r.text;
    }
    EXPECT_FALSE(find_condition("(1<2)").found());
    EXPECT_FALSE(find_condition("~1").found());
    EXPECT_FALSE(find_condition("1=2").found());
}

TEST(Scan, SyntaxRows) {
    struct Row { const char* text; bool ok; };
    const Row rows[] = {
        {"", true}, {"1+2", true}, {"=1", false}, {"(]", false}, {"((", false}, {"1+2]", false},
        {"a[]", false}, {"1...2", false}, {"1..2", true}, {"1+*2", false}, {"1**2", false},
        {"1<=2", true}, {"1>=2", true}, {"1==2", true}, {"1~=2", true}, {"1<-2", true}, {"1<<2", false},
        {"1<>2", false}, {"()", true}, {"f()", true}, {"if:;", true}, {"1+", false}, {"2*", false},
        {"~1", true}, {"~~1", true}, {"1~", false}, {"*1", false}, {"!1", false}, {"1,,2", true}, {"if:1,;", true}, {"if:1,,2;", true}, {",;", false},
        {"(,1)", false}, {"1+)", false}, {"(1+)", false}, {"3!", true}, {"3!!", true}, {"1+!2", false},
        {"2*-3", true}, {"--3", true}, {"a=-1", true}, {"1&|0", false}, {"1|~0", true}, {"@x", true},
        {"x@", false}, {"1+=2", false}, {".5", true}, {"[1,2]", true},
    };
    for (const Row& r : rows) EXPECT_EQ(syntax_ok(r.text), r.ok) << r.text;
}

TEST(Scan, ErrorWordRows) {
    EXPECT_TRUE(has_error_segment(">invalid_expression<"));
    EXPECT_TRUE(has_error_segment("1+>invalid_object<*2"));
    EXPECT_TRUE(has_error_segment("1>a<2"));   // rejected on purpose, like an error word
    EXPECT_FALSE(has_error_segment("1>2<3"));  // a number inside is not a name
    EXPECT_FALSE(has_error_segment("x>1&y<2"));
    EXPECT_FALSE(has_error_segment("a<b>c"));
    EXPECT_FALSE(has_error_segment("><"));
    EXPECT_TRUE(is_error_word(">evaluation_aborted<"));
    EXPECT_FALSE(is_error_word(">a+b<"));
}

TEST(Scan, PlainNameRows) {
    struct Row { const char* text; bool name; };
    const Row rows[] = {
        {"x", true}, {"x1", true}, {"_a", true}, {"1", false}, {"i", false}, {"this", false},
        {"1e5", false}, {"1e999", true}, {"0b102", true}, {"0b101", false}, {"a.b", false},
        {"\xc3\xa9", true}, {"a b", false}, {"", false}, {"a\"", false}, {"inf", true}, {"2x", true},
    };
    for (const Row& r : rows) EXPECT_EQ(is_plain_name(r.text), r.name) << r.text;
    EXPECT_FALSE(is_plain_name(std::string_view("a\0b", 3)));
}

TEST(Scan, PeelRows) {
    Peeled p = peel("-(-(1))");
    EXPECT_EQ(p.rest, "1");
    EXPECT_FALSE(p.negative);
    p = peel("-(1)+2");
    EXPECT_EQ(p.rest, "(1)+2");
    EXPECT_TRUE(p.negative);
    p = peel("(1)*(2)");
    EXPECT_FALSE(p.changed);
    p = peel("+-+x");
    EXPECT_EQ(p.rest, "x");
    EXPECT_TRUE(p.negative);
}

TEST(Scan, CommaPieces) {
    auto pieces = split_commas("1,f(2,3),[4,5],");
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(pieces[1], "f(2,3)");
    EXPECT_EQ(pieces[2], "[4,5]");
    EXPECT_EQ(pieces[3], "");
}

// The exhaustive comparison: reference walks written from the rules.

constexpr std::string_view alphabet = "(:[)];+-*^E1.<=~|,";

int kind_of(char c, std::string_view set) {
    auto k = set.find(c);
    return k == std::string_view::npos ? -1 : static_cast<int>(k);
}

// Depth before each character, or an empty vector when brackets do not pair.
std::vector<int> reference_depths(std::string_view t) {
    std::vector<int> stack, depth;
    for (char c : t) {
        depth.push_back(static_cast<int>(stack.size()));
        if (int k = kind_of(c, ops::openers); k >= 0) stack.push_back(k);
        else if (int k2 = kind_of(c, ops::closers); k2 >= 0) {
            if (stack.empty() || stack.back() != k2) return {};
            stack.pop_back();
        }
    }
    if (!stack.empty()) return {};
    if (t.empty()) depth.push_back(0);
    return depth;
}

bool top(std::string_view t, const std::vector<int>& d, std::size_t i) {
    return d[i] == 0 && kind_of(t[i], ops::openers) < 0 && kind_of(t[i], ops::closers) < 0;
}

// The sign rule as stated: start, after an operator or opener, or the sign
// of an exponent after a mantissa of digits with at most one point.
bool reference_sign(std::string_view t, std::size_t i) {
    if (i == 0 || ops::in(ops::sign_after, t[i - 1])) return true;
    if (t[i - 1] != 'E' && t[i - 1] != 'e') return false;
    std::size_t j = i - 1;
    while (j > 0 && (std::isdigit(static_cast<unsigned char>(t[j - 1])) || t[j - 1] == '.')) --j;
    std::string_view m = t.substr(j, i - 1 - j);
    bool digit = m.find_first_of("0123456789") != std::string_view::npos;
    bool one_point = m.find('.') == m.rfind('.');
    return digit && one_point && (j == 0 || ops::in(ops::delimiters, t[j - 1]));
}

std::size_t reference_split(std::string_view t, const std::vector<int>& d) {
    for (const auto& rule : ops::split_order) {
        std::size_t found = none;
        for (std::size_t i = 0; i < t.size(); ++i) {
            if (!top(t, d, i) || t[i] != rule.op) continue;
            if ((rule.op == '+' || rule.op == '-') && reference_sign(t, i)) continue;
            if (rule.rightmost || found == none) found = i;
        }
        if (found != none) return found;
    }
    return none;
}

void check_text(std::string_view t) {
    std::vector<int> d = reference_depths(t);
    bool ok = !d.empty();
    ASSERT_EQ(balanced(t), ok) << t;
    std::vector<std::uint32_t> jumps = bracket_jumps(t);
    ASSERT_EQ(!jumps.empty() || t.empty(), ok) << t;
    if (!ok) {
        // Unbalanced texts: the walkers answer without reading out of bounds.
        (void)find_first(t, "+");
        (void)find_last(t, "<=");
        (void)split_position(t);
        (void)peel(t);
        return;
    }
    for (std::string_view token : {"+", "<=", ",", "~="}) {
        std::size_t first = none, last = none;
        for (std::size_t i = 0; i + token.size() <= t.size(); ++i) {
            bool all_top = true;
            for (std::size_t k = 0; k < token.size(); ++k) all_top = all_top && top(t, d, i + k);
            if (all_top && t.substr(i, token.size()) == token) {
                if (first == none) first = i;
                last = i;
            }
        }
        EXPECT_EQ(find_first(t, token).pos, first) << t << " " << token;
        EXPECT_EQ(find_first(t, token, jumps).pos, first) << t << " " << token;
        EXPECT_EQ(find_last(t, token).pos, last) << t << " " << token;
        EXPECT_EQ(find_last(t, token, jumps).pos, last) << t << " " << token;
    }
    for (std::size_t i = 0; i < t.size(); ++i)
        if (t[i] == '+' || t[i] == '-') {
            ASSERT_EQ(is_sign(t, i), reference_sign(t, i)) << t << " @" << i;
        }
    std::size_t want = reference_split(t, d);
    ASSERT_EQ(split_position(t), want) << t;
    ASSERT_EQ(split_position(t, jumps), want) << t;
    EXPECT_EQ(has_condition_char(t), has_condition_char(t, jumps)) << t;
    CondFound a = find_condition(t), b = find_condition(t, jumps);
    EXPECT_EQ(a.pos, b.pos) << t;
    EXPECT_EQ(a.len, b.len) << t;
    Peeled p = peel(t), q = peel(t, jumps);
    EXPECT_EQ(p.rest.data(), q.rest.data()) << t;
    EXPECT_EQ(p.negative, q.negative) << t;
    EXPECT_EQ(split_commas(t), split_commas(t, jumps)) << t;
}

TEST(Scan, ExhaustiveShortTexts) {
    std::string t;
    std::vector<std::size_t> digit;
    for (std::size_t len = 0; len <= 4; ++len) {
        digit.assign(len, 0);
        while (true) {
            t.resize(len);
            for (std::size_t k = 0; k < len; ++k) t[k] = alphabet[digit[k]];
            check_text(t);
            if (::testing::Test::HasFatalFailure()) return;
            std::size_t k = 0;
            while (k < len && ++digit[k] == alphabet.size()) digit[k++] = 0;
            if (k == len) break;
        }
    }
}

}  // namespace
}  // namespace ostr::lang::scan
