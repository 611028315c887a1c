#include "plugins/common/XmlDocument.h"

#include <windows.h>

#include <shlwapi.h>
#include <xmllite.h>

#include <charconv>
#include <cmath>

#include "terrascope/support/ComRef.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kDeepest = 64;
constexpr std::size_t kMostElements = 200000;

/// xmllite.dll has no import library for every compiler.
HRESULT CreateReader(IXmlReader** reader) {
    static const HMODULE library =
        ::LoadLibraryExW(L"xmllite.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const auto create = reinterpret_cast<decltype(&::CreateXmlReader)>(reinterpret_cast<void*>(
        library != nullptr ? ::GetProcAddress(library, "CreateXmlReader") : nullptr));
    return create != nullptr
               ? create(__uuidof(IXmlReader), reinterpret_cast<void**>(reader), nullptr)
               : E_NOTIMPL;
}

/// The attributes of the element that the reader is at.
std::map<std::wstring, std::wstring> AttributesAt(IXmlReader& reader) {
    std::map<std::wstring, std::wstring> attributes;
    for (HRESULT more = reader.MoveToFirstAttribute(); more == S_OK;
         more = reader.MoveToNextAttribute()) {
        const WCHAR* name = nullptr;
        const WCHAR* value = nullptr;
        if (SUCCEEDED(reader.GetLocalName(&name, nullptr)) &&
            SUCCEEDED(reader.GetValue(&value, nullptr))) {
            attributes[name] = value;
        }
    }
    return attributes;
}

/// Takes the nodes in their order.
class Builder {
public:
    Builder() : m_open(1) {}

    /// False when the document is too deep or too large.
    bool Take(IXmlReader& reader, XmlNodeType type) {
        const WCHAR* text = nullptr;
        if (type == XmlNodeType_Element && SUCCEEDED(reader.GetLocalName(&text, nullptr))) {
            XmlElement element;
            element.name = text;
            const bool isEmpty = reader.IsEmptyElement() != FALSE;
            element.attributes = AttributesAt(reader);
            m_open.push_back(std::move(element));
            if (isEmpty) {
                Close();
            }
            return ++m_elements <= kMostElements && m_open.size() <= kDeepest;
        }
        if (type == XmlNodeType_EndElement) {
            Close();
        } else if ((type == XmlNodeType_Text || type == XmlNodeType_CDATA) &&
                   SUCCEEDED(reader.GetValue(&text, nullptr))) {
            m_open.back().text += text;
        }
        return true;
    }

    std::optional<XmlElement> Root() {
        if (m_open.size() != 1 || m_open.front().children.size() != 1) {
            return std::nullopt;
        }
        return std::move(m_open.front().children.front());
    }

private:
    void Close() {
        if (m_open.size() > 1) {
            XmlElement done = std::move(m_open.back());
            m_open.pop_back();
            m_open.back().children.push_back(std::move(done));
        }
    }

    std::vector<XmlElement> m_open;  ///< the document itself first
    std::size_t m_elements = 0;
};

}  // namespace

const XmlElement* XmlElement::Child(std::wstring_view childName) const {
    for (const XmlElement& child : children) {
        if (child.name == childName) {
            return &child;
        }
    }
    return nullptr;
}

std::vector<const XmlElement*> XmlElement::Children(std::wstring_view childName) const {
    std::vector<const XmlElement*> found;
    for (const XmlElement& child : children) {
        if (child.name == childName) {
            found.push_back(&child);
        }
    }
    return found;
}

std::wstring XmlElement::TextOf(std::wstring_view childName) const {
    constexpr wchar_t kBlanks[] = L" \t\r\n";
    const XmlElement* child = Child(childName);
    const std::size_t begin =
        child != nullptr ? child->text.find_first_not_of(kBlanks) : std::wstring::npos;
    return begin != std::wstring::npos
               ? child->text.substr(begin, child->text.find_last_not_of(kBlanks) + 1 - begin)
               : std::wstring();
}

std::wstring XmlElement::Attribute(const std::wstring& attribute) const {
    const auto found = attributes.find(attribute);
    return found != attributes.end() ? found->second : std::wstring();
}

std::optional<XmlElement> ReadXml(std::span<const std::uint8_t> file) {
    const CComRef<IStream> stream(::SHCreateMemStream(file.data(), static_cast<UINT>(file.size())));
    IXmlReader* made = nullptr;
    if (!stream || FAILED(CreateReader(&made))) {
        return std::nullopt;
    }
    const CComRef<IXmlReader> reader(made);
    if (FAILED(reader->SetInput(stream.Get()))) {
        return std::nullopt;
    }
    Builder builder;
    XmlNodeType type = XmlNodeType_None;
    HRESULT result = S_OK;
    while ((result = reader->Read(&type)) == S_OK) {
        if (!builder.Take(*reader.Get(), type)) {
            return std::nullopt;
        }
    }
    return result == S_FALSE ? builder.Root() : std::nullopt;
}

std::optional<double> XmlReal(const std::wstring& text) {
    std::string plain;
    for (const wchar_t letter : text) {
        plain += letter < 0x80 ? static_cast<char>(letter) : '?';
    }
    // Source: XML Schema Part 2, double: blanks do not count, and a plus may be in front.
    constexpr const char* kBlanks = " \t\r\n";
    plain.erase(0, plain.find_first_not_of(kBlanks));
    plain.erase(plain.find_last_not_of(kBlanks) + 1);
    if (plain.starts_with('+') && !plain.starts_with("+-")) {
        plain.erase(0, 1);
    }
    double value = 0;
    const auto [end, error] = std::from_chars(plain.data(), plain.data() + plain.size(), value);
    const bool isWhole = error == std::errc() && end == plain.data() + plain.size();
    return isWhole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

}  // namespace Terrascope::Plugins
