// Assertions: run-time checks of bad use that ask the person at the terminal what to do.
//
// They are off unless the environment variable USE_ASSERT is "TRUE" (in any case) when the program starts;
// then a site costs one flag check and its expression isn't evaluated, so an expression must have no side
// effects. An assertion never throws: it asks and goes on, or ends the process. Any thread may reach a site;
// one question is open at a time.
#pragma once

#include <atomic>

// Whether USE_ASSERT asks for assertions. The environment is read at the first call and the answer kept.
bool UseAssert();

// Set at start-up to the inverse of UseAssert, and by the answers to a question. Assertions that run before
// this program's own initialisation are off.
extern std::atomic<bool> assertsOff;

using AssertFlag = std::atomic<bool>;
static_assert(sizeof(AssertFlag) == 1);

// Asks about a failed assertion. `*ignoreThis` belongs to the site: once set, the site is silent.
// Answers: Abort ends the process at once with exit code 1; Retry returns to the site; Ignore asks whether to
// ignore this assertion in the future, and if so, whether to ignore all.
void AssertFail(const char* file, int line, const char* expression, AssertFlag* ignoreThis);

// The boxes of a question, by their buttons.
enum class AssertBox { AbortRetryIgnore, YesNo, YesNoWarning };
enum class AssertAnswer { Abort, Retry, Ignore, Yes, No };
using AssertQuestion = AssertAnswer (*)(AssertBox box, const char* text);

// Replaces the question on the terminal and gives what was in force; null puts the terminal back. On the
// terminal an answer is one letter; without a terminal that can be asked the text goes to standard error and
// the answer is Abort.
AssertQuestion SetAssertQuestion(AssertQuestion question);

// A site with everything stated. TARVOK_ASSERT is the usual form; the others are for texts and places that
// are fixed.
#define TARVOK_ASSERT_AT(file, line, expression, text)                                                       \
    do {                                                                                                     \
        if (!assertsOff.load(std::memory_order_relaxed)) [[unlikely]] {                                      \
            static constinit AssertFlag ignoreThis{false};                                                   \
            if (!(expression) && !ignoreThis.load(std::memory_order_relaxed))                                \
                AssertFail(file, line, text, &ignoreThis);                                                   \
        }                                                                                                    \
    } while (false)

// __FILE__ is the path within the tree: the build maps the tree's root away.
#define TARVOK_ASSERT_TEXT(expression, text) TARVOK_ASSERT_AT(__FILE__, __LINE__, expression, text)
#define TARVOK_ASSERT(expression) TARVOK_ASSERT_TEXT(expression, #expression)
