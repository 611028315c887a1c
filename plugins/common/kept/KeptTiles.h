#pragma once

#include <afx.h>
#include <afxmt.h>

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "plugins/common/LeasePool.h"
#include "plugins/common/kept/KeptFile.h"
#include "plugins/common/kept/KeptWork.h"
#include "plugins/common/kept/Signal.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// The tiles of remote maps, and their descriptions, that are kept in one folder: a file for each
/// map (see KeptFile.h) and a text for each source. Whatever changes is only noted; one thread in
/// the background writes it, several tiles in one transaction. Other processes may do the same in
/// the same folder.
///
/// Threads: any. Nothing here waits for the writing but the destructor, and Find, for a quarter of
///          a second, where the file is locked.
/// Errors:  nothing throws but for want of memory. What cannot be read is not kept; what cannot be
///          written is dropped. A folder that cannot be written to is logged once.
/// Ends:    the destructor writes what waits, for a fifth of a second; what is left then, as where
///          another process has a file locked, is dropped.
class CKeptTiles {
public:
    /// The one of that folder (absolute; made when there is something to write) in this plug-in,
    /// which may use so many bytes from now on. It lives as long as anybody has it.
    static std::shared_ptr<CKeptTiles> Of(const std::wstring& folder, std::uint64_t limit);

    CKeptTiles(std::wstring folder, std::uint64_t limit);
    ~CKeptTiles();
    CKeptTiles(const CKeptTiles&) = delete;
    CKeptTiles& operator=(const CKeptTiles&) = delete;

    using Map = std::shared_ptr<const KeptMap>;

    /// What is kept, fresh or not; that it was used now is noted.
    std::optional<KeptTile> Find(const Map& map, const KeptPlace& place);
    /// Passed over when too much waits to be written already.
    void Keep(const Map& map, const KeptPlace& place, std::vector<std::uint8_t> bytes,
              const TileFreshness& freshness);
    void Refresh(const Map& map, const KeptPlace& place, const TileFreshness& freshness);
    void Drop(const Map& map, const KeptPlace& place);
    void DropMap(const Map& map);

    /// The text that is kept for a source; empty: none.
    std::string Descriptions(const std::string& identity) const;
    void Describe(const std::string& identity, const std::string& text);

private:
    using Readers = CLeasePool<CKeptReader>;
    enum class Answer { Unknown, NotKept, Kept };

    static Answer FindIn(const CKeptWork& work, const KeptMap& map, const KeptPlace& place,
                         KeptTile& tile, std::optional<TileFreshness>& freshness);
    std::optional<KeptTile> ReadFile(const KeptMap& map, const KeptPlace& place);
    void Note(const Map& map, const KeptPlace& place, KeptChange change);
    void WakeWriterLocked() TERRASCOPE_REQUIRES(m_lock);

    void WriteAll();
    std::shared_ptr<const CKeptWork> TakeWork();
    void Write(const CKeptWork& work);
    SqliteFailure WriteMap(const KeptMapWork& work);
    void CloseReaders();
    bool MakeFolder();
    bool MayWait() const;
    void LogOnce(const char* what, const std::string& reason);
    std::wstring PathOf(const std::string& identity) const;

    const std::wstring m_folder;
    std::atomic<std::uint64_t> m_limit;
    CSignal m_hasWork{CSignal::OneWait};
    CSignal m_hasMuch{CSignal::OneWait};
    CSignal m_ends{CSignal::ForGood};
    std::atomic<std::uint64_t> m_lastWait{UINT64_MAX};  ///< GetTickCount64's, at the end
    std::atomic<bool> m_isRefused{false};               ///< the folder cannot be written to
    std::atomic<bool> m_isLogged{false};

    mutable CCriticalSection m_lock;
    std::shared_ptr<CKeptWork> m_waiting TERRASCOPE_GUARDED_BY(m_lock) =
        std::make_shared<CKeptWork>();
    /// What the writer writes; constant. Null when it rests.
    std::shared_ptr<const CKeptWork> m_written TERRASCOPE_GUARDED_BY(m_lock);
    std::map<std::string, std::shared_ptr<Readers>> m_readers TERRASCOPE_GUARDED_BY(m_lock);
    std::thread m_writer TERRASCOPE_GUARDED_BY(m_lock);
};

}  // namespace Terrascope::Plugins
