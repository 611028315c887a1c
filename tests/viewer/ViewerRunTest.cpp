#include "tests/viewer/ViewerRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "terrascope/support/GdiPlus.h"
#include "terrascope/support/GdiplusSession.h"

namespace Viewer {
namespace {

using testing::HasSubstr;

class ViewerRun : public testing::Test {
protected:
    /// Runs the viewer on the map with a view of 128 x 64 pixels, which is a quarter of layer 2.
    RunResult RunOnMap(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), {"--map", TinyMap::kName, "--size", "128x64"});
        const RunResult run = RunViewer(m_map, arguments, input);
        EXPECT_EQ(0U, run.exitCode) << run.errors;
        EXPECT_EQ("", run.errors);
        return run;
    }

    std::vector<COLORREF> Pixels(const char* file) {
        const std::string path = m_map.Folder() / file;
        Gdiplus::Bitmap picture(std::wstring(path.begin(), path.end()).c_str());
        std::vector<COLORREF> pixels;
        for (int i = 0; i < 128 * 64 && picture.GetWidth() == 128; ++i) {
            Gdiplus::Color pixel;
            picture.GetPixel(i % 128, i / 128, &pixel);
            pixels.push_back(pixel.ToCOLORREF());
        }
        return pixels;
    }
    /// The picture shows a layer from this pixel of it on.
    void ExpectLayer(int layer, const char* file, int left, int top) {
        std::vector<COLORREF> pixels;
        for (int i = 0; i < 128 * 64; ++i) {
            pixels.push_back(TinyMap::TileColor(layer, (left + i % 128) / TinyMap::kTileSize,
                                                (top + i / 128) / TinyMap::kTileSize));
        }
        EXPECT_TRUE(pixels == Pixels(file)) << file;
    }

    const Terrascope::CGdiplusSession m_gdiplus;
    TinyMap m_map;
};

TEST_F(ViewerRun, WritesExactlyThePictureOfTheView) {
    const RunResult run =
        RunOnMap({"--layer", "2", "--center", "0,0", "--snapshot", "picture.png"});
    EXPECT_THAT(run.output, testing::StartsWith(std::string("{\"map\":\"") + TinyMap::kName +
                                                R"(","layer":2,"size":"128x64","milliseconds":)"));
    EXPECT_THAT(run.output, testing::EndsWith("\"complete\":true,\"file\":\"picture.png\"}\n"));
    ExpectLayer(2, "picture.png", 64, 32);
}

TEST_F(ViewerRun, PlaysATourFromStandardInput) {
    const RunResult run = RunOnMap({"--layer", "2", "--tour", "-"},
                                   "size 300x200\r\n\nsize 128x64\ncenter 0,0\nwait\n"
                                   "drag 100,32 60,22 4   # pan is the first tool\n"
                                   "wait\nsnapshot dragged.png\n"
                                   "drag 100,32 0,32\nwait\nsnapshot edge.png\n"
                                   "layer 1\nwait\nwheel 1 64,32\nwait\nsnapshot wheel.png\n"
                                   "center -90,-45\nkey right\nkey right\nkey right\nkey right\n"
                                   "key right\nkey up\nkey up\nkey up\nkey up\nkey up\n"
                                   "wait\nsnapshot keys.png\nkey home\nwait\nsnapshot home.png\n"
                                   "key 2\n"  // the tool that zooms in
                                   "click 32,32\nframes 3\nsnapshot middle.png\nwait\n"
                                   "snapshot click.png\nkey 4\ndrag 64,32 54,32\nwait\n"
                                   "snapshot pan.png\n");
    EXPECT_EQ(41, std::count(run.output.begin(), run.output.end(), '\n')) << run.output;
    ExpectLayer(2, "dragged.png", 64 + 40, 32 + 10);
    // The drag went on beyond the map's east edge and stopped there.
    ExpectLayer(2, "edge.png", 128, 32 + 10);
    ExpectLayer(2, "wheel.png", 64, 32);
    // Five tenths of the view each way; every one may lose a fraction of a pixel.
    EXPECT_EQ(TinyMap::TileColor(2, 1, 0), Pixels("keys.png").at(22 * 128 + 54));
    EXPECT_EQ(TinyMap::TileColor(2, 2, 1), Pixels("keys.png").at(42 * 128 + 74));
    ExpectLayer(1, "home.png", 0, 0);
    ExpectLayer(2, "click.png", 0, 32);
    ExpectLayer(2, "pan.png", 10, 32);
    EXPECT_EQ(TinyMap::TileColor(1, 0, 0), Pixels("middle.png").at(32 * 128 + 5))
        << "still the former layer, scaled";
}

TEST_F(ViewerRun, OpensFilesAndFolders) {
    const std::string folder = m_map.Folder().Path();
    std::ofstream(folder + "\\tiny\\map.ini", std::ios::app) << "[MAP]\nATTRIBUTION=(c) All\n";
    for (const std::string& file : {folder, folder + "\\tiny", std::string("tiny\\map.ini")}) {
        const RunResult run = RunViewer(m_map, {"--size", "128x64", "--layer", "2", "--center",
                                                "0,0", "--snapshot", "picture.png", file});
        EXPECT_EQ(0U, run.exitCode) << run.errors;
        const std::vector<COLORREF> pixels = Pixels("picture.png");
        ASSERT_EQ(128U * 64, pixels.size());
        EXPECT_EQ(TinyMap::TileColor(2, 1, 0), pixels[0]);
        EXPECT_EQ(TinyMap::TileColor(2, 1, 1), pixels[63 * 128]) << "left of the attribution";
        EXPECT_EQ(RGB(0xF4, 0xF4, 0xF4), pixels.back()) << "the attribution's plate";
    }
    // What cannot be opened leaves the map as it was.
    m_map.Folder().WriteFile("empty.mbtiles", std::string("SQLite format 3\0", 16));
    const struct {
        const char *file, *reason;
    } refused[] = {{"tiny\\1_0_0", "\"tiny\\1_0_0\" is no map: expected an MBTiles"},
                   {"nowhere", "there is no file or folder \"nowhere\""},
                   {"empty.mbtiles", "it has no map that can be shown; see the logs in"}};
    for (const auto& [file, reason] : refused) {
        const RunResult run = RunViewer(m_map, {"--map", TinyMap::kName, "--tour", "-"},
                                        std::string("drop tiny\ndrop ") + file + "\n");
        EXPECT_THAT(run.errors, HasSubstr(std::string("tour line 2: "))) << file;
        EXPECT_THAT(run.errors, HasSubstr(reason));
    }
}

TEST_F(ViewerRun, EndsWithOneLineThatSaysWhatToDo) {
    const std::string tiny = TinyMap::kName;
    const struct {
        std::vector<std::string> arguments;
        const char *input, *error;
    } cases[] = {
        {{"--mpa", "x"}, "", "--help"},
        {{"--map", "Huge", "--snapshot", "a.png"}, "", "no map \"Huge\"; --list"},
        {{"--map", tiny, "--layer", "3", "--snapshot", "a.png"}, "", "layers 1 to 2"},
        {{"--map", tiny, "--snapshot", "missing\\a.png"}, "", "existing folder"},
        {{"--map", tiny, "--tour", "missing.tour"}, "", "cannot read"},
        {{"--map", tiny, "--tour", "-"}, "wait\njump\n", "tour line 2: expected one of tool"},
        {{"--map", tiny, "--tour", "-"},
         "layer 9\nsnapshot a.png\n",
         "tour line 1: the map has no layer 9"},
    };
    for (const auto& [arguments, input, error] : cases) {
        const RunResult run = RunViewer(m_map, arguments, input);
        EXPECT_EQ(2U, run.exitCode) << error;
        EXPECT_THAT(run.errors, HasSubstr(error));
        EXPECT_EQ(1, std::count(run.errors.begin(), run.errors.end(), '\n')) << run.errors;
        EXPECT_EQ("", run.output);
    }
}

TEST_F(ViewerRun, ListsTheMapsAndSaysWhichFileOverridesTheDataOption) {
    const std::string tiny = std::string(TinyMap::kName) + "\tlayers 1 to 2\t-180\t-90\t180\t90\n";
    EXPECT_EQ(tiny, RunViewer(m_map, {"--list"}).output);

    // The same programs in a folder of their own, with settings.
    namespace fs = std::filesystem;
    const std::string app = m_map.Folder().Path() + "\\app";
    fs::copy(ProgramFolder(), app, fs::copy_options::recursive);
    m_map.Folder().WriteFile("app\\Terrascope.ini",
                             "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\n"
                             "local=SplittedFileTileMapInfoProvider\nREMOTE=\n"
                             "[SplittedFileTileMapInfoProvider]\nDATA_PATH=nowhere\n");
    const RunResult run = RunViewer(m_map, {"--data", "remote=Other,x", "--list"}, "", app);
    EXPECT_THAT(run.errors,
                testing::StartsWith("TerrascopeViewer: --data LOCAL is not used: \"" + app +
                                    "\\Terrascope.ini\" names SplittedFileTileMapInfoProvider\n"
                                    "TerrascopeViewer: no maps"));
    EXPECT_THAT(RunViewer(m_map, {"--list", "tiny"}, "", app).errors,
                HasSubstr("\"tiny\" is not opened: \"" + app +
                          "\\Terrascope.ini\" names SplittedFileTileMapInfoProvider, which wins"));
}

}  // namespace
}  // namespace Viewer
