// Walks the examples of a Markdown reference: the lines of its fenced blocks
// with one tag ("```eval", "```script"), each written "input  ->  answer",
// and the rows of its tables.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

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

// Calls row(cells) for each row of the tables under the heading `section`
// (up to the next "## " heading) whose first cell is code; the cells are
// trimmed, stripped of their backticks, and "\|" in a cell is a "|".
// Returns the number of rows, or -1 when the file is missing.
template <class Row>
int for_each_table_row(const std::string& path, const std::string& section, Row row) {
    std::ifstream in(path);
    if (!in) return -1;
    std::string line;
    bool inside = false;
    int rows = 0;
    while (std::getline(in, line)) {
        if (line.rfind("## ", 0) == 0) inside = line == section;
        if (!inside || line.rfind("| `", 0) != 0) continue;
        std::vector<std::string> cells(1);
        for (std::size_t k = 2; k < line.size(); ++k) {
            if (line[k] == '\\' && k + 1 < line.size() && line[k + 1] == '|') cells.back() += line[++k];
            else if (line[k] == '|') cells.emplace_back();
            else if (line[k] != '`') cells.back() += line[k];
        }
        cells.pop_back();
        for (std::string& c : cells) {
            c.erase(c.find_last_not_of(' ') + 1);
            c.erase(0, c.find_first_not_of(' '));
        }
        row(cells);
        ++rows;
    }
    return rows;
}

}  // namespace ostr::test
