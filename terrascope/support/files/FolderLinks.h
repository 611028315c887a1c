#pragma once

#include <afx.h>

#include <string>

namespace Terrascope {

/// Links among the entries of folders: symbolic links and junctions, which lead to another place.
/// Other reparse points, such as files that are fetched from elsewhere when they are opened, are
/// entries like any other.

/// Whether an entry is a link, by the attributes and the reparse tag (dwReserved0) with which a
/// search found it. Wine reports links to folders only, and these without a tag.
bool IsLink(DWORD attributes, DWORD reparseTag);

/// Deletes the links in the folder and in all folders below it, or the folder itself when it is
/// one. What they lead to stays as it is. False when one is left, or a folder could not be read;
/// the rest is then not looked at.
///
/// Under Wine one is left wherever there is one: it opens, renames and deletes what a link leads
/// to, never the link.
bool DeleteLinks(const std::wstring& folder);

}  // namespace Terrascope
