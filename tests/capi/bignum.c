/* Bit arrays through the C face: 2^100 by text, a product and a division
   record, hexadecimal text, PowMod, and an abort byte set on entry. */
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

static int failures = 0;

static void expect(int ok, const char *what) {
    if (!ok) {
        fprintf(stderr, "bignum: %s\n", what);
        ++failures;
    }
}

int main(void) {
    const char *two100 = "1267650600228229401496703205376";
    BitArray *a = DecimalIntegerStringToBitArray(two100, NULL);
    BitArray *three = InitializeBitArrayFromUInt64(3);
    BitArray *p = MultiplyBitArrays(a, three, NULL);
    char *text = BitArrayToDecimalIntegerString(p, NULL);
    char *hex = BitArrayToHexadecimalIntegerString(a);
    BitArrayDivision d = DivideBitArrays(p, three, 8, NULL);
    const char stop = 1;

    expect(a != NULL && a->bits == 101 && GetBit(a, 100) == 1, "2^100 from text");
    expect(text != NULL && strcmp(text, "3802951800684688204490109616128") == 0, "3 * 2^100");
    expect(hex != NULL && strlen(hex) == 26 && hex[0] == '1', "hexadecimal 2^100");
    expect(d.done == 1 && TestEqualBitArrays(d.integer, a) && TestZeroBitArray(d.fraction), "division record");
    expect(PowMod(7, 2, 5) == 4 && PowMod(7, 1, 5) == 7, "PowMod");
    expect(MultiplyBitArrays(a, a, &stop) == NULL, "abort byte");
    expect(HexadecimalIntegerStringToBitArray("1g") == NULL, "invalid hexadecimal");

    FreeString(text);
    FreeString(hex);
    FreeBitArray(d.integer);
    FreeBitArray(d.fraction);
    FreeBitArray(p);
    FreeBitArray(three);
    FreeBitArray(a);
    return failures != 0;
}
