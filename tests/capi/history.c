/* The history flag through the C face: off in a new environment, set by
   the front end, lines recorded and run again, and flag and entries carried
   by the environment record. */
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

static int expect(Arbenv *env, const char *line, const char *want) {
    char *got = ArbevalScript(line, env, 1);
    int ok = got != NULL && strcmp(got, want) == 0;
    if (!ok) fprintf(stderr, "history: %s gave %s, want %s\n", line, got ? got : "(null)", want);
    FreeString(got);
    return ok;
}

int main(void) {
    Arbenv *env, *back;
    MemFile *stream;
    int ok;
    if (InitializeGlobals(NULL, 0) != 1 || (env = InitializeTopLevelEnvironment()) == NULL) return 1;
    ok = GetHistoryFlag(env) == 0 && GetHistoryFlag(NULL) == 0;
    ok &= expect(env, "x=1", "x <- 1") && expect(env, "history()", "no history");
    SetHistoryFlag(env, 7);
    SetHistoryFlag(NULL, 1);
    ok &= GetHistoryFlag(env) == 1;
    ok &= expect(env, "x=x+1", "x <- x+1") && expect(env, "history(1)", "x <- x+1") && expect(env, "x", "3");
    ok &= expect(env, "history()", "1: x=x+1\n   x <- x+1\n2: history(1)\n   x <- x+1\n3: x\n   3");

    stream = MemOpen(64);
    writeArbenv(env, stream, 0);
    MemSetBufPos(stream, 0);
    back = readTopArbenv(stream, 0);
    ok &= back != NULL && GetHistoryFlag(back) == 1 && expect(back, "history(1)", "x <- x+1") && expect(back, "x", "4");
    TerminateEnvironment(back);
    MemClose(stream);

    /* Off again: y=2 is not recorded, and the entries stay. */
    SetHistoryFlag(env, 0);
    ok &= GetHistoryFlag(env) == 0 && expect(env, "y=2", "y <- 2") && expect(env, "history(3)", "3") &&
          expect(env, "history(5)", ">invalid_expression<");
    TerminateEnvironment(env);
    TerminateGlobals();
    if (!ok) fputs("history: the flag or the entries did not behave through the C face\n", stderr);
    return !ok;
}
