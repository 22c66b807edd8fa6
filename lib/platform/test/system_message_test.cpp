#include <platform/result.h>
#include <platform/system_message.h>

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace platform {
namespace {

constexpr std::uint32_t kFromString = FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY;

std::u16string Expand(const std::u16string& format, const std::vector<MessageArgument>& args = {},
                      std::uint32_t flags = kFromString) {
    std::u16string out = u"before";
    const std::size_t count = FormatMessage(flags, format.c_str(), 0, 0, out, 4096, args);
    EXPECT_EQ(count, out.size());
    return out;
}

TEST(FormatMessage, ExpandsInsertsAndEscapes) {
    const struct {
        const char16_t* format;
        std::vector<MessageArgument> args;
        const char16_t* expected;
    } cases[] = {
        {u"no inserts", {}, u"no inserts"},
        {u"%1 and %2", {u"a", u"b"}, u"a and b"},
        {u"%2%1%2", {u"a", u"b"}, u"bab"},
        {u"%1", {u"%2 stays"}, u"%2 stays"},
        {u"%11", {u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9", u"10", u"11"}, u"11"},
        {u"%1!s!|%1!5s!|%1!-5s!|%1!.2s!|%1!S!", {u"abc"}, u"abc|  abc|abc  |ab|abc"},
        {u"%1!d!|%1!05i!|%1!+d!|%2!x!|%2!#X!|%2!u!|%2!o!", {-42, 255}, u"-42|-0042|-42|ff|0XFF|255|377"},
        {u"%1!d!|%1!4d!|%1!x!", {u"-1"}, u"-1|  -1|ffffffff"},
        {u"%1!I64d!|%1!lld!", {std::int64_t{1} << 40}, u"1099511627776|1099511627776"},
        {u"%1|%1!3s!", {7}, u"7|  7"},
        {u"%1!c!%2!c!", {u"xyz", 0x41}, u"xA"},
        {u"%1!*s!|%1!-*.*s!|%3", {5, 2, u"abc"}, u"    2|ab   |abc"},
        {u"100%% a%nb%rc%td%be%.f%!g% h%q", {}, u"100% a\nb\rc\td e.f!g hq"},
        {u"line\nbreak", {}, u"line\nbreak"},
        {u"ends%0 here", {}, u"ends"},
        {u"%0", {}, u""},
    };
    for (const auto& [format, args, expected] : cases) {
        EXPECT_EQ(Expand(format, args), expected) << testing::PrintToString(std::u16string(format));
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    }
}

TEST(FormatMessage, CallsABadFormatAnInvalidParameter) {
    const struct {
        const char16_t* format;
        std::vector<MessageArgument> args;
    } cases[] = {
        {u"half a percent %", {}},
        {u"%1", {}},
        {u"%1 %3", {u"a", u"b"}},
        {u"%1!bad", {u"a"}},
        {u"%1!", {u"a"}},
        {u"%1!!", {u"a"}},
        {u"%1!ss!", {u"a"}},
        {u"%1!n!", {u"a"}},
        {u"%1!f!", {1}},
        {u"%1!\u20ACd!", {1}},
        {u"%1!d!", {u"word"}},
        {u"%1!d!", {u""}},
        {u"%1!d!", {u"99999999999999999999"}},
        {u"%1!*d!", {1}},
        {u"%1!*d!", {u"wide", 1}},
    };
    for (const auto& [format, args] : cases) {
        EXPECT_EQ(Expand(format, args), u"") << testing::PrintToString(std::u16string(format));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER) << testing::PrintToString(std::u16string(format));
    }
}

TEST(FormatMessage, StopsAtItsCapacity) {
    const std::u16string most(4095, u'm');
    EXPECT_EQ(Expand(most), most);
    EXPECT_EQ(Expand(u"%1", {most.c_str()}), most);
    const std::u16string more = most + u"m";
    const struct {
        std::u16string format;
        std::vector<MessageArgument> args;
    } cases[] = {{more, {}},
                 {u"%1", {more.c_str()}},
                 {u"%1!4096s!", {u""}},
                 {u"%1!.2147483647d!", {1}},
                 {u"%1!-99999999999999999999s!", {u"x"}},
                 {u"%1!*s!", {std::int64_t{-1} << 62, u"x"}}};
    for (const auto& [format, args] : cases) {
        EXPECT_EQ(Expand(format, args), u"");
        EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    }
}

TEST(FormatMessage, LeavesInsertsStandingWhereAsked) {
    EXPECT_EQ(Expand(u"%1 %2!5d! %%%n", {}, FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_IGNORE_INSERTS),
              u"%1 %2!5d! %\n");
    // Arguments count only with their flag.
    EXPECT_EQ(Expand(u"%1", {u"a"}, FORMAT_MESSAGE_FROM_STRING), u"");
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(FormatMessage, RefusesFlagsThatItDoesntKnow) {
    for (std::uint32_t flags : {0u, 0x100u | kFromString, 0x800u,
                                FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_FROM_STRING, 80u | kFromString}) {
        EXPECT_EQ(Expand(u"x", {}, flags), u"") << flags;
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

TEST(FormatMessage, MayWriteOverItsOwnArgument) {
    std::u16string out = u"inner";
    const MessageArgument args[] = {out.c_str()};
    FormatMessage(kFromString, u"<%1>", 0, 0, out, 4096, args);
    EXPECT_EQ(out, u"<inner>");
}

TEST(FormatMessage, HasATextForEveryCodeOfTheProject) {
    const auto text = [](std::uint32_t id) {
        std::u16string out;
        FormatMessage(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, id, 0, out, 4096, {});
        return out;
    };
    for (HRESULT code : {S_OK, S_FALSE, E_NOTIMPL, E_NOINTERFACE, E_POINTER, E_FAIL, E_UNEXPECTED,
                         RPC_E_DISCONNECTED, RPC_E_INVALID_DATA, DISP_E_MEMBERNOTFOUND, DISP_E_UNKNOWNNAME,
                         DISP_E_BADPARAMCOUNT, DISP_E_TYPEMISMATCH, CLASS_E_NOAGGREGATION,
                         REGDB_E_CLASSNOTREG, E_ACCESSDENIED, E_OUTOFMEMORY, E_INVALIDARG})
        EXPECT_FALSE(text(static_cast<std::uint32_t>(code)).empty()) << std::hex << code;
    // A result code that carries an error has that error's text.
    EXPECT_EQ(text(static_cast<std::uint32_t>(E_INVALIDARG)), text(ERROR_INVALID_PARAMETER));
    EXPECT_NE(text(ERROR_INVALID_PARAMETER), text(ERROR_ACCESS_DENIED));
    EXPECT_EQ(text(0x80041234), u"");
    EXPECT_EQ(GetLastError(), ERROR_MR_MID_NOT_FOUND);
}

TEST(LastError, BelongsToItsThread) {
    SetLastError(5);
    std::uint32_t other = 1;
    std::thread([&other] {
        other = GetLastError();
        SetLastError(6);
    }).join();
    EXPECT_EQ(other, 0u);
    EXPECT_EQ(GetLastError(), 5u);
}

} // namespace
} // namespace platform
