// Every statement example of docs/language.md, run (the lines of its
// ```script blocks, each block in a fresh environment), and the realistic
// sessions of data/realistic.txt in the same form.
#include <fstream>
#include <string>

#include "script_support.hpp"
#include "support/doc_examples.hpp"

namespace ostr::test {
namespace {

class StatementDoc : public ScriptTest {};

// "  ||  " in an answer stands for the blank line between the answers of
// several statements; "(empty)" for the empty answer.
std::string expected(std::string want) {
    if (want == "(empty)") return "";
    for (std::size_t at; (at = want.find("  ||  ")) != std::string::npos;) want.replace(at, 6, "\n\n");
    if (want.rfind("||  ", 0) == 0) want.replace(0, 4, "\n\n");
    return want;
}

TEST_F(StatementDoc, EveryExampleHolds) {
    const int examples = for_each_doc_example(
        OSTR_TEST_DATA "/../../../docs/language.md", "script",
        [&] {
            obj::free_environment(env);
            env = obj::make_top_level();
        },
        [&](const std::string& input, const std::string& want, const std::string& line) {
            EXPECT_EQ(run(input), expected(want)) << line;
        });
    EXPECT_GT(examples, 40);
}

TEST_F(StatementDoc, RealisticSessions) {
    std::ifstream in(OSTR_TEST_DATA "/realistic.txt");
    ASSERT_TRUE(in);
    std::string line;
    int examples = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        if (line == "---") {
            obj::free_environment(env);
            env = obj::make_top_level();
            continue;
        }
        auto arrow = line.find("  ->  ");
        ASSERT_NE(arrow, std::string::npos) << line;
        EXPECT_EQ(run(line.substr(0, arrow)), expected(line.substr(arrow + 6))) << line;
        ++examples;
    }
    EXPECT_GT(examples, 15);
}

}  // namespace
}  // namespace ostr::test
