/* The console at a terminal: the same loop as on a pipe, read through the
   line editor, with history, completion, Ctrl-C that stops only the line,
   and SIGTERM and SIGHUP that end the session with the state file saved. */
#ifndef OSTRAVINE_SESSION_INTERACTIVE_H
#define OSTRAVINE_SESSION_INTERACTIVE_H

#include "ostravine.h"

/* The history file, beside the state file. */
#define HISTORY_FILE_NAME "ostravine_history"

OSTR_BEGIN_DECLS

/* True when standard input and output are both terminals. */
int at_terminal(void);

/* Runs the loop at the terminal until an empty or blank line, Ctrl-D on an
   empty line, the end of input, or SIGTERM or SIGHUP. Answers that signal,
   or 0; the caller saves and then ends by the signal. */
int run_terminal(Arbenv *env);

/* Empty, or space, tab, line feed and carriage return only (main.c). */
int ends_session(const char *text);

OSTR_END_DECLS

#endif
