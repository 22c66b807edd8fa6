#include "matrix_bench_peers.h"

#include <Eigen/Dense>
#include <Eigen/Eigenvalues>
#include <complex>

#ifndef BENCH_EIGEN_PEER
#define BENCH_EIGEN_PEER MakeEigenPeer
#endif

namespace {

// Everything that is kept between calls is sized once, as a user who looks for speed would do it.
class EigenPeer final : public PeerConversions {
public:
    explicit EigenPeer(int n)
        : m_N(n), m_One(Matrix::Identity(n, n)), m_Q(n, n), m_X(n, n), m_Y(n, n), m_Lu(n), m_Solver(n) {}

    void SToY(const Complex* s, const Complex* z) override {
        const Map m = View(s);
        Roots(z);
        m_X = m_Lu.compute(m_One + m).solve(m_One - m).cwiseQuotient(m_Q);
    }
    void SToZ(const Complex* s, const Complex* z) override {
        const Map m = View(s);
        Roots(z);
        m_X = m_Lu.compute(m_One - m).solve(m_One + m).cwiseProduct(m_Q);
    }
    void YToS(const Complex* y, const Complex* z) override {
        Roots(z);
        m_Y = View(y).cwiseProduct(m_Q);
        m_X = m_Lu.compute(m_One + m_Y).solve(m_One - m_Y);
    }
    void RenormalizeModes(const Complex* s, const Complex* oldZ, const Complex* newZ) override {
        SToY(s, oldZ);
        Roots(newZ);
        m_Y = m_X.cwiseProduct(m_Q);
        m_X = m_Lu.compute(m_One + m_Y).solve(m_One - m_Y);
    }
    void RenormalizeTerminals(const Complex* s, const Complex* oldR, const Complex* newR) override {
        const Map m = View(s);
        m_X = m_Lu.compute(m_One + m).solve(m_One - m);
        m_Solver.compute(View(oldR));
        const Matrix p = m_Solver.eigenvectors() *
                         m_Solver.eigenvalues().array().sqrt().inverse().matrix().asDiagonal() *
                         m_Lu.compute(m_Solver.eigenvectors()).inverse();
        m_Y = p * m_X * p;
        m_Solver.compute(View(newR));
        const Matrix g = m_Solver.eigenvectors() *
                         m_Solver.eigenvalues().array().sqrt().matrix().asDiagonal() *
                         m_Lu.compute(m_Solver.eigenvectors()).inverse();
        m_Y = g * m_Y * g;
        m_X = m_Lu.compute(m_One + m_Y).solve(m_One - m_Y);
    }

private:
    using Number = std::complex<double>;
    using Matrix = Eigen::MatrixXcd;
    using Map = Eigen::Map<const Matrix>;

    Map View(const Complex* numbers) const { return Map(reinterpret_cast<const Number*>(numbers), m_N, m_N); }
    void Roots(const Complex* z) {
        const Eigen::Map<const Eigen::VectorXcd> vector(reinterpret_cast<const Number*>(z), m_N);
        m_Q = (vector * vector.transpose()).array().sqrt();
    }

    const int m_N;
    const Matrix m_One;
    Matrix m_Q, m_X, m_Y;
    Eigen::PartialPivLU<Matrix> m_Lu;
    Eigen::ComplexEigenSolver<Matrix> m_Solver;
};

} // namespace

std::unique_ptr<PeerConversions> BENCH_EIGEN_PEER(int n) {
    return std::make_unique<EigenPeer>(n);
}
