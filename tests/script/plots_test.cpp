// The plot functions of the language: their answers (the file written, or
// an error word for every kind of bad call), the default names that never
// replace a file, the working-directory rule, and the written files read
// back by the independent PNG reader (tests/plot/check_png.py).
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "script_support.hpp"

namespace ostr::test {
namespace {

class Plots : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        char tmpl[] = "/tmp/ostr_plots_XXXXXX";
        ASSERT_NE(::mkdtemp(tmpl), nullptr);
        dir = tmpl;
        ASSERT_NE(::getcwd(home, sizeof home), nullptr);
        ASSERT_EQ(::chdir(dir.c_str()), 0);
    }
    void TearDown() override {
        EXPECT_EQ(::chdir(home), 0);
        EXPECT_EQ(std::system(("rm -rf " + dir).c_str()), 0);
        ScriptTest::TearDown();
    }
    // The first line the independent reader prints for a file ("W H" or
    // "bad: ...").
    static std::string checked(const std::string& file) {
        std::FILE* p = ::popen((std::string(OSTR_PNG_CHECKER) + " png " + file + " 2>&1").c_str(), "r");
        char buf[256] = {};
        if (p) {
            if (!std::fgets(buf, sizeof buf, p)) buf[0] = 0;
            ::pclose(p);
        }
        std::string s(buf);
        if (!s.empty() && s.back() == '\n') s.pop_back();
        return s;
    }
    std::string dir;
    char home[4096] = {};
};

TEST_F(Plots, EveryKindWritesAValidPngOfTheAskedSize) {
    const Line lines[] = {
        {"plot(sin(x),x,0,10)", "\"plot1.png\""},
        {"plot([sin(x),cos(x),tan(x)],x,-5,5,map:\"title\"=\"trig\",\"grid\"=1;)", "\"plot2.png\""},
        {"plotparam(cos(3*t),sin(2*t),t,0,2*pi,\"curve.png\")", "\"curve.png\""},
        {"plotdata([1,4,9,16],map:\"style\"=\"both\",\"width\"=320,\"height\"=200;)", "\"plot3.png\""},
        {"plotdata([1,2,3],[[1,2,3],[3,2,1]],map:\"labels\"=[\"up\",\"down\"];)", "\"plot4.png\""},
        {"plotfft([1,0,-1,0,1,0,-1,0],map:\"db\"=1;)", "\"plot5.png\""},
        {"plot(exp(x),x,1,100,map:\"logx\"=1,\"logy\"=1,\"file\"=\"log.png\";)", "\"log.png\""},
        {"plotcomplex((z^2-1)/(z^2+1),z,-2-2*i,2+2*i,map:\"width\"=200,\"height\"=160;)", "\"plot6.png\""},
    };
    for (const Line& l : lines) EXPECT_EQ(run(l.line), l.answer) << l.line;
    const std::pair<const char*, const char*> sizes[] = {
        {"plot1.png", "800 600"}, {"plot2.png", "800 600"}, {"curve.png", "800 600"}, {"plot3.png", "320 200"},
        {"plot4.png", "800 600"}, {"plot5.png", "800 600"}, {"log.png", "800 600"},  {"plot6.png", "200 160"},
    };
    for (auto [file, size] : sizes) EXPECT_EQ(checked(file), size) << file;
}

TEST_F(Plots, DefaultNamesNeverReplaceAFileAndNamedOnesDo) {
    std::FILE* f = std::fopen("plot1.png", "wb");
    ASSERT_NE(f, nullptr);
    std::fputs("mine", f);
    std::fclose(f);
    check({
        {"plot(x,x,0,1)", "\"plot2.png\""},
        {"plot(x,x,0,1)", "\"plot3.png\""},
        {"plot(x,x,0,1,\"plot1.png\")", "\"plot1.png\""},
    });
    EXPECT_EQ(checked("plot1.png"), "800 600");
}

TEST_F(Plots, BadCallsAnswerAnErrorWordAndWriteNothing) {
    const Line lines[] = {
        {"plot(sin(x),x,1,0)", ">invalid_expression<"},           // empty range
        {"plot(sin(x),x,0)", ">invalid_expression<"},             // too few arguments
        {"plot(sin(x),x,0,1,2,3)", ">invalid_expression<"},       // too many
        {"plot(sin(x),2,0,1)", ">invalid_expression<"},           // no variable
        {"plot(sin(x),sin,0,1)", ">invalid_expression<"},         // a predefined name as variable
        {"plot(y,x,0,1)", ">invalid_expression<"},                // no number anywhere
        {"plot(sin(x),x,0,i)", ">invalid_expression<"},           // complex end
        {"plot(sin(x),x,0,1,map:\"colour\"=1;)", ">invalid_expression<"},  // unknown option
        {"plot(sin(x),x,0,1,map:\"grid\"=2;)", ">invalid_expression<"},
        {"plot(sin(x),x,0,1,map:\"width\"=10;)", ">invalid_expression<"},
        {"plot(sin(x),x,0,1,map:\"style\"=\"dots\";)", ">invalid_expression<"},
        {"plot(sin(x),x,-1,1,map:\"logx\"=1;)", ">invalid_expression<"},  // log axis through 0
        {"plot(sin(x),x,0,1,\"\")", ">invalid_expression<"},
        {"plot(sin(x),x,0,1,5)", ">invalid_expression<"},
        {"plot(sin(x),x,0,1,map:\"ymin\"=2,\"ymax\"=1;)", ">invalid_expression<"},  // turned round
        {"plotdata([-1e308,1e308])", ">invalid_expression<"},  // too wide to measure
        {"plotdata([1,\"a\"])", ">invalid_expression<"},
        {"plotdata([1,2],[1,2,3])", ">invalid_expression<"},
        {"plotdata(5)", ">invalid_expression<"},
        {"plotfft([1])", ">invalid_expression<"},
        {"plotfft([[1,2],[3,4]])", ">invalid_expression<"},
        {"plotcomplex(z,z,1,1)", ">invalid_expression<"},        // empty rectangle
        {"plotcomplex(z,z,0,1+i,map:\"logx\"=1;)", ">invalid_expression<"},
        {"plotparam(t,t,t,1,0)", ">invalid_expression<"},
        {"plot(sin(x),x,0,1,\"../escape.png\")", ">invalid_object<"},
        {"plot(sin(x),x,0,1,\"/tmp/abs.png\")", ">invalid_object<"},
        {"plot(sin(x),x,0,1,\"no_such_dir/a.png\")", ">invalid_object<"},
    };
    for (const Line& l : lines) EXPECT_EQ(run(l.line), l.answer) << l.line;
    struct stat st;
    EXPECT_NE(::stat("plot1.png", &st), 0);
}

TEST_F(Plots, ALongPlotStopsAtTheLinesTimeBound) {
    script::limits().max_seconds = 0.05;
    std::string many = "[x";
    for (int k = 1; k < 16; ++k) many += ",x+" + std::to_string(k);
    EXPECT_EQ(run("plot(" + many + "],x,0,1,map:\"samples\"=100000;)"), ">evaluation_aborted<");
    struct stat st;
    EXPECT_NE(::stat("plot1.png", &st), 0);
}

TEST_F(Plots, TheVariableIsBoundOnlyInsideThePlot) {
    check({
        {"x=5", "x <- 5"},
        {"plot(x^2,x,0,2)", "\"plot1.png\""},
        {"x", "5"},
        {"a=3", "a <- 3"},
        {"plot(a*x,x,0,1)", "\"plot2.png\""},
    });
}

}  // namespace
}  // namespace ostr::test
