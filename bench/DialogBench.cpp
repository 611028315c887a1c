// What it costs to open the map selection dialog on 10,000 maps, beside what the provider takes,
// against putting the same rows into a bare list view.
#include <afxcmn.h>
#include <afxwin.h>

#include <cstdio>

#include "bench/Measure.h"
#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/providers/TileMapSelDlg.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"

namespace {

using namespace Terrascope;
using Bench::Clock;
using Bench::Microseconds;

constexpr int kMaps = 10'000;
constexpr int kRuns = 5;

/// Closes itself as soon as it has opened.
class PassingDialog : public CTileMapSelDlg {
public:
    Clock::time_point opened;

protected:
    BOOL OnInitDialog() override {
        const BOOL result = CTileMapSelDlg::OnInitDialog();
        opened = Clock::now();
        PostMessage(WM_COMMAND, IDCANCEL, 0);
        return result;
    }
};

double OpenDialog() {
    PassingDialog dialog;
    const Clock::time_point start = Clock::now();
    dialog.DoModal();
    return Microseconds(dialog.opened - start);
}

double AskProvider() {
    CTileMapInfoProviderWrapper wrapper;
    wrapper.SelectProvider();
    const Clock::time_point start = Clock::now();
    for (const tagTILE_MAP_INFO* map : wrapper.GetMapList()) {
        delete map;
    }
    return Microseconds(Clock::now() - start);
}

double FillBareList() {
    const HWND parent = ::CreateWindowA("STATIC", "", WS_OVERLAPPEDWINDOW, 0, 0, 400, 400, nullptr,
                                        nullptr, nullptr, nullptr);
    const Clock::time_point start = Clock::now();
    const HWND list = ::CreateWindowA(WC_LISTVIEWA, "", WS_CHILD | WS_VISIBLE | LVS_REPORT, 0, 0,
                                      300, 300, parent, nullptr, nullptr, nullptr);
    for (int column = 0; column < 3; ++column) {
        LVCOLUMNA description{};
        description.mask = LVCF_WIDTH;
        description.cx = 60;
        ::SendMessageA(list, LVM_INSERTCOLUMNA, WPARAM(column), LPARAM(&description));
    }
    ::SendMessageA(list, WM_SETREDRAW, FALSE, 0);
    ::SendMessageA(list, LVM_SETITEMCOUNT, kMaps, 0);
    for (int row = 0; row < kMaps; ++row) {
        char texts[3][16];
        std::snprintf(texts[0], sizeof texts[0], "%d", row + 1);
        std::snprintf(texts[1], sizeof texts[1], "map %d", row);
        std::snprintf(texts[2], sizeof texts[2], "%d", 3);
        LVITEMA item{};
        item.mask = LVIF_TEXT;
        item.iItem = row;
        for (int column = 0; column < 3; ++column) {
            item.iSubItem = column;
            item.pszText = texts[column];
            ::SendMessageA(list, column == 0 ? LVM_INSERTITEMA : LVM_SETITEMTEXTA, WPARAM(row),
                           LPARAM(&item));
        }
    }
    ::SendMessageA(list, WM_SETREDRAW, TRUE, 0);
    const double time = Microseconds(Clock::now() - start);
    ::DestroyWindow(parent);
    return time;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): without its fixtures the program has nothing to do
int main() {
    AfxInitRichEdit2();
    TerrascopeTest::LibraryFolder library;
    library.AddPlugin("ScriptedProvider.dll");
    library.LoadPlugins();
    CTileMapInfoProviderPluginKernel::GetInstance().SetProvider("LOCAL", "ScriptedProvider", "");
    std::vector<TerrascopeTest::ScriptedMap> maps(kMaps);
    for (int i = 0; i < kMaps; ++i) {
        maps[static_cast<std::size_t>(i)].name = "map " + std::to_string(i);
    }
    TerrascopeTest::FindScript()->SetMaps(maps);

    std::vector<double> dialog, provider, bare;
    for (int run = 0; run < kRuns; ++run) {
        dialog.push_back(OpenDialog());
        provider.push_back(AskProvider());
        bare.push_back(FillBareList());
    }
    const double beyond = Bench::Median(dialog) - Bench::Median(provider);
    Bench::PrintHeader();
    Bench::PrintRow("dialog with 10,000 maps, beyond the provider", beyond, Bench::Median(bare),
                    1'000'000.0 / Bench::Median(bare));
    return 0;
}
