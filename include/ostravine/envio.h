/* The environment as a typed-tree value of type "arbeval_environment"
   (InitializeGlobals registers these four as its handlers). The stream is a
   FILE* when mode is 1, a MemFile* otherwise; the layout is in
   docs/session.md. */
#ifndef OSTRAVINE_ENVIO_H
#define OSTRAVINE_ENVIO_H

#include <stdint.h>
#include "ostravine/environment.h"
#include "ostravine/export.h"

OSTR_BEGIN_DECLS

/* writeArbenv writes the environment (an Arbenv*) as one record: its named
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

OSTR_END_DECLS

#endif
