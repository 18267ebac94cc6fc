// Every example of docs/language.md, run: the lines of its ```eval blocks.
#include <fstream>
#include <string>

#include "eval_support.hpp"
#include "lang/scan.hpp"

namespace ostr::test {
namespace {

class LanguageDoc : public EvalTest {};

TEST_F(LanguageDoc, EveryExampleHolds) {
    std::ifstream in(OSTR_DOCS "/language.md");
    ASSERT_TRUE(in);
    std::string line;
    bool inside = false;
    int examples = 0;
    while (std::getline(in, line)) {
        if (line.rfind("```", 0) == 0) {
            inside = !inside && line == "```eval";
            continue;
        }
        if (!inside || line.empty()) continue;
        auto arrow = line.find("  ->  ");
        ASSERT_NE(arrow, std::string::npos) << line;
        std::string input = line.substr(0, arrow), want = line.substr(arrow + 6);
        auto eq = input.find('=');
        if (eq != std::string::npos && eq > 0 && input[eq + 1] != '=' &&
            lang::scan::is_plain_name(input.substr(0, eq))) {
            std::string name = input.substr(0, eq), right = input.substr(eq + 1);
            set(name, right);
            EXPECT_EQ(name + " <- " + right, want) << line;
        } else {
            EXPECT_EQ(answer(input), want) << line;
        }
        ++examples;
    }
    EXPECT_GT(examples, 60);
}

}  // namespace
}  // namespace ostr::test
