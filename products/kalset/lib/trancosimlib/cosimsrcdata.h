// One block of source samples of a co-simulation, from the client to the engine.
//
// Its form in a token stream: the time step, the number of sources, the number of samples, then for each source its
// samples in time order. A text that ends before what it declares, or declares a negative number, fails to be
// read (FromText gives false) and leaves a block of no sources; memory grows with what stands in the text only, never with
// what it declares. One thread at a time.
#pragma once

#include <streamio/streamio_object.h>

#include <cstdint>
#include <string>
#include <vector>

class COSIMSRCDATA : public io::CStreamio_object {
public:
    // One source of one sample, 0.0.
    COSIMSRCDATA() : COSIMSRCDATA(1, 1) {}
    // All samples 0.0. The numbers aren't negative.
    COSIMSRCDATA(std::int32_t sources, std::int32_t samples);
    ~COSIMSRCDATA() override;

    void Read(io::CAbstract_istream& s) override;
    // Asserts that every row has the declared length.
    void Write(io::CAbstract_ostream& s) const override;
    std::uint32_t GetBinarySize(io::CAbstract_ostream& s) const override;

    // Why no simulation can be driven with this block, in words: what was found and what was expected. Empty if it
    // can. An engine refuses a block that has a fault.
    std::string Fault() const;

    std::int32_t m_NumSources;
    std::int32_t m_NumSamples;               // of each source
    std::vector<std::vector<double>> m_Data; // a row for each source
    double m_TimeStep = 0.0;                 // between two samples [s]
};
