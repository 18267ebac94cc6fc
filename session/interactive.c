/* The console at a terminal. Lines come from the line editor in raw mode;
   between lines the terminal is as the user left it, so Ctrl-C during an
   evaluation is SIGINT, which asks the library to stop the line
   (RequestAbort). The answers are the texts of the pipe protocol. */
#define _POSIX_C_SOURCE 200809L

#include "interactive.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "terminal/editor.h"
#include "terminal/history.h"

#ifndef OSTR_VERSION
#define OSTR_VERSION "0"
#endif

enum { history_limit = 1000, escape_wait_ms = 50 };

static volatile sig_atomic_t stop_signal, interrupted, resized;

static struct termios user_mode;
static int colour;

static void on_interrupt(int sig) {
    (void)sig;
    RequestAbort();
    interrupted = 1;
}

static void on_resize(int sig) {
    (void)sig;
    resized = 1;
}

/* The first SIGTERM or SIGHUP stops the line and ends the session with a
   save; a second one, while that save waits on a line that does not stop,
   ends the process at once. */
static void on_stop(int sig) {
    if (stop_signal) {
        signal(sig, SIG_DFL);
        raise(sig);
        return;
    }
    stop_signal = sig;
    RequestAbort();
}

/* Without SA_RESTART, so that a signal ends a read at the prompt. */
static void handle(int sig, void (*handler)(int)) {
    struct sigaction sa;
    memset(&sa, 0, sizeof sa);
    sa.sa_handler = handler;
    sigemptyset(&sa.sa_mask);
    sigaction(sig, &sa, NULL);
}

int at_terminal(void) { return isatty(STDIN_FILENO) && isatty(STDOUT_FILENO); }

/* Keys one by one, no echo, no signals from the keyboard (the editor takes
   Ctrl-C, Ctrl-Z, Ctrl-D itself), typed-ahead input kept; paste marked. */
static void raw_mode(void) {
    struct termios t = user_mode;
    t.c_iflag &= ~(tcflag_t)(BRKINT | ICRNL | INPCK | ISTRIP | IXON);
    t.c_lflag &= ~(tcflag_t)(ECHO | ICANON | IEXTEN | ISIG);
    t.c_cc[VMIN] = 1;
    t.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &t);
    fputs("\x1b[?2004h", stdout);
    fflush(stdout);
}

static void user_terminal(void) {
    fputs("\x1b[?2004l", stdout);
    fflush(stdout);
    tcsetattr(STDIN_FILENO, TCSANOW, &user_mode);
}

static size_t screen_columns(void) {
    struct winsize ws;
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col ? ws.ws_col : 80;
}

static void write_out(Editor *e) {
    fflush(stdout);
    for (size_t done = 0; done < e->out.count;) {
        ssize_t w = write(STDOUT_FILENO, e->out.data + done, e->out.count - done);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) break;
        done += (size_t)w;
    }
    editor_flush(e);
}

static int input_within(int ms) {
    struct pollfd p = {STDIN_FILENO, POLLIN, 0};
    return poll(&p, 1, ms) > 0;
}

/* What happened while waiting for a key: a resize, a SIGINT from outside. */
static void signals_seen(Editor *e) {
    if (resized) {
        resized = 0;
        editor_resize(e, screen_columns());
    }
    if (interrupted) {
        interrupted = 0;
        editor_interrupt(e);
    }
    write_out(e);
}

static EditorEvent suspend(Editor *e) {
    user_terminal();
    raise(SIGTSTP);
    raw_mode();
    editor_redraw(e);
    write_out(e);
    return EDITOR_MORE;
}

/* One line from the editor: 1 when there is one, 0 at the end. */
static int read_line(Editor *e) {
    interrupted = 0;
    raw_mode();
    editor_begin(e);
    EditorEvent ev = editor_pending(e) ? editor_feed(e, "", 0) : EDITOR_MORE;
    write_out(e);
    while (ev == EDITOR_MORE && !stop_signal) {
        if (editor_pending(e) && !input_within(escape_wait_ms)) editor_timeout(e);
        char buf[4096];
        ssize_t n = read(STDIN_FILENO, buf, sizeof buf);
        if (n < 0 && errno == EINTR) {
            signals_seen(e);
            continue;
        }
        if (n <= 0) break;
        ev = editor_feed(e, buf, (size_t)n);
        terminal_wipe(buf, (size_t)n);
        write_out(e);
        if (ev == EDITOR_SUSPEND) ev = suspend(e);
    }
    user_terminal();
    return ev == EDITOR_LINE && !stop_signal;
}

/* Colours only where the user wants them (NO_COLOR set and not empty says
   no) and the terminal can show them. */
static int wants_colour(void) {
    const char *no = getenv("NO_COLOR"), *term = getenv("TERM");
    return !(no && *no) && term && *term && strcmp(term, "dumb") != 0;
}

static int error_word(const char *answer) {
    size_t n = strlen(answer);
    return n > 2 && answer[0] == '>' && answer[n - 1] == '<';
}

static void show_answer(const char *answer) {
    if (colour && error_word(answer)) printf(": \x1b[31m%s\x1b[0m\n\n", answer);
    else printf(": %s\n\n", answer);
}

static char **complete_names(void *env, const char *word) { return ListVisibleNames(word, env); }

static void run_lines(Editor *e, History *h, Arbenv *env) {
    for (;;) {
        fputs("\n", stdout);
        if (!read_line(e)) break;
        const char *text = editor_line(e);
        if (ends_session(text)) break;
        history_add(h, text);
        char *answer = ArbevalScript(text, env, 1);
        show_answer(answer ? answer : "");
        FreeString(answer);
        if (stop_signal) break;
    }
}

int run_terminal(Arbenv *env) {
    tcgetattr(STDIN_FILENO, &user_mode);
    handle(SIGINT, on_interrupt);
    handle(SIGWINCH, on_resize);
    handle(SIGTERM, on_stop);
    handle(SIGHUP, on_stop);
    colour = wants_colour();
    printf("Ostravine %s, help() for help, empty line to save and quit\n", OSTR_VERSION);

    History h;
    history_init(&h, history_limit);
    history_load(&h, HISTORY_FILE_NAME);
    Editor e;
    const char *prompt = colour ? "\x1b[1;36m: \x1b[0m" : ": ";
    editor_init(&e, prompt, 2, screen_columns(), &h);
    e.complete = complete_names;
    e.release = FreeStringVector;
    e.complete_data = env;
    run_lines(&e, &h, env);
    editor_free(&e);
    history_save(&h, HISTORY_FILE_NAME);
    history_free(&h);
    /* From here on Ctrl-C no longer stops a line; the save is not a line. */
    signal(SIGINT, SIG_DFL);
    fflush(stdout);
    return stop_signal;
}
