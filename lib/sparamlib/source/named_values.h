// Named values of a block and the fields that they belong to: one list of fields serves both directions.
#pragma once

#include <streamio/streamio_manip.h>

// A value that is absent leaves its field.
struct NamedReader {
    io::CBlock& block;

    template <class T>
    void operator()(const wchar16* name, T& field) const {
        block >> io::CNamed_value_manip<T>(name, field);
    }
};

struct NamedWriter {
    io::CBlock& block;

    template <class T>
    void operator()(const wchar16* name, const T& field) const {
        block << io::CNamed_value_manip<T>(name, field);
    }
};
