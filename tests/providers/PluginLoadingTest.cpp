#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/LogCapture.h"

namespace {

using Terrascope::CTileMapInfoProviderPluginKernel;
using testing::ElementsAre;

const std::string kPlugins = std::string(TerrascopeTest::LibraryFolder::kPluginFolder) + "\\";

class PluginLoading : public testing::Test {
protected:
    static std::vector<std::string> FactoryNames() {
        std::vector<std::string> names;
        for (auto* factory : CTileMapInfoProviderPluginKernel::GetInstance().GetFactories()) {
            names.emplace_back(factory->GetName().GetString());
        }
        return names;
    }
    static bool IsLoaded(const char* file) { return ::GetModuleHandleA(file) != nullptr; }

    TerrascopeTest::LibraryFolder m_library;
    TerrascopeTest::LogCapture m_log;
};

TEST_F(PluginLoading, TakesDllsOfTheFolderItselfWhateverTheCaseOfTheirExtension) {
    auto& kernel = CTileMapInfoProviderPluginKernel::GetInstance();
    EXPECT_TRUE(m_library.LoadPlugins()) << "there are none";
    EXPECT_TRUE(kernel.LoadPluginFolder((m_library.Folder() / "nowhere").c_str()));
    const CString path = m_library.AddPlugin("ScriptedProvider.dll", "Capital.DLL").c_str();
    m_library.AddPlugin("ScriptedProvider.dll", "Other.dllx");
    m_library.AddPlugin("ScriptedProvider.dll", "NoExtension");
    m_library.Folder().MakeFolder(kPlugins + "folder.dll");
    m_library.AddPlugin("ScriptedProvider.dll", "folder.dll\\Deep.dll");

    EXPECT_TRUE(m_library.LoadPlugins());
    EXPECT_TRUE(kernel.LoadPlugin(path)) << "not a second time";
    EXPECT_FALSE(kernel.LoadPlugin(path + "x"));

    EXPECT_THAT(FactoryNames(), ElementsAre("ScriptedProvider", "ScriptedRemoteProvider"));
    EXPECT_TRUE(IsLoaded("Capital.DLL"));
}

TEST_F(PluginLoading, ReportsAndUnloadsWhatItRefusesAndLoadsTheOthers) {
    const std::pair<const char*, const char*> refusals[] = {
        {"NoEntryPlugin.dll", "' is not a valid plugin"},
        {"WrongVersionPlugin.dll", "engine version 2, not 1"},
        {"ThrowingPlugin.dll", "failed to register: no licence"},
        {"NotADll.dll", "Could not load '"}};
    for (const auto& [file, reason] : refusals) {
        m_library.AddPlugin(file == refusals[3].first ? "NoEntryPlugin.dll" : file, file);
    }
    m_library.Folder().WriteFile(kPlugins + "NotADll.dll", "no program");
    m_library.AddPlugin("ScriptedProvider.dll", "ZLast.dll");
    m_library.AddPlugin("AwkwardPlugin.dll", "ZZ.dll");  // null and repeated factories

    EXPECT_FALSE(m_library.LoadPlugins());

    EXPECT_EQ(2, m_log.Count("plug-in loaded: ")) << m_log.Text();
    EXPECT_EQ(4, m_log.Count("plug-in refused: ")) << m_log.Text();
    for (const auto& [file, reason] : refusals) {
        EXPECT_FALSE(IsLoaded(file)) << file;
        EXPECT_EQ(1, m_log.Count(reason)) << m_log.Text();
        EXPECT_EQ(1, m_log.Count(file)) << m_log.Text();
    }
    EXPECT_TRUE(IsLoaded("ZLast.dll"));
    CTileMapInfoProviderPluginKernel::ReleaseInstance();
    EXPECT_FALSE(IsLoaded("ZLast.dll"));
    EXPECT_FALSE(IsLoaded("ZZ.dll"));
}

}  // namespace
