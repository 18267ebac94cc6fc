// help(): its answers at the console, and that its table covers every
// registered built-in and names only methods that exist.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "lang/builtins.hpp"
#include "lang/globals.hpp"
#include "script/containers.hpp"
#include "script/help.hpp"
#include "script/matrices.hpp"
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
        {"help(break)",
         "break (statement word): leaves the innermost for or while loop; example: "
         "for:k=1,k<10,k=k+1,if:k==3,break;;,k gives 3"},
        {"help(sigdigits)",
         "sigdigits(n) (command): shows numbers with n significant digits, n from 1 to 15; example: sigdigits(3),pi "
         "gives 3.14"},
        {"help(upper)",
         "s.upper() (string method): s with the letters a to z made capitals; example: \"abc\".upper() gives \"ABC\""},
        {"help(\"s.upper\")",
         "s.upper() (string method): s with the letters a to z made capitals; example: \"abc\".upper() gives \"ABC\""},
        {"help(a.size)",
         "a.size() (array method): the number of elements; example: [1,2,3].size() gives 3\n"
         "m.size() (map method): the number of entries; example: map:\"a\"=1,\"b\"=2;.size() gives 2\n"
         "m.size() (matrix method): the number of elements, rows times columns; example: matrix:[1,2],[3,4];.size() "
         "gives 4"},
        {"help(shift)",
         "x.shift(n) (number and formula method): x*2^n for integers x and n (n<0: floor(x/2^-n)); x and the result "
         "within 2^53; a formula stays a formula; example: x=5,x.shift(2) gives 20"},
        {"help(why)",
         "why() (command): one sentence on the last statement that went wrong: which part, at which column, what to "
         "write instead; example: sine(1),why() gives column 1 of sine(1): sine is not a function; did you mean sin?"},
        {"help(introspec)", "no help for introspec; did you mean introspect?"},
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

// Every name the tables of the system register has an entry of its kind:
// the built-ins, the statement words, the method rows of every type and the
// dispatch tables of strings, arrays, maps and matrices.
TEST_F(Help, EveryRegisteredNameHasAnEntry) {
    using script::HelpKind;
    auto has = [](HelpKind kind, std::string_view name) {
        for (const script::HelpText& t : script::help_texts())
            if (t.kind == kind && t.name == name) return true;
        return false;
    };
    for (const auto& [name, b] : lang::globals()->builtins)
        EXPECT_TRUE(lang::find_help(name) || has(HelpKind::command, name)) << name;
    for (const script::StatementWord& w : script::statement_words) EXPECT_TRUE(has(HelpKind::word, w.text)) << w.text;
    const std::pair<obj::Tag, HelpKind> typed[] = {
        {obj::algebraic, HelpKind::algebraic_method}, {obj::matrix, HelpKind::matrix_method},
        {obj::array, HelpKind::array_method},         {obj::node, HelpKind::node_method},
        {obj::map, HelpKind::map_method},             {obj::class_definition, HelpKind::object_method},
    };
    for (std::uint32_t tag = 0; tag < obj::tag_count; ++tag) {
        auto rows = obj::type_of(tag).methods;
        auto kind = std::find_if(std::begin(typed), std::end(typed), [&](auto& p) { return p.first == tag; });
        if (rows.empty()) continue;
        ASSERT_NE(kind, std::end(typed)) << "methods of tag " << tag << " have no help kind";
        for (const obj::Method& m : rows) EXPECT_TRUE(has(kind->second, m.name)) << m.name;
    }
    for (const script::MethodRow& r : script::array_methods()) EXPECT_TRUE(has(HelpKind::array_method, r.name)) << r.name;
    for (const script::MethodRow& r : script::map_methods()) EXPECT_TRUE(has(HelpKind::map_method, r.name)) << r.name;
    for (const script::MethodRow& r : script::matrix_methods())
        EXPECT_TRUE(has(HelpKind::matrix_method, r.name)) << r.name;
    for (const script::StringMethod& m : script::string_methods())
        EXPECT_TRUE(has(HelpKind::string_method, m.name)) << m.name;
    EXPECT_TRUE(has(HelpKind::any_method, "introspect"));
}

// The answer of an example line: that of its last statement.
std::string last_answer(const std::string& all) {
    std::size_t cut = all.rfind("\n\n");
    return cut == std::string::npos ? all : all.substr(cut + 2);
}

// A scratch working directory for the examples that write files.
class InScratch {
public:
    InScratch() : old_(std::filesystem::current_path()) {
        std::string t = (std::filesystem::temp_directory_path() / "ostr_help_XXXXXX").string();
        if (mkdtemp(t.data())) dir_ = t;
        std::filesystem::current_path(dir_);
    }
    ~InScratch() {
        std::filesystem::current_path(old_);
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }

private:
    std::filesystem::path old_, dir_;
};

// Every example, run in a fresh environment, gives the answer its entry
// states.
TEST_F(Help, EveryExampleGivesItsStatedAnswer) {
    InScratch scratch;
    auto fresh = [&] {
        obj::free_environment(env);
        env = obj::make_top_level();
    };
    for (const lang::HelpEntry& e : lang::help_entries()) {
        fresh();
        EXPECT_EQ(last_answer(run(e.example)), std::string(e.answer)) << e.example;
    }
    for (const script::HelpText& t : script::help_texts()) {
        ASSERT_FALSE(t.example.empty()) << t.name << " has no example";
        fresh();
        EXPECT_EQ(last_answer(run(t.example)), std::string(t.answer)) << t.example;
    }
}

// The reference part of docs/language.md is the help tables written out:
// run with OSTR_UPDATE_DOCS=1 to write it again after a change.
TEST_F(Help, LanguageReferenceIsTheHelpTable) {
    const std::string path = OSTR_TEST_DATA "/../../../docs/language.md";
    std::ifstream in(path);
    std::stringstream buf;
    buf << in.rdbuf();
    std::string doc = buf.str();
    const std::string begin = "<!-- help reference: made from the help tables -->\n";
    const std::string end = "<!-- end of help reference -->";
    std::size_t b = doc.find(begin), e = doc.find(end);
    ASSERT_NE(b, std::string::npos);
    ASSERT_NE(e, std::string::npos);
    b += begin.size();
    std::string made(1, '\n');
    made += script::help_reference();
    made += '\n';
    if (std::getenv("OSTR_UPDATE_DOCS")) {
        doc.replace(b, e - b, made);
        std::ofstream(path) << doc;
        return;
    }
    EXPECT_EQ(doc.substr(b, e - b), made);
}

}  // namespace
}  // namespace ostr::test
