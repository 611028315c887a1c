#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/common/kept/KeptMap.h"

namespace Terrascope::Plugins {

/// The longest text of descriptions that is kept and read, in bytes.
inline constexpr std::size_t kLongestDescriptions = std::size_t{8} * 1024 * 1024;

using KeptMaps = std::vector<std::shared_ptr<const KeptMap>>;

/// The maps of a source with their layers as a text (JSON, UTF-8) that leads back to them.
std::string WriteDescriptions(const KeptMaps& maps);

/// A text of WriteDescriptions, or anything else: a map that cannot be one is left out. `identity`
/// is that of the source.
KeptMaps ReadDescriptions(std::string_view text, const std::string& identity);

}  // namespace Terrascope::Plugins
