#include "platform/lumilog/Lumilog.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <sstream>

#include "tests/fixtures/TemporaryFolder.h"

namespace {

class LumilogTest : public testing::Test {
protected:
    ~LumilogTest() override { Lumilog::UnRegister("Module"); }

    void Register(const std::string& directory, int level = 6) {
        Lumilog::RegisterByModule({"Module", directory.c_str(), level});
    }
    /// What is behind the date, time and thread of each line of a file in the folder.
    std::string Messages(const std::string& name = "Module.log") const {
        std::istringstream file(m_folder.ReadFile(name));
        std::string found;
        for (std::string line; std::getline(file, line);) {
            const size_t at = line.find("] ");
            found += (at == std::string::npos ? "?" + line : line.substr(at + 2)) + ";";
        }
        return found;
    }

    TerrascopeTest::TemporaryFolder m_folder{TerrascopeTest::FolderName::Awkward};
};

TEST_F(LumilogTest, WritesEachLineAtOnceWhileItIsSwitchedOn) {
    Register(m_folder.Path());
    Lumilog::_dout("Module", "braces {} and 100%% of %s", "it");
    Lumilog::SaveToFile("Module", false);
    Lumilog::_dout("Module", "unseen");
    Lumilog::SaveToFile("Module", true);
    Lumilog::_dout("Module", "seen");
    Lumilog::UnRegister("Module");
    Lumilog::_dout("Module", "too late");
    EXPECT_EQ("braces {} and 100% of it\r;seen\r;", Messages());
    EXPECT_TRUE(::DeleteFileA((m_folder / "Module.log").c_str())) << "closed";
    Register(m_folder.Path(), 0);
    Lumilog::_dout("Module", "level nought is silent");
    EXPECT_EQ("", Messages());
}

}  // namespace
