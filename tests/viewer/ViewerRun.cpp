#include "tests/viewer/ViewerRun.h"

#include <gtest/gtest.h>
#include <shellapi.h>

#include <algorithm>
#include <fstream>
#include <thread>

#include "terrascope/support/GdiPlus.h"
#include "terrascope/support/GdiplusSession.h"
#include "viewer/FrameBuffer.h"

namespace Viewer {
namespace {

constexpr DWORD kLongestRunMs = 60000;

std::wstring FromUtf8(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(),
                                                        static_cast<int>(text.size()), wide.data(),
                                                        static_cast<int>(wide.size()))));
    return wide;
}

std::string ModuleFolder() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string text = path;
    return text.substr(0, text.find_last_of('\\'));
}

/// An anonymous pipe of which the child inherits one end.
struct Pipe {
    explicit Pipe(bool childReads) {
        SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
        HANDLE read = nullptr, write = nullptr;
        EXPECT_TRUE(CreatePipe(&read, &write, &inherit, 0));
        ours = childReads ? write : read;
        childs = childReads ? read : write;
        SetHandleInformation(ours, HANDLE_FLAG_INHERIT, 0);
    }
    std::string ReadAll() const {
        std::string text;
        char part[4096];
        DWORD count = 0;
        while (ReadFile(ours, part, sizeof(part), &count, nullptr) && count > 0) {
            text.append(part, count);
        }
        CloseHandle(ours);
        return text;
    }
    void WriteAll(const std::string& text) const {
        DWORD count = 0;
        WriteFile(ours, text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
        CloseHandle(ours);
    }
    HANDLE ours = nullptr;
    HANDLE childs = nullptr;
};

}  // namespace

int RunResult::OutputLines() const {
    return static_cast<int>(std::count(output.begin(), output.end(), '\n'));
}

int RunResult::ErrorLines() const {
    return static_cast<int>(std::count(errors.begin(), errors.end(), '\n'));
}

TinyMap::TinyMap() {
    m_folder = ModuleFolder() + "\\run" + std::to_string(GetCurrentProcessId());
    const std::string map = m_folder + "\\tiny";
    CreateDirectoryA(m_folder.c_str(), nullptr);
    CreateDirectoryA(map.c_str(), nullptr);
    std::ofstream(map + "\\map.ini")
        << "[MAP]\nNAME=" << kName
        << "\nTILE_FORMAT=png\nFIRST_LAYER=1\nLAYER_COUNT=2\nLONGITUDE_START=-180\n"
           "LATITUDE_START=-90\nLONGITUDE=360\nLATITUDE=180\nTILE_WIDTH=64\nTILE_HEIGHT=64\n"
           "TILE_PATH={layer}_{column}_{row}.png\n"
           "[LAYER_1]\nTILE_COUNT_X=2\nTILE_COUNT_Y=1\n";
    for (int layer = 1; layer <= 2; ++layer) {
        for (int column = 0; column < 2 * layer; ++column) {
            for (int row = 0; row < layer; ++row) {
                CFrameBuffer tile;
                EXPECT_TRUE(tile.Resize(CSize(kTileSize, kTileSize)));
                tile.Dc().FillSolidRect(CRect(0, 0, kTileSize, kTileSize),
                                        TileColor(layer, column, row));
                const std::string name = map + "\\" + std::to_string(layer) + "_" +
                                         std::to_string(column) + "_" + std::to_string(row) +
                                         ".png";
                EXPECT_TRUE(tile.SavePng(name.c_str()));
            }
        }
    }
}

TinyMap::~TinyMap() {
    std::string from = m_folder + '\0';
    SHFILEOPSTRUCTA remove = {};
    remove.wFunc = FO_DELETE;
    remove.pFrom = from.c_str();
    remove.fFlags = FOF_NOCONFIRMATION | FOF_SILENT | FOF_NOERRORUI;
    SHFileOperationA(&remove);
}

COLORREF TinyMap::TileColor(int layer, int column, int row) {
    return RGB(60 * column + 20, 100 * row + 50, 80 * layer);
}

RunResult RunViewer(const TinyMap& map, const std::vector<std::string>& arguments,
                    const std::string& input) {
    const std::string program = ModuleFolder() + "\\..\\..\\bin\\TerrascopeViewer.exe";
    std::string command =
        "\"" + program + "\" --data \"LOCAL=SplittedFileTileMapInfoProvider," + map.Folder() + "\"";
    for (const std::string& argument : arguments) {
        command += " \"" + argument + "\"";
    }
    std::wstring wideCommand = FromUtf8(command);

    Pipe in(true), out(false), err(false);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = in.childs;
    startup.hStdOutput = out.childs;
    startup.hStdError = err.childs;
    PROCESS_INFORMATION process = {};
    RunResult result;
    EXPECT_TRUE(CreateProcessW(nullptr, wideCommand.data(), nullptr, nullptr, TRUE, 0, nullptr,
                               FromUtf8(map.Folder()).c_str(), &startup, &process))
        << program << ": error " << GetLastError();
    CloseHandle(in.childs);
    CloseHandle(out.childs);
    CloseHandle(err.childs);
    in.WriteAll(input);
    // The program must end by itself: only then the pipes end, too.
    std::thread watchdog([&process] {
        if (WaitForSingleObject(process.hProcess, kLongestRunMs) == WAIT_TIMEOUT) {
            TerminateProcess(process.hProcess, 99);
        }
    });
    result.output = out.ReadAll();
    result.errors = err.ReadAll();
    watchdog.join();
    GetExitCodeProcess(process.hProcess, &result.exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return result;
}

Picture::Picture(const std::string& file) {
    const Terrascope::CGdiplusSession session;
    Gdiplus::Bitmap bitmap(FromUtf8(file).c_str());
    m_width = static_cast<int>(bitmap.GetWidth());
    m_height = static_cast<int>(bitmap.GetHeight());
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            Gdiplus::Color color;
            bitmap.GetPixel(x, y, &color);
            m_pixels.push_back(color.ToCOLORREF());
        }
    }
}

COLORREF Picture::At(int x, int y) const {
    const bool inside = x >= 0 && y >= 0 && x < m_width && y < m_height;
    return inside ? m_pixels[static_cast<size_t>(y) * static_cast<size_t>(m_width) +
                             static_cast<size_t>(x)]
                  : RGB(0, 0, 0);
}

}  // namespace Viewer
