/* Loading and saving the state file. Load checks, in order: the file opens,
   the version at offset 128 is 16.97, the digest in front matches the body,
   the tree in the body holds an environment under "mathAE". Save writes the
   new file whole beside the old one before it replaces it. */
#define _POSIX_C_SOURCE 200809L

#include "statefile.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define STATE_VERSION 16.97
#define STATE_KEY "mathAE"
#define STATE_TYPE "arbeval_environment"
#define DIGEST_CHARS 128

static void *(*const volatile wipe_fn)(void *, int, size_t) = memset;

void wipe_bytes(void *p, size_t n) {
    if (p && n) wipe_fn(p, 0, n);
}

static void close_stream(MemFile *stream) {
    if (!stream) return;
    if (MemGetBufSize(stream) > 0) wipe_bytes(MemGetBufHandle(stream), (size_t)MemGetBufSize(stream));
    MemClose(stream);
}

/* The version as a second handle reads it; a file too short to hold one
   gets -1, which no check accepts. */
static double read_version(const char *name) {
    double version = -1.0;
    FILE *b = fopen(name, "rb");
    if (!b) return version;
    if (fseek(b, DIGEST_CHARS, SEEK_SET) != 0 || fread(&version, 1, sizeof version, b) != sizeof version)
        version = -1.0;
    fclose(b);
    return version;
}

/* Checks the digest and reads the tree; prints the message of the check
   that fails. Answers the environment, owned by *tree, or NULL. */
static Arbenv *load_body(FILE *a, const char *name, ArbTree **tree) {
    Arbenv *env = NULL;
    char *expected = malloc(DIGEST_CHARS + 1);
    char *digest = NULL;
    MemFile *body = NULL;
    if (!expected) goto integrity;
    memset(expected, '0', DIGEST_CHARS);
    expected[DIGEST_CHARS] = '\0';
    if (fread(expected, 1, DIGEST_CHARS, a) != DIGEST_CHARS) goto integrity;
    /* A file of exactly 128 bytes has no body to hash. */
    body = MemFRead(a);
    if (!body) goto integrity;
    MemSetBufPos(body, (uint32_t)MemGetBufSize(body));
    digest = SHA512FromByteArray(MemGetBufHandle(body), (uint64_t)MemGetBufSize(body));
    if (!digest || strcmp(digest, expected) != 0) goto integrity;
    MemSetBufPos(body, 8);
    ArbTree *t = readArbTreeFromStream(body, 0);
    env = t ? getVal(STATE_KEY, t, STATE_TYPE) : NULL;
    if (env) {
        *tree = t;
    } else {
        if (t) {
            freeArbTree(t, NULL, 1);
            FreeBlock(t);
        }
        printf("The environment could not be found in the state file '%s', generating a new environment.\n", name);
    }
    goto done;
integrity:
    printf("The integrity of the state file '%s' could not be validated, generating a new environment.\n", name);
done:
    FreeString(digest);
    close_stream(body);
    if (expected) {
        wipe_bytes(expected, DIGEST_CHARS);
        free(expected);
    }
    return env;
}

Arbenv *state_load(const char *name, ArbTree **tree, int *rejected) {
    *tree = NULL;
    *rejected = 0;
    FILE *a = fopen(name, "rb");
    if (!a) {
        /* A file that is there but cannot be read is still somebody's work. */
        if (errno != ENOENT) *rejected = 1;
        printf("The default input environment file '%s' could not be loaded, generating a new environment.\n", name);
        return InitializeTopLevelEnvironment();
    }
    Arbenv *env = NULL;
    if (!CompareFloats(read_version(name), STATE_VERSION))
        printf("The environment version in the file '%s' is obsolete, generating a new environment.\n", name);
    else
        env = load_body(a, name, tree);
    fclose(a);
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

/* Digest and body into the open file, flushed to the disk. */
static int write_file(FILE *f, ArbTree *tree) {
    MemFile *stream = MemOpen(18);
    if (!stream) return 0;
    memset(MemGetBufHandle(stream), 0, 18);
    double version = STATE_VERSION;
    MemWrite(&version, sizeof version, 1, stream);
    writeArbTreeToStream(tree, NULL, stream, 0);
    uint32_t n = MemGetBufPos(stream);
    char *digest = SHA512FromByteArray(MemGetBufHandle(stream), n);
    int ok = digest && fwrite(digest, 1, DIGEST_CHARS, f) == DIGEST_CHARS && MemFWrite(stream, f) == n;
    ok = ok && fflush(f) == 0 && fsync(fileno(f)) == 0;
    FreeString(digest);
    close_stream(stream);
    return ok;
}

static char *name_with(const char *name, const char *suffix) {
    size_t a = strlen(name), b = strlen(suffix);
    char *s = malloc(a + b + 1);
    if (!s) return NULL;
    memcpy(s, name, a);
    memcpy(s + a, suffix, b + 1);
    return s;
}

int state_save(const char *name, Arbenv *env, ArbTree **tree, int keep_rejected, int *opened) {
    char *temp = name_with(name, ".tmp");
    char *aside = name_with(name, ".rejected");
    FILE *f = temp && aside ? fopen(temp, "wb") : NULL;
    *opened = f != NULL;
    int ok = 0;
    if (f) {
        ok = build_tree(env, tree) && write_file(f, *tree);
        ok = fclose(f) == 0 && ok;
        /* The old file is moved aside only once the new one is complete. */
        if (ok && keep_rejected && rename(name, aside) != 0 && errno != ENOENT) ok = 0;
        if (ok) ok = rename(temp, name) == 0;
        if (!ok) remove(temp);
    }
    if (!ok) printf("The local environment could not be persisted to file.\n");
    free(temp);
    free(aside);
    return ok;
}
