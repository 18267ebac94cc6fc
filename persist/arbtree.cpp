// The typed tree: a red-black tree of named entries, each a value with the
// name of its type, and its stream encoding (count at the root, then the
// nodes in pre-order). Value handlers come from the type map at the moment
// of writing, reading, copying or freeing.
#include <cstring>

#include "core/memory.hpp"
#include "persist/persist.hpp"
#include "persist/rbtree.hpp"

namespace ostr::persist {

static_assert(offsetof(ArbNode, key) == offsetof(RBNode, key) && offsetof(ArbNode, entry) == offsetof(RBNode, value) &&
                  sizeof(ArbNode) == sizeof(RBNode),
              "the typed tree and the search tree share one node shape");
static_assert(offsetof(ArbValue, value) == 0 && offsetof(ArbValue, type) == sizeof(void*));
static_assert(offsetof(ArbType, free) == 0 && offsetof(ArbType, write) == sizeof(void*) &&
              offsetof(ArbType, read) == 2 * sizeof(void*) && offsetof(ArbType, copy) == 3 * sizeof(void*));

ArbValue* make_entry(void* value, std::string_view type) noexcept {
    auto* e = static_cast<ArbValue*>(mem_alloc(sizeof(ArbValue) + type.size() + 1));
    if (!e) return nullptr;
    e->value = value;
    e->type = reinterpret_cast<char*>(e + 1);
    std::memcpy(e->type, type.data(), type.size());
    e->type[type.size()] = '\0';
    return e;
}

void free_entry(ArbValue* entry, ArbFreeFn tree_free) noexcept {
    if (!entry) return;
    if (entry->value) {
        ArbFreeFn fn = tree_free;
        if (!fn && entry->type)
            if (const ArbType* t = find_type(entry->type)) fn = t->free;
        if (fn) fn(entry->value);
    }
    if (entry->type == reinterpret_cast<char*>(entry + 1)) wipe(entry->type, std::strlen(entry->type));
    mem_free(entry);
}

bool read_text(Stream& in, Text& out) {
    std::uint32_t n = 0;
    if (!in.get_u32(n)) return false;
    out.clear();
    if (n == 0 || !in.can_hold(n)) return true;
    out.resize(n);
    if (!in.get(out.data(), n)) {
        out.clear();
        return true;
    }
    if (const void* z = std::memchr(out.data(), '\0', n)) {
        const auto keep = static_cast<std::size_t>(static_cast<const char*>(z) - out.data());
        wipe(out.data() + keep, n - keep);
        out.resize(keep);
    }
    return true;
}

namespace {

ArbTree* new_tree() noexcept { return rb::new_tree<ArbTree>(); }

void insert_entry(ArbTree* tree, ArbNode* start, const char* key, ArbValue* entry) noexcept {
    if (!tree || !key) return free_entry(entry, tree ? tree->freeValue : nullptr);
    if (!tree->root) tree->root = rb::leaf_of(tree);  // the whole tree was freed before
    bool existed = false;
    ArbNode* n = rb::insert(*tree, start, key, existed);
    if (!n) return free_entry(entry, tree->freeValue);
    if (existed && n->entry != entry) free_entry(n->entry, tree->freeValue);
    n->entry = entry;
}

bool delete_key(ArbTree* tree, const char* key) noexcept {
    ArbNode* n = tree && key && tree->root ? rb::find(tree->root, key) : nullptr;
    if (!n) return false;
    rb::erase(*tree, n);
    free_entry(n->entry, tree->freeValue);
    rb::release_erased(*tree, n);
    return true;
}

void* get_value(const char* key, const ArbTree* tree, const char* type) noexcept {
    if (!key || !tree || !type || !tree->root) return nullptr;
    const ArbNode* n = rb::find(tree->root, key);
    if (!n || !n->entry || !n->entry->type || std::strcmp(n->entry->type, type) != 0) return nullptr;
    return n->entry->value;
}

// Frees a subtree (rb::free_subtree), with the entries when asked.
void free_tree(ArbTree* tree, ArbNode* node, bool free_values) noexcept {
    const ArbFreeFn tree_free = tree ? tree->freeValue : nullptr;
    rb::free_subtree(tree, node, [&](ArbValue* e) {
        if (free_values) free_entry(e, tree_free);
    });
}

ArbValue* copy_entry(const ArbValue* e) noexcept {
    if (!e) return nullptr;
    const ArbType* t = e->type ? find_type(e->type) : nullptr;
    void* value = e->value && t && t->copy ? t->copy(e->value) : nullptr;
    ArbValue* copy = make_entry(value, e->type ? e->type : "null");
    if (!copy && value && t->free) t->free(value);
    return copy;
}

ArbTree* copy_tree(const ArbTree* tree) noexcept {
    if (!tree) return nullptr;
    ArbTree* t = new_tree();
    if (!t) return nullptr;
    t->freeValue = tree->freeValue;
    if (rb::copy_contents(*t, *tree, copy_entry, [&](ArbValue* e) { free_entry(e, t->freeValue); })) return t;
    mem_free(t);
    return nullptr;
}

// Writes node by node in pre-order. An entry whose type is not "null" and
// whose value is absent stops the writer there: that node and the rest of
// its subtree are not written, although the count at the root includes
// them, so such a tree does not read back whole. This is deliberate; keep it.
// A node without an entry is written as a "null" entry.
}  // namespace

void write_arbtree(ArbTree* tree, ArbNode* node, Stream& out) {
    ArbNode* start = node ? node : tree->root;
    if (start == tree->root) out.put_u32(static_cast<std::uint32_t>(tree->count));
    TypeCache types;
    const auto fetch_entry = [](ArbNode* n) { __builtin_prefetch(n->entry); };
    const auto fetch_value = [](ArbNode* n) {
        if (n->entry) __builtin_prefetch(n->entry->value);
    };
    rb::preorder(start, rb::leaf_of(tree), fetch_entry, fetch_value, [&](ArbNode* n) {
        const char* type = n->entry ? n->entry->type : "null";
        void* value = n->entry ? n->entry->value : nullptr;
        if (!value && (!type || std::strcmp(type, "null") != 0)) return false;
        write_text(out, n->key);
        write_text(out, type);
        const TypeInfo& t = types.find(type);
        if (t.record) write_with(t.record->write, t.write, value, out);
        out.put_u32(static_cast<std::uint32_t>(n->color));
        return true;
    });
}

namespace {

// One node: key, type name, value (when the type is known and readable;
// otherwise the entry is none and the value's bytes are misread by what
// follows), colour. nullptr at the end of the data.
ArbNode* read_node(Stream& in, Text& key, Text& type, TypeCache& types, ArbTree* tree, ArbNode* leaf) {
    if (!read_text(in, key)) return nullptr;
    read_text(in, type);
    ArbValue* entry = nullptr;
    const TypeInfo& t = types.find(type.c_str());
    if (t.record && t.record->read) {
        void* value = read_with(t.record->read, t.read, in);
        entry = make_entry(value, type);
        if (!entry && value && t.record->free) t.record->free(value);
    }
    std::uint32_t color = rb::black;
    in.get_u32(color);
    ArbNode* n = rb::make_node_in<ArbNode>(rb::arena_of(tree), key, nullptr, static_cast<std::int32_t>(color), leaf);
    if (!n) {
        free_entry(entry, nullptr);
        return nullptr;
    }
    n->entry = entry;
    return n;
}

}  // namespace

ArbTree* read_arbtree(Stream& in) {
    NestingGuard nesting;
    if (nesting.too_deep()) return nullptr;
    ArbTree* tree = new_tree();
    if (!tree) return nullptr;
    std::uint32_t count = 0;
    in.get_u32(count);
    Text key, type;
    TypeCache types;
    rb::rebuild(*tree, count, [&](ArbNode* leaf) { return read_node(in, key, type, types, tree, leaf); });
    return tree;
}

}  // namespace ostr::persist

using namespace ostr::persist;

extern "C" {

ArbValue* createArbValue(void* value, const char* type) noexcept { return type ? make_entry(value, type) : nullptr; }
void freeArbValue(ArbValue* entry) noexcept { free_entry(entry, nullptr); }

ArbTree* initializeArbTree(void) noexcept { return new_tree(); }
void insertArbNode(ArbTree* tree, ArbNode* root, const char* key, ArbValue* entry) noexcept {
    insert_entry(tree, root, key, entry);
}
int32_t deleteArbNode(ArbTree* tree, const char* key) noexcept { return delete_key(tree, key); }

void* getVal(const char* key, ArbTree* tree, const char* type) noexcept { return get_value(key, tree, type); }
void* getNull(const char* key, ArbTree* tree) noexcept { return getVal(key, tree, "null"); }
char* getString(const char* key, ArbTree* tree) noexcept { return static_cast<char*>(getVal(key, tree, "string")); }
int32_t* getInteger(const char* key, ArbTree* tree) noexcept {
    return static_cast<int32_t*>(getVal(key, tree, "integer"));
}
double* getDecimal(const char* key, ArbTree* tree) noexcept { return static_cast<double*>(getVal(key, tree, "decimal")); }
Complex* getComplex(const char* key, ArbTree* tree) noexcept { return static_cast<Complex*>(getVal(key, tree, "cmplx")); }
double* getVector(const char* key, ArbTree* tree) noexcept { return static_cast<double*>(getVal(key, tree, "vector")); }
double** getMatrix(const char* key, ArbTree* tree) noexcept { return static_cast<double**>(getVal(key, tree, "matrix")); }
char** getStringArray(const char* key, ArbTree* tree) noexcept {
    return static_cast<char**>(getVal(key, tree, "string_array"));
}
MemFile* getByteArray(const char* key, ArbTree* tree) noexcept {
    return static_cast<MemFile*>(getVal(key, tree, "byte_array"));
}
ArbTree* getArbTree(const char* key, ArbTree* tree) noexcept { return static_cast<ArbTree*>(getVal(key, tree, "arbtree")); }
RBTree* getStringTree(const char* key, ArbTree* tree) noexcept {
    return static_cast<RBTree*>(getVal(key, tree, "string_tree"));
}

ArbTree* copyArbTree(ArbTree* tree) noexcept { return copy_tree(tree); }
void freeArbTree(ArbTree* tree, ArbNode* node, int32_t freeValues) noexcept { free_tree(tree, node, freeValues != 0); }

void writeArbTreeToStream(ArbTree* tree, ArbNode* node, void* stream, int32_t mode) noexcept {
    FileBuffer b;
    Stream out(stream, mode, b);
    if (tree && out) write_arbtree(tree, node, out);
}
ArbTree* readArbTreeFromStream(void* stream, int32_t mode) noexcept {
    FileBuffer b;
    Stream in(stream, mode, b);
    return in ? read_arbtree(in) : nullptr;
}

int32_t writeArbTreeToFile(ArbTree* tree, const char* fileName) noexcept {
    std::FILE* f = fileName ? std::fopen(fileName, "wb") : nullptr;
    if (!f) return 0;
    writeArbTreeToStream(tree, nullptr, f, 1);
    return std::fclose(f) == 0;
}
ArbTree* readArbTreeFromFile(const char* fileName) noexcept {
    std::FILE* f = fileName ? std::fopen(fileName, "rb") : nullptr;
    if (!f) return nullptr;
    ArbTree* tree = readArbTreeFromStream(f, 1);
    std::fclose(f);
    return tree;
}

}
