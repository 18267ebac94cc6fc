/* The evaluator of expressions: one expression text in an environment to
   its answer. */
#ifndef OSTRAVINE_LANG_H
#define OSTRAVINE_LANG_H

#include "ostravine/environment.h"
#include "ostravine/export.h"

OSTR_BEGIN_DECLS

/* Evaluates one expression (no statements, no assignment) in env and
   answers a new text: the value with the environment's significant digits,
   a formula for an expression with free names, or an error word such as
   ">invalid_expression<". Complex values read "re+im*i". NULL text or env
   answer ">invalid_expression<"; NULL only when memory runs out. Release
   the answer with FreeString. Needs InitializeGlobals. */
OSTR_API char *ArbevalExpression(const char *text, Arbenv *env) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
