// What the tests of points have in common: an owner that stands in for a solution, matrices from a list, random
// networks, and what a block says as text.
#pragma once

#include <sparamlib/network_modal_data.h>
#include <sparamlib/network_terminal_data.h>
#include <streamio/block.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <ostream>
#include <random>
#include <string>
#include <vector>

inline void PrintTo(const Complex& value, std::ostream* out) {
    *out << "(" << value.re << ", " << value.im << ")";
}

// Ports with one row for each mode.
struct Ports final : INetworkDataOwner {
    Ports(std::initializer_list<int> modesOfPorts) : modes(modesOfPorts) {}
    explicit Ports(int n) : modes(static_cast<std::size_t>(n), 1) {}

    int GetMatrixSize() const override {
        if (size >= 0)
            return size;
        int n = 0;
        for (int count : modes)
            n += std::max(count, 0);
        return n;
    }
    CMatrixEntry* GetMatrixEntry(unsigned index) const override { return index == 0 ? entry : nullptr; }
    bool HasMultipleModes() const override {
        return std::any_of(modes.begin(), modes.end(), [](int count) { return count > 1; });
    }
    int GetNumPorts() const override { return static_cast<int>(modes.size()); }
    int GetNumModes(unsigned port) const override { return modes.at(port); }
    NetworkDataKind GetPreferredImpedance() const override { return preferred; }

    std::vector<int> modes;
    int size = -1; // what is claimed, if not the sum of the modes
    CMatrixEntry* entry = nullptr;
    NetworkDataKind preferred = NetworkDataKind::Zpi;
};

inline ComplexMatrix Matrix_(int n, std::initializer_list<Complex> elements) {
    ComplexMatrix matrix(n, n);
    std::copy(elements.begin(), elements.end(), matrix.Data());
    return matrix;
}

inline ComplexVector Vector_(std::initializer_list<Complex> elements) {
    ComplexVector vector(static_cast<int>(elements.size()));
    std::copy(elements.begin(), elements.end(), vector.Data());
    return vector;
}

inline RealVector Reals(std::initializer_list<double> elements) {
    RealVector vector(static_cast<int>(elements.size()));
    std::copy(elements.begin(), elements.end(), vector.Data());
    return vector;
}

inline double LargestDifference(const ComplexMatrix& a, const ComplexMatrix& b) {
    if (a.Rows() != b.Rows() || a.Columns() != b.Columns())
        return std::numeric_limits<double>::infinity();
    double largest = 0.0;
    for (int k = 0; k < a.Size(); ++k) {
        const double difference = abs(a.Data()[k] - b.Data()[k]);
        largest = difference > largest || std::isnan(difference) ? difference : largest;
    }
    return largest;
}

inline bool IsZero(const ComplexMatrix& matrix) {
    return std::all_of(matrix.Data(), matrix.Data() + matrix.Size(),
                       [](const Complex& c) { return c == Complex(); });
}

// The same elements, to the bit but for the sign of zeros.
inline bool Equal(const ComplexMatrix& a, const ComplexMatrix& b) {
    return a.Rows() == b.Rows() && a.Columns() == b.Columns() &&
           std::equal(a.Data(), a.Data() + a.Size(), b.Data());
}

class Networks {
public:
    explicit Networks(unsigned seed) : m_Random(seed) {}

    double Between(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(m_Random);
    }
    Complex Number(double size) { return {Between(-size, size), Between(-size, size)}; }

    ComplexMatrix Any(int n, double size) {
        ComplexMatrix matrix(n, n);
        for (int k = 0; k < matrix.Size(); ++k)
            matrix.Data()[k] = Number(size);
        return matrix;
    }
    // The S matrix of a network that is passive and reciprocal: symmetric, and rows that sum up to less than 1.
    ComplexMatrix Passive(int n) {
        ComplexMatrix matrix = Any(n, 0.6 / n);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < i; ++j)
                matrix[i][j] = matrix[j][i];
        }
        return matrix;
    }
    ComplexVector RealImpedances(int n) {
        ComplexVector z(n);
        for (int i = 0; i < n; ++i)
            z[i] = {Between(5, 200), 0.0};
        return z;
    }
    ComplexVector ComplexImpedances(int n) {
        ComplexVector z(n);
        for (int i = 0; i < n; ++i)
            z[i] = {Between(5, 200), Between(-80, 80)};
        return z;
    }

private:
    std::mt19937_64 m_Random;
};

inline std::string Narrow(const AString& text) {
    return {text.begin(), text.end()};
}

inline AString Wide(const std::string& text) {
    return AString(std::u16string(text.begin(), text.end()));
}

// A block's text; the object's own block where it is one.
inline std::string Text(const io::CStreamio_object& object) {
    AString text;
    return Narrow(object.ToText(text));
}

// The block "DataPoint" around these lines.
inline io::CBlock PointBlock(const std::string& lines) {
    io::CBlock block;
    EXPECT_TRUE(block.FromText(Wide("$begin DataPoint\n" + lines + "$end DataPoint\n"))) << lines;
    return block;
}
