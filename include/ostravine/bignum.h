/* Big unsigned integers on bit arrays, least significant bit first. */
#ifndef OSTRAVINE_BIGNUM_H
#define OSTRAVINE_BIGNUM_H

#include <stddef.h>
#include <stdint.h>
#include "ostravine/export.h"

/* Bit i is bit (i mod 64) of words[i / 64]. Bits at and above `bits` in the
   top word are kept clear by ReduceBitArray and CleanBitArray. */
typedef struct BitArray {
    uint64_t bits;  /* significant bits; at least 1 once reduced */
    uint64_t nwords; /* 64-bit words allocated */
    uint64_t *words;
} BitArray;

OSTR_BEGIN_DECLS

/* A new zero value of `bits` bits in ceil(bits/64) words; NULL for 0 bits or
   when memory runs out. */
OSTR_API BitArray *InitializeBitArray(uint64_t bits) OSTR_NOEXCEPT;
/* Releases the words, then the record. NULL is ignored. */
OSTR_API void FreeBitArray(BitArray *a) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
