#include <gtest/gtest.h>
#include <chrono>
#include <string>
#include "script/script.hpp"
namespace ostr::test {
TEST(Smoke, Runs) {
    ASSERT_TRUE(script::initialize_globals(nullptr, 0));
    Arbenv* env = obj::make_top_level();
    std::string nested;
    for (int k = 0; k < 100000; ++k) nested += "if:1,";
    nested += "x=1";
    for (int k = 0; k < 100000; ++k) nested += ";";
    std::string parens(100000, '(');
    parens += "a=1,b=2";
    parens += std::string(100000, ')');
    std::string big(10 << 20, '1');
    std::string big2;
    for (int k = 0; k < 1000000; ++k) big2 += "x=1,";
    big2 += "y=2";
    std::string nestcall = "f(x)=x+1,";
    for (int k = 0; k < 3000; ++k) nestcall += "f(";
    nestcall += "1";
    nestcall += std::string(3000, ')');
    for (const std::string& l : {nested, parens, big, big2, nestcall, std::string("f(x)=f(x)+1,f(1)"), std::string("ack(m,n)=if:m==0,n+1,elseif,n==0,ack(m-1,1),else,ack(m-1,ack(m,n-1));,ack(2,3)")}) {
        auto t0 = std::chrono::steady_clock::now();
        Text t = script::run_script(l, env, true);
        double dt = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        std::string r(t.c_str()); for (auto& ch : r) if (ch == 10) ch = 124; std::printf("%.40s  ->  [%.300s] %zu %.3f s abort=%s\n", l.c_str(), r.c_str(), r.size(), dt, env->abort_text.c_str());
    }
    obj::free_environment(env);
    script::terminate_globals();
}
}
