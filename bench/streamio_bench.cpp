// Streams against the best known parsers of comparable data: the same document as block text and as JSON, as binary text
// and as msgpack, in one run. A figure is the median time of ours over the median time of theirs, trees' release
// included; below 1 is faster. `streamio_bench [rounds [part of a comparison's name]]`.
#include "measure.h"

#include <streamio/block.h>
#include <streamio/block_index.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

#include <fmt/format.h>
#define MSGPACK_NO_BOOST 1
#include <msgpack.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <functional>
#include <malloc.h>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

int gRounds = 15;
std::string gOnly; // compare only what has this in its name

AString Wide(const std::string& text) {
    return AString(std::u16string(text.begin(), text.end()));
}

struct Document {
    std::string name;
    AString block;
    std::string json;
    std::size_t numbers = 0;
};

// Frequencies with a square matrix of complex numbers of 17 digits each.
Document MakeNetwork(const std::string& name, int ports, int points) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> element(-1, 1);
    Document document{name, {}, {}, 0};
    std::string block = "$begin SolutionData\n\tObjectType='NetworkSolution'\n";
    std::string json = "{\"ObjectType\":\"NetworkSolution\",\"Points\":[";
    for (int i = 0; i < points; ++i) {
        const std::string frequency = fmt::format("{}", 1e9 + 1e6 * i);
        block += "\t$begin DataPoint\n\t\tFrequency=" + frequency + "\n\t\tSMatrix[" +
                 std::to_string(2 * ports * ports) + ": ";
        json += std::string(i > 0 ? "," : "") + "{\"Frequency\":" + frequency + ",\"SMatrix\":[";
        for (int k = 0; k < 2 * ports * ports; ++k) {
            const std::string number = fmt::format("{:.17g}", element(random));
            block += (k > 0 ? ", " : "") + number;
            json += (k > 0 ? "," : "") + number;
        }
        block += "]\n\t\tPortImpedances(50, 0, 1)\n\t$end DataPoint\n";
        json += "],\"PortImpedances\":[50,0,1]}";
        document.numbers += static_cast<std::size_t>(2 * ports * ports) + 4;
    }
    document.block = Wide(block + "$end SolutionData\n");
    document.json = json + "]}";
    return document;
}

Document MakeMessage() {
    return {
        "message",
        Wide("$begin Message\n\tMessageID=1047\n\tSeverity='warning'\n\tText='The port has no reference "
             "impedance'\n\tSource('Solver', line=118, "
             "file='filter.cir')\n\tTime=1732452000\n\tProgress=0.35\n"
             "\tArgs('P1', 50, 0.0125)\n\tCanBeIgnored=true\n\t$begin "
             "Origin\n\t\tJob=12\n\t\tDesign='Filter3'\n"
             "\t$end Origin\n$end Message\n"),
        "{\"MessageID\":1047,\"Severity\":\"warning\",\"Text\":\"The port has no reference impedance\","
        "\"Source\":[\"Solver\",{\"line\":118},{\"file\":\"filter.cir\"}],\"Time\":1732452000,\"Progress\":0."
        "35,"
        "\"Args\":[\"P1\",50,0.0125],\"CanBeIgnored\":true,\"Origin\":{\"Job\":12,\"Design\":\"Filter3\"}}",
        9};
}

// Both by turns, so that a busy machine slows both.
void Compare(const std::string& what, const std::function<void()>& ours, const std::function<void()>& theirs,
             int repeat) {
    if (what.find(gOnly) == what.npos)
        return;
    std::vector<double> a;
    std::vector<double> b;
    for (int round = 0; round < gRounds; ++round) {
        a.push_back(Seconds(ours, repeat));
        b.push_back(Seconds(theirs, repeat));
    }
    fmt::print("{:<44} {:>10.4f} ms {:>10.4f} ms   ratio {:.2f}, of the best {:.2f}\n", what, 1e3 * Median(a),
               1e3 * Median(b), Median(a) / Median(b), Best(a) / Best(b));
    std::fflush(stdout);
}

void ParseBlock(const Document& document, std::uint32_t flags) {
    io::CToken_istring s(io::CToken_istring::InPlace{document.block}, &io::DefaultTokenGrammar(), flags);
    io::CBlock block;
    block.Read(s);
    if (block.IsEmpty() || block.HasErrors(false))
        std::abort();
}

void ParseJson(const Document& document, rapidjson::Document& json) {
    json.Parse<rapidjson::kParseFullPrecisionFlag>(document.json.c_str());
    if (json.HasParseError())
        std::abort();
}

void PackJson(const rapidjson::Value& value, msgpack::packer<msgpack::sbuffer>& packer) {
    if (value.IsObject()) {
        packer.pack_map(value.MemberCount());
        for (const auto& member : value.GetObject()) {
            packer.pack_str(member.name.GetStringLength());
            packer.pack_str_body(member.name.GetString(), member.name.GetStringLength());
            PackJson(member.value, packer);
        }
    } else if (value.IsArray()) {
        packer.pack_array(value.Size());
        for (const auto& element : value.GetArray())
            PackJson(element, packer);
    } else if (value.IsString()) {
        packer.pack_str(value.GetStringLength());
        packer.pack_str_body(value.GetString(), value.GetStringLength());
    } else if (value.IsBool()) {
        packer.pack(value.GetBool());
    } else if (value.IsInt64()) {
        packer.pack(value.GetInt64());
    } else {
        packer.pack(value.GetDouble());
    }
}

void CompareDocument(const Document& document, int repeat) {
    const auto title = [&](const char* what) { return document.name + ": " + what; };
    const auto json = [&] {
        rapidjson::Document tree;
        ParseJson(document, tree);
    };
    Compare(
        title("text to tree"), [&] { ParseBlock(document, 0); }, json, repeat);
    Compare(
        title("text to tree, no source text"), [&] { ParseBlock(document, io::kDropSourceText); }, json,
        repeat);

    io::CBlock kept;
    kept.FromText(document.block);
    io::CBlock block;
    {
        io::CToken_istring s(document.block, &io::DefaultTokenGrammar(), io::kDropSourceText);
        block.Read(s);
    }
    rapidjson::Document tree;
    ParseJson(document, tree);
    const auto writeJson = [&] {
        rapidjson::StringBuffer out;
        rapidjson::Writer<rapidjson::StringBuffer> writer(out);
        tree.Accept(writer);
        if (out.GetSize() == 0)
            std::abort();
    };
    const auto write = [](const io::CBlock& from) {
        AString text;
        if (from.ToText(text, 0, 16).empty())
            std::abort();
    };
    Compare(
        title("tree to text, 16 digits"), [&] { write(block); }, writeJson, repeat);
    Compare(
        title("tree to text, kept digits"), [&] { write(kept); }, writeJson, repeat);

    AString binary;
    block.ToBinaryText(binary);
    msgpack::sbuffer packed;
    {
        msgpack::packer<msgpack::sbuffer> packer(packed);
        PackJson(tree, packer);
    }
    const msgpack::object_handle object = msgpack::unpack(packed.data(), packed.size());
    Compare(
        title("binary to tree"),
        [&] {
            io::CBlock back;
            if (!back.FromText(binary))
                std::abort();
        },
        [&] {
            const msgpack::object_handle back = msgpack::unpack(packed.data(), packed.size());
            if (back->is_nil())
                std::abort();
        },
        repeat);
    Compare(
        title("tree to binary"),
        [&] {
            AString text;
            if (block.ToBinaryText(text).empty())
                std::abort();
        },
        [&] {
            msgpack::sbuffer out;
            msgpack::pack(out, object.get());
            if (out.size() == 0)
                std::abort();
        },
        repeat);
}

// Bytes that `work` leaves allocated, in a process of its own, where no pool has been filled.
std::size_t Allocated(const std::function<void()>& work) {
    int ends[2];
    if (pipe(ends) != 0)
        std::abort();
    if (fork() == 0) {
        const auto held = [] {
            const struct mallinfo2 info = mallinfo2();
            return info.uordblks + info.hblkhd;
        };
        const std::size_t before = held();
        work();
        const std::size_t bytes = held() - before;
        if (write(ends[1], &bytes, sizeof bytes) != sizeof bytes)
            _exit(1);
        _exit(0);
    }
    std::size_t bytes = 0;
    if (read(ends[0], &bytes, sizeof bytes) != sizeof bytes)
        std::abort();
    wait(nullptr);
    close(ends[0]);
    close(ends[1]);
    return bytes;
}

void CompareMemory(const Document& document) {
    const double numbers = static_cast<double>(document.numbers);
    const auto ours = [&](std::uint32_t flags) {
        return static_cast<double>(Allocated([&] {
            auto* block = new io::CBlock;
            io::CToken_istring s(io::CToken_istring::InPlace{document.block}, &io::DefaultTokenGrammar(),
                                 flags);
            block->Read(s);
        }));
    };
    const double json =
        static_cast<double>(Allocated([&] { ParseJson(document, *new rapidjson::Document); }));
    for (const auto& [what, flags] :
         {std::pair{"source text dropped", static_cast<std::uint32_t>(io::kDropSourceText)},
          std::pair{"source text kept", std::uint32_t{0}}}) {
        const double bytes = ours(flags);
        fmt::print("{:<44} {:>10.1f} B  {:>10.1f} B    ratio {:.2f}\n",
                   document.name + ": memory a number, " + what, bytes / numbers, json / numbers,
                   bytes / json);
    }
}

void CompareSizes() {
    std::vector<double> perByte;
    for (const int points : {70, 700, 7000}) {
        const Document document = MakeNetwork("", 16, points);
        std::vector<double> times;
        for (int round = 0; round < std::max(3, gRounds / 3); ++round)
            times.push_back(Seconds([&] { ParseBlock(document, 0); }, 7000 / points));
        perByte.push_back(1e9 * Median(times) / static_cast<double>(document.block.size()));
        fmt::print(
            "{:<44} {:>10.3f} ns\n",
            fmt::format("parse time a byte, {:.0f} MB", 1e-6 * static_cast<double>(document.block.size())),
            perByte.back());
    }
    const auto [least, most] = std::minmax_element(perByte.begin(), perByte.end());
    fmt::print("{:<44} {:>28} ratio {:.2f}\n", "slowest over fastest", "", *most / *least);
}

void CompareIndex() {
    constexpr int kBlocks = 100000;
    AString text;
    {
        io::CToken_ostring s(&io::DefaultTokenGrammar(), 0, io::kUseIndex);
        for (int i = 0; i < kBlocks; ++i) {
            io::CBlock block(Wide("Block" + std::to_string(i)));
            block << io::CBlock_named_value(Wide("x"), io::CToken(io::TokenType::Int, i));
            block.Write(s);
        }
        s.Close();
        text = s.TakeText();
    }
    io::CToken_istring indexed(io::CToken_istring::InPlace{text}, &io::DefaultTokenGrammar(), io::kUseIndex);
    std::mt19937 random(1);
    const auto name = [&] {
        return Wide("Block" + std::to_string(kBlocks / 2 + static_cast<int>(random() % (kBlocks / 2))));
    };
    const auto seek = [&] {
        io::CBlock block;
        if (!indexed.SeekToIndexEntry(name()))
            std::abort();
        block.Read(indexed);
    };
    seek(); // the first one makes the index of names
    Compare(
        "one of 100,000 blocks: loaded index, scan", seek,
        [&] {
            io::CToken_istring s(io::CToken_istring::InPlace{text}, &io::DefaultTokenGrammar());
            io::CBlock block;
            if (!s.SkipToBlock(name()))
                std::abort();
            block.Read(s);
        },
        1);
    Compare(
        "one of 100,000 blocks: index read anew, scan",
        [&] {
            io::CToken_istring s(io::CToken_istring::InPlace{text}, &io::DefaultTokenGrammar(),
                                 io::kUseIndex);
            io::CBlock block;
            if (!s.SeekToIndexEntry(name()))
                std::abort();
            block.Read(s);
        },
        [&] {
            io::CToken_istring s(io::CToken_istring::InPlace{text}, &io::DefaultTokenGrammar());
            if (!s.SkipToBlock(name()))
                std::abort();
        },
        1);
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        gRounds = std::max(1, std::atoi(argv[1]));
    if (argc > 2)
        gOnly = argv[2];
    const Document large = MakeNetwork("16 ports at 1001", 16, 1001);
    const Document twoPort = MakeNetwork("2 ports at 10001", 2, 10001);
    const Document message = MakeMessage();
    if (gOnly.empty()) {
        CompareMemory(large);
        CompareMemory(twoPort);
    }
    CompareDocument(large, 1);
    CompareDocument(twoPort, 1);
    CompareDocument(message, 2000);
    if (gOnly.empty())
        CompareSizes();
    CompareIndex();
    return 0;
}
