/* Environments and the evaluator of expressions.
   InitializeGlobals builds the process-wide tables (the type map of the
   typed tree, the binary operation table and operator lists of the
   evaluator, the built-in function table) and TerminateGlobals frees them;
   call it once before any evaluation and TerminateGlobals once at the end.
   An Arbenv is an environment: the named objects of a session. */
#ifndef OSTRAVINE_ENVIRONMENT_H
#define OSTRAVINE_ENVIRONMENT_H

#include <stdint.h>
#include "ostravine/export.h"

typedef struct Arbenv Arbenv;

OSTR_BEGIN_DECLS

/* Builds the globals. initScriptName names the start-up script that the
   script layer runs when flag is non-zero (it may be NULL). Answers 1 on
   success, 0 when memory ran out (nothing is left allocated then). Calling
   it again while the globals exist rebuilds them. */
OSTR_API int32_t InitializeGlobals(const char *initScriptName, uint32_t flag) OSTR_NOEXCEPT;

/* Frees everything InitializeGlobals built. Harmless when nothing is built. */
OSTR_API void TerminateGlobals(void) OSTR_NOEXCEPT;

/* A new top-level environment: 15 significant digits, a random seed from the
   clock and the default assignments (pi, e). NULL when memory runs out.
   Released with TerminateEnvironment. */
OSTR_API Arbenv *InitializeTopLevelEnvironment(void) OSTR_NOEXCEPT;

/* Stores the default assignments again, replacing objects of those names.
   NULL is ignored. */
OSTR_API void RestoreDefaultAssignments(Arbenv *env) OSTR_NOEXCEPT;

/* Frees the environment and every object it holds. NULL is ignored. */
OSTR_API void TerminateEnvironment(Arbenv *env) OSTR_NOEXCEPT;

/* The count of significant digits of results shown to the user (0 for a NULL
   environment); the setter stores n unchanged. */
OSTR_API int32_t GetSignificantDigits(const Arbenv *env) OSTR_NOEXCEPT;
OSTR_API void SetSignificantDigits(Arbenv *env, int32_t n) OSTR_NOEXCEPT;

/* The environment as a typed-tree value of type "arbeval_environment"
   (InitializeGlobals registers these four as its handlers). The stream is a
   FILE* when mode is 1, a MemFile* otherwise; the layout is in
   docs/session.md.
   writeArbenv writes the environment (an Arbenv*) as one record: its named
   objects, user functions, classes, significant digits, random seed and the
   random generator's shuffle table. Nothing is written for a NULL env.
   readTopArbenv reads one record and answers a new top-level environment
   (an Arbenv*, released with TerminateEnvironment or freeArbenv); it also
   sets the random generator's shuffle table from the record. NULL when the
   record is damaged or cut short, whatever the bytes: nothing is trusted.
   copyArbenv answers a deep copy (NULL for NULL); freeArbenv frees one. */
OSTR_API void writeArbenv(void *env, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readTopArbenv(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyArbenv(void *env) OSTR_NOEXCEPT;
OSTR_API void freeArbenv(void *env) OSTR_NOEXCEPT;

/* Evaluates one expression (no statements, no assignment) in env and
   answers a new text: the value with the environment's significant digits,
   a formula for an expression with free names, or an error word such as
   ">invalid_expression<". Complex values read "re+im*i". NULL text or env
   answer ">invalid_expression<"; NULL only when memory runs out. Release
   the answer with FreeString. Needs InitializeGlobals. */
OSTR_API char *ArbevalExpression(const char *text, Arbenv *env) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
