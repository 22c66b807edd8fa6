#include "../source/hive_text.h"

#include <registry/error.h>

#include <gtest/gtest.h>

#include <string>

namespace registry {
namespace {

// What the parser says of `text`; empty where it takes it.
std::string Complaint(const std::string& text) {
    try {
        ParseHive(text, "r.json");
        return "";
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), kDamagedStore);
        return error.what();
    }
}

KeyNode Example() {
    KeyNode root;
    KeyNode& desktop = root.Create(u"Software\\Orvane\\Atelier");
    desktop.Set(AString(), AString(u"the default"));
    desktop.Set(u"Größe µ 𝄞", AString(u"C:\\tmp\\\"x\"\n"));
    desktop.Set(u"Ends in zero", AString(u"a\0b\0", 4));
    desktop.Set(u"Empty", AString());
    desktop.Set(u"Largest", 4294967295u);
    desktop.Set(u"Bytes", std::vector<std::uint8_t>{0, 255, 16});
    desktop.Set(u"No bytes", std::vector<std::uint8_t>());
    root.Create(u"Software\\Empty key");
    root.Set(u"At the root", 1u);
    return root;
}

TEST(HiveText, WhatIsWrittenReadsBackAsItWas) {
    std::string text = WriteHive(Example());
    KeyNode root = ParseHive(text, "r.json");
    EXPECT_EQ(WriteHive(root), text);

    const KeyNode* desktop = root.Find(u"SOFTWARE\\orvane\\ATELIER");
    ASSERT_TRUE(desktop);
    KeyNode expected = Example();
    EXPECT_EQ(desktop->GetValues(), expected.Find(u"Software\\Orvane\\Atelier")->GetValues());
    EXPECT_TRUE(root.Find(u"Software\\Empty key"));
    EXPECT_EQ(root.GetValues(), expected.GetValues());
}

TEST(HiveText, ATextCutAnywhereIsRefused) {
    std::string text = WriteHive(Example());
    text.pop_back(); // the line end is no part of the object
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_NE(Complaint(text.substr(0, length)), "") << "cut at " << length;
}

TEST(HiveText, ADamagedTextIsRefusedWithTheLineAndWhatWasExpected) {
    auto in_key = [](const std::string& values) {
        return "{\"format\": 1,\n\"keys\": {\n\"A\\\\B\": {\n" + values + "}}}";
    };
    const struct {
        std::string text;
        const char* start;
        const char* part;
    } kCases[] = {
        {"", "r.json:1: ", "unexpected end of input"},
        {"[]", "r.json:1: ", "found a list, expected an object with \"format\" and \"keys\""},
        {"\n\n17", "r.json:3: ", "found 17, expected an object"},
        {"{\n\"keys\": {}}", "r.json:2: ", "there is no \"format\""},
        {"{\"format\":\n2}", "r.json:2: ", "the file has format 2, this program knows format 1"},
        {"{\"format\": \"1\"}", "r.json:1: ", "found \"1\", expected the format number"},
        {"{\"format\": 1, \"kyes\": {}}", "r.json:1: ", "found \"kyes\", expected \"format\" or \"keys\""},
        {"{\"format\": 1, \"keys\": []}", "r.json:1: ", "expected an object of keys"},
        {"{\"format\": 1}\n{", "r.json:2: ", "expected end of input"},
        {"{\"format\": 1, \"keys\": {\"A\": 3}}", "r.json:1: ", "an object of values for the key \"A\""},
        {in_key("\n\"v\": null"),
         "r.json:5: ", "found null, expected a text, a whole number from 0 to 4294967295"},
        {in_key("\"v\": true"), "r.json:4: ", "for the value \"v\" of the key \"A\\B\""},
        {in_key("\"v\": -1"), "r.json:4: ", "found -1"},
        {in_key("\"v\": 1.5"), "r.json:4: ", "found 1.5"},
        {in_key("\"v\": 4294967296"), "r.json:4: ", "found 4294967296"},
        {in_key("\"v\": [1]"), "r.json:4: ", "found a list"},
        {in_key("\"v\": {}"), "r.json:4: ", "expected \"hex\""},
        {in_key("\"v\": {\"hex\": \"0\"}"), "r.json:4: ", "an even number of hexadecimal digits"},
        {in_key("\"v\": {\"hex\": \"0g\"}"), "r.json:4: ", "an even number of hexadecimal digits"},
        {in_key("\"v\": {\"hex\": \"00\", \"x\": 1}"), "r.json:4: ", "nothing behind \"hex\""},
        {in_key("\"v\": 1,\n\"V\": 2"), "r.json:5: ", "the value \"V\" of the key \"A\\B\" stands twice"},
        {in_key("\"a\\u0000b\": 1"), "r.json:4: ", "holds a zero"},
        {in_key("\"v\": \"\\ud800\""), "r.json:4: ", "surrogate"},
        {in_key("\"v\": \"\xff\""), "r.json:4: ", "ill-formed UTF-8"},
        {std::string("{\"format\": 1, \"keys\": {\"") + std::string(2000, 'x') + "\\\\" +
             [] {
                 std::string path;
                 for (int i = 0; i < 513; ++i)
                     path += "k\\\\";
                 return path;
             }() +
             "\": {}}}",
         "r.json:1: ", "names, more than 512"},
        {std::string(1000000, '['), "r.json:1: ", "found a list"},
    };
    for (const auto& c : kCases) {
        std::string complaint = Complaint(c.text);
        EXPECT_TRUE(complaint.starts_with(c.start)) << c.text.substr(0, 80) << "\n" << complaint;
        EXPECT_NE(complaint.find(c.part), std::string::npos) << c.text.substr(0, 80) << "\n" << complaint;
    }
}

TEST(HiveText, AFileEditedByHandMayRepeatAPathInAnotherSpelling) {
    KeyNode root = ParseHive(
        "\xef\xbb\xbf{\"keys\": {\"a\\\\B\": {\"x\": 1}, \"\\\\A\\\\b\\\\\": {\"y\": \"2\"}}, \"format\": 1}",
        "r.json");
    const KeyNode* key = root.Find(u"A\\B");
    ASSERT_TRUE(key);
    EXPECT_EQ(key->GetValues().size(), 2u);
    EXPECT_EQ(root.GetKeys().size(), 1u);
}

TEST(KeyNode, WhatCantBeStoredIsRefused) {
    const struct {
        AString path, name;
        Value value;
    } kCases[] = {
        {AString(u"a\xD800"), AString(), 1u},
        {AString(u"a"), AString(u"\xDC00x"), 1u},
        {AString(u"a\0", 2), AString(), 1u},
        {AString(u"a"), AString(u"\0", 1), 1u},
        {AString(u"a"), AString(), AString(u"half \xD834")},
    };
    for (const auto& c : kCases) {
        KeyNode root;
        EXPECT_THROW(root.Create(c.path).Set(c.name, c.value), Error);
        EXPECT_TRUE(root.GetKeys().empty() || root.Find(u"a")->GetValues().empty());
    }
    KeyNode root;
    root.Create(u"a").Set(u"v", 1u);
    EXPECT_FALSE(root.Find(AString(u"a\0b", 3)));
    EXPECT_FALSE(root.Find(u"a")->Get(AString(u"v\0", 2)));
    EXPECT_FALSE(root.Remove(u"\\"));
    EXPECT_TRUE(root.Find(u"a"));
}

} // namespace
} // namespace registry
