#include "plugins/common/kept/KeptTiles.h"

#include <algorithm>
#include <set>
#include <system_error>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/PlainText.h"
#include "plugins/common/WithoutThrowing.h"
#include "plugins/common/kept/KeptDescriptions.h"
#include "plugins/common/kept/KeptLimit.h"
#include "plugins/common/kept/KeptRemoval.h"

namespace Terrascope::Plugins {
namespace {

constexpr DWORD kBatchTime = 500;  // milliseconds: tiles that come within are written together
constexpr std::size_t kBatchTiles = 64;
constexpr std::size_t kMostWaiting = std::size_t{32} * 1024 * 1024;  // bytes
constexpr std::size_t kMostChanges = 100'000;
constexpr std::int64_t kUseIsNoted = 3600;  // seconds
constexpr std::uint64_t kWaitAtEnd = 200;   // milliseconds
constexpr int kAttempts = 5;                // at a file that others have locked,
constexpr DWORD kLockWait = 2000;           // each of so many milliseconds
constexpr std::size_t kMostReaders = 64;    // maps whose files stay open

std::wstring UpperCase(std::wstring text) {
    ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

/// The whole file or none of it, also when the process ends meanwhile.
bool ReplaceFile(const std::wstring& path, const std::string& text) {
    const std::wstring draft = path + L'.' + std::to_wstring(::GetCurrentProcessId()) + L'-' +
                               std::to_wstring(::GetCurrentThreadId());
    {
        const CFileHandle file(
            ::CreateFileW(draft.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        DWORD written = 0;
        if (!file ||
            !::WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &written,
                         nullptr) ||
            written != text.size() || !::FlushFileBuffers(file.Get())) {
            return false;
        }
    }
    const bool isReplaced = ::MoveFileExW(draft.c_str(), path.c_str(),
                                          MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
    if (!isReplaced) {
        ::DeleteFileW(draft.c_str());
    }
    return isReplaced;
}

void Apply(CKeptWriter& writer, const KeptPlace& place, const KeptChange& change) {
    switch (change.kind) {
        case KeptChange::Touch:
            writer.Touch(place);
            break;
        case KeptChange::Refresh:
            writer.Refresh(place, change.freshness);
            break;
        case KeptChange::Drop:
            writer.Drop(place);
            break;
        case KeptChange::Keep:
            writer.Keep(place, *change.bytes, change.freshness);
            break;
    }
}

}  // namespace

std::shared_ptr<CKeptTiles> CKeptTiles::Of(const std::wstring& folder, std::uint64_t limit) {
    static CCriticalSection lock;
    static std::map<std::wstring, std::weak_ptr<CKeptTiles>> folders;
    CSingleLock held(&lock, TRUE);
    std::erase_if(folders, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<CKeptTiles>& place = folders[UpperCase(folder)];
    std::shared_ptr<CKeptTiles> tiles = place.lock();
    if (tiles == nullptr) {
        tiles = std::make_shared<CKeptTiles>(folder, limit);
        place = tiles;
    }
    tiles->m_limit = limit;
    return tiles;
}

CKeptTiles::CKeptTiles(std::wstring folder, std::uint64_t limit)
    : m_folder(std::move(folder)), m_limit(limit) {}

CKeptTiles::~CKeptTiles() {
    m_lastWait = ::GetTickCount64() + kWaitAtEnd;
    m_ends.Set();
    std::thread writer;
    {
        CSingleLock lock(&m_lock, TRUE);
        writer.swap(m_writer);
    }
    if (writer.joinable()) {
        writer.join();
    }
}

CKeptTiles::Answer CKeptTiles::FindIn(const CKeptWork& work, const KeptMap& map,
                                      const KeptPlace& place, KeptTile& tile,
                                      std::optional<TileFreshness>& freshness) {
    const KeptMapWork* const changes = work.Find(map);
    if (changes == nullptr) {
        return Answer::Unknown;
    }
    const auto found = changes->tiles.find(place);
    if (found == changes->tiles.end()) {
        return changes->dropsAll ? Answer::NotKept : Answer::Unknown;
    }
    const KeptChange& change = found->second;
    switch (change.kind) {
        case KeptChange::Keep:
            tile = {*change.bytes, change.freshness, SecondsNow()};
            return Answer::Kept;
        case KeptChange::Drop:
            return Answer::NotKept;
        case KeptChange::Refresh:
            freshness = freshness ? freshness : change.freshness;
            break;
        default:
            break;
    }
    return changes->dropsAll ? Answer::NotKept : Answer::Unknown;
}

std::optional<KeptTile> CKeptTiles::Find(const Map& map, const KeptPlace& place) {
    std::optional<TileFreshness> freshness;
    KeptTile waiting;
    Answer answer = Answer::Unknown;
    {
        CSingleLock lock(&m_lock, TRUE);
        answer = FindIn(*m_waiting, *map, place, waiting, freshness);
        if (answer == Answer::Unknown && m_written != nullptr) {
            answer = FindIn(*m_written, *map, place, waiting, freshness);
        }
    }
    std::optional<KeptTile> tile;
    if (answer == Answer::Kept) {
        tile = std::move(waiting);
    } else if (answer == Answer::Unknown) {
        tile = ReadFile(*map, place);
    }
    if (tile && freshness) {
        tile->freshness = *freshness;
        tile->lastUse = SecondsNow();
    }
    if (tile && SecondsNow() - tile->lastUse > kUseIsNoted) {
        Note(map, place, {KeptChange::Touch, nullptr, {}});
    }
    return tile;
}

std::optional<KeptTile> CKeptTiles::ReadFile(const KeptMap& map, const KeptPlace& place) {
    std::shared_ptr<Readers> readers;
    {
        CSingleLock lock(&m_lock, TRUE);
        if (m_readers.size() > kMostReaders) {
            m_readers.clear();
        }
        // With another grid it is another query.
        auto& entry = m_readers[map.Key() + map.GridText()];
        if (entry == nullptr) {
            entry = std::make_shared<Readers>();
        }
        readers = entry;
    }
    std::unique_ptr<CKeptReader> reader = readers->Take();
    if (reader != nullptr && !reader->IsInPlace()) {
        reader.reset();
        readers->Clear();  // so that a file that was deleted can go
    }
    if (reader == nullptr) {
        reader = CKeptReader::Open(m_folder, map);
    }
    std::optional<KeptTile> tile = reader != nullptr ? reader->Read(place) : std::nullopt;
    if (reader != nullptr && !reader->HasFailed()) {
        readers->PutBack(std::move(reader));
    }
    return tile;
}

void CKeptTiles::Note(const Map& map, const KeptPlace& place, KeptChange change) {
    const std::size_t bytes = change.bytes != nullptr ? change.bytes->size() : 0;
    CSingleLock lock(&m_lock, TRUE);
    const std::size_t written = m_written != nullptr ? m_written->Bytes() : 0;
    const bool isTooMuch =
        m_waiting->Bytes() + written + bytes > kMostWaiting || m_waiting->Tiles() >= kMostChanges;
    if (m_isRefused || (isTooMuch && change.kind != KeptChange::Drop)) {
        return;
    }
    m_waiting->Add(map, place, std::move(change));
    if (m_waiting->Tiles() >= kBatchTiles) {
        m_hasMuch.Set();
    }
    WakeWriterLocked();
}

void CKeptTiles::WakeWriterLocked() {
    if (!m_writer.joinable()) {
        try {
            m_writer = std::thread([this] { WriteAll(); });
        } catch (const std::system_error&) {
            return;  // no thread: the next change tries again
        }
    }
    m_hasWork.Set();
}

void CKeptTiles::Keep(const Map& map, const KeptPlace& place, std::vector<std::uint8_t> bytes,
                      const TileFreshness& freshness) {
    if (!bytes.empty()) {
        Note(map, place,
             {KeptChange::Keep, std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes)),
              freshness});
    }
}

void CKeptTiles::Refresh(const Map& map, const KeptPlace& place, const TileFreshness& freshness) {
    Note(map, place, {KeptChange::Refresh, nullptr, freshness});
}

void CKeptTiles::Drop(const Map& map, const KeptPlace& place) {
    Note(map, place, {KeptChange::Drop, nullptr, {}});
}

void CKeptTiles::DropMap(const Map& map) {
    CSingleLock lock(&m_lock, TRUE);
    if (!m_isRefused) {
        m_waiting->DropAll(map);
        WakeWriterLocked();
    }
}

std::wstring CKeptTiles::PathOf(const std::string& identity) const {
    return m_folder + L"\\maps-" + WideFromUtf8(identity) + L".json";
}

std::string CKeptTiles::Descriptions(const std::string& identity) const {
    {
        CSingleLock lock(&m_lock, TRUE);
        for (const CKeptWork* work :
             {static_cast<const CKeptWork*>(m_waiting.get()), m_written.get()}) {
            if (work != nullptr && work->Descriptions().contains(identity)) {
                return work->Descriptions().at(identity);
            }
        }
    }
    const auto bytes = ReadWholeFile(PathOf(identity), kLongestDescriptions);
    return bytes ? std::string(bytes->begin(), bytes->end()) : std::string();
}

void CKeptTiles::Describe(const std::string& identity, const std::string& text) {
    CSingleLock lock(&m_lock, TRUE);
    if (!m_isRefused && text.size() <= kLongestDescriptions) {
        m_waiting->Describe(identity, text);
        WakeWriterLocked();
    }
}

// --- the writer's thread ---

void CKeptTiles::WriteAll() {
    for (bool isLast = false; !isLast;) {
        CSignal::WaitForEither(m_hasWork, m_ends, INFINITE);
        CSignal::WaitForEither(m_hasMuch, m_ends, kBatchTime);
        isLast = m_ends.Wait(0);
        WithoutThrowing<bool>("kept tiles", [&] {
            const auto work = TakeWork();
            if (!work->IsEmpty()) {
                Write(*work);
            }
            return true;
        });
        std::shared_ptr<const CKeptWork> written;  // goes behind the lock
        CSingleLock lock(&m_lock, TRUE);
        m_written.swap(written);
    }
}

std::shared_ptr<const CKeptWork> CKeptTiles::TakeWork() {
    auto none = std::make_shared<CKeptWork>();
    CSingleLock lock(&m_lock, TRUE);
    m_written = std::exchange(m_waiting, std::move(none));
    return m_written;
}

bool CKeptTiles::MayWait() const {
    return ::GetTickCount64() < m_lastWait;
}

bool CKeptTiles::MakeFolder() {
    if (::CreateDirectoryW(m_folder.c_str(), nullptr) != 0 ||
        ::GetLastError() == ERROR_ALREADY_EXISTS) {
        return true;
    }
    m_isRefused = true;
    LogOnce("cannot be made, so that nothing is kept", "");
    return false;
}

void CKeptTiles::LogOnce(const char* what, const std::string& reason) {
    if (!m_isLogged.exchange(true)) {
        LogLine("kept tiles: '%s' %s%s", NarrowFromUtf8(Utf8FromWide(m_folder), 400).GetString(),
                what, reason.c_str());
    }
}

void CKeptTiles::Write(const CKeptWork& work) {
    if (!MakeFolder()) {
        return;
    }
    std::set<std::string> unfinished;  // sources whose descriptions would hide that tiles are older
    for (const auto& [key, map] : work.Maps()) {
        SqliteFailure failure = SqliteFailure::Locked;
        for (int i = 0; i < kAttempts && failure == SqliteFailure::Locked && MayWait(); ++i) {
            failure = WriteMap(map);
        }
        if (failure == SqliteFailure::None) {
            continue;
        }
        LogOnce("cannot be written to: ", failure == SqliteFailure::Locked
                                              ? "another program has a file locked"
                                              : "the disk is full, or it is protected");
        if (map.dropsAll) {
            unfinished.insert(map.map->Identity());
            CSingleLock lock(&m_lock, TRUE);
            m_waiting->PutBackDrop(map.map);
        }
    }
    for (const auto& [identity, text] : work.Descriptions()) {
        if (unfinished.contains(identity)) {
            CSingleLock lock(&m_lock, TRUE);
            m_waiting->PutBackDescription(identity, text);
        } else if (!ReplaceFile(PathOf(identity), text)) {
            LogOnce("cannot be written to: ", "descriptions");
        }
    }
    if (!m_ends.Wait(0)) {
        KeepWithin(m_folder, m_limit, [this] { return !m_ends.Wait(0); });
    }
}

void CKeptTiles::CloseReaders() {
    std::map<std::string, std::shared_ptr<Readers>> readers;  // closed behind the lock
    CSingleLock lock(&m_lock, TRUE);
    m_readers.swap(readers);
}

SqliteFailure CKeptTiles::WriteMap(const KeptMapWork& work) {
    const std::uint64_t lastWait = ::GetTickCount64() + kLockWait;
    const auto mayWait = [&] { return ::GetTickCount64() < lastWait && MayWait(); };
    bool dropsAll = work.dropsAll;
    if (dropsAll) {
        const SqliteFailure removal = RemoveMap(m_folder, *work.map, mayWait);
        if (removal == SqliteFailure::Locked) {
            return removal;
        }
        dropsAll = removal != SqliteFailure::None;  // if need be, tile by tile
        CloseReaders();                             // they notice it only after a while
    }
    SqliteFailure failure = SqliteFailure::None;
    bool mayBeEmpty = dropsAll;
    auto change = work.tiles.begin();
    std::wstring path;
    // A transaction for each batch, so that readers have their turn between two of them.
    while (failure == SqliteFailure::None && (dropsAll || change != work.tiles.end())) {
        const auto writer = CKeptWriter::Open(m_folder, *work.map, mayWait, failure);
        if (writer == nullptr) {
            break;
        }
        if (dropsAll) {
            writer->DropAll();
        }
        for (std::size_t i = 0; i < kBatchTiles && change != work.tiles.end(); ++i, ++change) {
            Apply(*writer, change->first, change->second);
            mayBeEmpty = mayBeEmpty || change->second.kind == KeptChange::Drop;
        }
        dropsAll = false;
        mayBeEmpty = mayBeEmpty || writer->IsNew();
        path = writer->Path();
        failure = writer->Commit();
        if (!MayWait()) {
            break;
        }
    }
    const bool keepsAny = std::any_of(work.tiles.begin(), work.tiles.end(), [](const auto& entry) {
        return entry.second.kind == KeptChange::Keep;
    });
    if (failure == SqliteFailure::None && mayBeEmpty && !keepsAny) {
        DeleteIfEmpty(path, mayWait);
    }
    return failure;
}

}  // namespace Terrascope::Plugins
