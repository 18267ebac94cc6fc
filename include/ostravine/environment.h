/* Environments: the named objects of a session. An Arbenv is the top-level
   environment or a nested scope; the functions here make, reset and free a
   top-level one and read and set its significant digits. */
#ifndef OSTRAVINE_ENVIRONMENT_H
#define OSTRAVINE_ENVIRONMENT_H

#include <stdint.h>
#include "ostravine/export.h"

typedef struct Arbenv Arbenv;

OSTR_BEGIN_DECLS

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

/* The history flag: while it is set, every line run by ArbevalScript with
   flag 1 is recorded with its answer in the environment's history, which
   history() shows and history(n) runs again (docs/language.md). A new
   environment starts with it clear; the console sets it. The flag and the
   history travel with the environment record (writeArbenv). GetHistoryFlag
   answers 0 or 1 (0 for NULL); SetHistoryFlag sets it for a non-zero on. */
OSTR_API int32_t GetHistoryFlag(const Arbenv *env) OSTR_NOEXCEPT;
OSTR_API void SetHistoryFlag(Arbenv *env, int32_t on) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
