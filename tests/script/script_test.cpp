// Whole lines through the statement layer, grouped by what they pin: each
// table is {line, answer}, run in order in one environment.
#include "script_support.hpp"

#include <algorithm>
#include <chrono>

#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

// The statement examples of docs/language.md are run by docs_test.cpp and
// not repeated here.
TEST_F(ScriptTest, AssignmentsAndSeveralStatements) {
    const char* bad = ">invalid_expression<";
    check({
        {"=x", bad}, {"f(x)=", bad}, {"x=3,y=2*x+1", "x <- 3\n\ny <- 2*x+1"}, {"y", "7"},
        {"x<=3", "1"}, {"x>=4", "0"}, {"  x = 1 + 2  ", "x <- 1+2"},
        // A failed assignment changes nothing.
        {"x=1+", bad}, {"x", "3"}, {"break=1", ">invalid_assignment<"}, {"else=1", ">invalid_assignment<"},
        {"sigdigits(x)=1", ">invalid_assignment<"}, {"f(x,x)=1", ">invalid_assignment<"},
        {"f(2)=1", ">invalid_assignment<"},
        // What a statement before a failing one stored stays stored.
        {"x=1,a=b=c,y=2", "x <- 1\n\n>invalid_expression<\n\ny <- 2"}, {"y", "2"},
        {"((((a=5,b=6)))),a+b", "a <- 5\n\nb <- 6\n\n11"},
        {"((1+2))", "3"}, {" \t1 +\r\n 2 ", "3"},
    });
    Text work;
    ASSERT_TRUE(script::normalise(" [] ", env, work));
    EXPECT_EQ(work, "array:0;");
    ASSERT_TRUE(script::normalise("if:1,y=1;z=(2)x", env, work));
    EXPECT_EQ(work, "if:1,y=1;,z=(2)*x");
    ASSERT_TRUE(script::normalise("[1]x", env, work));
    EXPECT_EQ(work, "[1],x");
}

TEST_F(ScriptTest, StringsAndPrinting) {
    check({
        {R"("abc)", ">invalid_expression<"}, {R"(x="a)", ">invalid_expression<"},
        {R"(\"ab")", R"(\"ab")"},  // the first quote counts even after a backslash
        {R"("a\nb\tc")", R"("a\nb\tc")"}, {R"(s="a  b")", R"(s <- "a  b")"}, {"s", R"("a  b")"},
        {R"("ab"+"cd")", R"("abcd")"}, {R"("a"=="b")", "0"}, {R"(u(x)="v"+x)", R"(u(x) <- "v"+x)"},
        {R"(u("w"))", R"("vw")"}, {R"(g("a b"))", R"(g("a b"))"},
        {"sigdigits(4)", "4"}, {"2*pi*i", "6.283*i"}, {"sigdigits(0)", ">invalid_expression<"},
        {"sigdigits(i)", ">invalid_expression<"}, {"sigdigits(1)", "1"}, {"pi", "3"}, {"sigdigits(15)", "15"},
    });
    // What is printed reads back as the same value.
    for (const char* e : {"3+2*i", "-i", "1.5E-7*i", "1/3-2/7*i", "-2.5E+20+1E-9*i", "pi*i", "-e"}) {
        std::string once = run(e);
        EXPECT_EQ(run(once), once) << e;
    }
}

TEST_F(ScriptTest, BlocksAndFunctions) {
    check({
        {"x=0,y=5,if:x>0,y=1,elseif,x<0,y=-1,else,y=0;,y", "x <- 0\n\ny <- 5\n\n0"},
        {"if:0,5;", ""}, {"if:1,if:0,7,else,if:1,8;;;", "8"},
        // An earlier statement's value is not a later block's.
        {"p(v)=v*2,if:1,5;,if:p(1)>9,6;", "p(v) <- v*2\n\n5"},
        {"for:k=1,k<1,k=k+1,never=1;,never", "\n\nnever"},
        {"c=0,for:a=1,a<=3,a=a+1,for:b=1,b<=3,b=b+1,if:b==2,break;,c=c+1;;,c", "c <- 0\n\n3"},
        {"a", "4"}, {"b", "2"},
        {"for:k,k<3,k=k+1;", ">invalid_expression<"},
        {"t=0,for:k=1,k<=3,k=k+1,t=t+k,bogus(;", ">invalid_expression<"},
        // A failing element stops the loop; what ran before it stays.
        {"t=0,for:k=1,k<=3,k=k+1,t=t+k,a=b=c;,t", "t <- 0\n\n>invalid_expression<\n\n1"},
        {"f(x)=x^2+1", "f(x) <- x^2+1"}, {"f(f(1))", "5"}, {"2*f(2)-1", "9"},
        // A loop's names in a function body are the call's own.
        {"sumto(n)=(s=0,for:j=1,j<=n,j=j+1,s=s+j;,s)", "sumto(n) <- (s=0,for:j=1,j<=n,j=j+1,s=s+j;,s)"},
        {"sumto(10)", "55"}, {"j", "j"},
    });
}

TEST_F(ScriptTest, BoundsAbortTheLineOnly) {
    script::limits().max_loop_passes = 1000;
    check({
        {"x=5,while:1,x=x+1;,y=1", "x <- 5\n\n>evaluation_aborted<\n\n>evaluation_aborted<"},
        // After an abort a failing pre-check answers the abort too.
        {"while:1,x=x+1;,a=b=c", ">evaluation_aborted<\n\n>evaluation_aborted<"},
        {"1+1", "2"},
        {"f(x)=f(x)+1,f(1)", "f(x) <- f(x)+1\n\n>evaluation_aborted<"},
        {"f(x)=x,f(2)", "f(x) <- x\n\n2"},
    });
    EXPECT_EQ(run("x"), "2007");  // 1001 passes per line, all kept
    // A formula that doubles until it reaches the size bound: every later
    // pass that uses it is slow, and the time bound must see each one.
    run("s=u,for:k=1,k<=16,k=k+1,s=s+s*v;,1");
    script::limits().max_loop_passes = 1'000'000'000;
    script::limits().max_seconds = 0.05;
    EXPECT_EQ(run("for:k=1,k<=1000,k=k+1,t=s+k;"), ">evaluation_aborted<");
    EXPECT_EQ(env->abort_text, "time limit");
    EXPECT_EQ(run("while:1,x=x+1;"), ">evaluation_aborted<");
    EXPECT_EQ(env->abort_text, "time limit");
    // A recursion that branches: once the nesting bound is hit, no sibling
    // call starts again; one that stays under the bound runs 2^40 calls,
    // which count against the time bound.
    // The nesting bound alone must stop this one, so the time bound is out
    // of its way (a loaded machine would otherwise reach 0.05 s first).
    script::limits().max_seconds = 60;
    EXPECT_EQ(run("g(n)=g(n+1)+g(n+1),g(1)"), "g(n) <- g(n+1)+g(n+1)\n\n>evaluation_aborted<");
    EXPECT_EQ(env->abort_text, "nesting too deep");
    script::limits().max_seconds = 0.05;
    EXPECT_EQ(run("h(n)=if:n<40,h(n+1)+h(n+1),else,0;,h(1)"),
              "h(n) <- if:n<40,h(n+1)+h(n+1),else,0;\n\n>evaluation_aborted<");
    EXPECT_EQ(env->abort_text, "time limit");
    script::limits().max_string_bytes = 1000;
    EXPECT_EQ(run(R"(s="abcd",while:1,s=s+s;)"), "s <- \"abcd\"\n\n>evaluation_aborted<");
    EXPECT_EQ(run("s==s"), "1");
    EXPECT_TRUE(env->abort_text.empty());
}

// Formula work counts against the time of the line. A chain of powers of names grows by
// one name per step and is written in linear time, far inside the bound; past the size
// bound of a formula it is an invalid expression. A long sum of distinct names still
// costs quadratic time, and the bound stops it within a fraction of a second.
TEST_F(ScriptTest, FormulaChainsStayWithinTheTimeBound) {
    auto chain = [](char op, int n, const char* between = "") {
        std::string t = "x0";
        for (int k = 1; k < n; ++k) t += op + std::string("x") + std::to_string(op == '^' ? k % 3 : k) + between;
        return t;
    };
    auto seconds = [this](std::string_view line, std::string* answer) {
        auto start = std::chrono::steady_clock::now();
        *answer = run(line);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    // Under the default bound: a fraction of a second in a release build, some seconds
    // under the sanitizers; before the chains were written without reading, minutes.
    std::string answer;
    std::string powers = chain('^', 20000);
    EXPECT_LT(seconds(powers, &answer), 60.5);
    EXPECT_TRUE(answer == powers) << answer.substr(0, 100);
    EXPECT_LT(seconds(chain('^', 100000), &answer), 60.5);
    EXPECT_EQ(answer, ">invalid_expression<");
    // Sums and products of distinct names grow by one term per step without reading
    // the whole again: 12,000 names (70 kB of text) well within the default bound.
    std::string sum = chain('+', 12000), product = chain('*', 12000);
    EXPECT_LT(seconds(sum, &answer), 60.5);
    EXPECT_TRUE(answer == sum) << answer.substr(0, 100);
    EXPECT_LT(seconds(product, &answer), 60.5);
    std::vector<std::string> names;
    for (int k = 0; k < 12000; ++k) names.push_back(std::string("x").append(std::to_string(k)));
    std::sort(names.begin(), names.end());
    std::string sorted = names[0];
    for (int k = 1; k < 12000; ++k) sorted.append("*").append(names[k]);
    EXPECT_TRUE(answer == sorted) << answer.substr(0, 100);
    // A sum with a constant is read again at every step: it meets the bound.
    script::limits().max_seconds = 0.2;
    EXPECT_LT(seconds("y=1," + chain('+', 12000, "+1") + ",y=2", &answer), 0.7);
    EXPECT_EQ(answer, "y <- 1\n\n>evaluation_aborted<\n\n>evaluation_aborted<");
    EXPECT_EQ(env->abort_text, "time limit");
    check({{"y", "1"}, {"x0+x0", "2*x0"}});
    EXPECT_TRUE(env->abort_text.empty());
}

TEST_F(ScriptTest, HostileLines) {
    std::string nested;
    for (int k = 0; k < 100000; ++k) nested += "if:1,";
    nested += "x=1" + std::string(100000, ';');
    EXPECT_EQ(run(nested), ">evaluation_aborted<");
    std::string parens = std::string(100000, '(') + "a=1,b=2" + std::string(100000, ')');
    EXPECT_EQ(run(parens), "a <- 1\n\nb <- 2");
    EXPECT_EQ(run(std::string(10 << 20, '1')), ">evaluation_aborted<");
    EXPECT_EQ(run(std::string(100000, '(')), ">invalid_expression<");
    std::string quotes(100000, '"');
    EXPECT_EQ(run(quotes), quotes);  // fifty thousand empty strings side by side
    EXPECT_EQ(run(std::string(100001, '"')), ">invalid_expression<");
    EXPECT_EQ(run("\xFF" "1\xFF"), ">invalid_expression<");
    for (const char* garbage : {",", ";", ":", "if:", "for:;", "while:;", "x=,", "(,)", "\\", "\"", "f(", "))((",
                                "if:1,else,elseif;", "a.b=1", "1=1", "[]=2", ":;", "=", "==", "\x01" "1=1"})
        run(garbage);
    EXPECT_EQ(run("a=1"), "a <- 1");
}

TEST_F(ScriptTest, HistoryKeepsTheOuterLineOnly) {
    env->history_flag = 1;
    run("x=1,y=2");
    run("a=b=c");
    ASSERT_EQ(env->history.size(), 2u);
    EXPECT_EQ(env->history[0].script, "x=1,y=2");
    EXPECT_EQ(env->history[0].result, "x <- 1\n\ny <- 2");
    EXPECT_EQ(env->history[1].result, ">invalid_expression<");
    EXPECT_EQ(env->history_flag, 1);
}

// A line typed again comes classified, its expressions prepared: the second
// pass gives the same answers and asks the evaluator's cache nothing. A line
// with a lifted string is analysed afresh, since its placeholders live for
// one line only.
TEST_F(ScriptTest, RepeatedLinesAreAnalysedOnce) {
    const Line lines[] = {
        {"x=1,y=x+1,if:y>1,y*10;", "x <- 1\n\ny <- x+1\n\n20"}, {"z=(x+y)*2", "z <- (x+y)*2"},
        {"((z))", "6"}, {"x=1=2", ">invalid_expression<"}, {"f(a)=a+z", "f(a) <- a+z"}, {"f(1)", "7"},
        {"1+", ">invalid_expression<"}, {"", ""},
    };
    for (const Line& l : lines) EXPECT_EQ(run(l.line), l.answer) << "line: " << l.line;
    lang::CacheStats before = lang::cache_stats();
    for (const Line& l : lines) EXPECT_EQ(run(l.line), l.answer) << "again: " << l.line;
    lang::CacheStats after = lang::cache_stats();
    EXPECT_EQ(after.hits + after.misses, before.hits + before.misses);
    EXPECT_EQ(run(R"(s="a"+z)"), R"(s <- "a"+z)");
    EXPECT_EQ(run(R"(s="b"+z)"), R"(s <- "b"+z)");
    EXPECT_EQ(run("s"), R"("b6")");
    EXPECT_GT(lang::cache_stats().hits, after.hits);
}

TEST_F(ScriptTest, PlaceholdersAreReleasedEachLine) {
    run(R"(a="x",b="y"+"z",c=a+b)");
    EXPECT_TRUE(env->placeholders->empty());
    EXPECT_EQ(run("c"), R"("xyz")");
    EXPECT_EQ(obj::find(env, "return"), nullptr);
}

TEST(ScriptMemory, NothingLeaks) {
    CountingAlloc counter;
    long before = counter.live();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(script::initialize_globals(nullptr, 0));
        Arbenv* env = obj::make_top_level();
        for (const char* line : {"x=2,y=3", R"(s="a"+"b",t=s+s)", "f(x)=x^2+1,f(3),f(y)",
                                 "fib(n)=if:n<2,n,else,fib(n-1)+fib(n-2);,fib(8)",
                                 "s=0,for:k=1,k<=50,k=k+1,s=s+k,if:k>40,break;;", "a=b=c", "\"open",
                                 "g(x)=g(x),g(1)", "if:1,z=1,w=\"q\",w;", "private:u=1;,u"})
            EXPECT_FALSE(script::run_script(line, env, true).empty()) << line;
        obj::free_environment(env);
        script::terminate_globals();
    }
    EXPECT_EQ(counter.live(), before);
}

}  // namespace
}  // namespace ostr::test
