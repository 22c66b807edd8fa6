#include <sparamlib/port_table.h>

#include "function_items.h"

std::optional<std::int32_t> CountRows(const std::vector<std::int32_t>& counts) {
    std::int32_t rows = 0;
    for (const std::int32_t count : counts) {
        if (count > kMaxMatrixSize - rows)
            return std::nullopt;
        rows += std::max(count, 0);
    }
    return rows;
}

void PortTable::Read(io::CBlock& block) {
    AppendArguments<AString>(block, u"PortNames", names);
    AppendArguments<std::int32_t>(block, u"PortModes", modes);
    AppendArguments<AString>(block, u"PortTerminals", terminals);
}

void PortTable::Write(io::CBlock& block) const {
    AddSequence(block, u"PortNames", names);
    AddSequence(block, u"PortModes", modes);
    AddSequence(block, u"PortTerminals", terminals);
}
