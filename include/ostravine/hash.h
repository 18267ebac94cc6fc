/* Digests (SHA-512, SHA-256), salted password hashes, Base64 and the random
   generator Ran2 with everything drawn from it. Returned texts are released
   with FreeString, returned byte blocks with FreeBlock. See docs/hash.md. */
#ifndef OSTRAVINE_HASH_H
#define OSTRAVINE_HASH_H

#include <stddef.h>
#include <stdint.h>
#include "ostravine/export.h"

OSTR_BEGIN_DECLS

/* ---- Digests: lower-case hexadecimal, no prefix or separator ---- */

/* SHA-512 of the bytes of a zero-terminated text: 128 hex digits.
   NULL for NULL or when memory runs out. */
OSTR_API char *SHA512(const char *text) OSTR_NOEXCEPT;
/* SHA-512 of n bytes (NULL bytes allowed only with n = 0): 128 hex digits. */
OSTR_API char *SHA512FromByteArray(const unsigned char *bytes, uint64_t n) OSTR_NOEXCEPT;
/* The 64 bytes of SHA-512(text) as Base64 through Base64EncodingOptionalChars
   with `extra` (the two characters for 62 and 63) and `pad`: 88 characters
   with '=' padding. NULL when the text is NULL or the alphabet is refused. */
OSTR_API char *SHA512Base64(const char *text, const char *extra, char pad) OSTR_NOEXCEPT;
/* SHA-256 of the bytes of a zero-terminated text: 64 hex digits. */
OSTR_API char *SHA256(const char *text) OSTR_NOEXCEPT;

/* ---- Salted hashes ----
   Text layout: the salt's L characters as 2L hex digits, then the 128-digit
   SHA-512 of secret followed by salt, then L - 33 as two hex digits. */

/* A fresh alphanumeric salt of 33..64 characters drawn from *state. */
OSTR_API char *SaltedHash(const char *secret, int32_t *state) OSTR_NOEXCEPT;
/* The salted-hash text for a given salt of 33..288 characters; NULL for
   other salt lengths (the two-digit tail cannot express them). */
OSTR_API char *HashWithSalt(const char *secret, const char *salt) OSTR_NOEXCEPT;
/* The salt held by a salted-hash text; NULL when the text is not one (wrong
   length for its tail, a non-hex digit, or a zero salt byte). */
OSTR_API char *SaltFromHash(const char *stored) OSTR_NOEXCEPT;
/* 1 when the secret matches the stored text, else 0 (also for malformed
   stored texts). The final comparison does not stop at the first
   difference, so its time does not depend on where the texts differ. */
OSTR_API int TestAgainstSaltedHash(const char *secret, const char *stored) OSTR_NOEXCEPT;

/* ---- Base64 ----
   Lengths are byte counts. The standard alphabet is A-Z a-z 0-9 + / with
   '=' padding; the optional alphabets replace "+/" by two other characters
   and '=' by another padding character ('\0' for none). An optional
   alphabet is refused (NULL) unless `extra` is exactly two characters, none
   of the four characters involved is a letter, digit or white space, and
   they are pairwise distinct. */

/* 4*ceil(n/3) characters; NULL when bytes is NULL. */
OSTR_API char *Base64Encoding(const unsigned char *bytes, uint64_t n) OSTR_NOEXCEPT;
OSTR_API char *Base64EncodingOptionalChars(const unsigned char *bytes, uint64_t n,
                                           const char *extra, char pad) OSTR_NOEXCEPT;
/* Writes the four characters of one group of three bytes to out[0..3]
   using the 64-character alphabet (not terminated). */
OSTR_API void Base64EncodingTriplet(unsigned char b0, unsigned char b1, unsigned char b2,
                                    char *out, const char *alphabet) OSTR_NOEXCEPT;
/* Decodes Base64 text into a new block of *n bytes (released with FreeBlock;
   a valid empty text gives a non-NULL block and *n = 0). White space
   anywhere is skipped; padding may be omitted but, when present, must be
   complete and last; unused low bits of the last group must be zero. Any
   other character, a lone final character or misplaced padding fails: NULL
   and *n = 0. n may be NULL. */
OSTR_API unsigned char *Base64Decoding(const char *text, uint64_t *n) OSTR_NOEXCEPT;
OSTR_API unsigned char *Base64DecodingOptionalChars(const char *text, const char *extra,
                                                    char pad, uint64_t *n) OSTR_NOEXCEPT;

/* ---- Random numbers ----
   A state is an int32_t owned by the caller; a value <= 0 makes the next
   draw initialise the process-wide 32-entry shuffle table. State pointers
   must not be NULL. */

/* A uniform draw in (0, 0.99999988]. */
OSTR_API double Ran2(int32_t *state) OSTR_NOEXCEPT;
/* (int)(u*(hi - lo + 1) + lo), computed in double: lo..hi for lo <= hi. */
OSTR_API int32_t RandomInteger(int32_t lo, int32_t hi, int32_t *state) OSTR_NOEXCEPT;
/* u*(hi - lo) + lo. */
OSTR_API double RandomReal(double lo, double hi, int32_t *state) OSTR_NOEXCEPT;
/* New texts of n characters: codes 1..127; printable 32..126; 0-9 A-Z a-z.
   NULL for n < 0 or when memory runs out. */
OSTR_API char *RandomString(int32_t n, int32_t *state) OSTR_NOEXCEPT;
OSTR_API char *RandomPrintableString(int32_t n, int32_t *state) OSTR_NOEXCEPT;
OSTR_API char *RandomStringAlphaNum(int32_t n, int32_t *state) OSTR_NOEXCEPT;
/* A state <= 0 derived from a text ("" gives -1, "a" gives -99). */
OSTR_API int32_t SeedFromString(const char *text) OSTR_NOEXCEPT;
/* *holder = -|n| (INT32_MIN stays INT32_MIN). NULL holder is ignored. */
OSTR_API void SetSeed(int32_t *holder, int32_t n) OSTR_NOEXCEPT;

/* Box-Muller transforms of two uniforms u1 in (0, 1] and u2:
   BoxMuller1 = sqrt(-2 ln u1) cos(2 pi u2), BoxMuller2 the same with sin. */
OSTR_API double BoxMuller1(double u1, double u2) OSTR_NOEXCEPT;
OSTR_API double BoxMuller2(double u1, double u2) OSTR_NOEXCEPT;
/* Two independent standard normal draws from two draws u1, u2 of *state. */
OSTR_API void BoxMuller(int32_t *state, double *z1, double *z2) OSTR_NOEXCEPT;
/* mean + sigma*BoxMuller1(u1, u2): u1 drawn from *state, u2 from a second
   state, a local copy of *state - 161587 taken before the first draw. */
OSTR_API double RandomRealNormal(double mean, double sigma, int32_t *state) OSTR_NOEXCEPT;

/* The shuffle table, for saving a session and continuing the same sequence
   after a restart (save the state and the table, restore both). Set refuses
   (returns 0, table unchanged) unless every entry is in 0..2147483562. */
OSTR_API void GetRandomTable(int32_t out[32]) OSTR_NOEXCEPT;
OSTR_API int SetRandomTable(const int32_t in[32]) OSTR_NOEXCEPT;

/* ---- Short non-cryptographic hashes: 32-bit FNV-1a ---- */

/* FNV-1a over the text's bytes (NULL hashes as the empty text). */
OSTR_API uint32_t HashFromString(const char *text) OSTR_NOEXCEPT;
/* The same 32 bits as a signed 32-bit integer, the L element kind. */
OSTR_API int32_t HashFromStringL(const char *text) OSTR_NOEXCEPT;
/* FNV-1a over n bytes (NULL bytes hash as empty). */
OSTR_API uint32_t HashFromByteArray(const unsigned char *bytes, uint64_t n) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
