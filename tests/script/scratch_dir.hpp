// A scratch working directory for tests of the file commands: made fresh,
// entered for the lifetime of the object, then left and removed, so no
// test writes into the source or build tree.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace ostr::test {

class ScratchDir {
public:
    ScratchDir() : previous_(std::filesystem::current_path()) {
        std::string t = (std::filesystem::temp_directory_path() / "ostr_files_XXXXXX").string();
        if (!mkdtemp(t.data())) ADD_FAILURE() << "mkdtemp";
        dir_ = t;
        std::filesystem::current_path(dir_);
    }
    ~ScratchDir() {
        std::error_code ec;
        std::filesystem::current_path(previous_, ec);
        std::filesystem::permissions(dir_, std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ec);
        std::filesystem::remove_all(dir_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    const std::filesystem::path& dir() const { return dir_; }

    static void put(const std::string& name, const std::string& bytes) {
        std::ofstream out(name, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    static std::string get(const std::string& name) {
        std::ifstream in(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

private:
    std::filesystem::path previous_;
    std::filesystem::path dir_;
};

}  // namespace ostr::test
