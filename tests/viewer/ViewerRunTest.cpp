// Runs of the real viewer program on a tiny map.
#include <afxwin.h>
// After afxwin.h:
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "terrascope/support/GdiPlus.h"
#include "terrascope/support/GdiplusSession.h"
#include "tests/fixtures/ScriptedProvider/TileBitmap.h"
#include "tests/fixtures/TemporaryFolder.h"
#include "tests/plugins/web/FaultServer.h"

namespace Viewer {
namespace {

using testing::HasSubstr;

/// A map library of one map, "Tiny 地图", whose every tile has a colour of its own: two layers of
/// 2 x 1 and 4 x 2 tiles of 64 pixels over the whole world.
class TinyMap {
public:
    static constexpr char kName[] = "Tiny \xE5\x9C\xB0\xE5\x9B\xBE";  // UTF-8
    static constexpr int kTileSize = 64;
    static COLORREF TileColor(int layer, int column, int row) {
        return RGB(60 * column + 20, 100 * row + 50, 80 * layer);
    }

    static std::string Tile(COLORREF color) {
        const auto bytes =
            TerrascopeTest::MakeBitmapFile(kTileSize, kTileSize, [=](int, int) { return color; });
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }

    TinyMap() {
        m_folder.WriteFile("tiny\\map.ini",
                           std::string("[MAP]\nNAME=") + kName +
                               "\nFIRST_LAYER=1\nLAYER_COUNT=2\nLONGITUDE_START=-180\n"
                               "LATITUDE_START=-90\nLONGITUDE=360\nLATITUDE=180\nTILE_WIDTH=64\n"
                               "TILE_HEIGHT=64\nTILE_PATH={layer}_{column}_{row}\n"
                               "[LAYER_1]\nTILE_COUNT_X=2\n");
        for (const auto& [layer, columns, rows] : {std::tuple(1, 2, 1), std::tuple(2, 4, 2)}) {
            for (int tile = 0; tile < columns * rows; ++tile) {
                const int column = tile % columns;
                m_folder.WriteFile("tiny\\" + std::to_string(layer) + "_" + std::to_string(column) +
                                       "_" + std::to_string(tile / columns),
                                   Tile(TileColor(layer, column, tile / columns)));
            }
        }
    }

    const TerrascopeTest::TemporaryFolder& Folder() const { return m_folder; }

private:
    TerrascopeTest::TemporaryFolder m_folder;
};

/// The folder of the programs of this build.
std::string ProgramFolder() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string text = path;
    return text.substr(0, text.find_last_of('\\')) + "\\..\\..\\bin";
}

struct RunResult {
    DWORD exitCode = 0;
    std::string output;  ///< standard output
    std::string errors;  ///< standard error
};

/// Starts the viewer of a folder with the map library of `map` and these arguments (UTF-8) in the
/// library's folder, gives it `input`, waits until it ends.
RunResult RunViewer(const TinyMap& map, const std::vector<std::string>& arguments,
                    const std::string& input = "", const std::string& programs = ProgramFolder()) {
    const auto& folder = map.Folder();
    std::string command = "\"" + programs + "\\TerrascopeViewer.exe\" --data " +
                          "\"LOCAL=SplittedFileTileMapInfoProvider," + folder.Path() + "\"";
    for (const std::string& argument : arguments) {
        command += " \"" + argument + "\"";
    }
    std::wstring wide(command.size() + 1, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, command.c_str(), -1, wide.data(),
                        static_cast<int>(wide.size()));

    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    // The first run may start Wine's desktop, which holds on to standard error.
    static int runs = 0;
    const std::string run = std::to_string(++runs);
    const auto open = [&](const std::string& name, const std::string& content) {
        return CreateFileA(folder.WriteFile(name + run, content).c_str(),
                           GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, &inherit, OPEN_EXISTING,
                           0, nullptr);
    };
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = open("input", input);
    startup.hStdOutput = open("output", "");
    startup.hStdError = open("errors", "");
    PROCESS_INFORMATION process = {};
    RunResult result;
    CreateProcessW(nullptr, wide.data(), nullptr, nullptr, TRUE, 0, nullptr,
                   std::wstring(folder.Path().begin(), folder.Path().end()).c_str(), &startup,
                   &process);
    if (WaitForSingleObject(process.hProcess, 60000) == WAIT_TIMEOUT) {
        TerminateProcess(process.hProcess, 99);
    }
    GetExitCodeProcess(process.hProcess, &result.exitCode);
    for (const HANDLE handle : {startup.hStdInput, startup.hStdOutput, startup.hStdError,
                                process.hThread, process.hProcess}) {
        CloseHandle(handle);
    }
    result.output = folder.ReadFile("output" + run);
    result.errors = folder.ReadFile("errors" + run);
    return result;
}

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

TEST_F(ViewerRun, OpensAddressesAndKeepsWhatItShows) {
    auto server = std::make_unique<TerrascopeTest::FaultServer>();
    for (int tile = 0; tile < 16; ++tile) {
        server->On(
            "/2/" + std::to_string(tile % 4) + "/" + std::to_string(tile / 4) + "?key=secret",
            {200, TinyMap::Tile(TinyMap::TileColor(2, tile % 4, tile / 4))});
    }
    server->On("/map.json?key=secret", {200, R"({"tilejson": "3.0.0", "maxzoom": 2,
                                                "tiles": ["/{z}/{x}/{y}?key=secret"]})"});
    const std::string document = server->Address("/map.json?key=secret#tilesize=64");
    const auto show = [&](const char* picture) {
        return RunViewer(m_map, {"--size", "128x64", "--layer", "2", "--center", "0,0", "--keep",
                                 m_map.Folder() / "kept", "--snapshot", picture, document});
    };
    EXPECT_EQ("", show("online.png").errors);
    ExpectLayer(2, "online.png", 64, 96);
    const std::string pattern = server->Address("/{z}/{x}/{y}?key=secret#name=All&maxzoom=2");
    EXPECT_EQ("All\tlayers 1 to 2\t-180\t-180\t180\t180\n",
              RunViewer(m_map, {"--keep", "-", "--list", pattern}).output);
    server.reset();
    EXPECT_THAT(show("offline.png").output, HasSubstr("\"server\":\"offline, from kept tiles ("));
    ExpectLayer(2, "offline.png", 64, 96);
    const std::string errors = RunViewer(m_map, {"--keep", "-", "--list", document}).errors;
    EXPECT_THAT(errors, HasSubstr("/map.json\" is not opened: it has no map that can be "
                                  "shown: 127.0.0.1:"));
    EXPECT_THAT(errors, testing::Not(HasSubstr("secret")));
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
    for (const std::string opened : {"tiny", "http://127.0.0.1:9/{z}/{x}/{y}"}) {
        EXPECT_THAT(RunViewer(m_map, {"--list", opened}, "", app).errors,
                    HasSubstr("\"" + opened + "\" is not opened: \"" + app +
                              "\\Terrascope.ini\" names SplittedFileTileMapInfoProvider, which "
                              "wins"));
    }
}

}  // namespace
}  // namespace Viewer
