// Any text is delivered as a block of co-simulation sources, and any steps of a kernel follow; the same text is read as a port
// block. The first byte says the form and the steps.
#include <engine/cosim_bridge.h>

#include <platform/bstr.h>
#include <trancosimlib/cosim_text.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void Expect(bool condition) {
    if (!condition)
        std::abort();
}

std::size_t Values(const std::vector<std::vector<double>>& rows) {
    std::size_t values = 0;
    for (const auto& row : rows)
        values += row.size();
    return values;
}

// What has been read comes back from its own form, to the byte.
template <class Record>
void CheckRecord(BSTR text) {
    Record record;
    if (!ReadCosimText(text, record))
        return;
    const platform::UniqueBstr form = MakeCosimText(record);
    Record back;
    Expect(ReadCosimText(form.Get(), back));
    Expect(MakeCosimText(back).View() == form.View());
}

void Step(CosimBridge& bridge, std::uint8_t step) {
    const std::string index = std::to_string(step % 5 - 1);
    double value = 0, slope = 0;
    for (double time : {-1.0, 0.0, step / 16.0})
        bridge.Source(index.c_str(), time, &value, &slope);
    if (step % 3 != 0)
        bridge.Port(index.c_str(), value, slope);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    std::u16string units;
    if (data[0] % 2 == 0)
        units += u'\0'; // the binary form
    for (std::size_t i = 1; i < size; ++i)
        units += static_cast<char16_t>(data[i]);
    const platform::UniqueBstr text{std::u16string_view(units)};
    CheckRecord<COSIMPORTDATA>(text.Get());
    CheckRecord<COSIMSRCDATA>(text.Get());
    COSIMSRCDATA block;
    Expect(!ReadCosimText(text.Get(), block) || Values(block.m_Data) <= units.size());

    CosimBridge bridge;
    if (bridge.Deliver(text.Get(), 1).refused)
        return 0;
    int result = CosimBridge::kGood;
    for (int k = 0; result == CosimBridge::kGood && k < 64; ++k) {
        Step(bridge, static_cast<std::uint8_t>(data[0] * 7 + k));
        result = bridge.PortFlush();
    }
    bridge.Close(1, result != CosimBridge::kGood);
    Expect(!bridge.Deliver(text.Get(), 1).refused);
    return 0;
}
