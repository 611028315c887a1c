#include "plugins/db/SqliteArchive.h"

#include "plugins/common/PlainText.h"
#include "plugins/db/GeoPackageFormat.h"
#include "plugins/db/MbtilesFormat.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kTimeToOpen = 3000;  // milliseconds
constexpr std::uint64_t kTimeForTile = 1000;
constexpr std::size_t kLongestNote = 400;  // bytes

CString Shown(const std::wstring& path) {
    return NarrowFromUtf8(Utf8FromWide(path), kLongestNote);
}

/// All values of all rows, each behind its length. Nothing, with the reason, when a query fails or
/// it is too much.
std::optional<std::string> AnswersOf(CSqliteConnection& connection,
                                     const std::vector<std::string>& queries, std::string& reason) {
    std::string answers;
    for (const std::string& query : queries) {
        CSqliteStatement rows = connection.Prepare(query);
        while (rows.Next()) {
            for (int column = 0; column < rows.Columns(); ++column) {
                const std::string_view value = rows.Text(column);
                answers.append(std::to_string(value.size())).append(" ").append(value);
                if (answers.size() > kMostDescription) {
                    reason = kTooMuchDescription;
                    return std::nullopt;
                }
            }
        }
        if (rows.HasFailed()) {
            reason = connection.LastError();
            return std::nullopt;
        }
    }
    return answers;
}

}  // namespace

std::unique_ptr<ITileArchive> CSqliteArchive::Open(const std::wstring& path, std::string& reason) {
    std::unique_ptr<CWatchedFile> file = CWatchedFile::Open(path);
    if (file == nullptr) {
        reason = "it cannot be opened";
        return nullptr;
    }
    std::unique_ptr<CSqliteArchive> archive(new CSqliteArchive(std::move(file)));
    auto session = std::make_unique<Session>();
    session->lastWrite = archive->m_file->LastWrite();
    session->connection = CSqliteConnection::Open(path, reason);
    if (session->connection == nullptr || !archive->Describe(*session->connection, reason)) {
        return nullptr;
    }
    for (ArchiveMap& map : archive->m_maps.maps) {
        map.lastWrite = session->lastWrite;
    }
    archive->PrepareTiles(*session);
    archive->m_sessions.PutBack(std::move(session));
    return archive;
}

bool CSqliteArchive::Describe(CSqliteConnection& connection, std::string& reason) {
    connection.AllowTime(kTimeToOpen);
    // One lock for all that is read: to take and release it costs more than a query.
    const CSqliteReading reading(connection);
    std::optional<SqliteMaps> maps = IsGeoPackage(connection) ? ReadGeoPackage(connection, reason)
                                                              : ReadMbtiles(connection, reason);
    if (!maps) {
        return false;
    }
    for (const std::string& note : maps->notes) {
        LogLine("'%s': %s", Shown(m_file->Path()).GetString(),
                NarrowFromUtf8(note, kLongestNote).GetString());
    }
    std::optional<std::string> description =
        AnswersOf(connection, maps->descriptionQueries, reason);
    if (!description) {
        return false;
    }
    m_maps = std::move(*maps);
    m_description = std::move(*description);
    return true;
}

void CSqliteArchive::PrepareTiles(Session& session) const {
    for (const std::string& query : m_maps.tileQueries) {
        session.tiles.push_back(session.connection->Prepare(query));
    }
}

std::unique_ptr<CSqliteArchive::Session> CSqliteArchive::MakeSession() {
    auto session = std::make_unique<Session>();
    session->lastWrite = m_file->LastWrite();
    std::string ignored;
    session->connection = CSqliteConnection::Open(m_file->Path(), ignored);
    // The path may lead to another file by now, and the file may have got another content.
    if (session->connection == nullptr || !m_file->IsInPlaceNow()) {
        return nullptr;
    }
    session->connection->AllowTime(kTimeForTile);
    const CSqliteReading reading(*session->connection);
    const std::optional<std::string> description =
        AnswersOf(*session->connection, m_maps.descriptionQueries, ignored);
    if (!description) {
        return nullptr;
    }
    if (*description != m_description) {
        if (!m_isAnother.exchange(true)) {
            LogLine("'%s' has got another content: no tiles until the maps are updated",
                    Shown(m_file->Path()).GetString());
        }
        return nullptr;
    }
    PrepareTiles(*session);
    return session;
}

std::unique_ptr<CSqliteArchive::Session> CSqliteArchive::TakeSession() {
    const FileTime lastWrite = m_file->LastWrite();
    while (std::unique_ptr<Session> session = m_sessions.Take()) {
        // SQLite itself sees what a writer changes, but not that other bytes were put in place.
        if (session->lastWrite == lastWrite) {
            return session;
        }
    }
    return MakeSession();
}

bool CSqliteArchive::ReadTile(std::size_t map, const GridTile& place,
                              std::vector<std::uint8_t>& tile) {
    constexpr int kAttempts = 2;  // the second one after a writer's
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (m_isAnother || !m_file->IsInPlace()) {
            m_sessions.Clear();  // so that a file that was deleted can go
            return false;
        }
        std::unique_ptr<Session> session = TakeSession();
        if (session == nullptr) {
            return false;
        }
        session->connection->AllowTime(kTimeForTile);
        CSqliteStatement& query = session->tiles[map];
        const std::int64_t row =
            m_maps.rowsFromBottom ? (std::int64_t{1} << place.zoom) - 1 - place.row : place.row;
        bool isThere =
            query.Bind(1, std::int64_t{place.zoom}).Bind(2, place.column).Bind(3, row).Next();
        if (isThere) {
            const std::span<const std::uint8_t> bytes = query.Bytes(0);
            tile.assign(bytes.begin(), bytes.end());
            isThere = !bytes.empty();
        }
        query.Rewind();
        if (m_file->LastWrite() == session->lastWrite) {
            m_sessions.PutBack(std::move(session));
            return isThere;
        }
    }
    return false;
}

}  // namespace Terrascope::Plugins
