#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "viewer/MapSource.h"
#include "viewer/TextValues.h"

namespace Viewer {

/// What the command line asks for. Texts are in the program's code page.
struct ViewerOptions {
    bool help = false;
    bool version = false;
    bool list = false;
    std::string file;    ///< the file, folder or address to open
    std::string keepIn;  ///< where tiles of an address are kept; "-": nowhere
    std::string map;
    std::optional<int> layer;
    std::optional<MapPoint> center;
    std::optional<PixelSize> size;
    std::string snapshotFile;
    std::string tourFile;  ///< "-" is standard input
    double timeoutSeconds = 30;
    std::vector<DataSource> data;

    /// Whether the program works by itself and ends, without a user.
    bool IsScripted() const { return list || !snapshotFile.empty() || !tourFile.empty(); }
};

/// The command line without the program's name. On an error the result is empty and `error` is
/// one line about what to do.
std::optional<ViewerOptions> ParseOptions(const std::vector<std::string>& arguments,
                                          std::string& error);

/// The text that --help prints.
std::string_view OptionsHelp();

}  // namespace Viewer
