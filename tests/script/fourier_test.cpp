// The Fourier and interpolation calls of the language: answers for each
// shape of argument, every kind of bad call, the filter file of the working
// directory, and a round trip long enough to take the transform paths.
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "script_support.hpp"

namespace ostr::test {
namespace {

class Fourier : public ScriptTest {};

TEST_F(Fourier, AnswersAndRefusals) {
    const char* bad = ">invalid_expression<";
    check({
        {"fft([1])", "[1]"},
        {"fft([2*i])", "[2*i]"},
        {"fft([1,2,3])", "[6,-1.5+0.866025403784439*i,-1.5-0.866025403784439*i]"},
        {"a=[1,2,3,4,5]", "a <- [1,2,3,4,5]"},
        {"b=fft(a)", "b <- fft(a)"},
        {"b[1]", "15"},
        {"c=ifft(b)", "c <- ifft(b)"},
        {"c[5]", "5"},
        {"fft([1,1,1])", "[3,0,0]"},
        {"ifft2(fft2([[1,2,3],[4,5,6]]))", "[[1,2,3],[4,5,6]]"},
        {"fft2([[1,2],[3]])", bad},
        {"rfft([1,2+i])", bad},
        {"irfft([3,-1],2)", "[1,2]"},
        {"irfft([3,-1],0)", bad},
        {"irfft([3,-1],1.5)", bad},
        {"powerspectrum([1,i])", "[1,1]"},
        {"conv([1,i],[1,1])", "[1,1+i,i]"},
        {"xcorr([1],[2,3])", "[3,2]"},
        {"ifft2(fft2(matrix:[1,2,3],[4,5,6];))", "matrix:[1,2,3],[4,5,6];"},
        {"window([2,2,2],\"hamming\")", "[0.16,2,0.16]"},
        {"interp([0,1,2],[0,1,4],1.5,\"clamped\",0,0)", "2.875"},  // SciPy: 2.875
        {"interp([0,1,2],[0,1,4],1.5,\"clamped\",1)", "2.84375"},  // SciPy: 2.84375
        // bad arguments of every kind
        {"fft(5)", bad},
        {"fft([])", bad},
        {"fft([1,y])", bad},
        {"fft([\"a\"])", bad},
        {"fft([[1,2]])", bad},
        {"fft([1,2],[3])", bad},
        {"fft(>invalid_object<)", bad},
        {"fft2([1,2])", bad},
        {"fft2(matrix:[1,x];)", bad},
        {"conv([1,2],[])", bad},
        {"conv([1,2])", bad},
        {"window([1,1],1)", bad},
        {"window([1,1],\"hann\",1)", bad},
        {"filter([1,2,3],\"lowpas 0.1\")", bad},
        {"filter([1,2,3],\"lowpass\")", bad},
        {"filter([1,2,3],\"bandpass 0.3 0.1\")", bad},
        {"filter(5,\"lowpass 0.1\")", bad},
        {"interp([0,1],[0,1],0.5,\"cubic\")", bad},
        {"interp([0,0],[1,2],0)", bad},
        {"interp([0,1],[0,1,2],0)", bad},
        {"interp([0,1],[0,1],0.5,\"linear\",1)", bad},
        {"interp([0,1],[0,1],[0.5,y])", bad},
        {"interp([0,1],[0,1])", bad},
        {"interp([0,1],[0,i],0.5)", bad},
        {"interp([0,1],[0,1],0.5,\"spline\",1,2,3)", bad},
    });
}

// filter(a) reads fourier_filter_spec.txt from the working directory.
TEST_F(Fourier, FilterFileOfTheWorkingDirectory) {
    char tmpl[] = "/tmp/ostr_fourier_XXXXXX";
    ASSERT_NE(::mkdtemp(tmpl), nullptr);
    char home[4096] = {};
    ASSERT_NE(::getcwd(home, sizeof home), nullptr);
    ASSERT_EQ(::chdir(tmpl), 0);
    check({{"filter([1,0,1,0])", ">invalid_expression<"}});
    std::ofstream("fourier_filter_spec.txt") << "# keep the mean only\nrate 4\nlowpass 0.5\n";
    std::ofstream("other.txt") << "gain 0 1 3\n";
    check({
        {"filter([1,0,1,0])", "[0.5,0.5,0.5,0.5]"},
        {"filter([1,0,1,0],\"other.txt\")", "[3,0,3,0]"},
        {"filter([i,0,i,0],\"other.txt\")", "[3*i,0,3*i,0]"},
    });
    EXPECT_EQ(::chdir(home), 0);
    EXPECT_EQ(std::system((std::string("rm -rf ") + tmpl).c_str()), 0);
}

// 1000 and 1009 points (mixed radix and Bluestein) there and back.
TEST_F(Fourier, RoundTripsThroughTheLanguage) {
    for (const char* n : {"1000", "1009"}) {
        run("a=[]");
        run(std::string("for:k=1,k<=") + n + ",k=k+1,a.append(sin(k)+i*cos(3*k));");
        check({{"b=ifft(fft(a))", "b <- ifft(fft(a))"}});
        run("e=0");
        run(std::string("for:k=1,k<=") + n + ",k=k+1,e=max(e,abs(b[k]-a[k]));");
        const std::string e = run("e<1e-14");
        EXPECT_EQ(e, "1") << n << ": " << run("e");
    }
}

}  // namespace
}  // namespace ostr::test
