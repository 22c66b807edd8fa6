#include <utility/assertion.h>
#include <utility/refptr.h>

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// What the questions showed, and the answers that are still to be given.
std::vector<std::string> shown;
std::vector<AssertAnswer> answers;

AssertAnswer Answer(AssertBox box, const char* text) {
    shown.push_back(text);
    EXPECT_FALSE(answers.empty()) << "asked without an answer prepared: " << text;
    if (answers.empty())
        return AssertAnswer::Retry;
    const AssertAnswer answer = answers.front();
    answers.erase(answers.begin());
    const bool isFirst = shown.back().starts_with("*** ASSERTION FAILURE");
    const bool isWarning = shown.back().starts_with("*** Ignore ALL");
    EXPECT_EQ(box, isFirst     ? AssertBox::AbortRetryIgnore
                   : isWarning ? AssertBox::YesNoWarning
                               : AssertBox::YesNo);
    return answer;
}

class AssertionTest : public testing::Test {
protected:
    AssertionTest() {
        SetAssertQuestion(Answer);
        assertsOff = false;
        shown.clear();
        answers.clear();
    }
    ~AssertionTest() override {
        EXPECT_TRUE(answers.empty());
        assertsOff = true;
        SetAssertQuestion(nullptr);
    }
    void WillAnswer(std::vector<AssertAnswer> list) { answers = std::move(list); }
    // Fails at one site of its own, as often as called.
    template <int Site>
    void Fail() {
        TARVOK_ASSERT(Site < 0);
    }
};

using enum AssertAnswer;

TEST_F(AssertionTest, ThatHoldsAsksNothing) {
    TARVOK_ASSERT(shown.empty());
    EXPECT_TRUE(shown.empty());
}

TEST_F(AssertionTest, ShowsExpressionFileAndLine) {
    WillAnswer({Retry});
    TARVOK_ASSERT(1 + 1 == 3);
    const int line = __LINE__ - 1;
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0], "*** ASSERTION FAILURE ***\nAssertion '1 + 1 == 3' failed\n"
                        " File 'lib/utility/test/assertion_test.cpp', Line# " +
                            std::to_string(line) + "\n\nAbort - abort, Retry - debug, Ignore - continue");
}

TEST_F(AssertionTest, ReplacesTextsBeyond400Characters) {
    for (std::size_t length : {400u, 401u}) {
        WillAnswer({Retry});
        AssertFlag flag{false};
        const std::string file(length, 'f');
        const std::string expression(length, 'e');
        AssertFail(file.c_str(), 7, expression.c_str(), &flag);
        const bool fits = length == 400;
        EXPECT_EQ(shown.back(), "*** ASSERTION FAILURE ***\nAssertion '" +
                                    (fits ? expression : "(expression too long)") + "' failed\n File '" +
                                    (fits ? file : "(file name too long)") +
                                    "', Line# 7\n\nAbort - abort, Retry - debug, Ignore - continue");
    }
}

TEST_F(AssertionTest, RetryAndASingleIgnoreAskAgainNextTime) {
    WillAnswer({Retry, Ignore, No, Retry});
    for (int i = 0; i < 3; ++i)
        Fail<1>();
    ASSERT_EQ(shown.size(), 4u);
    EXPECT_EQ(shown[2], "Ignore THIS Assert in the future?");
}

TEST_F(AssertionTest, IgnoringThisSilencesItsSiteAlone) {
    WillAnswer({Ignore, Yes, No, Retry});
    Fail<2>();
    Fail<2>();
    EXPECT_EQ(shown.size(), 3u);
    EXPECT_EQ(shown.back(), "*** Ignore ALL Asserts in the future? ***");
    Fail<3>();
    EXPECT_EQ(shown.size(), 4u);
}

TEST_F(AssertionTest, IgnoringAllSilencesEverySite) {
    WillAnswer({Ignore, Yes, Yes});
    Fail<4>();
    EXPECT_TRUE(assertsOff);
    Fail<5>();
    EXPECT_EQ(shown.size(), 3u);
}

TEST_F(AssertionTest, SwitchedOffDoesntLookAtTheExpression) {
    assertsOff = true;
    int looked = 0;
    TARVOK_ASSERT(++looked < 0);
    EXPECT_EQ(looked, 0);
}

TEST_F(AssertionTest, ReferenceCountsAndHandlesNameTheirFixedPlaces) {
    struct Plain : mrefcount {};
    Plain object;
    WillAnswer({Retry, Retry, Retry});
    object.Decrement();
    object.Increment();
    refptr<Plain> null;
    EXPECT_EQ(null.operator->(), nullptr);
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_NE(shown[0].find("'referenceCount >= 0' failed\n File 'lib/utility/mrefcount', Line# 65\n"),
              std::string::npos);
    EXPECT_NE(shown[1].find("'referenceCount >= 0' failed\n File 'lib/utility/mrefcount', Line# 58\n"),
              std::string::npos);
    EXPECT_NE(shown[2].find("'pRep' failed\n File 'lib/utility/refptr', Line# 109\n"), std::string::npos);
}

using AssertionDeathTest = AssertionTest;

TEST_F(AssertionDeathTest, AbortAndWrongAnswersEndTheProcessWithCode1) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const std::vector<std::vector<AssertAnswer>> cases = {
        {Abort}, {Yes}, {Ignore, Retry}, {Ignore, Yes, Abort}};
    for (const auto& list : cases)
        EXPECT_EXIT((WillAnswer(list), Fail<6>()), testing::ExitedWithCode(1), "");
}

TEST_F(AssertionDeathTest, WithoutATerminalTheTextGoesToStandardErrorAndTheAnswerIsAbort) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    // A session of its own has no terminal.
    EXPECT_EXIT((SetAssertQuestion(nullptr), setsid(), Fail<7>()), testing::ExitedWithCode(1),
                "ASSERTION FAILURE");
}

TEST(UseAssertDeathTest, AsksForTheWordTrueInAnyCase) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const struct {
        const char* value;
        int used;
    } cases[] = {{"TRUE", 1}, {"true", 1}, {"True", 1}, {"1", 0}, {"", 0}, {"TRUE ", 0}, {nullptr, 0}};
    for (const auto& [value, used] : cases) {
        // The new process of the death test reads the environment at its own start.
        value ? setenv("USE_ASSERT", value, 1) : unsetenv("USE_ASSERT");
        EXPECT_EXIT(std::_Exit(10 + 2 * UseAssert() + !assertsOff), testing::ExitedWithCode(10 + 3 * used),
                    "")
            << (value ? value : "unset");
        unsetenv("USE_ASSERT");
    }
}

} // namespace
