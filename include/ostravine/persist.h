/* Memory streams and the typed tree with its stream encoding.
   Every serialiser takes a stream pointer and a mode: mode 1 means the stream
   is a FILE*, any other mode means it is a MemFile*. See docs/persist.md for
   the byte encoding and for what readers do with damaged input. */
#ifndef OSTRAVINE_PERSIST_H
#define OSTRAVINE_PERSIST_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include "ostravine/export.h"
#include "ostravine/numeric.h"

/* A growable byte buffer with one read/write position. The record owns the
   buffer. For a written stream the position is also the length of the
   content; for a stream filled from a file, size is the number of bytes held. */
typedef struct MemFile {
    unsigned char *data;
    int32_t size;      /* capacity of data in bytes */
    uint32_t position; /* next byte to read or write */
} MemFile;

/* The four value handlers of a type. The stream argument is a FILE* when
   mode is 1 and a MemFile* otherwise. */
typedef void (*ArbFreeFn)(void *value);
typedef void (*ArbWriteFn)(void *value, void *stream, int32_t mode);
typedef void *(*ArbReadFn)(void *stream, int32_t mode);
typedef void *(*ArbCopyFn)(void *value);

/* One registered type, in slot order: free, write, read, copy. Any may be
   NULL. */
typedef struct ArbType {
    ArbFreeFn free;
    ArbWriteFn write;
    ArbReadFn read;
    ArbCopyFn copy;
} ArbType;

/* A typed value entry: the value (owned by the entry) and its type name.
   The type name lives in the entry's own block; release entries with
   freeArbValue, never piecewise. */
typedef struct ArbValue {
    void *value;
    char *type;
} ArbValue;

/* A node of the typed tree. colour 1 is black, 0 red. An empty leaf is a
   black node with no children, the empty key and no entry; every other node
   has two children. The key lives in the node's own block, or next to the
   node in a block of nodes the tree owns (trees read from a stream). All the empty
   leaves of a tree are one node, kept in the block of the tree record: it is
   never freed on its own, and its parent field means nothing (the tree uses
   it as scratch while deleting). */
typedef struct ArbNode {
    int32_t color;
    struct ArbNode *left;
    struct ArbNode *right;
    struct ArbNode *parent;
    char *key;
    ArbValue *entry;
} ArbNode;

/* The typed tree: a red-black tree of named, typed entries. freeValue is
   normally NULL (values are freed through the type map); when set it frees
   every value of this tree instead. Tree records come only from
   initializeArbTree, copyArbTree and the readers: the record's block also
   holds the tree's empty leaf. */
typedef struct ArbTree {
    ArbNode *root;
    ArbFreeFn freeValue;
    int32_t count;
} ArbTree;

/* The generic search tree: the same node shape holding the value itself,
   with the value handlers fixed for the whole tree. Its records, like the
   typed tree's, come only from its own functions and hold its empty leaf. */
typedef struct RBNode {
    int32_t color;
    struct RBNode *left;
    struct RBNode *right;
    struct RBNode *parent;
    char *key;
    void *value;
} RBNode;

typedef struct RBTree {
    RBNode *root;
    ArbFreeFn freeValue;
    ArbWriteFn writeValue;
    ArbReadFn readValue;
    ArbCopyFn copyValue;
    int32_t count;
} RBTree;

OSTR_BEGIN_DECLS

/* ---- Memory streams ---------------------------------------------------- */

/* A new stream with an uncleared buffer of size bytes; NULL for size <= 0. */
OSTR_API MemFile *MemOpen(int32_t size) OSTR_NOEXCEPT;
/* A new stream over the caller's malloc-compatible buffer, which the stream
   then owns; NULL (and the buffer stays the caller's) for size <= 0 or a
   NULL buffer. */
OSTR_API MemFile *MemWrapperOpen(void *bytes, int32_t size) OSTR_NOEXCEPT;
/* Releases the buffer and the record. NULL is ignored. */
OSTR_API void MemClose(MemFile *stream) OSTR_NOEXCEPT;
/* Writes size*count bytes at the position. When they do not fit, the buffer
   grows to (bytes + size) * 2 (repeatedly, if the position was set past the
   end) and the new bytes are zeroed. Returns count, or 0 when nothing could
   be written (no stream, or the buffer would pass 2^31 - 1 bytes). */
OSTR_API size_t MemWrite(const void *source, size_t size, size_t count, MemFile *stream) OSTR_NOEXCEPT;
/* Copies size*count bytes when that many remain before the end of the
   buffer and returns count; otherwise copies nothing and returns 0. */
OSTR_API size_t MemRead(void *dest, size_t size, size_t count, MemFile *stream) OSTR_NOEXCEPT;
/* The rest of a seekable file in a new stream (position 0); NULL when
   nothing remains, the file cannot seek or the rest exceeds 2^31 - 1 bytes. */
OSTR_API MemFile *MemFRead(FILE *file) OSTR_NOEXCEPT;
/* Writes the bytes before the position to the file; returns their number. */
OSTR_API size_t MemFWrite(MemFile *stream, FILE *file) OSTR_NOEXCEPT;
/* A new block (release with FreeBlock) holding bytes from..to-1; NULL when
   the range is empty or reaches outside the buffer. */
OSTR_API void *MemDump(MemFile *stream, int32_t from, int32_t to) OSTR_NOEXCEPT;
/* A new stream holding the bytes before the position, with size and position
   both equal to it; NULL for a NULL or empty (position 0) stream. */
OSTR_API MemFile *CopyMemFile(MemFile *stream) OSTR_NOEXCEPT;
/* Writes u32 position, then the bytes before the position, to a FILE* (mode
   1) or a MemFile*. A NULL stream writes nothing. */
OSTR_API void WriteMemFile(MemFile *stream, void *target, int32_t mode) OSTR_NOEXCEPT;
/* Reads u32 n, then n bytes, into a new stream with size and position n.
   NULL when n is 0 or the n bytes are not all there (they stay unread). */
OSTR_API MemFile *ReadMemFile(void *source, int32_t mode) OSTR_NOEXCEPT;
OSTR_API unsigned char *MemGetBufHandle(MemFile *stream) OSTR_NOEXCEPT;
OSTR_API uint32_t MemGetBufPos(MemFile *stream) OSTR_NOEXCEPT;
OSTR_API int32_t MemGetBufSize(MemFile *stream) OSTR_NOEXCEPT;
/* Move the position, unchecked: reads past the end then take nothing and a
   write first grows the buffer over the gap (zeroed). */
OSTR_API void MemSetBufPos(MemFile *stream, uint32_t position) OSTR_NOEXCEPT;
OSTR_API void MemSetRelativeBufPos(MemFile *stream, int32_t delta) OSTR_NOEXCEPT;

/* ---- The type map ------------------------------------------------------ */

/* Builds the process-wide type map with the ten built-in types (rebuilding
   it from scratch when it exists). Every operation that needs the map builds
   it on first use, so calling this is optional. */
OSTR_API void initializeArbTreeTypeMap(void) OSTR_NOEXCEPT;
/* Frees the type map and every registered record. */
OSTR_API void terminateArbTreeTypeMap(void) OSTR_NOEXCEPT;
/* Adds a type, or replaces the record of an existing name (the old record is
   freed). Note the argument order: free, read, write, copy. */
OSTR_API void registerType(const char *name, ArbFreeFn freeFn, ArbReadFn readFn,
                           ArbWriteFn writeFn, ArbCopyFn copyFn) OSTR_NOEXCEPT;

/* ---- The typed tree ---------------------------------------------------- */

/* A new entry holding value (taken) with a copy of the type name; NULL when
   type is NULL or memory runs out (the value is then not taken). */
OSTR_API ArbValue *createArbValue(void *value, const char *type) OSTR_NOEXCEPT;
/* Frees the value through the type map (a type without a free operation
   leaves it alone), then the entry. NULL is ignored. */
OSTR_API void freeArbValue(ArbValue *entry) OSTR_NOEXCEPT;

/* A new empty tree: the root is an empty leaf, count 0. */
OSTR_API ArbTree *initializeArbTree(void) OSTR_NOEXCEPT;
/* Inserts key with the entry, descending from root (a real node of the
   tree; NULL or an empty leaf: the tree's root), and rebalances. The tree takes the entry in every case: an existing key
   gets the new entry and its old entry is freed (count unchanged); when the
   key cannot be inserted (NULL key, no memory) the entry is freed. */
OSTR_API void insertArbNode(ArbTree *tree, ArbNode *root, const char *key, ArbValue *entry) OSTR_NOEXCEPT;
/* Removes key with standard red-black deletion; its key is wiped and its
   entry freed. Returns 1 when the key was there, else 0. */
OSTR_API int32_t deleteArbNode(ArbTree *tree, const char *key) OSTR_NOEXCEPT;
/* The value under key when its entry's type name equals type; else NULL. */
OSTR_API void *getVal(const char *key, ArbTree *tree, const char *type) OSTR_NOEXCEPT;
OSTR_API void *getNull(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API char *getString(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API int32_t *getInteger(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API double *getDecimal(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API Complex *getComplex(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API double *getVector(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API double **getMatrix(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API char **getStringArray(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API MemFile *getByteArray(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API ArbTree *getArbTree(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
OSTR_API RBTree *getStringTree(const char *key, ArbTree *tree) OSTR_NOEXCEPT;
/* A copy of the same shape and colours; each value through its type's copy
   operation (none when the type has none). */
OSTR_API ArbTree *copyArbTree(ArbTree *tree) OSTR_NOEXCEPT;
/* Frees node and everything below it (NULL: the root), keys wiped; entries
   too when freeValues is not 0. A proper subtree is replaced by the empty
   leaf and the count lowered by the entries it held; an empty leaf frees
   nothing. When the whole tree was freed its root is cleared and its count
   set to 0, and the record can take keys again; the record itself stays the
   caller's (FreeBlock). Pass the tree: only with it is the storage that a
   read tree keeps for its nodes released (with tree NULL the nodes are
   freed, that storage stays). freeRBNodeValueArbTree frees a tree and its
   record at once. */
OSTR_API void freeArbTree(ArbTree *tree, ArbNode *node, int32_t freeValues) OSTR_NOEXCEPT;
/* Writes node's subtree in pre-order (NULL: the root), preceded by the u32
   count when node is the root. A FILE receives the bytes in blocks; all of
   them are handed to stdio by the time the call returns, and value handlers
   of registered types that write to the FILE themselves find it up to date. */
OSTR_API void writeArbTreeToStream(ArbTree *tree, ArbNode *node, void *stream, int32_t mode) OSTR_NOEXCEPT;
/* Reads a tree; never NULL for a non-NULL stream (damaged input yields what
   could be read). A FILE that can tell its position is read in blocks and
   the bytes read ahead are given back: when the call returns (and whenever a
   registered type's handler reads the FILE itself) the file stands right
   after the bytes taken, as if they had been read field by field. */
OSTR_API ArbTree *readArbTreeFromStream(void *stream, int32_t mode) OSTR_NOEXCEPT;
/* Opens fileName with "wb" and writes the tree; an unopenable file writes
   nothing. Returns 1 when the file was written, else 0. */
OSTR_API int32_t writeArbTreeToFile(ArbTree *tree, const char *fileName) OSTR_NOEXCEPT;
/* NULL when the file cannot be opened. */
OSTR_API ArbTree *readArbTreeFromFile(const char *fileName) OSTR_NOEXCEPT;

/* ---- The generic search tree ------------------------------------------- */

OSTR_API RBTree *initializeRBTree(ArbFreeFn freeFn, ArbWriteFn writeFn, ArbReadFn readFn,
                                  ArbCopyFn copyFn) OSTR_NOEXCEPT;
/* As insertArbNode, with the tree's own free operation for replaced values
   and for values that cannot be inserted. */
OSTR_API void insertRBNode(RBTree *tree, const char *key, void *value) OSTR_NOEXCEPT;
OSTR_API int32_t deleteRBNode(RBTree *tree, const char *key) OSTR_NOEXCEPT;
/* The value under key, or NULL. */
OSTR_API void *getRBVal(const char *key, RBTree *tree) OSTR_NOEXCEPT;
OSTR_API RBTree *copyRBTree(RBTree *tree) OSTR_NOEXCEPT;
/* As freeArbTree, values through the tree's free operation. */
OSTR_API void freeRBTree(RBTree *tree, RBNode *node, int32_t freeValues) OSTR_NOEXCEPT;
OSTR_API void writeRBTreeToStream(RBTree *tree, RBNode *node, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API RBTree *readRBTreeFromStream(void *stream, int32_t mode, ArbFreeFn freeFn, ArbWriteFn writeFn,
                                      ArbReadFn readFn, ArbCopyFn copyFn) OSTR_NOEXCEPT;

/* ---- Value handlers of the built-in types ------------------------------ */

OSTR_API void writeRBNodeValueInteger(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueInteger(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueInteger(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueInteger(void *value) OSTR_NOEXCEPT;

OSTR_API void writeRBNodeValueDecimal(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueDecimal(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueDecimal(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueDecimal(void *value) OSTR_NOEXCEPT;

OSTR_API void writeRBNodeValueComplex(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueComplex(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueComplex(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueComplex(void *value) OSTR_NOEXCEPT;

OSTR_API void writeRBNodeValueString(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueString(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueString(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueString(void *value) OSTR_NOEXCEPT;

OSTR_API void writeRBNodeValueStringArray(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueStringArray(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueStringArray(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueStringArray(void *value) OSTR_NOEXCEPT;

OSTR_API void writeRBNodeValueVector(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueVector(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueVector(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueVector(void *value) OSTR_NOEXCEPT;

OSTR_API void writeRBNodeValueMatrix(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueMatrix(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueMatrix(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueMatrix(void *value) OSTR_NOEXCEPT;

OSTR_API void writeRBNodeValueArbTree(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueArbTree(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueArbTree(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueArbTree(void *value) OSTR_NOEXCEPT;

OSTR_API void writeRBNodeValueByteArray(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueByteArray(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueByteArray(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueByteArray(void *value) OSTR_NOEXCEPT;

/* The "string_tree" type: an RBTree of texts. */
OSTR_API void writeRBNodeValueTree(void *value, void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *readRBNodeValueStringTree(void *stream, int32_t mode) OSTR_NOEXCEPT;
OSTR_API void *copyRBNodeValueTree(void *value) OSTR_NOEXCEPT;
OSTR_API void freeRBNodeValueTree(void *value) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
