// Running the built console program in a scratch directory: standard input
// from a text, standard output and the exit code captured byte for byte.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostr::test {

namespace fs = std::filesystem;

inline const std::string state_name = "ostravine_auto_save.core";

// The messages word for word.
inline const std::string msg_missing = "The default input environment file '" + state_name +
                                       "' could not be loaded, generating a new environment.\n";
inline const std::string msg_obsolete =
    "The environment version in the file '" + state_name + "' is obsolete, generating a new environment.\n";
inline const std::string msg_integrity =
    "The integrity of the state file '" + state_name + "' could not be validated, generating a new environment.\n";
inline const std::string msg_not_found =
    "The environment could not be found in the state file '" + state_name + "', generating a new environment.\n";
inline std::string msg_named(const std::string& name) {
    return "The input environment file '" + name + "' could not be loaded, generating the default environment.\n";
}
inline const std::string msg_save_failed = "The local environment could not be persisted to file.\n";
inline const std::string usage = "Ostravine.exe [path to environment file]";

inline std::string read_file(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}
inline void write_file(const fs::path& p, const std::string& bytes) {
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

struct Outcome {
    std::string out;
    int code = -1;
};

// A scratch working directory, removed with everything in it.
class Scratch {
public:
    Scratch() {
        std::string t = (fs::temp_directory_path() / "ostr_session_XXXXXX").string();
        if (!mkdtemp(t.data())) ADD_FAILURE() << "mkdtemp";
        dir_ = t;
    }
    ~Scratch() {
        std::error_code ec;
        fs::permissions(dir_, fs::perms::owner_all, fs::perm_options::add, ec);
        fs::remove_all(dir_, ec);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    const fs::path& dir() const { return dir_; }
    fs::path operator/(const std::string& name) const { return dir_ / name; }
    std::string state() const { return read_file(dir_ / state_name); }
    bool has(const std::string& name) const { return fs::exists(dir_ / name); }

    // Runs the console here (or in the subdirectory `sub`) with the input;
    // `args` are appended to the command line as they stand (quote them),
    // `prefix` runs before the program in the same shell.
    Outcome run(const std::string& input, const std::string& args = "", const std::string& prefix = "") const {
        return run_program(OSTR_CONSOLE, input, args, prefix);
    }
    Outcome run_program(const std::string& program, const std::string& input, const std::string& args = "",
                        const std::string& prefix = "", const std::string& sub = "") const {
        write_file(dir_ / ".stdin", input);
        const std::string d = dir_.string();
        std::string cmd = "cd '" + (dir_ / sub).string() + "' && " + prefix + " exec '" + program + "' " + args +
                          " < '" + d + "/.stdin' > '" + d + "/.stdout'";
        int status = std::system(cmd.c_str());
        Outcome r;
        r.out = read_file(dir_ / ".stdout");
        r.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        fs::remove(dir_ / ".stdin");
        fs::remove(dir_ / ".stdout");
        return r;
    }

private:
    fs::path dir_;
};

// What the console prints for a session of answered lines that ends with a
// blank line: each line's prompt and answer, then the last prompt.
inline std::string transcript(const std::vector<std::string>& answers) {
    std::string s;
    for (const auto& a : answers) s += "\n: : " + a + "\n\n";
    return s + "\n: ";
}

}  // namespace ostr::test
