#include "plugins/web/PmtilesMap.h"

#include <windows.h>

#include <algorithm>

#include "plugins/db/PmtilesArchive.h"
#include "plugins/web/HttpByteSource.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::string_view kEnding = ".pmtiles";

std::string PathOf(const HttpAddress& address) {
    return address.target.substr(0, address.target.find('?'));
}

/// The tiles of an archive.
class CPmtilesSource : public ITileSource {
public:
    explicit CPmtilesSource(std::unique_ptr<ITileArchive> archive, const HttpAddress& address)
        : m_archive(std::move(archive)), m_address(address) {}

    HttpResult Load(int layer, const PyramidTile& tile, const WebAccess&,
                    const Cancellation& cancellation, const HttpHeaders&) const override {
        const CHttpByteSource::CReadScope reads(cancellation, kTileLimits.total);
        HttpResult result;
        result.address = m_address;
        if (m_archive->ReadTile(0, {layer, tile.column, tile.row}, result.response.body)) {
            result.outcome = HttpOutcome::Here;
            result.response.headers = reads.Last().headers;
            result.response.received = reads.Last().received;
        } else if (cancellation.IsCancelled()) {
            result.outcome = HttpOutcome::Cancelled;
        } else {
            result.reason = reads.Failure();
            result.outcome = result.reason.empty() ? HttpOutcome::Absent : HttpOutcome::Failed;
        }
        return result;
    }

private:
    const std::unique_ptr<ITileArchive> m_archive;
    const HttpAddress m_address;
};

}  // namespace

bool NamesPmtiles(const HttpAddress& address) {
    const std::string path = PathOf(address);
    return path.size() > kEnding.size() &&
           ::_stricmp(path.c_str() + path.size() - kEnding.size(), kEnding.data()) == 0;
}

PmtilesMapResult ReadPmtilesMap(const HttpAddress& address, const DataPath& path,
                                const WebAccess& access, const Cancellation& cancellation) {
    PmtilesMapResult result;
    auto bytes = CHttpByteSource::Open(address, access, cancellation, result.reason);
    if (bytes == nullptr) {
        result.isHere = false;
        return result;
    }
    const UnixSeconds updated = bytes->LastModified();
    const CHttpByteSource::CReadScope reads(cancellation, kDocumentLimits.total);
    auto archive = CPmtilesArchive::Open(std::move(bytes), 0, result.reason);
    if (!reads.Failure().empty()) {
        // A map that is described by a part alone would have another name, or another format.
        result.isHere = false;
        result.reason = reads.Failure();
        return result;
    }
    if (archive == nullptr) {
        return result;
    }
    const ArchiveMap stated = archive->Maps().front();
    MapFacts facts;
    facts.name = stated.name;
    if (facts.name.empty()) {
        const std::string file = PathOf(address);
        const std::size_t slash = file.rfind('/') + 1;
        facts.name = file.substr(slash, file.size() - kEnding.size() - slash);
    }
    facts.description = stated.description;
    facts.attribution = stated.attribution;
    facts.format = stated.format;
    facts.tileSize = stated.tileWidth;
    facts.updated = updated;
    facts = path.Over(facts);
    const int first = std::max(facts.minZoom.value_or(0), stated.grid.firstLayer);
    const int last = std::min(facts.maxZoom.value_or(stated.grid.lastLayer), stated.grid.lastLayer);
    result.map =
        MakeMap(facts, MercatorWorld(std::min(first, kDeepestAddressableLayer)), stated.grid.extent,
                last - first + 1, true,
                std::make_shared<CPmtilesSource>(std::move(archive), address), result.reason);
    return result;
}

}  // namespace Terrascope::Plugins
