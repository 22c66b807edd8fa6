// The commands of the guides and of the gallery, run in their order as a reader of them would, and compared with what is shown
// there.
//
// In an indented block a line "$ COMMAND" is run, lines "> MORE" behind it belong to it, and what follows up to the next
// command or the block's end is its output, if anything does. There "…" stands for anything within a line and, as a line
// of its own, for any lines. The status is 0 unless the command itself shows it.

#include "example_test.h"

#include <algorithm>
#include <functional>
#include <optional>

namespace fs = std::filesystem;

namespace {

struct Step {
    int line = 0; // in the document
    std::string command;
    std::vector<std::string> shown;
};

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    return lines;
}

std::vector<Step> StepsOf(const std::string& document) {
    std::vector<Step> steps;
    std::vector<std::string> lines = Lines(document);
    bool inBlock = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        if (line.starts_with("    $ ")) {
            steps.push_back({static_cast<int>(i) + 1, line.substr(6), {}});
            while (i + 1 < lines.size() && lines[i + 1].starts_with("    > "))
                steps.back().command += '\n' + lines[++i].substr(6);
            inBlock = true;
        } else if (inBlock && (line.starts_with("    ") || line.empty())) {
            steps.back().shown.push_back(line.empty() ? line : line.substr(4));
        } else {
            inBlock = false;
        }
    }
    for (Step& step : steps)
        while (!step.shown.empty() && step.shown.back().empty())
            step.shown.pop_back();
    return steps;
}

// Whether elements match a pattern in which some stand for any number of elements.
template <class Sequence, class IsAny, class Equal>
bool Matches(const Sequence& pattern, const Sequence& elements, IsAny isAny, Equal equal) {
    std::size_t p = 0, e = 0;
    std::optional<std::size_t> lastAny; // where to go on when what follows it doesn't match
    std::size_t taken = 0;
    while (e < elements.size() || p < pattern.size()) {
        if (p < pattern.size() && isAny(pattern[p])) {
            lastAny = p++;
            taken = e;
        } else if (p < pattern.size() && e < elements.size() && equal(pattern[p], elements[e])) {
            ++p;
            ++e;
        } else if (lastAny && taken < elements.size()) {
            p = *lastAny + 1;
            e = ++taken;
        } else {
            return false;
        }
    }
    return true;
}

const std::string kAny = "…";

bool LineMatches(std::string shown, const std::string& line) {
    for (std::size_t at; (at = shown.find(kAny)) != shown.npos;)
        shown.replace(at, kAny.size(), 1, '\1');
    return Matches(
        shown, line, [](char c) { return c == '\1'; }, std::equal_to<char>());
}

bool IsShown(const std::vector<std::string>& shown, const std::vector<std::string>& lines) {
    return Matches(
        shown, lines, [](const std::string& line) { return line == kAny; }, LineMatches);
}

class GuidesTest : public ExampleTest, public testing::WithParamInterface<const char*> {
protected:
    // The project's folder as the reader has it, with the programs where the shell finds them. Their home is empty.
    GuidesTest() {
        fs::create_directories(m_Home / "tarvokengine/docs");
        fs::copy(PROJECT "/examples", m_Home / "tarvokengine/examples", fs::copy_options::recursive);
        if (fs::exists(PROJECT "/docs/gallery"))
            fs::copy(PROJECT "/docs/gallery", m_Home / "tarvokengine/docs/gallery");
        for (const fs::path kernel : {CHAIN_KERNEL, LAG_KERNEL}) {
            const fs::path folder = m_Home / "tarvokengine/build" / kernel.parent_path().filename();
            fs::create_directories(folder);
            fs::copy(kernel, folder);
        }
        unsetenv("TARVOK_SERVER"); // the engine beside kelda
        for (const char* variable : {"XDG_CONFIG_HOME", "LANGUAGE", "LANG", "TARVOK_MESSAGES"})
            unsetenv(variable);
        setenv("LC_ALL", "C.UTF-8", 1);
        setenv("XDG_CONFIG_DIRS", (m_Home / "none").c_str(), 1);
        setenv("HOME", m_Home.c_str(), 1);
        if (const std::string path = getenv("PATH"); !path.starts_with(PROGRAMS))
            setenv("PATH", (PROGRAMS ":" + path).c_str(), 1);
    }

    std::vector<std::string> Run(const Step& step, int& status) {
        std::ofstream(m_Folder / "step") << step.command << '\n';
        status = Shell("cd home/tarvokengine && bash ../../step > ../../out 2>&1 < /dev/null");
        std::string out = ReadAll(m_Folder / "out");
        for (std::size_t at; (at = out.find(m_Home.string())) != out.npos;)
            out.replace(at, m_Home.string().size(), "/home/ann");
        return Lines(out);
    }

    const fs::path m_Home = m_Folder / "home";
};

TEST_P(GuidesTest, EveryCommandDoesWhatIsShown) {
    const std::vector<Step> steps = StepsOf(ReadAll(fs::path(PROJECT "/docs") / GetParam()));
    ASSERT_GT(steps.size(), 5u);
    for (const Step& step : steps) {
        int status = -1;
        const auto lines = Run(step, status);
        std::string all;
        for (const std::string& line : lines)
            all += "    " + line + '\n';
        EXPECT_EQ(status, 0) << GetParam() << ':' << step.line << ": " << step.command << '\n' << all;
        if (!step.shown.empty()) {
            EXPECT_TRUE(IsShown(step.shown, lines))
                << GetParam() << ':' << step.line << ": " << step.command << " says\n"
                << all;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Documents, GuidesTest, testing::Values("guide.md", "developers.md", "gallery.md"),
                         [](const auto& document) { return fs::path(document.param).stem().string(); });

TEST(DocumentsTest, EveryLinkLeadsToAFile) {
    std::vector<fs::path> documents = {PROJECT "/README.md", PROJECT "/examples/README.md"};
    for (const auto& entry : fs::recursive_directory_iterator(PROJECT "/docs"))
        if (entry.path().extension() == ".md")
            documents.push_back(entry.path());
    int links = 0;
    for (const fs::path& document : documents) {
        const std::string text = ReadAll(document);
        for (std::size_t at = text.find("]("); at != text.npos; at = text.find("](", at + 1)) {
            const std::string link = text.substr(at + 2, text.find_first_of(")#", at) - at - 2);
            if (link.empty() || link.find(':') != link.npos)
                continue; // within the document, or on the net
            ++links;
            EXPECT_TRUE(fs::exists(document.parent_path() / link)) << document << ": " << link;
        }
    }
    EXPECT_GT(links, 30);
}

TEST(GuideStepsTest, AreReadFromADocument) {
    const auto steps =
        StepsOf("Text\n\n    $ one 'a\n    > b'\n    out\n\n    more\n    $ two\n\nText\n\n    no step\n");
    ASSERT_EQ(steps.size(), 2u);
    EXPECT_EQ(steps[0].line, 3);
    EXPECT_EQ(steps[0].command, "one 'a\nb'");
    EXPECT_EQ(steps[0].shown, (std::vector<std::string>{"out", "", "more"}));
    EXPECT_EQ(steps[1].command, "two");
    EXPECT_TRUE(steps[1].shown.empty());
}

TEST(GuideStepsTest, AreComparedWithWhatIsShown) {
    struct {
        const char *shown, *lines;
        bool same;
    } cases[] = {
        {"a\nb", "a\nb", true},
        {"a\nb", "a\nc", false},
        {"a", "a\nb", false},
        {"a\nb", "a", false},
        {"…", "a\nb", true},
        {"a\n…\nc", "a\nb\nb\nc", true},
        {"a\n…\nc", "a\nc", true},
        {"a\n…\nc", "a\nb", false},
        {"…\nb", "b\na\nb", true},
        {"in … s", "in 0.1 s", true},
        {"in … s", "in 0.1", false},
        {"…b…d", "abcbd", true},
        {"in … s\nb", "in s\nb", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(IsShown(Lines(c.shown), Lines(c.lines)), c.same) << c.shown << " and " << c.lines;
}

} // namespace
