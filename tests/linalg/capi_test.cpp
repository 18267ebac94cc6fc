// The exported face: conversion of the counted row-pointer matrices both
// ways, the NULL answers, and that every result is released by its Free....
#include <gtest/gtest.h>

#include <cmath>

#include "ostravine/linalg.h"
#include "support/counting_alloc.hpp"

namespace {

double** make(int r, int c, std::initializer_list<double> v) {
    double** m = Matrix(r, c);
    auto it = v.begin();
    for (int i = 1; i <= r; ++i)
        for (int j = 1; j <= c; ++j) m[i][j] = *it++;
    return m;
}

TEST(LinalgFace, ResultsAndFailures) {
    ostr::test::CountingAlloc counting;
    double** a = make(2, 2, {4, 3, 6, 3});
    double** b = make(2, 1, {10, 12});
    double** x = SolveM(a, b);
    ASSERT_NE(x, nullptr);
    EXPECT_NEAR(x[1][1], 1, 1e-14);
    EXPECT_NEAR(x[2][1], 2, 1e-14);
    EXPECT_NEAR(DetM(a), -6, 1e-14);
    double** inv = InvertM(a);
    double** id = MulM(a, inv);
    EXPECT_NEAR(id[1][1], 1, 1e-15);
    EXPECT_NEAR(id[1][2], 0, 1e-15);
    int32_t* perm = nullptr;
    double** lu = LUDecomposeM(a, &perm);
    ASSERT_NE(lu, nullptr);
    EXPECT_EQ(perm[0], 2);
    EXPECT_EQ(perm[1], 2);  // row 2 (6, 3) is the first pivot
    EXPECT_EQ(perm[2], 1);
    EXPECT_EQ(lu[1][1], 6);
    double* s = nullptr;
    double** v = nullptr;
    double** u = SVDM(a, &s, &v);
    ASSERT_NE(u, nullptr);
    EXPECT_NEAR(s[1] * s[2], 6, 1e-13);
    Complex* w = EigenvaluesM(a);
    EXPECT_NEAR(w[1].re + w[2].re, 7, 1e-13);
    double** singular = make(2, 2, {1, 2, 2, 4});
    EXPECT_EQ(InvertM(singular), nullptr);
    EXPECT_EQ(MulM(b, b), nullptr);
    EXPECT_TRUE(std::isnan(DetM(b)));
    EXPECT_EQ(EigenvaluesSymM(b), nullptr);
    for (double** m : {a, b, x, inv, id, lu, u, v, singular}) FreeMatrix(m);
    FreeVector(s);
    FreeVectorC(w);
    FreeVectorL(perm);
    EXPECT_EQ(counting.live(), 0);
}

// Every allocation (ours and the standard containers') failing in turn:
// NULL or a whole result, and nothing left behind either way.
TEST(LinalgFace, OutOfMemoryLeavesNothing) {
    ostr::test::CountingAlloc counting(true);
    double** a = make(3, 2, {1, 2, 3, 4, 5, 7});
    const long base = counting.live();
    bool whole = false;
    for (long n = 0; n < 200 && !whole; ++n) {
        counting.fail_after(n);
        double* s = nullptr;
        double** v = nullptr;
        double** u = SVDM(a, &s, &v);
        double** r = nullptr;
        double** q = QRDecomposeM(a, &r);
        counting.fail_after(-1);
        whole = u && q;
        if (u) FreeMatrix(u), FreeVector(s), FreeMatrix(v);
        if (q) FreeMatrix(q), FreeMatrix(r);
        EXPECT_EQ(counting.live(), base) << n;
    }
    EXPECT_TRUE(whole);
    FreeMatrix(a);
}

}  // namespace
