#include "platform/lumilog/Lumilog.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/fixtures/TemporaryFolder.h"

namespace {

using TerrascopeTest::TemporaryFolder;

/// What is behind the date, time and thread of each line of a log file.
std::vector<std::string> Messages(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> found;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const size_t at = line.find("] ");
        found.push_back(at == std::string::npos ? "?" + line : line.substr(at + 2));
    }
    return found;
}

class LumilogTest : public testing::Test {
protected:
    ~LumilogTest() override { Lumilog::UnRegister("Module"); }

    void Register(const std::string& directory, int limit = 10000, int level = 6) {
        Lumilog::RegisterByModule({"Module", directory.c_str(), level, limit});
    }

    std::string LogFile() const { return m_folder / "Module.log"; }

    TemporaryFolder m_folder;
};

TEST_F(LumilogTest, WritesEachLineAtOnce) {
    Register(m_folder.Path());
    Lumilog::_dout("Module", "%s ver is %s", "Module", "1.0");
    Lumilog::_dout("Module", "braces {} and 100%% stay");
    EXPECT_EQ(Messages(LogFile()),
              (std::vector<std::string>{"Module ver is 1.0", "braces {} and 100% stay"}));
}

TEST_F(LumilogTest, LosesAndMixesNothingOfSeveralThreads) {
    Register(m_folder.Path() + "/");
    std::multiset<std::string> written;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 250; ++i)
            written.insert("thread " + std::to_string(t) + " line " + std::to_string(i));
        threads.emplace_back([t] {
            for (int i = 0; i < 250; ++i)
                Lumilog::_dout("Module", "thread %d line %d", t, i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const auto found = Messages(LogFile());
    EXPECT_EQ(std::multiset<std::string>(found.begin(), found.end()), written);
}

TEST_F(LumilogTest, AFullFileMakesRoomForANewOne) {
    Register(m_folder.Path(), 4);
    const std::string line(100, 'x');
    for (int i = 0; i < 400; ++i)
        Lumilog::_dout("Module", "%s %d", line.c_str(), i);
    ASSERT_FALSE(Messages(LogFile()).empty());
    EXPECT_EQ(Messages(LogFile()).back(), line + " 399");
    for (const char* name : {"Module.log", "Module.1.log", "Module.2.log"}) {
        WIN32_FILE_ATTRIBUTE_DATA data{};
        ASSERT_TRUE(::GetFileAttributesExA((m_folder / name).c_str(), GetFileExInfoStandard, &data))
            << name;
        EXPECT_LE(data.nFileSizeLow, 4096U) << name;
    }
    EXPECT_EQ(::GetFileAttributesA((m_folder / "Module.3.log").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(LumilogTest, SwitchesItsFileOffAndOn) {
    Register(m_folder.Path());
    Lumilog::SaveToFile("Module", false);
    Lumilog::_dout("Module", "unseen");
    Lumilog::SaveToFile("Module", true);
    Lumilog::_dout("Module", "seen");
    EXPECT_EQ(Messages(LogFile()), std::vector<std::string>{"seen"});
}

TEST_F(LumilogTest, AFolderThatCannotBeMadeAndAnUnknownModuleAreIgnored) {
    Register(m_folder.WriteFile("file", "") + "\\under a file");
    Lumilog::_dout("Module", "nowhere");
    Lumilog::SaveToFile("Module", true);

    for (const char* unknown : {"Stranger", ""}) {
        Lumilog::_dout(unknown, "dropped");
        Lumilog::SaveToConsole(unknown, true);
        Lumilog::UnRegister(unknown);
    }
    Lumilog::RegisterByModule({nullptr, nullptr});

    // A later registration of the same name works.
    Register(m_folder.Path());
    Lumilog::_dout("Module", "here");
    EXPECT_EQ(Messages(LogFile()), std::vector<std::string>{"here"});
}

TEST_F(LumilogTest, AnUnregisteredModulesFileIsClosed) {
    Register(m_folder.Path());
    Lumilog::_dout("Module", "line");
    Lumilog::UnRegister("Module");
    Lumilog::_dout("Module", "too late");
    EXPECT_EQ(Messages(LogFile()).size(), 1U);
    EXPECT_TRUE(::DeleteFileA(LogFile().c_str()));
}

TEST_F(LumilogTest, LevelNoughtIsSilent) {
    Register(m_folder.Path(), 10000, 0);
    Lumilog::_dout("Module", "unseen");
    EXPECT_TRUE(Messages(LogFile()).empty());
}

TEST_F(LumilogTest, FoldersMayBeNamedInTheActiveCodePage) {
    if (::GetACP() != 936)
        GTEST_SKIP() << "needs code page 936";
    // The name ends in a character whose second byte is a backslash's.
    m_folder.MakeFolder("x\xD5\x5C");
    Register(m_folder / "x\xD5\x5C");
    Lumilog::_dout("Module", "line");
    EXPECT_EQ(Messages(m_folder / "x\xD5\x5C\\Module.log").size(), 1U);
}

}  // namespace
