#include "terrascope/support/MemStream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace Terrascope {
namespace {

std::string Content(CMemStream& stream) {
    const auto* bytes = reinterpret_cast<const char*>(stream.GetBuffer());
    return bytes == nullptr ? std::string() : std::string(bytes, stream.GetLength());
}

TEST(MemStream, ReadsBackWhatWasWritten) {
    // A text is cut at its first zero byte within each chunk of 1024 bytes.
    const std::string text = std::string(1000, 'a') + '\0' + std::string(23, 'b') + "tail";
    CMemStream stream;
    stream << true << static_cast<short>(-300) << 4000000001UL << 1.5F << -2.25 << text;
    EXPECT_EQ(1U + 2 + 4 + 4 + 8 + 4 + text.size(), stream.GetLength());
    stream << 0xFFFFFFFFU << static_cast<unsigned char>('x');  // a text shorter than its length
    bool truth = false;
    short small = 0;
    unsigned long large = 0;
    float single = 0;
    double real = 0;
    std::string read, rest;
    stream >> truth >> small >> large >> single >> real >> read >> rest >> small;
    EXPECT_TRUE(truth && large == 4000000001UL && single == 1.5F && real == -2.25);
    EXPECT_EQ(std::string(1000, 'a') + "tail", read);
    EXPECT_EQ("x", rest);
    EXPECT_EQ(-300, small) << "nothing was left to read";
}

TEST(MemStream, MovesTheCursorsThatSeekNames) {
    const struct {
        std::int64_t offset;
        int which, origin;
        char read;          // what is read next
        const char* after;  // content when "X" is written next
    } cases[] = {
        {2, CMemStream::kReadCursor, CMemStream::kFromBegin, 'c', "abcdX"},
        {1, CMemStream::kWriteCursor, CMemStream::kFromBegin, 'a', "aXcd"},
        {-1, CMemStream::kBothCursors, CMemStream::kFromEnd, 'd', "abcX"},
        {-9, CMemStream::kBothCursors, CMemStream::kFromEnd, 'a', "Xbcd"},
    };
    for (const auto& c : cases) {
        CMemStream stream;
        stream.Write("abcd", 4);
        stream.Seek(c.offset, c.which, c.origin);
        char next = '?';
        stream.Read(&next, 1);
        EXPECT_EQ(c.read, next);
        stream.Write("X", 1);
        EXPECT_EQ(c.after, Content(stream));
    }
}

TEST(MemStream, KeepsItsPositionsWhenItIsAssignedTo) {
    const CMemStream source("new", 3);
    CMemStream written;
    written.Write("12", 2);
    written = source;
    EXPECT_EQ(std::string("\0\0new", 5), Content(written));
    CMemStream atStart("old content", 11);
    atStart = source;
    EXPECT_EQ("new", Content(atStart));
}

TEST(MemStream, HandsOutOneComStreamUntilTheContentChanges) {
    CMemStream stream;
    const std::string bytes(5000, 'z');
    stream.Write(bytes.data(), 5000);
    IStream* first = stream.GetIStream();
    EXPECT_EQ(first, stream.GetIStream());
    std::string read(6000, '?');
    ULONG count = 0;
    EXPECT_GE(first->Read(read.data(), 6000, &count), S_OK);
    EXPECT_EQ(bytes, read.substr(0, count));

    stream.Write("y", 1);
    EXPECT_NE(first, stream.GetIStream());
    first->Release();  // forgotten by the stream, so ours
    stream.Reset();
    EXPECT_EQ(nullptr, stream.GetIStream());
}

}  // namespace
}  // namespace Terrascope
