// The evaluator's number text comes from the number-text component; this
// file only adapts the names.
#include "numtext/numtext_adapter.hpp"

#include "numtext/numtext.hpp"

namespace ostr::lang {

bool is_numeric_literal(std::string_view t, double* value) {
    double v;
    if (!text::read_number(t, v)) return false;
    if (value) *value = v;
    return true;
}

Text number_text(double v, int digits) { return Text(text::number_text(v, digits).view()); }

}  // namespace ostr::lang
