// The file commands: write(name, x) and read(name) for any value (a file
// holding an environment record with the one name "value", so every type
// the state file keeps round-trips), readmatrix, readvector and writematrix
// for numeric text, readstring and writestring for a whole text, and
// listf() for the working directory.
//
// Files are written under the rule of "export" (below the working
// directory, never through a link); any path may be read. Every failure
// answers a word that names its reason.
#include "script/files.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "core/runtime.hpp"
#include "envio/graph_io.hpp"
#include "envio/serialize.hpp"
#include "lang/containers.hpp"
#include "lang/matrices.hpp"
#include "persist/matrix_text.hpp"
#include "script/matrices.hpp"
#include "script/script.hpp"
#include "script/string_methods.hpp"

namespace ostr::script {
namespace {

using lang::Error;
using lang::Value;

// A value file or numeric text larger than this is not read.
constexpr std::size_t max_file_bytes = std::size_t{256} << 20;
// The name under which write() keeps its value in the record.
constexpr std::string_view value_key = "value";
// Entries of the working directory listed at most.
constexpr std::size_t max_listed = std::size_t{1} << 20;

Value fail(Error e) { return Value::failure(e); }

Error error_of(persist::FileError e) {
    switch (e) {
    case persist::FileError::not_found: return Error::file_not_found;
    case persist::FileError::directory: return Error::is_a_directory;
    default: return Error::file_not_readable;
    }
}

// The file name a command was given: a non-empty string.
bool file_name(const Value& v, Text& out) {
    std::string_view s;
    if (!string_arg(v, s) || s.empty() || s.find('\0') != std::string_view::npos) return false;
    out = Text(s);
    return true;
}

struct FileCloser {
    void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};

// The bytes written to the file under the writing rule; answers their
// number.
Value write_bytes(const Text& name, std::string_view bytes) {
    struct stat st;
    if (::stat(name.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return fail(Error::is_a_directory);
    std::unique_ptr<std::FILE, FileCloser> f(open_user_file_for_writing(name));
    if (!f) return fail(Error::file_not_writable);
    bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f.get()) == bytes.size();
    ok = std::fclose(f.release()) == 0 && ok;
    if (!ok) return fail(Error::file_not_writable);
    return Value::number({static_cast<double>(bytes.size()), 0.0});
}

// The whole file `name` (a string value), or the error word of why not.
Value read_bytes(const Value& arg, std::size_t max_bytes, Text& bytes) {
    Text name;
    if (!file_name(arg, name)) return fail(Error::invalid_expression);
    persist::FileError e = persist::read_whole_file(name.c_str(), max_bytes, bytes);
    return e == persist::FileError::none ? Value::number({0, 0}) : fail(error_of(e));
}

// write(name, x): x as the one object "value" of an environment record,
// the form export writes; answers the bytes written.
Value write_value(std::span<Value> args, Arbenv*) {
    Text name;
    if (!file_name(args[0], name)) return fail(Error::invalid_expression);
    obj::OwnedEnvironment scratch(obj::make_environment(nullptr));
    if (!scratch) return fail(Error::invalid_expression);
    obj::Object* o = lang::to_object(std::move(args[1]), scratch.get(), value_key);
    if (!o) return fail(Error::invalid_expression);
    obj::store(scratch.get(), o);
    // A value the record cannot hold (a lent scope) is refused, not lost.
    {
        envio::NodeSession nodes;
        Text check;
        if (!envio::put_object_bytes(check, o)) return fail(Error::invalid_object);
    }
    Text body;
    envio::write_body(scratch.get(), body);
    const auto n = static_cast<std::uint32_t>(body.size());
    Text file(reinterpret_cast<const char*>(&n), 4);
    file += body;
    return write_bytes(name, file);
}

// read(name): the value a write() put in the file.
Value read_value(std::span<Value> args, Arbenv* env) {
    Text bytes;
    if (Value r = read_bytes(args[0], max_file_bytes, bytes); r.is_error()) return r;
    std::uint32_t n = 0;
    if (bytes.size() >= 4) std::memcpy(&n, bytes.data(), 4);
    if (bytes.size() < 4 || n != bytes.size() - 4) return fail(Error::malformed_file);
    obj::OwnedEnvironment loaded(envio::read_body(std::string_view(bytes).substr(4), false));
    const obj::Object* o = loaded ? obj::find(loaded.get(), value_key) : nullptr;
    if (!o) return fail(Error::malformed_file);
    if (o->tag == obj::numeric || o->tag == obj::algebraic) return lang::value_of(o);
    return Value::object_of(lang::ObjectPtr(obj::copy_object(o, obj::top_level_of(env))));
}

// The numbers of a numeric text file, or the error word.
Value read_table(const Value& arg, persist::NumberTable& t) {
    Text bytes;
    if (Value r = read_bytes(arg, max_file_bytes, bytes); r.is_error()) return r;
    if (persist::parse_table(bytes, t) != persist::TableError::none) return fail(Error::malformed_csv);
    return Value::number({0, 0});
}

Value read_matrix(std::span<Value> args, Arbenv*) {
    persist::NumberTable t;
    if (Value r = read_table(args[0], t); r.is_error()) return r;
    obj::MatrixValue* m = obj::new_matrix(t.rows, t.cols);
    if (!m) return fail(Error::invalid_expression);
    for (std::size_t k = 0; k < t.cells.size(); ++k) m->items[k].num = {t.cells[k], 0.0};
    return lang::matrix_value(m);
}

// readvector(name): every number of the file, row after row.
Value read_vector(std::span<Value> args, Arbenv*) {
    persist::NumberTable t;
    if (Value r = read_table(args[0], t); r.is_error()) return r;
    return number_array(t.cells);
}

Value read_string(std::span<Value> args, Arbenv* env) {
    Text bytes;
    if (Value r = read_bytes(args[0], limits().max_string_bytes, bytes); r.is_error()) return r;
    // A string of the language ends at its first zero byte.
    if (bytes.find('\0') != Text::npos) return fail(Error::malformed_file);
    return Value::object_of(lang::ObjectPtr(make_string(bytes, "", env)));
}

// writestring(name, s): the bytes of the string, as they are.
Value write_string(std::span<Value> args, Arbenv*) {
    Text name;
    std::string_view s;
    if (!file_name(args[0], name) || !string_arg(args[1], s)) return fail(Error::invalid_expression);
    return write_bytes(name, s);
}

// The real numbers of items, or false when one is a formula or complex.
bool real_cells(std::span<const obj::Item> items, std::vector<double>& out) {
    out.reserve(items.size());
    for (const obj::Item& it : items) {
        if (it.obj || it.num.im != 0) return false;
        out.push_back(it.num.re);
    }
    return true;
}

Value write_cells(const Value& name_arg, std::span<const obj::Item> items, std::size_t rows, std::size_t cols) {
    Text name;
    if (!file_name(name_arg, name)) return fail(Error::invalid_expression);
    std::vector<double> cells;
    if (items.empty() || !real_cells(items, cells)) return fail(Error::invalid_expression);
    Text text;
    persist::append_table(text, cells.data(), rows, cols, ',');
    return write_bytes(name, text);
}

// writematrix(name, m): a matrix as rows, or an array of numbers as one
// number per line.
Value write_matrix(std::span<Value> args, Arbenv*) {
    const Value& v = args[1];
    if (v.kind != Value::Kind::object || !v.obj) return fail(Error::invalid_expression);
    if (v.obj->tag == obj::matrix) return write_matrix_file(args[0], *obj::matrix_of(v.obj.get()));
    if (v.obj->tag != obj::array) return fail(Error::invalid_expression);
    const auto& items = obj::array_of(v.obj.get())->items;
    return write_cells(args[0], std::span<const obj::Item>(items.data(), items.size()), items.size(), 1);
}

struct DirCloser {
    void operator()(DIR* d) const noexcept { ::closedir(d); }
};

struct Listed {
    Text name;
    double size;
};

// listf(): the working directory as [name, size] pairs sorted by name;
// a directory's name ends in "/" and its size is 0. A link counts as what
// it leads to (as itself when that is gone).
Value list_files(std::span<Value>, Arbenv*) {
    std::unique_ptr<DIR, DirCloser> d(::opendir("."));
    if (!d) return fail(Error::file_not_readable);
    std::vector<Listed> found;
    while (const dirent* e = ::readdir(d.get())) {
        if (std::strcmp(e->d_name, ".") == 0 || std::strcmp(e->d_name, "..") == 0) continue;
        if (found.size() == max_listed || (found.size() % 4096 == 0 && core::should_stop())) break;
        struct stat st;
        const int at = ::dirfd(d.get());
        const bool known =
            ::fstatat(at, e->d_name, &st, 0) == 0 || ::fstatat(at, e->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0;
        const bool dir = known && S_ISDIR(st.st_mode);
        Listed l{Text(e->d_name), known && !dir ? static_cast<double>(st.st_size) : 0.0};
        if (dir) l.name += '/';
        found.push_back(std::move(l));
    }
    std::sort(found.begin(), found.end(), [](const Listed& a, const Listed& b) { return a.name < b.name; });
    obj::ArrayValue* all = obj::new_array();
    Value out = lang::array_value(all);
    if (out.is_error()) return out;
    all->items.reserve(found.size());
    for (const Listed& l : found) {
        obj::ArrayValue* pair = obj::new_array();
        if (!pair) return fail(Error::invalid_expression);
        obj::Item row, name, size;
        row.obj = obj::make_array(pair, nullptr);
        if (!row.obj) return fail(Error::invalid_expression);
        all->items.push_back(row);
        pair->items.reserve(2);  // so that the string pushed next cannot be lost
        name.obj = make_string(l.name, "", nullptr);
        if (!name.obj) return fail(Error::invalid_expression);
        pair->items.push_back(name);
        size.num = {l.size, 0.0};
        pair->items.push_back(size);
    }
    obj::refresh_depth(*all);
    return out;
}

}  // namespace

Value write_matrix_file(const Value& name, const obj::MatrixValue& m) {
    return write_cells(name, std::span<const obj::Item>(m.items.data(), m.items.size()), m.rows, m.cols);
}

void install_files() {
    lang::register_builtin("write(2)", write_value);
    lang::register_builtin("read(1)", read_value);
    lang::register_builtin("readmatrix(1)", read_matrix);
    lang::register_builtin("writematrix(2)", write_matrix);
    lang::register_builtin("readvector(1)", read_vector);
    lang::register_builtin("readstring(1)", read_string);
    lang::register_builtin("writestring(2)", write_string);
    lang::register_builtin("listf(0)", list_files);
}

}  // namespace ostr::script
