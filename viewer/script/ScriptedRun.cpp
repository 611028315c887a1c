#include "viewer/script/ScriptedRun.h"

#include <cstdio>
#include <memory>
#include <optional>

#include "viewer/Console.h"
#include "viewer/MainFrame.h"
#include "viewer/MapRecords.h"
#include "viewer/ScopeEnd.h"
#include "viewer/script/JsonLine.h"
#include "viewer/script/PictureWait.h"
#include "viewer/script/TourPlayer.h"

namespace Viewer {
namespace {

/// The whole of a file, or of standard input for "-".
std::optional<std::string> ReadScript(const std::string& name) {
    const bool isInput = name == "-";
    const HANDLE handle = isInput
                              ? GetStdHandle(STD_INPUT_HANDLE)
                              : CreateFileA(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    const ScopeEnd read([=] {
        if (!isInput) {
            CloseHandle(handle);
        }
    });
    std::string text;
    char part[4096];
    DWORD count = 0;
    // Reading a pipe to its end fails with "broken pipe": that is its end.
    while (::ReadFile(handle, part, sizeof(part), &count, nullptr) && count > 0) {
        text.append(part, count);
    }
    return text;
}

}  // namespace

bool PrintMaps(CMainFrame& frame, std::string& error) {
    const std::vector<MapRecord> maps = ReadMaps();
    if (maps.empty()) {
        error = "no maps: name a provider and its data path in Terrascope.ini or with --data";
        return false;
    }
    for (const auto& [name, remark] : maps) {
        if (!frame.View().OpenMap(name.c_str(), 1.0)) {
            continue;
        }
        Terrascope::ITerrascope& display = *frame.View().Display();
        double left = 0, top = 0, right = 0, bottom = 0;
        display.GetMapExtent(&left, &top, &right, &bottom);
        char rest[160];
        std::snprintf(rest, sizeof(rest), "\t%s\t%.10g\t%.10g\t%.10g\t%.10g\n",
                      frame.LayerRangeText().c_str(), left, bottom, right, top);
        Print(name + rest);
    }
    return true;
}

bool TakeSnapshot(CMainFrame& frame, const ViewerOptions& options, std::string& error) {
    CMapView& view = frame.View();
    const PictureWait wait = WaitForPicture(view, options.timeoutSeconds * 1000);
    if (!IsWindow(view.GetSafeHwnd())) {
        error = "the window was closed before the picture was complete";
        return false;
    }
    if (!view.SavePicture(options.snapshotFile.c_str())) {
        error =
            "cannot write \"" + options.snapshotFile + "\"; choose a file in an existing folder";
        return false;
    }
    CRect client;
    view.GetClientRect(&client);
    std::vector<JsonMember> members = {
        {"map", view.Display()->GetMapName().GetString()},
        {"layer", view.Display()->GetLayer()},
        {"size", std::to_string(client.Width()) + "x" + std::to_string(client.Height())},
        {"milliseconds", wait.lastChangeMs},
        {"repaints", view.Statistics().repaints},
        {"complete", wait.complete},
        {"file", options.snapshotFile}};
    if (const std::string server = frame.ServerText(); !server.empty()) {
        members.push_back({"server", server});
    }
    Print(JsonLine(members));
    return true;
}

bool PlayTour(CMainFrame& frame, const ViewerOptions& options, std::string& error) {
    const auto script = ReadScript(options.tourFile);
    if (!script) {
        error = "cannot read \"" + options.tourFile + "\"; name a file of tour steps";
        return false;
    }
    const auto steps = ParseTour(*script, error);
    return steps && CTourPlayer(frame, options.timeoutSeconds).Play(*steps, error);
}

}  // namespace Viewer
