// The field solver's formulas once more, written out step by step with whole matrices and the plain algebra: what the
// points compute must have the same bits, but for the sign of zeros.
#include "../../math/matrix/test/plain_algebra.h"
#include "point_tests.h"

#include <sparamlib/zeph_modal_data.h>

namespace {

ComplexMatrix Inverse(const ComplexMatrix& a) {
    ComplexMatrix x;
    plain::Solve(a, plain::Identity(a.Rows()), x);
    return x;
}
ComplexMatrix Quotient(const ComplexMatrix& a, const ComplexMatrix& b) {
    ComplexMatrix x;
    plain::Solve(a, b, x);
    return x;
}
ComplexMatrix Diagonal(const ComplexVector& z, bool reciprocal) {
    ComplexMatrix d(z.Size(), z.Size());
    for (int i = 0; i < z.Size(); ++i)
        d[i][i] = reciprocal ? plain::Guarded(1, plain::Root(z[i])) : plain::Root(z[i]);
    return d;
}
const auto Times = plain::Multiply;

struct Modes {
    explicit Modes(int n, unsigned seed, bool real = false) : ports(n), point(&ports, 1e9) {
        Networks networks(seed);
        s = networks.Any(n, 0.8 / n);
        t = networks.Any(n, 5);
        p = networks.Any(n, 1);
        if (real) {
            for (ComplexMatrix* m : {&s, &t, &p}) {
                for (int k = 0; k < m->Size(); ++k)
                    m->Data()[k].im = 0.0;
            }
        }
        oldZ = real ? networks.RealImpedances(n) : networks.ComplexImpedances(n);
        newZ = real ? networks.RealImpedances(n) : networks.ComplexImpedances(n);
        point.SetSMatrix(&s, true);
        point.SetTMatrix(&t, true);
        point.SetPMatrix(&p, true);
        point.SetZpi(&oldZ, true);
    }

    Ports ports;
    CZephModalData point;
    ComplexMatrix s, t, p;
    ComplexVector oldZ, newZ;
};

template <class Check>
void ForAllSizes(Check check) {
    for (const int n : {1, 2, 3, 4, 6, 9, 17}) {
        for (const bool real : {false, true}) {
            SCOPED_TRACE(testing::Message() << n << (real ? " real" : ""));
            Modes modes(n, 20u + unsigned(n), real);
            check(modes, plain::Identity(n), n);
        }
    }
}

TEST(ZephFormulas, RenormalisationOfModes) {
    ForAllSizes([](Modes& modes, const ComplexMatrix& one, int n) {
        ComplexMatrix d(n, n);
        for (int i = 0; i < n; ++i)
            d[i][i] = plain::Root(plain::Unguarded(modes.newZ[i], modes.oldZ[i]));
        ComplexMatrix z = Times(one + modes.s, Inverse(one - modes.s));
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                z[i][j] = plain::Product(plain::Product(z[i][j], plain::Root(modes.oldZ[i])),
                                         plain::Root(modes.oldZ[j]));
                z[i][j] = plain::Unguarded(
                    z[i][j], plain::Product(plain::Root(modes.newZ[i]), plain::Root(modes.newZ[j])));
            }
        }
        ASSERT_TRUE(modes.point.Renormalize(modes.newZ));
        EXPECT_TRUE(Equal(*modes.point.GetSMatrix(false), Times(Inverse(z + one), z - one)));
        EXPECT_TRUE(Equal(*modes.point.GetTMatrix(), Times(modes.t, d)));
    });
}

TEST(ZephFormulas, TerminalForm) {
    ForAllSizes([](Modes& modes, const ComplexMatrix& one, int n) {
        const ComplexMatrix &s = modes.s, &t = modes.t;
        const ComplexMatrix x = Quotient(ConjugateTranspose(t), ConjugateTranspose(modes.p));
        ComplexMatrix reference(n, n);
        for (int i = 0; i < n; ++i)
            reference[i][i] = modes.newZ[i];
        const ComplexMatrix a = Times(reference, x);
        const ComplexMatrix g = Quotient(t + a, t - a);
        const ComplexMatrix m = Times(Diagonal(modes.newZ, true), t) + Times(Diagonal(modes.newZ, false), x);
        const ComplexMatrix k = Times(g + s, Inverse(one + Times(g, s)));

        CZephTerminalData form(&modes.point, modes.newZ, {});
        ComplexMatrix found;
        form.ComputeXMatrix(found);
        EXPECT_TRUE(Equal(found, x));
        EXPECT_TRUE(Equal(*form.GetSMatrix(false), Times(Times(m, k), Inverse(m))));
        EXPECT_TRUE(
            Equal(*form.GetYMatrix(false), Times(x, Times(Times(Inverse(one + s), one - s), Inverse(t)))));
        EXPECT_TRUE(
            Equal(*form.GetZMatrix(false), Times(t, Times(Times(Inverse(one - s), one + s), Inverse(x)))));
        EXPECT_TRUE(Equal(*form.GetPortImpedance(), Times(t, Inverse(x))));
    });
}

TEST(ZephFormulas, TerminalsByVectors) {
    ForAllSizes([](Modes& modes, const ComplexMatrix& one, int n) {
        CZephTerminalData point(&modes.ports, 1e9);
        point.SetSMatrix(&modes.s, true);
        const ComplexMatrix y = Quotient(one + modes.s, one - modes.s);
        const ComplexMatrix z = Quotient(one - modes.s, one + modes.s);
        const ComplexMatrix root = Diagonal(modes.oldZ, false), reciprocal = Diagonal(modes.oldZ, true);
        point.ComputeYFromS(modes.oldZ);
        point.ComputeZFromS(modes.oldZ);
        EXPECT_TRUE(Equal(*point.GetYMatrix(false), Times(Times(reciprocal, y), reciprocal)));
        EXPECT_TRUE(Equal(*point.GetZMatrix(false), Times(Times(root, z), root)));

        const ComplexMatrix e = Times(reciprocal, Times(y, Inverse(root)));
        const ComplexMatrix f = Times(e, Diagonal(modes.newZ, false));
        const ComplexMatrix d = Diagonal(modes.newZ, true);
        ASSERT_TRUE(point.RenormalizeVectors(modes.oldZ, modes.newZ));
        EXPECT_TRUE(Equal(*point.GetSMatrix(false), Times(Inverse(d + f), d - f)));
        EXPECT_EQ(point.GetSMatrix(false)->Rows(), n);
    });
}

} // namespace
