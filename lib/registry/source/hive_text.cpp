#include "hive_text.h"

#include <registry/error.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <iterator>
#include <limits>

namespace registry {

namespace {

constexpr std::uint64_t kFormatNumber = 1;
constexpr char kValueForms[] = "a text, a whole number from 0 to 4294967295 or {\"hex\": \"...\"}";

// Counts the lines that the parser has read.
class CountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, std::size_t* line) : m_At(at), m_Line(line) {}
    reference operator*() const { return *m_At; }
    CountingIterator& operator++() {
        *m_Line += *m_At == '\n';
        ++m_At;
        return *this;
    }
    CountingIterator operator++(int) {
        CountingIterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const CountingIterator& a, const CountingIterator& b) { return a.m_At == b.m_At; }
    friend bool operator!=(const CountingIterator& a, const CountingIterator& b) { return a.m_At != b.m_At; }

private:
    const char* m_At;
    std::size_t* m_Line;
};

bool ParseHex(const std::string& text, std::vector<std::uint8_t>& bytes) {
    auto digit = [](char c) {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    };
    if (text.size() % 2 != 0)
        return false;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        int high = digit(text[i]);
        int low = digit(text[i + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    }
    return true;
}

// Builds the tree from the parser's events; stops the parser at the first that doesn't belong.
class HiveBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    HiveBuilder(KeyNode& root, const std::string& file, const std::size_t& line)
        : m_Root(root), m_File(file), m_Line(line) {}

    bool null() override { return Wrong("null"); }
    bool boolean(bool value) override { return Wrong(value ? "true" : "false"); }
    bool number_integer(number_integer_t value) override { return Wrong(fmt::to_string(value)); }
    bool number_float(number_float_t, const string_t& digits) override { return Wrong(digits); }
    bool binary(binary_t&) override { return Wrong("bytes"); }
    bool start_array(std::size_t) override { return Wrong("a list"); }
    bool end_array() override { return true; }

    bool number_unsigned(number_unsigned_t value) override {
        if (m_Place == Place::kFormat) {
            if (value != kFormatNumber)
                Fail(fmt::format("the file has format {}, this program knows format {}", value,
                                 kFormatNumber));
            m_HasFormat = true;
            m_Place = Place::kFile;
            return true;
        }
        if (m_Place != Place::kValue || value > std::numeric_limits<std::uint32_t>::max())
            return Wrong(fmt::to_string(value));
        return Store(static_cast<std::uint32_t>(value));
    }

    bool string(string_t& text) override {
        if (m_Place == Place::kValue)
            return Store(FromUtf8(text));
        std::vector<std::uint8_t> bytes;
        if (m_Place != Place::kHex || !ParseHex(text, bytes))
            return Wrong(fmt::format("\"{}\"", text));
        Store(std::move(bytes));
        m_Place = Place::kHexEnd;
        return true;
    }

    bool start_object(std::size_t) override {
        switch (m_Place) {
        case Place::kStart:
            m_Place = Place::kFile;
            return true;
        case Place::kKeys:
            m_Place = Place::kPath;
            return true;
        case Place::kKey:
            m_Place = Place::kName;
            return true;
        case Place::kValue:
            m_Place = Place::kHexName;
            return true;
        default:
            return Wrong("an object");
        }
    }

    bool end_object() override {
        switch (m_Place) {
        case Place::kName:
            m_Place = Place::kPath;
            return true;
        case Place::kPath:
            m_Place = Place::kFile;
            return true;
        case Place::kHexEnd:
            m_Place = Place::kName;
            return true;
        case Place::kFile:
            if (!m_HasFormat)
                Fail("there is no \"format\"");
            return true;
        default:
            return Wrong("the end of the object");
        }
    }

    bool key(string_t& text) override {
        switch (m_Place) {
        case Place::kFile:
            if (text == "format")
                m_Place = Place::kFormat;
            else if (text == "keys")
                m_Place = Place::kKeys;
            else
                return Wrong(fmt::format("\"{}\"", text));
            return true;
        case Place::kPath:
            m_Path = text;
            Guard([&] { m_Key = &m_Root.Create(FromUtf8(text)); });
            m_Place = Place::kKey;
            return true;
        case Place::kName:
            m_Name = FromUtf8(text);
            m_Place = Place::kValue;
            return true;
        case Place::kHexName:
            if (text != "hex")
                return Wrong(fmt::format("\"{}\"", text));
            m_Place = Place::kHex;
            return true;
        default:
            return Wrong(fmt::format("\"{}\"", text));
        }
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception& error) override {
        // The library's text tells its own name and position first.
        std::string text = error.what();
        std::size_t colon = text.find(": ");
        Fail(colon == std::string::npos ? text : text.substr(colon + 2));
        return false;
    }

private:
    // What comes next in the file.
    enum class Place { kStart, kFile, kFormat, kKeys, kPath, kKey, kName, kValue, kHexName, kHex, kHexEnd };

    [[noreturn]] void Fail(const std::string& text) const {
        throw Error(kDamagedStore, fmt::format("{}:{}: {}", m_File, m_Line, text));
    }

    bool Wrong(const std::string& found) const {
        auto expected = [&]() -> std::string {
            switch (m_Place) {
            case Place::kStart:
                return "an object with \"format\" and \"keys\"";
            case Place::kFile:
                return "\"format\" or \"keys\"";
            case Place::kFormat:
                return "the format number";
            case Place::kKeys:
                return "an object of keys";
            case Place::kKey:
                return fmt::format("an object of values for the key \"{}\"", m_Path);
            case Place::kHexName:
                return "\"hex\"";
            case Place::kHex:
                return "an even number of hexadecimal digits";
            case Place::kHexEnd:
                return "nothing behind \"hex\"";
            default:
                return fmt::format("{} for the value \"{}\" of the key \"{}\"", kValueForms, ToUtf8(m_Name),
                                   m_Path);
            }
        };
        Fail(fmt::format("found {}, expected {}", found, expected()));
    }

    bool Store(Value value) {
        if (m_Key->Get(m_Name))
            Fail(fmt::format("the value \"{}\" of the key \"{}\" stands twice", ToUtf8(m_Name), m_Path));
        Guard([&] { m_Key->Set(m_Name, std::move(value)); });
        m_Place = Place::kName;
        return true;
    }

    template <class Action>
    void Guard(Action action) {
        try {
            action();
        } catch (const Error& error) {
            Fail(error.what());
        }
    }

    KeyNode& m_Root;
    const std::string& m_File;
    const std::size_t& m_Line;
    Place m_Place = Place::kStart;
    bool m_HasFormat = false;
    KeyNode* m_Key = nullptr;
    std::string m_Path;
    AString m_Name;
};

nlohmann::json ToJson(const Value& value) {
    if (const AString* text = std::get_if<AString>(&value))
        return ToUtf8(*text);
    if (const std::uint32_t* number = std::get_if<std::uint32_t>(&value))
        return *number;
    std::string hex;
    for (std::uint8_t byte : std::get<std::vector<std::uint8_t>>(value))
        fmt::format_to(std::back_inserter(hex), "{:02x}", byte);
    return {{"hex", hex}};
}

void AddKeys(const KeyNode& node, const std::string& path, nlohmann::json& keys) {
    if (!node.GetValues().empty() || (node.GetKeys().empty() && !path.empty())) {
        nlohmann::json& values = keys[path] = nlohmann::json::object();
        for (const auto& [name, value] : node.GetValues())
            values[ToUtf8(name)] = ToJson(value);
    }
    for (const auto& [name, child] : node.GetKeys())
        AddKeys(*child, path.empty() ? ToUtf8(name) : path + '\\' + ToUtf8(name), keys);
}

} // namespace

KeyNode ParseHive(std::string_view text, const std::string& file) {
    KeyNode root;
    std::size_t line = 1;
    HiveBuilder builder(root, file, line);
    nlohmann::json::sax_parse(CountingIterator(text.data(), &line),
                              CountingIterator(text.data() + text.size(), &line), &builder);
    return root;
}

std::string WriteHive(const KeyNode& root) {
    nlohmann::json keys = nlohmann::json::object();
    AddKeys(root, "", keys);
    return nlohmann::json{{"format", kFormatNumber}, {"keys", std::move(keys)}}.dump(4) + '\n';
}

} // namespace registry
