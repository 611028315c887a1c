#include "viewer/script/TourScript.h"

#include <gtest/gtest.h>

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
    ASSERT_EQ(11U, steps->size());
    const auto action = [&](std::size_t step) { return (*steps)[step].action; };
    EXPECT_EQ(Terrascope::MapToolKind::ZoomIn, std::get<ToolStep>(action(0)).tool);
    EXPECT_EQ(3, (*steps)[0].line);
    EXPECT_EQ("drag 1,2 -3,4", (*steps)[1].text);
    EXPECT_EQ(10, std::get<DragStep>(action(1)).moves);
    EXPECT_EQ((PixelPoint{-3, 4}), std::get<DragStep>(action(1)).to);
    EXPECT_EQ(25, std::get<DragStep>(action(2)).moves);
    EXPECT_EQ((PixelPoint{5, 6}), std::get<ClickStep>(action(3)).at);
    EXPECT_EQ(-2, std::get<WheelStep>(action(4)).notches);
    EXPECT_EQ(3, std::get<LayerStep>(action(5)).layer);
    EXPECT_EQ((MapPoint{1.5, -2}), std::get<CenterStep>(action(6)).center);
    EXPECT_EQ(4, std::get<FramesStep>(action(8)).count);
    EXPECT_EQ((PixelSize{300, 200}), std::get<SizeStep>(action(9)).size);
    EXPECT_EQ("a", std::get<SnapshotStep>(action(10)).file);
}

}  // namespace
}  // namespace Viewer
