#include "sweep_tests.h"

#include "../source/rat_poly_table.h"

#include <sparamlib/rat_poly_method.h>

#include <thread>

namespace {

// Between, at and beyond the samples; more than one row of lanes.
std::vector<double> Asked(Networks& random, const std::vector<double>& x) {
    std::vector<double> asked(x);
    for (double special : {0.0, -0.0, 1.0, -1.0, 1e-200, 1e200, 1e160, 3.0, -x[0]})
        asked.push_back(special);
    for (int i = 0; i < 40; ++i)
        asked.push_back(random.Between(0.0, 2.5));
    return asked;
}

TEST(RatPolyFit, EqualsTheOneWrittenOutToTheBitByEveryRoad) {
    Networks random(7);
    for (std::size_t m : {1u, 2u, 3u, 4u, 9u, 40u}) {
        std::vector<CRatPolyFit> fits;
        std::vector<plain::Fit> plainFits;
        std::vector<const char*> names;
        std::vector<double> asked;
        for (const NamedSamples& of : SpecialSamples(random, m)) {
            for (bool isReversed : {false, true}) {
                plain::Indices subset = plain::UpTo(m);
                if (isReversed)
                    std::reverse(subset.begin(), subset.end());
                const IndexVector indices = VectorOf(subset);
                CRatPolyFit fit;
                fit.Fit(static_cast<int>(m), VectorOf(of.x), VectorOf(of.y), isReversed ? &indices : nullptr);
                const plain::Fit expected(of.x, of.y, subset);
                ASSERT_EQ(fit.Order(), static_cast<int>(expected.b.size())) << of.name << m;
                ASSERT_EQ(fit.IsZeroAtDC(), expected.zeroAtDC) << of.name << m;
                ASSERT_TRUE(Same(fit.Scale(), expected.scale)) << of.name << m;
                for (int k = 0; k < fit.Order(); ++k) {
                    const auto at = static_cast<std::size_t>(k);
                    ASSERT_TRUE(Same(fit.A()[k], expected.a[at]) && Same(fit.B()[k], expected.b[at]) &&
                                Same(fit.C()[k], expected.c[at]))
                        << of.name << m << " stage " << k;
                }
                asked = Asked(random, of.x);
                std::vector<double> re(asked.size()), im(asked.size());
                fit.Evaluate(asked.data(), static_cast<int>(asked.size()), re.data(), im.data());
                for (std::size_t i = 0; i < asked.size(); ++i) {
                    const Complex value = expected(asked[i]);
                    ASSERT_TRUE(Same(fit.Evaluate(Complex(0.0, asked[i])), value)) << of.name << m;
                    ASSERT_TRUE(Same({re[i], im[i]}, value)) << of.name << m << " at " << asked[i];
                }
                fits.push_back(fit);
                plainFits.push_back(expected);
                names.push_back(of.name);
            }
        }
        for (std::size_t count : {std::size_t{1}, std::size_t{4}, std::size_t{7}, fits.size()}) {
            const std::vector<CRatPolyFit> some(fits.end() - static_cast<std::ptrdiff_t>(count), fits.end());
            const RatPolyTable table(some);
            std::vector<Complex> values(count);
            for (double x : asked) {
                table.Evaluate(x, values.data());
                for (std::size_t e = 0; e < count; ++e) {
                    const std::size_t i = fits.size() - count + e;
                    ASSERT_TRUE(Same(values[e], plainFits[i](x))) << names[i] << m << " at " << x;
                }
            }
        }
    }
}

TEST(RatPolyFit, GivesItsSamplesBackAndDegeneratesAsStated) {
    Networks random(8);
    for (const NamedSamples& of : SpecialSamples(random, 9)) {
        const std::string name = of.name;
        CRatPolyFit fit;
        fit.Fit(9, VectorOf(of.x), VectorOf(of.y), nullptr);
        if (name == "random" || name == "at DC" || name == "first at DC" || name == "nothing at DC" ||
            name == "real" || name == "rational") {
            for (std::size_t i = 0; i < 9; ++i)
                EXPECT_LT(abs(fit.Evaluate(Complex(0.0, of.x[i])) - of.y[i]), 1e-9) << name << i;
        } else if (name == "zeros" || name == "tiny") {
            EXPECT_EQ(fit.Evaluate(Complex(0.0, 0.7)), Complex()) << name;
            EXPECT_EQ(fit.Scale(), 0.0);
        } else if (name == "constant") {
            EXPECT_EQ(fit.Order(), 9); // of a phase a real function has more to say than one stage
        } else if (name == "equal frequencies") {
            EXPECT_EQ(fit.Order(), 1);
        }
        EXPECT_EQ(fit.IsZeroAtDC(), name == "nothing at DC" || name == "two at DC") << name;
    }
    CRatPolyFit constant;
    constant.Fit(3, VectorOf(std::vector<double>{0.5, 1.0, 1.5}),
                 VectorOf(plain::Values{Complex(-2), Complex(-2), Complex(-2)}), nullptr);
    EXPECT_EQ(constant.Order(), 1);
    EXPECT_EQ(constant.Scale(), 2.0);
    EXPECT_EQ(constant.Evaluate(Complex(0.0, 77.0)), Complex(-2));
}

TEST(RatPolyInterpolator, FitsAnewAndFillsAVectorThatMayBeLonger) {
    RatPolyInterpolator interpolator;
    const RealVector x = Reals({0.5, 1.0, 1.5});
    const ComplexVector ones = Vector_({1, 1, 1}), twos = Vector_({2, 2, 2});
    EXPECT_EQ(interpolator.Evaluate(1.0), Complex());
    EXPECT_EQ(interpolator.Fit(3, &x, &ones, nullptr), 0);
    EXPECT_EQ(interpolator.Evaluate(0.7), Complex(1));
    EXPECT_EQ(interpolator.Fit(2, &x, &twos, nullptr), 0);
    ComplexVector out(1), longer(5, Complex(9));
    EXPECT_EQ(interpolator.Evaluate(Reals({0.1, 0.2}), out), 2);
    EXPECT_EQ(out.Size(), 2);
    EXPECT_EQ(interpolator.Evaluate(Reals({0.1, 0.2}), longer), 2);
    EXPECT_EQ(longer[1], Complex(2));
    EXPECT_EQ(longer[2], Complex(9));
}

struct Sampled {
    RealVector x;
    reflectExplor::Samples samples;
    std::vector<double> plainX;
    std::vector<plain::Values> plainSamples;
};

Sampled Sample(const std::vector<double>& x, std::size_t entries,
               const std::function<Complex(double, std::size_t)>& value) {
    Sampled sampled{VectorOf(x), {}, x, {}};
    for (std::size_t e = 0; e < entries; ++e) {
        plain::Values of;
        for (double at : x)
            of.push_back(value(at, e));
        sampled.samples.push_back(VectorOf(of));
        sampled.plainSamples.push_back(of);
    }
    return sampled;
}

Complex Resonance(double x, std::size_t e) {
    const double f = 0.7 + 0.05 * static_cast<double>(e);
    const Complex s(0.0, x);
    return Quotient(Complex(0.02) * s, s * s + Complex(0.02) * s + Complex(f * f)) + Complex(0.1, -0.2) * s;
}

TEST(Explorer, EqualsTheOneWrittenOutToTheBit) {
    Networks random(9);
    for (std::size_t entries : {1u, 4u, 9u, 10u, 16u}) {
        for (std::size_t m : {2u, 3u, 6u, 12u}) {
            std::vector<double> x(m);
            for (double& value : x)
                value = random.Between(0.5, 1.5);
            const Sampled sampled = Sample(x, entries, Resonance);
            plain::Indices all = plain::UpTo(m), b = all;
            b.erase(b.begin() + static_cast<std::ptrdiff_t>(m / 2));
            const IndexVector order = VectorOf(b);
            ratPoly_method explorer;
            explorer.m_Scale = Complex(2.0);
            plain::Explorer expected;
            expected.scale = Complex(2.0);
            const int code = expected.Explore(all, sampled.plainX, sampled.plainSamples, b);
            ASSERT_EQ(explorer.Explore(&sampled.x, sampled.samples, order.Size(), &order), code);
            if (code != 0)
                continue;
            EXPECT_EQ(explorer.m_NextFreq, expected.nextFreq) << entries << " " << m;
            EXPECT_EQ(explorer.m_Error, expected.error) << entries << " " << m;
            EXPECT_EQ(explorer.m_Selected.size(), expected.selected.size()) << entries << " " << m;
            EXPECT_EQ(explorer.Difference(0.9, 0), expected.Difference(0.9, 0));
            EXPECT_EQ(explorer.Magnitude(0.9, 0), abs(expected.fitA[0](0.9)));
            EXPECT_EQ(explorer.Difference(0.9, static_cast<int>(entries)), 0.0);
            EXPECT_EQ(explorer.Magnitude(0.9, -1), 0.0);
            // The running estimate goes on from where it was.
            ASSERT_EQ(explorer.Explore(order.Size(), &order, &sampled.x, sampled.samples, order.Size() - 1,
                                       &order) == kSweepBadCall,
                      m == 2);
        }
    }
}

TEST(Explorer, IntegratesOnlyTheEntriesThatMatterFromTenUpwards) {
    // One entry has something between the samples, the others are straight.
    const auto value = [](double x, std::size_t e) { return e == 3 ? Resonance(x, 3) : Complex(0.5); };
    for (std::size_t entries : {9u, 10u}) {
        const Sampled sampled = Sample({0.5, 1.5, 1.0, 0.75, 1.25}, entries, value);
        ratPoly_method explorer;
        ASSERT_EQ(explorer.Explore(&sampled.x, sampled.samples, 4, nullptr), kSweepDone);
        // The running estimate carries half of an entry's over to the next ones.
        const std::vector<int> none, some{3, 4};
        EXPECT_EQ(explorer.m_Selected.empty(), entries == 9);
        EXPECT_TRUE(entries == 9 || explorer.m_Selected.front() == 3);
        EXPECT_LT(explorer.m_Selected.size(), entries);
    }
    const Sampled zeros = Sample({0.5, 1.5, 1.0}, 12, [](double, std::size_t) { return Complex(); });
    ratPoly_method explorer;
    ASSERT_EQ(explorer.Explore(&zeros.x, zeros.samples, 2, nullptr), kSweepDone);
    EXPECT_EQ(explorer.m_Selected, std::vector<int>{0});
    EXPECT_EQ(explorer.m_Error, 0.0);
    EXPECT_EQ(explorer.m_NextFreq, 0.75);
}

TEST(Explorer, RefusesCountsThatDoNotFitAndFailsWhereNothingConverges) {
    const Sampled sampled = Sample({0.5, 1.5, 1.0}, 2, Resonance);
    const IndexVector outside = VectorOf(plain::Indices{0, 1, 3}), two = VectorOf(plain::Indices{0, 1});
    struct Case {
        const char* what;
        int n;
        const IndexVector* subset;
        int nB;
        const IndexVector* subsetB;
        int code;
    };
    for (const Case& c : {
             Case{"good", 3, nullptr, 2, nullptr, kSweepDone},
             Case{"B without samples", 3, nullptr, 0, nullptr, kSweepDone},
             Case{"more in B", 2, nullptr, 3, nullptr, kSweepBadCall},
             Case{"more than there are", 4, nullptr, 2, nullptr, kSweepBadCall},
             Case{"one", 1, nullptr, 1, nullptr, kSweepBadCall},
             Case{"none", 0, nullptr, 0, nullptr, kSweepBadCall},
             Case{"below nothing", -1, nullptr, -2, nullptr, kSweepBadCall},
             Case{"B below nothing", 3, nullptr, -1, nullptr, kSweepBadCall},
             Case{"index outside", 3, &outside, 2, nullptr, kSweepBadCall},
             Case{"index outside in B", 3, nullptr, 3, &outside, kSweepBadCall},
             Case{"subset too short", 3, &two, 2, nullptr, kSweepBadCall},
         }) {
        ratPoly_method explorer;
        EXPECT_EQ(explorer.Explore(c.n, c.subset, &sampled.x, sampled.samples, c.nB, c.subsetB), c.code)
            << c.what;
    }
    ratPoly_method explorer;
    EXPECT_EQ(explorer.Explore(&sampled.x, {}, 2, nullptr), kSweepBadCall);
    EXPECT_EQ(explorer.Explore(&sampled.x, {Vector_({1, 2})}, 2, nullptr), kSweepBadCall);
    for (double bad : {std::nan(""), static_cast<double>(INFINITY)}) {
        const Sampled broken = Sample({0.5, 1.5, 1.0, 0.7}, 1,
                                      [bad](double x, std::size_t) { return Complex(x == 1.5 ? bad : x); });
        EXPECT_EQ(explorer.Explore(&broken.x, broken.samples, 3, nullptr), kSweepNumericFailure);
    }
    const Sampled endless = Sample({0.5, INFINITY, 1.0}, 1, Resonance);
    EXPECT_EQ(explorer.Explore(&endless.x, endless.samples, 2, nullptr), kSweepNumericFailure);
}

TEST(Explorer, TwoAtWorkOnTwoThreadsGiveWhatEachGivesAlone) {
    const Sampled sampled = Sample({0.5, 1.5, 1.0, 0.7, 1.2, 0.9}, 12, Resonance);
    const auto run = [&sampled](double& error) {
        for (int round = 0; round < 20; ++round) {
            ratPoly_method explorer;
            explorer.Explore(&sampled.x, sampled.samples, 5, nullptr);
            error = explorer.m_Error;
        }
    };
    double alone = 0.0, first = 0.0, second = 0.0;
    run(alone);
    std::thread other(run, std::ref(first));
    run(second);
    other.join();
    EXPECT_EQ(first, alone);
    EXPECT_EQ(second, alone);
}

} // namespace
