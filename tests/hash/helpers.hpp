// Shared by the hash suite: the committed expected-value files (made by
// data/make_data.py: whitespace-separated fields, '#' comments, "-" for an
// empty field, byte strings as hex) and taking ownership of returned texts.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ostravine/core.h"

namespace ostr::test {

inline std::vector<std::vector<std::string>> read_rows(const std::string& name) {
    std::ifstream in(std::string(OSTR_TEST_DATA) + "/" + name);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        std::vector<std::string> row;
        for (std::string f; fields >> f;) row.push_back(f == "-" ? "" : f);
        if (!row.empty() && line[0] != '#') rows.push_back(row);
    }
    return rows;
}

inline std::string from_hex(const std::string& hex) {
    std::string out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

// The text, released with FreeString; "<null>" for no text.
inline std::string take(char* text) {
    std::string s = text ? text : "<null>";
    FreeString(text);
    return s;
}

inline const unsigned char* bytes(const std::string& s) { return reinterpret_cast<const unsigned char*>(s.data()); }

}  // namespace ostr::test
