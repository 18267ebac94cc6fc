// Dormand-Prince on the Pythagorean three-body problem (masses 3, 4, 5 at
// rest at (1,3), (-2,-1), (1,-1); twelve unknowns) to t = 10, given as
// formulas of the language, against SciPy's solve_ivp (RK45, the same 5(4)
// pair, with a Python right-hand side) at the same rtol = atol = 1e-9 in the
// same run. Both sides are timed in processor seconds of their own process,
// the set-up (the environment, importing SciPy) left out; each figure is
// the median of five runs. Our label shows the last row (t = 10, x1, y1,
// ...); tests/solvers checks the solver against SciPy's accuracy.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "python_peer.hpp"
#include "script/script.hpp"

namespace {

// a_i = sum over j of m_j (r_j - r_i)/|r_j - r_i|^3, written out per part.
std::string acceleration(int i, char axis) {
    const int m[] = {3, 4, 5};
    std::string s;
    for (int j = 1; j <= 3; ++j) {
        if (j == i) continue;
        char term[128];
        std::snprintf(term, sizeof term, "%s%d*(%c%d-%c%d)/((x%d-x%d)^2+(y%d-y%d)^2)^1.5", s.empty() ? "" : "+",
                      m[j - 1], axis, j, axis, i, j, i, j, i);
        s += term;
    }
    return s;
}

std::string three_body_line() {
    std::string line = "odesolve([u1,v1,u2,v2,u3,v3";
    for (int i = 1; i <= 3; ++i)
        for (char axis : {'x', 'y'}) line.append(",").append(acceleration(i, axis));
    line.append("],t,[x1,y1,x2,y2,x3,y3,u1,v1,u2,v2,u3,v3],[1,3,-2,-1,1,-1,0,0,0,0,0,0],0,10,1,dopri,1e-9)");
    return line;
}

void Ostravine_ThreeBody(benchmark::State& state) {
    ostr::script::initialize_globals(nullptr, 0);
    Arbenv* env = ostr::obj::make_top_level();
    const std::string line = three_body_line();
    for (auto _ : state) {
        const double t0 = ostr::bench::cpu_now();
        ostr::Text answer = ostr::script::run_script(line, env, true);
        state.SetIterationTime(ostr::bench::cpu_now() - t0);
        // x1 and y1 at t = 10, to be compared with the peer's.
        const std::size_t last = answer.rfind("],[");
        state.SetLabel(std::string(answer.substr(last == ostr::Text::npos ? 0 : last + 3, 40)));
    }
}

// The same system with the right-hand side a Python function of scalars.
void SciPy_ThreeBody(benchmark::State& state) {
    const std::string setup =
        "from scipy.integrate import solve_ivp\n"
        "m=(3.0,4.0,5.0)\n"
        "def f(t,s):\n"
        "    x=s[0:6:2]; y=s[1:6:2]; out=list(s[6:12])\n"
        "    for i in range(3):\n"
        "        ax=ay=0.0\n"
        "        for j in range(3):\n"
        "            if j!=i:\n"
        "                dx=x[j]-x[i]; dy=y[j]-y[i]; r3=(dx*dx+dy*dy)**1.5\n"
        "                ax+=m[j]*dx/r3; ay+=m[j]*dy/r3\n"
        "        out.append(ax); out.append(ay)\n"
        "    return [out[0],out[1],out[2],out[3],out[4],out[5],out[6],out[7],out[8],out[9],out[10],out[11]]\n";
    const std::string timed =
        "r=solve_ivp(f,(0,10),[1,3,-2,-1,1,-1,0,0,0,0,0,0],method=\"RK45\",rtol=1e-9,atol=1e-9)";
    ostr::bench::run_python(state, setup, timed, "r.status", "0");
}

}  // namespace

PEER_BENCH(Ostravine_ThreeBody);
PEER_BENCH(SciPy_ThreeBody);
