// The exported container functions: one line each onto the templates of
// containers.cpp, so that every C name can be found by grep.
#include <cstddef>

#include "numeric/containers.hpp"
#include "core/memory.hpp"
#include "ostravine/numeric.h"

using namespace ostr::num;

static_assert(sizeof(Complex) == 16 && offsetof(Complex, im) == 8);

extern "C" {

double *Vector(int32_t n) noexcept { return vector_new<KindD>(n, Fill::none, Fallback::empty); }
Complex *VectorC(int32_t n) noexcept { return vector_new<KindC>(n, Fill::none, Fallback::empty); }
float *VectorF(int32_t n) noexcept { return vector_new<KindF>(n, Fill::none, Fallback::null); }
int32_t *VectorI(int32_t n) noexcept { return vector_new<KindI>(n, Fill::none, Fallback::null); }
uint32_t *VectorUInt32(int32_t n) noexcept { return vector_new<KindU>(n, Fill::none, Fallback::empty); }
double *Vector0(int32_t n) noexcept { return vector_new<KindD>(n, Fill::zero, Fallback::empty); }
Complex *Vector0C(int32_t n) noexcept { return vector_new<KindC>(n, Fill::zero, Fallback::empty); }
int32_t *Vector0L(int32_t n) noexcept { return vector_new<KindL>(n, Fill::zero, Fallback::empty); }
int32_t *Vector1L(int32_t n) noexcept { return vector_new<KindL>(n, Fill::one, Fallback::empty); }

double *VectorS(double x) noexcept {
    double* v = Vector(1);
    if (v && v[0] == 1) v[1] = x;  // the empty fallback has no slot 1
    return v;
}

double **Matrix(int32_t r, int32_t c) noexcept { return matrix_new<KindD>(r, c, Fill::none, Fallback::empty); }
Complex **MatrixC(int32_t r, int32_t c) noexcept { return matrix_new<KindC>(r, c, Fill::none, Fallback::empty); }
int32_t **MatrixL(int32_t r, int32_t c) noexcept { return matrix_new<KindL>(r, c, Fill::none, Fallback::empty); }
int32_t **MatrixI(int32_t r, int32_t c) noexcept { return matrix_new<KindI>(r, c, Fill::none, Fallback::null); }
float **MatrixF(int32_t r, int32_t c) noexcept { return matrix_new<KindF>(r, c, Fill::none, Fallback::null); }
uint32_t **MatrixUInt32(int32_t r, int32_t c) noexcept { return matrix_new<KindU>(r, c, Fill::none, Fallback::null); }
double **Matrix0(int32_t r, int32_t c) noexcept { return matrix_new<KindD>(r, c, Fill::zero, Fallback::empty); }
Complex **Matrix0C(int32_t r, int32_t c) noexcept { return matrix_new<KindC>(r, c, Fill::zero, Fallback::empty); }

double *AllocDouble(double x) noexcept {
    auto* p = static_cast<double*>(ostr::mem_alloc(sizeof(double)));
    if (p) *p = x;
    return p;
}

int32_t *AllocInt(int32_t k) noexcept {
    auto* p = static_cast<int32_t*>(ostr::mem_alloc(sizeof(int32_t)));
    if (p) *p = k;
    return p;
}

double ***MatrixVector(int32_t n, int32_t r, int32_t c) noexcept { return matrix_vector_new(n, r, c); }

// A Complex count is read from its re, which is where a double count sits:
// FreeMatrix and FreeMatrixC are one operation, as are the int32 three.
void FreeMatrix(double **m) noexcept { matrix_free<KindD>(m); }
void FreeMatrixC(Complex **m) noexcept { matrix_free<KindC>(m); }
void FreeMatrixL(int32_t **m) noexcept { matrix_free<KindL>(m); }
void FreeMatrixI(int32_t **m) noexcept { matrix_free<KindL>(m); }
void FreeVectorV(void **v) noexcept { matrix_free<KindL>(reinterpret_cast<int32_t **>(v)); }
void FreeMatrixF(float **m) noexcept { matrix_free<KindF>(m); }
void FreeMatrixUInt32(uint32_t **m) noexcept { matrix_free<KindU>(m); }
void FreeVector(void *v) noexcept { ostr::mem_free(v); }
void FreeVectorC(Complex *v) noexcept { ostr::mem_free(v); }
void FreeVectorL(int32_t *v) noexcept { ostr::mem_free(v); }
void FreeMatrixVector(double ***mv) noexcept { matrix_vector_free(mv); }

double *CopyVector(const double *v) noexcept { return vector_copy<KindD>(v); }
Complex *CopyVectorC(const Complex *v) noexcept { return vector_copy<KindC>(v); }
int32_t *CopyVectorL(const int32_t *v) noexcept { return vector_copy<KindL>(v); }
float *CopyVectorF(const float *v) noexcept { return vector_copy<KindF>(v); }
uint32_t *CopyVectorUInt32(const uint32_t *v) noexcept { return vector_copy<KindU>(v); }

double **CopyMatrix(double **m) noexcept { return matrix_copy<KindD>(m); }
Complex **CopyMatrixC(Complex **m) noexcept { return matrix_copy<KindC>(m); }
int32_t **CopyMatrixL(int32_t **m) noexcept { return matrix_copy<KindL>(m); }
float **CopyMatrixF(float **m) noexcept { return matrix_copy<KindF>(m); }
uint32_t **CopyMatrixUInt32(uint32_t **m) noexcept { return matrix_copy<KindU>(m); }

void CopyVectorIP(const double *src, double *dst) noexcept { vector_copy_into<KindD>(src, dst); }
void CopyVectorIPC(const Complex *src, Complex *dst) noexcept { vector_copy_into<KindC>(src, dst); }
void CopyVectorIPL(const int32_t *src, int32_t *dst) noexcept { vector_copy_into<KindL>(src, dst); }
void CopyVectorIPF(const float *src, float *dst) noexcept { vector_copy_into<KindF>(src, dst); }
void CopyVectorIPUInt32(const uint32_t *src, uint32_t *dst) noexcept { vector_copy_into<KindU>(src, dst); }

void CopyMatrixIP(double **src, double **dst) noexcept { matrix_copy_into<KindD>(src, dst); }
void CopyMatrixIPC(Complex **src, Complex **dst) noexcept { matrix_copy_into<KindC>(src, dst); }
void CopyMatrixIPL(int32_t **src, int32_t **dst) noexcept { matrix_copy_into<KindL>(src, dst); }
void CopyMatrixIPF(float **src, float **dst) noexcept { matrix_copy_into<KindF>(src, dst); }
void CopyMatrixIPUInt32(uint32_t **src, uint32_t **dst) noexcept { matrix_copy_into<KindU>(src, dst); }

void ExtendVector(double **v, int32_t n) noexcept { vector_extend<KindD>(v, n); }
void ExtendVectorC(Complex **v, int32_t n) noexcept { vector_extend<KindC>(v, n); }
void ExtendVectorL(int32_t **v, int32_t n) noexcept { vector_extend<KindL>(v, n); }
void ExtendVectorF(float **v, int32_t n) noexcept { vector_extend<KindF>(v, n); }
void ExtendVectorUInt32(uint32_t **v, int32_t n) noexcept { vector_extend<KindU>(v, n); }

void ExtendMatrix(double ***m, int32_t r, int32_t c) noexcept { matrix_extend<KindD>(m, r, c); }
void ExtendMatrixC(Complex ***m, int32_t r, int32_t c) noexcept { matrix_extend<KindC>(m, r, c); }
void ExtendMatrixL(int32_t ***m, int32_t r, int32_t c) noexcept { matrix_extend<KindL>(m, r, c); }
void ExtendMatrixF(float ***m, int32_t r, int32_t c) noexcept { matrix_extend<KindF>(m, r, c); }
void ExtendMatrixUInt32(uint32_t ***m, int32_t r, int32_t c) noexcept { matrix_extend<KindU>(m, r, c); }

double *CropVector(const double *v, int32_t a, int32_t b) noexcept { return vector_crop<KindD>(v, a, b); }
Complex *CropVectorC(const Complex *v, int32_t a, int32_t b) noexcept { return vector_crop<KindC>(v, a, b); }
int32_t *CropVectorL(const int32_t *v, int32_t a, int32_t b) noexcept { return vector_crop<KindL>(v, a, b); }
float *CropVectorF(const float *v, int32_t a, int32_t b) noexcept { return vector_crop<KindF>(v, a, b); }
uint32_t *CropVectorUInt32(const uint32_t *v, int32_t a, int32_t b) noexcept { return vector_crop<KindU>(v, a, b); }

double *CropVectorCentered(const double *v, int32_t n) noexcept { return vector_crop_centered<KindD>(v, n); }
Complex *CropVectorCenteredC(const Complex *v, int32_t n) noexcept { return vector_crop_centered<KindC>(v, n); }
int32_t *CropVectorCenteredL(const int32_t *v, int32_t n) noexcept { return vector_crop_centered<KindL>(v, n); }
float *CropVectorCenteredF(const float *v, int32_t n) noexcept { return vector_crop_centered<KindF>(v, n); }
uint32_t *CropVectorCenteredUInt32(const uint32_t *v, int32_t n) noexcept { return vector_crop_centered<KindU>(v, n); }

double **CropMatrix(double **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) noexcept { return matrix_crop<KindD>(m, r1, r2, c1, c2); }
Complex **CropMatrixC(Complex **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) noexcept { return matrix_crop<KindC>(m, r1, r2, c1, c2); }
int32_t **CropMatrixL(int32_t **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) noexcept { return matrix_crop<KindL>(m, r1, r2, c1, c2); }
float **CropMatrixF(float **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) noexcept { return matrix_crop<KindF>(m, r1, r2, c1, c2); }
uint32_t **CropMatrixUInt32(uint32_t **m, int32_t r1, int32_t r2, int32_t c1, int32_t c2) noexcept { return matrix_crop<KindU>(m, r1, r2, c1, c2); }

double **CropMatrixCentered(double **m, int32_t r, int32_t c) noexcept { return matrix_crop_centered<KindD>(m, r, c); }
Complex **CropMatrixCenteredC(Complex **m, int32_t r, int32_t c) noexcept { return matrix_crop_centered<KindC>(m, r, c); }
int32_t **CropMatrixCenteredL(int32_t **m, int32_t r, int32_t c) noexcept { return matrix_crop_centered<KindL>(m, r, c); }
float **CropMatrixCenteredF(float **m, int32_t r, int32_t c) noexcept { return matrix_crop_centered<KindF>(m, r, c); }
uint32_t **CropMatrixCenteredUInt32(uint32_t **m, int32_t r, int32_t c) noexcept { return matrix_crop_centered<KindU>(m, r, c); }

double *JoinVector(const double *a, const double *b) noexcept { return vector_join<KindD>(a, b); }
Complex *JoinVectorC(const Complex *a, const Complex *b) noexcept { return vector_join<KindC>(a, b); }
int32_t *JoinVectorL(const int32_t *a, const int32_t *b) noexcept { return vector_join<KindL>(a, b); }
float *JoinVectorF(const float *a, const float *b) noexcept { return vector_join<KindF>(a, b); }
uint32_t *JoinVectorUInt32(const uint32_t *a, const uint32_t *b) noexcept { return vector_join<KindU>(a, b); }

void AugmentVector(double **a, const double *b) noexcept { vector_augment<KindD>(a, b); }
void AugmentVectorC(Complex **a, const Complex *b) noexcept { vector_augment<KindC>(a, b); }
void AugmentVectorL(int32_t **a, const int32_t *b) noexcept { vector_augment<KindL>(a, b); }
void AugmentVectorF(float **a, const float *b) noexcept { vector_augment<KindF>(a, b); }
void AugmentVectorUInt32(uint32_t **a, const uint32_t *b) noexcept { vector_augment<KindU>(a, b); }

double **JoinMatrixH(double **a, double **b) noexcept { return matrix_join_h<KindD>(a, b); }
Complex **JoinMatrixHC(Complex **a, Complex **b) noexcept { return matrix_join_h<KindC>(a, b); }
int32_t **JoinMatrixHL(int32_t **a, int32_t **b) noexcept { return matrix_join_h<KindL>(a, b); }
float **JoinMatrixHF(float **a, float **b) noexcept { return matrix_join_h<KindF>(a, b); }
uint32_t **JoinMatrixHUInt32(uint32_t **a, uint32_t **b) noexcept { return matrix_join_h<KindU>(a, b); }

double **JoinMatrixV(double **a, double **b) noexcept { return matrix_join_v<KindD>(a, b); }
Complex **JoinMatrixVC(Complex **a, Complex **b) noexcept { return matrix_join_v<KindC>(a, b); }
int32_t **JoinMatrixVL(int32_t **a, int32_t **b) noexcept { return matrix_join_v<KindL>(a, b); }
float **JoinMatrixVF(float **a, float **b) noexcept { return matrix_join_v<KindF>(a, b); }
uint32_t **JoinMatrixVUInt32(uint32_t **a, uint32_t **b) noexcept { return matrix_join_v<KindU>(a, b); }

void AugmentMatrixH(double ***a, double **b) noexcept { matrix_augment_h<KindD>(a, b); }
void AugmentMatrixHC(Complex ***a, Complex **b) noexcept { matrix_augment_h<KindC>(a, b); }
void AugmentMatrixHL(int32_t ***a, int32_t **b) noexcept { matrix_augment_h<KindL>(a, b); }
void AugmentMatrixHF(float ***a, float **b) noexcept { matrix_augment_h<KindF>(a, b); }
void AugmentMatrixHUInt32(uint32_t ***a, uint32_t **b) noexcept { matrix_augment_h<KindU>(a, b); }

void AugmentMatrixV(double ***a, double **b) noexcept { matrix_augment_v<KindD>(a, b); }
void AugmentMatrixVC(Complex ***a, Complex **b) noexcept { matrix_augment_v<KindC>(a, b); }
void AugmentMatrixVL(int32_t ***a, int32_t **b) noexcept { matrix_augment_v<KindL>(a, b); }
void AugmentMatrixVF(float ***a, float **b) noexcept { matrix_augment_v<KindF>(a, b); }
void AugmentMatrixVUInt32(uint32_t ***a, uint32_t **b) noexcept { matrix_augment_v<KindU>(a, b); }

void AppendMatrix(double ***m, const double *row) noexcept { matrix_insert_row<KindD>(m, INT32_MAX, row); }
void AppendMatrixC(Complex ***m, const Complex *row) noexcept { matrix_insert_row<KindC>(m, INT32_MAX, row); }
void AppendMatrixL(int32_t ***m, const int32_t *row) noexcept { matrix_insert_row<KindL>(m, INT32_MAX, row); }
void AppendMatrixF(float ***m, const float *row) noexcept { matrix_insert_row<KindF>(m, INT32_MAX, row); }
void AppendMatrixUInt32(uint32_t ***m, const uint32_t *row) noexcept { matrix_insert_row<KindU>(m, INT32_MAX, row); }

void InsertRow(double ***m, int32_t i, const double *row) noexcept { matrix_insert_row<KindD>(m, i, row); }
void InsertRowC(Complex ***m, int32_t i, const Complex *row) noexcept { matrix_insert_row<KindC>(m, i, row); }
void InsertRowL(int32_t ***m, int32_t i, const int32_t *row) noexcept { matrix_insert_row<KindL>(m, i, row); }
void InsertRowF(float ***m, int32_t i, const float *row) noexcept { matrix_insert_row<KindF>(m, i, row); }
void InsertRowUInt32(uint32_t ***m, int32_t i, const uint32_t *row) noexcept { matrix_insert_row<KindU>(m, i, row); }

void InsertCol(double ***m, int32_t j, const double *col) noexcept { matrix_insert_col<KindD>(m, j, col); }
void InsertColC(Complex ***m, int32_t j, const Complex *col) noexcept { matrix_insert_col<KindC>(m, j, col); }
void InsertColL(int32_t ***m, int32_t j, const int32_t *col) noexcept { matrix_insert_col<KindL>(m, j, col); }
void InsertColF(float ***m, int32_t j, const float *col) noexcept { matrix_insert_col<KindF>(m, j, col); }
void InsertColUInt32(uint32_t ***m, int32_t j, const uint32_t *col) noexcept { matrix_insert_col<KindU>(m, j, col); }

void RemoveRow(double **m, int32_t i) noexcept { matrix_remove_row<KindD>(m, i); }
void RemoveRowC(Complex **m, int32_t i) noexcept { matrix_remove_row<KindC>(m, i); }
void RemoveRowL(int32_t **m, int32_t i) noexcept { matrix_remove_row<KindL>(m, i); }
void RemoveRowF(float **m, int32_t i) noexcept { matrix_remove_row<KindF>(m, i); }
void RemoveRowUInt32(uint32_t **m, int32_t i) noexcept { matrix_remove_row<KindU>(m, i); }

void RemoveCol(double **m, int32_t j) noexcept { matrix_remove_col<KindD>(m, j); }
void RemoveColC(Complex **m, int32_t j) noexcept { matrix_remove_col<KindC>(m, j); }
void RemoveColL(int32_t **m, int32_t j) noexcept { matrix_remove_col<KindL>(m, j); }
void RemoveColF(float **m, int32_t j) noexcept { matrix_remove_col<KindF>(m, j); }
void RemoveColUInt32(uint32_t **m, int32_t j) noexcept { matrix_remove_col<KindU>(m, j); }

void SwapRows(double **m, int32_t i, int32_t j) noexcept { matrix_swap_rows<KindD>(m, i, j); }
void SwapRowsC(Complex **m, int32_t i, int32_t j) noexcept { matrix_swap_rows<KindC>(m, i, j); }
void SwapRowsL(int32_t **m, int32_t i, int32_t j) noexcept { matrix_swap_rows<KindL>(m, i, j); }
void SwapRowsF(float **m, int32_t i, int32_t j) noexcept { matrix_swap_rows<KindF>(m, i, j); }
void SwapRowsUInt32(uint32_t **m, int32_t i, int32_t j) noexcept { matrix_swap_rows<KindU>(m, i, j); }

void SwapCols(double **m, int32_t i, int32_t j) noexcept { matrix_swap_cols<KindD>(m, i, j); }
void SwapColsC(Complex **m, int32_t i, int32_t j) noexcept { matrix_swap_cols<KindC>(m, i, j); }
void SwapColsL(int32_t **m, int32_t i, int32_t j) noexcept { matrix_swap_cols<KindL>(m, i, j); }
void SwapColsF(float **m, int32_t i, int32_t j) noexcept { matrix_swap_cols<KindF>(m, i, j); }
void SwapColsUInt32(uint32_t **m, int32_t i, int32_t j) noexcept { matrix_swap_cols<KindU>(m, i, j); }

double *ReorderV(const double *v, const int32_t *order) noexcept { return vector_reorder<KindD>(v, order); }
Complex *ReorderVC(const Complex *v, const int32_t *order) noexcept { return vector_reorder<KindC>(v, order); }
int32_t *ReorderVL(const int32_t *v, const int32_t *order) noexcept { return vector_reorder<KindL>(v, order); }
float *ReorderVF(const float *v, const int32_t *order) noexcept { return vector_reorder<KindF>(v, order); }
uint32_t *ReorderVUInt32(const uint32_t *v, const int32_t *order) noexcept { return vector_reorder<KindU>(v, order); }
}
