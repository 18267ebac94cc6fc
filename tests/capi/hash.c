/* Digests, Base64 with the byte count, salted hashes and the generator
   through the C face: values that a front end relies on, and every
   returned block released by its family's function. */
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

static int check(int ok, const char *what) {
    if (!ok) fprintf(stderr, "hash: %s\n", what);
    return ok ? 0 : 1;
}

int main(void) {
    int failures = 0;
    char *d = SHA512("abc");
    char *d256 = SHA256("");
    char *b64 = Base64Encoding((const unsigned char *)"foobar", 6);
    uint64_t n = 0;
    unsigned char *bytes = Base64Decoding("Zm9vYg==", &n);
    int32_t state = 0, table[32];
    char *stored;

    failures += check(d && strlen(d) == 128 && strncmp(d, "ddaf35a193617aba", 16) == 0, "SHA512");
    failures += check(d256 && strcmp(d256, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855") == 0,
                      "SHA256");
    failures += check(b64 && strcmp(b64, "Zm9vYmFy") == 0, "Base64Encoding");
    failures += check(bytes && n == 4 && memcmp(bytes, "foob", 4) == 0, "Base64Decoding");
    FreeString(d);
    FreeString(d256);
    FreeString(b64);
    FreeBlock(bytes);

    SetSeed(&state, SeedFromString("a"));
    failures += check(state == -99, "SeedFromString");
    stored = SaltedHash("secret", &state);
    failures += check(stored && TestAgainstSaltedHash("secret", stored) && !TestAgainstSaltedHash("Secret", stored),
                      "salted hash");
    FreeString(stored);
    GetRandomTable(table);
    failures += check(SetRandomTable(table) == 1 && Ran2(&state) > 0.0, "random table");
    return failures ? 1 : 0;
}
