#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "TempFolder.h"
#include "Throws.h"
#include "terrascope/support/Colors.h"
#include "terrascope/support/DateTimeText.h"
#include "terrascope/support/MultibyteText.h"
#include "terrascope/support/TextConvert.h"

namespace Terrascope {
namespace {

TEST(TextConvert, GoesThereAndBackInTheActiveCodePage) {
    // U+4E2D U+6587; Latin letters with accents where the code page has no Chinese.
    const bool two = HasTwoByteCharacters();
    const wchar_t* wide = two ? L"\x4E2D\x6587x" : L"\xE9\xE8x";
    const char* utf8 = two ? "\xE4\xB8\xAD\xE6\x96\x87x" : "\xC3\xA9\xC3\xA8x";
    const char* ansi = two ? "\xD6\xD0\xCE\xC4x" : "\xE9\xE8x";

    const std::unique_ptr<char[]> toAnsi(WideToAnsi(wide));
    const std::unique_ptr<wchar_t[]> toWide(StringToWide(ansi));
    const std::unique_ptr<char[]> copied(StringToNewBuffer(ansi));
    EXPECT_STREQ(toAnsi.get(), ansi);
    EXPECT_STREQ(toWide.get(), wide);
    EXPECT_STREQ(copied.get(), ansi);
    EXPECT_STREQ(Utf8ToWide(utf8).get(), wide);
    EXPECT_STREQ(Utf8ToAnsi(utf8).get(), ansi);

    EXPECT_STREQ(Utf8ToWide("").get(), L"");
    EXPECT_STREQ(Utf8ToAnsi("").get(), "");
    EXPECT_EQ(Utf8ToAnsi(nullptr), nullptr);
    EXPECT_EQ(AnsiToWide(nullptr), nullptr);
}

TEST(TextConvert, TellsNumbersByTheirCharacters) {
    for (const char* text : {"", "-", ".", "-.", "1.5", "+3.", "007"}) {
        EXPECT_TRUE(IsNumeric(text)) << text;
    }
    for (const char* text : {"1.2.3", "1e5", "--1", " 1", "\xB2"}) {
        EXPECT_FALSE(IsNumeric(text)) << text;
    }
}

TEST(TextConvert, SplitsAndComparesWholeCharacters) {
    const bool two = HasTwoByteCharacters();
    using Parts = std::list<CString>;
    EXPECT_EQ(SplitString("|a||bc|", '|'), (Parts{"a", "bc"}));
    EXPECT_EQ(SplitString("", '|'), Parts{});
    EXPECT_EQ(SplitString("a\x81\x7C"
                          "b",
                          '|'),
              two ? Parts{"a\x81\x7C"
                          "b"}
                  : (Parts{"a\x81", "b"}));

    EXPECT_TRUE(EndsWithNoCase("Map.PNG", ".png"));
    EXPECT_TRUE(EndsWithNoCase("a", ""));
    EXPECT_FALSE(EndsWithNoCase("png", "a.png"));
    EXPECT_EQ(EndsWithNoCase("\xD5\x5C", "\\"), !two);

    EXPECT_EQ(ReplaceEscapes("a\\nb\\tc\\rd\\\\n\\x\\"), "a\nb\tc\rd\\\n\\x\\");
    EXPECT_EQ(ReplaceEscapes("\xD5\x5Cn"), two ? "\xD5\x5Cn" : "\xD5\n");
    EXPECT_EQ(FoldCase("\xD5\x5A"
                       "A"),
              two ? "\xD5\x5A"
                    "a"
                  : "\xD5"
                    "za");
}

TEST(DateTimeText, ReadsEachFormAndRefusesTheRest) {
    enum Form { FULL, DATE, TIME };
    const CString today = CTime::GetCurrentTime().Format("%Y-%m-%d ");
    struct {
        const char* text;
        Form form;
        CString read;  // empty: refused
    } const cases[] = {
        {"2024-05-06 07:08:09", FULL, "2024-05-06 07:08:09"},
        {"2024-5x-6y 7 :8:9z", FULL, "2024-05-06 07:08:09"},
        {"2024-05-06", FULL, ""},
        {"2024-05-06T07:08:09", FULL, ""},
        {"", FULL, ""},
        {"2024-05-06", DATE, "2024-05-06 00:00:00"},
        {"2024-02-30", DATE, "2024-03-01 00:00:00"},
        {"7:8:9", TIME, today + "07:08:09"},
        {"7:8", TIME, ""},
    };
    for (const auto& c : cases) {
        CTime read(-1);
        EXPECT_EQ(ParseDateTime(c.text, read, c.form == DATE, c.form == TIME), !c.read.IsEmpty())
            << c.text;
        EXPECT_EQ(read.Format(kDateTimeForm), c.read) << c.text;
    }
    CTime kept(17);
    EXPECT_FALSE(ParseDateTime("2024-05-06", kept, true, true));
    for (const char* text :
         {"1969-1-1 0:0:0", "2024-13-1 0:0:0", "2024-1-32 0:0:0", "2024-1-1 24:0:0",
          "2024-1-1 0:60:0", "2024-1-1 0:0:60", "x-y-z 0:0:0"}) {
        EXPECT_TRUE(Throws<COleException>([&] { ParseDateTime(text, kept, false, false); }))
            << text;
    }
    EXPECT_TRUE(
        Throws<CInvalidArgException>([&] { ParseDateTime("99999999999-1-1", kept, true, false); }));
    EXPECT_EQ(kept.GetTime(), 17);
}

TEST(Colors, ComeBackWithinOneFromHueLightnessAndSaturation) {
    for (COLORREF colour = 0; colour <= 0xFFFFFF; colour += 4099) {
        float hue, lightness, saturation;
        RgbToHls(colour, hue, lightness, saturation);
        ASSERT_TRUE(hue >= 0 && hue <= 360);
        const COLORREF back = HlsToRgb(hue, lightness, saturation);
        for (const int shift : {0, 8, 16}) {
            const int before = (colour >> shift) & 0xFF;
            const int after = (back >> shift) & 0xFF;
            ASSERT_LE(std::abs(after - before), 1) << std::hex << colour;
        }
    }
}

TEST(Colors, DarkenToBlackAndLightenToWhite) {
    for (const unsigned short all : {USHORT{100}, USHORT{60000}}) {
        EXPECT_EQ(DarkenColor(RGB(200, 100, 40), all), RGB(0, 0, 0));
        EXPECT_EQ(LightenColor(RGB(200, 100, 40), all), RGB(255, 255, 255));
    }
    EXPECT_EQ(DarkenColor(RGB(0, 0, 255), 50), RGB(0, 0, 127));
    EXPECT_EQ(LightenColor(RGB(0, 255, 0), 50), RGB(127, 255, 127));
}

}  // namespace
}  // namespace Terrascope
