/* The history list and its file. Lines are the user's text: every copy is
   wiped before it is released, the file is made 0600 from the start (never
   widened later), and a file that others could read or change is left alone. */
#define _POSIX_C_SOURCE 200809L

#include "terminal/history.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

void terminal_wipe(void *p, size_t n) {
    volatile unsigned char *b = p;
    while (n--) *b++ = 0;
}

static void free_line(char *line) {
    if (!line) return;
    terminal_wipe(line, strlen(line));
    free(line);
}

void history_init(History *h, size_t limit) {
    h->lines = NULL;
    h->count = 0;
    h->limit = limit ? limit : 1;
}

void history_free(History *h) {
    for (size_t i = 0; i < h->count; ++i) free_line(h->lines[i]);
    free(h->lines);
    h->lines = NULL;
    h->count = 0;
}

static char *copy_line(const char *line, size_t n) {
    char *c = malloc(n + 1);
    if (!c) return NULL;
    memcpy(c, line, n);
    c[n] = '\0';
    return c;
}

/* Adds n bytes as the newest line, dropping the oldest past the limit. */
static int add_bytes(History *h, const char *line, size_t n) {
    if (n == 0 || n > HISTORY_LINE_MAX) return 1;
    if (h->count && strlen(h->lines[h->count - 1]) == n && memcmp(h->lines[h->count - 1], line, n) == 0) return 1;
    char *c = copy_line(line, n);
    if (!c) return 0;
    if (h->count == h->limit) {
        free_line(h->lines[0]);
        memmove(h->lines, h->lines + 1, (h->count - 1) * sizeof *h->lines);
        --h->count;
    } else {
        char **grown = realloc(h->lines, (h->count + 1) * sizeof *h->lines);
        if (!grown) {
            free_line(c);
            return 0;
        }
        h->lines = grown;
    }
    h->lines[h->count++] = c;
    return 1;
}

int history_add(History *h, const char *line) { return add_bytes(h, line, strlen(line)); }

/* Only a regular file of the user's that no one else may read or write:
   another user's file would feed lines into the editor, and a readable one
   would show the user's lines to others. */
static int private_file(int fd) {
    struct stat st;
    return fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_uid == geteuid() &&
           !(st.st_mode & (S_IRWXG | S_IRWXO));
}

int history_load(History *h, const char *path) {
    int fd = open(path, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return errno == ENOENT;
    FILE *f = private_file(fd) ? fdopen(fd, "rb") : NULL;
    if (!f) {
        close(fd);
        return 0;
    }
    char *line = NULL;
    size_t cap = 0;
    ssize_t n;
    while ((n = getline(&line, &cap, f)) > 0) {
        if (line[n - 1] == '\n') --n;
        if (!add_bytes(h, line, (size_t)n)) break;
    }
    if (line) terminal_wipe(line, cap);
    free(line);
    fclose(f);
    return 1;
}

static int write_all(int fd, const char *p, size_t n) {
    while (n) {
        ssize_t w = write(fd, p, n);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) return 0;
        p += w;
        n -= (size_t)w;
    }
    return 1;
}

int history_save(const History *h, const char *path) {
    size_t plen = strlen(path);
    char *tmp = malloc(plen + 5);
    if (!tmp) return 0;
    memcpy(tmp, path, plen);
    memcpy(tmp + plen, ".tmp", 5);
    /* A leftover of our own is replaced; a link there is removed, never followed. */
    unlink(tmp);
    int fd = open(tmp, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    int ok = fd >= 0;
    for (size_t i = 0; ok && i < h->count; ++i)
        ok = write_all(fd, h->lines[i], strlen(h->lines[i])) && write_all(fd, "\n", 1);
    if (fd >= 0) ok = close(fd) == 0 && ok;
    if (ok) ok = rename(tmp, path) == 0;
    if (!ok && fd >= 0) unlink(tmp);
    free(tmp);
    return ok;
}
