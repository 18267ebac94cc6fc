// A type is one record of the type table: a test type registered in the
// free tag 9 (and a built-in that makes its values) is printed, combined,
// compared, copied, saved and read back with no other code knowing of it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "envio/serialize.hpp"
#include "script/containers.hpp"
#include "script/matrices.hpp"
#include "ostravine/persist.h"
#include "script_support.hpp"

namespace ostr::test {
namespace {

constexpr std::uint32_t probe_tag = 9;

// A probe's value is the decimal text of a whole number.
long count_of(const obj::Object* o) { return std::strtol(obj::text_value(o).data(), nullptr, 10); }

void write_probe(void* v, void* stream, std::uint32_t mode) { writeRBNodeValueString(v, stream, static_cast<int32_t>(mode)); }
void* read_probe(void* stream, std::uint32_t mode) { return readRBNodeValueString(stream, static_cast<int32_t>(mode)); }
void* copy_probe(void* v) { return copyRBNodeValueString(v); }

obj::Object* make_probe(long n, Arbenv* env) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%ld", n);
    void* v = copyRBNodeValueString(digits);
    return v ? obj::make_object(env, probe_tag, "", v, obj::type_of(probe_tag).handlers) : nullptr;
}

Text print_probe(const obj::Object* o, int) { return Text("probe<" + std::to_string(count_of(o)) + ">"); }

bool is_probe(const lang::Value& v) { return v.kind == lang::Value::Kind::object && v.obj->tag == probe_tag; }

int compare_probes(const lang::Value& a, const lang::Value& b, lang::ops::Cond c) {
    if (!is_probe(a) || !is_probe(b)) return -1;
    bool same = count_of(a.obj.get()) == count_of(b.obj.get());
    if (c == lang::ops::Cond::eq) return same;
    if (c == lang::ops::Cond::ne) return !same;
    return -1;
}

lang::Value add_probes(lang::Value& l, lang::Value& r, char op, Arbenv* env, const lang::OperandTexts&) {
    if (op != '+') return lang::Value::failure();
    return lang::Value::object_of(lang::ObjectPtr(make_probe(count_of(l.obj.get()) + count_of(r.obj.get()), env)));
}

lang::Value probe_count(obj::Object& self, std::span<lang::Value>, Arbenv*) {
    return lang::Value::number({static_cast<double>(count_of(&self)), 0});
}

constexpr obj::Method probe_methods[] = {{"count", 0, probe_count}, {"bump", obj::any_arity}};

lang::Value probe_builtin(std::span<lang::Value> args, Arbenv* env) {
    if (args[0].kind != lang::Value::Kind::number) return lang::Value::failure();
    return lang::Value::object_of(lang::ObjectPtr(make_probe(static_cast<long>(args[0].num.re), env)));
}

class TypeRecord : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        saved = obj::type_table().types[probe_tag];
        obj::TypeRecord probe{.name = "probe",
                              .handlers = {freeRBNodeValueString, write_probe, read_probe, copy_probe},
                              .print = print_probe,
                              .compare = compare_probes,
                              .methods = probe_methods};
        probe.binary[probe_tag] = add_probes;
        obj::type_table().types[probe_tag] = probe;
        ASSERT_TRUE(lang::register_builtin("probe(1)", probe_builtin));
    }
    void TearDown() override {
        obj::type_table().types[probe_tag] = saved;
        ScriptTest::TearDown();
    }
    obj::TypeRecord saved;
};

TEST_F(TypeRecord, ANewTypeIsOneRecord) {
    check({{"p=probe(7)", "p <- probe(7)"},
           {"p", "probe<7>"},
           {"p+probe(5)", "probe<12>"},
           {"p*probe(5)", ">invalid_expression<"},  // the record's arithmetic refuses it
           {"p+1", ">invalid_expression<"},          // an empty cell of the row
           {"p==probe(7)", "1"},
           {"p~=probe(7)", "0"},
           {"q=p", "q <- p"},
           {"p=probe(1)", "p <- probe(1)"},
           {"q", "probe<7>"}});  // q is a copy, not the object p held

    const obj::Object* q = obj::find(env, "q");
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(obj::type_name(q), "probe");
    ASSERT_NE(obj::find_method(q, "count"), nullptr);
    EXPECT_EQ(obj::signature(*obj::find_method(q, "bump")), "bump()");
    obj::ObjectPtr copy(obj::copy_object(q));
    EXPECT_EQ(obj::find_method(q, "count")->fn(*copy, {}, env).num.re, 7);

    // Saved through the record's write handler, rebuilt through its reader.
    Text bytes;
    envio::write_body(env, bytes);
    Arbenv* back = envio::read_body(bytes, false);
    ASSERT_NE(back, nullptr);
    const obj::Object* q2 = obj::find(back, "q");
    ASSERT_NE(q2, nullptr);
    EXPECT_EQ(q2->tag, probe_tag);
    EXPECT_EQ(obj::print(q2, 15), "probe<7>");
    EXPECT_EQ(obj::print(obj::find(back, "p"), 15), "probe<1>");
    obj::free_environment(back);
}

// The signatures a type's record lists (completion offers them) are the
// methods the statement layer answers, with the same argument counts.
TEST(TypeRows, ListedMethodsAreTheAnsweredOnes) {
    using Find = const script::MethodRow* (*)(std::string_view) noexcept;
    const std::pair<std::uint32_t, Find> kinds[] = {
        {obj::array, script::array_method}, {obj::map, script::map_method}, {obj::matrix, script::matrix_method}};
    for (auto [tag, find] : kinds)
        for (const obj::Method& m : obj::type_of(tag).methods) {
            const script::MethodRow* row = find(m.name);
            ASSERT_NE(row, nullptr) << m.name;
            if (m.arity == obj::any_arity) {
                EXPECT_NE(row->min_args, row->max_args) << m.name;
            } else {
                EXPECT_TRUE(row->min_args == m.arity && row->max_args == m.arity) << m.name;
            }
        }
}

}  // namespace
}  // namespace ostr::test
