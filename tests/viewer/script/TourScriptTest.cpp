#include "viewer/script/TourScript.h"

#include <gtest/gtest.h>

#include <ostream>

namespace Viewer {
namespace {

TEST(TourScript, ReadsEachKindOfStepAndPassesOverComments) {
    std::string error;
    const auto steps = ParseTour(
        "# a tour\r\n"
        "\n"
        "tool zoomin\r\n"
        "  drag 1,2 -3,4   # ten moves\n"
        "drag 1,2 3,4 25\n"
        "click 5,6\nwheel -2 7,8\nlayer 3\ncenter 1.5,-2\nwait\nframes 4\nsize 300x200\n"
        "snapshot a #1.png",
        error);
    ASSERT_TRUE(steps) << error;
    ASSERT_EQ(steps->size(), 11U);
    EXPECT_EQ(std::get<ToolStep>((*steps)[0].action).tool, Terrascope::MapToolKind::ZoomIn);
    EXPECT_EQ((*steps)[0].line, 3);
    EXPECT_EQ((*steps)[1].text, "drag 1,2 -3,4");
    EXPECT_EQ(std::get<DragStep>((*steps)[1].action).moves, 10);
    EXPECT_EQ(std::get<DragStep>((*steps)[1].action).to, (PixelPoint{-3, 4}));
    EXPECT_EQ(std::get<DragStep>((*steps)[2].action).moves, 25);
    EXPECT_EQ(std::get<ClickStep>((*steps)[3].action).at, (PixelPoint{5, 6}));
    EXPECT_EQ(std::get<WheelStep>((*steps)[4].action).notches, -2);
    EXPECT_EQ(std::get<LayerStep>((*steps)[5].action).layer, 3);
    EXPECT_EQ(std::get<CenterStep>((*steps)[6].action).center, (MapPoint{1.5, -2}));
    EXPECT_EQ(std::get<FramesStep>((*steps)[8].action).count, 4);
    EXPECT_EQ(std::get<SizeStep>((*steps)[9].action).size, (PixelSize{300, 200}));
    EXPECT_EQ(std::get<SnapshotStep>((*steps)[10].action).file, "a");
}

struct BadLine {
    std::string_view line;
    std::string_view expectedInError;
};

void PrintTo(const BadLine& bad, std::ostream* out) {
    *out << bad.line;
}

class BadTourLine : public testing::TestWithParam<BadLine> {};

TEST_P(BadTourLine, IsNamedWithWhatWasExpected) {
    std::string error;
    EXPECT_FALSE(ParseTour("wait\n\n" + std::string(GetParam().line) + "\nwait\n", error));
    EXPECT_NE(error.find("tour line 3: expected "), std::string::npos) << error;
    EXPECT_NE(error.find(GetParam().expectedInError), std::string::npos) << error;
}

INSTANTIATE_TEST_SUITE_P(
    Each, BadTourLine,
    testing::Values(BadLine{"fly 1,2", "one of tool, drag"}, BadLine{"tool", "arrow|zoomin"},
                    BadLine{"tool Pan", "arrow|zoomin"}, BadLine{"drag 1,2", "X1,Y1 X2,Y2"},
                    BadLine{"drag 1,2 3,4 0", "[moves]"}, BadLine{"click 5", "X,Y"},
                    BadLine{"click 5,6 7", "X,Y"}, BadLine{"click 99999,1", "X,Y"},
                    BadLine{"wheel 0 1,1", "NOTCHES"}, BadLine{"key F1", "left|right"},
                    BadLine{"layer", "layer N"}, BadLine{"center a,b", "center X,Y"},
                    BadLine{"size 1x1", "WIDTHxHEIGHT"}, BadLine{"wait 3", "\"wait\""},
                    BadLine{"snapshot", "snapshot FILE"}));

}  // namespace
}  // namespace Viewer
