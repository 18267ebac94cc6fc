// The type map (kept in the runtime record): an ArbTree keyed by type name
// whose values are type records, freed by the map's own free operation. It is
// built with the ten built-in types on first use; the environment layer adds
// its own.
#include <cstring>

#include "core/memory.hpp"
#include "persist/persist.hpp"
#include "persist/rbtree.hpp"

namespace ostr::persist {
namespace {

// The entries of the map carry this type name; their values are ArbType.
constexpr const char* record_type = "type_record";

void free_record(void* record) noexcept { mem_free(record); }

struct Builtin {
    const char* name;
    ArbType handlers;
};

// Registered in this order; the order decides only the shape of the map.
const Builtin builtins[] = {
    {"string_tree", {freeRBNodeValueTree, writeRBNodeValueTree, readRBNodeValueStringTree, copyRBNodeValueTree}},
    {"integer", {freeRBNodeValueInteger, writeRBNodeValueInteger, readRBNodeValueInteger, copyRBNodeValueInteger}},
    {"decimal", {freeRBNodeValueDecimal, writeRBNodeValueDecimal, readRBNodeValueDecimal, copyRBNodeValueDecimal}},
    {"string", {freeRBNodeValueString, writeRBNodeValueString, readRBNodeValueString, copyRBNodeValueString}},
    {"matrix", {freeRBNodeValueMatrix, writeRBNodeValueMatrix, readRBNodeValueMatrix, copyRBNodeValueMatrix}},
    {"string_array",
     {freeRBNodeValueStringArray, writeRBNodeValueStringArray, readRBNodeValueStringArray,
      copyRBNodeValueStringArray}},
    {"vector", {freeRBNodeValueVector, writeRBNodeValueVector, readRBNodeValueVector, copyRBNodeValueVector}},
    {"cmplx", {freeRBNodeValueComplex, writeRBNodeValueComplex, readRBNodeValueComplex, copyRBNodeValueComplex}},
    {"arbtree", {freeRBNodeValueArbTree, writeRBNodeValueArbTree, readRBNodeValueArbTree, copyRBNodeValueArbTree}},
    {"byte_array",
     {freeRBNodeValueByteArray, writeRBNodeValueByteArray, readRBNodeValueByteArray, copyRBNodeValueByteArray}},
};

void add_type(ArbTree* map, const char* name, const ArbType& handlers) noexcept {
    auto* record = static_cast<ArbType*>(mem_alloc(sizeof(ArbType)));
    if (!record) return;
    *record = handlers;
    ArbValue* entry = make_entry(record, record_type);
    if (!entry) return mem_free(record);
    insertArbNode(map, nullptr, name, entry);  // replaces (and frees) an older record
}

void free_map(State& s) noexcept {
    ArbTree* map = s.type_map;
    s.type_map = nullptr;  // nothing looks types up in a map being freed
    if (!map) return;
    freeArbTree(map, nullptr, 1);
    mem_free(map);
}

void terminate() noexcept {
    if (State* s = core::part_if_made<State, core::persist_slot>()) free_map(*s);
}

ArbTree* build() noexcept {
    State* s = state();
    if (!s) return nullptr;
    free_map(*s);
    ArbTree* map = initializeArbTree();
    if (!map) return nullptr;
    map->freeValue = free_record;
    for (const Builtin& b : builtins) add_type(map, b.name, b.handlers);
    return s->type_map = map;
}

ArbTree* the_map() noexcept {
    State* s = core::part_if_made<State, core::persist_slot>();
    return s && s->type_map ? s->type_map : build();
}

}  // namespace

State::~State() { free_map(*this); }

const ArbType* find_type(const char* name) noexcept {
    ArbTree* map = the_map();
    return map && name ? static_cast<const ArbType*>(getVal(name, map, record_type)) : nullptr;
}

}  // namespace ostr::persist

using namespace ostr::persist;

extern "C" {

void initializeArbTreeTypeMap(void) noexcept { build(); }
void terminateArbTreeTypeMap(void) noexcept { terminate(); }

void registerType(const char* name, ArbFreeFn freeFn, ArbReadFn readFn, ArbWriteFn writeFn, ArbCopyFn copyFn) noexcept {
    ArbTree* map = the_map();
    if (map && name) add_type(map, name, ArbType{freeFn, writeFn, readFn, copyFn});
}

}
