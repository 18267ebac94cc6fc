/* The line editor: keys to edits, edits to screen output. The line is drawn
   whole after each batch of keys (a paste is one batch), except that text
   typed at the end of the line is only written out; the screen position of
   every character is computed the way the terminal wraps (a wide character
   that does not fit the row moves to the next), so the cursor can be put
   back on any row of a line longer than the screen. */
#include "terminal/editor.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "terminal/utf8.h"

#define ESC '\x1b'
#define CTRL(c) ((c) & 0x1f)

/* ---- byte buffers: always zero-terminated, wiped when shrunk or freed ---- */

static int bytes_reserve(Bytes *b, size_t more) {
    if (b->count + more + 1 <= b->capacity) return 1;
    size_t capacity = b->capacity ? b->capacity : 64;
    while (capacity < b->count + more + 1) capacity *= 2;
    char *data = malloc(capacity);
    if (!data) return 0;
    if (b->data) {
        memcpy(data, b->data, b->count + 1);
        terminal_wipe(b->data, b->count);
        free(b->data);
    } else {
        data[0] = '\0';
    }
    b->data = data;
    b->capacity = capacity;
    return 1;
}

static int bytes_insert(Bytes *b, size_t at, const char *p, size_t n) {
    if (!bytes_reserve(b, n)) return 0;
    memmove(b->data + at + n, b->data + at, b->count - at + 1);
    memcpy(b->data + at, p, n);
    b->count += n;
    return 1;
}

static void bytes_append(Bytes *b, const char *p, size_t n) {
    if (!b->data && !bytes_reserve(b, 0)) return;
    bytes_insert(b, b->count, p, n);
}

static void bytes_puts(Bytes *b, const char *s) { bytes_append(b, s, strlen(s)); }

static void bytes_erase(Bytes *b, size_t at, size_t n) {
    memmove(b->data + at, b->data + at + n, b->count - at - n + 1);
    b->count -= n;
    terminal_wipe(b->data + b->count + 1, n);
}

static void bytes_set(Bytes *b, const char *p, size_t n) {
    if (b->data) bytes_erase(b, 0, b->count);
    bytes_append(b, p, n);
}

static void bytes_free(Bytes *b) {
    if (b->data) terminal_wipe(b->data, b->capacity);
    free(b->data);
    b->data = NULL;
    b->count = b->capacity = 0;
}

static void printf_out(Editor *e, const char *format, size_t n) {
    char seq[32];
    snprintf(seq, sizeof seq, format, n);
    bytes_puts(&e->out, seq);
}

/* ---- screen layout ---- */

typedef struct Spot {
    size_t row, col;
} Spot;

/* Where the terminal's cursor is after s[0..n) was written from `at`. A
   column equal to the width is the terminal's pending wrap. */
static Spot advance(const Editor *e, Spot at, const char *s, size_t n) {
    for (size_t i = 0; i < n;) {
        uint32_t cp;
        i += utf8_decode(s, n, i, &cp);
        size_t w = (size_t)utf8_width(cp);
        if (at.col + w > e->columns) at.row++, at.col = 0;
        at.col += w;
    }
    return at;
}

static Spot settled(const Editor *e, Spot s) {
    if (s.col >= e->columns) s.row++, s.col = 0;
    return s;
}

/* The text as the terminal shows it: control characters as ^X. */
static void write_text(Editor *e, const char *s, size_t n) {
    size_t start = 0;
    for (size_t i = 0; i < n; ++i) {
        unsigned char c = (unsigned char)s[i];
        if (c >= 0x20 && c != 0x7f) continue;
        bytes_append(&e->out, s + start, i - start);
        char shown[2] = {'^', (char)(c ^ 0x40)};
        bytes_append(&e->out, shown, 2);
        start = i + 1;
    }
    bytes_append(&e->out, s + start, n - start);
}

static void search_prompt(const Editor *e, Bytes *p) {
    int failed = e->query.count && e->found == e->history->count;
    bytes_puts(p, failed ? "(failed search)'" : "(search)'");
    bytes_append(p, e->query.data, e->query.count);
    bytes_puts(p, "': ");
}

/* Moves from the line's end, where writing left the cursor, to its place. */
static void place_cursor(Editor *e, Spot start, Spot end) {
    if (end.col >= e->columns) bytes_puts(&e->out, "\r\n");
    end = settled(e, end);
    Spot c = settled(e, advance(e, start, e->line.data, e->cursor));
    if (end.row > c.row) printf_out(e, "\x1b[%zuA", end.row - c.row);
    bytes_puts(&e->out, "\r");
    if (c.col) printf_out(e, "\x1b[%zuC", c.col);
    e->cursor_row = c.row;
}

static Spot prompt_end(const Editor *e) {
    return settled(e, (Spot){e->prompt_columns / e->columns, e->prompt_columns % e->columns});
}

/* Writes the prompt (the search's while searching); answers where the line
   starts. */
static Spot write_prompt(Editor *e) {
    if (!e->searching) {
        bytes_puts(&e->out, e->prompt);
        return prompt_end(e);
    }
    Bytes p = {0};
    search_prompt(e, &p);
    Spot start = {0, 0};
    if (p.data) {
        bytes_append(&e->out, p.data, p.count);
        start = settled(e, advance(e, start, p.data, p.count));
    }
    bytes_free(&p);
    return start;
}

/* Draws prompt and line again from the prompt's first row. */
static void refresh(Editor *e) {
    if (e->cursor_row) printf_out(e, "\x1b[%zuA", e->cursor_row);
    bytes_puts(&e->out, "\r\x1b[J");
    Spot start = write_prompt(e);
    write_text(e, e->line.data, e->line.count);
    place_cursor(e, start, advance(e, start, e->line.data, e->line.count));
    e->drawn = e->cursor == e->line.count ? e->line.count : (size_t)-1;
}

/* After a batch of keys: text typed at the end of a line drawn up to its
   end is only written out; anything else draws the line again. */
static void show(Editor *e) {
    if (e->searching || e->drawn == (size_t)-1 || e->cursor != e->line.count || e->drawn > e->line.count) {
        refresh(e);
        return;
    }
    if (e->drawn == e->line.count) return;
    Spot from = advance(e, prompt_end(e), e->line.data, e->drawn);
    write_text(e, e->line.data + e->drawn, e->line.count - e->drawn);
    Spot end = advance(e, from, e->line.data + e->drawn, e->line.count - e->drawn);
    if (end.col >= e->columns) bytes_puts(&e->out, "\r\n");
    e->cursor_row = settled(e, end).row;
    e->drawn = e->line.count;
}

static void changed(Editor *e) { e->drawn = (size_t)-1; }

/* ---- editing ---- */

static int word_byte(unsigned char c) { return c >= 0x80 || c == '_' || (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z'); }

static size_t word_left(const Editor *e, size_t i) {
    const char *s = e->line.data;
    while (i > 0 && !word_byte((unsigned char)s[i - 1])) --i;
    while (i > 0 && word_byte((unsigned char)s[i - 1])) --i;
    return i;
}

static size_t word_right(const Editor *e, size_t i) {
    const char *s = e->line.data;
    size_t n = e->line.count;
    while (i < n && !word_byte((unsigned char)s[i])) ++i;
    while (i < n && word_byte((unsigned char)s[i])) ++i;
    return i;
}

static void insert(Editor *e, const char *p, size_t n) {
    int at_end = e->cursor == e->line.count;
    if (!bytes_insert(&e->line, e->cursor, p, n)) return;
    e->cursor += n;
    if (!at_end) changed(e);
}

static void erase(Editor *e, size_t from, size_t to) {
    if (from >= to) return;
    bytes_erase(&e->line, from, to - from);
    e->cursor = from;
    changed(e);
}

static void kill_text(Editor *e, size_t from, size_t to) {
    if (from >= to) return;
    bytes_set(&e->kill, e->line.data + from, to - from);
    erase(e, from, to);
}

static void move_to(Editor *e, size_t i) {
    if (i != e->cursor) changed(e);
    e->cursor = i;
}

static void set_line(Editor *e, const char *text, size_t n) {
    bytes_set(&e->line, text, n);
    e->cursor = e->line.count;
    changed(e);
}

/* ---- history ---- */

static void recall(Editor *e, int older) {
    History *h = e->history;
    if (!h || (older ? e->recalled == 0 : e->recalled >= h->count)) return;
    if (e->recalled == h->count) bytes_set(&e->saved, e->line.data, e->line.count);
    e->recalled = older ? e->recalled - 1 : e->recalled + 1;
    if (e->recalled == h->count) set_line(e, e->saved.data, e->saved.count);
    else set_line(e, h->lines[e->recalled], strlen(h->lines[e->recalled]));
}

/* The newest entry at or before `from` that holds the query; shown in the
   line with the cursor on the match. */
static void search_from(Editor *e, size_t from) {
    History *h = e->history;
    for (size_t i = from + 1; i-- > 0;) {
        if (i >= h->count) continue;
        const char *hit = strstr(h->lines[i], e->query.data);
        if (hit) {
            e->found = i;
            set_line(e, h->lines[i], strlen(h->lines[i]));
            e->cursor = (size_t)(hit - h->lines[i]);
            return;
        }
    }
    e->found = h->count;
}

static void start_search(Editor *e) {
    if (!e->history) return;
    e->searching = 1;
    bytes_set(&e->query, "", 0);
    bytes_set(&e->saved_search, e->line.data, e->line.count);
    e->found = e->history->count;
    changed(e);
}

static void end_search(Editor *e, int keep) {
    e->searching = 0;
    if (!keep) set_line(e, e->saved_search.data, e->saved_search.count);
    else if (e->found < e->history->count) e->recalled = e->found;
    changed(e);
}

/* A key while searching; answers 1 when it ended the search and is still
   to be run as an ordinary key. */
static int search_key(Editor *e, const char *k, size_t n) {
    unsigned char c = (unsigned char)k[0];
    if (c == CTRL('R')) {
        if (e->found < e->history->count && e->found > 0) search_from(e, e->found - 1);
    } else if (c == CTRL('G')) {
        end_search(e, 0);
    } else if (c == CTRL('C')) {
        end_search(e, 0);
        return 1;
    } else if (c == 0x7f || c == CTRL('H')) {
        if (e->query.count) bytes_erase(&e->query, utf8_prev(e->query.data, e->query.count),
                                        e->query.count - utf8_prev(e->query.data, e->query.count));
        search_from(e, e->history->count);
    } else if (c >= 0x20 && c != ESC) {
        bytes_append(&e->query, k, n);
        search_from(e, e->found < e->history->count ? e->found : e->history->count);
    } else {
        end_search(e, 1);
        return 1;
    }
    changed(e);
    return 0;
}

/* ---- completion ---- */

static int name_byte(unsigned char c) { return word_byte(c) || c == '.'; }

static size_t common_prefix(char **list) {
    size_t n = strlen(list[0]);
    for (size_t i = 1; list[i][0]; ++i) {
        size_t k = 0;
        while (k < n && list[i][k] == list[0][k]) ++k;
        n = k;
    }
    return n;
}

/* The choices in columns under the line; the line is drawn again below. */
static void list_choices(Editor *e, char **list) {
    size_t width = 0, count = 0;
    for (; list[count][0]; ++count) {
        size_t w = utf8_columns(list[count], strlen(list[count]));
        if (w > width) width = w;
    }
    width += 2;
    size_t per_row = e->columns / width ? e->columns / width : 1;
    Spot end = settled(e, advance(e, prompt_end(e), e->line.data, e->line.count));
    if (end.row > e->cursor_row) printf_out(e, "\x1b[%zuB", end.row - e->cursor_row);
    bytes_puts(&e->out, "\r\n");
    for (size_t i = 0; i < count; ++i) {
        size_t w = utf8_columns(list[i], strlen(list[i]));
        bytes_puts(&e->out, list[i]);
        if ((i + 1) % per_row == 0 || i + 1 == count) bytes_puts(&e->out, "\r\n");
        else for (; w < width; ++w) bytes_puts(&e->out, " ");
    }
    e->cursor_row = 0;
    changed(e);
}

/* The completions of the word before the cursor, from the caller. */
static char **choices(Editor *e, size_t start) {
    size_t n = e->cursor - start;
    char *word = malloc(n + 1);
    if (!word) return NULL;
    memcpy(word, e->line.data + start, n);
    word[n] = '\0';
    char **list = e->complete(e->complete_data, word);
    terminal_wipe(word, n);
    free(word);
    return list;
}

/* Tab: the choices' common beginning goes in; when that adds nothing and
   the key before was Tab too, the choices are listed. */
static void complete(Editor *e, int again) {
    size_t start = e->cursor;
    while (start > 0 && name_byte((unsigned char)e->line.data[start - 1])) --start;
    char **list = start < e->cursor && e->complete ? choices(e, start) : NULL;
    /* After a ".", the choices are the members: they replace what follows it. */
    for (size_t i = e->cursor; i > start; --i)
        if (e->line.data[i - 1] == '.') {
            start = i;
            break;
        }
    size_t typed = e->cursor - start, keep = list && list[0][0] ? common_prefix(list) : 0;
    if (keep > typed) {
        erase(e, start, e->cursor);
        insert(e, list[0], keep);
    } else if (list && list[0][0] && again) {
        list_choices(e, list);
    } else {
        bytes_puts(&e->out, "\a");
    }
    if (list) e->release(list);
}

/* ---- keys ---- */

/* The length of the key at s, or 0 when it is cut short. */
static size_t key_length(const char *s, size_t n) {
    unsigned char c = (unsigned char)s[0];
    if (c == ESC) {
        if (n < 2) return 0;
        if (s[1] == 'O') return n < 3 ? 0 : 3;
        if (s[1] != '[') return 2;
        for (size_t i = 2; i < n && i < 32; ++i)
            if (s[i] >= 0x40 && s[i] <= 0x7e) return i + 1;
        return n < 32 ? 0 : 1;
    }
    if (c < 0x80) return 1;
    uint32_t cp;
    size_t len = (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 1;
    if (len > n) {
        for (size_t i = 1; i < n; ++i)
            if (((unsigned char)s[i] & 0xC0) != 0x80) return 1;
        return 0;
    }
    return utf8_decode(s, n, 0, &cp);
}

static void delete_at_cursor(Editor *e) { erase(e, e->cursor, utf8_next(e->line.data, e->line.count, e->cursor)); }
static void backspace(Editor *e) { erase(e, utf8_prev(e->line.data, e->cursor), e->cursor); }

/* An escape sequence: arrows, Home/End, Delete, word moves, paste marks. */
static void escape_key(Editor *e, const char *k, size_t n) {
    char last = k[n - 1];
    /* Ctrl or Alt with an arrow: ESC [ 1 ; 5 C, ESC [ 1 ; 3 D. */
    int ctrl_or_alt = n == 6 && k[3] == ';' && (k[4] == '5' || k[4] == '3');
    if (n == 2) {
        if (k[1] == 'b') move_to(e, word_left(e, e->cursor));
        else if (k[1] == 'f') move_to(e, word_right(e, e->cursor));
        else if (k[1] == 'd') kill_text(e, e->cursor, word_right(e, e->cursor));
        else if (k[1] == 0x7f || k[1] == CTRL('H')) kill_text(e, word_left(e, e->cursor), e->cursor);
        return;
    }
    switch (last) {
    case 'A': recall(e, 1); break;
    case 'B': recall(e, 0); break;
    case 'C': move_to(e, ctrl_or_alt ? word_right(e, e->cursor) : utf8_next(e->line.data, e->line.count, e->cursor)); break;
    case 'D': move_to(e, ctrl_or_alt ? word_left(e, e->cursor) : utf8_prev(e->line.data, e->cursor)); break;
    case 'H': move_to(e, 0); break;
    case 'F': move_to(e, e->line.count); break;
    case '~': {
        int code = atoi(k + 2);
        if (code == 1 || code == 7) move_to(e, 0);
        else if (code == 4 || code == 8) move_to(e, e->line.count);
        else if (code == 3) delete_at_cursor(e);
        else if (code == 200) e->pasting = 1;
        break;
    }
    default: break;
    }
}

/* One key of the line being edited. */
static EditorEvent key(Editor *e, const char *k, size_t n) {
    unsigned char c = (unsigned char)k[0];
    int tab = c == '\t';
    int again = e->tabs;
    e->tabs = tab;
    if (c == ESC) {
        escape_key(e, k, n);
        return EDITOR_MORE;
    }
    if (c >= 0x20 && c != 0x7f) {
        insert(e, k, n);
        return EDITOR_MORE;
    }
    switch (c) {
    case '\r':
    case '\n': return EDITOR_LINE;
    case '\t': complete(e, again); break;
    case CTRL('A'): move_to(e, 0); break;
    case CTRL('E'): move_to(e, e->line.count); break;
    case CTRL('B'): move_to(e, utf8_prev(e->line.data, e->cursor)); break;
    case CTRL('F'): move_to(e, utf8_next(e->line.data, e->line.count, e->cursor)); break;
    case CTRL('H'):
    case 0x7f: backspace(e); break;
    case CTRL('D'):
        if (e->line.count == 0) return EDITOR_END;
        delete_at_cursor(e);
        break;
    case CTRL('K'): kill_text(e, e->cursor, e->line.count); break;
    case CTRL('U'): kill_text(e, 0, e->cursor); break;
    case CTRL('W'): kill_text(e, word_left(e, e->cursor), e->cursor); break;
    case CTRL('Y'): insert(e, e->kill.data ? e->kill.data : "", e->kill.count), changed(e); break;
    case CTRL('P'): recall(e, 1); break;
    case CTRL('N'): recall(e, 0); break;
    case CTRL('R'): start_search(e); break;
    case CTRL('L'):
        bytes_puts(&e->out, "\x1b[H\x1b[2J");
        e->cursor_row = 0;
        changed(e);
        break;
    case CTRL('C'): editor_interrupt(e); break;
    case CTRL('Z'): return EDITOR_SUSPEND;
    default: break;
    }
    return EDITOR_MORE;
}

/* A pasted byte: text goes in as it is; a line end ends the line, so a
   pasted block runs line by line; the end mark ends the paste. */
static EditorEvent paste_byte(Editor *e, const char *k, size_t n) {
    if (n == 6 && memcmp(k, "\x1b[201~", 6) == 0) {
        e->pasting = 0;
        return EDITOR_MORE;
    }
    if (k[0] == '\r' || k[0] == '\n') return EDITOR_LINE;
    insert(e, k, n);
    return EDITOR_MORE;
}

static EditorEvent run_key(Editor *e, const char *k, size_t n) {
    EditorEvent ev;
    /* A line end sent as CR LF is one line end. */
    if (k[0] == '\n' && e->after_cr) ev = EDITOR_MORE;
    else if (e->pasting) ev = paste_byte(e, k, n);
    else if (e->searching && !search_key(e, k, n)) ev = EDITOR_MORE;
    else ev = key(e, k, n);
    e->after_cr = k[0] == '\r';
    return ev;
}

/* ---- the interface ---- */

void editor_init(Editor *e, const char *prompt, size_t prompt_columns, size_t columns, History *history) {
    memset(e, 0, sizeof *e);
    e->prompt = prompt;
    e->prompt_columns = prompt_columns;
    e->columns = columns ? columns : 80;
    e->history = history;
}

void editor_free(Editor *e) {
    Bytes *all[] = {&e->line, &e->out, &e->keys, &e->kill, &e->saved, &e->saved_search, &e->query};
    for (size_t i = 0; i < sizeof all / sizeof *all; ++i) bytes_free(all[i]);
}

void editor_begin(Editor *e) {
    set_line(e, "", 0);
    e->cursor_row = 0;
    e->searching = 0;
    e->tabs = 0;
    e->recalled = e->history ? e->history->count : 0;
    bytes_puts(&e->out, e->prompt);
    e->drawn = 0;
}

EditorEvent editor_feed(Editor *e, const char *bytes, size_t n) {
    bytes_append(&e->keys, bytes, n);
    EditorEvent ev = EDITOR_MORE;
    size_t used = 0;
    while (used < e->keys.count && ev == EDITOR_MORE) {
        size_t len = key_length(e->keys.data + used, e->keys.count - used);
        if (len == 0) break;
        ev = run_key(e, e->keys.data + used, len);
        used += len;
    }
    if (used) bytes_erase(&e->keys, 0, used);
    if (ev == EDITOR_LINE || ev == EDITOR_END) {
        if (e->searching) end_search(e, 1);
        e->cursor = e->line.count;
        changed(e);
    }
    show(e);
    if (ev == EDITOR_LINE || ev == EDITOR_END) bytes_puts(&e->out, "\r\n");
    return ev;
}

int editor_pending(const Editor *e) { return e->keys.count > 0; }

void editor_timeout(Editor *e) {
    if (e->keys.count) bytes_erase(&e->keys, 0, e->keys.count);
}

void editor_resize(Editor *e, size_t columns) {
    e->columns = columns ? columns : 80;
    /* Terminals rewrap the rows to the new width, so the cursor is now on
       its row of the new layout; the drawing starts from there. */
    if (!e->searching) e->cursor_row = settled(e, advance(e, prompt_end(e), e->line.data, e->cursor)).row;
    refresh(e);
}

void editor_redraw(Editor *e) {
    e->cursor_row = 0;
    refresh(e);
}

void editor_interrupt(Editor *e) {
    if (e->searching) end_search(e, 0);
    move_to(e, e->line.count);
    show(e);
    bytes_puts(&e->out, "^C\r\n\r\n");
    editor_begin(e);
}

const char *editor_line(const Editor *e) { return e->line.data ? e->line.data : ""; }

void editor_flush(Editor *e) {
    if (e->out.count) bytes_erase(&e->out, 0, e->out.count);
}
