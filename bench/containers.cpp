// Arrays and maps against Python 3 running the same programs in the same
// run: building a 10^6-element array by append in a loop, summing it by
// index in a loop (also at 10^5, to show the loop is linear in the size),
// sorting 10^6 random numbers, and 10^5 map insertions then lookups. Each
// side times only the program itself, in processor time (python_peer.hpp).
#include "python_peer.hpp"

namespace {

using ostr::bench::run_line;
using ostr::bench::run_python;

Arbenv* environment() {
    static Arbenv* env = [] {
        ostr::script::initialize_globals(nullptr, 0);
        Arbenv* e = ostr::obj::make_top_level();
        for (const char* line : {"many=[],for:k=1,k<=1000000,k=k+1,many.append(k);", "small=array:100000;",
                                 "r=rand(array:1000000;,1)"})
            ostr::script::run_script(line, e, true);
        return e;
    }();
    return env;
}

void Ostravine_Append(benchmark::State& s) {
    run_line(s, environment(), "a=[],for:k=1,k<=1000000,k=k+1,a.append(k);,a.size()", "1E+6");
}
void Python_Append(benchmark::State& s) {
    run_python(s, "", "a=[]\nfor k in range(1,1000001): a.append(k)", "len(a)", "1000000");
}

void Ostravine_IndexSum(benchmark::State& s) {
    run_line(s, environment(), "s=0,for:k=1,k<=1000000,k=k+1,s=s+many[k];,s", "5.000005E+11");
}
void Ostravine_IndexSum_1e5(benchmark::State& s) {
    run_line(s, environment(), "s=0,for:k=1,k<=100000,k=k+1,s=s+small[k];,s", "\n0");
}
void Python_IndexSum(benchmark::State& s) {
    run_python(s, "a=list(range(1,1000001))", "s=0\nfor k in range(1000000): s=s+a[k]", "s", "500000500000");
}

// The copy the sort makes of the shared array is part of its time.
void Ostravine_Sort(benchmark::State& s) { run_line(s, environment(), "t=r,t.sort()", "1E+6"); }
void Python_Sort(benchmark::State& s) {
    run_python(s, "r=[random.random() for k in range(1000000)]", "t=list(r)\nt.sort()", "len(t)", "1000000");
}

void Ostravine_Map(benchmark::State& s) {
    run_line(s, environment(),
             "m=map:0;,for:k=1,k<=100000,k=k+1,m[k]=k;,s=0,for:k=1,k<=100000,k=k+1,s=s+m[k];,s", "5.00005E+9");
}
void Python_Map(benchmark::State& s) {
    run_python(s, "", "m={}\nfor k in range(1,100001): m[k]=k\ns=0\nfor k in range(1,100001): s=s+m[k]", "s",
               "5000050000");
}

}  // namespace

PEER_BENCH(Ostravine_Append);
PEER_BENCH(Python_Append);
PEER_BENCH(Ostravine_IndexSum);
PEER_BENCH(Ostravine_IndexSum_1e5);
PEER_BENCH(Python_IndexSum);
PEER_BENCH(Ostravine_Sort);
PEER_BENCH(Python_Sort);
PEER_BENCH(Ostravine_Map);
PEER_BENCH(Python_Map);
