#pragma once

#include <afx.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "terrascope/support/Folders.h"
#include "terrascope/support/TextConvert.h"

namespace Terrascope {

/// True when the active code page has two-byte characters whose second byte may be 0x5C.
inline bool HasTwoByteCharacters() {
    return ::GetACP() == 936;
}

/// A folder of its own for each test, deleted at the end. Where the code page allows it, its name
/// has a two-byte character that ends with the byte of a backslash.
class TempFolder {
public:
    TempFolder() {
        char temp[MAX_PATH] = "";
        ::GetTempPathA(MAX_PATH, temp);
        const char* name = HasTwoByteCharacters() ? "ts\xD5\x5C" : "ts";
        m_path = CString(temp) + name + CreateGuidString();
        EXPECT_TRUE(CreateDirectories(m_path));
    }
    ~TempFolder() { EXPECT_TRUE(DeleteFolder(m_path)); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const CString& Path() const { return m_path; }
    CString Path(const char* name) const { return m_path + "\\" + name; }

    CString Write(const char* name, const std::string& bytes) const {
        std::ofstream(Path(name).GetString(), std::ios::binary) << bytes;
        return Path(name);
    }
    std::string Read(const char* name) const {
        std::ifstream file(Path(name).GetString(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

private:
    CString m_path;
};

}  // namespace Terrascope
