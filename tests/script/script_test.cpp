#include <gtest/gtest.h>
#include "script/script.hpp"
namespace ostr::test {
TEST(Smoke, Runs) {
    ASSERT_TRUE(script::initialize_globals(nullptr, 0));
    script::limits().max_seconds = 1;
    Arbenv* env = obj::make_top_level();
    for (const char* l : {"for:i=1,i<=10,i=i+1,s=1;", "i", "s", "for:k=1,k<=10,k=k+1;", "k", "private:j=5;", "j", "s=0,n=0,while:n<3,n=n+1,s=s+n;", "s", "2*i", "x=2,if:x>0,y=1,elseif,x<0,y=-1,else,y=0;,y", "y=7,if:x>0,y=1,elseif,x<0,y=-1,else,y=0;,y", "if:x>0,1,else,2;", "f(x)=f(x)+1", "f(1)", "g(n)=if:n<=1,1,else,n*g(n-1);", "g(10)", "g(y)", "h(x)=x^2+1", "h(y)", "  x = 1 , ( a=1 , b=2 ) , c=3  ", "sigdigits(4)", "pi", "sigdigits(0)", "sigdigits(15)", "3+2*i", "-i", "1.5E-7*i", "q=\"a b\"", "q", "q==\"a b\"", "q~=\"a b\"", "\"\\\\\"", "\"\\\\\\\"", "\\\"abc\"", "for:m=1,m<=3,m=m+1,for:n=1,n<=3,n=n+1,if:n==2,break;;;", "m", "n"}) {
        Text t = script::run_script(l, env, true);
        std::printf("%s  ->  [%s] abort=%s\n", l, t.c_str(), env->abort_text.c_str());
    }
    obj::free_environment(env);
    script::terminate_globals();
}
}
