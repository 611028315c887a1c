#include <gtest/gtest.h>

#include <ostream>

#include "tests/viewer/ViewerRun.h"

namespace Viewer {
namespace {

constexpr int kTile = TinyMap::kTileSize;

class ViewerRun : public testing::Test {
protected:
    /// Runs the viewer on the map with a view of 128 x 64 pixels, which is a quarter of layer 2.
    RunResult RunOnMap(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), {"--map", TinyMap::kName, "--size", "128x64"});
        return RunViewer(m_map, arguments, input);
    }

    /// The tile of layer 2 at a pixel, given the picture's place in the layer.
    static COLORREF Layer2(int left, int top, int x, int y) {
        return TinyMap::TileColor(2, (left + x) / kTile, (top + y) / kTile);
    }

    static void ExpectLayer2At(const std::string& file, int left, int top) {
        const Picture picture(file);
        ASSERT_EQ(picture.Width(), 128);
        ASSERT_EQ(picture.Height(), 64);
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 128; ++x) {
                ASSERT_EQ(picture.At(x, y), Layer2(left, top, x, y))
                    << "at " << x << ", " << y << " of " << file;
            }
        }
    }

    TinyMap m_map;
};

TEST_F(ViewerRun, WritesExactlyThePictureOfTheView) {
    const RunResult run =
        RunOnMap({"--layer", "2", "--center", "0,0", "--snapshot", "picture.png"});
    EXPECT_EQ(run.exitCode, 0U) << run.errors;
    EXPECT_EQ(run.OutputLines(), 1) << run.output;
    EXPECT_NE(run.output.find(R"("layer":2,"size":"128x64","milliseconds":)"), std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find(TinyMap::kName), std::string::npos) << run.output;
    ExpectLayer2At(m_map.File("picture.png"), 64, 32);
}

TEST_F(ViewerRun, ListsTheMaps) {
    const RunResult run = RunViewer(m_map, {"--list"});
    EXPECT_EQ(run.exitCode, 0U) << run.errors;
    EXPECT_EQ(run.output, std::string(TinyMap::kName) + "\tlayers 1 to 2\t-180\t-90\t180\t90\n");
}

TEST_F(ViewerRun, PlaysATourFromStandardInput) {
    const RunResult run = RunOnMap({"--layer", "2", "--tour", "-"},
                                   "center 0,0\n"
                                   "wait\n"
                                   "drag 100,32 60,22 4   # pan is the first tool\n"
                                   "wait\n"
                                   "snapshot dragged.png\n"
                                   "drag 100,32 0,32\n"
                                   "wait\n"
                                   "snapshot edge.png\n"
                                   "layer 1\n"
                                   "wait\n"
                                   "wheel 1 64,32\n"
                                   "wait\n"
                                   "snapshot zoomed.png\n");
    EXPECT_EQ(run.exitCode, 0U) << run.errors;
    EXPECT_EQ(run.OutputLines(), 13) << run.output;
    ExpectLayer2At(m_map.File("dragged.png"), 64 + 40, 32 + 10);
    // The drag went on beyond the map's east edge and stopped there.
    ExpectLayer2At(m_map.File("edge.png"), 128, 32 + 10);
    ExpectLayer2At(m_map.File("zoomed.png"), 64, 32);
}

TEST_F(ViewerRun, ObeysTheKeys) {
    const RunResult run = RunOnMap({"--layer", "2", "--center", "0,0", "--tour", "-"},
                                   "key right\n"  // a tenth of 128 pixels, that is 12.8
                                   "key up\nkey right\nkey right\nkey right\nkey right\n"
                                   "wait\n"
                                   "snapshot moved.png\n"
                                   "key home\n"
                                   "wait\n"
                                   "snapshot whole.png\n"
                                   "key 2\n"  // the tool that zooms in
                                   "click 64,32\n"
                                   "wait\n"
                                   "key 4\n"
                                   "drag 64,32 54,32\n"
                                   "wait\n"
                                   "snapshot dragged.png\n");
    EXPECT_EQ(run.exitCode, 0U) << run.errors;
    const Picture moved(m_map.File("moved.png"));
    EXPECT_EQ(moved.At(0, 20), Layer2(64 + 5 * 13, 32 - 6, 0, 20));
    EXPECT_EQ(moved.At(120, 50), Layer2(64 + 5 * 13, 32 - 6, 120, 50));
    const Picture whole(m_map.File("whole.png"));
    EXPECT_EQ(whole.At(5, 5), TinyMap::TileColor(1, 0, 0));
    EXPECT_EQ(whole.At(122, 58), TinyMap::TileColor(1, 1, 0));
    ExpectLayer2At(m_map.File("dragged.png"), 64 + 10, 32);
}

TEST_F(ViewerRun, TakesPicturesInTheMiddleOfAnAnimation) {
    const RunResult run = RunOnMap({"--layer", "1", "--tour", "-"},
                                   "wait\ntool zoomin\nclick 32,32\nframes 3\nsnapshot middle.png\n"
                                   "wait\nsnapshot end.png\n");
    EXPECT_EQ(run.exitCode, 0U) << run.errors;
    const Picture middle(m_map.File("middle.png"));
    EXPECT_EQ(middle.At(5, 32), TinyMap::TileColor(1, 0, 0)) << "still the former layer, scaled";
    ExpectLayer2At(m_map.File("end.png"), 0, 32);
}

struct WrongRun {
    const char* name;
    std::vector<std::string> arguments;
    const char* input;
    const char* expectedInError;
};

void PrintTo(const WrongRun& wrong, std::ostream* out) {
    *out << wrong.expectedInError;
}

class WrongViewerRun : public ViewerRun, public testing::WithParamInterface<WrongRun> {};

TEST_P(WrongViewerRun, EndsWithOneLineThatSaysWhatToDo) {
    const RunResult run = RunViewer(m_map, GetParam().arguments, GetParam().input);
    EXPECT_EQ(run.exitCode, 2U);
    EXPECT_EQ(run.ErrorLines(), 1) << run.errors;
    EXPECT_NE(run.errors.find(GetParam().expectedInError), std::string::npos) << run.errors;
    EXPECT_EQ(run.output.find("snapshot"), std::string::npos) << "went on: " << run.output;
}

const std::string kTiny = TinyMap::kName;

INSTANTIATE_TEST_SUITE_P(
    Each, WrongViewerRun,
    testing::Values(
        WrongRun{"option", {"--mpa", "x"}, "", "--help"},
        WrongRun{"map", {"--map", "Huge", "--snapshot", "a.png"}, "", "no map \"Huge\"; --list"},
        WrongRun{
            "layer", {"--map", kTiny, "--layer", "3", "--snapshot", "a.png"}, "", "layers 1 to 2"},
        WrongRun{"file", {"--map", kTiny, "--snapshot", "missing\\a.png"}, "", "existing folder"},
        WrongRun{"tour", {"--map", kTiny, "--tour", "missing.tour"}, "", "cannot read"},
        WrongRun{"line",
                 {"--map", kTiny, "--tour", "-"},
                 "wait\nsnapshot a.png\njump\n",
                 "tour line 3: expected one of tool"},
        WrongRun{"step",
                 {"--map", kTiny, "--tour", "-"},
                 "layer 9\nsnapshot a.png\n",
                 "tour line 1: the map has no layer 9"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace Viewer
