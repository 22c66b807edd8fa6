// Any bytes are read as a binary text; the tree is written in both forms and comes back from its binary form as it is.
#include <streamio/block.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    AString bytes(std::u16string(1, u'\0'));
    for (std::size_t i = 0; i < size; ++i)
        bytes += static_cast<wchar16>(data[i]);
    io::CBlock block;
    block.FromText(bytes);
    AString text;
    block.ToText(text, 0, 17);

    // From the first writing on the bytes stand still.
    AString first;
    block.ToBinaryText(first);
    io::CBlock again;
    if (!again.FromText(first))
        return 0; // an item whose name the form can't say
    AString second;
    again.ToBinaryText(second);
    io::CBlock third;
    if (!third.FromText(second))
        return 0;
    AString last;
    third.ToBinaryText(last);
    if (last != second)
        std::abort();
    return 0;
}
