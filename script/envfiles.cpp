// Environments and files in the language: the "export" and "import"
// commands, and the start-up script whose lines run in every fresh
// top-level environment.
#include <cstdio>
#include <vector>

#include "script/script.hpp"
#include "envio/serialize.hpp"

namespace ostr::script {
namespace {

// The lines of the start-up script, read once by InitializeGlobals.
std::vector<Text>& init_lines() {
    static std::vector<Text> lines;
    return lines;
}

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
    File f(std::fopen(name.c_str(), "wb"));
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
    File f(std::fopen(name.c_str(), "rb"));
    if (!f) return lang::Value::failure(lang::Error::invalid_object);
    obj::OwnedEnvironment loaded(envio::read_environment(f.get(), 1, false));
    if (!loaded) return lang::Value::failure(lang::Error::invalid_object);
    const std::size_t n = envio::merge_into(obj::top_level_of(env), loaded.get());
    return lang::Value::number({static_cast<double>(n), 0.0});
}

void run_init_lines(Arbenv* env) {
    for (const Text& line : init_lines()) run_script(line, env, true);
}

}  // namespace

void install_environment_files() {
    lang::register_builtin("export(1)", export_command);
    lang::register_builtin("import(1)", import_command);
    obj::environment_hooks().fresh_top_level = run_init_lines;
}

void load_init_script(const char* name, std::uint32_t flag) {
    std::vector<Text>& lines = init_lines();
    lines.clear();
    if (!flag || !name || !*name) return;
    File f(std::fopen(name, "rb"));
    if (!f) return;  // no start-up script: the normal case
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

void forget_init_script() noexcept { init_lines().clear(); }

}  // namespace ostr::script
