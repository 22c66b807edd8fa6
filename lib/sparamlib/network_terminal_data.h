// A point whose rows are the terminals of ports: the reference is a full matrix R of impedances, and the propagation
// a full matrix too.
//
//   CNetworkTerminalData point(&solution, 1e9);
//   point.SetSMatrix(&s, true);
//   point.SetPortImpedance(&r, true);
//   point.RenormalizeMatrix(otherR);
//
// S, Y and Z are linked through matrix powers of R, which rest on an eigen decomposition:
//
//   wanted   from, if present    else from
//   S        Y: y = R^(1/2) Y R^(1/2),   S = (I + y)^-1 (I - y)      Z: w = R^(-1/2) Z R^(-1/2),  S = (w + I)^-1 (w - I)
//   Y        S: y = (I + S)^-1 (I - S),  Y = R^(-1/2) y R^(-1/2)     Z: Y = Z^-1
//   Z        S: w = (I - S)^-1 (I + S),  Z = R^(1/2) w R^(1/2)       Y: Z = Y^-1
//
// Without R, Y and Z from S are y and w as they are. A conversion gives a matrix of zeros, not an error, where the
// matrix to be inverted is singular (and a renormalisation by way of such a Y gives another network, and true: see
// CNetworkModalData), where there is nothing to compute from, and for Y and Z where R has no root. S from Y or Z with
// no R, or one without a root, is no matrix at all: null.
//
// A terminal point that is bound to a modal point computes nothing itself: it asks that one, whose result is brought
// here if this point is its terminal form. If that brings none, the result is null. When the modal point goes first,
// this point stands alone. Both stay on one thread.
#pragma once

#include <matrix/vec.h>
#include <matrix/wave_math.h>
#include <sparamlib/network_data.h>
#include <utility/refptr.h>

class CNetworkModalData;

// How terminal points know whether the modal point to which they are bound still lives.
struct ModalLink : mrefcount {
    CNetworkModalData* point = nullptr;
};

class CNetworkTerminalData : public CNetworkData {
public:
    CNetworkTerminalData() = default;
    CNetworkTerminalData(INetworkDataOwner* owner, double frequency) : CNetworkData(owner, frequency) {}
    // A copy is bound to the same modal point, which doesn't keep the copy up to date.
    CNetworkTerminalData(const CNetworkTerminalData& other);
    CNetworkTerminalData& operator=(const CNetworkTerminalData& other);
    ~CNetworkTerminalData() override;

    // Behind the base's items the matrices "PortImpedance", "Gamma" and "Transform". One that doesn't fit is absent
    // afterwards, and the result is 1.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    bool WriteToBlock(io::CBlock& block) override;
    // As above.
    ComplexMatrix* GetSMatrix(bool create) override;
    ComplexMatrix* GetYMatrix(bool create) override;
    ComplexMatrix* GetZMatrix(bool create) override;
    // PortImpedance and Gamma are matrices here.
    bool SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j) override;
    Complex GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) override;
    // Multiplies S(i, j) by e(i) e(j), with e(i) = exp(j 2 pi f delay(i)). Y and Z, if present, are computed anew
    // from S and stay derived. False, and nothing changes, without S or with a number of delays other than n.
    bool DeembedByDelay(const RealVector& delays) override;
    // One new value for each row, on the diagonal of R; the rest of R stays, and so does an element whose new value
    // has a magnitude of 1e-10 or less. S is computed from Y, which stays. False, and S stays, without S, R or Y or
    // with a number of impedances that doesn't fit; false, and S is gone, if the new R has no root.
    bool Renormalize(const ComplexVector& impedances) override;
    bool Accept(INetworkDataVisitor& visitor) override;

    // As DeembedByDelay with e = exp(Gamma (k0 distances)), a product of matrix and vector, where k0 is the wave number
    // of vacuum; `lossless` drops the real part of the exponents. False, and nothing changes, without Gamma as well.
    // `Deembed` is false for terminal points.
    virtual bool DeembedTerminals(const RealVector& distances, bool lossless);
    // As Renormalize with a whole matrix n by n, which is taken as it is, zeros included.
    virtual bool RenormalizeMatrix(const ComplexMatrix& impedances);
    // The modal point of which this is the terminal form, or null. `create` has no effect.
    virtual CNetworkModalData* GetModalData(bool create) const;

    // As SetSMatrix.
    void SetGamma(ComplexMatrix* gamma, bool copy);
    void SetPortImpedance(ComplexMatrix* impedances, bool copy);

    const ComplexMatrix* GetGamma() const { return m_Gamma.get(); }
    const ComplexMatrix* GetPortImpedance() const { return m_PortImpedance.get(); }
    // The modal to terminal transform that made this point.
    const ComplexMatrix* GetTransform() const { return m_Transform.get(); }

protected:
    friend class CNetworkModalData;
    // Null unbinds.
    void BindTo(CNetworkModalData* modal);

    std::unique_ptr<ComplexMatrix> m_Gamma;
    std::unique_ptr<ComplexMatrix> m_PortImpedance;
    std::unique_ptr<ComplexMatrix> m_Transform;

private:
    // R to the power 0.5 or -0.5, in the thread's work area; null without R or where the root fails.
    const ComplexMatrix* ImpedanceRoot(double power) const;
    // (root m) root; `out` may be `m`.
    static void Enclose(const ComplexMatrix& root, const ComplexMatrix& m, ComplexMatrix& out);
    // Y or Z from S, or else as the inverse of the other one.
    void Derive(const std::unique_ptr<ComplexMatrix>& inverse, WaveFraction form, double power,
                ComplexMatrix& out) const;
    void MoveReferencePlanes(const ComplexVector& factors);
    bool CanRenormalize();

    refptr<ModalLink> m_ModalLink;
};
