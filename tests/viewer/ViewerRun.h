#pragma once

#include <afxwin.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/fixtures/ScriptedProvider/TileBitmap.h"
#include "tests/fixtures/TemporaryFolder.h"

/// Runs of the real viewer program on a tiny map.
namespace Viewer {

/// A map library of one map, "Tiny 地图", whose every tile has a colour of its own: two layers of
/// 2 x 1 and 4 x 2 tiles of 64 pixels over the whole world.
class TinyMap {
public:
    static constexpr char kName[] = "Tiny \xE5\x9C\xB0\xE5\x9B\xBE";  // UTF-8
    static constexpr int kTileSize = 64;
    static COLORREF TileColor(int layer, int column, int row) {
        return RGB(60 * column + 20, 100 * row + 50, 80 * layer);
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
                const COLORREF color = TileColor(layer, column, tile / columns);
                const auto bytes = TerrascopeTest::MakeBitmapFile(kTileSize, kTileSize,
                                                                  [=](int, int) { return color; });
                m_folder.WriteFile("tiny\\" + std::to_string(layer) + "_" + std::to_string(column) +
                                       "_" + std::to_string(tile / columns),
                                   {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
            }
        }
    }

    const TerrascopeTest::TemporaryFolder& Folder() const { return m_folder; }

private:
    TerrascopeTest::TemporaryFolder m_folder;
};

/// The folder of the programs of this build.
inline std::string ProgramFolder() {
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
inline RunResult RunViewer(const TinyMap& map, const std::vector<std::string>& arguments,
                           const std::string& input = "",
                           const std::string& programs = ProgramFolder()) {
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

}  // namespace Viewer
