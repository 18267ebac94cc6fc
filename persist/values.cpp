// The value handlers of the ten built-in types: how each value is written,
// read back, copied and freed. Each kind is one C++ type with four static
// handlers; the exported functions are one-line adapters to them.
//
// Reading follows one rule for every field: a number or a block is taken
// only when all of it is there, otherwise nothing is consumed and the
// destination keeps what it had (new blocks start zeroed). A length taken
// from the stream is checked against what the stream can still hold before
// anything is allocated for it.
#include <cstring>
#include <type_traits>
#include <vector>

#include "core/memory.hpp"
#include "persist/containers.hpp"
#include "persist/persist.hpp"

namespace ostr::persist {
namespace {

template <class T>
T* new_copy(const void* v) noexcept {
    if (!v) return nullptr;
    auto* c = static_cast<T*>(mem_alloc(sizeof(T)));
    if (c) std::memcpy(c, v, sizeof(T));
    return c;
}

// A fixed-size value: integer (4 bytes), decimal (8), complex (two doubles).
template <class T, std::size_t Parts>
struct Scalar {
    static void* read(Stream& in) noexcept {
        auto* v = static_cast<unsigned char*>(mem_calloc(1, sizeof(T)));
        if (!v) return nullptr;
        for (std::size_t i = 0; i < Parts; ++i) in.get(v + i * sizeof(T) / Parts, sizeof(T) / Parts);
        return v;
    }
    static void* copy(const void* v) noexcept { return new_copy<T>(v); }
    static void free(void* v) noexcept { mem_free(v); }
};

// The two scalar writers grow a memory stream by their own rules.
struct IntegerValue : Scalar<std::int32_t, 1> {
    static void write(const void* v, Stream& out) noexcept {
        if (v) out.put_i32(*static_cast<const std::int32_t*>(v), Growth::integer);
    }
};
struct DecimalValue : Scalar<double, 1> {
    static void write(const void* v, Stream& out) noexcept {
        if (v) out.put_f64(*static_cast<const double*>(v), Growth::decimal);
    }
};
// Real then imaginary, as one element block.
struct ComplexValue : Scalar<Complex, 2> {
    static void write(const void* v, Stream& out) noexcept {
        if (v) out.put_block(v, sizeof(Complex));
    }
};

struct StringValue {
    // An absent text writes nothing at all, not even a length.
    static void write(const void* v, Stream& out) noexcept { write_text(out, static_cast<const char*>(v)); }
    static void* read(Stream& in) {
        Text t;
        read_text(in, t);
        return dup_text(t);
    }
    static void* copy(const void* v) noexcept { return v ? dup_text(static_cast<const char*>(v)) : nullptr; }
    static void free(void* v) noexcept { free_text(static_cast<char*>(v)); }
};

// Texts up to the first empty one; an empty text in the middle ends what is
// written.
struct StringArrayValue {
    static void write(const void* v, Stream& out) noexcept {
        auto* a = static_cast<char* const*>(v);
        if (!a) return;
        const std::int32_t n = string_count(a);
        out.put_u32(static_cast<std::uint32_t>(n));
        for (std::int32_t i = 0; i < n; ++i) write_text(out, a[i]);
    }
    // Stops at the first text that is not there or is empty (a string vector
    // ends there anyway), so a damaged count costs nothing.
    static void* read(Stream& in) {
        std::uint32_t n = 0;
        in.get_u32(n);
        std::vector<OwnedText> texts;
        Text t;
        for (std::uint32_t i = 0; i < n && read_text(in, t) && !t.empty(); ++i) {
            texts.emplace_back(dup_text(t));
            if (!texts.back()) return nullptr;
        }
        auto** a = static_cast<char**>(mem_calloc(texts.size() + 1, sizeof(char*)));
        if (!a || !(a[texts.size()] = dup_text(""))) {
            mem_free(a);
            return nullptr;
        }
        for (std::size_t i = 0; i < texts.size(); ++i) a[i] = texts[i].release();
        return a;
    }
    static void* copy(const void* v) noexcept { return CopyStringVector(static_cast<char* const*>(v)); }
    static void free(void* v) noexcept { FreeStringVector(static_cast<char**>(v)); }
};

// The vector writer and reader disagree on purpose; keep it. The writer
// sends the length and then only n bytes of the element storage (element
// size 1); the reader takes the length and then n doubles. A "vector" entry
// therefore does not survive a round trip.
struct VectorValue {
    static void write(const void* v, Stream& out) noexcept {
        auto* d = static_cast<const double*>(v);
        if (!d) return;
        const std::int32_t n = count_of(d[0]);
        out.put_i32(n);
        if (n > 0) out.put_block(d + 1, static_cast<std::size_t>(n));
    }
    static void* read(Stream& in) noexcept {
        std::int32_t n = 0;
        in.get_i32(n);
        const std::uint64_t bytes = static_cast<std::uint64_t>(n) * sizeof(double);
        if (n < 0 || !in.can_hold(bytes)) return nullptr;
        double* v = Vector(n);
        if (!v || count_of(v[0]) != n || (n > 0 && !in.get(v + 1, bytes))) {  // the library's fallback or a short file
            FreeVector(v);
            return nullptr;
        }
        return v;
    }
    static void* copy(const void* v) noexcept { return CopyVector(static_cast<const double*>(v)); }
    static void free(void* v) noexcept { FreeVector(v); }
};

struct MatrixValue {
    // Rows without columns cost memory but no bytes: their number is bounded
    // on reading instead.
    static constexpr std::int32_t max_empty_rows = 1 << 16;

    static void write(const void* v, Stream& out) noexcept {
        auto* m = static_cast<double* const*>(v);
        if (!m || !m[0]) return;
        const std::int32_t rows = count_of(m[0][0]);
        const std::int32_t cols = rows > 0 ? count_of(m[1][0]) : 0;
        out.put_i32(rows);
        out.put_i32(cols);
        for (std::int32_t i = 1; i <= rows && cols > 0; ++i)
            out.put_block(m[i] + 1, static_cast<std::size_t>(cols) * sizeof(double));
    }
    static void* read(Stream& in) noexcept {
        std::int32_t rows = 0, cols = 0;
        in.get_i32(rows);
        in.get_i32(cols);
        if (rows < 0 || cols < 0) return nullptr;
        // rows * cols < 2^62, but times 8 it could wrap: no stream holds 2^60 cells anyway.
        const std::uint64_t cells = static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(cols);
        if (cells > (std::uint64_t{1} << 60) || !in.can_hold(cells * 8) || (cells == 0 && rows > max_empty_rows))
            return nullptr;
        double** m = Matrix(rows, cols);
        bool ok = m && m[0] && count_of(m[0][0]) == rows && (rows == 0 || count_of(m[1][0]) == cols);  // not the fallback
        for (std::int32_t i = 1; ok && i <= rows && cols > 0; ++i)
            ok = in.get(m[i] + 1, static_cast<std::size_t>(cols) * sizeof(double));
        if (ok) return m;
        FreeMatrix(m);
        return nullptr;
    }
    static void* copy(const void* v) noexcept { return CopyMatrix(static_cast<double**>(const_cast<void*>(v))); }
    static void free(void* v) noexcept { FreeMatrix(static_cast<double**>(v)); }
};

struct ArbTreeValue {
    static void write(const void* v, Stream& out) noexcept {
        if (v) write_arbtree(static_cast<ArbTree*>(const_cast<void*>(v)), nullptr, out);
    }
    static void* read(Stream& in) noexcept { return read_arbtree(in); }
    static void* copy(const void* v) noexcept { return copyArbTree(static_cast<ArbTree*>(const_cast<void*>(v))); }
    static void free(void* v) noexcept {
        freeArbTree(static_cast<ArbTree*>(v), nullptr, 1);
        mem_free(v);
    }
};

// The content of a byte array is its bytes before the position.
struct ByteArrayValue {
    static void write(const void* v, Stream& out) noexcept { write_mem_file(static_cast<const MemFile*>(v), out); }
    static void* read(Stream& in) noexcept { return read_mem_file(in); }
    static void* copy(const void* v) noexcept {
        return v ? CopyMemFile(static_cast<MemFile*>(const_cast<void*>(v))) : nullptr;
    }
    static void free(void* v) noexcept { MemClose(static_cast<MemFile*>(v)); }
};

// A "string_tree": a search tree of texts with fixed handlers.
struct StringTreeValue {
    static void write(const void* v, Stream& out) noexcept {
        if (v) write_rbtree(static_cast<RBTree*>(const_cast<void*>(v)), nullptr, out);
    }
    static void* read(Stream& in) noexcept {
        return read_rbtree(in, freeRBNodeValueString, writeRBNodeValueString, readRBNodeValueString,
                           copyRBNodeValueString);
    }
    static void* copy(const void* v) noexcept { return copyRBTree(static_cast<RBTree*>(const_cast<void*>(v))); }
    static void free(void* v) noexcept {
        freeRBTree(static_cast<RBTree*>(v), nullptr, 1);
        mem_free(v);
    }
};

// The exported handlers on a Stream of their own. The nested trees may be
// large, so theirs is buffered in file mode; a scalar is one field.
template <class K>
constexpr bool buffered = std::is_same_v<K, ArbTreeValue> || std::is_same_v<K, StringTreeValue>;

// Runs f on a Stream over (stream, mode) that is buffered when K's is.
template <class K, class F>
auto on_stream(void* stream, std::int32_t mode, F f) noexcept {
    if constexpr (buffered<K>) {
        FileBuffer b;
        Stream s(stream, mode, b);
        return f(s);
    } else {
        Stream s(stream, mode);
        return f(s);
    }
}

template <class K>
void write_value(void* v, void* stream, std::int32_t mode) noexcept {
    on_stream<K>(stream, mode, [&](Stream& out) {
        if (out) K::write(v, out);
    });
}
template <class K>
void* read_value(void* stream, std::int32_t mode) noexcept {
    return on_stream<K>(stream, mode, [](Stream& in) { return in ? K::read(in) : nullptr; });
}

// A built-in type's C handlers and their Stream forms.
struct Builtin {
    ArbWriteFn write;
    ArbReadFn read;
    StreamWriteFn stream_write;
    StreamReadFn stream_read;
};

template <class K>
constexpr Builtin builtin(ArbWriteFn w, ArbReadFn r) noexcept {
    return {w, r, K::write, K::read};
}

const Builtin builtins[] = {
    builtin<IntegerValue>(writeRBNodeValueInteger, readRBNodeValueInteger),
    builtin<DecimalValue>(writeRBNodeValueDecimal, readRBNodeValueDecimal),
    builtin<ComplexValue>(writeRBNodeValueComplex, readRBNodeValueComplex),
    builtin<StringValue>(writeRBNodeValueString, readRBNodeValueString),
    builtin<StringArrayValue>(writeRBNodeValueStringArray, readRBNodeValueStringArray),
    builtin<VectorValue>(writeRBNodeValueVector, readRBNodeValueVector),
    builtin<MatrixValue>(writeRBNodeValueMatrix, readRBNodeValueMatrix),
    builtin<ArbTreeValue>(writeRBNodeValueArbTree, readRBNodeValueArbTree),
    builtin<ByteArrayValue>(writeRBNodeValueByteArray, readRBNodeValueByteArray),
    builtin<StringTreeValue>(writeRBNodeValueTree, readRBNodeValueStringTree),
};

}  // namespace

StreamWriteFn stream_writer(ArbWriteFn fn) noexcept {
    for (const Builtin& b : builtins)
        if (fn && fn == b.write) return b.stream_write;
    return nullptr;
}

StreamReadFn stream_reader(ArbReadFn fn) noexcept {
    for (const Builtin& b : builtins)
        if (fn && fn == b.read) return b.stream_read;
    return nullptr;
}

}  // namespace ostr::persist

using namespace ostr::persist;

extern "C" {

void writeRBNodeValueInteger(void* v, void* s, int32_t m) noexcept { write_value<IntegerValue>(v, s, m); }
void* readRBNodeValueInteger(void* s, int32_t m) noexcept { return read_value<IntegerValue>(s, m); }
void* copyRBNodeValueInteger(void* v) noexcept { return IntegerValue::copy(v); }
void freeRBNodeValueInteger(void* v) noexcept { IntegerValue::free(v); }

void writeRBNodeValueDecimal(void* v, void* s, int32_t m) noexcept { write_value<DecimalValue>(v, s, m); }
void* readRBNodeValueDecimal(void* s, int32_t m) noexcept { return read_value<DecimalValue>(s, m); }
void* copyRBNodeValueDecimal(void* v) noexcept { return DecimalValue::copy(v); }
void freeRBNodeValueDecimal(void* v) noexcept { DecimalValue::free(v); }

void writeRBNodeValueComplex(void* v, void* s, int32_t m) noexcept { write_value<ComplexValue>(v, s, m); }
void* readRBNodeValueComplex(void* s, int32_t m) noexcept { return read_value<ComplexValue>(s, m); }
void* copyRBNodeValueComplex(void* v) noexcept { return ComplexValue::copy(v); }
void freeRBNodeValueComplex(void* v) noexcept { ComplexValue::free(v); }

void writeRBNodeValueString(void* v, void* s, int32_t m) noexcept { write_value<StringValue>(v, s, m); }
void* readRBNodeValueString(void* s, int32_t m) noexcept { return read_value<StringValue>(s, m); }
void* copyRBNodeValueString(void* v) noexcept { return StringValue::copy(v); }
void freeRBNodeValueString(void* v) noexcept { StringValue::free(v); }

void writeRBNodeValueStringArray(void* v, void* s, int32_t m) noexcept { write_value<StringArrayValue>(v, s, m); }
void* readRBNodeValueStringArray(void* s, int32_t m) noexcept { return read_value<StringArrayValue>(s, m); }
void* copyRBNodeValueStringArray(void* v) noexcept { return StringArrayValue::copy(v); }
void freeRBNodeValueStringArray(void* v) noexcept { StringArrayValue::free(v); }

void writeRBNodeValueVector(void* v, void* s, int32_t m) noexcept { write_value<VectorValue>(v, s, m); }
void* readRBNodeValueVector(void* s, int32_t m) noexcept { return read_value<VectorValue>(s, m); }
void* copyRBNodeValueVector(void* v) noexcept { return VectorValue::copy(v); }
void freeRBNodeValueVector(void* v) noexcept { VectorValue::free(v); }

void writeRBNodeValueMatrix(void* v, void* s, int32_t m) noexcept { write_value<MatrixValue>(v, s, m); }
void* readRBNodeValueMatrix(void* s, int32_t m) noexcept { return read_value<MatrixValue>(s, m); }
void* copyRBNodeValueMatrix(void* v) noexcept { return MatrixValue::copy(v); }
void freeRBNodeValueMatrix(void* v) noexcept { MatrixValue::free(v); }

void writeRBNodeValueArbTree(void* v, void* s, int32_t m) noexcept { write_value<ArbTreeValue>(v, s, m); }
void* readRBNodeValueArbTree(void* s, int32_t m) noexcept { return read_value<ArbTreeValue>(s, m); }
void* copyRBNodeValueArbTree(void* v) noexcept { return ArbTreeValue::copy(v); }
void freeRBNodeValueArbTree(void* v) noexcept { ArbTreeValue::free(v); }

void writeRBNodeValueByteArray(void* v, void* s, int32_t m) noexcept { write_value<ByteArrayValue>(v, s, m); }
void* readRBNodeValueByteArray(void* s, int32_t m) noexcept { return read_value<ByteArrayValue>(s, m); }
void* copyRBNodeValueByteArray(void* v) noexcept { return ByteArrayValue::copy(v); }
void freeRBNodeValueByteArray(void* v) noexcept { ByteArrayValue::free(v); }

// The string tree's handlers are named after the tree, not after the type.
void writeRBNodeValueTree(void* v, void* s, int32_t m) noexcept { write_value<StringTreeValue>(v, s, m); }
void* readRBNodeValueStringTree(void* s, int32_t m) noexcept { return read_value<StringTreeValue>(s, m); }
void* copyRBNodeValueTree(void* v) noexcept { return StringTreeValue::copy(v); }
void freeRBNodeValueTree(void* v) noexcept { StringTreeValue::free(v); }

}
