// Shared by the evaluator benchmarks: one environment holding x, and the
// rate of Python 3's eval() of the same text with the same x, timed by the
// interpreter itself in the same run.
#pragma once

#include <cstdio>
#include <string>

#include "lang/evaluate.hpp"
#include "lang/globals.hpp"
#include "objects/environment.hpp"

namespace ostr::bench {

// The globals and a top-level environment with the variable x, made once.
inline Arbenv* environment_with_x(double x) {
    static Arbenv* env = [x] {
        lang::initialize_globals(nullptr, 0);
        Arbenv* e = obj::make_top_level();
        obj::store(e, obj::make_numeric({x, 0}, "x", e));
        return e;
    }();
    return env;
}

// Evaluations per second of eval(text) with x bound and the names of
// `setup` (import lines) in scope; median of five autoranged rounds.
inline double python_eval_rate(const std::string& text, double x, const std::string& setup = "") {
    char xs[32];
    std::snprintf(xs, sizeof xs, "%.17g", x);
    std::string cmd =
        "/usr/bin/python3 -c \"import timeit,statistics\n" + setup +
        "\ng=dict(globals()); g['x']=" + xs + "\n"
        "t=timeit.Timer('eval(s, g)', globals={'s': '" + text + "', 'g': g})\n"
        "n,_=t.autorange()\n"
        "print(statistics.median(n/t.timeit(n) for _ in range(5)))\"";
    FILE* p = popen(cmd.c_str(), "r");
    if (!p) return 0;
    double rate = 0;
    if (std::fscanf(p, "%lf", &rate) != 1) rate = 0;
    pclose(p);
    return rate;
}

}  // namespace ostr::bench
