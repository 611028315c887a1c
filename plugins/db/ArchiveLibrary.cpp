#include "plugins/db/ArchiveLibrary.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <string_view>

#include "plugins/common/FileSource.h"
#include "plugins/common/FolderFiles.h"
#include "plugins/common/MapRemark.h"
#include "plugins/common/PlainText.h"
#include "plugins/db/PmtilesArchive.h"
#include "plugins/db/SqliteArchive.h"
#include "terrascope/support/Handles.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kLongestName = 255;  // bytes
constexpr std::size_t kLongestFormat = 20;
constexpr std::size_t kLongestText = 2000;

CString Shown(const std::wstring& path) {
    return NarrowFromUtf8(Utf8FromWide(path), 500);
}

std::wstring StemOf(const std::wstring& fileName) {
    const std::size_t dot = fileName.rfind(L'.');
    return dot == std::wstring::npos || dot == 0 ? fileName : fileName.substr(0, dot);
}

/// What another database of SQLite keeps beside it while it is written.
bool IsCompanion(std::wstring_view fileName) {
    return fileName.ends_with(L"-wal") || fileName.ends_with(L"-shm") ||
           fileName.ends_with(L"-journal");
}

/// The first bytes of a file; nothing when they cannot be read, fewer when there are no more.
std::optional<std::string> StartOf(const std::wstring& path) {
    constexpr DWORD kBytes = 16;
    const CFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, 0, nullptr));
    std::string start(kBytes, '\0');
    DWORD read = 0;
    if (!file || !::ReadFile(file.Get(), start.data(), kBytes, &read, nullptr)) {
        return std::nullopt;
    }
    start.resize(read);
    return start;
}

/// Null, with the reason, when the file is no archive that can be used.
std::unique_ptr<ITileArchive> OpenArchive(const std::wstring& path, std::string& reason) {
    const std::optional<std::string> start = StartOf(path);
    if (start && *start == "SQLite format 3\0"sv) {
        return CSqliteArchive::Open(path, reason);
    }
    if (start && start->starts_with("PMTiles")) {
        if (std::unique_ptr<CFileSource> file = CFileSource::Open(path); file != nullptr) {
            const FileTime lastWrite = file->LastWrite();
            return CPmtilesArchive::Open(std::move(file), lastWrite, reason);
        }
    }
    reason = start ? "it is neither MBTiles nor GeoPackage nor PMTiles" : "it cannot be opened";
    return nullptr;
}

tagTILE_MAP_INFO RecordOf(const ArchiveMap& map, const CString& name) {
    tagTILE_MAP_INFO info;
    info.strName = name;
    info.stUpdateTime = LocalTime(map.lastWrite);
    info.strTileFormat = NarrowFromUtf8(map.format, kLongestFormat);
    info.nFirstLayer = map.grid.firstLayer;
    info.nLayerCount = map.grid.lastLayer - map.grid.firstLayer + 1;
    info.dLongitudeStart = map.grid.extent.west;
    info.dLatitudeStart = map.grid.extent.south;
    info.dLongitude = map.grid.extent.east - map.grid.extent.west;
    info.dLatitude = map.grid.extent.north - map.grid.extent.south;
    info.nTileWidth = map.tileWidth;
    info.nTileHeight = map.tileHeight;
    info.strRemark = MapRemark(NarrowFromUtf8(map.description, kLongestText), map.isMercator,
                               NarrowFromUtf8(map.attribution, kLongestText));
    return info;
}

}  // namespace

tagTILE_MAP_LAYER_INFO LibraryMap::Layer(int layer) const {
    tagTILE_MAP_LAYER_INFO record;
    record.nLayerNumber = layer;
    record.nTileCountX = static_cast<std::int32_t>(grid.Columns(layer));
    record.nTileCountY = static_cast<std::int32_t>(grid.Rows(layer));
    record.nTileWidth = info.nTileWidth;
    record.nTileHeight = info.nTileHeight;
    return record;
}

void CArchiveLibrary::Add(const std::wstring& path, const std::wstring& fileName) {
    std::string reason;
    std::shared_ptr<ITileArchive> archive;
    try {
        archive = OpenArchive(path, reason);
    } catch (const std::exception& failure) {
        reason = failure.what();  // no memory for this one; the others may be smaller
    }
    if (archive == nullptr) {
        LogLine("left out: '%s': %s", Shown(path).GetString(), reason.c_str());
        return;
    }
    const std::string stem = Utf8FromWide(StemOf(fileName));
    for (std::size_t i = 0; i < archive->Maps().size(); ++i) {
        const ArchiveMap& map = archive->Maps()[i];
        CString name = NarrowFromUtf8(map.name.empty() ? stem : map.name, kLongestName);
        if (Find(name) != nullptr) {
            name = NarrowFromUtf8(map.name + " (" + Utf8FromWide(fileName) + ")", kLongestName);
        }
        if (name.IsEmpty() || Find(name) != nullptr) {
            LogLine("map left out: '%s': another map is called '%s'", Shown(path).GetString(),
                    name.GetString());
            continue;
        }
        m_places.emplace(FoldCase(ViewOf(name)), m_maps.size());
        m_maps.push_back({archive, i, RecordOf(map, name), map.grid});
    }
}

std::shared_ptr<const CArchiveLibrary> CArchiveLibrary::Open(const std::wstring& path) {
    auto library = std::make_shared<CArchiveLibrary>();
    if (LookAtFile(path)) {
        library->Add(path, path.substr(path.find_last_of(L"\\/") + 1));
        return library;
    }
    auto files = ListFiles(path);
    if (!files) {
        return nullptr;
    }
    std::sort(files->begin(), files->end(), [](const std::wstring& a, const std::wstring& b) {
        return ::CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    });
    for (const std::wstring& file : *files) {
        if (!IsCompanion(file)) {
            library->Add(std::wstring(path).append(1, L'\\').append(file), file);
        }
    }
    return library;
}

const LibraryMap* CArchiveLibrary::Find(const CString& name) const {
    const auto place = m_places.find(FoldCase(ViewOf(name)));
    return place != m_places.end() ? &m_maps[place->second] : nullptr;
}

}  // namespace Terrascope::Plugins
