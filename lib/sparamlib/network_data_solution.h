// A network over its frequencies: the points, what the rows of their matrices mean, and how a frequency is answered.
//
//   std::unique_ptr<CNetworkDataSolution> solution = CreateNetworkSolution(block); // or a class of one's own choice
//   CNetworkData* point = solution->GetData(1.5e9, 0.0, true, false);              // held, or interpolated and kept
//   solution->RenormalizePorts(fifties, true);
//   solution->WriteToBlock(block, true);
//
// This class is abstract; CNetworkModalSolution and CNetworkTerminalSolution are its children, and below each is the
// class for what a field solver delivers, CZephModalSolution and CZephTerminalSolution. A solution is
// filled by reading a block, by SetMatrixEntries and AddData, or from the compact form; the matrix entries come first,
// for their number is the size of the points' matrices. Solved points and interpolated points stand in two sets, each
// with a frequency at most once.
//
// The solution owns its points and entries. A pointer to a point is good until the point is removed, its frequency is
// solved (which destroys an interpolated point), or the solution is read or assigned anew. Frequencies are in hertz,
// distances and lengths in metres, delays in seconds, impedances in ohms.
//
// Nothing throws for what the data is and no message is posted: a failure is null, false or a read code. One thread at a
// time: GetData adds points, and some interpolations compute matrices of the solved points.
#pragma once

#include <matrix/vec.h>
#include <sparamlib/frequency_map.h>
#include <sparamlib/interpolate_visitor.h>
#include <sparamlib/matrix_entry.h>
#include <sparamlib/network_data.h>
#include <sparamlib/noise_data.h>
#include <streamio/streamio_object.h>

#include <cstdint>
#include <memory>
#include <vector>

// Something done to a solution by its class.
class INetworkSolutionVisitor {
public:
    virtual ~INetworkSolutionVisitor() = default;
    virtual bool Visit(CZephTerminalSolution& solution) = 0;
    virtual bool Visit(CZephModalSolution& solution) = 0;
    virtual bool Visit(CNetworkModalSolution& solution) = 0;
    virtual bool Visit(CNetworkTerminalSolution& solution) = 0;
    virtual bool Visit(CNetworkDataSolution& solution) = 0;
};

class CNetworkDataSolution : public io::CStreamio_block_object, public INetworkDataOwner {
public:
    CNetworkDataSolution(const CNetworkDataSolution&) = delete;
    ~CNetworkDataSolution() override;

    AString& ToBinaryText(AString& out) const override;
    AString GetBlockName() const override; // "SolutionData"
    // ReadFromBlock, or 0 if WriteToBlock without interpolated points gave true and 1 if not.
    std::int32_t TransferBlock(io::CBlock& block, bool read) override;
    // Replaces the points and the entries; what the block doesn't say stays, the noise data included. 0; 1 if a later
    // one of two solved points with one frequency was dropped; any other code from a point or the noise data, and -1 for
    // more entries than a matrix can have rows, ends the reading, with the solution partly filled. A point with a matrix
    // that doesn't fit is kept without it.
    //
    // "SolutionType", "AdaptivePass", "Name"; the function items of the block "Ports", or without that block
    // "EnergyError"; the blocks of "Frequencies" and "InterpolatedFrequencies"; "NoiseSolution". What stands in these
    // blocks and isn't of their kind is passed over. "ZephInterpolatingSweep" doesn't pass as a solution type.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    using io::CStreamio_block_object::WriteToBlock;

    // A deep copy of the same class.
    virtual std::unique_ptr<CNetworkDataSolution> Clone() const = 0;
    // The solved point at exactly the data's frequency; if there is none yet, a copy of `data` in this solution's
    // class of points becomes it, with an error estimate of 0, in place of an interpolated point there. Null for
    // null, and where the class can't take the data.
    virtual CNetworkData* AddData(const CNetworkData* data);
    // The same with an empty point.
    virtual CNetworkData* AddData(double freq);
    // Destroys the solved point at exactly this frequency, else the interpolated one. False if there is neither.
    virtual bool RemoveData(double freq);
    // Whether a discrete sweep may be interpolated.
    virtual bool SupportsDiscreteInterpolation() const { return false; }
    // A discrete sweep with dominant data, at least 500 solved points, and all points at even steps from exactly 0 on,
    // to within 1e-05 Hz.
    virtual bool IsUniformFromDC();
    // A discrete sweep with dominant data and at least 20 solved points.
    virtual bool HasMinimumDiscreteSamples();
    // Null in every class.
    virtual CNetworkData* GetFrequencyData(double freq);
    // The number of matrix entries.
    int GetMatrixSize() const override;
    int GetNumPorts() const override;
    int GetNumModes(unsigned port) const override;
    // The first entry with this port name, modal or terminal entry name, in any case; or null.
    virtual CMatrixEntry* FindMatrixEntry(const AString& name) const;
    CMatrixEntry* GetMatrixEntry(unsigned index) const override;
    // The row's name; an index outside the table is an assertion, and empty.
    virtual AString GetMatrixEntryName(unsigned index) const;
    // The point at a frequency: the lowest solved point within the tolerance, else the lowest interpolated one. The
    // tolerance is `tol` or 1e-09 of the frequency, whichever is larger; exactly 0 demands the exact frequency.
    // Otherwise, with `interpolate`, a new point by the solution's type (see interpolate_visitor.h), which is kept.
    // Null if there is none, if the interpolation refuses, and always without a solved point. `raw` gives solved points
    // as they are, where a child would post-process them.
    virtual CNetworkData* GetData(double freq, double tol, bool interpolate, bool raw);
    // The same in the form that describes the ports as a whole.
    virtual CNetworkData* GetDominantData(double freq, double tol, bool interpolate) = 0;
    virtual int GetNumSolvedFrequencies() const;
    // The interpolated ones if there are any, else the solved ones.
    virtual int GetNumFrequencies() const;
    // 0 and 0 without solved points.
    virtual void GetSolvedRange(double& low, double& high) const;
    // Appends the solved frequencies, or all of them, ascending and each once. Gives the size of `out`.
    virtual int GetFrequencies(std::vector<double>& out, bool withInterpolated) const;
    virtual int GetInterpolatedFrequencies(std::vector<double>& out) const;
    // The solved range; true if the type is one of those that interpolate.
    virtual bool GetInterpolationRange(double& low, double& high) const;
    // Appends the solution's items. Derived matrices aren't written, the energy error only without matrix entries, and a
    // type beyond "ZephFastSweep" not at all. False if a point or the noise data fails; what stands in the block until
    // then stays.
    virtual bool WriteToBlock(io::CBlock& block, bool withInterpolated);
    virtual bool Accept(INetworkSolutionVisitor& visitor);
    // A new point by the visitor, kept among the interpolated ones, whatever type the solution has; null if the visitor
    // refuses. Where a point of exactly this frequency is held there already, that one stays and is the result. Here
    // by the visitor's dispatching operation, within the interpolation range (its ends excluded) unless
    // `outsideRange` is set.
    virtual CNetworkData* Interpolate(double freq, CInterpolateVisitor& visitor, bool outsideRange);
    // The points' operations Deembed, with a Gamma in units of the wave number of vacuum, DeembedByDelay and
    // Renormalize, on each solved point and with `withInterpolated` on each interpolated one. All points are visited;
    // false if one gave false.
    virtual bool DeembedPorts(const RealVector& distances, bool lossless, bool withInterpolated);
    // By delays length * (sqrt(permittivity) / c). False, and nothing changes, if the vectors differ in length.
    virtual bool DeembedPortsByLength(const RealVector& lengths, const RealVector& permittivities,
                                      bool withInterpolated);
    virtual bool DeembedPortsByDelay(const RealVector& delays, bool withInterpolated);
    virtual bool RenormalizePorts(const ComplexVector& impedances, bool withInterpolated);
    // A new point of this solution's class: a copy of the data, an empty one at a frequency, an empty one without an
    // owner. Null data give the last.
    virtual std::unique_ptr<CNetworkData> CopyData(const CNetworkData* data) = 0;
    virtual std::unique_ptr<CNetworkData> CreateData(double freq) = 0;
    virtual std::unique_ptr<CNetworkData> CreateData() = 0;
    // Bring the port tables up to date with the entries, and the entries with the port tables.
    virtual void OnMatrixEntriesChanged() {}
    virtual void BuildMatrixEntries() {}

    // Replaces the table. With `deepCopy` the entries are copied; without, the solution takes them over and will
    // delete them. Null pointers are left out; each entry's matrix index becomes its position.
    void SetMatrixEntries(const std::vector<CMatrixEntry*>& entries, bool deepCopy);

    const AString& GetName() const { return m_Name; }
    void SetName(const AString& name) { m_Name = name; }
    SolutionType GetSolutionType() const { return m_SolutionType; }
    void SetSolutionType(SolutionType type) { m_SolutionType = type; }
    ObjectType GetObjectType() const { return m_ObjectType; }
    std::int32_t GetAdaptivePass() const { return m_AdaptivePass; }
    void SetAdaptivePass(std::int32_t pass) { m_AdaptivePass = pass; }
    double GetEnergyError() const { return m_EnergyError; }
    void SetEnergyError(double error) { m_EnergyError = error; }
    CNoiseDataSolution* GetNoiseSolution() const { return m_NoiseSolution.get(); }
    void SetNoiseSolution(std::unique_ptr<CNoiseDataSolution> noise) { m_NoiseSolution = std::move(noise); }
    void ClearNoiseSolution() { m_NoiseSolution.reset(); }

    const CFrequencyMap& GetSolvedPoints() const { return m_SolvedData; }
    const CFrequencyMap& GetInterpolatedPoints() const { return m_InterpolatedData; }

protected:
    using MatrixEntries = std::vector<std::unique_ptr<CMatrixEntry>>;

    explicit CNetworkDataSolution(ObjectType type, const AString& name = AString())
        : m_Name(name), m_ObjectType(type) {}
    // Everything, with copies of the points, of the entries and of the noise data.
    CNetworkDataSolution& operator=(const CNetworkDataSolution& other);

    // Whether there are data by which the solution can be said to be a sweep.
    virtual bool HasDominantData();
    CMatrixEntry* CheckedEntry(unsigned index, const char* sourcePath) const;
    // A point that an interpolation made is marked as such and kept, if it is filled; else it is destroyed, and null.
    CNetworkData* KeepIf(bool isFilled, std::unique_ptr<CNetworkData> point);
    // CopyData for points of that class.
    template <class Point>
    std::unique_ptr<CNetworkData> CopyAs(const CNetworkData* data) {
        if (!data)
            return CreateData();
        if (const auto* same = dynamic_cast<const Point*>(data)) {
            auto copy = std::make_unique<Point>(*same);
            copy->SetOwner(this);
            return copy;
        }
        auto copy = std::make_unique<Point>(this, data->GetFrequency());
        copy->CNetworkData::operator=(*data);
        return copy;
    }
    // Calls `visit` for each point; false if one call gave false.
    template <class Visit>
    bool ForEachPoint(bool withInterpolated, const Visit& visit) {
        bool isGood = true;
        for (const auto [frequency, point] : m_SolvedData)
            isGood = visit(*point) && isGood;
        if (!withInterpolated)
            return isGood;
        for (const auto [frequency, point] : m_InterpolatedData)
            isGood = visit(*point) && isGood;
        return isGood;
    }

    AString m_Name;
    CFrequencyMap m_SolvedData;
    CFrequencyMap m_InterpolatedData;
    MatrixEntries m_MatrixEntries;
    SolutionType m_SolutionType = SolutionType::None;
    ObjectType m_ObjectType;
    std::int32_t m_AdaptivePass = -1;
    double m_EnergyError = 0.0;
    std::unique_ptr<CNoiseDataSolution> m_NoiseSolution;

private:
    CNetworkData* AddSolved(std::unique_ptr<CNetworkData> point);
    // 0, 1 if a point whose frequency is held already was dropped, or the code that ends the reading.
    std::int32_t ReadPoints(io::CBlock& block, std::u16string_view name, bool areSolved);
    bool WritePoints(io::CBlock& block, const AString& name, const CFrequencyMap& points);
};
