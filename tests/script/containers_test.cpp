// Arrays and maps: bad input that must answer an error word and change
// nothing, sharing (one block for every holder until one changes it), the
// nesting and size bounds, and the value bytes in the environment stream
// (round trips, and damaged encodings that read as no environment).
#include <cmath>
#include <cstring>

#include "envio/containers_io.hpp"
#include "envio/serialize.hpp"
#include "objects/containers.hpp"
#include "records.hpp"
#include "script_support.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

class Containers : public ScriptTest {
protected:
    const obj::Object* var(const char* name) { return obj::find(env, name); }
    const void* block(const char* name) { return var(name)->value; }
    std::uint32_t refs(const char* name) { return obj::array_of(var(name))->refs; }
};

// Each line leaves `a` and `m` as they were.
TEST_F(Containers, BadInputAnswersAnErrorAndChangesNothing) {
    check({{"a=[1,2,3]", "a <- [1,2,3]"}, {"m=map:\"k\"=1;", "m <- map:\"k\"=1;"}});
    const Line bad[] = {
        {"[1,2", ">invalid_expression<"},
        {"[1,[2]", ">invalid_expression<"},
        {"[1,2]]", ">invalid_expression<"},
        {"[,]", ">invalid_expression<"},
        {"[1,>invalid_object<]", ">invalid_expression<"},
        {"a[]", ">invalid_expression<"},
        {"a[0]", ">invalid_object<"},
        {"a[-1]", ">invalid_object<"},
        {"a[1+i]", ">invalid_object<"},
        {"a[m]", ">invalid_object<"},
        {"a[1][1]", ">invalid_expression<"},
        {"a[2]=>invalid_object<", ">invalid_expression<"},
        {"a[0]=1", ">invalid_assignment<"},
        {"a[m]=1", ">invalid_assignment<"},
        {"a[1][1]=1", ">invalid_assignment<"},
        {"a.size()=1", ">invalid_assignment<"},
        {"m[a]=1", ">invalid_assignment<"},
        {"a.nope()", ">invalid_expression<"},
        {"a.size(1)", ">invalid_expression<"},
        {"a.append()", ">invalid_expression<"},
        {"a.append(1,)", ">invalid_expression<"},
        {"a.insert(5,1)", ">invalid_expression<"},
        {"a.delete(1,1)", ">invalid_expression<"},
        {"a.delete(1,4)", ">invalid_expression<"},
        {"a.crop(3,2)", ">invalid_expression<"},
        {"a.enlarge(2)", ">invalid_expression<"},
        {"a.enlarge(3.5)", ">invalid_expression<"},
        {"a.append(>invalid_object<)", ">invalid_expression<"},
        {"a.get(1)", ">invalid_expression<"},
        {"[1,\"x\"].sort()", ">invalid_expression<"},
        {"[x].sort()", ">invalid_expression<"},
        {"[1,x].max()", ">invalid_expression<"},
        {"m.add(1)", ">invalid_expression<"},
        {"m.add(a,1)", ">invalid_expression<"},
        {"m.add(1,2,[1],3)", ">invalid_expression<"},
        {"m.delete(\"q\")", ">invalid_object<"},
        {"m.size(1)", ">invalid_expression<"},
        {"m.sort()", ">invalid_expression<"},
        {"map:1;", ">invalid_expression<"},
        {"map:\"a\"=;", ">invalid_expression<"},
        {"map:=1;", ">invalid_expression<"},
        {"map:a=1;", ">invalid_expression<"},
        {"array:-1;", ">invalid_expression<"},
        {"array:1.5;", ">invalid_expression<"},
        {"array:x;", ">invalid_expression<"},
        {"x=5,x[1]", "x <- 5\n\n>invalid_expression<"},
        {"[1,2]+[1]", ">invalid_expression<"},
        {"[1,2]<[3]", ">invalid_expression<"},
        {"m+1", ">invalid_expression<"},
        {"\"s\"*[1]", ">invalid_expression<"},
    };
    for (const Line& l : bad) {
        EXPECT_EQ(run(l.line), l.answer) << l.line;
        EXPECT_EQ(run("a"), "[1,2,3]") << l.line;
        EXPECT_EQ(run("m"), "map:\"k\"=1;") << l.line;
    }
}

// Quirks decided on purpose, one row each.
TEST_F(Containers, DeliberateRules) {
    check({
        {"a=[3,1,2]", "a <- [3,1,2]"},
        {"a[1]=a,a", "a[1] <- a\n\n[[3,1,2],1,2]"},           // the old value goes in
        {"[1,2][2]", "2"},                                      // a literal indexed
        {"[1,2].size()+1", "3"},
        {"[[5]][1][1]", "5"},
        {"b=[2,1],b.sort()*10", "b <- [2,1]\n\n20"},            // changing methods answer the size
        {"b", "[1,2]"},
        {"c=[0.1+0.2],c.find(0.3)", "c <- [0.1+0.2]\n\n1"},     // find compares as == does
        {"[\"b\",\"a\",\"c\"].sort()", "3"},
        {"[1+2*i,1+i,0].sum()", "2+3*i"},
        {"[[1,2],[3,4]].sum()", "[4,6]"},
        {"[].sum()", "0"},
        {"[].max()", ">invalid_expression<"},
        {"m=map:2=\"b\",1+i=\"c\",1=\"a\",\"z\"=0;", "m <- map:2=\"b\",1+i=\"c\",1=\"a\",\"z\"=0;"},
        {"m", "map:1=\"a\",1+i=\"c\",2=\"b\",\"z\"=0;"},           // numbers by re, im, then strings
        {"map:1=1,1=2;", "map:1=2;"},                             // the last value of a key stays
        {"m.values()", "[\"a\",\"c\",\"b\",0]"},
        {"[1,2]==[1,2]", "1"},
        {"[1,[2]]==[1,[2]]", "1"},
        {"[1,2]==[2,1]", "0"},
        {"map:1=2;==map:1=2;", "1"},
        {"[1]==1", "0"},
        {"f(v)=(v[1]=0,v),w=[9],f(w),w", "f(v) <- (v[1]=0,v)\n\nw <- [9]\n\n[0]\n\n[9]"},
        {"exp([0,1000])", "[1,exp(1000)]"},                       // an element kept as its call
        {"median([3,1,2],5)", "2.5"},
        {"for:k=1,k<=3,k=k+1,a.append(k);,a.size()", "\n\n6"},  // a loop changes the variable
        {"sigdigits(2),[1.2345,map:1.2345=1;]", "2\n\n[1.2,map:1.2=1;]"},
        // Index operands read without the evaluator, and the ones it reads.
        {"k=\"z\",m[k]", "k <- \"z\"\n\n0"},
        {"m[z9]", ">invalid_object<"},                             // a free name is no key
        {"p=[4,5,6],j=2,p[j]+p[3]+p[0x1]", "p <- [4,5,6]\n\nj <- 2\n\n15"},
        {"p[i]", ">invalid_object<"},
        {"p[j+1]", "6"},
        {"p[if:1,p=[7,8],1;]", "7"},                              // an index that assigns the variable
        {"p.append(j,7),p.swap(j,1),p", "4\n\n4\n\n[8,7,2,7]"},
    });
}

// A chain goes on whatever type a step answers: a matrix made from an
// array, an array split from a string, a string taken from an array, a
// user function's array. "[" after a call's ")" indexes; after a bracketed
// expression it still multiplies.
TEST_F(Containers, ChainsGoOnAfterEveryType) {
    check({
        {"[[1,2],[3,4]].matrix().det()", "-2"},
        {"s=\"a,b,c\"", "s <- \"a,b,c\""},
        {"s.split(\",\")[2]", "\"b\""},
        {"s.split(\",\")[2].upper()", "\"B\""},
        {"s.upper().split(\",\")[3]", "\"C\""},
        {"\"x;y\".split(\";\")[1]", "\"x\""},
        {"s.split(\",\")[4]", ">invalid_object<"},
        {"s.split(\",\").nope()", ">invalid_expression<"},
        {"a=[[1,2],[3,4]]", "a <- [[1,2],[3,4]]"},
        {"a.matrix()[2][1]", "3"},
        {"a.matrix().transpose().array()[1]", "[1,3]"},
        {"a.matrix().array().size()", "2"},
        {"a.matrix().swap(1,2)[1]", "[3,4]"},
        {"a.matrix().nope()", ">invalid_expression<"},
        {"a", "[[1,2],[3,4]]"},
        {"l=[\"ab\",matrix:[1,2],[3,4];]", "l <- [\"ab\",matrix:[1,2],[3,4];]"},
        {"l[1].upper()", "\"AB\""},
        {"l[2].det()", "-2"},
        {"l[2].transpose()[1][2]", "3"},
        {"l[1][1]", ">invalid_expression<"},
        {"f(x)=[x,2*x]", "f(x) <- [x,2*x]"},
        {"f(3)[2]", "6"},
        {"(2)[1,2]", "[2,4]"},
        {"abs(-2)[1]", ">invalid_expression<"},
    });
}

// Reading a variable takes a reference to its block; the first change
// through a holder that shares it copies it for that holder alone.
TEST_F(Containers, ValuesShareOneBlockUntilOneChanges) {
    check({{"a=array:100000;", "a <- array:100000;"}, {"b=a", "b <- a"}});
    EXPECT_EQ(block("a"), block("b"));
    EXPECT_EQ(refs("a"), 2u);
    check({{"s=0,for:k=1,k<=100000,k=k+1,s=s+a[k]+1;,s", "s <- 0\n\n1E+5"}});
    EXPECT_EQ(refs("a"), 2u);  // the loop left no reference behind
    check({{"b[1]=5", "b[1] <- 5"}, {"a[1]", "0"}, {"b[1]", "5"}});
    EXPECT_NE(block("a"), block("b"));
    EXPECT_EQ(refs("a"), 1u);
    EXPECT_EQ(refs("b"), 1u);
    const void* own = block("b");
    check({{"b[2]=6,b.append(7)", "b[2] <- 6\n\n1.00001E+5"}});
    EXPECT_EQ(block("b"), own);  // a block held once is changed in place
    // Nested blocks are shared one level down: a change deep inside copies
    // only the blocks on its path.
    check({{"n=[[1],[2]]", "n <- [[1],[2]]"}, {"o=n", "o <- n"}, {"o[2][1]=9", "o[2][1] <- 9"},
           {"n", "[[1],[2]]"}, {"o", "[[1],[9]]"}});
    const auto& ni = obj::array_of(var("n"))->items;
    const auto& oi = obj::array_of(var("o"))->items;
    EXPECT_EQ(ni[0].obj->value, oi[0].obj->value);
    EXPECT_NE(ni[1].obj->value, oi[1].obj->value);
}

TEST_F(Containers, NestingAndSizeAreBounded) {
    check({{"p=[1],for:k=1,k<=100,k=k+1,p=[p];", "p <- [1]\n\n>invalid_expression<"}, {"k", "64"}});
    check({{"q=[1],for:k=1,k<=100,k=k+1,q[1]=[q[1]];", "q <- [1]\n\n>invalid_expression<"}, {"k", "64"}});
    check({{"r=map:0;,for:k=1,k<=100,k=k+1,r=map:1=r;;", "r <- map:0;\n\n>invalid_expression<"}});
    // Refused before anything grows: the bound is 2^24 elements.
    check({{"array:16777217;", ">evaluation_aborted<"},
           {"a=[1]", "a <- [1]"},
           {"a.enlarge(16777217)", ">evaluation_aborted<"},
           {"a.size()", "1"}});
}


// The lines whose values must come back alike through the stream.
constexpr const char* saved_lines[] = {
    "e1=[]", "e2=map:0;", "a=[1,-2.5+i,x^2+1,\"q\\\"\\\\\\n\",[[]],map:\"k\"=[1,2],1=\"\";]",
    "many=array:3000;", "m=map:\"x\"=map:\"y\"=[map:0;];,2+3*i=4;", "t=\"s\"",
    "h=[matrix:[1,2],[3,4];,big(2)^80,map:\"k\"=big(3);]"};

TEST_F(Containers, EveryKindTravelsThroughTheStream) {
    for (const char* l : saved_lines) run(l);
    const std::string r = body_of(env);
    Arbenv* back = envio::read_body(r, false);
    ASSERT_NE(back, nullptr);
    for (const char* name : {"e1", "e2", "a", "m", "many.size()", "a[5][1].size()", "a[6][\"k\"][2]", "a[4]", "h"}) {
        Text x = script::run_script(name, env, true), y = script::run_script(name, back, true);
        EXPECT_EQ(x, y) << name;
    }
    // Matrices and big numbers are elements like any other value.
    EXPECT_EQ(script::run_script("h[2]+1", back, true), "1208925819614629174706177");
    EXPECT_EQ(script::run_script("h[1]", back, true), "matrix:[1,2],[3,4];");
    EXPECT_EQ(body_of(back), r);  // and writes the same bytes again
    obj::free_environment(back);
}

// Every truncation and every flipped byte of a record that holds containers
// reads as no environment or as a working one; nothing is left behind.
TEST_F(Containers, DamagedRecordsNeverCrashOrLeak) {
    run("a=[1,\"s\",x,[2,map:\"k\"=3;]]");
    sweep_damaged(body_of(env), read_body, "a");
}

// Value bytes put together by hand: each damage is refused.
TEST_F(Containers, DamagedEncodingsAreRefused) {
    auto u32 = [](std::uint32_t v) { return std::string(reinterpret_cast<const char*>(&v), 4); };
    auto num = [](double re, double im) {
        Complex c{re, im};
        return std::string(reinterpret_cast<const char*>(&c), sizeof c);
    };
    auto text = [&](std::string s) { return u32(static_cast<std::uint32_t>(s.size())) + s; };
    const std::string one = u32(1) + '\0' + num(1, 0);
    std::string deep = u32(1) + '\3';
    for (int k = 0; k < 70; ++k) deep += u32(1) + '\3';
    const struct {
        std::uint32_t tag;
        std::string bytes;
        bool good;
    } rows[] = {
        {obj::array, one, true},
        {obj::array, u32(0), true},
        {obj::array, "", false},
        {obj::array, one + "x", false},                              // trailing bytes
        {obj::array, u32(2) + '\0' + num(1, 0), false},              // cut short
        {obj::array, u32(0xFFFFFFFF) + '\0' + num(1, 0), false},     // count past the bytes
        {obj::array, u32(1) + '\7' + num(1, 0), false},              // unknown kind
        {obj::array, u32(1) + '\0' + num(NAN, 0), false},            // not finite
        {obj::array, u32(1) + '\2' + text(std::string("a\0b", 3)), false},  // zero byte in a text
        {obj::array, u32(1) + '\1' + text(""), false},               // empty formula
        {obj::array, u32(1) + '\2' + u32(99) + "ab", false},         // text past the end
        {obj::array, deep, false},                                   // nested past the bound
        {obj::map, u32(1) + '\1' + text("k") + '\0' + num(1, 0), true},
        {obj::map, u32(2) + '\0' + num(2, 0) + '\0' + num(1, 0) + '\0' + num(1, 0) + '\0' + num(1, 0), false},
        {obj::map, u32(2) + '\1' + text("k") + '\0' + num(1, 0) + '\1' + text("k") + '\0' + num(1, 0), false},
        {obj::map, u32(1) + '\2' + text("k") + '\0' + num(1, 0), false},  // bad key kind
    };
    for (const auto& row : rows) {
        obj::Object* o = envio::read_container(row.tag, row.bytes, "v", env);
        EXPECT_EQ(o != nullptr, row.good) << row.bytes.size();
        obj::free_object(o);
    }
}

}  // namespace
}  // namespace ostr::test
