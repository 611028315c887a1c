#include "terrascope/providers/ProviderSelection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/support/ini/MemIniFile.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"

namespace {

using namespace Terrascope;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kRoles[] = "TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE";

TEST(ChooseProvider, FollowsFileThenHostThenDefault) {
    constexpr char kDefault[] = "SplittedFileTileMapInfoProvider";
    const struct {
        ProviderRole role;
        const char *inFile, *hostName, *hostPath, *name, *path;
    } cases[] = {
        {ProviderRole::Local, "", "", "", kDefault, "default's path"},
        {ProviderRole::Remote, "", "", "", "DBTileMapInfoProvider", ""},
        {ProviderRole::Local, "", "Hosted", "p", "Hosted", "p"},
        {ProviderRole::Remote, "", "Hosted", "", "Hosted", ""},  // the file is not asked
        {ProviderRole::Local, "", "", "p", kDefault, "default's path"},
        {ProviderRole::Local, "Filed", "Hosted", "p", "Filed", "file's path"},
        {ProviderRole::Remote, "Bare", "Hosted", "p", "Bare", ""},
    };
    for (const auto& c : cases) {
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
    const std::string longPath(300, 'x');
    for (const auto& [name, path, resolved] :
         {std::tuple{"Any", "maps", "C:\\lib\\maps"},
          {"Any", "..\\x\\..\\maps", "C:\\maps"},
          {"Any", "D:\\maps", "D:\\maps"},
          {"webTILEmapInfoProvider", "http://host/..//x", "http://host/..//x"},
          {"Any", longPath.c_str(), longPath.c_str()}}) {
        EXPECT_STREQ(resolved, ResolveDataPath({name, path}, "C:\\lib"));
    }
}

class ProviderSelection : public testing::Test {
protected:
    std::unique_ptr<ITileMapInfoProvider> Select(const std::string& settings) {
        m_library.WriteSettings("[" + std::string(kRoles) + "]\n" + settings);
        return CreateConfiguredProvider(m_identity);
    }

    TerrascopeTest::LibraryFolder m_library;
    TerrascopeTest::LogCapture m_log;
    CString m_identity;
};

TEST_F(ProviderSelection, MakesTheRemoteProviderFirstAndAttachesIt) {
    m_library.AddPlugin("ScriptedProvider.dll", "First.dll");
    m_library.AddPlugin("ScriptedProvider.dll", "Second.dll");
    m_library.LoadPlugins();
    auto& script = *TerrascopeTest::FindScript("First.dll");

    auto provider = Select(
        "LOCAL=SCRIPTEDprovider\nREMOTE=ScriptedRemoteProvider\n"
        "[SCRIPTEDprovider]\nDATA_PATH=maps\n");

    ASSERT_NE(nullptr, provider);
    EXPECT_NE(nullptr, provider->m_pRemoteProvider);
    // No path, no call: the remote one has none.
    EXPECT_THAT(script.Created(), ElementsAre("ScriptedRemoteProvider", "ScriptedProvider",
                                              "ScriptedProvider=" + m_library.Folder() / "maps"));
    EXPECT_THAT(TerrascopeTest::FindScript("Second.dll")->Created(), IsEmpty());
    EXPECT_EQ(1, m_log.Count("LOCAL provider: 'SCRIPTEDprovider', data path '"));
    provider.reset();

    EXPECT_EQ(nullptr, Select("LOCAL=Unheard\nREMOTE=ScriptedRemoteProvider\n"));
    EXPECT_EQ(1, m_log.Count("LOCAL provider: none; 'Unheard': no plug-in registered it"));
    EXPECT_EQ(0, script.LiveProviders()) << "the remote one would serve nobody";

    EXPECT_EQ(nullptr, Select("")) << "the file is read anew each time";
    auto& kernel = CTileMapInfoProviderPluginKernel::GetInstance();
    kernel.SetProvider("Web", "ScriptedProvider", "");
    EXPECT_EQ(nullptr, CreateConfiguredProvider(m_identity)) << "no such role";
    kernel.SetProvider("Local", "scriptedprovider", "");
    EXPECT_NE(nullptr, CreateConfiguredProvider(m_identity));
}

TEST_F(ProviderSelection, AFactoryOrProviderThatFailsIsNone) {
    m_library.AddPlugin("AwkwardPlugin.dll");
    m_library.LoadPlugins();
    for (const auto& [settings, reason] :
         {std::pair{"LOCAL=MakesNull\n", "'MakesNull': its factory made none"},
          {"LOCAL=MakerThrows\n", "'MakerThrows': its factory made none: create"},
          {"LOCAL=ThrowsAtEachCall\n[ThrowsAtEachCall]\nDATA_PATH=refused\n",
           "it failed to take its data path: path"}}) {
        EXPECT_EQ(nullptr, Select(settings));
        EXPECT_EQ(1, m_log.Count(reason)) << m_log.Text();
    }
}

}  // namespace
