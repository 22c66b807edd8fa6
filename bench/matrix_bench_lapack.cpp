#include "matrix_bench_peers.h"

#include <algorithm>
#include <vector>

extern "C" {
void zgesv_(const int* n, const int* nrhs, Complex* a, const int* lda, int* pivots, Complex* b,
            const int* ldb, int* info);
void openblas_set_num_threads(int count) __attribute__((weak));
}

void UseOneBlasThread() {
    if (openblas_set_num_threads)
        openblas_set_num_threads(1);
}

namespace {

class LapackPeer final : public PeerConversions {
public:
    explicit LapackPeer(int n) : m_N(n), m_A(n * n), m_B(n * n), m_Q(n * n), m_Pivots(n) {}

    void SToY(const Complex* s, const Complex* z) override {
        Solve(s, 1.0);
        Roots(z);
        for (std::size_t k = 0; k < m_B.size(); ++k)
            m_B[k] = m_B[k] / m_Q[k];
    }
    void SToZ(const Complex* s, const Complex* z) override {
        Solve(s, -1.0);
        Roots(z);
        for (std::size_t k = 0; k < m_B.size(); ++k)
            m_B[k] *= m_Q[k];
    }
    void YToS(const Complex* y, const Complex* z) override {
        Roots(z);
        for (std::size_t k = 0; k < m_Q.size(); ++k)
            m_Q[k] *= y[k];
        Solve(m_Q.data(), 1.0);
    }
    void RenormalizeModes(const Complex* s, const Complex* oldZ, const Complex* newZ) override {
        SToY(s, oldZ);
        YToS(m_B.data(), newZ);
    }
    void RenormalizeTerminals(const Complex*, const Complex*, const Complex*) override {}

private:
    // (1 + sign m)^-1 (1 - sign m)
    void Solve(const Complex* m, double sign) {
        for (int k = 0; k < m_N * m_N; ++k) {
            m_A[k] = {sign * m[k].re, sign * m[k].im};
            m_B[k] = {-sign * m[k].re, -sign * m[k].im};
        }
        for (int i = 0; i < m_N; ++i) {
            m_A[i * m_N + i].re += 1.0;
            m_B[i * m_N + i].re += 1.0;
        }
        int info = 0;
        zgesv_(&m_N, &m_N, m_A.data(), &m_N, m_Pivots.data(), m_B.data(), &m_N, &info);
    }
    void Roots(const Complex* z) {
        for (int i = 0; i < m_N; ++i)
            for (int j = 0; j < m_N; ++j)
                m_Q[i * m_N + j] = sqrt(z[i] * z[j]);
    }

    const int m_N;
    std::vector<Complex> m_A, m_B, m_Q;
    std::vector<int> m_Pivots;
};

} // namespace

std::unique_ptr<PeerConversions> MakeLapackPeer(int n) {
    return std::make_unique<LapackPeer>(n);
}
