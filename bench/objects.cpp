// Classes and graphs against Python 3 running the same programs in the same
// run: 10^5 instance creations and 10^6 method calls of a class with two
// members and a method, and Dijkstra's shortest path on a graph of 10^4
// nodes and 10^5 weighted edges (Python: heapq), at half the size too, to
// show the growth. Each side times only the program itself; the figures
// are manual times in milliseconds.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "script/script.hpp"

namespace {

// The graph of n nodes and 10n edges: edge e leaves node floor(e/10) mod n
// for node (7919e+13) mod n with weight (31e mod 100)+1, the same formula on
// both sides (0-based in Python, 1-based in the script). The targets are the
// nodes Dijkstra settles last from node 0, so each run settles them all.
std::string ostravine_graph(int n) {
    const std::string ns = std::to_string(n), es = std::to_string(10 * n);
    return "g" + ns + "=array:" + ns + ";,for:k=1,k<=" + ns + ",k=k+1,g" + ns + "[k]=node(k);,for:e=1,e<=" + es +
           ",e=e+1,g" + ns + "[mod(floor(e/10)," + ns + ")+1].connect(g" + ns + "[mod(e*7919+13," + ns +
           ")+1],mod(e*31,100)+1);";
}

std::string python_graph(int n) {
    const std::string ns = std::to_string(n), es = std::to_string(10 * n);
    return "import heapq\nn=" + ns + "\nadj=[dict() for k in range(n)]\nfor e in range(1," + es +
           "+1): adj[(e//10)%n][(e*7919+13)%n]=(e*31)%100+1\n";
}

Arbenv* environment() {
    static Arbenv* env = [] {
        ostr::script::initialize_globals(nullptr, 0);
        ostr::script::limits().max_seconds = 600;
        Arbenv* e = ostr::obj::make_top_level();
        for (const std::string& line :
             {std::string("pc=class_definition:x=0,y=0,move(dx,dy)=(this.x=this.x+dx,this.y=this.y+dy);"),
              ostravine_graph(10000), ostravine_graph(5000)})
            ostr::script::run_script(line, e, true);
        return e;
    }();
    return env;
}

void run_line(benchmark::State& state, const std::string& line) {
    Arbenv* env = environment();
    for (auto _ : state) {
        auto t0 = std::chrono::steady_clock::now();
        ostr::Text answer = ostr::script::run_script(line, env, true);
        auto t1 = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(t1 - t0).count());
        if (answer.find('>') != ostr::Text::npos) state.SkipWithError(answer.c_str());
    }
}

// A Python program that prints the seconds its timed part took.
void run_python(benchmark::State& state, const std::string& setup, const std::string& timed) {
    const std::string program =
        "import time\n" + setup + "\nt0=time.perf_counter()\n" + timed + "\nprint(time.perf_counter()-t0)\n";
    const std::string command = "/usr/bin/python3 -c '" + program + "'";
    for (auto _ : state) {
        FILE* p = popen(command.c_str(), "r");
        if (!p) return state.SkipWithError("cannot start the peer");
        double seconds = -1;
        if (std::fscanf(p, "%lf", &seconds) != 1) seconds = -1;
        pclose(p);
        if (seconds < 0) return state.SkipWithError("no time from the peer");
        state.SetIterationTime(seconds);
    }
}

const char* python_class =
    "class P:\n"
    "  def __init__(self): self.x=0; self.y=0\n"
    "  def move(self,dx,dy): self.x=self.x+dx; self.y=self.y+dy\n";

// Dijkstra from node 0 to the target, as distance() runs it.
std::string python_dijkstra(int target) {
    return "d={0:0}\nh=[(0,0)]\nwhile h:\n  c,u=heapq.heappop(h)\n  if c>d[u]: continue\n  if u==" +
           std::to_string(target) +
           ": break\n  for v,w in adj[u].items():\n    if v not in d or c+w<d[v]:\n      d[v]=c+w\n"
           "      heapq.heappush(h,(c+w,v))\n";
}

void Ostravine_Create(benchmark::State& s) { run_line(s, "for:k=1,k<=100000,k=k+1,q=pc();"); }
void Python_Create(benchmark::State& s) { run_python(s, python_class, "for k in range(100000): q=P()"); }

void Ostravine_MethodCall(benchmark::State& s) { run_line(s, "q=pc(),for:k=1,k<=1000000,k=k+1,q.move(1,2);"); }
void Python_MethodCall(benchmark::State& s) {
    run_python(s, python_class, "q=P()\nfor k in range(1000000): q.move(1,2)");
}

void Ostravine_Dijkstra(benchmark::State& s) { run_line(s, "distance(g10000[1],g10000[9216])"); }
void Ostravine_Dijkstra_Half(benchmark::State& s) { run_line(s, "distance(g5000[1],g5000[2920])"); }
void Python_Dijkstra(benchmark::State& s) { run_python(s, python_graph(10000), python_dijkstra(9215)); }

}  // namespace

#define OBJECT_BENCH(f) \
    BENCHMARK(f)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1)->Repetitions(5)->ReportAggregatesOnly()
OBJECT_BENCH(Ostravine_Create);
OBJECT_BENCH(Python_Create);
OBJECT_BENCH(Ostravine_MethodCall);
OBJECT_BENCH(Python_MethodCall);
OBJECT_BENCH(Ostravine_Dijkstra);
OBJECT_BENCH(Ostravine_Dijkstra_Half);
OBJECT_BENCH(Python_Dijkstra);
