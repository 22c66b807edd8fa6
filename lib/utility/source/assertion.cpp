#include <utility/assertion.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <strings.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMaxTextLength = 400;

struct Button {
    AssertAnswer answer;
    const char* name; // answered by its first letter
};
constexpr Button kAbortRetryIgnore[] = {
    {AssertAnswer::Abort, "Abort"}, {AssertAnswer::Retry, "Retry"}, {AssertAnswer::Ignore, "Ignore"}};
constexpr Button kYesNo[] = {{AssertAnswer::Yes, "Yes"}, {AssertAnswer::No, "No"}};

// The controlling terminal, opened for a question, or null where reading from it would fail or stop the
// process.
std::FILE* OpenTerminal() {
    int descriptor = open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0)
        return nullptr;
    std::FILE* terminal = tcgetpgrp(descriptor) == getpgrp() ? fdopen(descriptor, "r+") : nullptr;
    if (!terminal)
        close(descriptor);
    return terminal;
}

template <std::size_t N>
AssertAnswer AskFor(std::FILE* terminal, const char* text, const Button (&buttons)[N]) {
    std::string prompt = std::string("\n") + text + "\n";
    for (const Button& button : buttons)
        prompt += std::string(&button == buttons ? "[" : ", [") + button.name[0] + "]" + (button.name + 1);
    prompt += "? ";
    char line[64];
    do {
        std::fputs(prompt.c_str(), terminal);
        std::fflush(terminal);
        if (!std::fgets(line, sizeof line, terminal))
            return AssertAnswer::Abort;
        for (const Button& button : buttons)
            if (std::toupper(static_cast<unsigned char>(line[0])) == button.name[0])
                return button.answer;
    } while (true);
}

AssertAnswer AskOnTerminal(AssertBox box, const char* text) {
    std::FILE* terminal = OpenTerminal();
    if (!terminal) {
        std::fprintf(stderr, "%s\n", text);
        return AssertAnswer::Abort;
    }
    AssertAnswer answer = box == AssertBox::AbortRetryIgnore ? AskFor(terminal, text, kAbortRetryIgnore)
                                                             : AskFor(terminal, text, kYesNo);
    std::fclose(terminal);
    return answer;
}

std::atomic<AssertQuestion> ask{AskOnTerminal};

[[noreturn]] void Abort() {
    assertsOff = true;
    // Other threads still run, so nothing that they use may be destroyed.
    std::_Exit(1);
}

} // namespace

constinit std::atomic<bool> assertsOff{true};

namespace {
[[maybe_unused]] const bool switchedAtStart = (assertsOff = !UseAssert());
}

bool UseAssert() {
    static const bool use = [] {
        const char* value = std::getenv("USE_ASSERT");
        return value && strcasecmp(value, "TRUE") == 0;
    }();
    return use;
}

AssertQuestion SetAssertQuestion(AssertQuestion question) {
    return ask.exchange(question ? question : AskOnTerminal);
}

void AssertFail(const char* file, int line, const char* expression, AssertFlag* ignoreThis) {
    static std::mutex oneAtATime;
    const bool wasOff = assertsOff;
    const bool wasIgnored = *ignoreThis;
    std::lock_guard lock(oneAtATime);
    // Another thread may have been told to ignore it while this one waited.
    if (assertsOff != wasOff || *ignoreThis != wasIgnored)
        return;

    if (std::strlen(file) > kMaxTextLength)
        file = "(file name too long)";
    if (std::strlen(expression) > kMaxTextLength)
        expression = "(expression too long)";
    char text[2 * kMaxTextLength + 200];
    std::snprintf(text, sizeof text,
                  "*** ASSERTION FAILURE ***\nAssertion '%s' failed\n File '%s', Line# %d\n\n"
                  "Abort - abort, Retry - debug, Ignore - continue",
                  expression, file, line);
    AssertQuestion question = ask;
    switch (question(AssertBox::AbortRetryIgnore, text)) {
    case AssertAnswer::Retry:
        return;
    case AssertAnswer::Ignore:
        break;
    default:
        Abort();
    }
    auto askYesNo = [question](AssertBox box, const char* asked) {
        AssertAnswer answer = question(box, asked);
        if (answer != AssertAnswer::Yes && answer != AssertAnswer::No)
            Abort();
        return answer == AssertAnswer::Yes;
    };
    if (!askYesNo(AssertBox::YesNo, "Ignore THIS Assert in the future?"))
        return;
    if (askYesNo(AssertBox::YesNoWarning, "*** Ignore ALL Asserts in the future? ***"))
        assertsOff = true;
    else
        *ignoreThis = true;
}
