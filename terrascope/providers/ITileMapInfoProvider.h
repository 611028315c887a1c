#pragma once

#include <afx.h>

#include <list>

#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope {

/// A source of maps, their layers and their tile images; implemented by plug-ins.
///
/// Owns:    nothing that it has handed out: the library deletes the records it receives.
/// Threads: GetMapInfo and GetLayerInfo are called on the user-interface thread while LoadTiles is
///          called on two loading threads at once: these must be safe beside each other.
/// Errors:  shown by null or empty results. No operation may throw.
///
/// The order of the virtual functions and the one data member are part of the binary interface
/// (engine version 1). The operations named Reserved are never called by the library; they keep
/// their places in the table.
class ITileMapInfoProvider {
public:
    virtual ~ITileMapInfoProvider() = default;

    /// Refreshes the provider's library of maps; the flag is the host's, passed through.
    virtual bool UpdateMapLib(bool flag) = 0;

    /// Where the data lives. Called once, right after creation, and only with a path that is not
    /// empty; a relative path of the configuration arrives as an absolute one.
    virtual void SetDataPath(const CString& path) = 0;

    virtual void Reserved4() {}
    virtual void Reserved5() {}
    virtual void Reserved6() {}
    virtual void Reserved7() {}

    /// Every map, in the provider's order.
    virtual std::list<tagTILE_MAP_INFO*> GetMapList() = 0;

    /// The named map, or null when there is none.
    virtual tagTILE_MAP_INFO* GetMapInfo(const CString& mapName) = 0;

    /// The map's layers, in the provider's order.
    virtual std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& mapName) = 0;

    /// One layer, or null when it does not exist (the library asks for neighbours too).
    virtual tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString& mapName, int layerNumber) = 0;

    /// The images of the listed tiles, one record for each tile that could be loaded. The library
    /// asks for one tile at a time and takes the first record.
    virtual std::list<tagTILE_IMAGE*> LoadTiles(const CString& mapName, int layerNumber,
                                                const std::list<CString>& tileKeys) = 0;

    virtual bool Reserved13() { return false; }
    virtual bool Reserved14() { return false; }
    virtual bool Reserved15() { return false; }
    virtual bool Reserved16() { return false; }

    /// The remote provider that the library attached to this local one; null when there is none.
    /// The local provider may ask it for what it lacks, and owns it from then on.
    ITileMapInfoProvider* m_pRemoteProvider = nullptr;
};

}  // namespace Terrascope
