// help(): its answers at the console, and that its table covers every
// registered built-in and names only methods that exist.
#include <algorithm>
#include <string>

#include "lang/builtins.hpp"
#include "lang/globals.hpp"
#include "script/containers.hpp"
#include "script/help.hpp"
#include "script/string_methods.hpp"
#include "script_support.hpp"

namespace ostr::test {
namespace {

class Help : public ScriptTest {};

TEST_F(Help, Answers) {
    check({
        {"help(sin)", "sin(z): sine; example: sin(1) gives 0.841470984807897"},
        {"help(\"sin\")", "sin(z): sine; example: sin(1) gives 0.841470984807897"},
        {"help(besselk)",
         "besselk(x,nu): modified Bessel function K of real order nu at real x > 0; example: besselk(1,0) gives "
         "0.421024438240708"},
        {"help(break)", "break (statement word): leaves the innermost for or while loop"},
        {"help(sigdigits)", "sigdigits(n) (command): shows numbers with n significant digits, n from 1 to 15"},
        {"help(upper)", "s.upper() (string method): s with the letters a to z made capitals"},
        {"help(\"s.upper\")", "s.upper() (string method): s with the letters a to z made capitals"},
        {"help(a.size)",
         "a.size() (array method): the number of elements\nm.size() (map method): the number of entries\n"
         "m.size() (matrix method): the number of elements, rows times columns"},
        {"help(\"x.sin\")", "no method named sin"},
        {"help(sinn)", "no help for sinn; did you mean sign, sin or sinh?"},
        {"help(qqqqqqqq)", "no help for qqqqqqqq"},
        {"help(sin,cos)", ">invalid_expression<"},
        {"help(1)", ">invalid_expression<"},
        {"help(\"1+\")", ">invalid_expression<"},
        {"text(help(if)).length()>20", "1"},
    });
}

// A name both a predefined function and a method gets both entries.
TEST_F(Help, SharedNameListsEveryKind) {
    std::string sum = run("help(sum)");
    EXPECT_NE(sum.find("sum(f(n)"), std::string::npos) << sum;
    EXPECT_NE(sum.find("a.sum() (array method)"), std::string::npos) << sum;
    std::string find = run("help(find)");
    EXPECT_NE(find.find("s.find(t)"), std::string::npos) << find;
    EXPECT_NE(find.find("a.find(x)"), std::string::npos) << find;
}

TEST_F(Help, TopicsNameEveryEntry) {
    std::string topics = run("help()");
    auto listed = [&](std::string_view name) {
        return topics.find(std::string(" ").append(name)) != std::string::npos;
    };
    for (const lang::HelpEntry& e : lang::help_entries())
        EXPECT_TRUE(listed(e.signature.substr(0, e.signature.find('(')))) << e.signature;
    for (const script::HelpText& t : script::help_texts()) EXPECT_TRUE(listed(t.name)) << t.name;
    EXPECT_NE(topics.find("help(\"name\")"), std::string::npos) << topics;
    // Wrapped: no line of the text is wider than a terminal.
    for (std::size_t at = 0, end; at < topics.size(); at = end + 1) {
        end = std::min(topics.find('\n', at), topics.size());
        EXPECT_LE(end - at, 80u) << topics.substr(at, end - at);
    }
}

TEST_F(Help, ExamplesThatAnswerArraysHold) {
    int arrays = 0;
    for (const lang::HelpEntry& e : lang::help_entries())
        if (e.answer.starts_with("[") || e.answer.starts_with("matrix:")) {
            EXPECT_EQ(run(e.example), std::string(e.answer)) << e.example;
            ++arrays;
        }
    EXPECT_GE(arrays, 5);
}

// A built-in registered without help, or a help row for a method that does
// not exist, fails here.
TEST_F(Help, TableMatchesWhatIsRegistered) {
    for (const auto& [name, b] : lang::globals()->builtins) {
        std::string_view n(name);
        bool found = lang::find_help(n) != nullptr;
        for (const script::HelpText& t : script::help_texts())
            found = found || (t.name == n && t.kind == script::HelpKind::command);
        EXPECT_TRUE(found) << n;
    }
    for (const script::HelpText& t : script::help_texts()) {
        switch (t.kind) {
        case script::HelpKind::string_method: {
            auto rows = script::string_methods();
            auto named = [&](const script::StringMethod& r) { return r.name == t.name; };
            EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), named)) << t.name;
            break;
        }
        case script::HelpKind::array_method: EXPECT_NE(script::array_method(t.name), nullptr) << t.name; break;
        case script::HelpKind::map_method: EXPECT_NE(script::map_method(t.name), nullptr) << t.name; break;
        default: break;
        }
    }
    for (const script::StringMethod& m : script::string_methods())
        EXPECT_NE(script::help_about(m.name).find("(string method)"), std::string::npos) << m.name;
}

}  // namespace
}  // namespace ostr::test
