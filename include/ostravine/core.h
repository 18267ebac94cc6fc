/* Texts handed across the C face: every text the library returns is a heap
   block that the caller releases with FreeString, which overwrites it with
   zero bytes first. */
#ifndef OSTRAVINE_CORE_H
#define OSTRAVINE_CORE_H

#include <stddef.h>
#include "ostravine/export.h"

OSTR_BEGIN_DECLS

/* A new heap copy of a zero-terminated text; NULL for NULL or when memory
   runs out. */
OSTR_API char *StrDup(const char *text) OSTR_NOEXCEPT;

/* Overwrites the text with zero bytes over its length, then releases it.
   NULL is ignored. */
OSTR_API void FreeString(char *text) OSTR_NOEXCEPT;

/* Releases any other block the library returned (vectors use their own
   Free... functions; this is for plain blocks such as byte buffers). */
OSTR_API void FreeBlock(void *block) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
