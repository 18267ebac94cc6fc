/* Running script lines: statements, assignments, blocks and user functions.
   See docs/language.md for the language. */
#ifndef OSTRAVINE_SCRIPT_H
#define OSTRAVINE_SCRIPT_H

#include <stdint.h>
#include "ostravine/environment.h"
#include "ostravine/export.h"

OSTR_BEGIN_DECLS

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

OSTR_END_DECLS

#endif
