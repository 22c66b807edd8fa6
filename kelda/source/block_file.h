// A file of stored items: text in UTF-8 or binary, told apart by its first byte.
#pragma once

#include <streamio/stored_file.h>

#include <string>
#include <string_view>
#include <vector>

class BlockFile {
public:
    // "-" is standard input. Throws std::runtime_error if the file can't be read, or is text that isn't UTF-8.
    explicit BlockFile(const std::string& name);

    // The items at the top level with the errors at all levels, in the order of their lines.
    void Read(std::vector<io::CBlockItemPtr>& items, std::vector<io::StoredError>& errors) const;

    const std::string& Name() const { return m_Name; }
    const AString& Text() const { return m_Text; }

private:
    std::string m_Name; // as it is called in messages
    AString m_Text;     // of a binary file, each unit a byte
};

// How numbers and items are written.
struct BlockFormat {
    bool binary = false;
    int precision = 17; // brings every number back
    bool scientific = false;
};

// The bytes of a file with these items.
std::string WriteItems(const std::vector<io::CBlockItemPtr>& items, const BlockFormat& format);
// The same as text with an index.
std::string WriteIndexed(const std::vector<io::CBlockItemPtr>& items, bool allLevels);
// As JSON: blocks, functions and vectors are objects with "kind", "name" and their content in order.
std::string WriteJson(const std::vector<io::CBlockItemPtr>& items);

// Forgets how the numbers of the items were spelled, names apart, so that they are written anew.
void ForgetSpelling(const std::vector<io::CBlockItemPtr>& items);

std::string ToUtf8(std::u16string_view text);
AString FromUtf8(std::string_view bytes);
