#pragma once

#include <set>
#include <vector>

#include "terrascope/support/ini/CustomIniFile.h"
#include "terrascope/support/ini/NameMap.h"

namespace Terrascope {

/// A settings file in memory: read once, looked up without the disk, written back by UpdateFile
/// alone. Comments and the order of lines survive; blank lines and the blanks around lines do not.
///
/// A line is a header when it begins with "[" and ends with "]", a key when it has an equals sign
/// after its first character, and otherwise passed over; there is no comment mark as such, and no
/// byte-order mark. Values are everything after the equals sign, blanks and quotation marks
/// included. Keys before the first header belong to the section with the empty name, which has no
/// header and is not listed. Of equal headers and keys the last one counts.
///
/// Threads: one at a time, also for reading.
/// Errors:  as the base, but ReadString ignores the default: a missing value is an empty text.
class CMemIniFile : public CCustomIniFile {
public:
    /// Without `bCaseSensitive`, ReadString, WriteString, DeleteKey, EraseSection and
    /// ReadSectionValues find the first name, in the order of bytes, that is equal ignoring case.
    /// All other operations are exact.
    CMemIniFile(const CString& path, bool bCaseSensitive);

    void Clear() override;
    CString ReadString(const CString& section, const CString& key,
                       const CString& defaultValue) override;
    /// A new key becomes the first one of its section.
    void WriteString(const CString& section, const CString& key, const CString& value) override;
    bool SectionExists(const CString& section) override;
    bool ValueExists(const CString& section, const CString& key) override;
    void DeleteKey(const CString& section, const CString& key) override;
    void EraseSection(const CString& section) override;
    /// Appends a header, also when there is one already.
    void AddSection(const CString& section) override;
    std::vector<CString> ReadSections() override;
    std::vector<CString> ReadSection(const CString& section) override;
    /// The section's lines, comments included.
    std::vector<CString> ReadSectionValues(const CString& section) override;
    void UpdateFile() override;
    void SetFileName(const CString& path) override;

private:
    struct Section {
        CNameMap<int> keys;                           ///< line number of each key
        std::vector<const std::string*> keysInOrder;  ///< in `keys`; repeated ones too
    };

    void LoadLines();
    void RebuildIndex();
    void ClearIndex();
    const int* FindHeader(const CString& section) const;
    const Section* FindSection(const CString& section) const;
    const int* FindLine(const CString& section, const CString& key) const;
    int LineAfterSection(int header) const;

    std::vector<CString> m_lines;  ///< trimmed, none empty; all that follows is made from them
    CNameMap<int> m_headers;       ///< line number of each section's header
    std::set<int> m_headerLines;   ///< those numbers
    CNameMap<Section> m_sections;  ///< those that have keys
    const bool m_bCaseSensitive;
    std::vector<CString> m_sectionNames;  ///< every header, repeated ones too
};

}  // namespace Terrascope
