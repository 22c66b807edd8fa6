#include "sweep_tests.h"

#include <sparamlib/adaptive_interp.h>

namespace {

constexpr double kLow = 1e9;
constexpr double kHigh = 3e9;

// A network of two coupled resonators, n by n, symmetric.
plain::Values Coupled(double frequency, int n) {
    const Complex s(0.0, frequency / 2e9);
    plain::Values values;
    for (int r = 0; r < n; ++r) {
        for (int c = 0; c < n; ++c) {
            const double f = 0.8 + 0.05 * (r + c), q = 0.05 + 0.01 * r * c;
            const Complex first = Quotient(Complex(q) * s, s * s + Complex(q) * s + Complex(f));
            const Complex second = Quotient(Complex(r - c), s * s + Complex(0.3) * s + Complex(2.1));
            values.push_back(first + second);
        }
    }
    return values;
}
// Losses that grow by the root of the frequency: of no finite order.
plain::Values Lossy(double frequency, int n) {
    plain::Values values;
    for (int i = 0; i < n; ++i) {
        const double f = frequency / 2e9;
        values.push_back(Complex(std::sqrt(f), (1.0 + i) * f));
    }
    return values;
}
plain::Values Impedances(double frequency, int n) {
    plain::Values values;
    for (int i = 0; i < n; ++i)
        values.push_back(Complex(45.0 + i, 1e-9 * frequency * i));
    return values;
}

struct Kind {
    int kind;
    std::function<plain::Values(double)> solve;
};

ComplexMatrix SquareOf(const plain::Values& values) {
    const int n = static_cast<int>(std::lround(std::sqrt(values.size())));
    ComplexMatrix matrix(n, n);
    std::copy(values.begin(), values.end(), matrix.Data());
    return matrix;
}

TEST(AdaptiveInterp, RunsAndEvaluatesAsWrittenOutToTheBit) {
    struct Case {
        const char* name;
        int n;
        std::vector<Kind> kinds;
    };
    for (const Case& c : std::vector<Case>{
             {"S of one port", 1, {{0, [](double f) { return Coupled(f, 1); }}}},
             {"S of four ports", 4, {{0, [](double f) { return Coupled(f, 4); }}}},
             {"no finite order", 1, {{0, [](double f) { return Lossy(f, 1); }}}},
             {"all kinds",
              2,
              {{0, [](double f) { return Coupled(f, 2); }},
               {1, [](double f) { return Impedances(f, 2); }},
               {2, [](double f) { return Impedances(f, 2); }},
               {3, [](double f) { return Impedances(f, 2); }},
               {4, [](double f) { return Lossy(f, 2); }},
               {6, [](double f) { return Coupled(f, 2); }},
               {5, [](double f) { return Coupled(1.1 * f, 2); }}}},
             {"vectors alone", 3, {{1, [](double f) { return Impedances(f, 3); }}}},
         }) {
        AdaptiveInterp sweep(kLow, kHigh, c.n, 1e-4, 30);
        plain::Sweep expected(kHigh, kLow, 1e-4, 30);
        double frequency = 0.0, plainFrequency = 0.0;
        int code = 0, rounds = 0;
        do {
            code = sweep.NextFrequency(frequency);
            ASSERT_EQ(code, expected.NextFrequency(plainFrequency)) << c.name << rounds;
            ASSERT_EQ(frequency, plainFrequency) << c.name << rounds;
            ASSERT_EQ(sweep.GetLastError(), expected.lastError) << c.name << rounds;
            if (code != kSweepWantsSample)
                break;
            for (const Kind& kind : c.kinds) {
                const plain::Values values = kind.solve(frequency);
                ASSERT_EQ(expected.Add(kind.kind, frequency, values), 0);
                if (kind.kind >= 1 && kind.kind <= 4)
                    ASSERT_EQ(sweep.AddSample(kind.kind, frequency, VectorOf(values)), 0);
                else
                    ASSERT_EQ(sweep.AddSample(kind.kind, frequency, SquareOf(values)), 0);
            }
        } while (++rounds < 30);
        EXPECT_EQ(code, c.name == std::string("no finite order") ? code : kSweepConverged) << c.name;
        EXPECT_EQ(sweep.GetNumFreqs(), rounds) << c.name;
        for (const Kind& kind : c.kinds) {
            for (double f : {kLow, 1.234e9, 2.9e9, 3.3e9, 0.0, frequency}) {
                const plain::Values values = expected.Evaluate(kind.kind, f);
                const Complex* elements = sweep.Evaluate(kind.kind, f);
                ASSERT_TRUE(elements) << c.name;
                for (std::size_t e = 0; e < values.size(); ++e)
                    EXPECT_TRUE(Same(elements[e], values[e])) << c.name << kind.kind << " at " << f;
            }
            const Complex* elements = sweep.Evaluate(kind.kind, 1.717e9);
            const plain::Values truth = kind.solve(1.717e9);
            for (std::size_t e = 0; e < truth.size(); ++e)
                EXPECT_LT(abs(elements[e] - truth[e]), 1e-3 * (1.0 + abs(truth[e]))) << c.name << kind.kind;
        }
    }
}

TEST(AdaptiveInterp, RebuildsItsOrderAndItsErrorsAsWrittenOut) {
    struct Case {
        std::vector<double> frequencies;
        double lastFreq;
        int code; // of NextFrequency
    };
    for (const Case& c : std::vector<Case>{
             {{9e9, 1e9, 3e9, 2e9, 1.5e9, 2.5e9, 1.7e9}, 0.0, kSweepWantsSample},
             {{2e9, 1e9, 3e9}, 0.0, kSweepWantsSample},
             {{2e9, 1e9, 3e9, 1.5e9}, 0.0, kSweepBadCall}, // the middle is at 0
             {{2e9, 1e9, 3e9, 1.5e9}, 1.5e9, kSweepWantsSample},
             {{1e9, 1.5e9, 2e9, 2.5e9, 3e9}, 0.0, kSweepBadCall},   // ascending: the low end is at 0
             {{1e9, 1.5e9, 2e9, 2.5e9, 3e9}, 1.1e9, kSweepBadCall}, // and so is the newest
             {{1e9, 1.5e9, 2e9, 2.5e9, 3e9}, 2.4e9, kSweepWantsSample},
             {{3e9, 1e9}, 0.0, kSweepWantsSample},
         }) {
        for (const bool isRebuilt : {false, true}) {
            AdaptiveInterp sweep(kLow, kHigh, 1, 1e-9, 30);
            plain::Sweep expected(kLow, kHigh, 1e-9, 30);
            for (double f : c.frequencies) {
                for (int kind : {0, 5, 1}) {
                    const plain::Values values = Lossy(f, 1);
                    sweep.AddSample(kind, f, VectorOf(values));
                    expected.Add(kind, f, values);
                }
            }
            sweep.SetLastFreq(c.lastFreq);
            expected.lastFreq = c.lastFreq / expected.freqScale;
            if (isRebuilt) {
                const int code = sweep.Rebuild();
                EXPECT_EQ(code, expected.Rebuild()) << c.frequencies.size();
                EXPECT_EQ(code, c.code == kSweepBadCall ? kSweepBadCall : kSweepDone);
                EXPECT_EQ(sweep.GetLastError(), expected.lastError);
                EXPECT_EQ(sweep.GetLastFreq(), c.lastFreq);
            }
            double frequency = 0.0, plainFrequency = 0.0;
            EXPECT_EQ(sweep.NextFrequency(frequency), c.code) << c.frequencies.size();
            EXPECT_EQ(expected.NextFrequency(plainFrequency), c.code);
            EXPECT_EQ(frequency, plainFrequency);
            EXPECT_EQ(sweep.GetLastError(), expected.lastError);
        }
    }
}

TEST(AdaptiveInterp, ProposesTheEndsAndTheMiddleWithoutAnySampleToSpeakOf) {
    AdaptiveInterp sweep(3e9, 1e9, 1, 1e-3, 4); // swapped
    double f = 0.0;
    for (double expected : {3e9, 1e9, 2e9}) {
        EXPECT_EQ(sweep.NextFrequency(f), kSweepWantsSample);
        EXPECT_EQ(f, expected);
        EXPECT_EQ(sweep.AddSample(1, f, Vector_({50})), kSweepDone);
        EXPECT_EQ(sweep.AddSample(4, f, Vector_({{0, 20}})), kSweepDone);
    }
    EXPECT_EQ(sweep.GetNumFreqs(), 3); // two kinds share a frequency
    EXPECT_EQ(sweep.NextFrequency(f), kSweepConverged);

    AdaptiveInterp noBand(0.0, 0.0, 1, 1e-3, 4);
    EXPECT_EQ(noBand.GetFreqScale(), 1.0);
    EXPECT_EQ(noBand.NextFrequency(f), kSweepWantsSample);
    EXPECT_EQ(f, 0.0);
}

TEST(AdaptiveInterp, AnErrorThatEqualsTheToleranceWantsASample) {
    const auto codeWith = [](double tolerance, double& error) {
        AdaptiveInterp sweep(kLow, kHigh, 1, tolerance, 9);
        for (double f : {3e9, 1e9, 2e9})
            sweep.AddSample(0, f, VectorOf(Lossy(f, 1)));
        sweep.SetLastFreq(2e9);
        double f = 0.0;
        const int code = sweep.NextFrequency(f);
        error = sweep.GetLastError();
        return code;
    };
    double error = 0.0;
    codeWith(1.0, error);
    ASSERT_GT(error, 0.0);
    EXPECT_EQ(codeWith(error, error), kSweepWantsSample);
    EXPECT_EQ(codeWith(std::nextafter(error, 1.0), error), kSweepConverged);
}

TEST(AdaptiveInterp, AFinishedKindStaysSoUnlessItIsReopened) {
    AdaptiveInterp sweep(kLow, kHigh, 1, 1e-3, 9);
    for (double f : {3e9, 1e9, 2e9})
        sweep.AddSample(0, f, Vector_({0.5}));
    sweep.SetLastFreq(2e9);
    double f = 0.0;
    EXPECT_EQ(sweep.NextFrequency(f), kSweepConverged);
    sweep.AddSample(0, 2.5e9, Vector_({7.0}));
    sweep.SetLastFreq(2.5e9);
    EXPECT_EQ(sweep.NextFrequency(f), kSweepConverged);
    sweep.Reopen();
    EXPECT_EQ(sweep.NextFrequency(f), kSweepWantsSample);
}

TEST(AdaptiveInterp, RefusesWhatDoesNotFitAndStoresNothingBeyondTheBasis) {
    AdaptiveInterp sweep(kLow, kHigh, 2, 1e-3, 3);
    EXPECT_EQ(sweep.Evaluate(0, 1e9), nullptr);
    EXPECT_EQ(sweep.Evaluate(7, 1e9), nullptr);
    EXPECT_EQ(sweep.Evaluate(-1, 1e9), nullptr);
    EXPECT_EQ(sweep.AddSample(7, 1e9, Vector_({1, 2})), kSweepBadCall);
    EXPECT_EQ(sweep.AddSample(-1, 1e9, Vector_({1, 2})), kSweepBadCall);
    EXPECT_EQ(sweep.GetNumFreqs(), 1); // the frequency is there all the same
    EXPECT_EQ(sweep.AddSample(1, 1e9, Vector_({50, 50})), kSweepDone);
    EXPECT_EQ(sweep.AddSample(1, 2e9, Vector_({50})), kSweepBadCall);
    EXPECT_EQ(sweep.AddSample(1, 3e9, Vector_({50, 50})), kSweepDone);
    EXPECT_EQ(sweep.AddSample(1, 4e9, Vector_({50, 50})), kSweepIsFull);
    EXPECT_EQ(sweep.AddSample(1, 3e9, Vector_({60, 60})), kSweepDone); // in place of the earlier one
    EXPECT_EQ(sweep.GetNumSamples(1), 2);
    double f = 0.0;
    EXPECT_EQ(sweep.NextFrequency(f), kSweepIsFull);
    EXPECT_EQ(sweep.Rebuild(), kSweepIsFull);
    // Fitted over the two frequencies at which it stands.
    ASSERT_TRUE(sweep.Evaluate(1, 3e9));
    EXPECT_NEAR(sweep.Evaluate(1, 3e9)[1].re, 60.0, 1e-9);
    EXPECT_NEAR(sweep.Evaluate(1, 1e9)[0].re, 50.0, 1e-9);
    // Later samples change nothing.
    sweep.AddSample(1, 3e9, Vector_({70, 70}));
    EXPECT_NEAR(sweep.Evaluate(1, 3e9)[1].re, 60.0, 1e-9);
    // Of another size than the sweep's.
    EXPECT_EQ(sweep.AddSample(0, 1e9, Matrix_(1, {1})), kSweepDone);
    EXPECT_EQ(sweep.Evaluate(0, 1e9), nullptr);

    AdaptiveInterp uneven(kLow, kHigh, 1, 1e-3, 9);
    for (double at : {3e9, 1e9, 2e9, 1.5e9}) {
        uneven.AddSample(0, at, Vector_({0.5}));
        if (at != 1e9)
            uneven.AddSample(5, at, Vector_({0.5}));
    }
    uneven.SetLastFreq(1.5e9);
    EXPECT_EQ(uneven.NextFrequency(f), kSweepBadCall);
    uneven.SetMethod(0, 1);
    EXPECT_EQ(uneven.Evaluate(0, 1e9), nullptr);
    EXPECT_EQ(uneven.NextFrequency(f), kSweepBadCall);
    EXPECT_NEAR(uneven.Evaluate(5, 1e9)[0].re, 0.5, 1e-12);

    AdaptiveInterp hostile(kLow, kHigh, 1, 1e-3, 2000000000);
    EXPECT_EQ(hostile.AddSample(0, 1e9, Vector_({0.5})), kSweepDone);
    AdaptiveInterp nothing(kLow, kHigh, 1, 1e-3, 0);
    EXPECT_EQ(nothing.AddSample(0, 1e9, Vector_({0.5})), kSweepIsFull);
    AdaptiveInterp less(kLow, kHigh, 1, 1e-3, -1);
    EXPECT_EQ(less.AddSample(0, 1e9, Vector_({0.5})), kSweepIsFull);
    EXPECT_EQ(less.NextFrequency(f), kSweepIsFull);
}

TEST(AdaptiveInterp, AnImaginaryImpedanceKeepsTheSignThatItHasAtTheLowEnd) {
    for (double sign : {1.0, -1.0}) {
        AdaptiveInterp sweep(kLow, kHigh, 1, 1e-3, 9);
        for (double f : {3e9, 1e9, 2e9}) {
            sweep.AddSample(1, f, Vector_({{0.0, sign * 1e-8 * f}}));
            sweep.AddSample(4, f, Vector_({{0.0, -sign * 1e-8 * f}}));
        }
        EXPECT_NEAR(sweep.Evaluate(1, 1.5e9)[0].im, sign * 15.0, 1e-6);
        EXPECT_NEAR(sweep.Evaluate(1, 1e9)[0].im, sign * 10.0, 1e-6);
        EXPECT_NEAR(sweep.Evaluate(4, 1.5e9)[0].im, -sign * 15.0, 1e-6); // by the high end
    }
}

} // namespace
