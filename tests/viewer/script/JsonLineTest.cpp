#include "viewer/script/JsonLine.h"

#include <gtest/gtest.h>

namespace Viewer {
namespace {

TEST(JsonLine, StaysOneValidLineWhateverTheTextsHold) {
    EXPECT_EQ("{\"b\":\"C:\\\\x\\n\\\"\\u0001\",\"a\":-2.3,\"t\":true,\"n\":7}\n",
              JsonLine({{"b", "C:\\x\n\"\x01"}, {"a", -2.34}, {"t", true}, {"n", 7}}));
    EXPECT_EQ("{\"map\":\"\xE5\x9B\xBE \xEF\xBF\xBD\xEF\xBF\xBD\"}\n",
              JsonLine({{"map", "\xE5\x9B\xBE \xB5\xD8"}}));
}

}  // namespace
}  // namespace Viewer
