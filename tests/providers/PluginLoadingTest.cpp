#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"

namespace {

using Terrascope::CTileMapInfoProviderPluginKernel;
using testing::ElementsAre;
using testing::IsEmpty;

class PluginLoading : public testing::Test {
protected:
    static std::vector<std::string> FactoryNames() {
        std::vector<std::string> names;
        for (auto* factory : CTileMapInfoProviderPluginKernel::GetInstance().GetFactories())
            names.emplace_back(factory ? factory->GetName().GetString() : "null");
        return names;
    }
    static bool IsLoaded(const char* file) { return ::GetModuleHandleA(file) != nullptr; }

    TerrascopeTest::LibraryFolder m_library;
    TerrascopeTest::LogCapture m_log;
};

TEST_F(PluginLoading, AnEmptyOrMissingFolderIsNoFailure) {
    EXPECT_TRUE(m_library.LoadPlugins());
    EXPECT_TRUE(CTileMapInfoProviderPluginKernel::GetInstance().LoadPluginFolder(
        (m_library.Folder() / "nowhere").c_str()));
    EXPECT_THAT(FactoryNames(), IsEmpty());
}

TEST_F(PluginLoading, TakesDllsOfTheFolderItselfWhateverTheCaseOfTheirExtension) {
    const std::string folder = TerrascopeTest::LibraryFolder::kPluginFolder;
    m_library.AddPlugin("ScriptedProvider.dll", "Capital.DLL");
    m_library.AddPlugin("ScriptedProvider.dll", "Other.dllx");
    m_library.AddPlugin("ScriptedProvider.dll", "NoExtension");
    m_library.Folder().MakeFolder(folder + "\\folder.dll");
    m_library.AddPlugin("ScriptedProvider.dll", "folder.dll\\Deep.dll");

    EXPECT_TRUE(m_library.LoadPlugins());

    EXPECT_EQ(2u, FactoryNames().size());
    EXPECT_TRUE(IsLoaded("Capital.DLL"));
    EXPECT_FALSE(IsLoaded("Deep.dll"));
}

TEST_F(PluginLoading, ReportsAndUnloadsWhatItRefusesAndLoadsTheOthers) {
    struct Refusal {
        const char *file, *reason;
    } const refusals[] = {{"NotADll.dll", "Could not load '"},
                          {"NoEntryPlugin.dll", "' is not a valid plugin"},
                          {"WrongVersionPlugin.dll", "engine version 2, not 1"},
                          {"ThrowingPlugin.dll", "failed to register: no licence"}};
    for (const Refusal& c : refusals)
        if (std::string(c.file) != "NotADll.dll")
            m_library.AddPlugin(c.file);
    m_library.Folder().WriteFile(
        std::string(TerrascopeTest::LibraryFolder::kPluginFolder) + "\\NotADll.dll", "no program");
    m_library.AddPlugin("ScriptedProvider.dll", "ZLast.dll");

    EXPECT_FALSE(m_library.LoadPlugins());

    EXPECT_THAT(FactoryNames(), ElementsAre("ScriptedProvider", "ScriptedRemoteProvider"));
    EXPECT_EQ(1, m_log.Count("plug-in loaded: ")) << m_log.Text();
    EXPECT_EQ(4, m_log.Count("plug-in refused: ")) << m_log.Text();
    for (const Refusal& c : refusals) {
        EXPECT_FALSE(IsLoaded(c.file)) << c.file;
        EXPECT_EQ(1, m_log.Count(c.reason)) << m_log.Text();
        EXPECT_EQ(1, m_log.Count(c.file)) << m_log.Text();
    }
}

TEST_F(PluginLoading, APathThatIsLoadedIsNotLoadedAgain) {
    const CString path = m_library.AddPlugin("ScriptedProvider.dll").c_str();
    auto& kernel = CTileMapInfoProviderPluginKernel::GetInstance();

    EXPECT_TRUE(kernel.LoadPlugin(path));
    EXPECT_TRUE(kernel.LoadPlugin(path));

    EXPECT_EQ(2u, FactoryNames().size());
    EXPECT_FALSE(kernel.LoadPlugin(path + "x"));
}

TEST_F(PluginLoading, ReleasingTheKernelUnloadsItsPlugins) {
    m_library.AddPlugin("ScriptedProvider.dll");
    m_library.AddPlugin("AwkwardPlugin.dll");  // null and repeated factories are deleted once
    m_library.LoadPlugins();
    ASSERT_TRUE(IsLoaded("ScriptedProvider.dll"));

    CTileMapInfoProviderPluginKernel::ReleaseInstance();

    EXPECT_FALSE(IsLoaded("ScriptedProvider.dll"));
    EXPECT_FALSE(IsLoaded("AwkwardPlugin.dll"));
    EXPECT_THAT(FactoryNames(), IsEmpty());
}

}  // namespace
