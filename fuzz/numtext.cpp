// Any text: the literal rule agrees with strtod (full consumption, finite
// value, no leading blank) outside the binary literals, and every number
// read is written back as a numeric literal that reads as nearly the same.
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "numtext/numtext.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    double v;
    const bool numeric = ostr::text::read_number(text, v);
    if (text.find('\0') == std::string::npos && text.rfind("0b", 0) != 0) {
        char* end;
        const double r = std::strtod(text.c_str(), &end);
        const bool want = !text.empty() && !std::isspace(static_cast<unsigned char>(text[0])) &&
                          *end == '\0' && std::isfinite(r);
        if (want != numeric || (want && r != v)) std::abort();
    }
    if (!numeric) return 0;
    for (int digits : {1, 3, 15, 17}) {
        double back;
        if (!ostr::text::read_number(ostr::text::number_text(v, digits).view(), back)) std::abort();
        if (digits == 17 && back != v) std::abort();
        if (!ostr::text::read_number(ostr::text::exponential_text(v, digits).view(), back)) std::abort();
    }
    (void)ostr::text::round_text(text, 3);
    (void)ostr::text::clean_zeros(text);
    return 0;
}
