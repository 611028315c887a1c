#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "plugins/common/kept/KeptMap.h"
#include "plugins/common/kept/TileFreshness.h"

namespace Terrascope::Plugins {

/// What is to become of one tile in its file.
struct KeptChange {
    enum Kind { Touch, Refresh, Drop, Keep };

    Kind kind = Touch;
    std::shared_ptr<const std::vector<std::uint8_t>> bytes;  ///< of Keep; never null there
    TileFreshness freshness;                                 ///< of Keep and Refresh
};

/// What is to be written of one map: first, if so, all tiles go.
struct KeptMapWork {
    std::shared_ptr<const KeptMap> map;
    bool dropsAll = false;
    std::map<KeptPlace, KeptChange> tiles;
};

/// What is to be written, each tile and text once: what comes later takes the place of what was
/// before it. No threads, no files.
class CKeptWork {
public:
    void Add(const std::shared_ptr<const KeptMap>& map, const KeptPlace& place, KeptChange change);
    void DropAll(const std::shared_ptr<const KeptMap>& map);
    void Describe(const std::string& identity, const std::string& text) {
        m_descriptions[identity] = text;
    }
    /// What could not be written, and comes before what was added since.
    void PutBackDrop(const std::shared_ptr<const KeptMap>& map);
    void PutBackDescription(const std::string& identity, const std::string& text) {
        m_descriptions.try_emplace(identity, text);
    }

    /// Null when nothing is to be written for that grid of the map.
    const KeptMapWork* Find(const KeptMap& map) const;

    const std::map<std::string, KeptMapWork>& Maps() const { return m_maps; }
    /// By the sources' identities.
    const std::map<std::string, std::string>& Descriptions() const { return m_descriptions; }
    bool IsEmpty() const { return m_maps.empty() && m_descriptions.empty(); }
    std::size_t Bytes() const { return m_bytes; }  ///< of tiles
    std::size_t Tiles() const;

private:
    KeptMapWork& Of(const std::shared_ptr<const KeptMap>& map);
    void DropTiles(KeptMapWork& work);

    std::map<std::string, KeptMapWork> m_maps;  ///< by KeptMap::Key
    std::map<std::string, std::string> m_descriptions;
    std::size_t m_bytes = 0;
};

}  // namespace Terrascope::Plugins
