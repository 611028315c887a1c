#include "terrascope/providers/TextPattern.h"

#include <gtest/gtest.h>

namespace {

using Terrascope::FillPattern;

TEST(FillPattern, FormatsValuesOfTheRightKindAndLeavesWhatDoesNotFit) {
    EXPECT_STREQ("n=5, -0.50000 of x%s\n",
                 FillPattern("n=%d, %.5f of %s\n", {5, -0.5, CString("x%s")}));
    EXPECT_STREQ("007|100%|7  |", FillPattern("%03d|100%%|%-3d|", {7, 7}));
    EXPECT_EQ(20000, FillPattern("%s%s", {CString('x', 10000), CString('y', 10000)}).GetLength());
    EXPECT_EQ(309 + 100, FillPattern("%.99f", {1.7e308}).GetLength());
    EXPECT_STREQ("%d 5 none", FillPattern("%d %s none", {CString("5")}));
    EXPECT_STREQ("%n %x %ld %100d %.100f %*d %", FillPattern("%n %x %ld %100d %.100f %*d %", {5}));
}

}  // namespace
