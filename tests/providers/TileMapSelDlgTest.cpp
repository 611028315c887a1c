#include "terrascope/providers/TileMapSelDlg.h"

#include <gtest/gtest.h>

#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/support/LanguageManager.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"
#include "tests/providers/DialogDriver.h"

namespace {

using Terrascope::CTileMapSelDlg;
using TerrascopeTest::DialogDriver;
using TerrascopeTest::ScriptedMap;
using TerrascopeTest::WindowText;

class TileMapSelDlg : public testing::Test {
protected:
    TileMapSelDlg() {
        AfxInitRichEdit2();
        m_library.AddPlugin("ScriptedProvider.dll");
        m_library.WriteSettings(
            "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\nLOCAL=ScriptedProvider\nREMOTE=None\n");
    }
    ~TileMapSelDlg() override { Terrascope::CLanguageManager::ReleaseInstance(); }

    /// Loads the provider and gives it these maps; first layers are 1, 2, 3, ...
    void Offer(std::vector<ScriptedMap> maps) {
        m_library.LoadPlugins();
        int layer = 0;
        for (ScriptedMap& map : maps)
            map.firstLayer = ++layer;
        TerrascopeTest::FindScript()->SetMaps(maps);
    }
    void OfferNamed(std::initializer_list<const char*> names) {
        std::vector<ScriptedMap> maps(names.size());
        std::transform(names.begin(), names.end(), maps.begin(), [](const char* name) {
            ScriptedMap map;
            map.name = name;
            return map;
        });
        Offer(maps);
    }
    static int SelectedRow(HWND dialog) {
        return static_cast<int>(::SendDlgItemMessageA(dialog, IDC_MAP_LIST, LVM_GETNEXTITEM,
                                                      WPARAM(-1), LVNI_SELECTED));
    }
    static int Rows(HWND dialog) {
        return static_cast<int>(
            ::SendDlgItemMessageA(dialog, IDC_MAP_LIST, LVM_GETITEMCOUNT, 0, 0));
    }
    static bool CanAccept(HWND dialog) { return ::IsWindowEnabled(::GetDlgItem(dialog, IDOK)); }
    static std::string Info(HWND dialog) { return WindowText(::GetDlgItem(dialog, IDC_MAP_INFO)); }
    static std::string Scale(HWND dialog) {
        return WindowText(::GetDlgItem(dialog, IDC_FIRST_LAYER_SCALE));
    }

    TerrascopeTest::LibraryFolder m_library;
};

TEST_F(TileMapSelDlg, PreselectsTheNamedMapAndReturnsTheChoice) {
    OfferNamed({"one", "Two", "three"});
    CTileMapSelDlg dialog;
    dialog.m_strMapName = "tWO";
    dialog.m_dFirstLayerScale = 1.5;
    DialogDriver driver(IDC_MAP_LIST);
    driver
        .Do([](HWND window) {
            EXPECT_EQ(3, Rows(window));
            EXPECT_EQ(1, SelectedRow(window));
            EXPECT_EQ("1.5", Scale(window));
            EXPECT_TRUE(CanAccept(window));
            EXPECT_EQ(1, TerrascopeTest::FindScript()->MapInfoCalls()) << "not one for each row";
        })
        .Press(IDOK);

    EXPECT_EQ(IDOK, dialog.DoModal());
    EXPECT_STREQ("Two", dialog.m_strMapName);
    EXPECT_EQ(2, dialog.m_nFirstLayer);
    EXPECT_EQ(1.5, dialog.m_dFirstLayerScale);
}

TEST_F(TileMapSelDlg, DescribesTheMapAndItsLayers) {
    ScriptedMap map;
    map.name = "A %s map: 100%d";
    map.remark = "%n%n";
    map.layerCount = 2;
    Offer({map});
    std::string info, caption;
    CTileMapSelDlg dialog;
    DialogDriver driver(IDC_MAP_LIST);
    driver
        .Do([&](HWND window) {
            EXPECT_EQ(0, SelectedRow(window)) << "no name was given";
            info = Info(window);
            caption = WindowText(window);
        })
        .Press(IDCANCEL);
    EXPECT_EQ(IDCANCEL, dialog.DoModal());

    for (const char* part : {"A %s map: 100%d\n", "2024-5-6 7:8:9\n", "bmp\n", "-180.00000\n",
                             "-90.00000\n", ":360.00000\n", ":180.00000\n", ":64\n", "%n%n\n\n",
                             "Layer1:\n", "Layer2:\n", ":4\n", ":2\n\n"})
        EXPECT_NE(std::string::npos, info.find(part)) << part << " in\n" << info;
    if (::GetACP() == 936) {
        EXPECT_EQ("地图选择", caption);
        EXPECT_EQ(0u, info.find("地图信息:\n名称:A %s map: 100%d\n更新时间:2024-5-6 7:8:9\n"
                                "切片格式:bmp\n层数:2\n层起始编号:1\n经度起始值:-180.00000\n"));
        EXPECT_NE(std::string::npos, info.find("备注:%n%n\n\n图层信息:\nLayer1:\nX方向切片个数:2\n"
                                               "Y方向切片个数:1\n\nLayer2:\nX方向切片个数:4\n"));
    }
}

TEST_F(TileMapSelDlg, TranslatesItself) {
    m_library.Folder().WriteFile("language\\Terrascope.lang",
                                 "[DIALOG_7007]\n-1=Choose a map\n1=Take it\n"
                                 "[STRINGTABLE]\n1015=Name %d %s %s\\n\n");
    OfferNamed({"one"});
    CTileMapSelDlg dialog;
    DialogDriver driver(IDC_MAP_LIST);
    driver
        .Do([](HWND window) {
            EXPECT_EQ("Choose a map", WindowText(window));
            EXPECT_EQ("Take it", WindowText(::GetDlgItem(window, IDOK)));
            // A translator's mistake is shown, and does no harm.
            EXPECT_NE(std::string::npos, Info(window).find("Name %d one %s\n")) << Info(window);
        })
        .Press(IDCANCEL);
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
}

struct Typed {
    const char* text;
    double accepted;  // 0: refused
    friend void PrintTo(const Typed& c, std::ostream* out) { *out << c.text; }
};
class TypedScale : public TileMapSelDlg, public testing::WithParamInterface<Typed> {};

TEST_P(TypedScale, IsTakenFromOneEndOfTheRangeToTheOther) {
    OfferNamed({"one"});
    CTileMapSelDlg dialog;
    DialogDriver driver(IDC_MAP_LIST);
    driver.Type(IDC_FIRST_LAYER_SCALE, GetParam().text).Press(IDOK);
    if (GetParam().accepted == 0)
        driver.DismissBox().Press(IDCANCEL);

    const INT_PTR result = dialog.DoModal();

    EXPECT_EQ(GetParam().accepted == 0 ? IDCANCEL : IDOK, result);
    if (GetParam().accepted != 0) {
        EXPECT_EQ(GetParam().accepted, dialog.m_dFirstLayerScale);
    }
}

INSTANTIATE_TEST_SUITE_P(, TypedScale,
                         testing::Values(Typed{"1.9", 1.9}, Typed{"0.55", 0.55}, Typed{"1", 1.0},
                                         Typed{"2.0", 0}, Typed{"1.901", 0}, Typed{"0.5", 0},
                                         Typed{"abc", 0}, Typed{"nan", 0}, Typed{"", 0}));

TEST_F(TileMapSelDlg, AnotherRowDropsAFactorThatWasNotAccepted) {
    OfferNamed({"one", "two"});
    CTileMapSelDlg dialog;
    dialog.m_dFirstLayerScale = 1.25;
    DialogDriver driver(IDC_MAP_LIST);
    driver.Type(IDC_FIRST_LAYER_SCALE, "1.75")
        .Do([](HWND window) { EXPECT_EQ("1.75", Scale(window)); })
        .ClickRow(IDC_MAP_LIST, 1)
        .Await("row 1", [](const auto& windows) { return SelectedRow(windows.dialog) == 1; })
        .Do([](HWND window) {
            EXPECT_EQ("1.25", Scale(window));
            EXPECT_NE(std::string::npos, Info(window).find("two\n"));
            EXPECT_EQ(std::string::npos, Info(window).find("one\n"));
        })
        .Press(IDOK);
    EXPECT_EQ(IDOK, dialog.DoModal());
    EXPECT_STREQ("two", dialog.m_strMapName);
    EXPECT_EQ(2, dialog.m_nFirstLayer);
    EXPECT_EQ(1.25, dialog.m_dFirstLayerScale);
}

TEST_F(TileMapSelDlg, AMapWithoutInformationCannotBeTaken) {
    ScriptedMap good, bad;
    good.name = "good";
    bad.name = "bad";
    bad.infoMissing = true;
    Offer({good, bad});
    CTileMapSelDlg dialog;
    DialogDriver driver(IDC_MAP_LIST);
    driver.ClickRow(IDC_MAP_LIST, 1)
        .Await("a disabled button", [](const auto& w) { return !CanAccept(w.dialog); })
        .Press(IDOK)
        .Do([](HWND window) { EXPECT_EQ("", Info(window)); })
        .ClickRow(IDC_MAP_LIST, 0)
        .Await("an enabled button", [](const auto& w) { return CanAccept(w.dialog); })
        .ClickRow(IDC_MAP_LIST, 1)
        .Await("a disabled button", [](const auto& w) { return !CanAccept(w.dialog); })
        .Press(IDCANCEL);
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
    EXPECT_STREQ("", dialog.m_strMapName);
    EXPECT_EQ(-1, dialog.m_nFirstLayer);
}

TEST_F(TileMapSelDlg, WithoutAProviderItCanOnlyBeCancelled) {
    CTileMapSelDlg dialog;
    dialog.m_strMapName = "one";
    DialogDriver driver(IDC_MAP_LIST);
    driver
        .Do([](HWND window) {
            EXPECT_EQ(0, Rows(window));
            EXPECT_EQ("", Info(window));
            EXPECT_FALSE(CanAccept(window));
        })
        .Press(IDOK)
        .Press(IDCANCEL);
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
}

TEST_F(TileMapSelDlg, StandsAProviderThatTellsNonsense) {
    ScriptedMap odd, longNamed;
    odd.name = "%s%s%n";
    odd.layerCount = -7;
    odd.tileWidth = -1;
    odd.width = std::numeric_limits<double>::quiet_NaN();
    odd.height = 1e300;
    longNamed.name = std::string(10000, 'x');
    Offer({odd, longNamed});
    TerrascopeTest::FindScript()->SetNullsInLists(true);
    CTileMapSelDlg dialog;
    DialogDriver driver(IDC_MAP_LIST);
    driver
        .Do([](HWND window) {
            EXPECT_EQ(2, Rows(window));
            EXPECT_NE(std::string::npos, Info(window).find(":%s%s%n\n"));
            EXPECT_NE(std::string::npos, Info(window).find(":-7\n"));
        })
        .ClickRow(IDC_MAP_LIST, 1)
        .Await("row 1", [](const auto& windows) { return SelectedRow(windows.dialog) == 1; })
        .Do([](HWND window) {
            EXPECT_TRUE(CanAccept(window));
            EXPECT_NE(std::string::npos, Info(window).find(":" + std::string(10000, 'x') + "\n"));
            EXPECT_NE(std::string::npos, Info(window).find("Layer2:\n"));
        })
        .Press(IDCANCEL);
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
}

}  // namespace
