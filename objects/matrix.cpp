// Matrix blocks: reference counts, copy on write and the value handlers of
// the tag.
#include "objects/matrix.hpp"

#include <new>

#include "objects/types.hpp"

namespace ostr::obj {

MatrixValue* new_matrix(std::size_t rows, std::size_t cols) {
    if (rows == 0 || cols == 0 || rows > max_matrix_elements / cols) return nullptr;
    void* p = mem_alloc(sizeof(MatrixValue));
    if (!p) return nullptr;
    auto* m = new (p) MatrixValue();
    m->rows = rows;
    m->cols = cols;
    try {
        m->items.resize(rows * cols);
    } catch (const std::bad_alloc&) {
        release_matrix(m);
        return nullptr;
    }
    return m;
}

void release_matrix(void* v) noexcept {
    auto* m = static_cast<MatrixValue*>(v);
    if (!m || --m->refs > 0) return;
    for (Item& it : m->items) free_item(it);
    m->~MatrixValue();
    mem_free(m);
}

void* share_matrix(void* v) noexcept {
    ++static_cast<MatrixValue*>(v)->refs;
    return v;
}

const ValueHandlers& matrix_handlers() noexcept { return type_of(matrix).handlers; }

Object* make_matrix(MatrixValue* v, Arbenv* env, std::string_view name) {
    return v ? make_object(env, matrix, name, v, matrix_handlers()) : nullptr;
}

MatrixValue* clone_matrix(const MatrixValue& m) {
    MatrixValue* c = new_matrix(m.rows, m.cols);
    if (!c) return nullptr;
    for (std::size_t k = 0; k < m.items.size(); ++k)
        if (!copy_item(m.items[k], c->items[k])) {
            release_matrix(c);
            return nullptr;
        }
    return c;
}

MatrixValue* writable_matrix(Object* holder) {
    auto* block = matrix_of(holder);
    if (block->refs == 1) return block;
    MatrixValue* own = clone_matrix(*block);
    if (!own) return nullptr;
    release_matrix(block);
    holder->value = own;
    return own;
}

}  // namespace ostr::obj
