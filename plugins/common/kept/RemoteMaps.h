#pragma once

#include <afx.h>
#include <afxmt.h>

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugins/common/kept/BackgroundTasks.h"
#include "plugins/common/kept/KeptTiles.h"
#include "plugins/common/kept/RemoteLibrary.h"
#include "plugins/common/kept/RemoteSource.h"
#include "plugins/common/kept/RetryPauses.h"
#include "plugins/common/kept/SameMaps.h"
#include "terrascope/providers/ITileMapInfoProvider.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// What a local provider has of the remote one that is attached to it: its maps, and their tiles,
/// which are kept. What is kept answers at once; a remote provider that is an IRemoteSource, and so
/// can be cancelled, is asked in the background then, any other one while the caller waits. One
/// whose tiles are files of this machine is asked each time.
///
/// Borrows: the local provider, whose m_pRemoteProvider is looked at with every call.
/// Threads: every operation may run beside every other; under the lock the remote provider is not
///          called.
/// Errors:  passes on what the remote provider throws.
/// Ends:    End cancels what the remote provider waits for, and waits for the task that runs. The
///          remote provider must live until then.
class CRemoteMaps {
public:
    /// `name` is the local provider's, for its settings.
    CRemoteMaps(const ITileMapInfoProvider& local, const char* name)
        : m_local(local), m_name(name) {}
    ~CRemoteMaps() { End(); }

    /// Tiles are kept in the folder "kept" there; empty: nowhere. Before the first use of the
    /// remote provider, or at any time.
    void KeepIn(const std::wstring& folder);
    /// The local provider's own maps are others: see FillGap.
    void ForgetOwnMaps() { m_same.Forget(); }
    void End();

    /// Adds the remote maps behind `maps`, without those that `isOwn` names.
    void AppendMaps(std::list<tagTILE_MAP_INFO*>& maps,
                    const std::function<bool(const CString&)>& isOwn);
    /// As those of the provider interface.
    tagTILE_MAP_INFO* GetMapInfo(const CString& mapName);
    std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& mapName);
    tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString& mapName, int layerNumber);
    std::list<tagTILE_IMAGE*> LoadTiles(const CString& mapName, int layerNumber,
                                        const std::list<CString>& keys);

    /// A tile that a map of the local provider's own lacks; empty when the remote provider's map of
    /// that name is another.
    std::list<tagTILE_IMAGE*> FillGap(const tagTILE_MAP_INFO& map,
                                      const tagTILE_MAP_LAYER_INFO& layer, const CString& key);

    /// Has the remote provider update its maps. With the flag, kept tiles of maps that are newer
    /// there go. False, and everything stays, when a server could not be reached.
    bool Update(bool flag);

private:
    struct Link {
        ITileMapInfoProvider* provider = nullptr;
        IRemoteSource* source = nullptr;   ///< the same one; null when it is none
        std::shared_ptr<CKeptTiles> kept;  ///< null: nothing is kept of it
        std::string identity;
    };
    using LibraryPtr = std::shared_ptr<const RemoteLibrary>;
    using MapPtr = std::shared_ptr<const KeptMap>;

    Link Attached();
    LibraryPtr Current();
    LibraryPtr FromKept(const Link& link);
    LibraryPtr Maps(const Link& link, bool mayWait);
    LibraryPtr Publish(const Link& link, const std::vector<tagTILE_MAP_INFO>& maps, bool isCurrent,
                       bool dropsNewer);
    bool IsRefreshDue();
    void RefreshLater(const Link& link);
    MapPtr FindForTile(const Link& link, const CString& name);

    std::list<tagTILE_IMAGE*> LoadTile(const Link& link, const MapPtr& map, const CString& key);
    static RemoteTile Ask(const Link& link, const KeptMap& map, int layerNumber, const CString& key,
                          const TileFreshness* known);
    void AskAgainLater(const Link& link, const MapPtr& map, const KeptPlace& place,
                       const CString& key, const TileFreshness& known);
    /// Whether a key still leads to the same place at the remote provider, which may have read its
    /// maps anew meanwhile.
    bool IsPresent(const Link& link, const KeptMap& map);

    const ITileMapInfoProvider& m_local;
    const char* const m_name;
    CSameMaps m_same;
    CRetryPauses m_pauses;

    CCriticalSection m_lock;
    std::wstring m_folder TERRASCOPE_GUARDED_BY(m_lock);
    Link m_link TERRASCOPE_GUARDED_BY(m_lock);
    bool m_hasEnded TERRASCOPE_GUARDED_BY(m_lock) = false;
    LibraryPtr m_library TERRASCOPE_GUARDED_BY(m_lock);
    std::uint64_t m_nextRefresh TERRASCOPE_GUARDED_BY(m_lock) = 0;  ///< GetTickCount64's
    std::uint64_t m_nextLook TERRASCOPE_GUARDED_BY(m_lock) = 0;

    CBackgroundTasks m_tasks;  ///< ends first
};

}  // namespace Terrascope::Plugins
