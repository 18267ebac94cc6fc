// Walks the examples of a Markdown reference: the lines of its fenced blocks
// with one tag ("```eval", "```script"), each written "input  ->  answer".
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace ostr::test {

// Calls block() at the start of every block with the tag and example(input,
// answer) for each of its non-empty lines; a line without the arrow fails
// the test. Returns the number of examples, or -1 when the file is missing.
template <class Block, class Example>
int for_each_doc_example(const std::string& path, const std::string& tag, Block block, Example example) {
    std::ifstream in(path);
    if (!in) return -1;
    std::string line;
    bool inside = false;
    int examples = 0;
    while (std::getline(in, line)) {
        if (line.rfind("```", 0) == 0) {
            inside = !inside && line == "```" + tag;
            if (inside) block();
            continue;
        }
        if (!inside || line.empty()) continue;
        const auto arrow = line.find("  ->  ");
        EXPECT_NE(arrow, std::string::npos) << line;
        if (arrow == std::string::npos) continue;
        example(line.substr(0, arrow), line.substr(arrow + 6), line);
        ++examples;
    }
    return examples;
}

}  // namespace ostr::test
