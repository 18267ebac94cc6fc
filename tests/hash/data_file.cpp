#include "data_file.hpp"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ostr::test {

std::vector<std::vector<std::string>> read_rows(const std::string& name) {
    std::ifstream in(std::string(OSTR_TEST_DATA) + "/" + name);
    if (!in) throw std::runtime_error("missing data file " + name);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::vector<std::string> row;
        for (std::string f; fields >> f;) row.push_back(f);
        rows.push_back(row);
    }
    return rows;
}

std::string from_hex(const std::string& hex) {
    std::string out;
    if (hex == "-") return out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

std::string field(const std::string& f) { return f == "-" ? "" : f; }

}  // namespace ostr::test
