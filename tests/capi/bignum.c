/* Bit arrays through the C face: 2^100 by text, a product written back as
   text, a division record returned by value, and an abort byte. */
#include <stdio.h>
#include <string.h>

#include "ostravine.h"

int main(void) {
    BitArray *a = DecimalIntegerStringToBitArray("1267650600228229401496703205376", NULL);
    BitArray *three = InitializeBitArrayFromUInt64(3);
    BitArray *p = MultiplyBitArrays(a, three, NULL);
    char *text = BitArrayToDecimalIntegerString(p, NULL);
    BitArrayDivision d = DivideBitArrays(p, three, 8, NULL);
    const char stop = 1;
    int ok = a != NULL && a->bits == 101 && GetBit(a, 100) == 1;
    ok &= text != NULL && strcmp(text, "3802951800684688204490109616128") == 0;
    ok &= d.done == 1 && TestEqualBitArrays(d.integer, a) && TestZeroBitArray(d.fraction);
    ok &= MultiplyBitArrays(a, a, &stop) == NULL && PowMod(7, 2, 5) == 4;
    FreeString(text);
    FreeBitArray(d.integer);
    FreeBitArray(d.fraction);
    FreeBitArray(p);
    FreeBitArray(three);
    FreeBitArray(a);
    if (!ok) fputs("bignum: a bit-array routine misbehaved through the C face\n", stderr);
    return !ok;
}
