/* UTF-8 as the line editor sees it: where characters begin and end, and how
   many terminal columns each takes (wide East Asian characters and emoji
   two, combining marks none). Malformed bytes count as one column each. */
#ifndef OSTRAVINE_TERMINAL_UTF8_H
#define OSTRAVINE_TERMINAL_UTF8_H

#include <stddef.h>
#include <stdint.h>

/* Decodes the character at s[i] (i < n): its code point in *cp and its byte
   count. A malformed or cut-short sequence is one byte, code point 0xFFFD. */
size_t utf8_decode(const char *s, size_t n, size_t i, uint32_t *cp);

/* The start of the character after the one at i, and of the one before i. */
size_t utf8_next(const char *s, size_t n, size_t i);
size_t utf8_prev(const char *s, size_t i);

/* Terminal columns of one code point: 0, 1 or 2. Control characters are
   shown as ^X and take 2. */
int utf8_width(uint32_t cp);

/* Terminal columns of the bytes s[0..n). */
size_t utf8_columns(const char *s, size_t n);

#endif
