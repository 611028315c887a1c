#include "terrascope/providers/TileMapInfoProviderWrapper.h"

#include <gtest/gtest.h>

#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"

namespace {

using namespace Terrascope;

class TileMapInfoProviderWrapper : public testing::Test {
protected:
    bool Select(const char* plugin, const char* provider) {
        m_library.AddPlugin(plugin);
        m_library.LoadPlugins();
        CTileMapInfoProviderPluginKernel::GetInstance().SetProvider("LOCAL", provider, "maps");
        return m_wrapper.SelectProvider();
    }
    void ExpectEmptyAnswers() {
        EXPECT_FALSE(m_wrapper.UpdateMapLib(true));
        EXPECT_TRUE(m_wrapper.GetMapList().empty());
        EXPECT_EQ(nullptr, m_wrapper.GetMapInfo("m"));
        EXPECT_TRUE(m_wrapper.GetLayerList("m").empty());
        EXPECT_EQ(nullptr, m_wrapper.GetLayerInfo("m", 1));
        EXPECT_TRUE(m_wrapper.LoadTiles("m", 1, {"0"}).empty());
    }
    double ZoomFactor(const char* map, int layer) {
        const std::unique_ptr<tagTILE_MAP_LAYER_INFO> record(m_wrapper.GetLayerInfo(map, layer));
        return record != nullptr ? record->dZoomFactor : -1.0;
    }

    TerrascopeTest::LibraryFolder m_library;  // outlives the wrapper's provider
    TerrascopeTest::LogCapture m_log;
    CTileMapInfoProviderWrapper m_wrapper;
};

TEST_F(TileMapInfoProviderWrapper, AnswersEmptyWithoutAProviderAndForOneThatThrows) {
    EXPECT_FALSE(m_wrapper.SelectProvider());
    ExpectEmptyAnswers();
    ASSERT_TRUE(Select("AwkwardPlugin.dll", "ThrowsAtEachCall"));
    ExpectEmptyAnswers();
    for (const char* reason : {"tiles", "An unsupported operation", "unknown exception"}) {
        EXPECT_LE(1, m_log.Count(std::string("the provider failed: ") + reason)) << m_log.Text();
    }
}

TEST_F(TileMapInfoProviderWrapper, GivesTheFirstLayerOfTheCurrentMapItsScale) {
    ASSERT_TRUE(Select("ScriptedProvider.dll", "ScriptedProvider"));
    TerrascopeTest::FindScript()->SetMaps({{.name = "One", .firstLayer = 2, .zoomFactor = 1.25},
                                           {.name = "Two", .firstLayer = 2, .zoomFactor = 1.25}});

    m_wrapper.SetCurrentMap("oNE", 2, 0.75);

    EXPECT_EQ(0.75, ZoomFactor("One", 2));
    EXPECT_EQ(1.25, ZoomFactor("One", 3));
    EXPECT_EQ(1.25, ZoomFactor("Two", 2));
    m_wrapper.SetCurrentMap("One", 1, 0.75);
    EXPECT_EQ(-1.0, ZoomFactor("One", 1)) << "a layer that the provider lacks stays null";
}

}  // namespace
