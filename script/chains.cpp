// One step of an access chain on a value of any type: what lets a chain go
// on after a step answers a type its walker does not hold ("[[1,2],[3,4]]
// .matrix().det()", "s.split(",")[2]", "m.array()[1].size()").
#include "lang/containers.hpp"
#include "script/containers.hpp"
#include "script/matrices.hpp"
#include "script/script.hpp"
#include "script/string_methods.hpp"

namespace ostr::script {
namespace {

using lang::Value;

Value fail(lang::Error e = lang::Error::invalid_expression) { return Value::failure(e); }

Value index_of(const Value& cur, const Value& index) {
    if (lang::is_array(cur)) {
        const auto& items = obj::array_of(cur.obj.get())->items;
        const std::size_t p = position(index, items.size());
        return p == std::string_view::npos ? fail(lang::Error::invalid_object) : lang::item_value(items[p]);
    }
    obj::MapKey key;
    if (!map_key(index, key)) return fail(lang::Error::invalid_object);
    const auto& entries = obj::map_of(cur.obj.get())->entries;
    auto it = entries.find(key);
    return it == entries.end() ? fail(lang::Error::invalid_object) : lang::item_value(it->second);
}

}  // namespace

Value step_on_value(Value cur, const Step& s, std::vector<Value>& args, Arbenv* env) {
    if (cur.is_error()) return cur;
    if (lang::is_matrix(cur)) {
        const Access one{{}, {s}};
        std::vector<std::vector<Value>> per_step(1);
        per_step[0] = std::move(args);
        return matrix_steps(one, per_step, std::move(cur), env);
    }
    const bool container = lang::is_array(cur) || lang::is_map(cur);
    if (!s.method) return container && args.size() == 1 ? index_of(cur, args[0]) : fail();
    if (container) return value_method(cur.obj.get(), s.name, args, env);
    std::string_view text;
    if (string_arg(cur, text)) {
        const StringMethod* row = find_string_method(s.name, args.size());
        return row ? row->fn(text, args, env) : fail();
    }
    return method_on_value(cur, s.name, args, env);
}

}  // namespace ostr::script
