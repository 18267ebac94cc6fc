// Reading the committed expected-value files of the hash suite (made by
// data/make_data.py): whitespace-separated fields, '#' comment lines, "-"
// for an empty field, byte strings as hex.
#pragma once

#include <string>
#include <vector>

namespace ostr::test {

std::vector<std::vector<std::string>> read_rows(const std::string& name);
std::string from_hex(const std::string& hex);  // "-" gives ""
std::string field(const std::string& f);        // "-" gives ""

}  // namespace ostr::test
