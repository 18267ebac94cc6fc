// Strings against Python 3 in the same run: splitting a 10 MB text into an
// array of 2,000,001 strings, searching and replacing in a 10 MB string,
// and building a string piece by piece in a loop. Each side times only the
// operation itself, in processor time (python_peer.hpp).
#include "python_peer.hpp"
#include "script/string_methods.hpp"

namespace {

using ostr::bench::run_line;
using ostr::bench::run_python;

Arbenv* environment() {
    static Arbenv* env = [] {
        ostr::script::initialize_globals(nullptr, 0);
        Arbenv* e = ostr::obj::make_top_level();
        std::string big, words;
        for (int k = 0; k < 5'000'000; ++k) big += "ab";
        big += "needle";
        for (int k = 0; k < 2'000'000; ++k) words += "word ";
        for (auto [text, name] : {std::pair{&big, "s"}, std::pair{&words, "w"}}) {
            auto v = ostr::lang::Value::object_of(ostr::lang::ObjectPtr(ostr::script::make_string(*text, "", e)));
            ostr::script::store_value(std::move(v), name, e);
        }
        ostr::script::run_script("a=\"abc\"", e, true);
        return e;
    }();
    return env;
}

// The array of pieces is made and dropped within the line.
void Ostravine_Split10MB(benchmark::State& state) {
    run_line(state, environment(), "w.split(\" \").size()", "2.000001E+6");
}
void Python_Split10MB(benchmark::State& state) {
    run_python(state, "w=\"word \"*2000000", "p=w.split(\" \")", "len(p)", "2000001");
}

void Ostravine_Find10MB(benchmark::State& state) {
    run_line(state, environment(), "s.find(\"needle\")", "1.0000001E+7");
}
void Python_Find10MB(benchmark::State& state) {
    run_python(state, "s=\"ab\"*5000000+\"needle\"", "k=s.find(\"needle\")+1", "k", "10000001");
}

void Ostravine_Replace10MB(benchmark::State& state) {
    run_line(state, environment(), "s.replace(\"ab\",\"xyz\").bytes()", "1.5000006E+7");
}
void Python_Replace10MB(benchmark::State& state) {
    run_python(state, "s=\"ab\"*5000000+\"needle\"", "r=s.replace(\"ab\",\"xyz\")", "len(r)", "15000006");
}

// 20,000 appends of three characters in a loop.
void Ostravine_Build60KB(benchmark::State& state) {
    run_line(state, environment(), "t=\"\",for:k=1,k<=20000,k=k+1,t=t+a;,t.length()", "6E+4");
}
void Python_Build60KB(benchmark::State& state) {
    run_python(state, "a=\"abc\"", "t=\"\"\nfor k in range(1,20001): t=t+a", "len(t)", "60000");
}

}  // namespace

PEER_BENCH(Ostravine_Split10MB);
PEER_BENCH(Python_Split10MB);
PEER_BENCH(Ostravine_Find10MB);
PEER_BENCH(Python_Find10MB);
PEER_BENCH(Ostravine_Replace10MB);
PEER_BENCH(Python_Replace10MB);
PEER_BENCH(Ostravine_Build60KB);
PEER_BENCH(Python_Build60KB);
