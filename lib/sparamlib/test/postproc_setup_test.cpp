#include "solution_tests.h"

#include <sparamlib/network_postproc_setup.h>
#include <utility/assertion.h>

#include <functional>

namespace {

using Settings = CNetworkPostprocSetup;

std::string Stored(const Settings& setup) {
    io::CBlock block(AString(u"Setup"));
    EXPECT_TRUE(setup.WriteToBlock(block));
    return Text(block);
}

std::int32_t Read(Settings& setup, const std::string& lines) {
    io::CBlock block = BlockOf("Setup", lines);
    return setup.ReadFromBlock(block);
}

const std::string kSequences =
    "Modes(1, 2)\nDoPortRenorm(true, false)\nPortCharImpeds('Zpi', 'Zvi', 'Zpv')\n";

TEST(Setup, IsActiveByAnyOfItsSettingsButNotWithoutRows) {
    struct Case {
        const char* what;
        std::function<void(Settings&)> set;
        bool isActive;
    };
    const ComplexVector impedances(1, Complex(75));
    for (const Case& c : std::vector<Case>{
             {"new", [](Settings&) {}, false},
             {"renormalises", [](Settings& s) { s.mDoRenorm = true; }, true},
             {"moves", [](Settings& s) { s.mDoDeembed = true; }, true},
             {"is terminal", [](Settings& s) { s.mIsModal = false; }, true},
             {"uses more than Zpi", [](Settings& s) { s.mUseZpiOnly = false; }, true},
             {"goes to 0 Hz", [](Settings& s) { s.mExtrapToDC = true; }, true},
             {"multiplies", [](Settings& s) { s.mImpedMultiplier = 1.0000001; }, true},
             {"overrides",
              [](Settings& s) {
                  s.SetOverrides({{0, Complex(75)}}, {});
              },
              true},
             {"overrides distances",
              [](Settings& s) {
                  s.SetOverrides({}, {{0, 1.0}});
              },
              true},
             {"has defaults", [&](Settings& s) { s.SetDefaults(true, &impedances, nullptr); }, true},
             {"snaps", [](Settings& s) { s.mDoDCSnapping = true; }, false},
             {"has pairs", [](Settings& s) { s.mDiffPairs.emplace_back(); }, false},
         }) {
        Settings one({1}), none({});
        c.set(one);
        EXPECT_EQ(one.IsActive(), c.isActive) << c.what;
        const auto before = SetAssertQuestion(Ignore);
        c.set(none);
        SetAssertQuestion(before);
        EXPECT_FALSE(none.IsActive()) << c.what;
    }
}

TEST(Setup, CountsItsRowsWithinReason) {
    struct Case {
        std::vector<std::int32_t> modes;
        int ports, rows;
    };
    for (const Case& c :
         {Case{{1, 2, 3}, 3, 6}, Case{{}, 0, 0}, Case{{-5, 2}, 2, 2}, Case{{2000000000, 2000000000}, 2, 0}}) {
        const Settings setup(c.modes);
        EXPECT_EQ(setup.GetNumPorts(), c.ports);
        EXPECT_EQ(setup.GetMatrixSize(), c.rows);
        EXPECT_EQ(setup.mPortCharImpeds.size(), static_cast<std::size_t>(c.rows));
    }
}

TEST(Setup, OverridesBeatDefaultsElementByElementAndDoNotAddUp) {
    const ComplexVector defaults(2, Complex(75));
    const RealVector distances(2, 0.5);
    Settings setup({1, 1});
    setup.SetDefaults(true, &defaults, &distances);
    EXPECT_EQ((*setup.GetRenormImpedances())[1], Complex(75));
    setup.SetOverrides({{0, Complex(50)}, {1, Complex()}}, {{1, 0.25}});
    EXPECT_EQ((*setup.GetRenormImpedances())[0], Complex(50));
    EXPECT_EQ((*setup.GetRenormImpedances())[1], Complex(75)); // (0, 0) is no override
    EXPECT_EQ((*setup.GetDeembedDistances())[0], 0.5);
    EXPECT_EQ((*setup.GetDeembedDistances())[1], 0.25);
    // Merged once.
    setup.SetOverrides({{0, Complex(20)}}, {});
    EXPECT_EQ((*setup.GetOverrideImpedances())[0], Complex(20));
    EXPECT_EQ((*setup.GetRenormImpedances())[0], Complex(50));
    EXPECT_EQ((*setup.GetDeembedDistances())[1], 0.5);
    setup.ClearOverrides();
    EXPECT_EQ((*setup.GetRenormImpedances())[0], Complex(50));
    setup.SetDefaults(true, nullptr, nullptr);
    EXPECT_EQ(setup.GetRenormImpedances(), nullptr);
    EXPECT_EQ(setup.GetDeembedDistances(), nullptr);
    EXPECT_FALSE(setup.IsActive());

    setup.SetOverrides({}, {{1, 0.25}});
    EXPECT_EQ(setup.GetOverrideImpedances(), nullptr);
    EXPECT_EQ((*setup.GetDeembedDistances())[0], 0.0);
    const ComplexVector longer(3, Complex(1));
    const RealVector shorter(1, 1.0);
    setup.SetDefaults(false, &longer, &shorter);
    EXPECT_FALSE(setup.mIsModal);
    EXPECT_FALSE(setup.mDoRenorm || setup.mDoDeembed);
    EXPECT_EQ(setup.GetRenormImpedances(), nullptr);
}

TEST(Setup, AnIndexOutsideOverridesNothing) {
    const auto before = SetAssertQuestion(Ignore);
    Settings setup({2, 1});
    setup.SetOverrides({{-1, Complex(1)}, {3, Complex(1)}, {2, Complex(9)}}, {{-1, 1.0}, {2, 1.0}, {1, 7.0}});
    SetAssertQuestion(before);
    ASSERT_EQ(setup.GetRenormImpedances()->Size(), 3);
    EXPECT_EQ((*setup.GetRenormImpedances())[0], Complex());
    EXPECT_EQ((*setup.GetRenormImpedances())[2], Complex(9));
    ASSERT_EQ(setup.GetDeembedDistances()->Size(), 2);
    EXPECT_EQ((*setup.GetDeembedDistances())[1], 7.0);
}

TEST(Setup, IsReadAndWrittenAsItStands) {
    const std::string text = "$begin Setup\n"
                             "\tNumPorts=2\n"
                             "\tMatrixSize=3\n"
                             "\tIsModal=false\n"
                             "\tDoRenorm=true\n"
                             "\tDoDeembed=true\n"
                             "\tUseZpiOnly=false\n"
                             "\tLosslessDeembed=false\n"
                             "\tImpedMultiplier=0.5\n"
                             "\tModes(1, 2)\n"
                             "\tPortImpeds(1, 2, 3, 4, 5, 6)\n"
                             "\tDefaultImpeds(50, 0, 60, 1, 0, 0)\n"
                             "\tImpeds(0, 0, 0, 0, 70, 2)\n"
                             "\tDefaultDists(0.5, 0)\n"
                             "\tDists(0, 0.25)\n"
                             "\tDoPortRenorm(true, false)\n"
                             "\tPortCharImpeds('Zpi', 'Zvi', 'Zpv')\n"
                             "\t$begin DiffPairs\n"
                             "\t\t$begin Pair\n"
                             "\t\t\tPortName='P'\n"
                             "\t\t\tDiffName='D'\n"
                             "\t\t\tPosTerminalIndex=0\n"
                             "\t\t\tCommonName='C'\n"
                             "\t\t\tNegTerminalIndex=1\n"
                             "\t\t$end Pair\n"
                             "\t$end DiffPairs\n"
                             "\tExtrapToDC=true\n"
                             "\tDoDCSnapping=true\n"
                             "\tDCSnapTolerance=0.001\n"
                             "$end Setup\n";
    io::CBlock block;
    ASSERT_TRUE(block.FromText(Wide(text)));
    Settings setup({7});
    EXPECT_EQ(setup.ReadFromBlock(block), 0);
    EXPECT_EQ(Stored(setup), text);
    const Settings copy(setup);
    EXPECT_EQ(Stored(copy), text);
    EXPECT_TRUE(copy.IsEqual(setup));

    // Each difference counts, but for the overrides'.
    const ComplexVector others(3, Complex(9));
    const std::function<void(Settings&)> changes[] = {
        [](Settings& s) { s.mIsModal = true; },
        [](Settings& s) { s.mDoRenorm = false; },
        [](Settings& s) { s.mDoDeembed = false; },
        [](Settings& s) { s.mUseZpiOnly = true; },
        [](Settings& s) { s.mLosslessDeembed = true; },
        [](Settings& s) { s.mExtrapToDC = false; },
        [](Settings& s) { s.mDoDCSnapping = false; },
        [](Settings& s) { s.mDCSnapTolerance = 0.0; },
        [](Settings& s) { s.mImpedMultiplier = 1.0; },
        [](Settings& s) { s.mPortImpeds.reset(); },
        [](Settings& s) { (*s.mPortImpeds)[2] = Complex(); },
        [](Settings& s) { s.mDoPortRenorm[1] = true; },
        [](Settings& s) { s.mPortCharImpeds[1] = NetworkDataKind::Zpi; },
        [](Settings& s) { s.mDiffPairs[0].m_DiffName = u"E"; },
        [](Settings& s) { s.mDiffPairs.clear(); },
        [&](Settings& s) { s.SetDefaults(false, &others, s.GetDeembedDistances()); },
        [](Settings& s) { Read(s, kSequences + "MatrixSize=4\n"); },
    };
    for (std::size_t i = 0; i < std::size(changes); ++i) {
        Settings changed(setup);
        changes[i](changed);
        EXPECT_FALSE(changed.IsEqual(setup)) << i;
    }
    Settings changed(setup);
    changed.SetOverrides({{0, Complex(1)}}, {{0, 1.0}});
    EXPECT_TRUE(changed.IsEqual(setup));
}

TEST(Setup, WhatABlockLacksEndsTheReadingWhereItIsDemanded) {
    struct Case {
        std::string lines;
        std::int32_t code;
        const char* written; // what must stand in the text afterwards
    };
    for (const Case& c : {
             Case{kSequences, 0, "PortCharImpeds('Zpi', 'Zvi', 'Zpv')"},
             Case{"Modes(1, 2)\nDoPortRenorm(true)\nIsModal=false\n", -1, "IsModal=false"},
             Case{"Modes(1)\nPortCharImpeds()\n", -1, "Modes(1)"},
             Case{"DoPortRenorm()\nPortCharImpeds()\n", -1, "Modes()"},
             Case{"Modes=1\nDoPortRenorm()\nPortCharImpeds()\n", -1, "Modes()"},
             Case{kSequences + "NumPorts=-1\n", -1, "NumPorts=2"},
             Case{kSequences + "MatrixSize=2000000000\nImpeds(1)\n", -1, "MatrixSize=3"},
             Case{"Modes(1, 'x', 2)\nDoPortRenorm(1)\nPortCharImpeds('Zvi', 'other', 'zpi', 7)\n", 0,
                  "PortCharImpeds('Zvi')"},
             Case{kSequences + "DefaultImpeds(1, 2, 3)\nDists()\n", 0, "DefaultImpeds(1, 2, 0, 0, 0, 0)"},
             Case{kSequences + "Impeds(1, 0, 2, 0, 3, 0, 4, 0)\n", 0, "Impeds(1, 0, 2, 0, 3, 0)"},
             Case{kSequences + "$begin DiffPairs\nx=1\n$begin Any\nDiffName='d'\n$end Any\n$end DiffPairs\n",
                  0, "DiffName='d'"},
         }) {
        const auto before = SetAssertQuestion(Ignore);
        Settings setup({1, 2});
        setup.mExtrapToDC = true;
        EXPECT_EQ(Read(setup, c.lines), c.code) << c.lines;
        SetAssertQuestion(before);
        EXPECT_NE(Stored(setup).find(c.written), std::string::npos) << c.lines << Stored(setup);
        EXPECT_EQ(setup.mExtrapToDC, c.code != 0) << c.lines;
    }
    // Errors of the block and of a pair.
    for (const char* damage : {"a=\n", "$begin DiffPairs\n$begin Pair\na=\n$end Pair\n$end DiffPairs\n"}) {
        io::CBlock block;
        EXPECT_FALSE(block.FromText(Wide("$begin Setup\n" + kSequences + damage + "$end Setup\n")));
        Settings setup({});
        EXPECT_EQ(setup.ReadFromBlock(block), -1) << damage;
    }
}

// A field solver's point of three rows with Zpi 41, 42, 43, Zvi 61, ..., Zpv 81, ...
struct Chosen {
    Chosen() {
        SetRows(solution, {u"A", u"B", u"B"});
        point = solution.Add(1e9);
        for (std::int32_t i = 0; i < 3; ++i) {
            point->SetValue(NetworkDataKind::Zpi, Complex(41 + i, 1), i, i);
            point->SetValue(NetworkDataKind::Zvi, Complex(61 + i, 1), i, i);
            point->SetValue(NetworkDataKind::Zpv, Complex(81 + i, 1), i, i);
        }
    }
    std::vector<double> Impedances() const {
        std::vector<double> ohms;
        for (std::int32_t i = 0; i < 3; ++i)
            ohms.push_back(point->GetValue(NetworkDataKind::PortImpedance, i, i).re);
        return ohms;
    }

    FieldPoints solution;
    CZephModalData* point;
};

std::vector<double> RealParts(const ComplexVector* vector) {
    std::vector<double> parts;
    for (int i = 0; vector && i < vector->Size(); ++i)
        parts.push_back((*vector)[i].re);
    return parts;
}

using Ohms = std::vector<double>;

TEST(Setup, CharacteristicImpedancesGoToThePointAndToTheTargetsThatNobodySet) {
    Chosen chosen;
    Settings setup({1, 2});
    setup.mPortCharImpeds = {NetworkDataKind::Zpi, NetworkDataKind::Zvi, NetworkDataKind::Zpv};
    setup.mDoPortRenorm = {true, false};
    const ComplexVector defaults(3, Complex(50));
    setup.SetDefaults(true, &defaults, nullptr);
    setup.ApplyCharImpedances(*chosen.point);
    EXPECT_EQ(chosen.Impedances(), (Ohms{41, 62, 83}));
    EXPECT_EQ(RealParts(setup.GetRenormImpedances()), (Ohms{50, 62, 83}));

    setup.mImpedMultiplier = 2.0;
    setup.SetOverrides({{1, Complex(20)}}, {});
    setup.ApplyCharImpedances(*chosen.point);
    EXPECT_EQ(chosen.Impedances(), (Ohms{82, 124, 166}));
    EXPECT_EQ(chosen.point->GetValue(NetworkDataKind::PortImpedance, 2, 2), Complex(166, 2));
    EXPECT_EQ(RealParts(setup.GetOverrideImpedances()), (Ohms{82, 20, 166}));
    // The copy doesn't know which rows were set.
    Settings copy(setup);
    copy.mImpedMultiplier = 1.0;
    copy.ApplyCharImpedances(*chosen.point);
    EXPECT_EQ(RealParts(copy.GetOverrideImpedances()), (Ohms{82, 20, 166}));

    setup.mIsModal = false;
    setup.mImpedMultiplier = 1.0;
    setup.ApplyCharImpedances(*chosen.point);
    EXPECT_EQ(chosen.Impedances(), (Ohms{41, 62, 83})); // the copy's
    CNetworkModalData plain(&chosen.solution, 1e9);
    copy.ApplyCharImpedances(plain);
    EXPECT_EQ(plain.GetPortImpedance(), nullptr);
}

TEST(Setup, CharacteristicImpedancesStayInsideWhatThereIs) {
    struct Case {
        const char* lines;
        Ohms impedances;
    };
    for (const Case& c : {
             Case{"Modes(1, 2)\nDoPortRenorm(false)\nPortCharImpeds('Zvi')\n", {61, 0, 0}},
             Case{"Modes(1, 2000000000)\nDoPortRenorm()\nPortCharImpeds('Zpi', 'Zpi', 'Zpi', 'Zpi')\n",
                  {41, 42, 43}},
             Case{"Modes(-1, 1)\nDoPortRenorm()\nPortCharImpeds('Zpv', 'Zpi')\n", {81, 0, 0}},
             Case{"Modes(3)\nDoPortRenorm()\nPortCharImpeds('Zpi', 'Zpi', "
                  "'Zpi')\nMatrixSize=1\nDefaultImpeds(5, 0)\n",
                  {41, 42, 43}},
             Case{"Modes()\nDoPortRenorm()\nPortCharImpeds('Zpi')\n", {0, 0, 0}},
         }) {
        Chosen chosen;
        chosen.point->SetValue(NetworkDataKind::PortImpedance, Complex(), 0, 0);
        Settings setup({1, 2});
        ASSERT_EQ(Read(setup, c.lines), 0);
        setup.ApplyCharImpedances(*chosen.point);
        EXPECT_EQ(chosen.Impedances(), c.impedances) << c.lines;
        Stored(setup);
        setup.SetOverrides({{0, Complex(1)}}, {{0, 1.0}});
    }
    // An absent vector ends it, with earlier rows done.
    Chosen chosen;
    chosen.point->SetZvi(nullptr, true);
    Settings setup({1, 2});
    setup.mPortCharImpeds[1] = NetworkDataKind::Zvi;
    setup.ApplyCharImpedances(*chosen.point);
    EXPECT_EQ(chosen.Impedances(), (Ohms{41, 0, 0}));
}

} // namespace
