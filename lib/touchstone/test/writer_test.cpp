#include <touchstone/touchstone.h>

#include <gtest/gtest.h>
#include <random>

namespace touchstone {
namespace {

using Complex = std::complex<double>;

class Networks {
public:
    // With noise data if there are two ports; `symmetric` is what a triangle holds.
    Network Make(Kind kind, int ports, bool symmetric) {
        Network network;
        network.kind = kind;
        network.ports = ports;
        const std::size_t n = static_cast<std::size_t>(ports);
        double frequency = 0;
        for (int i = 0; i < 7; ++i) {
            network.frequencies.push_back(frequency);
            frequency += Size(1e9);
            for (std::size_t k = 0; k < n * n; ++k)
                network.values.emplace_back(Signed(), k % 5 == 0 ? 0.0 : Signed());
            Complex* const matrix = &network.values[network.values.size() - n * n];
            for (std::size_t k = 0; symmetric && k < n * n; ++k)
                matrix[k] = matrix[std::min(k, k % n * n + k / n)];
        }
        network.references.assign(n, Size(100));
        if (ports == 2) {
            for (const double at : {0.0, 0.3, 1.7})
                network.noise.push_back(
                    {at * network.frequencies[1], Size(3), {Signed(), Signed()}, Size(20)});
            network.noiseReference = network.references.front().real();
        }
        return network;
    }

    double Size(double most) { return std::uniform_real_distribution<double>(most * 1e-3, most)(m_Random); }
    double Signed() { return std::uniform_real_distribution<double>(-1, 1)(m_Random); }

private:
    std::mt19937_64 m_Random{1};
};

void ExpectNear(const std::vector<Complex>& read, const std::vector<Complex>& written, double tolerance) {
    ASSERT_EQ(read.size(), written.size());
    for (std::size_t i = 0; i < read.size(); ++i)
        ASSERT_LE(std::abs(read[i] - written[i]), tolerance * std::abs(written[i])) << i;
}

void ExpectSame(const Network& read, const Network& written, double tolerance) {
    EXPECT_EQ(read.kind, written.kind);
    EXPECT_EQ(read.ports, written.ports);
    EXPECT_EQ(read.frequencies, written.frequencies);
    EXPECT_EQ(read.references, written.references);
    EXPECT_EQ(read.mixedMode, written.mixedMode);
    EXPECT_EQ(read.noiseReference, written.noiseReference);
    ExpectNear(read.values, written.values, tolerance);
    ASSERT_EQ(read.noise.size(), written.noise.size());
    for (std::size_t i = 0; i < read.noise.size(); ++i) {
        EXPECT_EQ(read.noise[i].frequency, written.noise[i].frequency);
        EXPECT_EQ(read.noise[i].minimumFigure, written.noise[i].minimumFigure);
        EXPECT_NEAR(read.noise[i].resistance, written.noise[i].resistance,
                    1e-14 * written.noise[i].resistance);
        ExpectNear({read.noise[i].optimumReflection}, {written.noise[i].optimumReflection}, 1e-14);
    }
}

// Every layout that can say a network of the kind.
template <class Visit>
void ForLayouts(Visit visit) {
    for (const Version version : {Version::V1_0, Version::V1_1, Version::V2_0, Version::V2_1})
        for (const Unit unit : {Unit::Hz, Unit::KiloHz, Unit::MegaHz, Unit::GigaHz, Unit::TeraHz})
            for (const Format format : {Format::RealImaginary, Format::MagnitudeAngle, Format::DecibelAngle})
                for (const MatrixFormat matrix :
                     {MatrixFormat::Full, MatrixFormat::Lower, MatrixFormat::Upper})
                    for (const TwoPortOrder order : {TwoPortOrder::Order12_21, TwoPortOrder::Order21_12})
                        if (version >= Version::V2_0 ||
                            (matrix == MatrixFormat::Full && order == TwoPortOrder::Order21_12))
                            visit(Layout{version, unit, format, matrix, order, 0});
}

TEST(TouchstoneWriter, EveryLayoutComesBack) {
    Networks networks;
    for (const Kind kind : {Kind::S, Kind::Y, Kind::Z, Kind::G, Kind::H})
        for (const int ports : {1, 2, 3, 4, 5, 9})
            ForLayouts([&](const Layout& layout) {
                if (ports != 2 &&
                    (kind == Kind::G || kind == Kind::H || layout.twoPortOrder == TwoPortOrder::Order12_21))
                    return;
                const Network network = networks.Make(kind, ports, layout.matrix != MatrixFormat::Full);
                SCOPED_TRACE(static_cast<char>(kind) + std::to_string(ports) + ' ' +
                             std::string(Name(layout.version)) + ' ' + std::string(Name(layout.unit)) + ' ' +
                             std::string(Name(layout.format)) + ' ' + std::string(Name(layout.matrix)));
                const std::string text = Write(network, layout);
                const bool divided = layout.version < Version::V2_0 && kind != Kind::S;
                const bool exact = layout.format == Format::RealImaginary && !divided;
                for (const int portsByName : {0, ports}) {
                    const File file = Read(text, portsByName);
                    ExpectSame(file.network, network, exact ? 0 : 2e-15);
                    EXPECT_TRUE(file.warnings.empty());
                    EXPECT_EQ(file.layout.version,
                              layout.version == Version::V1_1 ? Version::V1_0 : layout.version);
                    EXPECT_EQ(file.layout.unit, layout.unit);
                    EXPECT_EQ(file.layout.matrix, layout.matrix);
                }
            });
}

TEST(TouchstoneWriter, ReferencesAndModesComeBackInTheLayoutItProposes) {
    using Mode = MixedModeTerm::Mode;
    struct Case {
        const char* name;
        std::vector<Complex> references;
        std::vector<MixedModeTerm> mixedMode;
        Version version;
    };
    const Case cases[] = {
        {"one", {75, 75, 75}, {}, Version::V1_0},
        {"different", {75, 0.1, 75}, {}, Version::V2_0},
        {"one complex", {{50, -1e-9}, {50, -1e-9}, {50, -1e-9}}, {}, Version::V1_0},
        {"different, complex", {{50, 1e30}, 2, 3}, {}, Version::V2_0},
        {"mixed mode",
         {50, 75, 75},
         {{Mode::Common, 3, 2}, {Mode::Single, 1}, {Mode::Differential, 3, 2}},
         Version::V2_0},
    };
    Networks networks;
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        Network network = networks.Make(Kind::S, 3, false);
        network.references = each.references;
        network.mixedMode = each.mixedMode;
        const Layout layout = LayoutFor(network);
        EXPECT_EQ(layout.version, each.version);
        EXPECT_TRUE(Read(Write(network, layout)).network == network);
    }
}

TEST(TouchstoneWriter, SmallAndLargeNumbersComeBack) {
    Network network = {
        Kind::S, 1, {0, 5e-324, 1e-5, 1.0 / 3, 123456.789, 1e21, 1.7976931348623157e308}, {}, {50}, {}, {}};
    network.values = {0, 5e-324, {-0.0, -1}, {1e-300, -1e300}, {-1, 0}, {1e300, 0}, {0.1, 1e22}};
    ForLayouts([&](const Layout& layout) {
        const Network read = Read(Write(network, layout), 1).network;
        EXPECT_EQ(read.frequencies, network.frequencies);
        if (layout.format == Format::RealImaginary) {
            EXPECT_EQ(read.values, network.values);
            return;
        }
        EXPECT_EQ(read.values.front(), 0.0);
        EXPECT_EQ(read.values[4], -1.0);
    });
}

TEST(TouchstoneWriter, DigitsAreAsManyAsAskedFor) {
    const Network network = {Kind::S, 1, {1.23456789e9}, {{0.123456789, -2}}, {50}, {}, {}};
    Layout layout = LayoutFor(network);
    layout.unit = Unit::MegaHz;
    layout.digits = 4;
    EXPECT_EQ(Write(network, layout), "# MHz S RI R 50\n1234.56789 0.1235 -2\n");
    layout.unit = Unit::GigaHz;
    layout.digits = 17;
    EXPECT_EQ(Write(network, layout), "# GHz S RI R 50\n1.23456789 0.123456789 -2\n");
}

TEST(TouchstoneWriter, RefusesWhatCantBeSaid) {
    const auto fault = [](auto change) -> std::string {
        Networks networks;
        Network network = networks.Make(Kind::Z, 2, false);
        Layout layout;
        change(network, layout);
        try {
            Write(network, layout);
        } catch (const Error& error) {
            EXPECT_EQ(error.Line(), 0);
            return error.what();
        }
        return "none";
    };
    using N = Network;
    using L = Layout;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::pair<std::string, std::string> faults[] = {
        {fault([](N&, L&) {}), "none"},
        {fault([](N& n, L&) { n.ports = 0; }), "reference for each of 0 ports"},
        {fault([](N& n, L&) { n.ports = -3; }), "reference for each of -3 ports"},
        {fault([](N& n, L&) { n.references.pop_back(); }), "found 1"},
        {fault([](N& n, L&) { n.values.pop_back(); }), "2 x 2 values at each of 7"},
        {fault([](N& n, L&) {
             n.values.clear();
             n.frequencies.clear();
         }),
         "at each of 0"},
        {fault([](N& n, L&) { n.frequencies[3] = n.frequencies[2]; }), "ascending data"},
        {fault([](N& n, L&) { n.frequencies[0] = -1; }), "ascending data"},
        {fault([&](N& n, L&) { n.frequencies[6] = nan; }), "ascending data"},
        {fault([&](N& n, L&) {
             n.values[5] = {0, nan};
         }),
         "finite values"},
        {fault([](N& n, L&) {
             n.references = {0, 0};
         }),
         "above 0 ohm, found 0"},
        {fault([](N& n, L&) {
             n.references = {50, 75};
         }),
         "version 1.0 can't say different"},
        {fault([](N& n, L& l) {
             n.references = {50, 75};
             l.version = Version::V1_1;
         }),
         "Z parameters of different"},
        {fault([](N& n, L&) {
             n.references = {{50, 1}, {50, 1}};
         }),
         "or complex references"},
        {fault([](N&, L& l) { l.matrix = MatrixFormat::Lower; }), "one triangle"},
        {fault([](N&, L& l) {
             l.matrix = MatrixFormat::Lower;
             l.version = Version::V2_0;
         }),
         "symmetric"},
        {fault([](N&, L& l) { l.digits = 18; }), "0 to 17 digits"},
        {fault([](N& n, L&) { n.noiseReference = 1; }), "isn't port 1's"},
        {fault([](N& n, L& l) {
             n.noiseReference = 0;
             l.version = Version::V2_0;
         }),
         "above 0 ohm"},
        {fault([](N& n, L&) { n.noise[1].frequency = 0; }), "ascending noise"},
        {fault([&](N& n, L&) { n.noise[1].resistance = nan; }), "finite noise"},
        {fault([](N& n, L&) {
             n.noise = {{1e30, 0, 0, 0}};
         }),
         "begin above"},
        {fault([](N& n, L&) {
             n.mixedMode = {{}, {}};
         }),
         "names no ports"},
        {fault([](N& n, L&) { n = Networks().Make(Kind::H, 3, false); }),
         "H parameters are of 2 ports, found 3"},
        {fault([](N& n, L&) {
             n = Networks().Make(Kind::S, 1, false);
             n.noise.resize(1);
         }),
         "noise data are of 2"},
        {fault([](N& n, L& l) {
             n.kind = Kind::S;
             n.values[0] = {1.7e308, 1.7e308};
             l.format = Format::MagnitudeAngle;
         }),
         "range"},
        {fault([](N& n, L& l) {
             n.noise.clear();
             n.references = {100, 100};
             n.kind = Kind::Y;
             n.values[0] = 1e308;
             l.format = Format::RealImaginary;
         }),
         "range"},
    };
    for (const auto& [found, expected] : faults)
        EXPECT_NE(found.find(expected), std::string::npos) << expected << ": " << found;
}

} // namespace
} // namespace touchstone
