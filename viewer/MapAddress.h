#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "viewer/MapSource.h"

/// Addresses of maps on web servers, as a user types or pastes them: documents, templates,
/// archives. Texts are in the program's code page. Threads: any.
namespace Viewer {

/// Whether a text is meant as an address and not as a file: it begins with a scheme and "://".
bool IsAddress(std::string_view text);

/// The address without the blanks around it. Nothing when its scheme is neither http nor https, or
/// it has no host; `error` is then one sentence that can be shown.
std::optional<std::string> ReadAddress(std::string_view text, std::string& error);

/// What messages may show of a text that may be, or hold, an address: no user and password, and
/// nothing from the question mark on.
std::string WithoutSecrets(std::string_view text);

/// Sixteen hexadecimal digits that are the same for the same address in every run.
std::string FolderNameOf(std::string_view address);

/// Who shows an address: the provider that keeps in `folder` what was shown, with the servers
/// behind it; without a folder the servers alone.
MapSource SourceOfAddress(const std::string& address, const std::string& folder);

}  // namespace Viewer
