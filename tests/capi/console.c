/* What an interactive front end uses beside ArbevalScript: the names a word
   completes to, and a stop requested from a signal handler in the middle of
   a line. */
#define _POSIX_C_SOURCE 200809L

#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/time.h>
#include <time.h>

#include "ostravine.h"

static int expect(Arbenv *env, const char *line, const char *want) {
    char *got = ArbevalScript(line, env, 1);
    int ok = got != NULL && strcmp(got, want) == 0;
    if (!ok) fprintf(stderr, "console: %s gave %s, want %s\n", line, got ? got : "(null)", want);
    FreeString(got);
    return ok;
}

/* The completions of word, joined by spaces, compared with want. */
static int names(Arbenv *env, const char *word, const char *want) {
    char **v = ListVisibleNames(word, env);
    char got[512] = "";
    for (int i = 0; v && v[i][0]; ++i) {
        if (i) strncat(got, " ", sizeof got - strlen(got) - 1);
        strncat(got, v[i], sizeof got - strlen(got) - 1);
    }
    int ok = v != NULL && strcmp(got, want) == 0;
    if (!ok) fprintf(stderr, "console: completions of %s are '%s', want '%s'\n", word, got, want);
    FreeStringVector(v);
    return ok;
}

static void stop_line(int sig) {
    (void)sig;
    RequestAbort();
}

static double seconds(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

/* A SIGALRM 50 ms into a line that would run for a minute or more stops it
   at once; what was assigned before and during it stays. */
static int interrupted_loop(Arbenv *env, const char *line) {
    struct sigaction sa;
    memset(&sa, 0, sizeof sa);
    sa.sa_handler = stop_line;
    sigaction(SIGALRM, &sa, NULL);
    struct itimerval t = {{0, 0}, {0, 50000}};
    double start = seconds();
    setitimer(ITIMER_REAL, &t, NULL);
    int ok = expect(env, line, ">evaluation_aborted<");
    double took = seconds() - start;
    if (took > 2.0) fprintf(stderr, "console: %s took %.3f s to stop\n", line, took);
    return ok && took < 2.0;
}

int main(void) {
    Arbenv *env;
    int ok;
    if (InitializeGlobals("init.txt", 0) != 1 || (env = InitializeTopLevelEnvironment()) == NULL) return 1;
    ok = expect(env, "alpha=1,alps(x)=x,form=y+1", "alpha <- 1\n\nalps(x) <- x\n\nform <- y+1");
    ok &= names(env, "al", "alpha alps(") && names(env, "whi", "while:") && names(env, "els", "else elseif");
    ok &= names(env, "sinh", "sinh(") && names(env, "form.s", "shift(") && names(env, "form.", "and( eval( not( or( shift( xor(");
    ok &= names(env, "nosuch.", "") && names(env, "alpha.", "") && names(env, "zzz", "");
    ok &= ListVisibleNames(NULL, env) == NULL && ListVisibleNames("a", NULL) == NULL;

    /* A request made between lines does not stop the next one. */
    RequestAbort();
    ok &= expect(env, "1+1", "2");
    ok &= expect(env, "n=0", "n <- 0") && interrupted_loop(env, "while:1,n=n+1;");
    ok &= expect(env, "n>0", "1") && expect(env, "alpha", "1") && expect(env, "alps(3)", "3");
    /* A line with no loop (hours of recursion) stops in the evaluator. */
    ok &= expect(env, "fib(k)=if:k<2,k,else,fib(k-1)+fib(k-2);", "fib(k) <- if:k<2,k,else,fib(k-1)+fib(k-2);");
    ok &= interrupted_loop(env, "fib(60)") && expect(env, "fib(10)", "55");
    TerminateEnvironment(env);
    TerminateGlobals();
    return !ok;
}
