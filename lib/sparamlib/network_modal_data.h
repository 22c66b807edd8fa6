// A point whose rows are the modes of ports: each row i has one complex reference impedance z(i) and one complex
// propagation constant.
//
//   CNetworkModalData point(&solution, 1e9);
//   point.SetSMatrix(&s, true);
//   point.SetPortImpedance(&z, true);
//   point.Renormalize(fifties);               // S now refers to 50 ohm
//   CNetworkTerminalData* terminals = point.GetTerminalData(true);
//
// S refers to the impedances that `GetPortImpedance` gives. With q(i, j) = sqrt(z(i) z(j)), one root of the product:
//
//   wanted   from, if present    else from
//   S        Y: y = Y q,   S = (I + y)^-1 (I - y)          Z: w = Z / q,   S = (w + I)^-1 (w - I)
//   Y        S: y = (I + S)^-1 (I - S),   Y = y / q        Z: Y = Z^-1
//   Z        S: w = (I - S)^-1 (I + S),   Z = w q          Y: Z = Y^-1
//
// where products and quotients with q go element by element. A conversion gives a matrix of zeros, not an error,
// - where the matrix to be inverted is singular,
// - where there is nothing to compute from, or no impedance for each of the n rows where they are needed.
// So a network of which I + S is singular (a short, an ideal through, a junction, a transformer) gets a Y of zeros, and
// one of which I - S is singular (an open, a through, a circulator, a transformer) a Z of zeros; where a rounding hides
// that it is singular, the elements are huge. Renormalize goes by way of Y: of the former it makes another network, and
// says true. An impedance of zero isn't refused: what is divided by it becomes the largest finite number in both parts.
#pragma once

#include <sparamlib/network_terminal_data.h>

class CNetworkModalData : public CNetworkData {
public:
    CNetworkModalData() = default;
    CNetworkModalData(INetworkDataOwner* owner, double frequency) : CNetworkData(owner, frequency) {}
    // The copy has a terminal form of its own, bound to the copy, and no post-processed point.
    CNetworkModalData(const CNetworkModalData& other);
    CNetworkModalData& operator=(const CNetworkModalData& other);
    // Terminal points that were bound to this one stand alone from here on.
    ~CNetworkModalData() override;

    // Behind the base's items "PortImpedance", "Gamma" (vectors) and "TerminalTransform". One that doesn't fit is
    // absent afterwards, and the result is 1.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    bool WriteToBlock(io::CBlock& block) override;
    // As above. What was computed is also brought to the terminal form, if there is one: with the transform T its
    // matrix becomes T M T^-1 (by the true inverse), without T it is left as it is or made of zeros.
    ComplexMatrix* GetSMatrix(bool create) override;
    ComplexMatrix* GetYMatrix(bool create) override;
    ComplexMatrix* GetZMatrix(bool create) override;
    // PortImpedance and Gamma: element i of the vector with i == j; with another j true, and nothing changes.
    bool SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j) override;
    // PortImpedance and Gamma: element i of the vector. The Terminal kinds: from GetTerminalData(true).
    Complex GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) override;
    // Multiplies S(i, j) by e(i) e(j), with e(i) = exp(Gamma(i) distance(i)); `gammaNormalized` says that Gamma is
    // in units of the wave number of vacuum, `lossless` drops its real part. Y and Z, if present, are computed
    // anew from S and count as primary; the terminal form isn't touched. One distance for each row, or, if the
    // owner has several modes on a port, one for each port. False, and nothing changes, without Gamma, without S
    // or with a number of distances that doesn't fit.
    bool Deembed(const RealVector& distances, bool lossless, bool gammaNormalized) override;
    // The same with e(i) = exp(j 2 pi f delay(i)), whatever Gamma holds; it must be there.
    bool DeembedByDelay(const RealVector& delays) override;
    // Refers S to other impedances, by way of Y, which stays. One for each row or, if the owner has several modes
    // on a port, for each row or for each port. An impedance of magnitude 1e-10 or less leaves that row's. False,
    // and nothing changes but that Y may have been computed, without impedances or with a number that doesn't
    // fit.
    bool Renormalize(const ComplexVector& impedances) override;
    bool Accept(INetworkDataVisitor& visitor) override;
    CNetworkData* GetPostprocessedData() override;

    // The impedances to which S refers, n of them, or null.
    virtual ComplexVector* GetPortImpedance();
    // The terminal form: its Gamma, port impedance and S are T D(v) T^H, T S T^H with the conjugate transpose,
    // which agrees with the inverse that keeps it up to date only if T is unitary. Built at the first request with
    // `create`. Null if there is none yet, and where the transform, S, Gamma or the port impedances are absent.
    virtual CNetworkTerminalData* GetTerminalData(bool create);

    // As SetSMatrix.
    void SetGamma(ComplexVector* gamma, bool copy);
    void SetPortImpedance(ComplexVector* impedances, bool copy);
    // A copy; null takes the transform away.
    void SetTerminalTransform(const ComplexMatrix* transform);
    // Nothing for an i outside the rows. An absent vector is first made of zeros.
    void SetPortImpedanceElement(std::int32_t i, const Complex& value);

    const ComplexVector* GetGamma() const { return GetRare().gamma.get(); }
    const ComplexMatrix* GetTerminalTransform() const { return GetRare().terminalTransform.get(); }

    // Hands the terminal form over. It stays bound to this point as long as the point lives.
    std::unique_ptr<CNetworkTerminalData> ReleaseTerminalData();
    // The post-processed point that a solution keeps with this one: stored, destroyed by null, or handed over.
    void SetPostprocessedData(std::unique_ptr<CNetworkData> data);
    std::unique_ptr<CNetworkData> ReleasePostprocessedData();
    bool HasPostprocessedData() const { return GetRare().postprocessedData != nullptr; }

protected:
    std::unique_ptr<ComplexVector> m_PortImpedance;
    // What most points of a solution are without: it would take more room than a small matrix.
    struct Rare {
        std::unique_ptr<CNetworkTerminalData> terminalData;
        std::unique_ptr<CNetworkData> postprocessedData;
        std::unique_ptr<ComplexVector> gamma;
        std::unique_ptr<ComplexMatrix> terminalTransform;
        refptr<ModalLink> link; // made when the first terminal point is bound
    };
    const Rare& GetRare() const {
        static const Rare none;
        return m_Rare ? *m_Rare : none;
    }

private:
    Rare& MakeRare() {
        if (!m_Rare)
            m_Rare = std::make_unique<Rare>();
        return *m_Rare;
    }
    // One for each row, or null.
    const ComplexVector* UsableImpedance();
    void UpdateTerminalForm(const ComplexMatrix& computed, std::unique_ptr<ComplexMatrix>& form) const;
    // False if what de-embedding needs isn't there or the number of values doesn't fit.
    bool SpreadPlanes(const RealVector& given, RealVector& rows) const;
    void MoveReferencePlanes(const ComplexVector& factors);

    friend class CNetworkTerminalData;
    std::unique_ptr<Rare> m_Rare; // made at the first use
};
