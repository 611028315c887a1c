#include "terrascope/support/IniFile.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "terrascope/support/MultibyteText.h"

namespace Terrascope {

namespace {

constexpr DWORD kBufferBytes = 0x10000;
constexpr std::size_t kNameBytes = 1000;

// One for the process and without a lock, as the class promises its users.
std::array<char, kBufferBytes> g_buffer;

char* CleanBuffer() {
    g_buffer.fill('\0');
    return g_buffer.data();
}

/// The names in the buffer, each ended by a zero byte within the first `count` bytes.
std::vector<CString> SplitBuffer(DWORD count) {
    std::vector<CString> names;
    std::string_view rest(g_buffer.data(), std::min(count, kBufferBytes));
    for (std::size_t end = rest.find('\0'); end != std::string_view::npos; end = rest.find('\0')) {
        if (end > 0) {
            names.push_back(ToCString(rest.substr(0, std::min(end, kNameBytes - 1))));
        }
        rest.remove_prefix(end + 1);
    }
    return names;
}

}  // namespace

CIniFile::CIniFile(const CString& path) : CCustomIniFile(path) {
    CCustomIniFile::SetFileName(path);
}

CString CIniFile::ReadString(const CString& section, const CString& key,
                             const CString& defaultValue) {
    char* buffer = CleanBuffer();
    ::GetPrivateProfileStringA(section, key, defaultValue, buffer, kBufferBytes, m_strFileName);
    return CString(buffer);
}

void CIniFile::WriteString(const CString& section, const CString& key, const CString& value) {
    CString text = value;
    if (!value.IsEmpty() && (value[0] == ' ' || value[value.GetLength() - 1] == ' ')) {
        text = "\"" + value + "\"";
    }
    ::WritePrivateProfileStringA(section, key, text, m_strFileName);
}

void CIniFile::DeleteKey(const CString& section, const CString& key) {
    ::WritePrivateProfileStringA(section, key, nullptr, m_strFileName);
}

void CIniFile::EraseSection(const CString& section) {
    ::WritePrivateProfileSectionA(section, nullptr, m_strFileName);
}

void CIniFile::AddSection(const CString& section) {
    const char* const noLines = "\0";  // a list of lines ends with two zero bytes
    ::WritePrivateProfileSectionA(section, noLines, m_strFileName);
    if (!SectionExists(section)) {
        // Some systems empty a section in this way but make none: give it a key to take away.
        ::WritePrivateProfileStringA(section, "new", "", m_strFileName);
        ::WritePrivateProfileSectionA(section, noLines, m_strFileName);
    }
}

std::vector<CString> CIniFile::ReadSections() {
    char* buffer = CleanBuffer();
    return SplitBuffer(::GetPrivateProfileSectionNamesA(buffer, kBufferBytes, m_strFileName));
}

std::vector<CString> CIniFile::ReadSection(const CString& section) {
    char* buffer = CleanBuffer();
    return SplitBuffer(
        ::GetPrivateProfileStringA(section, nullptr, nullptr, buffer, kBufferBytes, m_strFileName));
}

std::vector<CString> CIniFile::ReadSectionValues(const CString& section) {
    return CIniFile::ReadSection(section);
}

void CIniFile::UpdateFile() {
    ::WritePrivateProfileStringA(nullptr, nullptr, nullptr, m_strFileName);
}

}  // namespace Terrascope
