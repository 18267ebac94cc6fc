// The history of top-level lines: what is recorded, how history() shows it,
// history(n) running an entry again, its bounds, and the history through
// an environment record.
#include "envio/serialize.hpp"
#include "script/history.hpp"
#include "script_support.hpp"

namespace ostr::test {
namespace {

class History : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        env->history_flag = 1;
    }
};

TEST_F(History, ShowsNumberedEntriesWithTheirAnswers) {
    check({
        {"history()", "no history"},
        {"x=2", "x <- 2"},
        {"a=1,b=\"two\"", "a <- 1\n\nb <- \"two\""},
        {"1+", ">invalid_expression<"},
        {"history()",
         "1: history()\n   no history\n2: x=2\n   x <- 2\n3: a=1,b=\"two\"\n   a <- 1\n   b <- \"two\"\n"
         "4: 1+\n   >invalid_expression<"},
    });
    for (int k = 0; k < 6; ++k) run("x");
    // Answers are indented under their line, whatever the width of its number.
    const std::string all = run("history()");
    EXPECT_NE(all.find("\n10: x\n    2\n11: x\n    2"), std::string::npos) << all;
}

// history(n) runs line n again; only the history(n) line itself is recorded.
TEST_F(History, RunsAnEntryAgain) {
    check({
        {"x=1", "x <- 1"},
        {"x=x+1", "x <- x+1"},
        {"history(2)", "x <- x+1"},
        {"x", "3"},
        {"history(-2)", "x <- x+1"},
        {"x", "4"},
        {"f(t)=t*x", "f(t) <- t*x"},
        {"history(-1)", "f(t) <- t*x"},
        {"s=\"a,b\"", "s <- \"a,b\""},
        {"history(9)", "s <- \"a,b\""},
        {"history(0)", ">invalid_expression<"},
        {"history(100)", ">invalid_expression<"},
        {"history(-100)", ">invalid_expression<"},
        {"history(1.5)", ">invalid_expression<"},
        {"history(\"1\")", ">invalid_expression<"},
        {"history(1,2)", ">invalid_expression<"},
    });
    ASSERT_EQ(env->history.size(), 16u);
    EXPECT_EQ(env->history[2].script, "history(2)");
    EXPECT_EQ(env->history[2].result, "x <- x+1");
}

// Entries that run each other end at the nesting bound, and the session
// goes on.
TEST_F(History, ACycleOfEntriesIsAborted) {
    check({
        {"history(2)", ">invalid_expression<"},
        {"history(1)", ">invalid_expression<"},
        {"history(2)", ">evaluation_aborted<"},
        {"y=5", "y <- 5"},
    });
}

TEST_F(History, OffMeansNothingIsRecorded) {
    env->history_flag = 0;
    check({{"x=1", "x <- 1"}, {"history()", "no history"}, {"history(1)", ">invalid_expression<"}});
    EXPECT_TRUE(env->history.empty());
}

// The newest entries are kept; a long answer is cut, the script never.
TEST_F(History, BoundsDropTheOldestEntries) {
    std::vector<obj::HistoryEntry> list;
    for (std::size_t k = 1; k <= script::max_history_entries + 5; ++k)
        script::record_history(list, "x=" + std::to_string(k), "x <- " + std::to_string(k));
    ASSERT_EQ(list.size(), script::max_history_entries);
    EXPECT_EQ(list.front().script, "x=6");
    EXPECT_EQ(std::string(list.back().script), "x=" + std::to_string(script::max_history_entries + 5));

    const std::string big(script::max_history_answer + 100, 'a');
    script::record_history(list, "long", big);
    EXPECT_EQ(list.back().result.size(), script::max_history_answer + 3);
    EXPECT_TRUE(list.back().result.ends_with("a..."));
    // A cut never splits a character.
    std::string accents;
    while (accents.size() < script::max_history_answer + 10) accents += "\xC3\xA9";
    script::record_history(list, "accents", "x" + accents);
    EXPECT_EQ(std::string(list.back().result.substr(list.back().result.size() - 5)), "\xC3\xA9...");

    list.clear();
    const std::string script(std::size_t{1} << 20, 's');
    for (int k = 0; k < 6; ++k) script::record_history(list, script, "1");
    EXPECT_EQ(list.size(), 3u);  // 4 MiB of text at most
    script::record_history(list, std::string(std::size_t{5} << 20, 't'), "1");
    EXPECT_EQ(list.size(), 1u);  // the newest stays, whatever its size
}

// The flag and the entries travel in the environment record.
TEST_F(History, SurvivesTheEnvironmentRecord) {
    run("x=2");
    run("history(1)");
    Text body;
    envio::write_body(env, body);
    obj::OwnedEnvironment back(envio::read_body(body, false));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->history_flag, 1);
    ASSERT_EQ(back->history.size(), 2u);
    EXPECT_EQ(back->history[1].script, "history(1)");
    EXPECT_EQ(back->history[1].result, "x <- 2");
    obj::free_environment(env);
    env = back.release();
    EXPECT_EQ(run("history(-1)"), "x <- 2");
}

}  // namespace
}  // namespace ostr::test
