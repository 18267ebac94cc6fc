/* The evaluator through the C face: globals, one environment, expressions
   evaluated and answered as owned texts, the digits setting, teardown. */
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
    if (InitializeGlobals("init.txt", 0) != 1 || (env = InitializeTopLevelEnvironment()) == NULL) return 1;
    ok = GetSignificantDigits(env) == 15 && expect(env, "2^3^2", "512") && expect(env, "i*i", "-1");
    ok &= expect(env, "(1+2", ">invalid_expression<") && expect(NULL, "1", ">invalid_expression<");
    SetSignificantDigits(env, 4);
    ok &= expect(env, "pi", "3.142");
    RestoreDefaultAssignments(env);
    TerminateEnvironment(env);
    TerminateGlobals();
    TerminateGlobals();
    return !ok;
}
