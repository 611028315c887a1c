#pragma once

#include <afx.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "plugins/common/kept/KeptDescriptions.h"

namespace Terrascope::Plugins {

/// The maps of a remote provider. Constant once it is made, and shared.
struct RemoteLibrary {
    KeptMaps maps;
    std::vector<tagTILE_MAP_INFO> records;  ///< as they are listed; those without layers too
    std::unordered_map<std::string, std::size_t> places;  ///< by name in one case
    bool isCurrent = false;  ///< the remote provider's own answer, not what was kept of it
    std::string text;        ///< of WriteDescriptions

    static std::shared_ptr<const RemoteLibrary> Make(KeptMaps maps,
                                                     std::vector<tagTILE_MAP_INFO> records,
                                                     bool isCurrent);

    /// Ignoring case; null when there is none.
    std::shared_ptr<const KeptMap> Find(const CString& name) const;
    /// Whether the records are these, in this order.
    bool HasRecords(const std::vector<tagTILE_MAP_INFO>& others) const;
};

/// Whether a key leads to the same place in both.
bool HasSamePlaces(const tagTILE_MAP_INFO& a, const tagTILE_MAP_INFO& b);

bool IsEarlier(const SYSTEMTIME& a, const SYSTEMTIME& b);

}  // namespace Terrascope::Plugins
