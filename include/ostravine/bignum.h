/* Big unsigned integers on bit arrays, least significant bit first.

   Every function that returns a BitArray* returns a new record owned by the
   caller (release it with FreeBitArray), unless it is said to work in place.
   NULL stands for "no result": an invalid argument, an aborted operation, or
   memory running out. NULL records passed in give NULL (or 0) back.

   Long operations take the address of an abort byte as their last argument
   (NULL: never abort). They read it between steps; once it is non-zero they
   stop and return NULL (texts, records) or absent parts (division records).
   Another thread may set the byte at any time. */
#ifndef OSTRAVINE_BIGNUM_H
#define OSTRAVINE_BIGNUM_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include "ostravine/export.h"

/* Bit i is bit (i mod 64) of words[i / 64]. Bits at and above `bits` in the
   top word are kept clear by ReduceBitArray and CleanBitArray. */
typedef struct BitArray {
    uint64_t bits;  /* significant bits; at least 1 once reduced */
    uint64_t nwords; /* 64-bit words allocated */
    uint64_t *words;
} BitArray;

/* The result of DivideBitArrays and SquareRootBitArray: the integer part, the
   fractional part as a fixed-point fraction whose bit count is its scale
   (value = fraction / 2^fraction->bits), and a flag that is 1 in every record
   the library fills in. Failure shows as absent (NULL) parts; release the
   parts with FreeBitArray. */
typedef struct BitArrayDivision {
    BitArray *integer;
    BitArray *fraction;
    uint8_t done;
} BitArrayDivision;

OSTR_BEGIN_DECLS

/* ---- Construction and housekeeping ---- */

/* A new zero value of `bits` bits in ceil(bits/64) words; NULL for 0 bits,
   for more than 2^40 bits, or when memory runs out. */
OSTR_API BitArray *InitializeBitArray(uint64_t bits) OSTR_NOEXCEPT;
/* x as a reduced record (zero is one cleared bit). */
OSTR_API BitArray *InitializeBitArrayFromUInt64(uint64_t x) OSTR_NOEXCEPT;
/* n bytes, byte i giving bits 8i..8i+7 (least significant byte first), in a
   record of 8n bits that keeps its leading zeros; NULL for n = 0. */
OSTR_API BitArray *InitializeBitArrayFromByteArray(const uint8_t *bytes, uint64_t n) OSTR_NOEXCEPT;
/* A copy with the same bit count (storage trimmed to ceil(bits/64) words). */
OSTR_API BitArray *CopyBitArray(const BitArray *a) OSTR_NOEXCEPT;
/* Releases the words, then the record. NULL is ignored. */
OSTR_API void FreeBitArray(BitArray *a) OSTR_NOEXCEPT;
/* Drops leading zero bits (down to one bit), clears the bits above the bit
   count and shrinks the storage. Updates *a and returns it. */
OSTR_API BitArray *ReduceBitArray(BitArray **a) OSTR_NOEXCEPT;
/* Clears every stored bit at and above the bit count. */
OSTR_API void CleanBitArray(BitArray *a) OSTR_NOEXCEPT;

/* ---- Bit and word access; positions outside the bit count read as zero
   and are not written ---- */

OSTR_API void SetBit(BitArray *a, uint64_t pos) OSTR_NOEXCEPT;
OSTR_API void ClearBit(BitArray *a, uint64_t pos) OSTR_NOEXCEPT;
OSTR_API int GetBit(const BitArray *a, uint64_t pos) OSTR_NOEXCEPT;
OSTR_API void SetAllBits(BitArray *a) OSTR_NOEXCEPT;
OSTR_API void ClearAllBits(BitArray *a) OSTR_NOEXCEPT;
/* The start of a sieve of Eratosthenes: every bit set except bits 0 and 1. */
OSTR_API void SetAllBitsSieve(BitArray *a) OSTR_NOEXCEPT;
/* Writes the 8 bits of c as byte number `byte_index` (bits 8i..8i+7). */
OSTR_API void SetBitsFromChar(BitArray *a, uint8_t c, uint64_t byte_index) OSTR_NOEXCEPT;
/* Writes the 8 bits of c at bits pos..pos+7. */
OSTR_API void SetBitsFromCharBitPos(BitArray *a, uint8_t c, uint64_t pos) OSTR_NOEXCEPT;
/* Writes x as word number `word_index` (bits 64i..64i+63). */
OSTR_API void SetBitsFromUInt64(BitArray *a, uint64_t x, uint64_t word_index) OSTR_NOEXCEPT;
/* Bits 32i..32i+31. */
OSTR_API uint32_t GetInt32(const BitArray *a, uint64_t index) OSTR_NOEXCEPT;
/* Bits 64i..64i+63. */
OSTR_API uint64_t GetInt64(const BitArray *a, uint64_t word_index) OSTR_NOEXCEPT;
/* Bits pos..pos+63. */
OSTR_API uint64_t GetInt64BitPos(const BitArray *a, uint64_t pos) OSTR_NOEXCEPT;

/* ---- Bit-order reversal ---- */

OSTR_API uint8_t ReverseByteBits(uint8_t x) OSTR_NOEXCEPT;
OSTR_API uint32_t ReverseUInt32Bits(uint32_t x) OSTR_NOEXCEPT;
OSTR_API uint64_t ReverseUInt64Bits(uint64_t x) OSTR_NOEXCEPT;
/* In place: bit i and bit bits-1-i trade places. */
OSTR_API void ReverseBitArray(BitArray *a) OSTR_NOEXCEPT;

/* ---- Value tests (1 or 0; NULL is neither zero nor one nor equal) ---- */

OSTR_API int TestZeroBitArray(const BitArray *a) OSTR_NOEXCEPT;
OSTR_API int TestUnitBitArray(const BitArray *a) OSTR_NOEXCEPT;
/* Equal values, whatever the bit counts. */
OSTR_API int TestEqualBitArrays(const BitArray *a, const BitArray *b) OSTR_NOEXCEPT;

/* ---- Leading (high) and trailing (low) zero bits ---- */

/* In place: the bit count grows by k, the value stays. Returns a, or NULL
   (a unchanged) when memory runs out. */
OSTR_API BitArray *AddLeadingZeroBits(BitArray *a, uint64_t k) OSTR_NOEXCEPT;
/* In place: the value is multiplied by 2^k and the bit count grows by k. */
OSTR_API BitArray *AddTrailingZeroBits(BitArray *a, uint64_t k) OSTR_NOEXCEPT;
/* In place: divides out the trailing zero bits, shrinking the bit count by as
   many; returns their number (0 for zero). */
OSTR_API uint64_t RemoveTrailingZeroBits(BitArray *a) OSTR_NOEXCEPT;
/* A new reduced record of a without its trailing zero bits (its odd part). */
OSTR_API BitArray *TrimLowerZeroBits(const BitArray *a) OSTR_NOEXCEPT;
/* Zero bits above the highest set bit, within the bit count. */
OSTR_API uint64_t CountLeadingZeroBits(const BitArray *a) OSTR_NOEXCEPT;
/* Zero bits above the highest set bit, within the allocated words: the bits
   that can be added without reallocating. */
OSTR_API uint64_t GetLeadingZeroBits(const BitArray *a) OSTR_NOEXCEPT;
/* A new record of k bits: bits pos..pos+k-1 of a; NULL for k = 0. */
OSTR_API BitArray *CropBitArray(const BitArray *a, uint64_t pos, uint64_t k) OSTR_NOEXCEPT;
/* a in the low bits, b above it: a + b * 2^(a->bits), of a->bits + b->bits bits. */
OSTR_API BitArray *ConcatenateBitArrays(const BitArray *a, const BitArray *b) OSTR_NOEXCEPT;
/* The k lowest / highest bits within the bit count as a record of k bits (a
   copy when k >= bits); NULL for k = 0. */
OSTR_API BitArray *LowerBits(const BitArray *a, uint64_t k) OSTR_NOEXCEPT;
OSTR_API BitArray *HigherBits(const BitArray *a, uint64_t k) OSTR_NOEXCEPT;

/* ---- Arithmetic and logic; results are reduced unless noted ---- */

OSTR_API BitArray *AddBitArrays(const BitArray *a, const BitArray *b) OSTR_NOEXCEPT;
/* |a - b|, with *borrow (when not NULL) set to 1 if a < b and 0 otherwise. */
OSTR_API BitArray *SubtractBitArrays(const BitArray *a, const BitArray *b, uint8_t *borrow) OSTR_NOEXCEPT;
/* As SubtractBitArrays, with the bit count max(a->bits, b->bits) kept. */
OSTR_API BitArray *SubtractBitArraysNoReduce(const BitArray *a, const BitArray *b,
                                             uint8_t *borrow) OSTR_NOEXCEPT;
/* In place: a += x, the bit count growing when needed. Returns a, or NULL
   (a unchanged) when memory runs out. */
OSTR_API BitArray *AddBits(BitArray *a, uint64_t x) OSTR_NOEXCEPT;
/* In place: a = |a - x|, the bit count growing when needed; returns 1 if a
   was below x, 0 if not, -1 for NULL or when memory runs out. */
OSTR_API int SubtractBits(BitArray *a, uint64_t x) OSTR_NOEXCEPT;
/* Two's complement within the bit count: (2^bits - a) mod 2^bits, same bit
   count, not reduced. */
OSTR_API BitArray *NegateBitArray(const BitArray *a) OSTR_NOEXCEPT;
OSTR_API BitArray *AndBitArrays(const BitArray *a, const BitArray *b) OSTR_NOEXCEPT;
OSTR_API BitArray *OrBitArrays(const BitArray *a, const BitArray *b) OSTR_NOEXCEPT;
OSTR_API BitArray *XorBitArrays(const BitArray *a, const BitArray *b) OSTR_NOEXCEPT;

/* In place within the bit count; bits shifted out are lost, any k allowed. */
OSTR_API void ShiftBitsLeft(BitArray *a, uint64_t k) OSTR_NOEXCEPT;
OSTR_API void ShiftBitsRight(BitArray *a, uint64_t k) OSTR_NOEXCEPT;
/* In place: a * 2^k, the bit count growing by k. Returns a, or NULL. */
OSTR_API BitArray *ShiftBitsLeftAndResizeWithLeadingZeros(BitArray *a, uint64_t k) OSTR_NOEXCEPT;
/* Twice / half (rounded down) of a text of decimal digits, as a new text
   without leading zeros ("0" for zero); NULL for a non-digit character. */
OSTR_API char *MultiplyBy2(const char *digits) OSTR_NOEXCEPT;
OSTR_API char *DivideBy2(const char *digits) OSTR_NOEXCEPT;

/* ---- Products, quotients, roots, powers ---- */

/* a * b. NULL when the abort byte is set, on entry or during the product. */
OSTR_API BitArray *MultiplyBitArrays(const BitArray *a, const BitArray *b, const char *abort) OSTR_NOEXCEPT;
/* Karatsuba's method on single words, wrapping modulo 2^64. */
OSTR_API uint64_t KaratsubaMultiply(uint64_t x, uint64_t y) OSTR_NOEXCEPT;
/* The bit length of x (the number of halvings until zero). */
OSTR_API uint64_t KaratsubaGetLength(uint64_t x) OSTR_NOEXCEPT;

/* floor(2^k / d) for d of n bits: k = n - 1 (and the result one) when d is a
   power of two, else k = n + p. *shift receives k (0 on failure). */
OSTR_API BitArray *InvertBitArray(const BitArray *d, uint64_t p, uint64_t *shift,
                                  const char *abort) OSTR_NOEXCEPT;
/* The integer part floor(a/b) and the fractional part floor(2^k (a mod b) / b)
   in a record of k bits, k the shift of InvertBitArray(b, p). Division by zero
   gives absent parts. */
OSTR_API BitArrayDivision DivideBitArrays(const BitArray *a, const BitArray *b, uint64_t p,
                                          const char *abort) OSTR_NOEXCEPT;
/* floor(a/b) and a - b*floor(a/b); NULL for b = 0. */
OSTR_API BitArray *FloorDivideBitArrays(const BitArray *a, const BitArray *b, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArray *ModBitArrays(const BitArray *a, const BitArray *b, const char *abort) OSTR_NOEXCEPT;
/* floor(sqrt(a)) and the first p bits of the fractional part of sqrt(a), the
   latter in a record of p bits (one cleared bit for p = 0). */
OSTR_API BitArrayDivision SquareRootBitArray(const BitArray *a, uint64_t p, const char *abort) OSTR_NOEXCEPT;
/* floor(2^k / sqrt(a)) for a of n bits: k = j (and the result one) when a is
   4^j, else k = n + p. *shift receives k (0 on failure); NULL for zero. */
OSTR_API BitArray *InvertSquareRootBitArray(const BitArray *a, uint64_t p, uint64_t *shift,
                                            const char *abort) OSTR_NOEXCEPT;
/* a^e (0^0 = 1). */
OSTR_API BitArray *ExponentiateBitArrays(const BitArray *a, const BitArray *e, const char *abort) OSTR_NOEXCEPT;
/* n! (both functions give the same value; 0! = 1! = 1). */
OSTR_API BitArray *BitArrayFactorial(uint64_t n, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArray *BitArrayFactorialBinarySplitting(uint64_t n, const char *abort) OSTR_NOEXCEPT;
/* The product lo * (lo+1) * ... * hi; one when lo > hi. */
OSTR_API BitArray *FactorialPartialProductSub(uint64_t lo, uint64_t hi, const char *abort) OSTR_NOEXCEPT;
/* b^e mod m in 64-bit arithmetic: e = 0 gives 1, e = 1 gives b unreduced,
   b = 0 gives 0; the products wrap modulo 2^64 when m exceeds 2^32, and
   m = 0 means no reduction. */
OSTR_API uint64_t PowMod(uint64_t b, uint64_t e, uint64_t m) OSTR_NOEXCEPT;

/* ---- Text ---- */

/* Decimal digits (leading zeros allowed, empty = 0); NULL for any other
   character. */
OSTR_API BitArray *DecimalIntegerStringToBitArray(const char *text, const char *abort) OSTR_NOEXCEPT;
OSTR_API char *BitArrayToDecimalIntegerString(const BitArray *a, const char *abort) OSTR_NOEXCEPT;
/* The digits after a decimal point, as floor(0.digits * 2^bits) in a record
   of `bits` bits; NULL for bits = 0 or a non-digit character. */
OSTR_API BitArray *DecimalFractionalStringToBitArray(const char *digits, uint64_t bits,
                                                     const char *abort) OSTR_NOEXCEPT;
/* The exact decimal digits after the point of a / 2^(a->bits), without
   trailing zeros ("0" for zero). */
OSTR_API char *BitArrayToDecimalFractionalString(const BitArray *a, const char *abort) OSTR_NOEXCEPT;
/* count + 1 pointers: 10^1, 10^2, 10^4, ..., 10^(2^(count-1)), then NULL.
   Release each record with FreeBitArray and the array with FreeBlock. */
OSTR_API BitArray **GetPowerOf10BitArrays(uint64_t count, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArray *MultiplyBitArrayBy10(const BitArray *a) OSTR_NOEXCEPT;
/* floor(a/10), the remainder (0..9) in *remainder when not NULL. */
OSTR_API BitArray *DivideBitArrayBy10(const BitArray *a, uint8_t *remainder) OSTR_NOEXCEPT;
/* In place: a = floor(a/10) (bit count kept); returns the remainder, -1 for NULL. */
OSTR_API int IntDivideBitArrayBy10(BitArray *a) OSTR_NOEXCEPT;
/* floor(a / 10^n). */
OSTR_API BitArray *DivideBitArrayByPowerOf10(const BitArray *a, uint64_t n, const char *abort) OSTR_NOEXCEPT;
/* "0".."9", "A".."F", "a".."f"; empty = 0; NULL for any other character. */
OSTR_API BitArray *HexadecimalIntegerStringToBitArray(const char *text) OSTR_NOEXCEPT;
/* ceil(bits/4) upper-case digits ("0" for zero), most significant first. */
OSTR_API char *BitArrayToHexadecimalIntegerString(const BitArray *a) OSTR_NOEXCEPT;
/* The hexadecimal digits after a point, as a record of 4 bits per digit
   (value = record / 2^bits); empty gives one cleared bit. */
OSTR_API BitArray *HexadecimalFractionalStringToBitArray(const char *text) OSTR_NOEXCEPT;
/* The exact hexadecimal digits after the point of a / 2^(a->bits), without
   trailing zeros ("0" for zero). */
OSTR_API char *BitArrayToHexadecimalFractionalString(const BitArray *a) OSTR_NOEXCEPT;
/* "0" and "1", most significant first, in a record of one bit per character
   (leading zeros kept; empty gives one cleared bit); NULL for other characters. */
OSTR_API BitArray *BitStringToBitArray(const char *text) OSTR_NOEXCEPT;
/* Writes the bits, most significant first, and a newline (stdout for NULL). */
OSTR_API void PrintBitArray(const BitArray *a, FILE *stream) OSTR_NOEXCEPT;

/* ---- Big binary floats ----

   A BitArrayFloat is (-1)^s * mantissa * 2^(+-exponent): the mantissa odd
   (or zero, with a zero exponent and no flags), the exponent's magnitude in
   its own record, and the 64-bit field holding the flags below. A record in
   this form is canonical; the functions accept any record and return
   canonical ones. Precisions `p` count significant bits of the result; the
   results of +, - and * are exact for p = 0. Rounding is to nearest, ties to
   even: the operations are correctly rounded, the functions (exp, log, the
   trigonometric ones, pi) faithfully rounded (within one unit of the last
   bit). NULL: an invalid argument (a logarithm of zero, a result beyond
   2^(+-2^32)), an abort, or memory running out. */
typedef struct BitArrayFloat {
    BitArray *mantissa;
    BitArray *exponent;
    int64_t field;
} BitArrayFloat;

#define BITARRAYFLOAT_NEGATIVE 1          /* the value is below zero */
#define BITARRAYFLOAT_NEGATIVE_EXPONENT 2 /* the binary exponent is below zero */
#define BITARRAYFLOAT_INEXACT 4           /* a rounded result, or made from one */
/* Bits 3..31 of the field are clear; bits 32..63 belong to the holder of the
   record (the language keeps the digits it shows the value with there) and
   are 0 in every record the functions return. */

OSTR_API void FreeBitArrayFloat(BitArrayFloat *x) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *CopyBitArrayFloat(const BitArrayFloat *x) OSTR_NOEXCEPT;
/* 1 when the record is canonical (see above), else 0. */
OSTR_API int TestCanonicalBitArrayFloat(const BitArrayFloat *x) OSTR_NOEXCEPT;
/* The integer a, negated when `negative` is non-zero. */
OSTR_API BitArrayFloat *BitArrayToBitArrayFloat(const BitArray *a, int negative) OSTR_NOEXCEPT;
/* The exact value of a finite double; NULL for NaN and infinities. */
OSTR_API BitArrayFloat *DoubleToBitArrayFloat(double x) OSTR_NOEXCEPT;
/* The nearest double (+-infinity beyond its range, 0 for NULL). */
OSTR_API double BitArrayFloatToDouble(const BitArrayFloat *x) OSTR_NOEXCEPT;
/* -1, 0 or 1 as a <, =, > b; 0 when either is NULL. */
OSTR_API int CompareBitArrayFloats(const BitArrayFloat *a, const BitArrayFloat *b) OSTR_NOEXCEPT;
/* [-+]digits[.digits][(e|E)[-+]digits], rounded at p bits when not exact. */
OSTR_API BitArrayFloat *DecimalStringToBitArrayFloat(const char *text, uint64_t p,
                                                     const char *abort) OSTR_NOEXCEPT;
/* x rounded to `digits` significant decimal digits (trailing zeros dropped;
   plain for 1e-6 <= |x| < 10^digits, else d.ddde+k); digits = 0: an
   integer's exact digits, NULL for a value that is not an integer. */
OSTR_API char *BitArrayFloatToDecimalString(const BitArrayFloat *x, uint64_t digits,
                                            const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *AddBitArrayFloats(const BitArrayFloat *a, const BitArrayFloat *b, uint64_t p,
                                          const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *SubtractBitArrayFloats(const BitArrayFloat *a, const BitArrayFloat *b, uint64_t p,
                                               const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *MultiplyBitArrayFloats(const BitArrayFloat *a, const BitArrayFloat *b, uint64_t p,
                                               const char *abort) OSTR_NOEXCEPT;
/* a / b at p >= 1 bits; NULL for b = 0. */
OSTR_API BitArrayFloat *DivideBitArrayFloats(const BitArrayFloat *a, const BitArrayFloat *b, uint64_t p,
                                             const char *abort) OSTR_NOEXCEPT;
/* The elementary functions at p >= 1 bits. */
OSTR_API BitArrayFloat *SquareRootBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *ExpBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *LogBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *SinBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *CosBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *TanBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *ArcTanBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *ArcSinBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *ArcCosBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *SinhBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *CoshBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
OSTR_API BitArrayFloat *TanhBitArrayFloat(const BitArrayFloat *x, uint64_t p, const char *abort) OSTR_NOEXCEPT;
/* pi at p >= 1 bits. */
OSTR_API BitArrayFloat *PiBitArrayFloat(uint64_t p, const char *abort) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
