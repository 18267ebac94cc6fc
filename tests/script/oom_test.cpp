// Memory running out anywhere in a script line, an environment file or the
// environment stream: each allocation in turn fails (the standard
// containers' too), and every time the C face answers null or an error word,
// the environment keeps what it held before the line (or shows the line's
// whole effect), and nothing is left allocated.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "objects/environment.hpp"
#include "ostravine/core.h"
#include "ostravine/envio.h"
#include "ostravine/persist.h"
#include "ostravine/script.h"
#include "support/sweep.hpp"

namespace ostr::test {
namespace {

std::string take(char* answer) {
    std::string s = answer ? answer : "(null)";
    FreeString(answer);
    return s;
}
std::string run(Arbenv* env, const std::string& line) { return take(ArbevalScript(line.c_str(), env, 1)); }

bool error_word(const std::string& a) {
    for (const char* w : {">invalid_expression<", ">invalid_object<", ">invalid_assignment<", ">evaluation_aborted<"})
        if (a.find(w) != std::string::npos) return true;
    return false;
}

// Relative: export writes only below the working directory. One file per test, since
// CTest runs the tests of this suite side by side.
const std::string env_file = "ostravine_oom_test.env";
const std::string export_file = "ostravine_oom_export_test.env";

struct Case {
    std::vector<std::string> setup;  // lines run before the swept one
    std::string line;
    std::string answer;  // when nothing fails
    std::string probe;   // a line that shows what the swept one changes
    std::string before, after;
};

// The answer of a line under a failing allocation is null, an error word or
// the right answer; the probe then shows the state before or after the line,
// the history holds every earlier entry (and this line's at most), and the
// environment is back at level 0 with no placeholder left. The test's own
// code allocates nothing while allocations fail: act keeps the raw answer.
void sweep_line(const Case& c) {
    struct State {
        Arbenv* env = nullptr;
        char* answer = nullptr;
    };
    CountingAlloc counter(true);
    EXPECT_TRUE(CountingAlloc::routes_new());
    sweep_allocations(
        counter, c.line,
        [&] {
            EXPECT_EQ(InitializeGlobals(nullptr, 0), 1);
            State s{InitializeTopLevelEnvironment(), nullptr};
            s.env->history_flag = 1;
            for (const auto& l : c.setup) run(s.env, l);
            return s;
        },
        [&](State& s) { s.answer = ArbevalScript(c.line.c_str(), s.env, 1); },
        [&](State& s, bool failed) {
            const std::string a = take(s.answer);
            if (failed) {
                EXPECT_TRUE(a == "(null)" || error_word(a) || a == c.answer) << c.line << " answers " << a;
            } else {
                EXPECT_EQ(a, c.answer);
            }
            if (!c.probe.empty()) {
                const std::string p = run(s.env, c.probe);
                EXPECT_TRUE(p == c.before || p == c.after) << c.line << ": " << c.probe << " answers " << p;
                if (!failed) { EXPECT_EQ(p, c.after); }
            }
            const std::size_t kept = c.setup.size() + (c.probe.empty() ? 0 : 1);
            EXPECT_EQ(s.env->history_flag, 1);
            EXPECT_TRUE(s.env->history.size() == kept || s.env->history.size() == kept + 1) << s.env->history.size();
            for (std::size_t k = 0; k < c.setup.size() && k < s.env->history.size(); ++k)
                EXPECT_EQ(std::string(s.env->history[k].script), c.setup[k]);
            EXPECT_EQ(s.env->level, 0);
            EXPECT_TRUE(!s.env->placeholders || s.env->placeholders->empty());
            TerminateEnvironment(s.env);
            TerminateGlobals();
        });
}

TEST(OutOfMemory, ScriptLines) {
    const Case cases[] = {
        {{}, "2*(3+4)^2-1", "97", "", "", ""},
        {{"m=matrix:[1,2],[3,4];"}, "m[1][2]=9", "m[1][2] <- 9", "m", "matrix:[1,2],[3,4];", "matrix:[1,9],[3,4];"},
        {{"m=matrix:[2,1],[1,3];"}, "(m*m).transpose().append([1,1])", "matrix:[5,5],[5,10],[1,1];", "", "", ""},
        {{"m=matrix:[2,1],[1,3];"}, "m.append(m^-1*5)", "matrix:[2,1],[1,3],[3,-1],[-1,2];", "m", "matrix:[2,1],[1,3];",
         "matrix:[2,1],[1,3],[3,-1],[-1,2];"},
        {{}, "a*b+sin(a)", "a*b+sin(a)", "", "", ""},
        {{}, "f(a,b)=a^2+b", "f(a,b) <- a^2+b", "f(2,3)", "f(2,3)", "7"},
        {{"f(a,b)=a^2+b"}, "f(2,3)+1", "8", "", "", ""},
        {{"t=0"}, "for:k=1,k<=3,k=k+1,t=t+k;", "", "t", "0", "6"},
        {{}, "s=\"ab\"+\"cd\"", "s <- \"ab\"+\"cd\"", "s", "s", "\"abcd\""},
        {{"x=3", "y=0"}, "if:x>1,y=2*x;", "", "y", "0", "6"},
        {{"s=\"abc\""}, "s=s+\"def\"", "s <- s+\"def\"", "s", "\"abc\"", "\"abcdef\""},
        {{"x=1"}, "import(\"" + env_file + "\")", "5", "x", "1", "5"},
    };
    {
        ASSERT_EQ(InitializeGlobals(nullptr, 0), 1);
        Arbenv* env = InitializeTopLevelEnvironment();
        EXPECT_EQ(run(env, "x=5,w=\"text\",g(u)=u+x,export(\"" + env_file + "\")"), "x <- 5\n\nw <- \"text\"\n\ng(u) <- u+x\n\n5");
        TerminateEnvironment(env);
        TerminateGlobals();
    }
    for (const Case& c : cases) {
        sweep_line(c);
        if (::testing::Test::HasFailure()) break;
    }
    std::remove(env_file.c_str());
}

// export writes the whole file or, when memory runs out first, none.
TEST(OutOfMemory, ExportWritesAllOrNothing) {
    const std::string line = "export(\"" + export_file + "\")";
    struct State {
        Arbenv* env;
        char* answer;
    };
    CountingAlloc counter(true);
    sweep_allocations(
        counter, "export",
        [&] {
            std::remove(export_file.c_str());
            EXPECT_EQ(InitializeGlobals(nullptr, 0), 1);
            State s{InitializeTopLevelEnvironment(), nullptr};
            run(s.env, "x=5,w=\"text\",g(u)=u+x");
            return s;
        },
        [&](State& s) { s.answer = ArbevalScript(line.c_str(), s.env, 1); },
        [&](State& s, bool) {
            const std::string answer = take(s.answer);
            TerminateEnvironment(s.env);
            Arbenv* env = InitializeTopLevelEnvironment();
            const std::string imported = run(env, "import(\"" + export_file + "\")");
            // The answer may fail after the file is written, never before.
            const bool written = imported == "5";
            if (answer == "5") { EXPECT_TRUE(written); }
            else { EXPECT_TRUE(answer == "(null)" || error_word(answer)) << answer; }
            if (written) { EXPECT_EQ(run(env, "g(1)"), "6"); }
            else { EXPECT_EQ(imported, ">invalid_object<"); }
            TerminateEnvironment(env);
            TerminateGlobals();
        });
    std::remove(export_file.c_str());
}

// The globals and a fresh environment: built whole or not at all.
TEST(OutOfMemory, GlobalsAndEnvironments) {
    CountingAlloc counter(true);
    sweep_allocations(
        counter, "InitializeGlobals", [] { TerminateGlobals(); return 0; },
        [](int& ok) { ok = InitializeGlobals(nullptr, 0); },
        [](int& ok, bool failed) {
            if (!failed) { EXPECT_EQ(ok, 1); }
            if (ok) {
                Arbenv* env = InitializeTopLevelEnvironment();
                EXPECT_EQ(run(env, "sin(0)+2"), "2");
                TerminateEnvironment(env);
            }
            TerminateGlobals();
        });
    ASSERT_EQ(InitializeGlobals(nullptr, 0), 1);
    sweep_allocations(
        counter, "InitializeTopLevelEnvironment", [] { return static_cast<Arbenv*>(nullptr); },
        [](Arbenv*& env) { env = InitializeTopLevelEnvironment(); },
        [](Arbenv*& env, bool failed) {
            if (!failed) { EXPECT_NE(env, nullptr); }
            if (env) { EXPECT_EQ(run(env, "pi"), "3.14159265358979"); }
            TerminateEnvironment(env);
        });
    TerminateGlobals();
}

// The environment stream as the state file uses it: a write is whole or
// leaves the stream empty, a read or a copy gives the whole environment or
// null.
TEST(OutOfMemory, EnvironmentStream) {
    ASSERT_EQ(InitializeGlobals(nullptr, 0), 1);
    Arbenv* env = InitializeTopLevelEnvironment();
    run(env, "x=5,w=\"text\",g(u)=u+x,for:k=1,k<3,k=k+1;");
    auto whole = [](Arbenv* e) {
        EXPECT_EQ(run(e, "g(1)+k"), "9");
        EXPECT_EQ(run(e, "w"), "\"text\"");
    };
    CountingAlloc counter(true);
    struct Written {
        MemFile* m;
    };
    sweep_allocations(
        counter, "writeArbenv", [] { return Written{MemOpen(16)}; }, [&](Written& w) { writeArbenv(env, w.m, 0); },
        [&](Written& w, bool) {
            if (w.m->position != 0) {
                w.m->position = 0;
                Arbenv* back = static_cast<Arbenv*>(readTopArbenv(w.m, 0));
                EXPECT_NE(back, nullptr);
                if (back) whole(back);
                TerminateEnvironment(back);
            }
            MemClose(w.m);
        });
    sweep_allocations(
        counter, "readTopArbenv",
        [&] {
            Written w{MemOpen(16)};
            writeArbenv(env, w.m, 0);
            w.m->position = 0;
            return std::pair<Written, Arbenv*>(w, nullptr);
        },
        [&](std::pair<Written, Arbenv*>& s) { s.second = static_cast<Arbenv*>(readTopArbenv(s.first.m, 0)); },
        [&](std::pair<Written, Arbenv*>& s, bool failed) {
            if (!failed) { EXPECT_NE(s.second, nullptr); }
            if (s.second) whole(s.second);
            TerminateEnvironment(s.second);
            MemClose(s.first.m);
        });
    sweep_allocations(
        counter, "copyArbenv", [] { return static_cast<Arbenv*>(nullptr); },
        [&](Arbenv*& copy) { copy = static_cast<Arbenv*>(copyArbenv(env)); },
        [&](Arbenv*& copy, bool failed) {
            if (!failed) { EXPECT_NE(copy, nullptr); }
            if (copy) whole(copy);
            TerminateEnvironment(copy);
        });
    TerminateEnvironment(env);
    TerminateGlobals();
}

}  // namespace
}  // namespace ostr::test
