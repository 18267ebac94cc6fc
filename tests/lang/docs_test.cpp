// Every example of docs/language.md, run: the lines of its ```eval blocks,
// the formula table and the examples of the predefined-function table.
#include <string>

#include "eval_support.hpp"
#include "grammar/scan.hpp"
#include "support/doc_examples.hpp"

namespace ostr::test {
namespace {

class LanguageDoc : public EvalTest {};

TEST_F(LanguageDoc, EveryExampleHolds) {
    const int examples = for_each_doc_example(
        OSTR_DOCS "/language.md", "eval", [] {},
        [&](const std::string& input, const std::string& want, const std::string& line) {
            auto eq = input.find('=');
            if (eq != std::string::npos && eq > 0 && input[eq + 1] != '=' &&
                lang::scan::is_plain_name(input.substr(0, eq))) {
                std::string name = input.substr(0, eq), right = input.substr(eq + 1);
                set(name, right);
                EXPECT_EQ(name + " <- " + right, want) << line;
            } else {
                EXPECT_EQ(answer(input), want) << line;
            }
        });
    EXPECT_GT(examples, 60);
}

// | typed | shown | with x and y free; | call | computes | example | answer |.
TEST_F(LanguageDoc, EveryTableRowHolds) {
    auto typed_shown = [&](const std::vector<std::string>& c) { EXPECT_EQ(answer(c.at(0)), c.at(1)); };
    EXPECT_GE(for_each_table_row(OSTR_DOCS "/language.md", "## Formulas", typed_shown), 20);
    auto example = [&](const std::vector<std::string>& c) { EXPECT_EQ(answer(c.at(2)), c.at(3)); };
    EXPECT_GE(for_each_table_row(OSTR_DOCS "/language.md", "## Predefined functions", example), 30);
}

}  // namespace
}  // namespace ostr::test
