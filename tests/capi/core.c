/* Text ownership through the C face: copies come back equal and are
   released by FreeString. */
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

int main(void) {
    char *t = StrDup("hello");
    int ok = t != NULL && strcmp(t, "hello") == 0 && StrDup(NULL) == NULL;
    FreeString(t);
    FreeString(NULL);
    if (!ok) {
        fputs("core: StrDup round trip failed\n", stderr);
        return 1;
    }
    return 0;
}
