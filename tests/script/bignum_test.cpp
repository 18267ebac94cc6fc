// Big numbers in the language: exact integers, values at the working
// precision against mpmath (rows made by data/make_bignum_answers.py),
// errors, the environment stream (bit for bit; damaged values refused) and
// a stop from another thread in the middle of a long computation.
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "bignum/bitarray.hpp"
#include "ostravine/core.h"
#include "ostravine/environment.h"
#include "ostravine/envio.h"
#include "ostravine/persist.h"
#include "ostravine/script.h"
#include "objects/environment.hpp"
#include "records.hpp"
#include "script_support.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

using BigNumbers = ScriptTest;

TEST_F(BigNumbers, ExactIntegers) {
    check({
        {"big(2)^100", "1267650600228229401496703205376"},
        {"x=big(1000)!", "x <- big(1000)!"},
        {"floor(log(x))+1", "2568"},
        {"x/big(998)!", "999000"},
        {"x==big(1000)*big(999)!", "1"},
        {"m=big(2)^4423-1", "m <- big(2)^4423-1"},
        {"floor(log(m))+1", "1332"},
        {"mod(m,big(2)^64)", "18446744073709551615"},
        {"big(2)^64-big(2)^64", "0"},
        {"big(7)/2", "3.5"},
        {"big(6)/3", "2"},
        {"idiv(big(-7),2)", "-4"},
        {"mod(big(-7),3)", "2"},
        {"mod(big(7),-3)", "-2"},
        {"idiv(-7,2)", "-4"},
        {"gcd(big(2)^100,big(6)^50)", "1125899906842624"},
        {"comb(big(100),50)", "100891344545564193334812497256"},
        {"perm(big(20),10)", "670442572800"},
        {"comb(big(5),7)", "0"},
        {"big(1e20)", "100000000000000000000"},
        {"-big(5)", "-5"},
        {"abs(big(-5))", "5"},
        {"floor(big(\"-2.5\"))", "-3"},
        {"ceil(big(\"2.1\"))", "3"},
        {"round(big(\"2.5\"))", "3"},
        {"round(big(\"-2.5\"))", "-3"},
        {"big(\"123456789012345678901234567890\")+1", "123456789012345678901234567891"},
    });
}

TEST_F(BigNumbers, ThePrecisionAndItsDigits) {
    check({
        {"big(1)/3", "0.333333333333333333333333333333"},
        {"big(\"0.1\")*3", "0.3"},
        {"big(0.1)*3", "0.3"},  // the double through its shortest text
        {"big(2)^0.5", "1.41421356237309504880168872421"},
        {"big(2)^-3", "0.125"},
        {"bigdigits=10", "bigdigits <- 10"},
        {"x=big(2)/3", "x <- big(2)/3"},
        {"x", "0.6666666667"},
        {"bigdigits=40", "bigdigits <- 40"},
        {"x", "0.6666666667"},  // a value keeps the digits it was made with,
        {"big(x)", "0.6666666667"},
        {"x+big(1)/3", "1"},  // and so does what is made from it
        {"big(2)/3", "0.6666666666666666666666666666666666666667"},
        {"big(\"pi\")", "3.141592653589793238462643383279502884197"},
        {"big(\"e\")", "2.718281828459045235360287471352662497757"},
        {"big(\"1.5e-300\")", "1.5e-300"},
        {"big(\"-12345.678e40\")", "-123456780000000000000000000000000000000000000"},
        {"big(\"-12345.678e-40\")", "-1.2345678e-36"},
        {"big(2)<3", "1"},
        {"3<=big(2)", "0"},
        {"big(2)==2", "1"},
        {"big(2)~=2", "0"},
        {"besselj(big(1),0)", "0.765197686557967"},  // no big version: the double
        {"sin(big(0))", "0"},
    });
}

TEST_F(BigNumbers, FunctionsAgreeWithMpmath) {
    check({
        {"bigdigits=30,sqrt(big(2))", "bigdigits <- 30\n\n1.41421356237309504880168872421"},
        {"bigdigits=30,exp(big(1))", "bigdigits <- 30\n\n2.71828182845904523536028747135"},
        {"bigdigits=30,ln(big(2))", "bigdigits <- 30\n\n0.693147180559945309417232121458"},
        {"bigdigits=30,log(big(2))", "bigdigits <- 30\n\n0.301029995663981195213738894724"},
        {"bigdigits=30,sin(big(1))", "bigdigits <- 30\n\n0.84147098480789650665250232163"},
        {"bigdigits=30,cos(big(1))", "bigdigits <- 30\n\n0.540302305868139717400936607443"},
        {"bigdigits=30,tan(big(1))", "bigdigits <- 30\n\n1.55740772465490223050697480746"},
        {"bigdigits=30,arctan(big(\"0.5\"))", "bigdigits <- 30\n\n0.463647609000806116214256231461"},
        {"bigdigits=30,arcsin(big(\"0.5\"))", "bigdigits <- 30\n\n0.523598775598298873077107230547"},
        {"bigdigits=30,arccos(big(\"-0.25\"))", "bigdigits <- 30\n\n1.82347658193697527271697912863"},
        {"bigdigits=30,sinh(big(\"-0.001\"))", "bigdigits <- 30\n\n-0.0010000001666666750000001984127"},
        {"bigdigits=30,cosh(big(3))", "bigdigits <- 30\n\n10.0676619957777658419539360351"},
        {"bigdigits=30,tanh(big(\"0.5\"))", "bigdigits <- 30\n\n0.462117157260009758502318483644"},
        {"bigdigits=30,exp(big(-1000))", "bigdigits <- 30\n\n5.07595889754945676529180947957e-435"},
        {"bigdigits=30,sin(big(\"1e22\"))", "bigdigits <- 30\n\n-0.852200849767188801772705893753"},
        {"bigdigits=30,ln(big(\"1e-500\"))", "bigdigits <- 30\n\n-1151.29254649702284200899572734"},
        {"bigdigits=60,sqrt(big(2))", "bigdigits <- 60\n\n1.41421356237309504880168872420969807856967187537694807317668"},
        {"bigdigits=60,exp(big(1))", "bigdigits <- 60\n\n2.71828182845904523536028747135266249775724709369995957496697"},
        {"bigdigits=60,ln(big(2))", "bigdigits <- 60\n\n0.69314718055994530941723212145817656807550013436025525412068"},
        {"bigdigits=60,log(big(2))", "bigdigits <- 60\n\n0.301029995663981195213738894724493026768189881462108541310427"},
        {"bigdigits=60,sin(big(1))", "bigdigits <- 60\n\n0.841470984807896506652502321630298999622563060798371065672752"},
        {"bigdigits=60,cos(big(1))", "bigdigits <- 60\n\n0.540302305868139717400936607442976603732310420617922227670097"},
        {"bigdigits=60,tan(big(1))", "bigdigits <- 60\n\n1.55740772465490223050697480745836017308725077238152003838395"},
        {"bigdigits=60,arctan(big(\"0.5\"))", "bigdigits <- 60\n\n0.463647609000806116214256231461214402028537054286120263810933"},
        {"bigdigits=60,arcsin(big(\"0.5\"))", "bigdigits <- 60\n\n0.523598775598298873077107230546583814032861566562517636829157"},
        {"bigdigits=60,arccos(big(\"-0.25\"))", "bigdigits <- 60\n\n1.8234765819369752727169791286334624143507784327843911041214"},
        {"bigdigits=60,sinh(big(\"-0.001\"))", "bigdigits <- 60\n\n-0.00100000016666667500000019841270116843036014911030970058824308"},
        {"bigdigits=60,cosh(big(3))", "bigdigits <- 60\n\n10.0676619957777658419539360351158898368098037153712866799733"},
        {"bigdigits=60,tanh(big(\"0.5\"))", "bigdigits <- 60\n\n0.462117157260009758502318483643672548730289280330113038552732"},
        {"bigdigits=60,exp(big(-1000))", "bigdigits <- 60\n\n5.07595889754945676529180947957433691930559928289283736183239e-435"},
        {"bigdigits=60,sin(big(\"1e22\"))", "bigdigits <- 60\n\n-0.852200849767188801772705893753029368261762150410043656256509"},
        {"bigdigits=60,ln(big(\"1e-500\"))", "bigdigits <- 60\n\n-1151.29254649702284200899572734218210380055074431438648801666"},
    });
}

TEST_F(BigNumbers, BadInputGetsAnErrorWord) {
    check({
        {"big(\"abc\")", ">invalid_expression<"},
        {"big(\"1e\")", ">invalid_expression<"},
        {"big(\"\")", ">invalid_expression<"},
        {"big(2+i)", ">invalid_expression<"},
        {"big(1)/0", ">invalid_expression<"},
        {"ln(big(-1))", ">invalid_expression<"},
        {"ln(big(0))", ">invalid_expression<"},
        {"sqrt(big(-4))", ">invalid_expression<"},
        {"arcsin(big(2))", ">invalid_expression<"},
        {"big(-2)^0.5", ">invalid_expression<"},
        {"big(2)^(2^40)", ">invalid_expression<"},
        {"exp(big(10)^10)", ">invalid_expression<"},
        {"big(\"1e99999999999\")", ">invalid_expression<"},
        {"big(-1)!", ">invalid_expression<"},
        {"big(\"2.5\")!", ">invalid_expression<"},
        {"gcd(big(\"2.5\"),2)", ">invalid_expression<"},
        {"big(2)+i", ">invalid_expression<"},
        {"bigdigits=0", "bigdigits <- 0"},
        {"big(1)/3", ">invalid_expression<"},
        {"bigdigits=\"x\"", "bigdigits <- \"x\""},
        {"big(1)", ">invalid_expression<"},
    });
}


TEST_F(BigNumbers, TravelBitForBitAndDamageIsRefused) {
    check({{"bigdigits=50", "bigdigits <- 50"},
           {"x=big(1)/7", "x <- big(1)/7"},
           {"y=-big(2)^300+1", "y <- -big(2)^300+1"},
           {"z=big(\"1e-400\")", "z <- big(\"1e-400\")"}});
    const std::string r = record_of(env);
    Arbenv* back = read_record(r);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(record_of(back), r);  // the same bytes again
    obj::free_environment(back);
    for (const char* line : {"x*7==1", "y", "z*big(10)^400"}) {
        const std::string here = run(line);
        std::swap(env, back);
        env = read_record(r);
        EXPECT_EQ(run(line), here) << line;
        obj::free_environment(env);
        env = back;
    }
    // Each non-canonical form of x's value: the record is refused whole.
    auto* b = static_cast<obj::BignumValue*>(obj::find(env, "x")->value);
    struct Damage {
        const char* what;
        void (*apply)(obj::BignumValue*);
    } damages[] = {
        {"even mantissa", [](obj::BignumValue* v) { static_cast<BitArray*>(v->mantissa)->words[0] ^= 1; }},
        {"unknown flag", [](obj::BignumValue* v) { v->field |= 8; }},
        {"digits beyond the bound", [](obj::BignumValue* v) { v->field |= std::int64_t{0x7fffffff} << 32; }},
        {"leading zero bit", [](obj::BignumValue* v) { AddLeadingZeroBits(static_cast<BitArray*>(v->mantissa), 1); }},
        {"exponent sign on zero", [](obj::BignumValue* v) {
             ClearAllBits(static_cast<BitArray*>(v->exponent));
             ReduceBitArray(reinterpret_cast<BitArray**>(&v->exponent));
         }},
    };
    for (const Damage& d : damages) {
        d.apply(b);
        EXPECT_EQ(read_record(record_of(env)), nullptr) << d.what;
        ASSERT_EQ(run("x=big(1)/7"), "x <- big(1)/7");
        b = static_cast<obj::BignumValue*>(obj::find(env, "x")->value);
    }
}

// Every truncation and every flipped byte of a record of big values reads
// as nothing or as an environment that works; nothing is left behind.
TEST_F(BigNumbers, DamagedRecordsNeverCrashOrLeak) {
    check({{"x=big(1)/7", "x <- big(1)/7"}, {"y=-big(3)^90", "y <- -big(3)^90"}});
    EXPECT_GT(sweep_damaged(record_of(env), read_record, "x*y+1/x"), 0);
}

TEST_F(BigNumbers, AStopFromAnotherThreadEndsALongComputation) {
    check({{"keep=big(3)^5", "keep <- big(3)^5"}, {"bigdigits=1000000", "bigdigits <- 1000000"}});
    std::thread timer([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        RequestAbort();
    });
    const auto start = std::chrono::steady_clock::now();
    const std::string a = run("p=big(\"pi\")");
    const auto took = std::chrono::steady_clock::now() - start;
    timer.join();
    EXPECT_NE(a.find(">evaluation_aborted<"), std::string::npos) << a.substr(0, 80);
    EXPECT_LT(took, std::chrono::seconds(3));
    check({{"keep+1", "244"}, {"bigdigits=30", "bigdigits <- 30"}, {"big(1)/4", "0.25"}});
}

}  // namespace
}  // namespace ostr::test
