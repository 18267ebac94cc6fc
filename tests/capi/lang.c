/* The evaluator through the C face: globals, one environment, a few
   expressions, teardown. */
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

static int expect(Arbenv *env, const char *text, const char *want) {
    char *got = ArbevalExpression(text, env);
    int ok = got != NULL && strcmp(got, want) == 0;
    if (!ok) fprintf(stderr, "lang: %s gave %s, want %s\n", text, got ? got : "(null)", want);
    FreeString(got);
    return ok;
}

int main(void) {
    Arbenv *env;
    int ok;
    if (InitializeGlobals("init.txt", 0) != 1) return 1;
    env = InitializeTopLevelEnvironment();
    if (env == NULL) return 1;
    ok = GetSignificantDigits(env) == 15;
    ok &= expect(env, "2^3^2", "512");
    ok &= expect(env, "(1+2)*(3+4)", "21");
    ok &= expect(env, "2*x+1", "2*x+1");
    ok &= expect(env, "1/0", "1/0");
    ok &= expect(env, "i*i", "-1");
    ok &= expect(env, "1<2|0", "1");
    ok &= expect(env, "(1+2", ">invalid_expression<");
    ok &= expect(NULL, "1", ">invalid_expression<");
    SetSignificantDigits(env, 4);
    ok &= expect(env, "pi", "3.142");
    RestoreDefaultAssignments(env);
    TerminateEnvironment(env);
    TerminateGlobals();
    TerminateGlobals();
    return ok ? 0 : 1;
}
