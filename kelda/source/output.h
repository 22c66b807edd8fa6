// A standard stream that a program writes to, with every failure seen and no wait that can't be interrupted.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

// Text is kept until Flush, which writes it whole, so that a line is never torn by another writer's. Whoever
// reads may be slow or stand still: `interrupt`, where given, is a descriptor that ends the wait by becoming
// readable; the text is then kept for the next Flush. After an error all further text is dropped. One thread
// at a time.
class Output {
public:
    explicit Output(int descriptor, int interrupt = -1);

    void Write(std::string_view text);

    // True when nothing is left to write.
    bool Flush();

    // How long a Flush waits from now on for a reader that takes nothing.
    void SetPatience(std::chrono::milliseconds patience) { m_Patience = patience; }

    // The error (an errno) that ended the writing, 0 if there was none.
    int Error() const { return m_Error; }

    int Descriptor() const { return m_Descriptor; }

    bool IsTerminal() const { return m_Terminal; }

    // Whether a terminal is there that shows colours and moves its cursor.
    bool IsStyled() const { return m_Styled; }

    // The width of the terminal in characters, now.
    int Columns() const;

private:
    const int m_Descriptor;
    const int m_Interrupt;
    const bool m_Terminal;
    const bool m_Styled;
    std::optional<std::chrono::milliseconds> m_Patience;
    std::string m_Pending;
    int m_Error = 0;
};

// Opens something in place of each of the three standard descriptors that this process was started without,
// so that no file or socket gets its number by chance. Writing to standard output still fails in that case.
void HoldStandardDescriptors();
