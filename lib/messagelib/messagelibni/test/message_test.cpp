#include <messagelibni/message_manager.h>
#include <messagelibni/orvane_message.h>

#include <streamio/block.h>

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

std::string Narrow(const AString& text) {
    return std::string(text.ToNarrow(1).CStr());
}

OrvaneMessage Plain() {
    return {2, 0, kPlainTextMessage, 1, 6, AString(), AString()};
}

std::string TextForm(const OrvaneMessage& message) {
    AString text;
    return Narrow(message.ToText(text));
}

// One library with the formats that a test gives.
class Formats final : public MessageLib, public MessageModule {
public:
    std::map<std::int32_t, AString> formats;

    const MessageModule* GetLib(std::int32_t libId) override { return libId == 0 ? this : nullptr; }
    bool LoadString(std::int32_t messageId, AString& format) const override {
        auto found = formats.find(messageId);
        if (found == formats.end()) {
            SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
            return false;
        }
        format = found->second;
        return true;
    }
};

TEST(MessageTest, TheTextFormHasEveryKeyInItsOrder) {
    OrvaneMessage message(1, 3, 24464, 1, 6, AString(u"R1"), AString(u"it's"));
    EXPECT_EQ(
        TextForm(message),
        "$begin message\n"
        "\tOrvaneMessageFunc(elementid='R1', elementtype=6, propertyname='it\\'s', severity=1, libid=3, "
        "messageid=24464, helpid=1, message='', maxargno=0, istransformed=true, numargs=0)\n"
        "$end message\n");
    message.AddString(AString(u"text"), 3);
    EXPECT_NE(
        TextForm(message).find("maxargno=3, istransformed=true, numargs=1, stringarg3='text', argtype3=5)"),
        std::string::npos)
        << TextForm(message);
}

TEST(MessageTest, EveryKindOfArgumentHasItsText) {
    OrvaneMessage message = Plain();
    message.AddInt(-5, 0);
    message.AddLong(2147483647, 1);
    message.AddBool(true, 2);
    message.AddFloat(0.5f, 3);
    message.AddDouble(0.1, 4);
    message.AddString(AString(u"x"), 5);
    message.AddComplex({1, -2}, 6);
    EXPECT_FALSE(message.AddString(AString(u"y"), -1));
    message.Transform();
    const char* texts[] = {"-5",
                           "2147483647",
                           "1",
                           "5.0000000000000000e-01",
                           "1.00000000000000005551115123125783e-01",
                           "x",
                           "1.00000000000000000000000000000000e+00 -2.00000000000000000000000000000000e+00i"};
    for (int index = 0; index < 7; ++index) {
        ASSERT_NE(message.GetArgumentText(index), nullptr);
        EXPECT_EQ(Narrow(*message.GetArgumentText(index)), texts[index]);
    }
    // Through the text form a boolean stays one and all others become strings.
    OrvaneMessage read(0, 0, 0, 0, 0, AString(), AString());
    AString text;
    ASSERT_TRUE(read.FromText(message.ToText(text)));
    EXPECT_EQ(read.GetReadStatus(), 0);
    EXPECT_EQ(read.m_Severity, 2);
    EXPECT_EQ(read.m_MessageId, kPlainTextMessage);
    EXPECT_EQ(read.m_ElementType, 6);
    std::string again = TextForm(read);
    for (int index = 0; index < 7; ++index) {
        ASSERT_NE(read.GetArgumentText(index), nullptr);
        EXPECT_EQ(Narrow(*read.GetArgumentText(index)), texts[index]);
        std::string kind = "argtype" + std::to_string(index) + (index == 2 ? "=2" : "=5");
        EXPECT_NE(again.find(kind), std::string::npos) << again;
    }
    // And another language says it in an order of its own.
    Formats german;
    german.formats = {{kPlainTextMessage, AString(u"%7, %6, %5, %4, %3, %2 und %1!5d!")},
                      {kTrueMessage, AString(u"wahr")}};
    AString error;
    ASSERT_TRUE(read.BuildMessage(error, &german)) << Narrow(error);
    auto list = [&texts](const char* truth) {
        return std::string(texts[6]) + ", x, " + texts[4] + ", " + texts[3] + ", " + truth + ", " + texts[1] +
               " und    -5";
    };
    EXPECT_EQ(Narrow(read.m_Message), list("wahr"));
}

TEST(MessageTest, ReplacingAndRemovingArgumentsLeavesNothingOfTheOldOnes) {
    OrvaneMessage message = Plain();
    message.AddBool(true, 0);
    message.Transform();
    EXPECT_TRUE(message.IsTransformed());
    message.AddString(AString(u"only this"), 0);
    EXPECT_FALSE(message.IsTransformed());
    EXPECT_NE(TextForm(message).find("numargs=1, stringarg0='only this', argtype0=5)"), std::string::npos);
    message.RemoveArgument(0);
    EXPECT_NE(TextForm(message).find("maxargno=0, istransformed=true, numargs=0)"), std::string::npos);
}

TEST(MessageTest, ReadingTakesWhatIsThereAndRefusesWhatIsNoMessage) {
    struct Row {
        const char16_t* text;
        int status;
        std::string argument; // of index 0; "-" for none
    };
    const Row rows[] = {
        {u"$begin message\nf(severity=4)\n$end message\n", 0, "-"},
        {u"$begin message\nf(istransformed=true, maxargno=0, stringarg0='a', argtype0=5)\n$end message\n", 0,
         "a"},
        {u"$begin message\nf(argtype0=5, stringarg0='b', maxargno=2000000000, istransformed=true)\n$end "
         u"message\n",
         0, "b"},
        {u"$begin message\nf(istransformed=false, maxargno=0, stringarg0='a', argtype0=5)\n$end message\n", 0,
         "-"},
        {u"$begin message\nf(istransformed=true, maxargno=-1, stringarg0='a', argtype0=5)\n$end message\n", 0,
         "-"},
        {u"$begin message\nf(istransformed=true, maxargno=0, stringarg0='', argtype0=5)\n$end message\n", 0,
         "-"},
        {u"$begin message\nf(istransformed=true, maxargno=0, stringarg0='1', argtype0=2)\n$end message\n", 0,
         "1"},
        {u"$begin message\nf(istransformed=true, maxargno=0, stringarg0='yes', argtype0=2)\n$end message\n",
         0, "-"},
        {u"$begin message\na=1\n$end message\n", 1, "-"},
        {u"$begin message\n$end message\n", 1, "-"},
        {u"", 1, "-"},
    };
    for (const Row& row : rows) {
        OrvaneMessage message = Plain();
        message.FromText(AString(row.text));
        EXPECT_EQ(message.GetReadStatus(), row.status) << Narrow(AString(row.text));
        const AString* argument = message.GetArgumentText(0);
        EXPECT_EQ(argument ? Narrow(*argument) : "-", row.argument) << Narrow(AString(row.text));
    }
}

TEST(MessageTest, TheWordsAreBuiltFromTheFormatAndTheArguments) {
    Formats formats;
    formats.formats = {{1, AString(u"%1 at %2")},       {2, AString(u"%2 before %1")},
                       {3, AString(u"no placeholder")}, {4, AString(u"100 %")},
                       {kTrueMessage, AString(u"yes")}, {kFalseMessage, AString(u"no")},
                       {5, AString(u"%1!d! and %%")}};
    auto build = [&](std::int32_t id, bool expected) {
        OrvaneMessage message(1, 0, id, 0, 6, AString(), AString());
        message.AddString(AString(u"7"), 0);
        AString error(u"untouched");
        EXPECT_EQ(message.BuildMessage(error, &formats), expected) << id;
        EXPECT_EQ(expected, error == u"untouched");
        EXPECT_EQ(message.GetArgumentText(0), nullptr) << "the arguments are gone";
        return Narrow(message.m_Message);
    };
    EXPECT_EQ(build(1, true), "7 at %2");
    EXPECT_EQ(build(2, true), "%2 before 7");
    EXPECT_EQ(build(3, true), "no placeholder");
    EXPECT_EQ(build(5, true), "7 and %");
    EXPECT_NE(build(4, false), "") << "a format that ends in a % is an error in words";
    EXPECT_NE(build(99, true), "") << "a missing format is the system's text for that";

    OrvaneMessage booleans(1, 0, 1, 0, 6, AString(), AString());
    booleans.AddBool(true, 0);
    booleans.AddBool(false, 1);
    AString error;
    EXPECT_TRUE(booleans.BuildMessage(error, &formats));
    EXPECT_EQ(Narrow(booleans.m_Message), "yes at no");

    OrvaneMessage foreign(1, 8, 1, 0, 6, AString(), AString());
    EXPECT_TRUE(foreign.BuildMessage(error, &formats));
    EXPECT_EQ(Narrow(foreign.m_Message), "Library not loaded.");
    EXPECT_FALSE(foreign.BuildMessage(error, nullptr));
    EXPECT_EQ(Narrow(error), "Null MessageLib passed into BuildMessage!");
    EXPECT_EQ(foreign.m_Message, error);
}

// A transport whose client gives the results of a test.
class Transport : public IEngineMessage {
public:
    std::int32_t result = 0;
    std::string sent;
    std::int32_t SendMessage(OrvaneMessage& message) override {
        sent = TextForm(message);
        return result;
    }
    std::int32_t BounceMessage(OrvaneMessage& message) override {
        message.m_Message = AString(u"built");
        return result;
    }

protected:
    ~Transport() = default;
};

class Manager final : public MessageManager, public Transport {
public:
    std::int32_t GetState() override { return 0; }
};

TEST(MessageManagerTest, PostingTellsWhetherTheMessageArrived) {
    Manager manager;
    IMessageManager& posts = manager;
    struct Row {
        std::int32_t result;
        bool byParts, byMessage;
    };
    for (const Row& row : {Row{0, true, true}, Row{1, false, true}, Row{-1, false, false}}) {
        manager.result = row.result;
        OrvaneMessage message = Plain();
        EXPECT_EQ(posts.PostMessage(message), row.byMessage) << row.result;
        EXPECT_EQ(posts.PostMessage(1, 2, 3, 4, 5, AString(u"e"), AString(u"p")), row.byParts) << row.result;
        EXPECT_NE(manager.sent.find(
                      "elementid='e', elementtype=5, propertyname='p', severity=1, libid=2, messageid=3, "
                      "helpid=4"),
                  std::string::npos);
    }
    OrvaneMessage message = Plain();
    EXPECT_EQ(posts.BounceMessage(message), AString(u"built"));
}

} // namespace
