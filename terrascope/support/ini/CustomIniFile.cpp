#include "terrascope/support/ini/CustomIniFile.h"

#include <shlwapi.h>

#include <algorithm>
#include <cstdlib>

#include "terrascope/support/Handles.h"
#include "terrascope/support/files/Paths.h"
#include "terrascope/support/text/DateTimeText.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {

namespace {

CString FormatInteger(std::int32_t value) {
    CString text;
    text.Format("%d", value);
    return text;
}

bool Contains(const std::vector<CString>& names, const CString& wanted) {
    return std::any_of(names.begin(), names.end(),
                       [&](const CString& name) { return ViewOf(name) == ViewOf(wanted); });
}

}  // namespace

void CCustomIniFile::Clear() {
    if (m_strFileName.IsEmpty()) {
        return;
    }
    if (::PathFileExistsA(m_strFileName)) {
        ::DeleteFileA(m_strFileName);
    }
    // Not through the virtual SetFileName: what a derived class holds in memory stays.
    CreateIfMissing();
}

void CCustomIniFile::SetFileName(const CString& path) {
    if (path.IsEmpty()) {
        return;
    }
    m_strFileName = ViewOf(path).find(':') == 1 ? path : ModuleFolder(nullptr) + "\\" + path;
    CreateIfMissing();
}

void CCustomIniFile::CreateIfMissing() const {
    if (!::PathFileExistsA(m_strFileName)) {
        const CFileHandle created(::CreateFileA(m_strFileName, GENERIC_WRITE, 0, nullptr,
                                                CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
}

std::int32_t CCustomIniFile::ReadInteger(const CString& section, const CString& key,
                                         std::int32_t defaultValue) {
    const CString text = ReadString(section, key, "");
    return text.IsEmpty() ? defaultValue : LeadingInteger(text);
}

void CCustomIniFile::WriteInteger(const CString& section, const CString& key, std::int32_t value) {
    WriteString(section, key, FormatInteger(value));
}

std::uint32_t CCustomIniFile::ReadUInt(const CString& section, const CString& key,
                                       std::uint32_t defaultValue) {
    const CString text = ReadString(section, key, "");
    if (text.IsEmpty()) {
        return defaultValue;
    }
    // The last character, not the text: files in use depend on it.
    return std::strtoul(text.GetString() + text.GetLength() - 1, nullptr, 10);
}

void CCustomIniFile::WriteUInt(const CString& section, const CString& key, std::uint32_t value) {
    // With a sign, so that ReadInteger finds the same 32 bits.
    WriteString(section, key, FormatInteger(static_cast<std::int32_t>(value)));
}

BYTE CCustomIniFile::ReadByte(const CString& section, const CString& key, BYTE defaultValue) {
    return static_cast<BYTE>(ReadInteger(section, key, defaultValue));
}

void CCustomIniFile::WriteByte(const CString& section, const CString& key, BYTE value) {
    WriteInteger(section, key, value);
}

bool CCustomIniFile::ReadBool(const CString& section, const CString& key, bool defaultValue) {
    return ReadInteger(section, key, defaultValue ? 1 : 0) != 0;
}

void CCustomIniFile::WriteBool(const CString& section, const CString& key, bool value) {
    WriteInteger(section, key, value ? 1 : 0);
}

float CCustomIniFile::ReadFloat(const CString& section, const CString& key, float defaultValue) {
    return static_cast<float>(ReadDouble(section, key, defaultValue));
}

void CCustomIniFile::WriteFloat(const CString& section, const CString& key, float value) {
    WriteDouble(section, key, value);
}

double CCustomIniFile::ReadDouble(const CString& section, const CString& key, double defaultValue) {
    const CString text = ReadString(section, key, "");
    return text.IsEmpty() ? defaultValue : std::atof(text);
}

void CCustomIniFile::WriteDouble(const CString& section, const CString& key, double value) {
    CString text;
    text.Format("%f", value);
    WriteString(section, key, text);
}

CTime CCustomIniFile::ReadDateTime(const CString& section, const CString& key, CTime defaultValue) {
    const CString text = ReadString(section, key, "");
    CNumberFields fields(text);
    const auto year = fields.Before('-');
    const auto month = fields.Before('-');
    const auto day = fields.Before(' ');
    if (!day) {
        return defaultValue;
    }
    const auto hour = fields.Before(':');
    if (!hour) {
        return CTime(*year, *month, *day, 0, 0, 0);  // a date without a time: midnight
    }
    const auto minute = fields.Before(':');
    return minute ? CTime(*year, *month, *day, *hour, *minute, fields.Rest()) : defaultValue;
}

void CCustomIniFile::WriteDateTime(const CString& section, const CString& key, CTime value) {
    WriteString(section, key, value.Format(kDateTimeForm));
}

bool CCustomIniFile::SectionExists(const CString& section) {
    return Contains(ReadSections(), section);
}

bool CCustomIniFile::ValueExists(const CString& section, const CString& key) {
    return Contains(ReadSection(section), key);
}

}  // namespace Terrascope
