/* Loading and saving the state file. Load checks, in order: the file opens
   as a regular file, the version at offset 128 is 16.97, the digest in front
   matches the body, the tree in the body holds an environment under
   "mathAE". Save writes the new file whole beside the old one before it
   takes its place, and a start finishes a save that was killed. */
#define _DEFAULT_SOURCE

#include "statefile.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#ifdef OSTR_SAVE_FAULTS
#include <signal.h>
#endif

#define STATE_VERSION 16.97
#define STATE_KEY "mathAE"
#define STATE_TYPE "arbeval_environment"
#define DIGEST_CHARS 128
#define MAX_LINKS 40

static void *(*const volatile wipe_fn)(void *, int, size_t) = memset;

void wipe_bytes(void *p, size_t n) {
    if (p && n) wipe_fn(p, 0, n);
}

/* Test builds stop the process dead at a named step of the save, the way a
   kill or a power cut would, so that tests can look at what is left. */
#ifdef OSTR_SAVE_FAULTS
static void fault_point(const char *step) {
    const char *at = getenv("OSTR_SAVE_FAULT");
    if (at && strcmp(at, step) == 0) raise(SIGKILL);
}
#else
#define fault_point(step) ((void)0)
#endif

static void close_stream(MemFile *stream) {
    if (!stream) return;
    if (MemGetBufSize(stream) > 0) wipe_bytes(MemGetBufHandle(stream), (size_t)MemGetBufSize(stream));
    MemClose(stream);
}

static char *name_with(const char *name, const char *suffix) {
    size_t a = strlen(name), b = strlen(suffix);
    char *s = malloc(a + b + 1);
    if (!s) return NULL;
    memcpy(s, name, a);
    memcpy(s + a, suffix, b + 1);
    return s;
}

/* ---- Where the state file is ---- */

/* The file a state name stands for and the names beside it. */
typedef struct Place {
    char *target; /* the name, or the file its symbolic links lead to */
    char *temp;   /* the new file is written here first */
    char *aside;  /* a refused file is kept here */
    char *dir;    /* the directory holding all three */
} Place;

static void place_free(Place *p) {
    free(p->target);
    free(p->temp);
    free(p->aside);
    free(p->dir);
}

/* The directory part of a path, "." for a bare name. */
static char *dir_of(const char *path) {
    const char *slash = strrchr(path, '/');
    if (!slash) return name_with(".", "");
    if (slash == path) return name_with("/", "");
    char *d = name_with(path, "");
    if (d) d[slash - path] = '\0';
    return d;
}

/* One step along a link: its text, relative to the link's own directory. */
static char *link_step(const char *path) {
    char text[4096];
    ssize_t n = readlink(path, text, sizeof text - 1);
    if (n <= 0 || (size_t)n >= sizeof text - 1) return NULL;
    text[n] = '\0';
    const char *slash = strrchr(path, '/');
    if (text[0] == '/' || !slash) return name_with(text, "");
    size_t keep = (size_t)(slash - path) + 1;
    char *next = malloc(keep + (size_t)n + 1);
    if (!next) return NULL;
    memcpy(next, path, keep);
    memcpy(next + keep, text, (size_t)n + 1);
    return next;
}

/* Follows symbolic links from the name to the file they lead to, which need
   not exist. A link that is not the user's own is not followed, so that a
   directory someone else controls cannot point the save at the user's
   files: the answer is then NULL, as for a chain of more than 40 links. */
static char *follow_links(const char *name) {
    char *path = name_with(name, "");
    for (int hops = 0; path; ++hops) {
        struct stat st;
        if (lstat(path, &st) != 0 || !S_ISLNK(st.st_mode)) return path;
        char *next = hops < MAX_LINKS && st.st_uid == geteuid() ? link_step(path) : NULL;
        free(path);
        path = next;
    }
    return NULL;
}

static int place_init(Place *p, const char *name) {
    memset(p, 0, sizeof *p);
    p->target = follow_links(name);
    if (!p->target) return 0;
    p->temp = name_with(p->target, ".tmp");
    p->aside = name_with(p->target, ".rejected");
    p->dir = dir_of(p->target);
    return p->temp && p->aside && p->dir;
}

/* Opens a regular file for reading. A directory, a pipe or a device is not
   a state file: errno is then EISDIR, and nothing blocks on a pipe. */
static FILE *open_regular(const char *path) {
    int fd = open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return NULL;
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(fd);
        errno = EISDIR;
        return NULL;
    }
    FILE *f = fdopen(fd, "rb");
    if (!f) close(fd);
    return f;
}

/* ---- Reading ---- */

/* The version as a second handle reads it; a file too short to hold one
   gets -1, which no check accepts. */
static double read_version(const char *name) {
    double version = -1.0;
    FILE *b = open_regular(name);
    if (!b) return version;
    if (fseek(b, DIGEST_CHARS, SEEK_SET) != 0 || fread(&version, 1, sizeof version, b) != sizeof version)
        version = -1.0;
    fclose(b);
    return version;
}

/* Reads the digest and the body behind it (the rest of the file). Answers
   the body, positioned at its end, when the digest matches it; else NULL.
   A file of exactly 128 bytes has no body to hash. */
static MemFile *checked_body(FILE *a) {
    char expected[DIGEST_CHARS + 1];
    memset(expected, '0', DIGEST_CHARS);
    expected[DIGEST_CHARS] = '\0';
    MemFile *body = NULL;
    char *digest = NULL;
    if (fread(expected, 1, DIGEST_CHARS, a) == DIGEST_CHARS && (body = MemFRead(a)) != NULL) {
        MemSetBufPos(body, (uint32_t)MemGetBufSize(body));
        digest = SHA512FromByteArray(MemGetBufHandle(body), (uint64_t)MemGetBufSize(body));
        if (!digest || strcmp(digest, expected) != 0) {
            close_stream(body);
            body = NULL;
        }
    }
    FreeString(digest);
    wipe_bytes(expected, DIGEST_CHARS);
    return body;
}

/* A complete state file: the version and a digest that matches the body. */
static int is_whole(FILE *f) {
    MemFile *body = checked_body(f);
    double version = -1.0;
    if (body && MemGetBufSize(body) >= (int32_t)sizeof version)
        memcpy(&version, MemGetBufHandle(body), sizeof version);
    close_stream(body);
    return CompareFloats(version, STATE_VERSION) != 0;
}

static int path_is_whole(const char *path) {
    FILE *f = open_regular(path);
    if (!f) return 0;
    int whole = is_whole(f);
    fclose(f);
    return whole;
}

/* Checks the digest and reads the tree; prints the message of the check
   that fails. Answers the environment, owned by *tree, or NULL. */
static Arbenv *load_body(FILE *a, const char *name, ArbTree **tree) {
    MemFile *body = checked_body(a);
    if (!body) {
        printf("The integrity of the state file '%s' could not be validated, generating a new environment.\n", name);
        return NULL;
    }
    MemSetBufPos(body, 8);
    ArbTree *t = readArbTreeFromStream(body, 0);
    Arbenv *env = t ? getVal(STATE_KEY, t, STATE_TYPE) : NULL;
    if (env) {
        *tree = t;
    } else {
        if (t) {
            freeArbTree(t, NULL, 1);
            FreeBlock(t);
        }
        printf("The environment could not be found in the state file '%s', generating a new environment.\n", name);
    }
    close_stream(body);
    return env;
}

/* ---- Replacing the file ---- */

static int same_file(const struct stat *a, const struct stat *b) {
    return a->st_dev == b->st_dev && a->st_ino == b->st_ino;
}

/* Takes the lock on an open temporary file and checks that the name still
   leads to it: a save that held it before may have renamed it away.
   Answers 1 when held, 0 when the name moved on, -1 when another save keeps
   it longer than `wait_ms`. On a file system without locks it goes on
   unlocked. */
static int lock_temporary(int fd, const char *temp, int wait_ms) {
    while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK) break;
        if (wait_ms <= 0) return -1;
        const struct timespec pause = {0, 10 * 1000 * 1000};
        nanosleep(&pause, NULL);
        wait_ms -= 10;
    }
    struct stat held, named;
    if (fstat(fd, &held) != 0 || lstat(temp, &named) != 0) return 0;
    return same_file(&held, &named) && S_ISREG(held.st_mode);
}

/* Creates (or takes over) the temporary file, empty, locked for as long as
   it stays open, so that a start that looks for a killed save leaves a save
   in progress alone. A link at the temporary name is removed, never written
   through. Answers the descriptor, or -1. */
static int open_temporary(const Place *p) {
    for (int tries = 0; tries < 8; ++tries) {
        int fd = open(p->temp, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
        if (fd < 0) {
            if (errno == ELOOP && unlink(p->temp) == 0) continue;
            return -1;
        }
        int held = lock_temporary(fd, p->temp, 10000);
        if (held > 0 && ftruncate(fd, 0) == 0) return fd;
        close(fd);
        if (held < 0) return -1;
    }
    return -1;
}

/* The file at the target stays reachable under the aside name, replacing an
   older one there: a second name (a hard link) is made for it before the new
   file takes the target's place, so that the target holds a whole file at
   every moment. Where hard links are not supported the file is renamed
   aside; a kill right after that leaves the complete temporary file, which
   the next start puts in place. */
static int keep_aside(const Place *p) {
    if (link(p->target, p->aside) == 0 || errno == ENOENT) return 1;
    if (errno == EEXIST && unlink(p->aside) == 0 && (link(p->target, p->aside) == 0 || errno == ENOENT)) return 1;
    return rename(p->target, p->aside) == 0 || errno == ENOENT;
}

/* A rename is durable once the directory that holds the names is synced. */
static int sync_dir(const char *dir) {
    int fd = open(dir, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return 0;
    int ok = fsync(fd) == 0 || errno == EINVAL;
    close(fd);
    return ok;
}

/* The temporary file, complete and synced, takes the target's place.
   *moved tells whether the temporary name is gone. */
static int put_in_place(const Place *p, int keep_target, int *moved) {
    *moved = 0;
    if (keep_target && !keep_aside(p)) return 0;
    fault_point("aside");
    if (rename(p->temp, p->target) != 0) return 0;
    *moved = 1;
    fault_point("renamed");
    return sync_dir(p->dir);
}

/* Anything but a regular file at the target (a directory, a pipe, a
   device) is never replaced; nor is a target that could not be found. */
static int target_usable(const Place *p) {
    struct stat st;
    if (stat(p->target, &st) == 0) return S_ISREG(st.st_mode);
    return errno == ENOENT;
}

static int newer_or_same(const struct stat *a, const struct stat *b) {
    if (a->st_mtim.tv_sec != b->st_mtim.tv_sec) return a->st_mtim.tv_sec > b->st_mtim.tv_sec;
    return a->st_mtim.tv_nsec >= b->st_mtim.tv_nsec;
}

/* A temporary file left by a save that was killed: when it is complete and
   not older than the target, it is the user's latest work and takes the
   target's place (the target kept aside when it is not a whole state file
   itself); otherwise it is removed. One that another save holds locked is
   left alone, and so is one that cannot replace the target. */
static void recover_temporary(const Place *p) {
    int fd = open(p->temp, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return;
    FILE *f = lock_temporary(fd, p->temp, 0) > 0 ? fdopen(fd, "rb") : NULL;
    if (!f) {
        close(fd);
        return;
    }
    struct stat held, target;
    int whole = is_whole(f) && fstat(fd, &held) == 0;
    int present = stat(p->target, &target) == 0;
    if (!whole || (present && S_ISREG(target.st_mode) && !newer_or_same(&held, &target))) {
        unlink(p->temp);
    } else if (target_usable(p)) {
        int moved;
        put_in_place(p, present && !path_is_whole(p->target), &moved);
    }
    fclose(f);
}

/* ---- The state file ---- */

Arbenv *state_load(const char *name, ArbTree **tree, int *rejected) {
    *tree = NULL;
    *rejected = 0;
    Place p;
    FILE *a = NULL;
    if (place_init(&p, name)) {
        recover_temporary(&p);
        a = open_regular(p.target);
        /* A file that is there but cannot be read is still somebody's work;
           what is not a regular file is never moved. */
        if (!a && errno != ENOENT && errno != EISDIR) *rejected = 1;
    }
    if (!a) {
        place_free(&p);
        printf("The default input environment file '%s' could not be loaded, generating a new environment.\n", name);
        return InitializeTopLevelEnvironment();
    }
    Arbenv *env = NULL;
    if (!CompareFloats(read_version(p.target), STATE_VERSION))
        printf("The environment version in the file '%s' is obsolete, generating a new environment.\n", name);
    else
        env = load_body(a, name, tree);
    fclose(a);
    place_free(&p);
    if (env) return env;
    *rejected = 1;
    return InitializeTopLevelEnvironment();
}

/* The tree that is saved: the session's own, or a new one holding a copy of
   the environment. Answers 0 when the copy could not be made. */
static int build_tree(Arbenv *env, ArbTree **tree) {
    if (*tree) return 1;
    *tree = initializeArbTree();
    if (!*tree) return 0;
    void *copy = copyArbenv(env);
    if (!copy) return 0;
    ArbValue *entry = createArbValue(copy, STATE_TYPE);
    if (!entry) {
        freeArbenv(copy);
        return 0;
    }
    insertArbNode(*tree, NULL, STATE_KEY, entry);
    return getVal(STATE_KEY, *tree, STATE_TYPE) != NULL;
}

/* Digest and body into the open file, flushed and synced to the disk. */
static int write_file(FILE *f, ArbTree *tree) {
    MemFile *stream = MemOpen(18);
    if (!stream) return 0;
    memset(MemGetBufHandle(stream), 0, 18);
    double version = STATE_VERSION;
    MemWrite(&version, sizeof version, 1, stream);
    writeArbTreeToStream(tree, NULL, stream, 0);
    uint32_t n = MemGetBufPos(stream);
    char *digest = SHA512FromByteArray(MemGetBufHandle(stream), n);
    int ok = digest && fwrite(digest, 1, DIGEST_CHARS, f) == DIGEST_CHARS;
#ifdef OSTR_SAVE_FAULTS
    fflush(f);
    fault_point("partial");
#endif
    ok = ok && MemFWrite(stream, f) == n;
    ok = ok && fflush(f) == 0 && fsync(fileno(f)) == 0;
    FreeString(digest);
    close_stream(stream);
    return ok;
}

/* The new file gets the permissions of the one it replaces. */
static void keep_mode(int fd, const char *target) {
    struct stat st;
    if (stat(target, &st) == 0 && S_ISREG(st.st_mode)) fchmod(fd, st.st_mode & 07777);
}

int state_save(const char *name, Arbenv *env, ArbTree **tree, int keep_rejected, int *opened) {
    Place p;
    int ok = 0;
    int fd = place_init(&p, name) && target_usable(&p) ? open_temporary(&p) : -1;
    FILE *f = fd >= 0 ? fdopen(fd, "wb") : NULL;
    if (!f && fd >= 0) {
        unlink(p.temp);
        close(fd);
    }
    *opened = f != NULL;
    if (f) {
        keep_mode(fd, p.target);
        ok = build_tree(env, tree) && write_file(f, *tree);
        fault_point("written");
        int moved = 0;
        ok = ok && put_in_place(&p, keep_rejected, &moved);
        /* Removed while still locked, so it is still this save's file. */
        if (!moved) unlink(p.temp);
        /* Everything was flushed and synced above; closing releases the lock. */
        fclose(f);
    }
    if (!ok) printf("The local environment could not be persisted to file.\n");
    place_free(&p);
    return ok;
}
