#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "terrascope/support/Colors.h"
#include "terrascope/support/ini/MemIniFile.h"
#include "terrascope/support/text/DateTimeText.h"
#include "terrascope/support/text/MultibyteText.h"
#include "terrascope/support/text/TextConvert.h"
#include "tests/fixtures/TemporaryFolder.h"
#include "tests/fixtures/Throws.h"

namespace Terrascope {
namespace {

const bool kTwo = TerrascopeTest::HasTwoByteCharacters();

// A manifest that is not found would leave all tests green in another code page.
TEST(CodePage, IsTheOneThatTheRunAskedFor) {
    const char* wanted = std::getenv("TERRASCOPE_TEST_CODE_PAGE");
    EXPECT_TRUE(wanted == nullptr || ::GetACP() == static_cast<UINT>(std::atoi(wanted)));
}

TEST(TextConvert, GoesThereAndBackInTheActiveCodePage) {
    // U+4E2D U+6587; Latin letters with accents where the code page has no Chinese.
    const wchar_t* wide = kTwo ? L"\x4E2D\x6587x" : L"\xE9\xE8x";
    const char* utf8 = kTwo ? "\xE4\xB8\xAD\xE6\x96\x87x" : "\xC3\xA9\xC3\xA8x";
    const char* ansi = kTwo ? "\xD6\xD0\xCE\xC4x" : TerrascopeTest::HasUtf8() ? utf8 : "\xE9\xE8x";
    EXPECT_STREQ(ansi, std::unique_ptr<char[]>(WideToAnsi(wide)).get());
    EXPECT_STREQ(wide, std::unique_ptr<wchar_t[]>(StringToWide(ansi)).get());
    EXPECT_STREQ(ansi, std::unique_ptr<char[]>(StringToNewBuffer(ansi)).get());
    EXPECT_STREQ(wide, Utf8ToWide(utf8).get());
    EXPECT_STREQ(ansi, Utf8ToAnsi(utf8).get());
    EXPECT_EQ(nullptr, Utf8ToAnsi(nullptr));
}

TEST(TextConvert, GoesByCharacters) {
    for (const char* text : {"", "-.", "1.5", "+3."}) {
        EXPECT_TRUE(IsNumeric(text)) << text;
    }
    for (const char* text : {"1.2.3", "1e5", "--1", " 1"}) {
        EXPECT_FALSE(IsNumeric(text)) << text;
    }
    using Parts = std::list<CString>;
    EXPECT_EQ((Parts{"a", "bc"}), SplitString("|a||bc|", '|'));
    EXPECT_EQ(kTwo ? Parts{"\x81\x7C"} : Parts{"\x81"}, SplitString("\x81\x7C", '|'));
    EXPECT_TRUE(EndsWithNoCase("Map.PNG", ".png"));
    EXPECT_EQ(!kTwo, EndsWithNoCase("\xD5\x5C", "\\"));
    EXPECT_EQ("a\nb\tc\rd\\\n\\x\\", ReplaceEscapes("a\\nb\\tc\\rd\\\\n\\x\\"));
    EXPECT_EQ(kTwo ? "\xD5\x5Cn" : "\xD5\n", ReplaceEscapes("\xD5\x5Cn"));
}

TEST(MultibyteText, FoldsToOneFormWhatCompareNoCaseCallsEqual) {
    std::vector<CString> pairs;
    for (int both = 0x0101; both <= 0xFFFF; ++both) {
        const char bytes[] = {static_cast<char>(both >> 8), static_cast<char>(both)};
        if (bytes[1] != '\0') {
            pairs.emplace_back(bytes, 2);
        }
    }
    std::sort(pairs.begin(), pairs.end(),
              [](const CString& a, const CString& b) { return a.CompareNoCase(b) < 0; });
    for (std::size_t i = 1; i < pairs.size(); ++i) {
        const std::string folded = FoldCase(ViewOf(pairs[i]));
        ASSERT_EQ(pairs[i - 1].CompareNoCase(pairs[i]) == 0,
                  FoldCase(ViewOf(pairs[i - 1])) == folded)
            << pairs[i - 1] << " " << pairs[i];
        ASSERT_STREQ(folded.c_str(), CString(pairs[i]).MakeLower());
    }
    EXPECT_EQ(kTwo ? "map\xD5\x5A" : "map\xD5z", FoldCase("MAP\xD5\x5A"));
    EXPECT_EQ(kTwo, FoldCase("\xA3\xC1") == FoldCase("\xA3\xE1")) << "wide letters";
}

TEST(MultibyteText, FoldsNothingBehindATextThatEndsWithinACharacter) {
    struct {
        alignas(std::string) char text[sizeof(std::string)];
        char behind[8] = "BEHIND";
    } memory;
    // As long as a string keeps in itself: its terminator is the last byte before the next object.
    auto* folded = new (memory.text) std::string(FoldCase("FOURTEEN BYTES\xD6"));
    EXPECT_EQ("fourteen bytes\xD6", *folded);
    EXPECT_STREQ("BEHIND", memory.behind);
    std::destroy_at(folded);
}

const CTime kNone(-1);

/// The time that a call reads, "none", or "throws" for the framework's exceptions.
template <class Call>
std::string Outcome(Call call) {
    CTime read(kNone);
    if (TerrascopeTest::Throws([&] { read = call(); })) {
        return "throws";
    }
    return read == kNone ? "none" : read.Format(kDateTimeForm).GetString();
}

TEST(DateTimeText, IsCutAtItsSeparators) {
    enum Form { FULL, DATE, TIME };
    const CString today = CTime::GetCurrentTime().Format("%Y-%m-%d 07:08:09");
    const struct {
        const char* text;
        Form form;
        const char *parsed, *fromFile;
    } cases[] = {
        {"2024-05-06 07:08:09", FULL, "2024-05-06 07:08:09", "2024-05-06 07:08:09"},
        {"2024-5x-6y 7 :8:9z", FULL, "2024-05-06 07:08:09", "2024-05-06 07:08:09"},
        {"2024-05-06 x", FULL, "none", "2024-05-06 00:00:00"},
        {"2024-05-06", FULL, "none", "none"},
        {"2024-05-06 07:08", FULL, "none", "none"},
        {"2024-05-6 :8:", FULL, "2024-05-06 00:08:00", "2024-05-06 00:08:00"},
        {"2024-05- 7:8:9", FULL, "throws", "throws"},  // an empty day is 0, not the hour
        {"1969-1-1 0:0:0", FULL, "throws", "throws"},
        {"2024-1-32 x", FULL, "none", "throws"},
        {"99999999999-1-1 0:0:0", FULL, "throws", "throws"},
        {"2024-02-30", DATE, "2024-03-01 00:00:00", "none"},
        {"7:8:9", TIME, today, "none"},
        {"7:8", TIME, "none", "none"},
    };
    CMemIniFile file("", true);
    for (const auto& c : cases) {
        const auto parse = [&] {
            CTime read(kNone);
            ParseDateTime(c.text, read, c.form == DATE, c.form == TIME);
            return read;
        };
        EXPECT_EQ(c.parsed, Outcome(parse)) << c.text;
        file.WriteString("s", "k", c.text);
        EXPECT_EQ(c.fromFile, Outcome([&] { return file.ReadDateTime("s", "k", kNone); }))
            << c.text;
    }
}

TEST(Colors, ComeBackWithinOneAndGoAllTheWayToBlackAndWhite) {
    for (COLORREF colour = 0x030000; colour <= 0xFFFFFF; colour += 4099) {
        float hue, lightness, saturation;
        RgbToHls(colour, hue, lightness, saturation);
        const COLORREF back = HlsToRgb(hue, lightness, saturation);
        ASSERT_NEAR(GetRValue(colour), GetRValue(back), 1) << std::hex << colour;
        ASSERT_NEAR(GetGValue(colour), GetGValue(back), 1) << std::hex << colour;
        ASSERT_NEAR(GetBValue(colour), GetBValue(back), 1) << std::hex << colour;
        for (const unsigned short all : {USHORT{100}, USHORT{60000}}) {
            ASSERT_EQ(RGB(0, 0, 0), DarkenColor(colour, all)) << std::hex << colour;
            ASSERT_EQ(RGB(255, 255, 255), LightenColor(colour, all)) << std::hex << colour;
        }
    }
    EXPECT_EQ(RGB(127, 255, 127), LightenColor(RGB(0, 255, 0), 50));
}

}  // namespace
}  // namespace Terrascope
