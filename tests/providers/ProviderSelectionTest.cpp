#include "terrascope/providers/ProviderSelection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/support/MemIniFile.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"

namespace {

using namespace Terrascope;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kRoles[] = "TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE";

TEST(ChooseProvider, FollowsFileThenHostThenDefault) {
    struct Case {
        ProviderRole role;
        const char *inFile, *hostName, *hostPath, *name, *path;
    };
    constexpr char kDefault[] = "SplittedFileTileMapInfoProvider";
    const Case cases[] = {
        {ProviderRole::Local, "", "", "", kDefault, "default's path"},
        {ProviderRole::Remote, "", "", "", "DBTileMapInfoProvider", ""},
        {ProviderRole::Local, "", "Hosted", "p", "Hosted", "p"},
        {ProviderRole::Remote, "", "Hosted", "", "Hosted", ""},  // the file is not asked
        {ProviderRole::Local, "", "", "p", kDefault, "default's path"},
        {ProviderRole::Local, "Filed", "Hosted", "p", "Filed", "file's path"},
        {ProviderRole::Remote, "Bare", "Hosted", "p", "Bare", ""},
    };
    for (const Case& c : cases) {
        CMemIniFile file("", false);
        file.WriteString("Filed", "DATA_PATH", "file's path");
        file.WriteString("Hosted", "DATA_PATH", "not the host's path");
        file.WriteString("splittedfiletilemapinfoprovider", "DATA_PATH", "default's path");
        file.WriteString(kRoles, c.role == ProviderRole::Local ? "local" : "remote", c.inFile);
        const ProviderChoice choice = ChooseProvider(c.role, file, {c.hostName, c.hostPath});
        EXPECT_STREQ(c.name, choice.name) << c.inFile << '/' << c.hostName << '/' << c.hostPath;
        EXPECT_STREQ(c.path, choice.dataPath) << c.inFile << '/' << c.hostName;
    }
}

TEST(ResolveDataPath, MakesAllButAddressesAbsolute) {
    const CString folder = "C:\\lib";
    const auto resolve = [&](const char* name, const char* path) -> std::string {
        return ResolveDataPath({name, path}, folder).GetString();
    };
    EXPECT_EQ("C:\\lib\\maps", resolve("Any", "maps"));
    EXPECT_EQ("C:\\maps", resolve("Any", "..\\x\\..\\maps"));
    EXPECT_EQ("D:\\maps", resolve("Any", "D:\\maps"));
    EXPECT_EQ("", resolve("Any", ""));
    EXPECT_EQ("http://host/..//x", resolve("webTILEmapInfoProvider", "http://host/..//x"));
    const std::string tooLong(300, 'x');
    EXPECT_EQ(tooLong, resolve("Any", tooLong.c_str()));
}

class ProviderSelection : public testing::Test {
protected:
    TerrascopeTest::IScriptedControl& Script(const char* file = "ScriptedProvider.dll") {
        return *TerrascopeTest::FindScript(file);
    }
    /// Chooses by "LOCAL=...\nREMOTE=...\n" and further sections.
    std::unique_ptr<ITileMapInfoProvider> Select(const std::string& settings) {
        m_library.WriteSettings("[" + std::string(kRoles) + "]\n" + settings);
        return CreateConfiguredProvider();
    }

    TerrascopeTest::LibraryFolder m_library;
    TerrascopeTest::LogCapture m_log;
};

TEST_F(ProviderSelection, MakesTheRemoteProviderFirstAndAttachesIt) {
    m_library.AddPlugin("ScriptedProvider.dll");
    m_library.LoadPlugins();

    auto provider = Select(
        "LOCAL=SCRIPTEDprovider\nREMOTE=ScriptedRemoteProvider\n"
        "[SCRIPTEDprovider]\nDATA_PATH=maps\n");

    ASSERT_NE(nullptr, provider);
    EXPECT_NE(nullptr, provider->m_pRemoteProvider);
    EXPECT_THAT(Script().Created(), ElementsAre("ScriptedRemoteProvider", "ScriptedProvider"));
    // No path, no call: the remote one has none.
    EXPECT_THAT(Script().DataPaths(),
                ElementsAre("ScriptedProvider=" + m_library.Folder() / "maps"));
    EXPECT_EQ(1, m_log.Count("LOCAL provider: 'SCRIPTEDprovider', data path '"));
    EXPECT_EQ(1, m_log.Count("REMOTE provider: 'ScriptedRemoteProvider'"));

    provider.reset();
    EXPECT_EQ(0, Script().LiveProviders());
}

TEST_F(ProviderSelection, WithoutALocalProviderThereIsNone) {
    m_library.AddPlugin("ScriptedProvider.dll");
    m_library.LoadPlugins();

    EXPECT_EQ(nullptr, Select("LOCAL=Unheard\nREMOTE=ScriptedRemoteProvider\n"));

    EXPECT_THAT(Script().Created(), ElementsAre("ScriptedRemoteProvider"));
    EXPECT_EQ(0, Script().LiveProviders()) << "the remote one would serve nobody";
    EXPECT_EQ(1, m_log.Count("LOCAL provider: none; 'Unheard': no plug-in registered it"));
}

TEST_F(ProviderSelection, ReadsTheFileAnewEachTime) {
    m_library.AddPlugin("ScriptedProvider.dll");
    m_library.LoadPlugins();
    EXPECT_NE(nullptr, Select("LOCAL=ScriptedProvider\n"));
    EXPECT_EQ(nullptr, Select(""));
    auto& kernel = CTileMapInfoProviderPluginKernel::GetInstance();
    kernel.SetProvider("Web", "ScriptedProvider", "");
    EXPECT_EQ(nullptr, CreateConfiguredProvider()) << "no such role";
    kernel.SetProvider("Local", "scriptedprovider", "");
    EXPECT_NE(nullptr, CreateConfiguredProvider());
}

TEST_F(ProviderSelection, TheFactoryRegisteredFirstWins) {
    m_library.AddPlugin("ScriptedProvider.dll", "First.dll");
    m_library.AddPlugin("ScriptedProvider.dll", "Second.dll");
    m_library.LoadPlugins();

    EXPECT_NE(nullptr, Select("LOCAL=ScriptedProvider\n"));

    EXPECT_THAT(Script("First.dll").Created(), ElementsAre("ScriptedProvider"));
    EXPECT_THAT(Script("Second.dll").Created(), IsEmpty());
}

TEST_F(ProviderSelection, AFactoryOrProviderThatFailsIsNone) {
    m_library.AddPlugin("AwkwardPlugin.dll");
    m_library.LoadPlugins();
    EXPECT_EQ(nullptr, Select("LOCAL=MakesNull\n"));
    EXPECT_EQ(1, m_log.Count("'MakesNull': its factory made none"));
    EXPECT_EQ(nullptr, Select("LOCAL=MakerThrows\n"));
    EXPECT_EQ(1, m_log.Count("'MakerThrows': its factory made none: create"));
    EXPECT_EQ(nullptr, Select("LOCAL=ThrowsAtEachCall\n[ThrowsAtEachCall]\nDATA_PATH=refused\n"));
    EXPECT_EQ(1, m_log.Count("it failed to take its data path: path")) << m_log.Text();
}

}  // namespace
