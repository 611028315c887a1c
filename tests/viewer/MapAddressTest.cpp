#include "viewer/MapAddress.h"

#include <gtest/gtest.h>

#include "viewer/ServerState.h"

namespace Viewer {
namespace {

TEST(MapAddress, IsOfAWebServerAndShowsNoSecrets) {
    const struct {
        const char *text, *address, *shown;  // the address, or what is wrong with it
    } cases[] = {
        {" https://h/{z}/{x}/{y}@2x.png#name=A\n", "https://h/{z}/{x}/{y}@2x.png#name=A",
         "https://h/{z}/{x}/{y}@2x.png#name=A"},
        {"HTTP://u:p@h:8080/t.json?key=k#name=A", "HTTP://u:p@h:8080/t.json?key=k#name=A",
         "HTTP://h:8080/t.json"},
        {"https://h?key=k", "https://h?key=k", "https://h"},
        {"ftp://u:p@h/a?key=k", "begins with http", "ftp://h/a"},
        {"file:///C:/maps", "begins with http", "file:///C:/maps"},
        {"https:///a?key=k", "names no server", "https:///a"},
        {"http://", "names no server", "http://"},
        {"http://h/a\nb", "names no server", "http://h/a\nb"},
    };
    for (const auto& [text, address, shown] : cases) {
        EXPECT_TRUE(IsAddress(text)) << text;
        std::string error;
        const auto read = ReadAddress(text, error);
        if (read) {
            EXPECT_EQ(address, *read);
            EXPECT_EQ(shown, WithoutSecrets(*read));
        } else {
            EXPECT_NE(std::string::npos, error.find(address)) << error;
            EXPECT_EQ(0U, error.find("\"" + std::string(shown) + "\"")) << error;
        }
        EXPECT_EQ(error.empty(), read.has_value());
    }
    for (const char* text :
         {"C:\\maps", "C://maps", "maps/a.mbtiles", "h/t.json", "a b://h", "://h"}) {
        EXPECT_FALSE(IsAddress(text)) << text;
        std::string error;
        EXPECT_FALSE(ReadAddress(text, error)) << text;
    }
    EXPECT_EQ("h/t.json", WithoutSecrets("h/t.json?key=k")) << "its scheme was forgotten";
}

TEST(MapAddress, IsShownByTheProviderThatKeepsOrByTheServersAlone) {
    const MapSource kept = SourceOfAddress("https://h/a?k", "C:\\kept");
    EXPECT_EQ("LOCAL DBTileMapInfoProvider C:\\kept",
              kept.data.role + " " + kept.data.name + " " + kept.data.path);
    EXPECT_EQ("REMOTE WebTileMapInfoProvider https://h/a?k",
              kept.remote.role + " " + kept.remote.name + " " + kept.remote.path);
    const MapSource alone = SourceOfAddress("https://h/a?k", "");
    EXPECT_EQ("WebTileMapInfoProvider https://h/a?k", alone.data.name + " " + alone.data.path);
    EXPECT_EQ(MapSource::kNoProvider, alone.remote.name);
    // The published value for "a"; another one would orphan what users have kept.
    EXPECT_EQ("af63dc4c8601ec8c", FolderNameOf("a"));
    EXPECT_NE(FolderNameOf("https://h/a?k=1"), FolderNameOf("https://h/a?k=2"));
}

TEST(ServerStatus, IsOneLineOfWhatIsWrong) {
    const struct {
        int kind;
        const char *text, *alone, *kept;
    } cases[] = {
        {0, "", "", ""},
        {1, "h: status 503", "h: status 503", "h: status 503"},
        {2, "h: refused", "h: refused", "offline, from kept tiles (h: refused)"},
        {2, "", "a server fails", "offline, from kept tiles"},
        {7, "", "a server fails", "a server fails"},
    };
    for (const auto& [kind, text, alone, kept] : cases) {
        EXPECT_EQ(alone, ServerStatusText({kind, text}, false));
        EXPECT_EQ(kept, ServerStatusText({kind, text}, true));
    }
}

}  // namespace
}  // namespace Viewer
