// Arithmetic on expression texts (formulas with free names): the results
// are simplified texts that evaluate to the same value as the operation.
#pragma once

#include <optional>
#include <string_view>

#include "numeric/memory.hpp"

namespace ostr::formula {

// Simplified text of a op b, op one of + - * / ^.
Text combine(std::string_view a, char op, std::string_view b);
Text negate(std::string_view a);

// A complex quantity as two texts: value = re + i*im; "0" for an absent part.
struct TextPair {
    Text re;
    Text im;
};
// nullopt when the result cannot be expressed.
std::optional<TextPair> combine_pair(const TextPair& a, char op, const TextPair& b);
TextPair conjugate(const TextPair& a);

// True when the text is a numeric literal; its value is stored.
bool is_number(std::string_view t, double* value = nullptr);

}  // namespace ostr::formula
