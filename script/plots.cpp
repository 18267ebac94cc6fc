// The plot functions of the language: plot (formulas of one variable),
// plotparam (a parametric curve), plotdata (arrays), plotcomplex (domain
// colouring) and plotfft (the magnitude spectrum of an array). Each renders
// through the plot component and writes a PNG file under the rule of the
// file commands; the answer is the name of the file written.
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "core/runtime.hpp"
#include "grammar/scan.hpp"
#include "lang/builtins.hpp"
#include "lang/globals.hpp"
#include "plot/chart.hpp"
#include "plot/png.hpp"
#include "plot/spectrum.hpp"
#include "script/containers.hpp"
#include "script/script.hpp"
#include "script/string_methods.hpp"

namespace ostr::script {
namespace {

using lang::Value;

// Samples of a formula plot: the default, and the bounds of the "samples"
// option.
constexpr int default_samples = 1000;
constexpr int max_samples = 100000;
// The first free name among plot1.png, plot2.png, ... is taken; past this
// many the working directory is full of plots and the call fails.
constexpr int max_default_names = 10000;

// What the last argument of a call may set, as a string (the file name) or
// a map of options.
struct Settings {
    plot::ChartOptions chart;
    Text file;
    std::vector<Text> labels;
    plot::Style style = plot::Style::lines;
    int samples = default_samples;
    bool db = false;
};

bool real_of(const Value& v, double& out) {
    Complex z;
    if (lang::builtin::as_number(v, &z) != lang::builtin::Args::numbers || z.im != 0 || !std::isfinite(z.re))
        return false;
    out = z.re;
    return true;
}

bool whole(double v, double lo, double hi) { return v == std::floor(v) && v >= lo && v <= hi; }

// One option of the map; false for an unknown key or a value of the wrong
// kind, so a misspelt option is an error rather than silently ignored.
bool set_option(Settings& s, std::string_view key, const obj::Item& item) {
    std::string_view text;
    const bool is_text = item.obj && item.obj->tag == obj::string && ((text = obj::text_value(item.obj)), true);
    const bool is_number = !item.obj && item.num.im == 0 && std::isfinite(item.num.re);
    const double n = item.num.re;
    auto flag = [&](bool& f) { return is_number && (n == 0 || n == 1) && ((f = n == 1), true); };
    if (key == "file") return is_text && !text.empty() && ((s.file = text), true);
    if (key == "title") return is_text && ((s.chart.title = text), true);
    if (key == "xlabel") return is_text && ((s.chart.xlabel = text), true);
    if (key == "ylabel") return is_text && ((s.chart.ylabel = text), true);
    if (key == "grid") return flag(s.chart.grid);
    if (key == "logx") return flag(s.chart.logx);
    if (key == "logy") return flag(s.chart.logy);
    if (key == "db") return flag(s.db);
    if (key == "width") return is_number && whole(n, plot::min_side, plot::max_side) && ((s.chart.width = int(n)), true);
    if (key == "height") return is_number && whole(n, plot::min_side, plot::max_side) && ((s.chart.height = int(n)), true);
    if (key == "samples") return is_number && whole(n, 2, max_samples) && ((s.samples = int(n)), true);
    if (key == "ymin") return is_number && ((s.chart.ymin = n), true);
    if (key == "ymax") return is_number && ((s.chart.ymax = n), true);
    if (key == "style") {
        if (text == "lines") s.style = plot::Style::lines;
        else if (text == "points") s.style = plot::Style::points;
        else if (text == "both") s.style = plot::Style::both;
        else return false;
        return is_text;
    }
    if (key == "labels") {
        if (!item.obj || item.obj->tag != obj::array) return false;
        for (const obj::Item& e : obj::array_of(item.obj)->items) {
            if (!e.obj || e.obj->tag != obj::string) return false;
            s.labels.emplace_back(obj::text_value(e.obj));
        }
        return true;
    }
    return false;
}

// A string (the file name) or a map of options.
bool read_settings(const Value& v, Settings& s) {
    std::string_view name;
    if (string_arg(v, name)) return !name.empty() && ((s.file = name), true);
    if (v.kind != Value::Kind::object || !v.obj || v.obj->tag != obj::map) return false;
    for (const auto& [key, item] : obj::map_of(v.obj.get())->entries)
        if (!key.is_text || !set_option(s, key.text, item)) return false;
    return true;
}

// The answer of a plot whose work was stopped: the line is aborted, as the
// statement layer aborts a line past its time or interrupted.
Value stopped(Arbenv* env) { return abort_value(env, core::abort_requested() ? "interrupted" : "time limit"); }

bool is_settings(const Value& v) {
    return v.kind == Value::Kind::object && v.obj && (v.obj->tag == obj::string || v.obj->tag == obj::map);
}

bool exists(const Text& name) {
    struct stat st;
    return ::lstat(name.c_str(), &st) == 0;
}

// Writes the PNG and answers its name: the user's name (replaced if it was
// there), or the first free default name, so a default never replaces a
// file.
Value write_png(const plot::Canvas& canvas, Settings& s, Arbenv* env) {
    if (s.file.empty()) {
        for (int k = 1; k <= max_default_names && s.file.empty(); ++k) {
            Text name("plot" + std::to_string(k) + ".png");
            if (!exists(name)) s.file = std::move(name);
        }
        if (s.file.empty()) return Value::failure(lang::Error::invalid_object);
    }
    const plot::Bytes png = plot::encode_png(canvas);
    std::FILE* f = open_user_file_for_writing(s.file);
    if (!f) return Value::failure(lang::Error::invalid_object);
    bool ok = std::fwrite(png.data(), 1, png.size(), f) == png.size();
    ok = std::fclose(f) == 0 && ok;
    if (!ok) return Value::failure(lang::Error::invalid_object);
    return string_result(s.file, env);
}

// A formula in one bound variable, evaluated in a scope under the caller's
// environment that holds the variable.
class Sampler {
public:
    Sampler(Arbenv* env, std::string_view name) {
        if (!lang::scan::is_plain_name(name) || lang::globals()->builtins.count(name)) return;
        scope_.reset(obj::make_environment(env));
        if (!scope_) return;
        obj::Object* o = obj::make_numeric({0, 0}, name, scope_.get());
        if (!o) return;
        obj::store(scope_.get(), o);
        variable_ = static_cast<Complex*>(o->value);
    }
    bool ok() const noexcept { return variable_ != nullptr; }

    // f at z; NaN parts where f is no number there (a pole, which the
    // evaluator keeps as a formula, or an error). False when the line is
    // to stop.
    bool at(const lang::Prepared& f, Complex z, Complex& out) {
        if (++count_ % 256 == 0 && core::should_stop()) return false;
        *variable_ = z;
        const Value v = lang::evaluate(f, scope_.get());
        if (v.is_error() && v.error == lang::Error::evaluation_aborted) return false;
        if (lang::builtin::as_number(v, &out) != lang::builtin::Args::numbers) out = {NAN, NAN};
        else if (std::isfinite(out.re)) numbers_ = true;
        return true;
    }
    // Whether any sample was a finite number.
    bool any_number() const noexcept { return numbers_; }

private:
    obj::OwnedEnvironment scope_;
    Complex* variable_ = nullptr;
    std::size_t count_ = 0;
    bool numbers_ = false;
};

// The real part of a sample meant as real: NaN when the imaginary part is
// more than noise. The tolerance is looser than the evaluator's own (1e-15):
// some complex kernels leave an imaginary part of a few ulps of 1 on a real
// argument (tan(-3.5) has 4.9e-16), which no plot can show anyway.
double real_part(Complex z) {
    return std::fabs(z.im) <= 1e-10 * std::max(1.0, std::fabs(z.re)) ? z.re : NAN;
}

// The formulas of the first argument: one formula, or several in brackets.
std::vector<std::string_view> formulas(std::string_view text) {
    if (text.size() >= 2 && text.front() == '[' && lang::scan::matching_closer(text, 0) == text.size() - 1)
        return lang::scan::split_commas(text.substr(1, text.size() - 2));
    return {text};
}

// Evaluates arguments first..first+n-1 as real numbers.
bool real_args(const lang::Call& call, std::size_t first, std::size_t n, double* out) {
    for (std::size_t k = 0; k < n; ++k)
        if (!real_of(lang::evaluate(call.args[first + k], call.env), out[k])) return false;
    return true;
}

// The settings argument at `at`, when the call has one.
bool settings_arg(const lang::Call& call, std::size_t at, Settings& s) {
    if (call.args.size() <= at) return true;
    return read_settings(lang::evaluate(call.args[at], call.env), s);
}

Value finish(const std::optional<plot::Canvas>& canvas, Settings& s, Arbenv* env) {
    if (!canvas) return core::should_stop() ? stopped(env) : Value::failure();
    return write_png(*canvas, s, env);
}

std::vector<double> grid(double a, double b, int n, bool log) {
    std::vector<double> x(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const double t = static_cast<double>(i) / (n - 1);
        x[i] = log ? std::pow(10.0, std::log10(a) + t * (std::log10(b) - std::log10(a))) : a + t * (b - a);
    }
    return x;
}

// plot(f,x,a,b) or plot([f,g,...],x,a,b), then optionally a file name or
// a map of options.
Value plot_call(const lang::Call& call, std::span<Value>) {
    if (call.args.size() < 4 || call.args.size() > 5 || lang::builtin::malformed(call)) return Value::failure();
    double range[2];
    Settings s;
    if (!real_args(call, 2, 2, range) || !(range[1] > range[0]) || !settings_arg(call, 4, s)) return Value::failure();
    if (s.chart.logx && !(range[0] > 0)) return Value::failure();
    Sampler sampler(call.env, call.args[1]);
    if (!sampler.ok()) return Value::failure();
    const std::vector<std::string_view> fs = formulas(call.args[0]);
    if (fs.empty() || fs.size() > 16) return Value::failure();
    const std::vector<double> x = grid(range[0], range[1], s.samples, s.chart.logx);
    std::vector<plot::Series> series(fs.size());
    for (std::size_t k = 0; k < fs.size(); ++k) {
        const lang::Prepared f = lang::prepare(fs[k]);
        series[k].x = x;
        series[k].style = s.style;
        series[k].label = k < s.labels.size() ? s.labels[k] : Text(fs[k]);
        for (double xi : x) {
            Complex z;
            if (!sampler.at(f, {xi, 0}, z)) return stopped(call.env);
            series[k].y.push_back(real_part(z));
        }
    }
    if (!sampler.any_number()) return Value::failure();
    if (s.chart.xlabel.empty()) s.chart.xlabel = call.args[1];
    s.chart.xmin = range[0], s.chart.xmax = range[1];
    s.chart.poles = true;
    return finish(plot::render_chart(s.chart, series), s, call.env);
}

// plotparam(fx,fy,t,a,b), then optionally settings.
Value plotparam_call(const lang::Call& call, std::span<Value>) {
    if (call.args.size() < 5 || call.args.size() > 6 || lang::builtin::malformed(call)) return Value::failure();
    double range[2];
    Settings s;
    if (!real_args(call, 3, 2, range) || !(range[1] > range[0]) || !settings_arg(call, 5, s)) return Value::failure();
    Sampler sampler(call.env, call.args[2]);
    if (!sampler.ok()) return Value::failure();
    const lang::Prepared fx = lang::prepare(call.args[0]), fy = lang::prepare(call.args[1]);
    plot::Series curve;
    curve.style = s.style;
    if (!s.labels.empty()) curve.label = s.labels[0];
    for (double t : grid(range[0], range[1], s.samples, false)) {
        Complex a, b;
        if (!sampler.at(fx, {t, 0}, a) || !sampler.at(fy, {t, 0}, b)) return stopped(call.env);
        const double x = real_part(a), y = real_part(b);
        curve.x.push_back(std::isfinite(y) ? x : NAN);
        curve.y.push_back(std::isfinite(x) ? y : NAN);
    }
    if (!sampler.any_number()) return Value::failure();
    return finish(plot::render_chart(s.chart, std::span(&curve, 1)), s, call.env);
}

// The numbers of an array value (real parts; a non-real element is NaN),
// or false when it is no array of numbers.
bool numbers_of(const Value& v, std::vector<double>& re, std::vector<double>* im = nullptr) {
    if (v.kind != Value::Kind::object || !v.obj || v.obj->tag != obj::array) return false;
    for (const obj::Item& e : obj::array_of(v.obj.get())->items) {
        if (e.obj) return false;
        re.push_back(im ? e.num.re : (e.num.im == 0 ? e.num.re : NAN));
        if (im) im->push_back(e.num.im);
    }
    return true;
}

// The series of y: one array of numbers, or an array of such arrays.
bool data_series(const Value& v, std::vector<plot::Series>& out) {
    std::vector<double> y;
    if (numbers_of(v, y)) {
        out.emplace_back().y = std::move(y);
        return true;
    }
    if (v.kind != Value::Kind::object || !v.obj || v.obj->tag != obj::array) return false;
    for (const obj::Item& e : obj::array_of(v.obj.get())->items) {
        if (!e.obj || e.obj->tag != obj::array) return false;
        plot::Series& s = out.emplace_back();
        for (const obj::Item& n : obj::array_of(e.obj)->items) {
            if (n.obj) return false;
            s.y.push_back(n.num.im == 0 ? n.num.re : NAN);
        }
    }
    return !out.empty() && out.size() <= 64;
}

// plotdata(y), plotdata(x,y), each optionally followed by settings.
Value plotdata_call(const lang::Call& call, std::span<Value> values) {
    std::size_t n = values.size();
    Settings s;
    if (n >= 2 && is_settings(values[n - 1])) {
        if (!read_settings(values[n - 1], s)) return Value::failure();
        --n;
    }
    if (n < 1 || n > 2) return Value::failure();
    std::vector<double> x;
    std::vector<plot::Series> series;
    if ((n == 2 && !numbers_of(values[0], x)) || !data_series(values[n - 1], series)) return Value::failure();
    for (std::size_t k = 0; k < series.size(); ++k) {
        plot::Series& e = series[k];
        if (n == 2 && x.size() != e.y.size()) return Value::failure();
        if (n == 1)
            for (std::size_t i = 1; i <= e.y.size(); ++i) e.x.push_back(static_cast<double>(i));
        else
            e.x = x;
        e.style = s.style;
        if (k < s.labels.size()) e.label = s.labels[k];
    }
    return finish(plot::render_chart(s.chart, series), s, call.env);
}

// plotcomplex(f,z,c1,c2): c1 the lower left, c2 the upper right corner.
Value plotcomplex_call(const lang::Call& call, std::span<Value>) {
    if (call.args.size() < 4 || call.args.size() > 5 || lang::builtin::malformed(call)) return Value::failure();
    Complex c[2];
    for (int k = 0; k < 2; ++k)
        if (lang::builtin::as_number(lang::evaluate(call.args[2 + k], call.env), &c[k]) != lang::builtin::Args::numbers)
            return Value::failure();
    Settings s;
    if (!settings_arg(call, 4, s) || s.chart.logx || s.chart.logy) return Value::failure();
    Sampler sampler(call.env, call.args[1]);
    if (!sampler.ok()) return Value::failure();
    struct Data {
        Sampler* sampler;
        lang::Prepared f;
    } data{&sampler, lang::prepare(call.args[0])};
    auto f = [](void* p, double re, double im, double* ore, double* oim) {
        auto* d = static_cast<Data*>(p);
        Complex w;
        if (!d->sampler->at(d->f, {re, im}, w)) return false;
        *ore = w.re, *oim = w.im;
        return true;
    };
    if (s.chart.xlabel.empty()) s.chart.xlabel = Text("Re ").append(call.args[1]);
    if (s.chart.ylabel.empty()) s.chart.ylabel = Text("Im ").append(call.args[1]);
    auto canvas = plot::render_domain(s.chart, c[0].re, c[1].re, c[0].im, c[1].im, f, &data);
    if (canvas && !sampler.any_number()) return Value::failure();
    return finish(canvas, s, call.env);
}

// plotfft(a), optionally followed by settings ("db"=1 for decibels).
Value plotfft_call(const lang::Call& call, std::span<Value> values) {
    if (values.empty() || values.size() > 2) return Value::failure();
    Settings s;
    std::vector<double> re, im;
    if (!numbers_of(values[0], re, &im) || (values.size() == 2 && !read_settings(values[1], s))) return Value::failure();
    const std::size_t n = re.size();
    if (n < 2 || n > plot::max_spectrum_samples || ((n & (n - 1)) && n > plot::max_direct_samples))
        return Value::failure();
    auto mags = plot::magnitude_spectrum(re, im);
    if (!mags) return stopped(call.env);
    plot::Series e;
    for (std::size_t k = 0; k < mags->size(); ++k) {
        e.x.push_back(static_cast<double>(k) / static_cast<double>(n));
        e.y.push_back(s.db ? 20 * std::log10((*mags)[k]) : (*mags)[k]);
    }
    e.style = s.style;
    if (s.chart.xlabel.empty()) s.chart.xlabel = "frequency (cycles per sample)";
    if (s.chart.ylabel.empty()) s.chart.ylabel = s.db ? "|X| (dB)" : "|X|";
    return finish(plot::render_chart(s.chart, std::span(&e, 1)), s, call.env);
}

}  // namespace

void install_plots() {
    lang::register_builtin("plot()", plot_call, false);
    lang::register_builtin("plotparam()", plotparam_call, false);
    lang::register_builtin("plotcomplex()", plotcomplex_call, false);
    lang::register_builtin("plotdata()", plotdata_call);
    lang::register_builtin("plotfft()", plotfft_call);
}

}  // namespace ostr::script
