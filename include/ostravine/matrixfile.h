/* Numeric matrices as files: text (comma- or whitespace-separated rows,
   CSV with a header line accepted on reading) and the typed-tree binary
   form. Matrices are the numeric library's row-pointer double matrices
   (1-based, see numeric.h); every matrix answered here is released with
   FreeMatrix, every text with FreeString. */
#ifndef OSTRAVINE_MATRIXFILE_H
#define OSTRAVINE_MATRIXFILE_H

#include <stdint.h>
#include "ostravine/export.h"

OSTR_BEGIN_DECLS

/* The text form. Lines end at a line feed (a carriage return before it is
   dropped); blank lines are skipped. A line holding a comma is split at
   commas (spaces and tabs around a field dropped), any other line at runs
   of spaces and tabs. Every field is a finite decimal number ("+1",
   "-2.5e-3", ".5"); only the first line may hold other fields, and is then a
   header that is skipped. All rows have the same number of fields; at most
   2^22 cells.
   MatrixFromText reads a text, ReadMatrixText a regular file (a pipe,
   device or directory is refused; at most 256 MiB). NULL for anything
   malformed, an unreadable file, or when memory runs out.
   MatrixToText writes each number in the shortest form that reads back as
   the same double (at most 17 significant digits), fields separated by
   separator (',', ' ' or '\t'), each row ended by a line feed; NULL for a
   NULL or empty matrix or another separator. WriteMatrixText writes that
   text to fileName (created or emptied) and answers 1, or 0 when nothing
   could be written. */
OSTR_API double **MatrixFromText(const char *text) OSTR_NOEXCEPT;
OSTR_API char *MatrixToText(double **m, int32_t separator) OSTR_NOEXCEPT;
OSTR_API double **ReadMatrixText(const char *fileName) OSTR_NOEXCEPT;
OSTR_API int32_t WriteMatrixText(double **m, const char *fileName, int32_t separator) OSTR_NOEXCEPT;

/* The binary form: a typed-tree file (writeArbTreeToFile) holding one entry,
   key "matrix", type "matrix" (writeRBNodeValueMatrix), so readArbTreeFromFile
   and getMatrix read it too. Every double is kept bit for bit.
   WriteMatrixBinary answers 1 when the file was written, else 0 (also for a
   NULL or empty matrix). ReadMatrixBinary answers a new matrix, or NULL when
   the file is missing, not a regular file, or holds anything but one
   non-empty "matrix" entry. */
OSTR_API int32_t WriteMatrixBinary(double **m, const char *fileName) OSTR_NOEXCEPT;
OSTR_API double **ReadMatrixBinary(const char *fileName) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
