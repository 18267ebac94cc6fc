// Numeric matrices as text and as typed-tree files: the parser and writer of
// comma- and whitespace-separated rows, whole-file reading with the reason
// of a failure, and the C face of matrix files (include/ostravine/matrixfile.h).
//
// Numbers are written in the shortest form that reads back as the same
// double (std::to_chars), and read with std::from_chars: neither depends on
// the C locale, so a file written here reads back bit for bit anywhere.
#include "persist/matrix_text.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "ostravine/core.h"
#include "ostravine/matrixfile.h"
#include "ostravine/numeric.h"
#include "persist/containers.hpp"
#include "persist/persist.hpp"

namespace ostr::persist {
namespace {

constexpr std::string_view blanks = " \t";
// A text matrix file larger than this is not read: 2^22 cells of the
// longest number text fit in well under it.
constexpr std::size_t max_text_file = std::size_t{256} << 20;
// The key and type of the one entry of a binary matrix file.
constexpr const char* binary_key = "matrix";

std::string_view trimmed(std::string_view s) noexcept {
    const std::size_t a = s.find_first_not_of(blanks);
    if (a == std::string_view::npos) return {};
    return s.substr(a, s.find_last_not_of(blanks) - a + 1);
}

// The fields of one non-blank line; false for an empty field between commas
// and for more fields than a table may hold (a line of a huge file would
// otherwise make a list of views larger than the file).
bool split_fields(std::string_view line, std::vector<std::string_view>& fields) {
    fields.clear();
    if (line.find(',') != std::string_view::npos) {
        for (std::size_t at = 0;;) {
            const std::size_t comma = line.find(',', at);
            std::string_view f = trimmed(line.substr(at, comma == std::string_view::npos ? comma : comma - at));
            if (f.empty() || fields.size() == max_table_cells) return false;
            fields.push_back(f);
            if (comma == std::string_view::npos) return true;
            at = comma + 1;
        }
    }
    for (std::size_t at = line.find_first_not_of(blanks); at != std::string_view::npos;) {
        const std::size_t end = line.find_first_of(blanks, at);
        if (fields.size() == max_table_cells) return false;
        fields.push_back(line.substr(at, end == std::string_view::npos ? end : end - at));
        at = end == std::string_view::npos ? end : line.find_first_not_of(blanks, end);
    }
    return true;
}

// The fields of one line as numbers appended to the table; false when one
// is not a number (the table then holds part of the row: the caller fails).
bool append_row(const std::vector<std::string_view>& fields, NumberTable& out) {
    for (std::string_view f : fields) {
        double v;
        if (!parse_number(f, v)) return false;
        out.cells.push_back(v);
    }
    return true;
}

// A descriptor that closes itself.
struct Fd {
    int fd;
    ~Fd() {
        if (fd >= 0) ::close(fd);
    }
};

double** to_matrix(const NumberTable& t) {
    double** m = Matrix(static_cast<std::int32_t>(t.rows), static_cast<std::int32_t>(t.cols));
    // The 1x1 zero matrix is the numeric library's answer when memory ran out.
    if (!m || count_of(m[0][0]) != static_cast<std::int32_t>(t.rows) ||
        count_of(m[1][0]) != static_cast<std::int32_t>(t.cols)) {
        FreeMatrix(m);
        return nullptr;
    }
    for (std::size_t i = 0; i < t.rows; ++i)
        for (std::size_t j = 0; j < t.cols; ++j) m[i + 1][j + 1] = t.cells[i * t.cols + j];
    return m;
}

// A row-pointer matrix's shape; false for a null, empty or damaged one.
bool shape_of(double** m, std::size_t& rows, std::size_t& cols) noexcept {
    if (!m || !m[0]) return false;
    const std::int32_t r = count_of(m[0][0]);
    const std::int32_t c = r > 0 && m[1] ? count_of(m[1][0]) : 0;
    rows = static_cast<std::size_t>(r);
    cols = static_cast<std::size_t>(c);
    return r > 0 && c > 0;
}

Text matrix_text(double** m, char separator) {
    std::size_t rows, cols;
    if (!shape_of(m, rows, cols)) return {};
    Text out;
    std::vector<double> cells;
    cells.reserve(rows * cols);
    for (std::size_t i = 1; i <= rows; ++i) cells.insert(cells.end(), m[i] + 1, m[i] + 1 + cols);
    append_table(out, cells.data(), rows, cols, separator);
    return out;
}

bool valid_separator(std::int32_t s) noexcept { return s == ',' || s == ' ' || s == '\t'; }

// Only a regular file (or none yet) is written: opening a pipe for writing
// would wait for a reader.
bool writable(const char* name) noexcept {
    struct stat st;
    return name && (::stat(name, &st) != 0 || S_ISREG(st.st_mode));
}

bool write_file(const char* name, std::string_view bytes) {
    std::FILE* f = writable(name) ? std::fopen(name, "wb") : nullptr;
    if (!f) return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}

}  // namespace

bool parse_number(std::string_view field, double& out) noexcept {
    // from_chars takes no leading "+", and reads "inf" and "nan": neither
    // belongs in a table of numbers.
    if (!field.empty() && field.front() == '+') {
        field.remove_prefix(1);
        if (!field.empty() && field.front() == '-') return false;
    }
    const char* end = field.data() + field.size();
    auto [ptr, ec] = std::from_chars(field.data(), end, out);
    return ec == std::errc() && ptr == end && std::isfinite(out);
}

TableError parse_table(std::string_view text, NumberTable& out) {
    out = NumberTable{};
    std::vector<std::string_view> fields;
    bool first = true;
    while (!text.empty()) {
        const std::size_t nl = text.find('\n');
        std::string_view line = text.substr(0, nl);
        text = nl == std::string_view::npos ? std::string_view() : text.substr(nl + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        line = trimmed(line);
        if (line.empty()) continue;
        if (!split_fields(line, fields)) return TableError::malformed;
        const std::size_t before = out.cells.size();
        if (before + fields.size() > max_table_cells) return TableError::too_large;
        if (!append_row(fields, out)) {
            if (!first) return TableError::malformed;
            out.cells.resize(before);
            out.had_header = true;
            first = false;
            continue;
        }
        if (out.rows == 0) out.cols = fields.size();
        if (fields.size() != out.cols) return TableError::malformed;
        ++out.rows;
        first = false;
    }
    return out.rows == 0 ? TableError::malformed : TableError::none;
}

void append_number(Text& out, double v) {
    char buf[32];
    auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, v);
    out.append(buf, ec == std::errc() ? static_cast<std::size_t>(ptr - buf) : 0);
}

void append_table(Text& out, const double* cells, std::size_t rows, std::size_t cols, char separator) {
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t j = 0; j < cols; ++j) {
            if (j) out += separator;
            append_number(out, cells[i * cols + j]);
        }
        out += '\n';
    }
}

FileError read_whole_file(const char* name, std::size_t max_bytes, Text& out) {
    out.clear();
    if (!name || !*name) return FileError::not_found;
    Fd fd{::open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC)};
    if (fd.fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return FileError::not_found;
        return errno == EISDIR ? FileError::directory : FileError::not_readable;
    }
    struct stat st;
    if (::fstat(fd.fd, &st) != 0) return FileError::not_readable;
    if (S_ISDIR(st.st_mode)) return FileError::directory;
    if (!S_ISREG(st.st_mode)) return FileError::not_readable;
    if (static_cast<std::uint64_t>(st.st_size) > max_bytes) return FileError::too_large;
    char chunk[1 << 14];
    for (;;) {
        const ssize_t got = ::read(fd.fd, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            wipe(chunk, sizeof chunk);
            return FileError::not_readable;
        }
        if (got == 0) break;
        // The file may have grown since it was measured.
        if (out.size() + static_cast<std::size_t>(got) > max_bytes) {
            wipe(chunk, sizeof chunk);
            return FileError::too_large;
        }
        out.append(chunk, static_cast<std::size_t>(got));
    }
    wipe(chunk, sizeof chunk);
    return FileError::none;
}

}  // namespace ostr::persist

using namespace ostr;
using namespace ostr::persist;

extern "C" {

double** MatrixFromText(const char* text) noexcept {
    if (!text) return nullptr;
    return or_failure<double**>(nullptr, [&]() -> double** {
        NumberTable t;
        return parse_table(text, t) == TableError::none ? to_matrix(t) : nullptr;
    });
}

char* MatrixToText(double** m, int32_t separator) noexcept {
    if (!valid_separator(separator)) return nullptr;
    return or_failure<char*>(nullptr, [&]() -> char* {
        Text t = matrix_text(m, static_cast<char>(separator));
        return t.empty() ? nullptr : dup_text(t);
    });
}

double** ReadMatrixText(const char* fileName) noexcept {
    return or_failure<double**>(nullptr, [&]() -> double** {
        Text bytes;
        NumberTable t;
        if (read_whole_file(fileName, max_text_file, bytes) != FileError::none) return nullptr;
        return parse_table(bytes, t) == TableError::none ? to_matrix(t) : nullptr;
    });
}

int32_t WriteMatrixText(double** m, const char* fileName, int32_t separator) noexcept {
    if (!valid_separator(separator)) return 0;
    return or_failure<int32_t>(0, [&]() -> int32_t {
        Text t = matrix_text(m, static_cast<char>(separator));
        return !t.empty() && write_file(fileName, t) ? 1 : 0;
    });
}

int32_t WriteMatrixBinary(double** m, const char* fileName) noexcept {
    std::size_t rows, cols;
    if (!writable(fileName) || !shape_of(m, rows, cols)) return 0;
    ArbTree* tree = initializeArbTree();
    if (!tree) return 0;
    int32_t ok = 0;
    if (double** copy = CopyMatrix(m)) {
        ArbValue* entry = createArbValue(copy, "matrix");
        if (!entry) FreeMatrix(copy);
        insertArbNode(tree, nullptr, binary_key, entry);
        ok = entry && tree->count == 1 ? writeArbTreeToFile(tree, fileName) : 0;
    }
    freeArbTree(tree, nullptr, 1);
    FreeBlock(tree);
    return ok;
}

double** ReadMatrixBinary(const char* fileName) noexcept {
    // The typed-tree reader opens the file itself; a pipe or a directory is
    // turned away first so that it never waits on one.
    struct stat st;
    if (!fileName || ::stat(fileName, &st) != 0 || !S_ISREG(st.st_mode)) return nullptr;
    ArbTree* tree = readArbTreeFromFile(fileName);
    if (!tree) return nullptr;
    double** found = tree->count == 1 ? static_cast<double**>(getVal(binary_key, tree, "matrix")) : nullptr;
    std::size_t rows, cols;
    double** m = found && shape_of(found, rows, cols) ? CopyMatrix(found) : nullptr;
    freeArbTree(tree, nullptr, 1);
    FreeBlock(tree);
    return m;
}

}
