// The program's parts by themselves.

#include "../source/job_events.h"
#include "../source/message_text.h"
#include "../source/output.h"
#include "../source/progress_bar.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace {

AString MessageForm(std::u16string_view arguments) {
    AString form(u"$begin 'message'\n\tOrvaneMessageFunc(");
    form += arguments;
    form += u")\n$end 'message'\n";
    return form;
}

// A library of messages 1 ("%2 before %1") and 2, which can't be expanded.
class TwoMessages final : public MessageLib, public MessageModule {
public:
    const MessageModule* GetLib(std::int32_t libId) override { return libId == 0 ? this : nullptr; }
    bool LoadString(std::int32_t messageId, AString& format) const override {
        if (messageId == 1)
            format = AString(u"%2 before %1");
        else if (messageId == 2)
            format = AString(u"%1 %");
        return messageId == 1 || messageId == 2;
    }
};

TEST(MessageTextTest, ShowsTheBuiltTextElseTheOneOfTheLibraryElseThePlainOne) {
    struct Case {
        std::u16string_view arguments;
        int severity;
        std::u16string_view text;
    };
    TwoMessages library;
    for (const Case& c : std::initializer_list<Case>{
             {u"elementid='', elementtype=6, propertyname='', severity=1, libid=7, messageid=1, helpid=1, "
              u"message='', maxargno=0, istransformed=true, numargs=1, stringarg0='it\\'s \\\\ (bad), a=b', "
              u"argtype0=5",
              1, u"it's \\ (bad), a=b"},
             {u"elementid='', elementtype=6, propertyname='', severity=1, libid=0, messageid=2, helpid=1, "
              u"message='', maxargno=0, istransformed=true, numargs=1, stringarg0='it\\'s \\\\ (bad), a=b', "
              u"argtype0=5",
              1, u"it's \\ (bad), a=b"},
             {u"messageid=1, stringarg0='plain', istransformed=true, message='built (a, b)', severity=0", 0,
              u"built (a, b)"},
             {u"messageid=1, stringarg1='b', stringarg0='a', istransformed=true, maxargno=1", 0,
              u"b before a"},
             {u"messageid=2, new='x', flag=true, istransformed=true, maxargno=0, stringarg0='two\\\nlines', "
              u"severity=4",
              4, u"two\nlines"}}) {
        MessageText message;
        ASSERT_TRUE(ReadMessageText(MessageForm(c.arguments), library, message))
            << AString(c.arguments).ToCString();
        EXPECT_EQ(message.severity, c.severity);
        EXPECT_EQ(message.text, c.text) << message.text.ToCString();
    }
}

TEST(MessageTextTest, RefusesWhatIsNoMessage) {
    TwoMessages library;
    AString whole =
        MessageForm(u"messageid=9, severity=1, istransformed=true, maxargno=0, stringarg0='a\\'b'");
    MessageText message;
    for (std::size_t length = 0; length <= whole.find(u"'a"); ++length)
        EXPECT_FALSE(ReadMessageText(whole.substr(0, length), library, message)) << length;
    for (std::u16string_view other : {u"", u"text", u"$begin 'message'\n$end 'message'\n"})
        EXPECT_FALSE(ReadMessageText(other, library, message));
    EXPECT_FALSE(ReadMessageText(MessageForm(u"messageid=9, severity=1"), library, message));
    EXPECT_EQ(message.severity, kSeverityInformation);
    EXPECT_TRUE(ReadMessageText(whole, library, message));
}

TEST(MessageTextTest, ABouncedMessageComesBackWithItsWords) {
    TwoMessages library;
    AString built = BuildMessageForm(
        MessageForm(
            u"messageid=1, severity=1, istransformed=true, maxargno=1, stringarg0='a', stringarg1='b'"),
        library);
    EXPECT_NE(built.find(u"message='b before a'"), AString::npos) << built.ToCString();
    EXPECT_NE(built.find(u"severity=1"), AString::npos);
    for (std::u16string_view form : {u"", u"garbage",
                                     u"$begin 'message'\n\tOrvaneMessageFunc(messageid=2, "
                                     u"istransformed=true, stringarg0='a')\n$end 'message'\n"})
        EXPECT_TRUE(BuildMessageForm(form, library).empty());
}

TEST(ProgressBarTest, FitsTheTerminalAndSaysHundredOnlyAtTheEnd) {
    struct Case {
        double progress, seconds;
        int columns;
        const char* line;
    };
    for (const Case& c : {Case{0, 0, 40, "[-------------------------]   0 %  0:00"},
                          {0.5, 61, 30, "[#######--------]  50 %  1:01"},
                          {0.9999, 3600, 32, "[#############-]  99 %  1:00:00"},
                          {1, 59.9, 30, "[###############] 100 %  0:59"},
                          {7, 5, 22, "100 %  0:05"},
                          {-3, 5, 0, "  0 %  0:05"}}) {
        std::string line = ProgressLine(c.progress, c.seconds, c.columns);
        EXPECT_EQ(line, c.line);
    }
    EXPECT_LT(ProgressLine(0.3, 0, 25).size(), 25u);
}

class EventQueueTest : public testing::Test {
protected:
    bool Readable() {
        pollfd wait{m_Queue.Descriptor(), POLLIN, 0};
        return poll(&wait, 1, 0) == 1;
    }
    job::EventQueue m_Queue;
};

TEST_F(EventQueueTest, NothingOvertakesTheStart) {
    m_Queue.PushFromJob(job::Message{u"early"});
    EXPECT_FALSE(Readable());
    EXPECT_TRUE(m_Queue.Take().empty());
    m_Queue.Open(job::Started{7});
    EXPECT_TRUE(Readable());
    auto events = m_Queue.Take();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(std::get<job::Started>(events[0]).handle, 7);
    EXPECT_EQ(std::get<job::Message>(events[1]).form, u"early");
    EXPECT_FALSE(Readable());
}

TEST_F(EventQueueTest, OnlyTheNewestOfTwoProgressValuesInARowIsKept) {
    m_Queue.Open(job::Started{1});
    for (double value : {0.1, 0.2})
        m_Queue.PushFromJob(job::Progress{value});
    m_Queue.PushFromJob(job::Message{u"between"});
    m_Queue.PushFromJob(job::Progress{0.3});
    auto events = m_Queue.Take();
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(std::get<job::Progress>(events[1]).value, 0.2);
    EXPECT_EQ(std::get<job::Progress>(events[3]).value, 0.3);
}

TEST_F(EventQueueTest, AFullQueueHoldsTheJobUntilItIsEmptiedOrGivenUp) {
    m_Queue.Open(job::Started{1});
    constexpr int kMany = 5000;
    std::thread job([this] {
        for (int i = 0; i < kMany; ++i)
            m_Queue.PushFromJob(job::Message{std::u16string(1000, u'x')});
        m_Queue.PushFromJob(job::Done{0});
    });
    int messages = 0;
    for (bool done = false; !done;) {
        auto events = m_Queue.Take();
        EXPECT_LT(events.size(), 1000u);
        for (const job::Event& event : events) {
            messages += std::holds_alternative<job::Message>(event);
            done |= std::holds_alternative<job::Done>(event);
        }
    }
    job.join();
    EXPECT_EQ(messages, kMany);

    std::thread other([this] {
        for (int i = 0; i < kMany; ++i)
            m_Queue.PushFromJob(job::Message{u"x"});
    });
    m_Queue.DropJob();
    other.join(); // ends though nobody takes anything
    m_Queue.Take();
    m_Queue.Push(job::Aborted{});
    EXPECT_EQ(m_Queue.Take().size(), 1u);
}

TEST(OutputTest, KeepsWhatAnInterruptedWriteHasLeftOver) {
    int ends[2];
    int interrupt[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(interrupt, O_CLOEXEC), 0);
    Output output(ends[1], interrupt[0]);
    std::string text;
    for (int i = 0; text.size() < 300'000; ++i)
        text += std::to_string(i) + "\n";
    output.Write(text);
    ASSERT_EQ(write(interrupt[1], "!", 1), 1);
    EXPECT_FALSE(output.Flush());
    EXPECT_EQ(output.Error(), 0);

    char taken;
    ASSERT_EQ(read(interrupt[0], &taken, 1), 1);
    std::string got;
    std::thread reader([&] {
        char part[1000];
        for (ssize_t count; (count = read(ends[0], part, sizeof part)) > 0;)
            got.append(part, static_cast<std::size_t>(count));
    });
    EXPECT_TRUE(output.Flush());
    close(ends[1]);
    reader.join();
    EXPECT_TRUE(got == text);
    for (int end : {ends[0], interrupt[0], interrupt[1]})
        close(end);
}

TEST(OutputTest, AnErrorIsKeptAndEndsTheWriting) {
    int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    Output output(full);
    output.Write("x");
    EXPECT_FALSE(output.Flush());
    EXPECT_EQ(output.Error(), ENOSPC);
    output.Write("y");
    EXPECT_FALSE(output.Flush());
    close(full);
}

} // namespace
