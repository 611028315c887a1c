#pragma once

#include "terrascope/display/Terrascope2.h"
#include "tests/fixtures/Await.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"

namespace Terrascope::Bench {

/// A library folder with the scripted provider, whose tiles cost next to nothing.
class ScriptedLibrary {
public:
    ScriptedLibrary() {
        m_library.AddPlugin("ScriptedProvider.dll");
        m_library.LoadPlugins();
        UseLoading("");
    }

    /// Lines of the section TILE_LOAD, for displays made from now on.
    void UseLoading(const std::string& lines) {
        m_library.WriteSettings(
            "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\r\nLOCAL=ScriptedProvider\r\n[TILE_LOAD]\r\n" +
            lines);
    }

    /// A square map of 2^n x 2^n tiles in layer n, about whose middle SetLayer shows it.
    void UseMap(int tileSize, int layerCount) {
        TerrascopeTest::ScriptedMap map;
        map.tileWidth = map.tileHeight = tileSize;
        map.layerCount = layerCount;
        map.columns = map.rows = 2;
        map.left = map.bottom = -180;
        map.width = map.height = 360;
        Script().SetMaps({map});
    }

    static TerrascopeTest::ScriptedControl& Script() { return *TerrascopeTest::FindScript(); }

    /// Waits until no tile was asked for in `quiet` milliseconds.
    static void AwaitTiles(ULONGLONG quiet) {
        std::size_t seen = 0;
        ULONGLONG since = ::GetTickCount64();
        TerrascopeTest::Await(
            [&] {
                if (Script().Requests().size() != seen) {
                    seen = Script().Requests().size();
                    since = ::GetTickCount64();
                }
                return ::GetTickCount64() - since > quiet;
            },
            120000);
    }

private:
    TerrascopeTest::LibraryFolder m_library;
};

}  // namespace Terrascope::Bench
