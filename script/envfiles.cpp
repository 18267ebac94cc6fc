// Environments and files in the language: the "export" and "import"
// commands, and the start-up script whose lines run in every fresh
// top-level environment.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "script/script.hpp"
#include "script/state.hpp"
#include "envio/serialize.hpp"

namespace ostr::script {
namespace {

// The lines of the start-up script, read once by InitializeGlobals.
std::vector<Text>& init_lines() { return state().init_lines; }

// A start-up script larger than this is not read: it is a mistake, not a
// list of definitions.
constexpr long max_init_bytes = 1L << 20;

bool blank(std::string_view line) noexcept {
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

struct FileCloser {
    void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// A file descriptor that closes itself.
class Fd {
public:
    explicit Fd(int fd = -1) noexcept : fd_(fd) {}
    ~Fd() { reset(); }
    Fd(Fd&& other) noexcept : fd_(other.release()) {}
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int get() const noexcept { return fd_; }
    void reset(int fd = -1) noexcept {
        if (fd_ >= 0) ::close(fd_);
        fd_ = fd;
    }
    int release() noexcept { return std::exchange(fd_, -1); }

private:
    int fd_;
};

// Only a regular file is read or written: a pipe or a device would block or
// never end, and a directory holds no environment. The descriptor is handed
// to a stream that then owns it.
File regular_stream(Fd fd, const char* mode) {
    struct stat st;
    if (fd.get() < 0 || ::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return nullptr;
    if (*mode == 'w' && ::ftruncate(fd.get(), 0) != 0) return nullptr;
    File f(::fdopen(fd.get(), mode));
    if (f) fd.release();
    return f;
}

// Writing outside the working directory, or through a symbolic link at the
// end of the name, needs the user's own leave: a variable of the process's
// environment, which no script line can set.
bool write_anywhere() noexcept {
    const char* v = std::getenv("OSTRAVINE_WRITE_ANYWHERE");
    return v && std::strcmp(v, "1") == 0;
}

// Opens a relative name with no ".." in it for writing, below the working
// directory: each directory on the way is entered without following a
// link, and a link at the end is not written through.
Fd open_inside(std::string_view name) {
    if (name.empty() || name.front() == '/') return Fd();
    Fd dir;
    for (std::size_t slash; (slash = name.find('/')) != std::string_view::npos;) {
        const Text part(name.substr(0, slash));
        name.remove_prefix(slash + 1);
        if (part.empty() || part == ".") continue;
        if (part == "..") return Fd();
        const int at = dir.get() >= 0 ? dir.get() : AT_FDCWD;
        dir.reset(::openat(at, part.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (dir.get() < 0) return Fd();
    }
    if (name.empty() || name == "..") return Fd();
    const Text last(name);
    const int at = dir.get() >= 0 ? dir.get() : AT_FDCWD;
    return Fd(::openat(at, last.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
}

File open_for_writing(const Text& name) {
    if (write_anywhere())
        return regular_stream(Fd(::open(name.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0666)), "wb");
    return regular_stream(open_inside(name), "wb");
}

// Readers answer alike for a file that is missing, unreadable or no
// environment file, so they tell nothing about files beyond that.
File open_for_reading(const Text& name) {
    return regular_stream(Fd(::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)), "rb");
}

// The file name a command was given: the text of a string argument.
bool file_name(const lang::Value& v, Text& out) {
    if (v.kind != lang::Value::Kind::object || !v.obj || v.obj->tag != obj::string) return false;
    out = obj::text_value(v.obj.get());
    return !out.empty();
}

// export("file"): the top-level environment written to the file as one
// environment record; answers the number of names written.
lang::Value export_command(std::span<lang::Value> args, Arbenv* env) {
    Text name;
    if (!file_name(args[0], name)) return lang::Value::failure();
    Arbenv* top = obj::top_level_of(env);
    Text body;
    envio::write_body(top, body);
    File f = open_for_writing(name);
    if (!f) return lang::Value::failure(lang::Error::invalid_object);
    const auto n = static_cast<std::uint32_t>(body.size());
    bool ok = std::fwrite(&n, 4, 1, f.get()) == 1 && std::fwrite(body.data(), 1, n, f.get()) == n;
    ok = std::fclose(f.release()) == 0 && ok;
    if (!ok) return lang::Value::failure(lang::Error::invalid_object);
    const double names = static_cast<double>(top->objects.size() + top->functions.size() + top->classes.size() +
                                             top->statics.size());
    return lang::Value::number({names, 0.0});
}

// import("file"): an environment file merged into the top-level
// environment; names in the file replace names of the session. The
// session's settings (digits, random state) stay. Answers the number of
// names merged.
lang::Value import_command(std::span<lang::Value> args, Arbenv* env) {
    Text name;
    if (!file_name(args[0], name)) return lang::Value::failure();
    File f = open_for_reading(name);
    if (!f) return lang::Value::failure(lang::Error::invalid_object);
    obj::OwnedEnvironment loaded(envio::read_environment(f.get(), 1, false));
    if (!loaded) return lang::Value::failure(lang::Error::invalid_object);
    const std::size_t n = envio::merge_into(obj::top_level_of(env), loaded.get());
    return lang::Value::number({static_cast<double>(n), 0.0});
}

void run_init_lines(Arbenv* env) {
    for (const Text& line : init_lines()) run_script(line, env, true);
}

// The start-up script runs only when it is a regular file of the user's
// that no one else can write, as shells treat theirs: a file found in a
// directory someone else controls never runs. A link is not followed.
File trusted_script(const char* name) {
    Fd fd(::open(name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat st;
    if (fd.get() < 0 || ::fstat(fd.get(), &st) != 0) return nullptr;
    if (st.st_uid != ::geteuid() || (st.st_mode & (S_IWGRP | S_IWOTH)) != 0) return nullptr;
    return regular_stream(std::move(fd), "rb");
}

}  // namespace

std::FILE* open_user_file_for_writing(const Text& name) { return open_for_writing(name).release(); }

void install_environment_files() {
    lang::register_builtin("export(1)", export_command);
    lang::register_builtin("import(1)", import_command);
    obj::environment_hooks().fresh_top_level = run_init_lines;
}

void load_init_script(const char* name, std::uint32_t flag) {
    std::vector<Text>& lines = init_lines();
    lines.clear();
    if (!flag || !name || !*name) return;
    File f = trusted_script(name);
    if (!f) return;  // no start-up script (the normal case), or one not to be trusted
    Text all;
    char chunk[4096];
    for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, f.get())) > 0;) {
        all.append(chunk, got);
        if (all.size() > static_cast<std::size_t>(max_init_bytes)) return;
    }
    std::string_view rest(all);
    while (!rest.empty()) {
        std::size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        line = line.substr(0, line.find('\0'));
        if (!blank(line)) lines.emplace_back(line);
    }
}

}  // namespace ostr::script
