/* UTF-8 decoding and the column width of a code point, by small tables of
   ranges (combining marks, wide characters), enough for a line editor:
   the terminal decides in the end, and these are the ranges terminals agree on. */
#include "terminal/utf8.h"

typedef struct Range {
    uint32_t first, last;
} Range;

/* Marks that combine with the character before them: no column of their own. */
static const Range combining[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
    {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xE0100, 0xE01EF},
};

/* Characters that take two columns. */
static const Range wide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC}, {0x25FD, 0x25FE},
    {0x2614, 0x2615},   {0x2648, 0x2653},   {0x26AA, 0x26AB},   {0x26BD, 0x26BE}, {0x2E80, 0x303E},
    {0x3041, 0x33FF},   {0x3400, 0x4DBF},   {0x4E00, 0x9FFF},   {0xA000, 0xA4CF}, {0xA960, 0xA97F},
    {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE10, 0xFE19},   {0xFE30, 0xFE6F}, {0xFF00, 0xFF60},
    {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x2FFFD},
    {0x30000, 0x3FFFD},
};

static int in_ranges(uint32_t cp, const Range *r, size_t n) {
    size_t lo = 0, hi = n;
    while (lo < hi) {
        size_t mid = (lo + hi) / 2;
        if (cp < r[mid].first) hi = mid;
        else if (cp > r[mid].last) lo = mid + 1;
        else return 1;
    }
    return 0;
}

static int continuation(unsigned char c) { return (c & 0xC0) == 0x80; }

size_t utf8_decode(const char *s, size_t n, size_t i, uint32_t *cp) {
    const unsigned char *u = (const unsigned char *)s + i;
    size_t left = n - i, len;
    uint32_t c, min;
    if (u[0] < 0x80) {
        *cp = u[0];
        return 1;
    }
    if ((u[0] & 0xE0) == 0xC0) len = 2, c = u[0] & 0x1F, min = 0x80;
    else if ((u[0] & 0xF0) == 0xE0) len = 3, c = u[0] & 0x0F, min = 0x800;
    else if ((u[0] & 0xF8) == 0xF0) len = 4, c = u[0] & 0x07, min = 0x10000;
    else len = 0, c = 0, min = 0;
    if (len == 0 || len > left) {
        *cp = 0xFFFD;
        return 1;
    }
    for (size_t k = 1; k < len; ++k) {
        if (!continuation(u[k])) {
            *cp = 0xFFFD;
            return 1;
        }
        c = (c << 6) | (u[k] & 0x3F);
    }
    /* Overlong forms, surrogates and values past U+10FFFF are not characters. */
    if (c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        *cp = 0xFFFD;
        return 1;
    }
    *cp = c;
    return len;
}

size_t utf8_next(const char *s, size_t n, size_t i) {
    uint32_t cp;
    return i < n ? i + utf8_decode(s, n, i, &cp) : n;
}

/* Steps back over continuation bytes to a start, then checks that the start
   really decodes to a sequence ending at i; otherwise the byte before i
   stands alone, as utf8_decode would read it. */
size_t utf8_prev(const char *s, size_t i) {
    if (i == 0) return 0;
    size_t j = i - 1;
    while (j > 0 && i - j < 4 && continuation((unsigned char)s[j])) --j;
    uint32_t cp;
    return j + utf8_decode(s, i, j, &cp) == i ? j : i - 1;
}

int utf8_width(uint32_t cp) {
    if (cp < 0x20 || cp == 0x7F) return 2;
    if (cp < 0x300) return 1;
    if (in_ranges(cp, combining, sizeof combining / sizeof *combining)) return 0;
    if (in_ranges(cp, wide, sizeof wide / sizeof *wide)) return 2;
    return 1;
}

size_t utf8_columns(const char *s, size_t n) {
    size_t cols = 0;
    for (size_t i = 0; i < n;) {
        uint32_t cp;
        i += utf8_decode(s, n, i, &cp);
        cols += (size_t)utf8_width(cp);
    }
    return cols;
}
