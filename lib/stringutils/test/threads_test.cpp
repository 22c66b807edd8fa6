#include <stringutils/astring.h>

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

// Everything that keeps state between calls, with texts of this thread's own. Gives the number of wrong
// results.
int ConvertAndFormat(int thread) {
    int wrong = 0;
    const auto check = [&wrong](bool good) { wrong += !good; };
    for (int round = 0; round < 300; ++round) {
        std::u16string units;
        for (int i = 0; i < 50 + 40 * (round % 100); ++i)
            units += i % 7 == thread ? u'\u3042' : static_cast<wchar16>(u'a' + (i + thread) % 26);
        for (int encoding : {kEncodingDefault, kEncodingUtf8, kEncodingShiftJis}) {
            const AStringBuf narrow = AString(units).ToNarrow(encoding);
            AString back;
            back.Assign(encoding, narrow, narrow.GetLength());
            check(back == units);
        }
        AString western;
        western.Assign(kEncodingWestern, thread ? "\x80\xE9" : "\x81\xE8", -1);
        check(western == (thread ? u"\u20AC\u00E9" : u"\u0081\u00E8"));

        AString text;
        text.Format(u"%s %d %.3f", units.c_str(), thread, 0.5 + thread);
        check(text == units + (thread ? u" 1 1.500" : u" 0 0.500"));
        const MessageArgument args[] = {thread ? u"one" : u"zero"};
        FormatSystemMessage(0x2400, thread ? u"<%1>" : u"<%1", 0, 0, text, args);
        check(text == (thread ? u"<one>" : u"<zero"));
        FormatSystemMessage(0x2400, thread ? u"%" : u"ok", 0, 0, text, args);
        check(GetLastError() == (thread ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS));
    }
    return wrong;
}

TEST(Threads, ConvertAndFormatAtTheSameTime) {
    int wrong[2] = {-1, -1};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([i, &wrong] { wrong[i] = ConvertAndFormat(i); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong[0], 0);
    EXPECT_EQ(wrong[1], 0);
}

} // namespace
