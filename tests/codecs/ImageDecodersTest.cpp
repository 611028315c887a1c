#include "terrascope/tiles/ImageDecoders.h"

#include <gtest/gtest.h>

#include "terrascope/tiles/ImageDecoding.h"
#include "tests/display/DisplayFixture.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/ScriptedProvider/TileBitmap.h"

namespace TerrascopeTest {
namespace {

using namespace Terrascope;

std::vector<std::uint8_t> BytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

TEST(ImageDecoders, LoadsWhatFitsAndNamesWhatDoesNot) {
    const LogCapture log;
    const LibraryFolder library;
    CImageDecoders::Installed();
    EXPECT_EQ(1, log.Count("no image decoder in")) << log.Text();
    for (const char* file : {"AwkwardDecoder.dll", "LaterDecoder.dll", "PartialDecoder.dll"}) {
        library.AddDecoder(file);
    }
    library.Folder().WriteFile(std::string(LibraryFolder::kDecoderFolder) + "\\Junk.dll", "junk");
    CImageDecoders::Installed();
    EXPECT_EQ(1, log.Count("AwkwardDecoder.dll")) << log.Text();
    EXPECT_EQ(1, log.Count("LaterDecoder.dll': it was built for another version"));
    EXPECT_EQ(1, log.Count("PartialDecoder.dll': it lacks a function"));
    EXPECT_EQ(1, log.Count("Junk.dll': it cannot be loaded"));
    CImageDecoders::Installed();
    EXPECT_EQ(2, log.Count("Junk.dll")) << "it may be another file by now";
    ::DeleteFileA(
        (library.Folder() / (std::string(LibraryFolder::kDecoderFolder) + "\\Junk.dll")).c_str());
    const auto decoders = CImageDecoders::Installed();
    EXPECT_EQ(decoders, CImageDecoders::Installed()) << "loaded again";
    CImageDecoders::ReleaseInstalled();
}

class AwkwardDecoders : public Display {
protected:
    AwkwardDecoders() {
        library.AddDecoder("AwkwardDecoder.dll");
        Load("FAST=1\r\nCODECS=1\r\n");
    }
    void OpenWithTiles(const std::string& file) {
        display.reset();
        script->SetFile(BytesOf(file));
        Open(3);
    }
};

TEST_F(AwkwardDecoders, CostTheirOwnPictureAndNoOther) {
    const auto decoders = CImageDecoders::Installed();
    const CSize tile(64, 64);
    const std::pair<std::string, bool> cases[] = {
        {"AWKG", true},   {"AWKZ, an empty size", false},    {"AWKL, a huge size", false},
        {"AWKF", false},  {"AWKE, throws early", false},     {"AWKT, throws late", false},
        {"<AWKG", false}, {"another decoder's file", false},
    };
    for (const auto& [file, decoded] : cases) {
        const DecodedImage image = DecodeImage(BytesOf(file), tile, decoders.get());
        ASSERT_EQ(decoded, image.picture != nullptr) << file;
        EXPECT_EQ(decoded, image.failure == nullptr) << file;
        EXPECT_TRUE(!decoded || image.picture->Row(63)[63] == 0xFFFFFFFF) << file;
    }
    // The size that the library has read itself counts; GDI+ decodes.
    const auto bmp = MakeBitmapFile(64, 64, [](int x, int y) { return RGB(x, y, 7); });
    const DecodedImage image = DecodeImage(bmp, tile, decoders.get());
    ASSERT_NE(nullptr, image.picture);
    EXPECT_EQ(0xFF050907U, image.picture->Row(9)[5]);
}

TEST_F(AwkwardDecoders, AreAskedOnlyWhereTheSettingsHaveThem) {
    for (const auto& [lines, colour] :
         {std::pair("FAST=1\r\nCODECS=1\r\n", 0xFFFFFFU), {"FAST=1\r\n", kWaitingGrey}}) {
        Load(lines);
        OpenWithTiles("AWKG");
        AwaitPicture();
        EXPECT_EQ(colour, PaintedAt(100, 60)) << lines;
    }
}

}  // namespace
}  // namespace TerrascopeTest
