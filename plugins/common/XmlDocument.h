#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Terrascope::Plugins {

/// An element of an XML document. Names are without prefixes: namespaces are not told apart.
struct XmlElement {
    std::wstring name;
    std::map<std::wstring, std::wstring> attributes;
    std::wstring text;  ///< its own, without that of its children
    std::vector<XmlElement> children;

    /// The first child of this name, or null.
    const XmlElement* Child(std::wstring_view childName) const;
    std::vector<const XmlElement*> Children(std::wstring_view childName) const;
    /// The text of the first child of this name, without blanks at its ends; empty without one.
    std::wstring TextOf(std::wstring_view childName) const;
    /// Empty when there is none.
    std::wstring Attribute(const std::wstring& attribute) const;
};

/// The document's root. Nothing when it is no well-formed XML, has more than 64 elements within
/// each other or 200000 in all, or a document type: so that no entity grows.
/// Requires: COM is not needed. Threads: any.
std::optional<XmlElement> ReadXml(std::span<const std::uint8_t> file);

/// A number with a full stop for the decimals, which may have blanks around it and a plus in front;
/// nothing for any other text and infinite values.
std::optional<double> XmlReal(const std::wstring& text);

}  // namespace Terrascope::Plugins
