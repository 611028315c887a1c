#include "terrascope/support/ini/MemIniFile.h"

#include <algorithm>
#include <new>
#include <optional>

#include "terrascope/support/Handles.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {

namespace {

constexpr char kEndOfText = '\x1A';  // what ends a text file for the C run-time library

std::optional<std::string> ReadWholeFile(const CString& path) {
    const CFileHandle file(::CreateFileA(path, GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!file || !::GetFileSizeEx(file.Get(), &size)) {
        return std::nullopt;
    }
    constexpr std::size_t kChunk = 0x10000;
    std::string text;
    text.reserve(static_cast<std::size_t>(size.QuadPart) + kChunk);
    for (;;) {
        const std::size_t have = text.size();
        text.resize(have + kChunk);
        DWORD count = 0;
        if (!::ReadFile(file.Get(), text.data() + have, kChunk, &count, nullptr)) {
            return std::nullopt;
        }
        text.resize(have + count);
        if (count == 0) {
            return text;
        }
    }
}

void WriteWholeFile(const CString& path, const std::string& text) {
    const CFileHandle file(::CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
    std::size_t done = 0;
    while (file && done < text.size()) {
        const auto wanted =
            static_cast<DWORD>(std::min<std::size_t>(text.size() - done, 0x1000000));
        DWORD count = 0;
        if (!::WriteFile(file.Get(), text.data() + done, wanted, &count, nullptr) || count == 0) {
            return;
        }
        done += count;
    }
}

bool IsHeader(std::string_view line) {
    return line.front() == '[' && EndsWithCharacter(line, ']');
}

CString MakeHeader(const CString& section) {
    return "[" + section + "]";
}

CString MakeKeyLine(const CString& key, const CString& value) {
    return key + "=" + value;
}

template <class T>
const T* Look(const CNameMap<T>& names, const CString& name, bool caseSensitive) {
    return caseSensitive ? names.Find(ViewOf(name)) : names.FindNoCase(ViewOf(name));
}

}  // namespace

CMemIniFile::CMemIniFile(const CString& path, bool bCaseSensitive)
    : CCustomIniFile(path), m_bCaseSensitive(bCaseSensitive) {
    CMemIniFile::SetFileName(path);
}

void CMemIniFile::SetFileName(const CString& path) {
    CCustomIniFile::SetFileName(path);
    LoadLines();
    RebuildIndex();
}

void CMemIniFile::Clear() {
    CCustomIniFile::Clear();
    m_lines.clear();
    ClearIndex();
}

void CMemIniFile::LoadLines() {
    m_lines.clear();
    if (m_strFileName.IsEmpty()) {
        return;
    }
    try {
        const std::optional<std::string> file = ReadWholeFile(m_strFileName);
        if (!file) {
            return;
        }
        std::string_view rest(*file);
        rest = rest.substr(0, rest.find(kEndOfText));
        m_lines.reserve(static_cast<std::size_t>(std::count(rest.begin(), rest.end(), '\n')) + 1);
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find('\n'), rest.size());
            std::string_view line = rest.substr(0, end);
            rest.remove_prefix(std::min(end + 1, rest.size()));
            line = Trimmed(line.substr(0, line.find('\0')));  // a text ends at its first zero byte
            if (!line.empty()) {
                m_lines.push_back(ToCString(line));
            }
        }
    } catch (const std::bad_alloc&) {
        m_lines.clear();
    }
}

void CMemIniFile::ClearIndex() {
    m_headers.Clear();
    m_headerLines.clear();
    m_sections.Clear();
    m_sectionNames.clear();
}

void CMemIniFile::RebuildIndex() {
    ClearIndex();
    std::string_view name;
    Section* current = nullptr;  // null before the section's first key
    for (int number = 0; number < static_cast<int>(m_lines.size()); ++number) {
        const std::string_view line = ViewOf(m_lines[static_cast<std::size_t>(number)]);
        if (line.empty()) {
            continue;
        }
        if (IsHeader(line)) {
            name = Trimmed(line.substr(1, line.size() - 2));
            current = nullptr;
            m_headers.At(name).second = number;
            m_sectionNames.push_back(ToCString(name));
            continue;
        }
        // An equals sign in the first column is no separator.
        const std::size_t equals = line.find('=', 1);
        if (equals == std::string_view::npos) {
            continue;
        }
        if (current == nullptr) {
            current = &m_sections.At(name).second;
        }
        auto& [key, lineOfKey] = current->keys.At(TrimmedRight(line.substr(0, equals)));
        lineOfKey = number;
        current->keysInOrder.push_back(&key);
    }
    for (const CString& section : m_sectionNames) {
        m_headerLines.insert(*m_headers.Find(ViewOf(section)));
    }
}

const int* CMemIniFile::FindHeader(const CString& section) const {
    return Look(m_headers, section, m_bCaseSensitive);
}

const CMemIniFile::Section* CMemIniFile::FindSection(const CString& section) const {
    return Look(m_sections, section, m_bCaseSensitive);
}

const int* CMemIniFile::FindLine(const CString& section, const CString& key) const {
    const Section* found = FindSection(section);
    const int* line = found == nullptr ? nullptr : Look(found->keys, key, m_bCaseSensitive);
    return line != nullptr && *line < static_cast<int>(m_lines.size()) ? line : nullptr;
}

int CMemIniFile::LineAfterSection(int header) const {
    const auto next = m_headerLines.upper_bound(header);
    return next == m_headerLines.end() ? static_cast<int>(m_lines.size()) : *next;
}

CString CMemIniFile::ReadString(const CString& section, const CString& key,
                                const CString& /*defaultValue*/) {
    // The default is not used here, unlike in CIniFile: callers test for the empty text.
    const int* number = FindLine(section, key);
    if (number == nullptr) {
        return CString();
    }
    const std::string_view line = ViewOf(m_lines[static_cast<std::size_t>(*number)]);
    return ToCString(line.substr(std::min(line.find('='), line.size() - 1) + 1));
}

void CMemIniFile::WriteString(const CString& section, const CString& key, const CString& value) {
    const CString text = MakeKeyLine(key, value);
    if (const int* number = FindLine(section, key); number != nullptr) {
        // The new line has the key as the caller wrote it; the indexes keep the old one until the
        // next change of structure.
        m_lines[static_cast<std::size_t>(*number)] = text;
        return;
    }
    const bool known = FindSection(section) != nullptr || FindHeader(section) != nullptr;
    if (known) {
        // The header is looked up exactly: where the file has the name in another case only (or
        // has no header, before the first one), the key becomes the file's second line.
        const int* header = m_headers.Find(ViewOf(section));
        m_lines.insert(m_lines.begin() + (header != nullptr ? *header : 0) + 1, text);
    } else {
        m_lines.push_back(MakeHeader(section));
        m_lines.push_back(text);
    }
    RebuildIndex();
}

bool CMemIniFile::SectionExists(const CString& section) {
    return m_headers.Find(ViewOf(section)) != nullptr;
}

bool CMemIniFile::ValueExists(const CString& section, const CString& key) {
    const Section* found = m_sections.Find(ViewOf(section));
    return SectionExists(section) && found != nullptr && found->keys.Find(ViewOf(key)) != nullptr;
}

void CMemIniFile::DeleteKey(const CString& section, const CString& key) {
    if (const int* number = FindLine(section, key); number != nullptr) {
        m_lines.erase(m_lines.begin() + *number);
        RebuildIndex();
    }
}

void CMemIniFile::EraseSection(const CString& section) {
    if (const int* header = FindHeader(section); header != nullptr) {
        m_lines.erase(m_lines.begin() + *header, m_lines.begin() + LineAfterSection(*header));
        RebuildIndex();
    }
}

void CMemIniFile::AddSection(const CString& section) {
    m_lines.push_back(MakeHeader(section));
    RebuildIndex();
}

std::vector<CString> CMemIniFile::ReadSections() {
    return m_sectionNames;
}

std::vector<CString> CMemIniFile::ReadSection(const CString& section) {
    // Exact even when the file is not case-sensitive, as SectionExists is.
    std::vector<CString> names;
    const Section* found = m_sections.Find(ViewOf(section));
    if (SectionExists(section) && found != nullptr) {
        names.reserve(found->keysInOrder.size());
        for (const std::string* key : found->keysInOrder) {
            names.push_back(ToCString(*key));
        }
    }
    return names;
}

std::vector<CString> CMemIniFile::ReadSectionValues(const CString& section) {
    const int* header = FindHeader(section);
    if (header == nullptr) {
        return {};
    }
    return {m_lines.begin() + *header + 1, m_lines.begin() + LineAfterSection(*header)};
}

void CMemIniFile::UpdateFile() {
    if (m_strFileName.IsEmpty()) {
        return;
    }
    CCustomIniFile::Clear();
    std::string text;
    for (const CString& line : m_lines) {
        for (const char c : ViewOf(line)) {
            text.append(c == '\n' ? "\r\n" : std::string_view(&c, 1));
        }
        // CR CR LF is what this program's files have had from the start; reading trims it.
        text += "\r\r\n";
    }
    WriteWholeFile(m_strFileName, text);
}

}  // namespace Terrascope
