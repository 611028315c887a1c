#pragma once

#include <afx.h>

#include <cstdint>
#include <vector>

namespace Terrascope {

/// A settings file of "[section]" headers and "key=value" lines. The typed readers and writers are
/// common to both kinds of file; how a text is read and written is each kind's own, and the two
/// differ more than one would expect (see CIniFile and CMemIniFile).
///
/// Units:   texts in the active code page; times in texts are local.
/// Threads: one at a time for each object; see CIniFile for what its objects share.
/// Errors:  none are reported: a missing value is the caller's default, a file that cannot be made
///          or read is empty. Only ReadDateTime throws.
class CCustomIniFile {
public:
    virtual ~CCustomIniFile() = default;

    /// Makes the file anew, empty.
    virtual void Clear();

    virtual CString ReadString(const CString& section, const CString& key,
                               const CString& defaultValue) = 0;
    virtual void WriteString(const CString& section, const CString& key, const CString& value) = 0;

    virtual std::int32_t ReadInteger(const CString& section, const CString& key,
                                     std::int32_t defaultValue);
    virtual void WriteInteger(const CString& section, const CString& key, std::int32_t value);

    /// The value's last character only: 123 is read as 3.
    virtual std::uint32_t ReadUInt(const CString& section, const CString& key,
                                   std::uint32_t defaultValue);
    /// Written with a sign: 4294967295 is written as -1.
    virtual void WriteUInt(const CString& section, const CString& key, std::uint32_t value);

    virtual BYTE ReadByte(const CString& section, const CString& key, BYTE defaultValue);
    virtual void WriteByte(const CString& section, const CString& key, BYTE value);
    virtual bool ReadBool(const CString& section, const CString& key, bool defaultValue);
    virtual void WriteBool(const CString& section, const CString& key, bool value);
    virtual float ReadFloat(const CString& section, const CString& key, float defaultValue);
    virtual void WriteFloat(const CString& section, const CString& key, float value);
    virtual double ReadDouble(const CString& section, const CString& key, double defaultValue);
    virtual void WriteDouble(const CString& section, const CString& key, double value);

    /// "year-month-day hour:minute:second" in local time. The default when the value is empty or
    /// lacks a separator; midnight when only the first colon is missing. What CTime's
    /// constructor throws for a time that cannot be reaches the caller.
    virtual CTime ReadDateTime(const CString& section, const CString& key, CTime defaultValue);
    virtual void WriteDateTime(const CString& section, const CString& key, CTime value);

    /// Both compare exactly, case included, whatever the kind of file.
    virtual bool SectionExists(const CString& section);
    virtual bool ValueExists(const CString& section, const CString& key);

    virtual void DeleteKey(const CString& section, const CString& key) = 0;
    virtual void EraseSection(const CString& section) = 0;
    virtual void AddSection(const CString& section) = 0;
    virtual std::vector<CString> ReadSections() = 0;
    /// The section's keys.
    virtual std::vector<CString> ReadSection(const CString& section) = 0;
    virtual std::vector<CString> ReadSectionValues(const CString& section) = 0;
    /// Brings what was written to the disk.
    virtual void UpdateFile() = 0;

    /// Takes another file, and makes it empty if it does not exist. A path whose first colon is not
    /// its second character (also a UNC path) counts from the host executable's folder. An empty
    /// path changes nothing.
    virtual void SetFileName(const CString& path);

    const CString& GetFileName() const { return m_strFileName; }

protected:
    explicit CCustomIniFile(const CString& path) : m_strFileName(path) {}
    CCustomIniFile(const CCustomIniFile&) = default;
    CCustomIniFile& operator=(const CCustomIniFile&) = default;

    CString m_strFileName;  ///< full path; empty: there is no file

private:
    void CreateIfMissing() const;
};

}  // namespace Terrascope
