/* Statement execution through the C face: globals, one environment, whole
   lines as the console sends them, teardown. */
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

static int expect(Arbenv *env, const char *line, const char *want) {
    char *got = ArbevalScript(line, env, 1);
    int ok = got != NULL && strcmp(got, want) == 0;
    if (!ok) fprintf(stderr, "script: %s gave %s, want %s\n", line, got ? got : "(null)", want);
    FreeString(got);
    return ok;
}

int main(void) {
    Arbenv *env;
    int ok;
    if (InitializeGlobals("init.txt", 0) != 1 || (env = InitializeTopLevelEnvironment()) == NULL) return 1;
    ok = expect(env, "x=2,y=3", "x <- 2\n\ny <- 3") && expect(env, "f(x)=x^2+1", "f(x) <- x^2+1");
    ok &= expect(env, "f(3)", "10") && expect(env, "s=0,for:k=1,k<=10,k=k+1,s=s+k;,s", "s <- 0\n\n55");
    ok &= expect(env, "g(x)=g(x),g(1)", "g(x) <- g(x)\n\n>evaluation_aborted<");
    ok &= expect(NULL, "1", ">invalid_expression<") && expect(env, "x", "2");
    TerminateEnvironment(env);
    TerminateGlobals();
    return !ok;
}
