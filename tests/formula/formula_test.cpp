#include <gtest/gtest.h>
#include "lang/formula.hpp"
TEST(Formula, Dummy) {}
