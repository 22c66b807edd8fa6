// One block of port values of a co-simulation, from the engine to the client.
//
// Its form in a token stream: whether it has data, the number of ports, the number of steps, then for each port and each of
// its steps the pair of values. A block without data is the closing record of a failed job. Reading is as safe as that of
// COSIMSRCDATA. One thread at a time.
#pragma once

#include <streamio/streamio_object.h>

#include <cstdint>
#include <vector>

class COSIMPORTDATA : public io::CStreamio_object {
public:
    // One port of one step, 0.0, without data.
    COSIMPORTDATA();
    ~COSIMPORTDATA() override;

    void Read(io::CAbstract_istream& s) override;
    // Asserts that every row has the declared length.
    void Write(io::CAbstract_ostream& s) const override;
    std::uint32_t GetBinarySize(io::CAbstract_ostream& s) const override;

    bool m_HasData = false; // false on the closing record
    std::int32_t m_NumPorts = 1;
    std::int32_t m_NumSteps = 1;               // of each port
    std::vector<std::vector<double>> m_First;  // a row for each port: the first value of each step
    std::vector<std::vector<double>> m_Second; // likewise the second value
};
