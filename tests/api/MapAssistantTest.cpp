// The real Terrascope.dll, as a host sees it.
#include <gtest/gtest.h>
#include <terrascope/api/MapAssistant.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <string>

namespace Terrascope {
namespace {

TEST(Library, ExportsItsTwoClassesAndNothingElse) {
    const auto* base = reinterpret_cast<const BYTE*>(::GetModuleHandleA("Terrascope.dll"));
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto* exports =
        reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + directory.VirtualAddress);
    const auto* names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    ASSERT_LT(0U, exports->NumberOfNames);
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        const std::string name = reinterpret_cast<const char*>(base + names[i]);
        EXPECT_TRUE(name.find("13CMapAssistant") != std::string::npos ||
                    name.find("11ITerrascope") != std::string::npos)
            << name;
    }
}

TEST(MapAssistant, ConvertsByTheScreensDensityAndTruncates) {
    // D is 319 at the 96 dots per inch of the tests' screen.
    EXPECT_EQ(1000.0F, CMapAssistant::DPToLP(319.0F));
    EXPECT_EQ(319.0F, CMapAssistant::LPToDP(1000.0F));
    CPoint point(1, -1);
    CMapAssistant::DPToLP(point);
    EXPECT_EQ(CPoint(3, -3), point);
    CMapAssistant::LPToDP(point);
    EXPECT_EQ(CPoint(0, 0), point) << "there and back may lose a pixel";
    CSize size(100, 638);
    CMapAssistant::DPToLP(size);
    EXPECT_EQ(CSize(313, 2000), size);
    CPointF exact(638.0F, 159.5F);
    CMapAssistant::DPToLP(exact);
    EXPECT_EQ(CPointF(2000.0F, 500.0F), exact);
}

TEST(Library, BeginsItsLogWithItsVersion) {
    const std::unique_ptr<ITerrascope> display(
        CMapAssistant::GetTerrascope(CSize(10, 10), nullptr, 1.0));
    char path[MAX_PATH] = "";
    ::GetModuleFileNameA(::GetModuleHandleA("Terrascope.dll"), path, MAX_PATH - 1);
    strcpy(strrchr(path, '\\'), "\\log\\Terrascope\\Terrascope.log");
    std::string line;
    EXPECT_TRUE(std::getline(std::ifstream(path), line)) << path;
    EXPECT_NE(std::string::npos, line.find("Terrascope ver is 1.")) << line;
}

TEST(MapTools, ShowTheLibrarysOwnCursorsAndAnUnknownOneIsTheArrow) {
    const std::unique_ptr<ITerrascope> display(
        CMapAssistant::GetTerrascope(CSize(10, 10), nullptr, 1.0));
    std::set<HCURSOR> shown{nullptr};
    for (UINT kind = 0; kind < 4; ++kind) {
        ::SetCursor(nullptr);
        display->SetTool(kind);
        display->OnSetCursor(nullptr, HTCLIENT, WM_MOUSEMOVE);
        EXPECT_TRUE(shown.insert(::GetCursor()).second) << kind;
    }
    EXPECT_EQ(display->SetTool(static_cast<UINT>(MapToolKind::Arrow)), display->SetTool(7));
}

}  // namespace
}  // namespace Terrascope
