#include <startup/command_line.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(CommandLine, AVerbCountsOnlyAsTheLastThingOnTheLine) {
    const struct {
        const wchar16* line;
        ServerRoad road;
    } kCases[] = {
        {u"tarvok -RegServer", ServerRoad::kRegister},
        {u"tarvok /regserver", ServerRoad::kRegister},
        {u"tarvok -UNREGSERVER", ServerRoad::kUnregister},
        {u"tarvok --UnregServer", ServerRoad::kUnregister},
        {u"tarvok -Embedding", ServerRoad::kServe},
        {u"tarvok /automation", ServerRoad::kServe},
        {u"/usr/bin/tarvok -regserver", ServerRoad::kRegister},
        {u"tarvok a.cir -x/RegServer", ServerRoad::kRegister},
        {u"tarvok a.cir -Embedding", ServerRoad::kServe},
        // The first that matches decides, and each reaches to the end of the line.
        {u"tarvok -RegServer -UnregServer", ServerRoad::kUnregister},
        {u"tarvok -UnregServer -RegServer", ServerRoad::kRegister},
        {u"tarvok -RegServer ", ServerRoad::kCommandLine},
        {u"tarvok -RegServer now", ServerRoad::kCommandLine},
        {u"tarvok -RegServers", ServerRoad::kCommandLine},
        {u"tarvok - RegServer", ServerRoad::kCommandLine},
        {u"tarvok RegServer", ServerRoad::kCommandLine},
        {u"tarvok \"-RegServer\"", ServerRoad::kCommandLine},
        {u"tarvok -unknown word", ServerRoad::kCommandLine},
        {u"tarvok -unknown", ServerRoad::kCommandLine},
        {u"tarvok", ServerRoad::kServe},
        {u"  tarvok  ", ServerRoad::kServe},
        {u"\"/a path/tar-vok\"", ServerRoad::kServe},
        {u"-", ServerRoad::kServe},
        {u"", ServerRoad::kServe},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(ChooseRoad(c.line), c.road) << AString(c.line).ToNarrow(1).CStr();
}

TEST(CommandLine, TokensAreDividedByWhiteSpaceOutsideQuotes) {
    const struct {
        const wchar16* line;
        std::vector<AString> tokens;
    } kCases[] = {
        {u"", {}},
        {u" \t\n ", {}},
        {u"a", {u"a"}},
        {u"  a \t b\u3000c  ", {u"a", u"b", u"c"}},
        {u"a \"b c\" d", {u"a", u"\"b c\"", u"d"}},
        {u"a b\" \"c d", {u"a", u"b\" \"c", u"d"}},
        {u"a \"\" b", {u"a", u"\"\"", u"b"}},
        {u"a \"b c", {u"a", u"\"b c"}},
        {u"\"a\"\"b c\" d", {u"\"a\"\"b c\"", u"d"}},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(TokeniseCommandLine(c.line), c.tokens) << AString(c.line).ToNarrow(1).CStr();
}

TEST(CommandLine, EveryArgumentComesBackAsOneToken) {
    const struct {
        std::vector<const char*> arguments;
        std::vector<AString> tokens;
    } kCases[] = {
        {{"tarvok"}, {u"tarvok"}},
        {{"tarvok", "a b.cir", "-o", "out"}, {u"tarvok", u"\"a b.cir\"", u"-o", u"out"}},
        {{"tarvok", "\"a b.cir\""}, {u"tarvok", u"\"a b.cir\""}},
        {{"/my programs/tarvok", "x"}, {u"\"/my programs/tarvok\"", u"x"}},
        {{"tarvok", "", "x"}, {u"tarvok", u"\"\"", u"x"}},
        {{"tarvok", "tab\there", "line\nhere"}, {u"tarvok", u"\"tab\there\"", u"\"line\nhere\""}},
        {{}, {}},
    };
    for (const auto& c : kCases) {
        AString line = BuildCommandLine(static_cast<int>(c.arguments.size()), c.arguments.data());
        EXPECT_EQ(TokeniseCommandLine(line), c.tokens) << line.ToNarrow(1).CStr();
    }
    // Quotes that only one end of a blank would make one token of two; the user's quotes are taken as they
    // stand.
    const char* kOdd[] = {"tarvok", "a\" b"};
    EXPECT_EQ(BuildCommandLine(2, kOdd), AString(u"tarvok a\" b"));
}

TEST(CommandLine, AnArgumentWithBlanksIsNoVerb) {
    const char* kArguments[] = {"tarvok", "my circuit-RegServer"};
    EXPECT_EQ(ChooseRoad(BuildCommandLine(2, kArguments)), ServerRoad::kCommandLine);
}

} // namespace
