#include <afx.h>

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "tests/fixtures/TemporaryFolder.h"

namespace {

using TerrascopeTest::TemporaryFolder;

std::string Bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The cause of the file exception that an action ends in; none when it ends well.
template <class Action>
int CauseOf(Action action) {
    try {
        action();
        return CFileException::none;
    } catch (CFileException* failed) {
        const int cause = failed->m_cause;
        failed->Delete();
        return cause;
    }
}

TEST(StdioFile, TextLinesEndInCrLfOnDiskAndInNothingWhenRead) {
    const TemporaryFolder folder;
    const std::string path = folder / "lines.txt";
    {
        CStdioFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        file.WriteString("first\n\nthird");
        // The destructor writes what is pending.
    }
    EXPECT_EQ(Bytes(path), "first\r\n\r\nthird");

    CStdioFile file(path.c_str(), CFile::modeRead);
    std::string read;
    for (CString line; file.ReadString(line);)
        read += "[" + std::string(line) + "]";
    EXPECT_EQ(read, "[first][][third]");
    CString rest("left over");
    EXPECT_FALSE(file.ReadString(rest));
    EXPECT_TRUE(rest.IsEmpty());
}

TEST(StdioFile, ReadsLinesOfAnyLengthAndAnyEnding) {
    const TemporaryFolder folder;
    // Around the size of the pieces in which lines are read.
    std::string content;
    for (const size_t length : {510, 511, 512, 513, 70000})
        content += std::string(length, 'x') + (length % 2 ? "\n" : "\r\n");
    CStdioFile file(folder.WriteFile("long.txt", content).c_str(), CFile::modeRead);
    std::vector<int> lengths;
    for (CString line; file.ReadString(line);)
        lengths.push_back(line.GetLength());
    EXPECT_EQ(lengths, (std::vector{510, 511, 512, 513, 70000}));
}

TEST(StdioFile, CreatingCutsUnlessToldNotTo) {
    const TemporaryFolder folder;
    const std::string path = folder.WriteFile("old.txt", "old content");
    CStdioFile(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite)
        .WriteString("OLD");
    EXPECT_EQ(Bytes(path), "OLD content");
    CStdioFile(path.c_str(), CFile::modeCreate | CFile::modeWrite).WriteString("new");
    EXPECT_EQ(Bytes(path), "new");
}

TEST(File, SaysWhyItCannotBeOpened) {
    const TemporaryFolder folder;
    const auto opens = [](const std::string& path, UINT flags) {
        CFileException why;
        CStdioFile file;
        return file.Open(path.c_str(), flags, &why) ? int{CFileException::none} : why.m_cause;
    };
    EXPECT_EQ(opens(folder / "none.txt", CFile::modeRead), CFileException::fileNotFound);
    EXPECT_EQ(opens(folder / "none\\none.txt", CFile::modeCreate | CFile::modeWrite),
              CFileException::badPath);
    const std::string path = folder.WriteFile("held.txt", "x");
    const CFile holder(path.c_str(), CFile::modeRead | CFile::shareExclusive);
    EXPECT_EQ(opens(path, CFile::modeRead), CFileException::sharingViolation);
    EXPECT_EQ(CauseOf([&] { CFile file((folder / "none").c_str(), CFile::modeRead); }),
              CFileException::fileNotFound);
}

// The memory file against the plainest store that can do the same.
TEST(MemFile, DoesWhatAnArrayWithAPositionDoes) {
    std::mt19937 random(7);
    for (const UINT grow : {1U, 16U, 1024U}) {
        CMemFile file(grow);
        std::vector<BYTE> model;
        size_t position = 0;
        for (int step = 0; step < 2000; ++step) {
            BYTE block[40];
            const UINT size = random() % sizeof(block);
            switch (random() % 4) {
                case 0:
                    for (BYTE& byte : block)
                        byte = static_cast<BYTE>(random());
                    file.Write(block, size);
                    if (size > 0 && model.size() < position + size)
                        model.resize(position + size);
                    std::copy_n(block, size,
                                model.begin() + static_cast<ptrdiff_t>(size > 0 ? position : 0));
                    position += size;
                    break;
                case 1: {
                    const size_t there = position < model.size() ? model.size() - position : 0;
                    ASSERT_EQ(file.Read(block, size), std::min<size_t>(size, there));
                    for (size_t i = 0; i < std::min<size_t>(size, there); ++i)
                        ASSERT_EQ(block[i], model[position + i]);
                    position += std::min<size_t>(size, there);
                    break;
                }
                case 2:  // also beyond the end
                    position = random() % (model.size() + 20);
                    ASSERT_EQ(file.Seek(static_cast<LONGLONG>(position), CFile::begin), position);
                    break;
                default:
                    model.resize(random() % 500);
                    file.SetLength(model.size());
                    position = std::min(position, model.size());
                    break;
            }
            ASSERT_EQ(file.GetLength(), model.size());
            ASSERT_EQ(file.GetPosition(), position);
        }
    }
}

}  // namespace
