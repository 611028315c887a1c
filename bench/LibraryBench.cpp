// A library of 2,000 maps in folders: what each display, dialog and update pays for it, the first
// time and when nothing has changed, against listing its folder with the system's calls.
#include <afx.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/Measure.h"
#include "plugins/split_file/MapLibrary.h"
#include "plugins/split_file/SplittedFileTileMapInfoProvider.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace {

using namespace Terrascope;

constexpr int kMaps = 2000;
constexpr int kRuns = 9;
constexpr double kLimit = 20'000;  // microseconds for an unchanged library

void ListBare(const std::string& folder) {
    WIN32_FIND_DATAA entry{};
    int count = 0;
    const HANDLE search = ::FindFirstFileA((folder + "\\*").c_str(), &entry);
    do {
        ++count;
    } while (::FindNextFileA(search, &entry) != 0);
    ::FindClose(search);
    Bench::Use(count);
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): without its maps the program has nothing to do
int main() {
    const TerrascopeTest::TemporaryFolder folder;
    const auto longAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    for (int i = 0; i < kMaps; ++i) {
        const std::string file = folder.WriteFile(
            "map" + std::to_string(i) + "\\map.ini",
            "[MAP]\nLAYER_COUNT=18\nLONGITUDE_START=-180\nLATITUDE_START=-90\nLONGITUDE=360\n"
            "LATITUDE=180\nREMARK=One of many\n[LAYER_1]\nTILE_COUNT_X=2\n");
        std::filesystem::last_write_time(file, longAgo);
    }
    const auto raw = [&] { ListBare(folder.Path()); };
    const auto open = [&] {
        Plugins::CSplittedFileTileMapInfoProvider provider;
        provider.SetDataPath(folder.Path().c_str());
    };
    const std::wstring path = std::filesystem::path(folder.Path()).wstring();
    Bench::PrintHeader();
    Bench::Compare(
        "first reading of 2,000 maps", 100, kRuns, 1,
        [&] { Bench::Use(Plugins::ReadMapLibrary(path, nullptr)); }, raw);
    open();
    std::vector<double> unchanged;
    unchanged.reserve(kRuns);
    for (int run = 0; run < kRuns; ++run) {
        unchanged.push_back(Bench::MicrosecondsOf(open));
    }
    Bench::PrintRow("the same unchanged, against 20 ms", Bench::Median(unchanged), kLimit, 1.0);
    Bench::Compare("the same unchanged, against the listing", 5.0, kRuns, 1, open, raw);
    return 0;
}
