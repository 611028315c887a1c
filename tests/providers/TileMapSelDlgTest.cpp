#include "terrascope/providers/TileMapSelDlg.h"

#include <gtest/gtest.h>

#include <limits>

#include "terrascope/support/ui/LanguageManager.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"
#include "tests/providers/DialogDriver.h"

namespace {

using namespace TerrascopeTest;
using Terrascope::CTileMapSelDlg;

class TileMapSelDlg : public testing::Test {
protected:
    TileMapSelDlg() { AfxInitRichEdit2(); }
    ~TileMapSelDlg() override { Terrascope::CLanguageManager::ReleaseInstance(); }

    void Choose(const std::string& provider, const char* plugin) {
        m_library.WriteSettings("[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\nLOCAL=" + provider +
                                "\nREMOTE=None\n");
        m_library.AddPlugin(plugin);
        m_library.LoadPlugins();
    }
    void Offer(const std::vector<ScriptedMap>& maps) {
        Choose("ScriptedProvider", "ScriptedProvider.dll");
        FindScript()->SetMaps(maps);
    }
    /// Shows the dialog, and cancels it when it has been looked at.
    void Show(const std::function<void(HWND)>& look) {
        CTileMapSelDlg dialog;
        m_driver.Do(look).Press(IDCANCEL);
        EXPECT_EQ(IDCANCEL, dialog.DoModal());
    }
    static bool CanAccept(HWND dialog) { return ::IsWindowEnabled(::GetDlgItem(dialog, IDOK)); }
    static std::string Info(HWND dialog) { return TextOf(dialog, IDC_MAP_INFO); }
    static std::string Scale(HWND dialog) { return TextOf(dialog, IDC_FIRST_LAYER_SCALE); }
    static void ExpectInfo(HWND dialog, std::initializer_list<std::string> parts) {
        for (const std::string& part : parts) {
            EXPECT_NE(std::string::npos, Info(dialog).find(part)) << part << " in\n"
                                                                  << Info(dialog);
        }
    }

    LibraryFolder m_library;
    DialogDriver m_driver{IDC_MAP_LIST};
};

TEST_F(TileMapSelDlg, PreselectsTheNamedMapAndReturnsTheChoice) {
    Offer({{"one"}, {.name = "Two", .firstLayer = 2}, {"three"}});
    CTileMapSelDlg dialog;
    dialog.m_strMapName = "tWO";
    dialog.m_dFirstLayerScale = 1.5;
    m_driver
        .Do([](HWND window) {
            EXPECT_EQ(1, SelectedRow(window, IDC_MAP_LIST));
            EXPECT_EQ("1.5", Scale(window));
            EXPECT_EQ(1, FindScript()->MapInfoCalls()) << "not one for each row";
        })
        .Type(IDC_FIRST_LAYER_SCALE, "1.901")
        .Press(IDOK)
        .DismissBox()
        .ClickRow(IDC_MAP_LIST, 2)
        .Do([](HWND window) {
            EXPECT_EQ("1.5", Scale(window)) << "the last accepted one";
            ExpectInfo(window, {"three\n"});
            EXPECT_EQ(std::string::npos, Info(window).find("Two\n"));
        })
        .ClickRow(IDC_MAP_LIST, 1)
        .Type(IDC_FIRST_LAYER_SCALE, "1.9")
        .Press(IDOK);

    EXPECT_EQ(IDOK, dialog.DoModal());
    EXPECT_STREQ("Two", dialog.m_strMapName);
    EXPECT_EQ(2, dialog.m_nFirstLayer);
    EXPECT_EQ(1.9, dialog.m_dFirstLayerScale);
}

TEST_F(TileMapSelDlg, DescribesTheMapAndItsLayers) {
    Offer({{.name = "A %s map: 100%d", .remark = "%n%n", .layerCount = 2}});
    Show([](HWND window) {
        EXPECT_EQ(0, SelectedRow(window, IDC_MAP_LIST)) << "no name was given";
        ExpectInfo(window, {"A %s map: 100%d\n", "2024-5-1 7:8:9\n", "bmp\n", "-180.00000\n",
                            "-90.00000\n", ":360.00000\n", ":180.00000\n", ":64\n", "%n%n\n\n",
                            "Layer1:\n", "Layer2:\n", ":4\n", ":2\n\n"});
        if (::GetACP() == 936) {
            EXPECT_EQ("地图选择", TextOf(window, 0));
            ExpectInfo(window, {"地图信息:\n名称:A %s map: 100%d\n更新时间:2024-5-1 7:8:9\n"
                                "切片格式:bmp\n层数:2\n层起始编号:1\n经度起始值:-180.00000\n",
                                "备注:%n%n\n\n图层信息:\nLayer1:\nX方向切片个数:2\n"
                                "Y方向切片个数:1\n\nLayer2:\nX方向切片个数:4\n"});
        }
    });
}

TEST_F(TileMapSelDlg, TranslatesItself) {
    m_library.Folder().WriteFile("language\\Terrascope.lang",
                                 "[DIALOG_7007]\n-1=Choose a map\n1=Take it\n"
                                 "[STRINGTABLE]\n1015=Name %d %s %s\\n\n");
    Offer({{"one"}});
    Show([](HWND window) {
        EXPECT_EQ("Choose a map", TextOf(window, 0));
        EXPECT_EQ("Take it", TextOf(window, IDOK));
        // A translator's mistake is shown, and does no harm.
        ExpectInfo(window, {"Name %d one %s\n"});
    });
}

TEST_F(TileMapSelDlg, AMapWithoutInformationCannotBeTaken) {
    Offer({{"good"}, {.name = "bad", .infoMissing = true}});
    CTileMapSelDlg dialog;
    m_driver.ClickRow(IDC_MAP_LIST, 1)
        .Press(IDOK)
        .Do([](HWND window) {
            EXPECT_EQ("", Info(window));
            EXPECT_FALSE(CanAccept(window));
        })
        .Press(IDCANCEL);
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
    EXPECT_STREQ("", dialog.m_strMapName);
    EXPECT_EQ(-1, dialog.m_nFirstLayer);
}

TEST_F(TileMapSelDlg, WithoutAProviderItCanOnlyBeCancelled) {
    m_driver.Press(IDOK);
    Show([](HWND window) { EXPECT_FALSE(CanAccept(window)); });
}

TEST_F(TileMapSelDlg, StandsAProviderThatTellsNonsense) {
    const std::string longName(10000, 'x');
    Offer({{.name = "%s%s%n",
            .layerCount = -7,
            .width = std::numeric_limits<double>::quiet_NaN(),
            .height = 1e300,
            .tileWidth = -1},
           {.name = longName}});
    FindScript()->SetNullsInLists(true);
    m_driver.Do([](HWND window) {
                ExpectInfo(window, {":%s%s%n\n", ":-7\n"});
            })
        .ClickRow(IDC_MAP_LIST, 1);
    Show([&](HWND window) {
        EXPECT_TRUE(CanAccept(window));
        ExpectInfo(window, {":" + longName + "\n", "Layer2:\n"});
    });
}

TEST_F(TileMapSelDlg, FollowsItsListAfterAFailureWhileItWasFilled) {
    Choose("ThrowsAtEachCall", "AwkwardPlugin.dll");
    /// As under a framework that goes on with the dialog.
    struct Unmoved : CTileMapSelDlg {
        BOOL OnInitDialog() override {
            EXPECT_THROW(CTileMapSelDlg::OnInitDialog(), std::bad_alloc);
            return TRUE;
        }
    } dialog;
    dialog.m_strMapName = "one";
    const LogCapture log;
    const auto receiver = Terrascope::SetLogReceiver([](const char*) { throw std::bad_alloc(); });
    m_driver
        .Do([&](HWND window) {
            Terrascope::SetLogReceiver(receiver);
            EXPECT_FALSE(CanAccept(window));
            auto* list = static_cast<CListCtrl*>(dialog.GetDlgItem(IDC_MAP_LIST));
            list->InsertItem(0, "1");
            list->SetItemText(0, 1, "one");
            list->SetItemState(0, LVIS_SELECTED, LVIS_SELECTED);
            EXPECT_EQ(1, log.Count("the provider failed: unknown")) << "asked for the row's map";
        })
        .Press(IDCANCEL);
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
}

}  // namespace
