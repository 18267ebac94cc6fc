/* The console program: one top-level environment, a read-evaluate-print
   loop on standard input until an empty or blank line, then the state file.
   Uses only the exported C API; the protocol is in docs/session.md. */
#define _POSIX_C_SOURCE 200809L

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "ostravine.h"
#include "interactive.h"
#include "statefile.h"

/* The live environment. When the state file is saved from a tree built at
   exit, the tree holds a copy: the copy is freed at teardown and the live
   environment is left alone to the end of the process on purpose. Kept
   here, it stays reachable until then. */
static Arbenv *live_env;

typedef struct Line {
    char *text;
    size_t count;
    size_t capacity;
} Line;

/* Grows the buffer to twice its size. The old block is wiped before it is
   released, since it held the user's text. */
static int grow(Line *line) {
    size_t capacity = line->capacity * 2;
    char *text = malloc(capacity);
    if (!text) return 0;
    memcpy(text, line->text, line->count);
    wipe_bytes(line->text, line->count);
    free(line->text);
    line->text = text;
    line->capacity = capacity;
    return 1;
}

/* Reads one line, up to a line feed or the end of input, neither stored.
   The end of input before any character gives the empty line. Answers 0
   only when no buffer could be had. */
static int read_line(Line *line) {
    line->capacity = 128;
    line->count = 0;
    line->text = malloc(line->capacity);
    if (!line->text) return 0;
    int c;
    while ((c = getchar()) != '\n' && c != EOF) {
        line->text[line->count++] = (char)c;
        /* Room for the terminator is kept even when the buffer cannot grow. */
        if (line->count + 1 == line->capacity && !grow(line)) break;
    }
    line->text[line->count] = '\0';
    return 1;
}

static void release_line(Line *line) {
    wipe_bytes(line->text, line->count);
    free(line->text);
    line->text = NULL;
}

static int is_blank(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/* Empty, or space, tab, line feed and carriage return only: the end. */
int ends_session(const char *text) {
    while (*text && is_blank((unsigned char)*text)) ++text;
    return *text == '\0';
}

static void run_loop(Arbenv *env) {
    Line line;
    for (;;) {
        fputs("\n: ", stdout);
        if (!read_line(&line)) return;
        if (ends_session(line.text)) break;
        char *answer = ArbevalScript(line.text, env, 1);
        printf(": %s\n\n", answer ? answer : "");
        release_line(&line);
        FreeString(answer);
    }
    release_line(&line);
}

/* The environment file named on the command line: an environment record
   from its first byte, no digest and no version. A file that holds no
   readable environment is treated like one that cannot be opened. */
static Arbenv *load_named(const char *name) {
    FILE *f = fopen(name, "rb");
    Arbenv *env = NULL;
    if (f) {
        env = readTopArbenv(f, 1);
        fclose(f);
    }
    if (env) return env;
    printf("The input environment file '%s' could not be loaded, generating the default environment.\n", name);
    return InitializeTopLevelEnvironment();
}

/* The start-up script runs only when it is a regular file of the user's
   that no one else can write, as shells treat theirs; the library holds to
   that on the file it opens. Here the user learns that one was skipped. */
static void tell_skipped_script(const char *name) {
    struct stat st;
    if (lstat(name, &st) != 0) return;
    if (S_ISREG(st.st_mode) && st.st_uid == geteuid() && !(st.st_mode & (S_IWGRP | S_IWOTH))) return;
    printf("The start-up script '%s' was skipped: it must be a regular file of yours that no one else can write.\n",
           name);
}

/* stdio keeps what passes through a stream in its buffer: the typed lines in
   stdin's, the answers in stdout's. Both buffers are the console's own, in
   the modes stdio would choose, so that it can wipe them at exit once the
   last answer is flushed (exit flushes again, finding nothing left). */
static char in_buffer[BUFSIZ], out_buffer[BUFSIZ];

static void wipe_stdio(void) {
    fflush(stdout);
    wipe_bytes(in_buffer, sizeof in_buffer);
    wipe_bytes(out_buffer, sizeof out_buffer);
}

static void own_stdio_buffers(void) {
    setvbuf(stdin, in_buffer, isatty(STDIN_FILENO) ? _IOLBF : _IOFBF, sizeof in_buffer);
    setvbuf(stdout, out_buffer, isatty(STDOUT_FILENO) ? _IOLBF : _IOFBF, sizeof out_buffer);
    atexit(wipe_stdio);
}

/* A formula line builds and drops blocks of some hundred kilobytes at every
   step; the C library would map and unmap each one (and trim the heap after
   it), and the page faults cost three quarters of the time of such a line.
   Blocks below 16 MB come from the heap instead, and up to 64 MB of free heap
   is kept for the next step. */
static void tune_allocator(void) {
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 16 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
}

int main(int argc, char **argv) {
    tune_allocator();
    own_stdio_buffers();
    /* A write past the file size limit or into a closed pipe then fails with
       an error the save reports, instead of ending the process on the spot. */
    signal(SIGXFSZ, SIG_IGN);
    signal(SIGPIPE, SIG_IGN);
    if (argc <= 2) tell_skipped_script("init.txt");
    InitializeGlobals("init.txt", 1);
    ArbTree *tree = NULL;
    int rejected = 0;
    if (argc == 1) {
        live_env = state_load(STATE_FILE_NAME, &tree, &rejected);
    } else if (argc == 2) {
        live_env = load_named(argv[1]);
    } else {
        TerminateGlobals();
        printf("Ostravine.exe [path to environment file]");
        return 1;
    }
    if (!live_env) {
        TerminateGlobals();
        return 1;
    }
    /* The console keeps the history of its lines (history() shows it), also
       in an environment saved before it kept one. */
    SetHistoryFlag(live_env, 1);
    int stopped_by = 0;
    if (at_terminal()) stopped_by = run_terminal(live_env);
    else run_loop(live_env);

    int opened = 0;
    int code = state_save(STATE_FILE_NAME, live_env, &tree, rejected, &opened) ? 0 : 1;
    if (tree) {
        freeArbTree(tree, NULL, 1);
        FreeBlock(tree);
    } else {
        TerminateEnvironment(live_env);
        live_env = NULL;
    }
    TerminateGlobals();
    if (stopped_by) {
        /* Saved; now end as the signal would have, so the parent sees it. */
        wipe_stdio();  /* no exit handler runs after the signal */
        signal(stopped_by, SIG_DFL);
        raise(stopped_by);
    }
    return code;
}
