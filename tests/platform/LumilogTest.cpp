#include "platform/lumilog/Lumilog.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <thread>

#include "tests/fixtures/TemporaryFolder.h"

namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

class LumilogTest : public testing::Test {
protected:
    ~LumilogTest() override { Lumilog::UnRegister("Module"); }

    void Register(const std::string& directory, int limit = 10000, int level = 6) {
        Lumilog::RegisterByModule({"Module", directory.c_str(), level, limit});
    }

    /// What is behind the date, time and thread of each line of a file in the folder.
    Lines Messages(const char* name = "Module.log") const {
        std::ifstream file(m_folder / name);
        Lines found;
        for (std::string line; std::getline(file, line);) {
            const size_t at = line.find("] ");
            found.push_back(at == std::string::npos ? "?" + line : line.substr(at + 2));
        }
        return found;
    }

    TerrascopeTest::TemporaryFolder m_folder;
};

TEST_F(LumilogTest, WritesEachLineAtOnceWhileItIsSwitchedOn) {
    Register(m_folder.Path());
    Lumilog::_dout("Module", "braces {} and 100%% of %s", "it");
    Lumilog::SaveToFile("Module", false);
    Lumilog::_dout("Module", "unseen");
    Lumilog::SaveToFile("Module", true);
    Lumilog::_dout("Module", "seen");
    EXPECT_THAT(Messages(), ElementsAre("braces {} and 100% of it", "seen"));

    Lumilog::UnRegister("Module");
    Lumilog::_dout("Module", "too late");
    EXPECT_EQ(Messages().size(), 2U);
    EXPECT_TRUE(::DeleteFileA((m_folder / "Module.log").c_str())) << "closed";
    Register(m_folder.Path(), 10000, 0);
    Lumilog::_dout("Module", "level nought is silent");
    EXPECT_TRUE(Messages().empty());
}

TEST_F(LumilogTest, LosesAndMixesNothingOfSeveralThreads) {
    Register(m_folder.Path() + "/");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 250; ++i)
                Lumilog::_dout("Module", "line %d", t * 250 + i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const Lines found = Messages();
    EXPECT_EQ(found.size(), 1000U);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(std::count(found.begin(), found.end(), "line " + std::to_string(i)), 1) << i;
}

TEST_F(LumilogTest, AFullFileMakesRoomForANewOne) {
    Register(m_folder.Path(), 4);
    const std::string line(100, 'x');
    for (int i = 0; i < 400; ++i)
        Lumilog::_dout("Module", "%s %d", line.c_str(), i);
    EXPECT_EQ(Messages().at(Messages().size() - 1), line + " 399");
    for (const char* name : {"Module.log", "Module.1.log", "Module.2.log"}) {
        std::ifstream file(m_folder / name, std::ios::ate | std::ios::binary);
        ASSERT_TRUE(file) << name;
        EXPECT_LE(file.tellg(), 4096) << name;
    }
    EXPECT_FALSE(std::ifstream(m_folder / "Module.3.log"));
}

TEST_F(LumilogTest, AFolderThatCannotBeMadeAndAnUnknownModuleAreIgnored) {
    Register(m_folder.WriteFile("file", "") + "\\under a file");
    Lumilog::_dout("Module", "nowhere");
    Lumilog::SaveToFile("Module", true);
    Lumilog::_dout("Stranger", "dropped");
    Lumilog::SaveToConsole("Stranger", true);
    Lumilog::UnRegister("Stranger");
    Lumilog::RegisterByModule({nullptr, nullptr});

    Register(m_folder.Path());  // a later registration of the same name works
    Lumilog::_dout("Module", "here");
    EXPECT_THAT(Messages(), ElementsAre("here"));
}

TEST_F(LumilogTest, FoldersMayBeNamedInTheActiveCodePage) {
    if (::GetACP() != 936)
        GTEST_SKIP() << "needs code page 936";
    // The name ends in a character whose second byte is a backslash's.
    m_folder.MakeFolder("x\xD5\x5C");
    Register(m_folder / "x\xD5\x5C");
    Lumilog::_dout("Module", "line");
    EXPECT_THAT(Messages("x\xD5\x5C\\Module.log"), ElementsAre("line"));
}

}  // namespace
