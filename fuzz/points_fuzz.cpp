// Any block is read by points of each class and by noise data: what is read is written, read and written again as it is,
// and every operation on it ends.
#include <sparamlib/network_modal_data.h>
#include <sparamlib/network_terminal_data.h>
#include <sparamlib/noise_data.h>
#include <streamio/block.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Require(bool holds) {
    if (!holds)
        std::abort();
}

// Up to four rows, of which the first port may have two.
struct Ports final : INetworkDataOwner {
    explicit Ports(unsigned choice) : n(static_cast<int>(choice % 5)), isDouble(choice & 8) {}
    int GetMatrixSize() const override { return n; }
    CMatrixEntry* GetMatrixEntry(unsigned) const override { return nullptr; }
    bool HasMultipleModes() const override { return isDouble; }
    int GetNumPorts() const override { return isDouble ? n - 1 : n; }
    int GetNumModes(unsigned port) const override { return isDouble && port == 0 ? 2 : 1; }
    int n;
    bool isDouble;
};

AString TextOf(const CNetworkData& point) {
    AString text;
    point.ToText(text, 0, 17);
    return text;
}

template <class Point>
void Read(Point& point, io::CBlock& block, Ports& ports) {
    point.SetOwner(&ports);
    const std::int32_t code = point.ReadFromBlock(block);
    Require(code == 0 || code == 1);
    const AString text = TextOf(point);
    Point again;
    again.SetOwner(&ports);
    if (text.find(u"inf") == text.npos && text.find(u"nan") == text.npos) // which no text holds as a number
        Require(again.FromText(text) && again.GetReadStatus() == 0 && TextOf(again) == text);
    AString binary;
    Point fromBinary(point);
    Require(fromBinary.FromText(point.ToBinaryText(binary)) && TextOf(fromBinary) == text);
    Require(TextOf(Point(point)) == text);
}

void Use(CNetworkData& point, Ports& ports) {
    for (std::int32_t kind = 1; kind <= 32768; kind *= 2) {
        for (int i = -1; i <= ports.n; ++i)
            point.GetValue(static_cast<NetworkDataKind>(kind), i, ports.n - 1 - i);
    }
    const ComplexMatrix* s = point.GetSMatrix(true);
    Require(!s || s->Rows() == ports.n);
    for (int count : {ports.n, ports.GetNumPorts()}) {
        if (count < 0)
            continue;
        const RealVector distances(count, 1e-3);
        point.Deembed(distances, true, true);
        point.DeembedByDelay(distances);
        point.Renormalize(ComplexVector(count, Complex(50, 1)));
    }
    TextOf(point);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The first byte makes the owner; the rest is a text of one byte a unit, or with the second byte 0 a binary one.
    if (size < 2)
        return 0;
    AString text;
    for (std::size_t i = 1; i < size; ++i)
        text += static_cast<wchar16>(data[i]);
    io::CBlock block;
    block.FromText(text);
    Ports ports(data[0]);

    CNetworkData plain;
    Read(plain, block, ports);
    Use(plain, ports);

    CNetworkModalData modal;
    Read(modal, block, ports);
    if (CNetworkTerminalData* form = modal.GetTerminalData(true))
        Use(*form, ports);
    CNetworkModalData copy(modal);
    Use(copy, ports);
    Use(modal, ports);

    CNetworkTerminalData terminal;
    Read(terminal, block, ports);
    terminal.DeembedTerminals(RealVector(ports.n, 1e-3), false);
    terminal.RenormalizeMatrix(IdentityMatrix(ports.n));
    Use(terminal, ports);

    CNoiseDataSolution noise;
    const std::int32_t code = noise.ReadFromBlock(block);
    Require(code == 0 || code == 1);
    io::CBlock written;
    Require(noise.WriteToBlock(written, false));
    CNoiseDataSolution again;
    Require(again.ReadFromBlock(written) == 0 && again.GetPoints().size() == noise.GetPoints().size());
    return 0;
}
