// Reads a text from its begin to its end once: the header, what header and data say together, the data.
#pragma once

#include "scanner.h"

#include <map>
#include <optional>

namespace touchstone {

class Reader : Scanner {
public:
    Reader(std::string_view text, int portsByName) : Scanner(text), m_PortsByName(portsByName) {}

    // Once.
    File Read();

private:
    struct Keyword {
        std::string name; // empty for none
        int line = 0;
    };

    bool IsVersion2() const { return touchstone::IsVersion2(m_Layout.version); }
    void Warn(int line, const std::string& text) { m_File.warnings.push_back({line, text}); }

    // Up to the first number of the data.
    void ReadHeader();
    void ReadOptionLine();
    void IgnoreOptionLine();
    void ReadSetting(const Keyword& keyword);
    void SkipInformation(int begin);

    // From "[" to behind "]". A keyword that stands for the second time is an error.
    Keyword ReadKeyword();
    template <class Value, class Parse>
    Value Argument(Parse parse, std::string_view expected);
    std::size_t Count(std::size_t least, std::size_t most);
    std::complex<double> ReferenceOf(std::string_view word);
    MixedModeTerm TermOf(std::string_view word);
    void ExpectLineEnd();

    void SettlePorts();
    std::size_t NumbersOfFrequency();
    void SettleReferences();

    // To the next number; false where the data end, before a keyword or at the text's end.
    bool ToNumber();
    double Frequency();
    void ReadNetworkData();
    void ReadMatrix();
    double MatrixNumber(std::size_t count, double least);
    void FinishMatrix(std::size_t base);
    void Unfold(std::size_t base);
    void Denormalise(std::size_t base);
    bool IsNoise();
    void ReadNoise();
    void ReadBehindNetworkData();

    // The pairs of numbers at a frequency.
    std::size_t Pairs() const;
    void CheckMore(std::size_t count, std::optional<std::size_t> stated) const;
    void CheckAll(std::size_t count, std::optional<std::size_t> stated) const;
    void CheckOrder(double frequency, double before) const;
    std::string Found() const;

    const int m_PortsByName;
    File m_File;
    Network& m_Net = m_File.network;
    Layout& m_Layout = m_File.layout;

    std::map<std::string, int> m_Seen; // keywords and their lines
    std::vector<std::complex<double>> m_OptionReferences;
    std::optional<std::size_t> m_Frequencies; // stated
    std::optional<std::size_t> m_NoiseFrequencies;
    int m_OptionLine = 0;
    int m_MatrixLine = 0;            // where the matrix being read begins
    bool m_SecondOptionLine = false; // warned of
    bool m_ComplexReference = false;
    bool m_DecibelsOfZero = false;
    std::string m_Shifted; // room for a frequency
};

} // namespace touchstone
