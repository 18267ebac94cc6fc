// The band filter: its text form (one directive per line) read into pass,
// stop and gain bands, and applied to samples through one forward and one
// backward transform.
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>

#include "fourier/transforms.hpp"

namespace ostr::fourier {
namespace {

constexpr std::size_t max_filter_bytes = std::size_t{1} << 20;
constexpr double infinity = std::numeric_limits<double>::infinity();

bool inside(const Band& b, double f) noexcept { return f >= b.low && f <= b.high; }

// The words of a line, up to a '#'.
std::vector<std::string> words_of(std::string_view line) {
    line = line.substr(0, line.find('#'));
    std::vector<std::string> out;
    std::istringstream in{std::string(line)};
    for (std::string w; in >> w;) out.push_back(w);
    return out;
}

bool number_of(const std::string& w, double& out) {
    char* end = nullptr;
    out = std::strtod(w.c_str(), &end);
    return end && *end == '\0' && end != w.c_str() && std::isfinite(out);
}

// One directive into the filter; an empty answer when it is whole, else
// what is wrong with it.
std::string directive(const std::vector<std::string>& w, Filter& f) {
    struct Form {
        std::string_view word;
        std::size_t numbers;
    } forms[] = {{"rate", 1},     {"lowpass", 1},  {"highpass", 1},
                 {"bandpass", 2}, {"bandstop", 2}, {"gain", 3}};
    const Form* form = nullptr;
    for (const Form& fm : forms)
        if (w[0] == fm.word) form = &fm;
    if (!form) return "unknown directive " + w[0];
    if (w.size() != form->numbers + 1) return w[0] + " takes " + std::to_string(form->numbers) + " numbers";
    double v[3] = {0, 0, 1};
    for (std::size_t k = 0; k < form->numbers; ++k)
        if (!number_of(w[k + 1], v[k])) return "not a number: " + w[k + 1];
    if (w[0] == "rate") {
        if (!(v[0] > 0)) return "the rate must be above 0";
        f.rate = v[0];
        return {};
    }
    if (v[0] < 0 || v[1] < 0) return "frequencies cannot be negative";
    if (w[0] == "lowpass") f.pass.push_back({0, v[0], 1});
    else if (w[0] == "highpass") f.pass.push_back({v[0], infinity, 1});
    else if (v[0] > v[1]) return "the band's low edge is above its high edge";
    else if (w[0] == "bandpass") f.pass.push_back({v[0], v[1], 1});
    else if (w[0] == "bandstop") f.stop.push_back({v[0], v[1], 0});
    else f.scale.push_back({v[0], v[1], v[2]});
    return {};
}

}  // namespace

double Filter::gain(double frequency) const noexcept {
    double g = pass.empty() ? 1 : 0;
    for (const Band& b : pass)
        if (inside(b, frequency)) g = 1;
    for (const Band& b : stop)
        if (inside(b, frequency)) g = 0;
    for (const Band& b : scale)
        if (inside(b, frequency)) g *= b.gain;
    return g;
}

std::optional<Filter> parse_filter(std::string_view text, std::string* error) {
    Filter f;
    std::size_t line_no = 0;
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\n;");
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        ++line_no;
        const std::vector<std::string> w = words_of(line);
        if (w.empty()) continue;
        std::string why = directive(w, f);
        if (why.empty()) continue;
        if (error) *error = "line " + std::to_string(line_no) + ": " + why;
        return std::nullopt;
    }
    return f;
}

bool is_filter_text(std::string_view s) noexcept {
    for (std::string_view w : {"rate", "lowpass", "highpass", "bandpass", "bandstop", "gain"})
        if (s.size() > w.size() && s.substr(0, w.size()) == w && (s[w.size()] == ' ' || s[w.size()] == '\t'))
            return true;
    return false;
}

std::optional<Filter> read_filter(const std::string& path, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    std::string text;
    if (in) {
        text.resize(max_filter_bytes + 1);
        in.read(text.data(), static_cast<std::streamsize>(text.size()));
        text.resize(static_cast<std::size_t>(in.gcount()));
    }
    if (!in.eof() || text.size() > max_filter_bytes) {
        if (error) *error = "cannot read " + path;
        return std::nullopt;
    }
    return parse_filter(text, error);
}

bool apply_filter(const Filter& f, std::vector<cx>& x) {
    const std::size_t n = x.size();
    if (!dft(x, Direction::forward)) return false;
    for (std::size_t k = 0; k < n; ++k) {
        const double freq = static_cast<double>(std::min(k, n - k)) * f.rate / static_cast<double>(n);
        x[k] = x[k] * f.gain(freq);
    }
    return dft(x, Direction::backward);
}

}  // namespace ostr::fourier
