#include "plugins/web/MapDocument.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "plugins/common/XmlDocument.h"
#include "plugins/web/DataPath.h"
#include "plugins/web/PmtilesMap.h"
#include "plugins/web/TileJson.h"
#include "plugins/web/Wmts.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/text/MultibyteText.h"
#include "terrascope/tiles/ImageHeader.h"

namespace Terrascope::Plugins {
namespace {

using Json = nlohmann::json;
using Maps = std::vector<std::shared_ptr<const WebMap>>;

constexpr std::size_t kMostInList = 100;
constexpr std::size_t kMostMaps = 1000;
constexpr int kDeepestOfTemplate = 19;  // the last zoom level of a template that states none

/// An address as the log may have it: without what stands behind a question mark, and without what
/// may be a name and a password in front of the host.
std::string ForLog(const std::string& address) {
    const std::string plain = address.substr(0, address.find_first_of("?#"));
    const std::size_t at = plain.rfind('@');
    return at == std::string::npos ? plain : plain.substr(at + 1);
}

void LeaveOut(const std::string& what, const std::string& reason) {
    LogLine("map left out: '%s': %s", ForLog(what).c_str(), reason.c_str());
}

void Add(Maps& maps, std::shared_ptr<const WebMap> map, const std::string& what,
         const std::string& reason) {
    if (map == nullptr) {
        LeaveOut(what, reason);
        return;
    }
    maps.push_back(std::move(map));
}

void ReadTemplate(const DataPath& path, const HttpAddress* base, Maps& maps) {
    std::string reason;
    auto pattern = TileAddressTemplate::Parse(path.address, base, reason);
    if (!pattern) {
        LeaveOut(path.address, "the template " + reason);
        return;
    }
    MapFacts facts;
    facts.name = pattern->Host();
    facts.format = pattern->Ending();
    Add(maps,
        MakeMercatorMap(path.Over(facts), kDeepestOfTemplate,
                        std::make_shared<CTemplateSource>(
                            std::vector<TileAddressTemplate>{std::move(*pattern)}, false),
                        reason),
        path.address, reason);
}

/// Distinct names, so that each map can be opened.
WebLibrary Named(Maps maps) {
    if (maps.size() > kMostMaps) {
        LogLine("%d maps are too many: the first %d are used", static_cast<int>(maps.size()),
                static_cast<int>(kMostMaps));
        maps.resize(kMostMaps);
    }
    std::set<std::string> taken;
    std::map<std::string, int> next;  // of each name, the number for its next namesake
    for (auto& map : maps) {
        CString name = map->info.strName.IsEmpty() ? CString("?") : map->info.strName;
        const CString plain = name;
        int& number = next[FoldCase(ViewOf(plain))];
        while (!taken.insert(FoldCase(ViewOf(name))).second) {
            number = std::max(number, 1) + 1;
            name.Format("%s (%d)", plain.GetString(), number);
        }
        if (name != map->info.strName) {
            auto renamed = std::make_shared<WebMap>(*map);
            renamed->info.strName = name;
            map = std::move(renamed);
        }
    }
    return maps;
}

/// Reads addresses, and the documents behind them.
class Reader {
public:
    Reader(const WebAccess& access, const Cancellation& cancellation)
        : m_access(access), m_cancellation(cancellation) {}

    /// False when a document could not be had.
    bool Read(const DataPath& path, Maps& maps) {
        if (path.IsTemplate()) {
            ReadTemplate(path, nullptr, maps);
            return true;
        }
        const auto address = HttpAddress::Parse(path.address);
        if (!address) {
            LeaveOut(path.address, "it is no address of http or https");
            return true;
        }
        if (NamesPmtiles(*address)) {
            return ReadArchive(*address, path, maps);
        }
        const HttpResult result =
            m_access.fetcher.Fetch(*address, m_access.identity, kDocumentLimits, m_cancellation);
        if (result.outcome != HttpOutcome::Here) {
            LogLine("'%s' cannot be had: %s", address->ForLog().c_str(),
                    result.outcome == HttpOutcome::Absent ? "it is absent" : result.reason.c_str());
            return false;
        }
        return ReadDocument(result, path, maps);
    }

private:
    bool ReadArchive(const HttpAddress& address, const DataPath& path, Maps& maps) {
        PmtilesMapResult result = ReadPmtilesMap(address, path, m_access, m_cancellation);
        if (!result.isHere) {
            LogLine("'%s' cannot be had: %s", address.ForLog().c_str(), result.reason.c_str());
            return false;
        }
        Add(maps, std::move(result.map), address.ForLog(), result.reason);
        return true;
    }

    bool ReadDocument(const HttpResult& result, DataPath path, Maps& maps) {
        path.facts.updated = result.response.LastModified();
        const std::vector<std::uint8_t>& body = result.response.body;
        if (ReadImageHeader(body).format == ImageFormat::Markup) {
            ReadMarkup(body, result.address, path, maps);
            return true;
        }
        const Json document = Json::parse(body.begin(), body.end(), nullptr, false);
        if (document.is_array() && !m_isInList) {
            return ReadList(document, result.address, path.facts.updated, maps);
        }
        if (document.is_discarded()) {
            Refuse(result.address, "it is no document that can be used");
            return true;
        }
        std::string reason;
        auto map = ReadTileJson(document, result.address, path, reason);
        Add(maps, std::move(map), result.address.ForLog(), reason);
        return true;
    }

    /// What is no document at all may be the page of a portal that wants to be logged on to.
    void Refuse(const HttpAddress& address, const std::string& reason) {
        LeaveOut(address.ForLog(), reason);
        m_access.fetcher.Refused(address, reason);
    }

    void ReadMarkup(const std::vector<std::uint8_t>& body, const HttpAddress& address,
                    const DataPath& path, Maps& maps) {
        const auto root = ReadXml(body);
        if (!root) {
            Refuse(address, "it is no well-formed XML");
            return;
        }
        const std::size_t before = maps.size();
        std::vector<WmtsProblem> problems;
        for (auto& map : ReadWmts(*root, address, path, problems)) {
            maps.push_back(std::move(map));
        }
        for (const WmtsProblem& problem : problems) {
            if (!problem.layer.empty()) {
                LeaveOut(address.ForLog(), "layer '" + problem.layer + "': " + problem.reason);
            } else if (maps.size() == before) {
                Refuse(address, problem.reason);
            } else {
                LeaveOut(address.ForLog(), problem.reason);
            }
        }
    }

    /// Documents, and addresses of such, in the order of the maps.
    bool ReadList(const Json& list, const HttpAddress& address, UnixSeconds updated, Maps& maps) {
        m_isInList = true;
        bool isComplete = true;
        std::size_t left = kMostInList;
        for (const Json& entry : list) {
            if (left-- == 0) {
                LeaveOut(address.ForLog(), "its list has more than 100 entries");
                break;
            }
            if (!entry.is_string()) {
                std::string reason;
                DataPath none;
                none.facts.updated = updated;
                auto map = ReadTileJson(entry, address, none, reason);
                Add(maps, std::move(map), address.ForLog(), reason);
                continue;
            }
            DataPath path = DataPath::Parse(entry.get_ref<const std::string&>());
            if (path.IsTemplate()) {
                path.facts.updated = updated;
                ReadTemplate(path, &address, maps);
                continue;
            }
            const auto absolute = address.Resolve(path.address);
            path.address = absolute ? absolute->Text() : path.address;
            isComplete = Read(path, maps) && isComplete;
        }
        return isComplete;
    }

    bool m_isInList = false;
    const WebAccess& m_access;
    const Cancellation& m_cancellation;
};

}  // namespace

ReadMapsResult ReadMaps(const std::string& dataPath, const WebAccess& access,
                        const Cancellation& cancellation) {
    Maps maps;
    const bool isComplete = Reader(access, cancellation).Read(DataPath::Parse(dataPath), maps);
    return {Named(std::move(maps)), isComplete};
}

}  // namespace Terrascope::Plugins
