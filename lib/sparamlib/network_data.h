// A network at one frequency: its S, Y and Z matrices, any of which may be absent, the frequency and the origin
// of the point.
//
//   CNetworkModalData point(&solution, 1e9);
//   point.SetSMatrix(&s, true);
//   const ComplexMatrix* y = point.GetYMatrix(true); // computed, and kept until the data changes
//
// All matrices are n by n, where n is what the owner says (`GetMatrixSize`), 0 without an owner. A matrix of
// another shape, which only the setters can bring in, counts as absent in every computation. A matrix that was
// computed is marked derived and isn't stored: whoever reads the point gets it again on demand. Setting a matrix or an
// element changes no such mark and no other matrix.
//
// This class stores, reads and reports; the conversions among S, Y and Z stand in its children, which know the
// reference impedances. Nothing throws for what the data is, and no message is posted. Frequencies are in hertz,
// distances in metres, delays in seconds, impedances in ohms. A point and the pointers that it hands out belong to
// one thread at a time; a pointer to a matrix is good until the point changes. Each thread that converts keeps room for
// two matrices.
#pragma once

#include <matrix/cmat.h>
#include <sparamlib/network_data_owner.h>
#include <sparamlib/network_data_utilities.h>
#include <streamio/streamio_object.h>

#include <memory>

class CNetworkData;
class CNetworkModalData;
class CNetworkTerminalData;
class CZephModalData;
class CZephTerminalData;

// Something done to a point by its class. The result is handed back by CNetworkData::Accept.
class INetworkDataVisitor {
public:
    virtual ~INetworkDataVisitor() = default;
    virtual bool Visit(CZephTerminalData& data) = 0;
    virtual bool Visit(CZephModalData& data) = 0;
    virtual bool Visit(CNetworkModalData& data) = 0;
    virtual bool Visit(CNetworkTerminalData& data) = 0;
    virtual bool Visit(CNetworkData& data) = 0;
};

class CNetworkData : public io::CStreamio_block_object {
public:
    CNetworkData() = default;
    CNetworkData(INetworkDataOwner* owner, double frequency) : m_Owner(owner), m_Frequency(frequency) {}
    // A deep copy with the same owner.
    CNetworkData(const CNetworkData& other);
    // A deep copy of the data; the owner stays. Of two points with different sizes nothing of the old shape
    // survives.
    CNetworkData& operator=(const CNetworkData& other);
    ~CNetworkData() override;

    AString& ToBinaryText(AString& out) const override;
    AString GetBlockName() const override; // "DataPoint"
    // ReadFromBlock, or 0 if WriteToBlock gave true and 1 if not.
    std::int32_t TransferBlock(io::CBlock& block, bool read) override;
    // Takes what stands under "Frequency", "DataType", "SMatrix", "YMatrix" and "ZMatrix"; what is absent or
    // unknown leaves its field. Without an owner no matrix is read. 0, or 1 for a matrix of the wrong shape or
    // with a bad item: that matrix is then absent, and what comes behind it isn't read. Elements that aren't stored
    // are zero; so that a short text can't ask for any amount of memory, a matrix or vector of more than 64 elements
    // has the wrong shape if less than an eighth of them is stored.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    // Appends frequency, origin and the matrices that aren't derived. True.
    bool WriteToBlock(io::CBlock& block) override;

    // What row `index` means; null without an owner or outside its table.
    virtual CMatrixEntry* GetMatrixEntry(unsigned index) const;
    virtual double GetFrequency() const { return m_Frequency; }
    // The matrix or null. The children compute an absent one if `create` is true; this class never does.
    virtual ComplexMatrix* GetSMatrix(bool create);
    virtual ComplexMatrix* GetYMatrix(bool create);
    virtual ComplexMatrix* GetZMatrix(bool create);
    // Sets one element, 0-based; an absent matrix is first made of zeros. False for a size of 0, an index outside
    // the matrix and a kind that the class doesn't hold. Vswr: true, and nothing changes.
    virtual bool SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j);
    // One element, 0-based, of a matrix that is computed if it is absent; (0, 0) wherever SetValue would be false
    // and where there is no such matrix. Vswr: from S(i, i), with 200000 where its magnitude is 1 to within 1e-05,
    // and negative above that.
    virtual Complex GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j);
    // Move the reference planes, by distances or by delays; refer S to other impedances. Here: false.
    virtual bool Deembed(const RealVector& distances, bool lossless, bool gammaNormalized);
    virtual bool DeembedByDelay(const RealVector& delays);
    virtual bool Renormalize(const ComplexVector& impedances);
    virtual bool Accept(INetworkDataVisitor& visitor);
    // The error estimate of an interpolated point, 0.0 of a solved one. Copied with the point, not stored.
    virtual double GetAuxValue() const { return m_AuxValue; }
    virtual void SetAuxValue(double value) { m_AuxValue = value; }
    // The point with its solution's post-processing applied, where that is at hand; else this point.
    virtual CNetworkData* GetPostprocessedData() { return this; }

    // Null takes the matrix away. With `copy` the elements are copied; without, the point takes the matrix over
    // and will delete it.
    void SetSMatrix(ComplexMatrix* matrix, bool copy);
    void SetYMatrix(ComplexMatrix* matrix, bool copy);
    void SetZMatrix(ComplexMatrix* matrix, bool copy);

    int GetMatrixSize() const { return m_Owner ? m_Owner->GetMatrixSize() : 0; }
    INetworkDataOwner* GetOwner() const { return m_Owner; }
    void SetOwner(INetworkDataOwner* owner) { m_Owner = owner; }
    DataType GetDataType() const { return m_DataType; }
    void SetDataType(DataType type) { m_DataType = type; }
    bool IsSDerived() const { return m_SDerived; }
    bool IsYDerived() const { return m_YDerived; }
    bool IsZDerived() const { return m_ZDerived; }

protected:
    // The matrix if it is present, n by n, else null.
    ComplexMatrix* Usable(const std::unique_ptr<ComplexMatrix>& field) const;
    // Makes a matrix n by n and zero.
    ComplexMatrix& Create(std::unique_ptr<ComplexMatrix>& field);
    // Takes the matrix away and has it computed anew, into the same storage.
    ComplexMatrix* Recompute(std::unique_ptr<ComplexMatrix>& field,
                             ComplexMatrix* (CNetworkData::*get)(bool));

    // The flags stand first: there is room for them behind the base's.
    bool m_SDerived = false;
    bool m_YDerived = false;
    bool m_ZDerived = false;
    INetworkDataOwner* m_Owner = nullptr;
    std::unique_ptr<ComplexMatrix> m_SMatrix;
    std::unique_ptr<ComplexMatrix> m_YMatrix;
    std::unique_ptr<ComplexMatrix> m_ZMatrix;
    double m_Frequency = 0.0;
    double m_AuxValue = 0.0;
    DataType m_DataType = DataType::None;
};
