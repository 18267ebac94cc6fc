/* Digests, Base64 with its byte count, a salted hash drawn from the
   generator's state and the table round trip through the C face. */
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

int main(void) {
    char *d = SHA512("abc");
    uint64_t n = 0;
    unsigned char *bytes = Base64Decoding("Zm9vYg==", &n);
    int32_t state = SeedFromString("a"), table[32];
    char *stored = SaltedHash("secret", &state);
    int ok = d != NULL && strlen(d) == 128 && strncmp(d, "ddaf35a193617aba", 16) == 0;
    ok &= bytes != NULL && n == 4 && memcmp(bytes, "foob", 4) == 0;
    ok &= stored != NULL && TestAgainstSaltedHash("secret", stored) && !TestAgainstSaltedHash("Secret", stored);
    GetRandomTable(table);
    ok &= SetRandomTable(table) == 1 && Ran2(&state) > 0.0;
    FreeString(d);
    FreeBlock(bytes);
    FreeString(stored);
    if (!ok) fputs("hash: a digest, Base64 or generator call misbehaved through the C face\n", stderr);
    return !ok;
}
