// The modal point that a field solver delivers: S as primary data, three alternative vectors of port impedances, and
// the matrices T and P that take modes to terminals.
//
//   CZephModalData point(&solution, 1e9);
//   point.ReadFromBlock(block);
//   point.Renormalize(fifties); // S now refers to 50 ohm, and so does every later conversion
//   CZephTerminalData* terminals = point.GetTerminalData(true);
//
// S refers to `GetPortImpedance`: the vector that the owner prefers, until a renormalisation or a stored
// "PortImpedance" sets one. S is never computed; Y and Z are, from S, as CNetworkModalData does it, with a zero matrix
// where the matrix to be inverted is singular. Without S both are null, even where they are held. The terminal
// form is the point's cached post-processed point and is made of T and P; the terminal kinds of GetValue and
// "TerminalTransform" have no part in it.
#pragma once

#include <sparamlib/network_modal_data.h>
#include <sparamlib/zeph_terminal_data.h>

class CZephModalData : public CNetworkModalData {
public:
    CZephModalData() = default;
    CZephModalData(INetworkDataOwner* owner, double frequency) : CNetworkModalData(owner, frequency) {}
    // The copy has no terminal form.
    CZephModalData(const CZephModalData& other);
    CZephModalData& operator=(const CZephModalData& other);
    ~CZephModalData() override;

    // Behind the base's items the vectors "Zpi", "Zpv", "Zvi" and the matrices "TerminalTMatrix", "TerminalPMatrix".
    // One that doesn't fit is absent afterwards, and the result is 1.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    bool WriteToBlock(io::CBlock& block) override;
    // As it stands.
    ComplexMatrix* GetSMatrix(bool create) override;
    // Null without S.
    ComplexMatrix* GetYMatrix(bool create) override;
    ComplexMatrix* GetZMatrix(bool create) override;
    // The base's kinds, and Zpi, Zpv, Zvi (element i, whatever j is), TMatrix, PMatrix. GetValue gives PortImpedance by
    // GetPortImpedance, and (0, 0) for the terminal kinds.
    bool SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j) override;
    Complex GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) override;
    // Refers S to one new impedance for each row, by way of the normalised Z. They become the port impedance; T, if
    // present, becomes T D with D(i, i) = sqrt(new(i) / old(i)). Y and Z stay as they were. False without a port
    // impedance, with nothing changed; false without S or with a number of impedances other than n, with T
    // changed nevertheless, as many of its columns as there are impedances. No network and no value is refused:
    // - of a network of which I - S is singular (an open, an ideal through) another network is made, and a zero S
    //   where a later inverse fails;
    // - an impedance of zero puts infinities and NaNs into S.
    // The result is true.
    bool Renormalize(const ComplexVector& impedances) override;
    bool Accept(INetworkDataVisitor& visitor) override;

    // What was set, else by the owner's preference; null without an owner.
    ComplexVector* GetPortImpedance() override;
    // The terminal form with 50 ohm at each terminal. Built at the first request with `create`, in place of another
    // post-processed point. Null if there is none yet, and without T or P.
    CZephTerminalData* GetTerminalData(bool create) override;
    // The same with one impedance for each terminal and differential pairs; null as well with a number of impedances
    // other than n. A form that is there is given back whatever it was made with.
    CZephTerminalData* GetTerminalData(const CZephDifferentialPairs& pairs, const ComplexVector& impedances,
                                       bool create);

    // As SetSMatrix.
    void SetZpi(ComplexVector* impedances, bool copy);
    void SetZpv(ComplexVector* impedances, bool copy);
    void SetZvi(ComplexVector* impedances, bool copy);
    void SetTMatrix(ComplexMatrix* matrix, bool copy);
    void SetPMatrix(ComplexMatrix* matrix, bool copy);

    const ComplexVector* GetZpi() const { return m_Zpi.get(); }
    const ComplexVector* GetZpv() const { return m_Zpv.get(); }
    const ComplexVector* GetZvi() const { return m_Zvi.get(); }
    const ComplexMatrix* GetTMatrix() const { return m_TMatrix.get(); }
    const ComplexMatrix* GetPMatrix() const { return m_PMatrix.get(); }

private:
    // The form if it is there. Otherwise, with `create`, the place for it is made free.
    CZephTerminalData* FindForm(bool create);
    // The new form becomes the post-processed point if it has T and P.
    CZephTerminalData* KeepForm(std::unique_ptr<CZephTerminalData> form);

    std::unique_ptr<ComplexVector> m_Zpi;
    std::unique_ptr<ComplexVector> m_Zpv;
    std::unique_ptr<ComplexVector> m_Zvi;
    std::unique_ptr<ComplexMatrix> m_TMatrix;
    std::unique_ptr<ComplexMatrix> m_PMatrix;
};
