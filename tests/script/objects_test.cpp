// Classes, instances, mutants and node graphs: answers, bad input that must
// change nothing, shortest paths and orders against plain algorithms on
// random graphs, leaks, and the round trip through the environment stream
// (one node stays one node; damaged records read as nothing).
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "envio/serialize.hpp"
#include "records.hpp"
#include "script_support.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {


// Node i of the script is ns[i+1]; the test keeps the same graph as weights.
struct Graph {
    int n;
    std::vector<std::vector<double>> w;  // infinity: no edge
};

class Objects : public ScriptTest {
protected:
    Graph random_graph(std::mt19937& gen, int n, int edges, bool acyclic) {
        const double inf = std::numeric_limits<double>::infinity();
        Graph g{n, std::vector<std::vector<double>>(n, std::vector<double>(n, inf))};
        run("ns=array:" + std::to_string(n) + ";,for:k=1,k<=" + std::to_string(n) + ",k=k+1,ns[k]=node(k);");
        std::uniform_int_distribution<int> pick(0, n - 1), weight(1, 20);
        for (int e = 0; e < edges; ++e) {
            const int a = pick(gen), b = pick(gen), w = weight(gen);
            if (acyclic && a >= b) continue;
            g.w[a][b] = w;
            run("ns[" + std::to_string(a + 1) + "].connect(ns[" + std::to_string(b + 1) + "]," + std::to_string(w) + ")");
        }
        return g;
    }
    void define_account() {
        check({{"acc=class_definition:owner=\"\",private:bal=0,hidden()=1;,static:n=0;,init(o,b)=(this.owner=o,"
                "this.bal=b,acc.n=acc.n+1),add(a)=(this.bal=this.bal+a,this.bal),get()=this.bal,peek(o)=o.bal,"
                "secret()=this.hidden();",
                "acc <- class_definition:owner=\"\",private:bal=0,hidden()=1;,static:n=0;,init(o,b)=(this.owner=o,"
                "this.bal=b,acc.n=acc.n+1),add(a)=(this.bal=this.bal+a,this.bal),get()=this.bal,peek(o)=o.bal,"
                "secret()=this.hidden();"},
               {"p=acc(\"a\",10)", "p <- acc(\"a\",10)"}});
    }
};

TEST_F(Objects, ClassesAnswer) {
    define_account();
    check({
        {"p.add(5),p.get()", "15\n\n15"},
        {"q=acc(\"b\",1),acc.n,p.n", "q <- acc(\"b\",1)\n\n2\n\n2"},  // statics shared
        {"p.n=7,q.n", "p.n <- 7\n\n7"},
        {"p.peek(q)", "1"},         // a method sees private members of another instance
        {"p.secret()", "1"},        // and calls private methods
        {"p.owner", "\"a\""},
        {"r=p,r.add(1),p.get()", "r <- p\n\n16\n\n15"},  // instances are values
        {"p==r", "0"},
        {"r.add(-1),p==r,p~=r", "15\n\n1\n\n0"},
        {"m=map:\"k\"=p;,m[\"k\"].get()", "m <- map:\"k\"=p;\n\n15"},
        {"sub=class_definition:prototype=acc,get()=this.bal*2;", "sub <- class_definition:prototype=acc,get()=this.bal*2;"},
        {"s=sub(\"c\",3),s.get(),s.add(1)", "s <- sub(\"c\",3)\n\n6\n\n4"},  // override and inherited
        {"sub.n,acc.n", "0\n\n8"},  // each class keeps statics of its own
        {"box=class_definition:in=acc(\"z\",2),v=[1,2];", "box <- class_definition:in=acc(\"z\",2),v=[1,2];"},
        {"b=box(),b.in.get(),b.in.owner", "b <- box()\n\n2\n\n\"z\""},
        {"b.in.owner=\"y\",b.in.owner", "b.in.owner <- \"y\"\n\n\"y\""},
        {"b.v[2]", "2"},
        {"acc.toclass(p)==p", "1"},
        {"acc.toclass(mutate(p))", "acc:bal: (private),owner=\"a\";"},  // only public members pass
    });
}

// Argument texts of methods and constructors are analysed once per text:
// a line run again, or in a loop, answers as the first time; every argument
// runs, in order, before the call.
TEST_F(Objects, ArgumentsAnalysedOnceAnswerAlike) {
    check({{"ct=class_definition:v=0,w=\"\",add(a)=(this.v=this.v+a,this.v),get()=this.v,init(b,s)=(this.v=b,"
            "this.w=s);",
            "ct <- class_definition:v=0,w=\"\",add(a)=(this.v=this.v+a,this.v),get()=this.v,init(b,s)=(this.v=b,"
            "this.w=s);"}});
    for (int pass = 0; pass < 2; ++pass)
        check({
            {"p=ct(10,\"a\")", "p <- ct(10,\"a\")"},
            {"p.add(max(1,2)),p.add(p.get()),p.add(-(2*3))", "12\n\n24\n\n18"},
            {"t=0,for:k=1,k<=3,k=k+1,p.add(k*t),t=t+1;,p.get()", "t <- 0\n\n26"},
            {"q=ct(p.get()/4,\"b\"+\"c\"),q.w,q.get()", "q <- ct(p.get()/4,\"b\"+\"c\")\n\n\"bc\"\n\n6.5"},
            {"p.add(p.add(1)+z)", "z+54"},
            {"p.add(z,1),p.get()", ">invalid_expression<\n\nz+54"},
        });
}

// Every line answers an error word and leaves p, the class and the graph as
// they were.
TEST_F(Objects, BadInputChangesNothing) {
    define_account();
    check({{"a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b,2)", "a <- node(1,\"a\")\n\nb <- node(2,\"b\")\n\n1"}});
    const Line bad[] = {
        {"p.nothing()", ">invalid_object<"},
        {"p.bal", ">invalid_object<"},
        {"p.hidden()", ">invalid_object<"},
        {"p.bal=0", ">invalid_assignment<"},
        {"p.newmember=1", ">invalid_assignment<"},
        {"p.add()", ">invalid_expression<"},
        {"p.add(>invalid_object<)", ">invalid_expression<"},
        {"p.owner=>invalid_object<", ">invalid_expression<"},
        {"this", ">invalid_object<"},
        {"this.bal", ">invalid_object<"},
        {"this.f()", ">invalid_object<"},
        {"this.x=1", ">invalid_assignment<"},
        {"acc(1)", ">invalid_expression<"},
        {"acc=class_definition:prototype=acc;", ">invalid_expression<"},
        {"acc=class_definition:prototype=nope;", ">invalid_expression<"},
        {"acc=class_definition:x;", ">invalid_expression<"},
        {"acc=class_definition:static:f()=1;;", ">invalid_expression<"},
        {"acc=class_definition:x=>invalid_object<;", ">invalid_expression<"},
        {"acc=class_definition:f(a,a)=1;", ">invalid_expression<"},
        {"acc.toclass(map:\"zz\"=1;)", ">invalid_expression<"},
        {"acc.toclass(5)", ">invalid_expression<"},
        {"acc.nothing(1)", ">invalid_object<"},
        {"mutate(1)", ">invalid_expression<"},
        {"mutate(map:1=2;)", ">invalid_expression<"},
        {"a.connect(5)", ">invalid_expression<"},
        {"a.connect(b,1/0)", ">invalid_expression<"},
        {"a.nothing()", ">invalid_object<"},
        {"a.value(1)", ">invalid_object<"},
        {"node([1])", ">invalid_expression<"},
        {"node(1,2)", ">invalid_expression<"},
        {"a.setvalue(a)", ">invalid_expression<"},
        {"distance(b,a)", ">invalid_object<"},
        {"shortestpath(a,5)", ">invalid_expression<"},
        {"bfs(1)", ">invalid_expression<"},
        {"toposort([a,1])", ">invalid_expression<"},
        {"b.lock(),a.connect(b,5),b.unlock()", "1\n\n>invalid_assignment<\n\n0"},
    };
    for (const Line& l : bad) {
        EXPECT_EQ(run(l.line), l.answer) << l.line;
        EXPECT_EQ(run("p"), "acc:bal: (private),owner=\"a\";") << l.line;
        EXPECT_EQ(run("p.get()"), "10") << l.line;
        EXPECT_EQ(run("a.outedges()"), "[[node(2,\"b\"),2]]") << l.line;
    }
}

// A method that calls itself without end stops at the line's bounds; the
// instance and the session stay usable and nothing is left behind.
TEST_F(Objects, EndlessMethodsStopAndLeakNothing) {
    run("r=0,z=0,w=0,a=0,b=0,l=0");  // the names exist before counting
    CountingAlloc counter;
    const long before = counter.live();
    check({{"r=class_definition:n=0,f()=(this.n=this.n+1,this.f());", "r <- class_definition:n=0,f()=(this.n=this.n+1,this.f());"},
           {"z=r()", "z <- r()"},
           {"z.f()", ">evaluation_aborted<"},
           {"z.n>0", "1"},  // the passes that ran keep their effect
           {"w=z,w==z", "w <- z\n\n1"}});
    check({{"a=node(1),b=node(2),a.connect(b),b.connect(a),a.connect(a)",
            "a <- node(1)\n\nb <- node(2)\n\n1\n\n1\n\n2"},
           {"l=[a,b],a=0,b=0,l[1].inedges()", "l <- [a,b]\n\na <- 0\n\nb <- 0\n\n[[node(2,\"\"),1],[node(1,\"\"),1]]"},
           {"l=0", "l <- 0"}});
    run("r=0,z=0,w=0");
    // The session keeps the last answer and the last explanation for why().
    env->answer.reset();
    env->trouble = Text();
    EXPECT_EQ(counter.live(), before);
}

// A method whose call replaces the variable it runs on (here through
// import) finishes on its own copy of the scope, which is then let go.
TEST_F(Objects, AVariableReplacedDuringItsMethodIsLetGo) {
    const std::string file = "objects_test.env";  // export writes only below the working directory
    check({{"c=class_definition:v=1,f()=(import(\"objects_test.env\"),this.v=2,this.v);",
            "c <- class_definition:v=1,f()=(import(\"objects_test.env\"),this.v=2,this.v);"},
           {"p=5,export(\"objects_test.env\")", "p <- 5\n\n4"},
           {"p=c(),p.f()", "p <- c()\n\n2"},
           {"p", "5"}});
    std::remove(file.c_str());
}

TEST_F(Objects, ShortestPathsAgreeWithFloydWarshall) {
    std::mt19937 gen(20);
    for (int round = 0; round < 3; ++round) {
        Graph g = random_graph(gen, 25, 70, false);
        std::vector<std::vector<double>> d = g.w;
        for (int k = 0; k < g.n; ++k) d[k][k] = std::min(d[k][k], 0.0);
        for (int k = 0; k < g.n; ++k)
            for (int i = 0; i < g.n; ++i)
                for (int j = 0; j < g.n; ++j) d[i][j] = std::min(d[i][j], d[i][k] + d[k][j]);
        for (int i = 0; i < g.n; ++i)
            for (int j = 0; j < g.n; ++j) {
                const std::string call = "distance(ns[" + std::to_string(i + 1) + "],ns[" + std::to_string(j + 1) + "])";
                const std::string want = std::isinf(d[i][j]) ? ">invalid_object<" : std::to_string(static_cast<int>(d[i][j]));
                ASSERT_EQ(run(call), want) << call;
                if (std::isinf(d[i][j])) continue;
                // The path's own edges add up to the distance.
                const std::string path = "p=shortestpath(ns[" + std::to_string(i + 1) + "],ns[" + std::to_string(j + 1) +
                                         "]),s=0,for:k=1,k<p.size(),k=k+1,e=p[k].outedges(),for:m=1,m<=e.size(),m=m+1,"
                                         "s=s+(e[m][1]==p[k+1])*e[m][2];;,s";
                const std::string got = run(path);
                EXPECT_EQ(got.substr(got.rfind('\n') + 1), want) << path;
            }
    }
}

TEST_F(Objects, TopologicalOrderAndComponentsHold) {
    std::mt19937 gen(7);
    Graph g = random_graph(gen, 30, 60, true);
    // Every edge goes forward in the order.
    std::vector<int> place(g.n);
    run("o=toposort(ns)");
    for (int k = 0; k < g.n; ++k) {
        const std::string v = run("o[" + std::to_string(k + 1) + "].value()");
        place[std::stoi(v) - 1] = k;
    }
    for (int a = 0; a < g.n; ++a)
        for (int b = 0; b < g.n; ++b)
            if (!std::isinf(g.w[a][b])) {
                EXPECT_LT(place[a], place[b]) << a << "->" << b;
            }
    // Components against union-find.
    std::vector<int> root(g.n);
    for (int k = 0; k < g.n; ++k) root[k] = k;
    auto find = [&](int x) {
        while (root[x] != x) x = root[x] = root[root[x]];
        return x;
    };
    int parts = g.n;
    for (int a = 0; a < g.n; ++a)
        for (int b = 0; b < g.n; ++b)
            if (!std::isinf(g.w[a][b]) && find(a) != find(b)) root[find(a)] = find(b), --parts;
    EXPECT_EQ(run("components(ns).size()"), std::to_string(parts));
    run("ns[1].connect(ns[1])");
    EXPECT_EQ(run("toposort(ns)"), ">invalid_expression<");  // a self-loop is a cycle
}

constexpr const char* saved_lines[] = {
    "pt=class_definition:x=0,private:s=1;,static:c=3;,f()=this.x+this.s;",
    "p=pt(),p.x=5",
    "mu=mutate(),mu.k=[1,p]",
    "a=node(1,\"a\"),b=node(\"v\",\"b\"),a.connect(b,2.5),b.connect(a,1),a.connect(a,7),b.lock()",
    "g=[a,b,map:\"n\"=a;]",
    "h=class_definition:n=node(3),m=pt();",
};

TEST_F(Objects, GraphsAndClassesTravelThroughTheStream) {
    for (const char* l : saved_lines) run(l);
    const std::string r = body_of(env);
    Arbenv* back = envio::read_body(r, false);
    ASSERT_NE(back, nullptr);
    for (const char* line : {"p", "p.f()", "pt.c", "mu", "mu.k[2].f()", "a.outedges()", "b.inedges()", "g", "h",
                             "b.islocked()"})
        EXPECT_EQ(script::run_script(line, back, true), script::run_script(line, env, true)) << line;
    // One node in every holder: a change through one is seen through all.
    EXPECT_EQ(script::run_script("g[1]==a,g[3][\"n\"]==a,g[2]==b,a==b", back, true), "1\n\n1\n\n1\n\n0");
    EXPECT_EQ(script::run_script("a.disconnect(a),g[3][\"n\"].outedges()", back, true), "1\n\n[[node(\"v\",\"b\"),2.5]]");
    EXPECT_EQ(script::run_script("a=0,g=0,b.inedges()", back, true), "a <- 0\n\ng <- 0\n\n[]");
    obj::free_environment(back);
    back = envio::read_body(r, false);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(body_of(back), r);  // and writes the same bytes again
    obj::free_environment(back);
}

TEST_F(Objects, DamagedRecordsNeverCrashOrLeak) {
    for (const char* l : saved_lines) run(l);
    sweep_damaged(body_of(env), read_body, "p,mu,a.outedges(),g,h,bfs(b)");
}

}  // namespace
}  // namespace ostr::test
