// The terminal form of a field solver's modal point, or a terminal point that the solver delivered as such.
//
//   CZephTerminalData* form = modal.GetTerminalData(pairs, impedances, true);
//   const ComplexMatrix* s = form->GetSMatrix(false); // refers to `impedances`, one for each terminal
//
// T and P are n by n. Terminal voltages are T times the normalised modal voltages, terminal currents are X times the
// normalised modal currents, where X = (T^H)^-1 P^H, so that P = X^H T; T X^-1 is the matrix R of reference
// impedances. Everything is computed once, when the form is made:
//
//   S    refers to the diagonal matrix of the impedances that were given, 50 ohm if none were
//   Y    X (I + S)^-1 (I - S) T^-1      with the modal S
//   Z    T (I - S)^-1 (I + S) X^-1
//   R    T X^-1
//
// It counts as primary data; R isn't stored. S is never computed later on. Y and Z are, as CNetworkTerminalData does
// it, if S is there: so a form that is bound to its modal point gives null for one that it lacks. For the same reason
// the inherited Renormalize and RenormalizeMatrix take S away and give false, and DeembedByDelay takes Y and Z away
// while the modal point lives; RenormalizeVectors is the operation for S.
//
// Nothing is refused for being singular: a matrix that has no inverse counts as one with an inverse of zeros, and the
// products that follow carry that on. So a modal network of which I + S is singular (a short, an ideal through) has a
// form with a Y of zeros, and RenormalizeVectors makes another network of such a terminal S, with the result true.
// Operations that lack their data do what is said with each; none throws.
#pragma once

#include <sparamlib/network_terminal_data.h>
#include <sparamlib/zeph_differential_pair.h>

#include <vector>

class CZephModalData;

// Not owned. A null pointer counts as a pair with indices outside the rows.
using CZephDifferentialPairs = std::vector<const CZephDifferentialPair*>;

class CZephTerminalData : public CNetworkTerminalData {
public:
    CZephTerminalData() = default;
    CZephTerminalData(INetworkDataOwner* owner, double frequency) : CNetworkTerminalData(owner, frequency) {}
    CZephTerminalData(const CZephTerminalData& other);
    CZephTerminalData& operator=(const CZephTerminalData& other);
    // The form of a modal point, bound to it and without an owner, which the solution sets. S refers to 50 ohm. A
    // point that isn't there, or lacks T or P, is an assertion; then, and where T or P isn't n by n, nothing is
    // computed. Without a modal S there are T, P and R, and no S, Y or Z.
    explicit CZephTerminalData(CZephModalData* baseData);
    // The same with one impedance for each terminal, and with T taken to the quantities of the pairs. A number of
    // impedances other than n counts as a modal S that is absent. A pair with an index outside the rows, or pairs that
    // are no transform, leave T as it was.
    CZephTerminalData(CZephModalData* baseData, const ComplexVector& impedances,
                      const CZephDifferentialPairs& pairs);
    ~CZephTerminalData() override;

    // Behind the items of CNetworkData the matrices "TMatrix" and "PMatrix"; no "PortImpedance", "Gamma" or
    // "Transform". 1 if one of the two doesn't fit, which is absent then; else 0, also where an earlier matrix didn't
    // fit.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    bool WriteToBlock(io::CBlock& block) override;
    // As it stands.
    ComplexMatrix* GetSMatrix(bool create) override;
    // As it stands without `create`; else null if S is absent.
    ComplexMatrix* GetYMatrix(bool create) override;
    ComplexMatrix* GetZMatrix(bool create) override;
    // The kinds of the three matrices, PortImpedance (R), TMatrix and PMatrix; GetValue has Vswr as well.
    bool SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j) override;
    Complex GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) override;
    bool Accept(INetworkDataVisitor& visitor) override;
    // False.
    bool DeembedTerminals(const RealVector& distances, bool lossless) override;

    // Refers S from one impedance for each terminal to another; Y and Z stay. False, and nothing changes, without S
    // or with a number of impedances other than n. An impedance of zero isn't refused.
    virtual bool RenormalizeVectors(const ComplexVector& oldImpedances, const ComplexVector& newImpedances);

    // As SetSMatrix.
    void SetTMatrix(ComplexMatrix* matrix, bool copy);
    void SetPMatrix(ComplexMatrix* matrix, bool copy);
    const ComplexMatrix* GetTMatrix() const { return m_TMatrix.get(); }
    const ComplexMatrix* GetPMatrix() const { return m_PMatrix.get(); }

    // The steps by which an interpolated point gets the rest of its data.
    //
    // X from T and P, n by n; zero if T is singular, in the shape that it has if T or P is absent or they don't fit.
    void ComputeXMatrix(ComplexMatrix& out) const;
    // R = T X^-1, with X^-1 left in `work`. Without X, it is computed from this point's own T and P. R becomes zero
    // if the shapes don't fit.
    void ComputePortImpedance(const ComplexMatrix& t, const ComplexMatrix& p, const ComplexMatrix* x,
                              ComplexMatrix& work);
    // Y and Z from S and its impedances. Without S an assertion, and nothing changes; zero if the number of
    // impedances isn't n or the matrix to be inverted is singular.
    void ComputeYFromS(const ComplexVector& impedances);
    void ComputeZFromS(const ComplexVector& impedances);

private:
    void ComputeForm(CZephModalData* baseData, const ComplexVector* impedances,
                     const CZephDifferentialPairs& pairs);
    void ApplyPairs(const CZephDifferentialPairs& pairs);
    void ComputeTerminalSMatrix(const ComplexMatrix& x, const ComplexMatrix& s, const ComplexVector& z);
    void ComputeTerminalYMatrix(const ComplexMatrix& x, const ComplexMatrix& s);
    void ComputeTerminalZMatrix(const ComplexMatrix& x, const ComplexMatrix& s);

    std::unique_ptr<ComplexMatrix> m_TMatrix;
    std::unique_ptr<ComplexMatrix> m_PMatrix;
};
