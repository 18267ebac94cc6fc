/* The lines entered at the terminal, newest last, bounded in count, and the
   file that keeps them across runs: one line per entry, readable and
   writable by the user only. */
#ifndef OSTRAVINE_TERMINAL_HISTORY_H
#define OSTRAVINE_TERMINAL_HISTORY_H

#include <stddef.h>

/* Longer lines (a pasted block of data, say) are not kept. */
#define HISTORY_LINE_MAX 16384

typedef struct History {
    char **lines;  /* oldest first */
    size_t count;
    size_t limit;  /* the oldest lines go past this many */
} History;

/* An empty history keeping at most limit lines (at least 1). */
void history_init(History *h, size_t limit);
/* Wipes and releases every line. */
void history_free(History *h);

/* Adds a line unless it is empty, too long or equals the newest. Answers 0 only when
   memory ran out (the history is then unchanged). */
int history_add(History *h, const char *line);

/* Reads the file's lines after those held (a missing file is an empty one).
   A file that is not a regular file of the user's, or that others may read
   or write, is not read: answers 0 then, 1 otherwise. */
int history_load(History *h, const char *path);

/* Writes the newest limit lines to the file through a temporary file made
   with mode 0600 beside it, renamed over it. Answers 1 on success. */
int history_save(const History *h, const char *path);

/* Overwrites n bytes with zeros in a way the compiler cannot drop. */
void terminal_wipe(void *p, size_t n);

#endif
