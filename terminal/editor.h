/* A line editor on ANSI sequences: the line, the cursor, the keys that move
   and edit, history recall and search, completion, and drawing the line over
   as many screen rows as it needs. It reads bytes and writes bytes; the
   terminal itself (raw mode, signals, reading) belongs to the caller, so the
   editor runs the same on a test's byte strings. */
#ifndef OSTRAVINE_TERMINAL_EDITOR_H
#define OSTRAVINE_TERMINAL_EDITOR_H

#include <stddef.h>

#include "terminal/history.h"

/* The completions of a word (a name, or "object.prefix"): a list of texts
   closed by an empty text, released by the matching release function. A
   completion that ends in "(" or ":" is a whole word; when one is left it is
   inserted with that ending. */
typedef char **(*EditorComplete)(void *data, const char *word);
typedef void (*EditorRelease)(char **list);

typedef struct Bytes {
    char *data;
    size_t count, capacity;
} Bytes;

/* What a fed key did. */
typedef enum EditorEvent {
    EDITOR_MORE,     /* keep feeding */
    EDITOR_LINE,     /* Enter: the line is ready (editor_line) */
    EDITOR_END,      /* Ctrl-D on an empty line */
    EDITOR_SUSPEND,  /* Ctrl-Z: the caller stops the process, then editor_redraw */
} EditorEvent;

typedef struct Editor {
    Bytes line;     /* the text, always zero-terminated */
    size_t cursor;  /* byte offset into line */
    Bytes out;      /* what to write to the terminal next */
    Bytes keys;     /* bytes read but not yet taken: a key cut short, or what follows Enter */
    Bytes kill;     /* the last text killed, for Ctrl-Y */
    Bytes saved;    /* the new line while older ones are recalled */
    Bytes query;    /* the Ctrl-R search text */
    Bytes saved_search; /* the line as it was when the search began */
    const char *prompt;
    size_t prompt_columns;
    size_t columns;     /* screen width */
    size_t cursor_row;  /* screen row of the cursor below the prompt's first row */
    History *history;
    size_t recalled;  /* index into history; history->count for the new line */
    size_t found;     /* the entry the search shows; history->count for none */
    size_t drawn;     /* bytes of the line on screen when only appends followed; -1 else */
    int searching, pasting, tabs, after_cr;
    EditorComplete complete;
    EditorRelease release;
    void *complete_data;
} Editor;

/* A new editor: prompt (which may hold colour sequences) takes
   prompt_columns columns. history and complete may be NULL. */
void editor_init(Editor *e, const char *prompt, size_t prompt_columns, size_t columns, History *history);
/* Wipes and releases every buffer. */
void editor_free(Editor *e);

/* Starts a fresh line: empty text, the prompt drawn. */
void editor_begin(Editor *e);
/* Takes the bytes read from the terminal and runs the keys in them until a
   line is done (or they run out); bytes after that key wait for the next
   call. Then e->out holds what to write. */
EditorEvent editor_feed(Editor *e, const char *bytes, size_t n);
/* True when keys are waiting (after a finished line). */
int editor_pending(const Editor *e);
/* A lone Escape: the bytes of a key cut short are given up. */
void editor_timeout(Editor *e);
/* The screen width changed; the line is drawn again. */
void editor_resize(Editor *e, size_t columns);
/* The line is drawn again from the cursor's row (after a suspend). */
void editor_redraw(Editor *e);
/* Ctrl-C at the prompt: the line is left on screen marked "^C" and a fresh
   one begins. */
void editor_interrupt(Editor *e);
/* The finished line's text; valid until the next begin. */
const char *editor_line(const Editor *e);
/* Empties e->out after the caller wrote it; its bytes are wiped. */
void editor_flush(Editor *e);

#endif
