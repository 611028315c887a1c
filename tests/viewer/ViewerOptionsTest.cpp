#include "viewer/ViewerOptions.h"

#include <gtest/gtest.h>

#include <sstream>

#include "viewer/script/JsonLine.h"
#include "viewer/script/TourScript.h"

namespace Viewer {
namespace {

TEST(TextValues, AreRefusedInOptionsAndToursWithWhatIsWanted) {
    // What the error names, and the option or the tour's line.
    std::istringstream cases(R"(unknown option "--zoom"|--zoom 3
unknown option "b"|--list a b
a map's name|--map
a layer number, not "two"|--map M --layer two
a layer number|--map M --layer 3x
a layer number|--map M --layer -1
X,Y in map units|--map M --center 1;2
X,Y in map units|--map M --center 1,nan
WIDTHxHEIGHT|--size 640
WIDTHxHEIGHT|--size 640x99999
seconds|--timeout 0
LOCAL=PROVIDER,PATH|--data LOCAL
LOCAL=PROVIDER,PATH|--data WEB=P,x
LOCAL=PROVIDER,PATH|--data LOCAL=,x
--map NAME|--snapshot a.png
--map NAME|--layer 1
one of tool, drag|fly 1,2
arrow|zoomin|tool Pan
X1,Y1 X2,Y2|drag 1,2
[moves]|drag 1,2 3,4 0
X,Y|click 5,6 7
X,Y|click 99999,1
NOTCHES|wheel 0 1,1
left|right|key F1
"wait"|wait 3
snapshot FILE|snapshot
drop FILE|drop)");
    for (std::string line; std::getline(cases, line);) {
        const std::string wanted = line.substr(0, line.rfind('|'));
        const std::string text = line.substr(line.rfind('|') + 1);
        std::istringstream words(text);
        const std::vector<std::string> arguments(std::istream_iterator<std::string>(words), {});
        std::string error;
        if (text.starts_with("--")) {
            EXPECT_FALSE(ParseOptions(arguments, error)) << line;
        } else {
            EXPECT_FALSE(ParseTour("wait\n\n" + text + "\nwait\n", error)) << line;
            EXPECT_EQ(0U, error.find("tour line 3: expected ")) << error;
        }
        EXPECT_NE(std::string::npos, error.find(wanted)) << line << ": " << error;
        EXPECT_EQ(std::string::npos, error.find('\n'));
    }
}

TEST(JsonLine, StaysOneValidLineWhateverTheTextsHold) {
    EXPECT_EQ("{\"b\":\"C:\\\\x\\n\\\"\\u0001\",\"a\":-2.3,\"t\":true,\"n\":7}\n",
              JsonLine({{"b", "C:\\x\n\"\x01"}, {"a", -2.34}, {"t", true}, {"n", 7}}));
    EXPECT_EQ("{\"map\":\"\xE5\x9B\xBE \xEF\xBF\xBD\xEF\xBF\xBD\"}\n",
              JsonLine({{"map", "\xE5\x9B\xBE \xB5\xD8"}}));
}

}  // namespace
}  // namespace Viewer
