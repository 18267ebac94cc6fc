/* The state file of the console: the top-level environment saved at the end
   of a session and loaded at the start of the next, behind a SHA-512 digest
   and a format version. Layout and checks: docs/session.md. */
#ifndef OSTRAVINE_SESSION_STATEFILE_H
#define OSTRAVINE_SESSION_STATEFILE_H

#include "ostravine.h"

#define STATE_FILE_NAME "ostravine_auto_save.core"

OSTR_BEGIN_DECLS

/* Loads the environment saved in the file. On success answers it and sets
   *tree to the tree that was read, which owns the environment. Otherwise
   prints one message, answers a fresh environment and leaves *tree NULL;
   *rejected is then set when a file was there but failed a check, so that
   the next save keeps it aside instead of overwriting it. */
Arbenv *state_load(const char *name, ArbTree **tree, int *rejected);

/* Saves env under the file name: the body is written whole to a temporary
   file beside it and flushed to disk, and only then put in place of the old
   file, which is kept as NAME.rejected when keep_rejected is set. When *tree
   is NULL a tree holding a copy of env is built first and left in *tree.
   Answers 1 on success; on any failure prints the message, removes the
   temporary file, leaves the old file as it was and answers 0. *opened tells
   whether the temporary file could be created at all. */
int state_save(const char *name, Arbenv *env, ArbTree **tree, int keep_rejected, int *opened);

/* Overwrites n bytes with zeros in a way the compiler cannot drop. */
void wipe_bytes(void *p, size_t n);

OSTR_END_DECLS

#endif
