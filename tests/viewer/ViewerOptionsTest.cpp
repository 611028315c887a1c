#include "viewer/ViewerOptions.h"

#include <gtest/gtest.h>

#include <ostream>

namespace Viewer {
namespace {

TEST(ViewerOptions, TakesWhatIsSaid) {
    std::string error;
    const auto options = ParseOptions(
        {"--map", "Blue Marble", "--layer", "3", "--center", "-12.5,4e1", "--size", "640x480",
         "--snapshot", "a b.png", "--timeout", "2.5", "--data", "local=Split,C:\\a,b"},
        error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(options->map, "Blue Marble");
    EXPECT_EQ(options->layer, 3);
    EXPECT_EQ(options->center, (MapPoint{-12.5, 40}));
    EXPECT_EQ(options->size, (PixelSize{640, 480}));
    EXPECT_EQ(options->snapshotFile, "a b.png");
    EXPECT_EQ(options->timeoutSeconds, 2.5);
    ASSERT_EQ(options->data.size(), 1U);
    EXPECT_EQ(options->data[0].name, "Split");
    EXPECT_EQ(options->data[0].path, "C:\\a,b");
    EXPECT_TRUE(options->IsScripted());
}

TEST(ViewerOptions, AreAllOptional) {
    std::string error;
    const auto options = ParseOptions({}, error);
    ASSERT_TRUE(options);
    EXPECT_FALSE(options->IsScripted());
}

struct WrongCase {
    std::vector<std::string> arguments;
    std::string_view expectedInError;
};

void PrintTo(const WrongCase& wrong, std::ostream* out) {
    for (const std::string& argument : wrong.arguments) {
        *out << '[' << argument << ']';
    }
}

class WrongViewerOptions : public testing::TestWithParam<WrongCase> {};

TEST_P(WrongViewerOptions, AreRefusedWithWhatIsWanted) {
    std::string error;
    EXPECT_FALSE(ParseOptions(GetParam().arguments, error));
    EXPECT_NE(error.find(GetParam().expectedInError), std::string::npos) << error;
    EXPECT_EQ(error.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Each, WrongViewerOptions,
    testing::Values(WrongCase{{"--zoom", "3"}, "unknown option \"--zoom\""},
                    WrongCase{{"map.ini"}, "unknown option \"map.ini\""},
                    WrongCase{{"--map"}, "a map's name"}, WrongCase{{"--map", ""}, "a map's name"},
                    WrongCase{{"--map", "M", "--layer", "two"}, "a layer number, not \"two\""},
                    WrongCase{{"--map", "M", "--layer", "3x"}, "a layer number"},
                    WrongCase{{"--map", "M", "--layer", "-1"}, "a layer number"},
                    WrongCase{{"--map", "M", "--center", "1;2"}, "X,Y in map units"},
                    WrongCase{{"--map", "M", "--center", "1,nan"}, "X,Y in map units"},
                    WrongCase{{"--size", "640"}, "WIDTHxHEIGHT"},
                    WrongCase{{"--size", "640x0"}, "WIDTHxHEIGHT"},
                    WrongCase{{"--size", "640x99999"}, "WIDTHxHEIGHT"},
                    WrongCase{{"--timeout", "0"}, "seconds"},
                    WrongCase{{"--data", "LOCAL"}, "LOCAL=PROVIDER,PATH"},
                    WrongCase{{"--data", "WEB=P,x"}, "LOCAL=PROVIDER,PATH"},
                    WrongCase{{"--data", "LOCAL=,x"}, "LOCAL=PROVIDER,PATH"},
                    WrongCase{{"--snapshot", "a.png"}, "--map NAME"},
                    WrongCase{{"--layer", "1"}, "--map NAME"}));

}  // namespace
}  // namespace Viewer
