// The help() command: the topics of the language and one entry per name
// (predefined functions from the evaluator's help table; statement words,
// commands and the methods of strings, arrays and maps from help.cpp's).
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ostr::script {

// Where a help text of this layer belongs.
enum class HelpKind : unsigned char {
    word, command, string_method, array_method, map_method, matrix_method, node_method, object_method,
    algebraic_method, any_method
};

// One row of this layer's help table: the name, its call form, one line of
// meaning (with the domain where there is one), and an example line with
// the answer of its last statement, which a test checks.
struct HelpText {
    HelpKind kind;
    std::string_view name;
    std::string_view form;
    std::string_view meaning;
    std::string_view example{};
    std::string_view answer{};
};
std::span<const HelpText> help_texts() noexcept;

// The function reference of docs/language.md, made from both help tables.
std::string help_reference();

// The text help() answers: the topics, the entries of one name, or (for a
// name without help) a note with the closest names.
std::string help_topics();
std::string help_about(std::string_view name);
// At most three names with help closest to `name` by edit distance.
std::vector<std::string_view> closest_help_names(std::string_view name);

// Registers help() as a built-in that reads its argument text unevaluated.
void install_help();

}  // namespace ostr::script
