/* A typed tree through the C face: built, written to a memory stream, read
   back and looked up by type, then released with the family's functions. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ostravine.h"

static int check(int ok, const char *what) {
    if (!ok) fprintf(stderr, "persist: %s\n", what);
    return ok;
}

int main(void) {
    ArbTree *tree = initializeArbTree();
    int32_t *n = malloc(sizeof *n);
    MemFile *stream = MemOpen(16);
    ArbTree *back;
    int ok = 1;

    *n = 42;
    insertArbNode(tree, NULL, "answer", createArbValue(n, "integer"));
    insertArbNode(tree, NULL, "greeting", createArbValue(StrDup("hello"), "string"));
    writeArbTreeToStream(tree, tree->root, stream, 0);
    ok &= check(MemGetBufPos(stream) > 4, "nothing written");

    MemSetBufPos(stream, 0);
    back = readArbTreeFromStream(stream, 0);
    ok &= check(back != NULL && back->count == 2, "count differs");
    ok &= check(getInteger("answer", back) != NULL && *getInteger("answer", back) == 42, "integer lost");
    ok &= check(getString("greeting", back) != NULL && strcmp(getString("greeting", back), "hello") == 0,
                "string lost");
    ok &= check(getDecimal("answer", back) == NULL, "lookup ignored the type");

    freeRBNodeValueArbTree(back);
    freeArbTree(tree, NULL, 1);
    FreeBlock(tree);
    MemClose(stream);
    return ok ? 0 : 1;
}
