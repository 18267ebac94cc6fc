/* Running script lines: statements, assignments, blocks and user functions,
   and the process-wide set-up they need. See docs/language.md for the
   language. */
#ifndef OSTRAVINE_SCRIPT_H
#define OSTRAVINE_SCRIPT_H

#include <stdint.h>
#include "ostravine/environment.h"
#include "ostravine/export.h"

OSTR_BEGIN_DECLS

/* Builds the globals: the type map of the typed tree, the binary operation
   table and operator lists of the evaluator, the built-in function table.
   Call it once before any evaluation and TerminateGlobals once at the end.
   initScriptName names the start-up script that the script layer runs when
   flag is non-zero (it may be NULL). Answers 1 on success, 0 when memory ran
   out (nothing is left allocated then). Calling it again while the globals
   exist rebuilds them. */
OSTR_API int32_t InitializeGlobals(const char *initScriptName, uint32_t flag) OSTR_NOEXCEPT;

/* Frees everything InitializeGlobals built. Harmless when nothing is built. */
OSTR_API void TerminateGlobals(void) OSTR_NOEXCEPT;

/* Runs one script text (one line as the user typed it: statements joined
   by ",", assignments, blocks) in env and answers a new text: the answers
   of the statements joined by blank lines, "x <- 2" for an assignment, or
   an error word such as ">invalid_expression<". flag is 1 for a line typed
   at the top level (it ends the line's housekeeping and starts a fresh
   abort state), 0 for a nested run. A line stopped by a bound (recursion,
   nesting, loop passes or time, string or line size) answers
   ">evaluation_aborted<" and the environment stays usable. NULL text or
   env answer ">invalid_expression<"; NULL only when memory runs out.
   Release the answer with FreeString. Needs InitializeGlobals. */
OSTR_API char *ArbevalScript(const char *text, Arbenv *env, uint32_t flag) OSTR_NOEXCEPT;

/* The names a word typed at env may complete to, for a front end's
   completion: for a name prefix, the predefined functions, the statement
   words, and the objects, functions and classes visible from env; for
   "object.prefix", the methods of that object's type (and the members of a
   class instance). Each holds the whole name; functions and methods end in
   "(", block keywords in ":". Sorted, each once. A string vector (texts
   closed by an empty text) to release with FreeStringVector; NULL for NULL
   arguments or when memory runs out. */
OSTR_API char **ListVisibleNames(const char *word, Arbenv *env) OSTR_NOEXCEPT;

/* Asks the line under way to stop: its loops and evaluations see the
   request at their next step and the line answers ">evaluation_aborted<";
   the environment keeps everything done before. The next top-level
   ArbevalScript starts without it. Async-signal-safe: it only sets a flag,
   so a SIGINT handler may call it. */
OSTR_API void RequestAbort(void) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
