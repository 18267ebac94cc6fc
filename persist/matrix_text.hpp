// Numeric matrices as text (comma- or whitespace-separated rows, an optional
// header line) and whole files read with the reason of a failure: shared by
// the C face's matrix files and the language's file commands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/memory.hpp"

namespace ostr::persist {

// A table of numbers read from text, row by row.
struct NumberTable {
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::vector<double> cells;  // rows * cols, row by row
    bool had_header = false;    // the first line was names, not numbers
};

// More cells than this are refused: the bound of a matrix in a saved
// environment.
inline constexpr std::size_t max_table_cells = std::size_t{1} << 22;

enum class TableError : std::uint8_t { none, malformed, too_large };

// Lines end at "\n" (a "\r" before it is dropped); blank lines are skipped.
// A line holding a comma is split at commas (spaces and tabs around a field
// are dropped, an empty field is malformed); any other at runs of spaces and
// tabs. Every field is a finite decimal number ("+1", "-2.5e-3"); only the
// first line may hold other fields, and is then a header that is skipped.
// Every row has the same number of fields; no rows at all is malformed.
TableError parse_table(std::string_view text, NumberTable& out);

// The shortest text that reads back as exactly v (at most 17 significant
// digits): "0.1", "1e+22", "-0".
void append_number(Text& out, double v);
// cells row by row, fields separated by `separator`, each row ended by "\n".
void append_table(Text& out, const double* cells, std::size_t rows, std::size_t cols, char separator);
// The number a whole field holds; false for anything else (non-finite too).
bool parse_number(std::string_view field, double& out) noexcept;

enum class FileError : std::uint8_t { none, not_found, not_readable, directory, too_large };

// The whole of a regular file. A pipe or device is never waited on (it is
// not readable here), a directory says so, a file over max_bytes is too
// large. A link is followed: reading cannot harm the file it leads to.
FileError read_whole_file(const char* name, std::size_t max_bytes, Text& out);

}  // namespace ostr::persist
