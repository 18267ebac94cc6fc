/* A typed tree through the C face: built (a text from StrDup, so the core
   functions are used from C too), written to a memory stream, read back and
   looked up by type, then released with the family's functions. */
#include <stdlib.h>
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

int main(void) {
    ArbTree *tree = initializeArbTree(), *back;
    int32_t *n = malloc(sizeof *n);
    MemFile *stream = MemOpen(16);
    int ok;

    *n = 42;
    insertArbNode(tree, NULL, "answer", createArbValue(n, "integer"));
    insertArbNode(tree, NULL, "greeting", createArbValue(StrDup("hello"), "string"));
    writeArbTreeToStream(tree, tree->root, stream, 0);
    ok = MemGetBufPos(stream) > 4 && StrDup(NULL) == NULL;
    MemSetBufPos(stream, 0);
    back = readArbTreeFromStream(stream, 0);
    ok &= back != NULL && back->count == 2 && getInteger("answer", back) != NULL &&
          *getInteger("answer", back) == 42 && getDecimal("answer", back) == NULL;
    ok &= back != NULL && getString("greeting", back) != NULL && strcmp(getString("greeting", back), "hello") == 0;
    freeRBNodeValueArbTree(back);
    freeArbTree(tree, NULL, 1);
    FreeBlock(tree);
    MemClose(stream);
    if (!ok) fputs("persist: the tree did not survive the memory stream through the C face\n", stderr);
    return !ok;
}
