// The real Terrascope.dll, as a host sees it.
#include <gtest/gtest.h>
#include <terrascope/api/MapAssistant.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace Terrascope {
namespace {

std::vector<std::string> ExportedNames(HMODULE module) {
    const auto* base = reinterpret_cast<const BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& directory =
        nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
    const auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + directory);
    const auto* names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    std::vector<std::string> result;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        result.emplace_back(reinterpret_cast<const char*>(base + names[i]));
    }
    return result;
}

std::string FolderOf(HMODULE module) {
    char path[MAX_PATH] = "";
    ::GetModuleFileNameA(module, path, MAX_PATH - 1);
    const std::string text = path;
    return text.substr(0, text.find_last_of('\\') + 1);
}

TEST(Library, ExportsItsTwoClassesAndNothingElse) {
    const auto names = ExportedNames(::GetModuleHandleA("Terrascope.dll"));
    ASSERT_FALSE(names.empty());
    for (const std::string& name : names) {
        const bool ours = name.find("13CMapAssistant") != std::string::npos ||
                          name.find("11ITerrascope") != std::string::npos;
        EXPECT_TRUE(ours) << name;
    }
}

TEST(MapAssistant, ConvertsByTheScreensDensityAndTruncates) {
    // D is 319 at the 96 dots per inch of the tests' screen.
    EXPECT_EQ(CMapAssistant::DPToLP(319.0F), 1000.0F);
    EXPECT_EQ(CMapAssistant::LPToDP(1000.0F), 319.0F);
    CPoint point(1, -1);
    CMapAssistant::DPToLP(point);
    EXPECT_TRUE(point == CPoint(3, -3));
    CMapAssistant::LPToDP(point);
    EXPECT_TRUE(point == CPoint(0, 0)) << "there and back may lose a pixel";
    CSize size(100, 638);
    CMapAssistant::DPToLP(size);
    EXPECT_TRUE(size == CSize(313, 2000));
    CPointF exact(638.0F, 159.5F);
    CMapAssistant::DPToLP(exact);
    EXPECT_EQ(CPointF(2000.0F, 500.0F), exact);
}

TEST(MapAssistant, GivesADisplayThatAnswersWithoutAnyProvider) {
    CMapAssistant::SetTileMapInfoProvider("local", "NobodyRegisteredThis", "nowhere");
    EXPECT_FALSE(CMapAssistant::UpdateMapLib(true));
    const std::unique_ptr<ITerrascope> display(
        CMapAssistant::GetTerrascope(CSize(1000, 1000), nullptr, 1.0));
    ASSERT_TRUE(display);
    EXPECT_EQ(FALSE, display->OpenMap("world"));
    EXPECT_EQ(std::make_pair(0, -1), display->GetLayerRange());
    EXPECT_NE(nullptr, display->SetTool(static_cast<UINT>(MapToolKind::ZoomIn)));
    EXPECT_EQ(display->SetTool(static_cast<UINT>(MapToolKind::Arrow)), display->SetTool(7));
    EXPECT_EQ(TRUE, display->OnSetCursor(nullptr, HTCLIENT, WM_MOUSEMOVE));
    CMapAssistant::FreeResource();
}

TEST(Library, BeginsItsLogWithItsVersion) {
    const std::unique_ptr<ITerrascope> display(
        CMapAssistant::GetTerrascope(CSize(10, 10), nullptr, 1.0));
    const std::string path =
        FolderOf(::GetModuleHandleA("Terrascope.dll")) + "log\\Terrascope\\Terrascope.log";
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "r"), &std::fclose);
    ASSERT_TRUE(file) << path;
    char line[300] = "";
    ASSERT_TRUE(std::fgets(line, sizeof(line), file.get()));
    EXPECT_NE(std::string::npos, std::string(line).find("Terrascope ver is 1.")) << line;
}

TEST(MapTools, ShowTheLibrarysOwnCursors) {
    const std::unique_ptr<ITerrascope> display(
        CMapAssistant::GetTerrascope(CSize(10, 10), nullptr, 1.0));
    std::vector<HCURSOR> shown;
    for (UINT kind = 0; kind < 4; ++kind) {
        ::SetCursor(nullptr);
        display->SetTool(kind);
        display->OnSetCursor(nullptr, HTCLIENT, WM_MOUSEMOVE);
        shown.push_back(::GetCursor());
        EXPECT_NE(nullptr, shown.back()) << kind;
        for (UINT other = 0; other < kind; ++other) {
            EXPECT_NE(shown[other], shown[kind]);
        }
    }
}

}  // namespace
}  // namespace Terrascope
