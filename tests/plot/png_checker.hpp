// Runs the independent PNG and zlib reader (check_png.py: Python's zlib and
// PIL) on a file and returns its output lines.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace ostr::test {

inline std::vector<std::string> run_checker(const std::string& args) {
    std::vector<std::string> lines;
    std::FILE* p = ::popen((std::string(OSTR_PNG_CHECKER) + " " + args + " 2>&1").c_str(), "r");
    if (!p) return {"bad: popen"};
    char buf[4096];
    while (std::fgets(buf, sizeof buf, p)) {
        std::string s(buf);
        if (!s.empty() && s.back() == '\n') s.pop_back();
        lines.push_back(s);
    }
    ::pclose(p);
    return lines;
}

inline std::string temp_path(const std::string& name) {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/ostr_plot_" + std::to_string(::getpid()) + "_" + name;
}

inline bool write_file(const std::string& path, const void* data, std::size_t n) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(data, 1, n, f) == n;
    return std::fclose(f) == 0 && ok;
}

}  // namespace ostr::test
