// Every statement example of docs/language.md, run (the lines of its
// ```script blocks, each block in a fresh environment that keeps a history,
// as the console's does), and the realistic sessions of data/realistic.md
// in the same form. Examples that write files write into a scratch
// directory.
#include <string>

#include "scratch_dir.hpp"
#include "script_support.hpp"
#include "support/doc_examples.hpp"

namespace ostr::test {
namespace {

class StatementDoc : public ScriptTest {
protected:
    int run_examples(const std::string& path) {
        return for_each_doc_example(
            path, "script",
            [&] {
                obj::free_environment(env);
                env = obj::make_top_level();
                env->history_flag = 1;
            },
            [&](const std::string& input, const std::string& want, const std::string& line) {
                EXPECT_EQ(run(input), expected(want)) << line;
            });
    }
    ScratchDir scratch;
    // "  ||  " in an answer stands for the blank line between the answers of
    // several statements; "(empty)" for the empty answer.
    static std::string expected(std::string want) {
        if (want == "(empty)") return "";
        for (std::size_t at; (at = want.find("  ||  ")) != std::string::npos;) want.replace(at, 6, "\n\n");
        if (want.rfind("||  ", 0) == 0) want.replace(0, 4, "\n\n");
        return want;
    }
};

TEST_F(StatementDoc, EveryExampleHolds) { EXPECT_GT(run_examples(OSTR_TEST_DATA "/../../../docs/language.md"), 40); }

TEST_F(StatementDoc, RealisticSessions) { EXPECT_GT(run_examples(OSTR_TEST_DATA "/realistic.md"), 15); }

}  // namespace
}  // namespace ostr::test
