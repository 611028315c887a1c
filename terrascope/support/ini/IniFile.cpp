#include "terrascope/support/ini/IniFile.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>

#include "terrascope/support/LogSink.h"
#include "terrascope/support/text/MultibyteText.h"

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

/// Whether the profile functions take the texts. Those of 32,767 UTF-16 units and more fit no
/// counted string of the system; Wine's then read a pointer that nobody has set.
bool AreTaken(std::initializer_list<const CString*> texts) {
    constexpr int kLongest = 32766;
    return std::all_of(texts.begin(), texts.end(), [](const CString* text) {
        return text->GetLength() <= kLongest ||
               ::MultiByteToWideChar(CP_ACP, 0, *text, text->GetLength(), nullptr, 0) <= kLongest;
    });
}

/// The same, with a line in the log for a call that is refused.
bool MayWrite(const CString& file, const CString& section, const CString& key = CString(),
              const CString& value = CString()) {
    const bool taken = AreTaken({&file, &section, &key, &value});
    if (!taken) {
        LogLine("%.260s: [%.60s] %.60s: not written, a text of %d bytes is too long",
                file.GetString(), section.GetString(), key.GetString(),
                std::max({section.GetLength(), key.GetLength(), value.GetLength()}));
    }
    return taken;
}

}  // namespace

CIniFile::CIniFile(const CString& path) : CCustomIniFile(path) {
    CCustomIniFile::SetFileName(path);
}

CString CIniFile::ReadString(const CString& section, const CString& key,
                             const CString& defaultValue) {
    if (!AreTaken({&m_strFileName, &section, &key})) {
        return defaultValue;
    }
    char* buffer = CleanBuffer();
    ::GetPrivateProfileStringA(section, key, AreTaken({&defaultValue}) ? defaultValue : CString(),
                               buffer, kBufferBytes, m_strFileName);
    return CString(buffer);
}

void CIniFile::WriteString(const CString& section, const CString& key, const CString& value) {
    CString text = value;
    if (!value.IsEmpty() && (value[0] == ' ' || value[value.GetLength() - 1] == ' ')) {
        text = "\"" + value + "\"";
    }
    if (MayWrite(m_strFileName, section, key, text)) {
        ::WritePrivateProfileStringA(section, key, text, m_strFileName);
    }
}

void CIniFile::DeleteKey(const CString& section, const CString& key) {
    if (MayWrite(m_strFileName, section, key)) {
        ::WritePrivateProfileStringA(section, key, nullptr, m_strFileName);
    }
}

void CIniFile::EraseSection(const CString& section) {
    if (MayWrite(m_strFileName, section)) {
        ::WritePrivateProfileSectionA(section, nullptr, m_strFileName);
    }
}

void CIniFile::AddSection(const CString& section) {
    if (!MayWrite(m_strFileName, section)) {
        return;
    }
    const char* const noLines = "\0";  // a list of lines ends with two zero bytes
    ::WritePrivateProfileSectionA(section, noLines, m_strFileName);
    if (!SectionExists(section)) {
        // Some systems empty a section in this way but make none: give it a key to take away.
        ::WritePrivateProfileStringA(section, "new", "", m_strFileName);
        ::WritePrivateProfileSectionA(section, noLines, m_strFileName);
    }
}

std::vector<CString> CIniFile::ReadSections() {
    if (!AreTaken({&m_strFileName})) {
        return {};
    }
    char* buffer = CleanBuffer();
    return SplitBuffer(::GetPrivateProfileSectionNamesA(buffer, kBufferBytes, m_strFileName));
}

std::vector<CString> CIniFile::ReadSection(const CString& section) {
    if (!AreTaken({&m_strFileName, &section})) {
        return {};
    }
    char* buffer = CleanBuffer();
    return SplitBuffer(
        ::GetPrivateProfileStringA(section, nullptr, nullptr, buffer, kBufferBytes, m_strFileName));
}

std::vector<CString> CIniFile::ReadSectionValues(const CString& section) {
    return CIniFile::ReadSection(section);
}

void CIniFile::UpdateFile() {
    if (AreTaken({&m_strFileName})) {
        ::WritePrivateProfileStringA(nullptr, nullptr, nullptr, m_strFileName);
    }
}

}  // namespace Terrascope
