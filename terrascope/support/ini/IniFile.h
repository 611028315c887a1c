#pragma once

#include "terrascope/support/ini/CustomIniFile.h"

namespace Terrascope {

/// A settings file on the disk: every call goes through the system's profile functions, so that
/// what others write is seen at once. Keys and sections are found ignoring case, values come
/// without the blanks and the pair of quotation marks around them. The library reads its own files
/// with CMemIniFile; this class is for its users.
///
/// Threads: all objects of the process share one buffer: no two threads may read through objects
///          of this class at the same time.
/// Errors:  as the base; names of 1000 bytes and more are listed cut short. A change with a
///          section, key or value of 32,767 characters and more, which the system's functions do
///          not take, is refused with a line in the log and leaves the file as it is; reading with
///          such a section or key gives the default, and such a default counts as empty.
class CIniFile : public CCustomIniFile {
public:
    explicit CIniFile(const CString& path);

    CString ReadString(const CString& section, const CString& key,
                       const CString& defaultValue) override;
    /// A value that begins or ends with a blank is put between quotation marks.
    void WriteString(const CString& section, const CString& key, const CString& value) override;
    void DeleteKey(const CString& section, const CString& key) override;
    void EraseSection(const CString& section) override;
    /// An existing section loses its keys.
    void AddSection(const CString& section) override;
    std::vector<CString> ReadSections() override;
    std::vector<CString> ReadSection(const CString& section) override;
    /// The keys, as ReadSection; not the lines.
    std::vector<CString> ReadSectionValues(const CString& section) override;
    void UpdateFile() override;
};

}  // namespace Terrascope
