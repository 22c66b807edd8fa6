// How the points of a modal solution are presented: at which impedances, with which reference planes, as modal or as
// terminal data.
//
//   CNetworkPostprocSetup setup(solution.GetPortModes());
//   setup.SetDefaults(true, &impedances, nullptr);    // drops overrides
//   setup.SetOverrides({{0, Complex(75)}}, {});       // row 0 at 75 ohm, the others as in the defaults
//   solution.SetPostprocSetup(&setup);                // a copy
//
// Two layers of values: defaults, with which the data came, and overrides, which beat them element by element. A setup
// holds settings only; CNetworkModalSolution::GetData applies them, and ApplyCharImpedances is the one step that writes
// into a point. Rows are numbered port by port and, within a port, mode by mode. Impedances are in ohms, one for
// each row; distances in metres, one for each port.
//
// Some of what follows from the two layers isn't what one may expect:
// - Overrides and defaults are merged once. Only SetDefaults and an assignment drop the result, so that SetOverrides
//   changes nothing in GetRenormImpedances once it was asked for with overrides.
// - SetOverrides drops the overrides that were there before.
// - A copy doesn't know which rows were set, so that its overrides no longer follow characteristic impedances.
// - An impedance (0, 0) among the overrides is none.
//
// What is stored may disagree with itself; whatever the counts say, nothing outside of a sequence is looked at. One
// thread at a time.
#pragma once

#include <matrix/vec.h>
#include <sparamlib/network_data_utilities.h>
#include <sparamlib/zeph_differential_pair.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace io {
class CBlock;
}
class CNetworkModalData;

using ImpedanceOverrides = std::vector<std::pair<std::int32_t, Complex>>; // row, impedance
using DistanceOverrides = std::vector<std::pair<std::int32_t, double>>;   // port, distance

class CNetworkPostprocSetup {
public:
    // The number of modes of each port. Counts below 0 have no rows; more rows than a matrix can have are none.
    explicit CNetworkPostprocSetup(std::vector<std::int32_t> modes);
    CNetworkPostprocSetup(const CNetworkPostprocSetup& other);
    // All settings; not which rows the overrides set.
    CNetworkPostprocSetup& operator=(const CNetworkPostprocSetup& other);
    virtual ~CNetworkPostprocSetup() = default;

    // All settings but the overrides, element by element and exactly.
    virtual bool IsEqual(const CNetworkPostprocSetup& other) const;
    // Appends the setup's items. "ExtrapToDC", "DoDCSnapping" and "DCSnapTolerance" go together, if the first is true. False
    // if a pair fails; the pairs behind it are empty then.
    virtual bool WriteToBlock(io::CBlock& block) const;
    // Named values and vectors that the block doesn't hold stay, those of the DC treatment become false and 0; the
    // sequences and pairs are replaced or appended. 0. -1 for a block with errors, without "Modes", "DoPortRenorm" or
    // "PortCharImpeds", or with a number of ports or rows below 0 or beyond what a matrix can have; or a pair's code.
    // Reading ends there, with the setup partly filled. A stored vector with more elements than there are rows or
    // ports is an assertion, and they are left out.
    virtual std::int32_t ReadFromBlock(io::CBlock& block);

    // Whether points are changed at all. Not for a setup without rows.
    bool IsActive() const;
    bool IsRenormActive() const { return mDoRenorm || mImpeds; }
    bool IsDeembedActive() const { return mDoDeembed || mDists; }
    // The overrides, else the defaults, else null.
    const RealVector* GetDeembedDistances() const { return mDists ? mDists.get() : mDefaultDists.get(); }
    // The overrides, with the defaults in the rows that have none; else the defaults, else null.
    const ComplexVector* GetRenormImpedances();
    // Replaces the defaults and drops the overrides. A vector that is null or has another length than there are rows
    // (ports for distances) leaves that default absent.
    void SetDefaults(bool isModal, const ComplexVector* renormImpeds, const RealVector* deembedDists);
    void ClearOverrides();
    // Replaces the overrides. The rows or ports that an unempty list doesn't name are as in the defaults, or (0, 0)
    // and 0 without. An index outside is an assertion, and left out.
    void SetOverrides(const ImpedanceOverrides& renormImpeds, const DistanceOverrides& deembedDists);
    // Writes each row's characteristic impedance, times the multiplier, into a field solver's point as its port impedance,
    // and makes it the target of rows that nobody asked to renormalise: of those that the overrides didn't set, else
    // of ports whose defaults aren't fixed. Nothing for other points and for terminal output; it ends at the
    // first row for which the point has no impedance.
    void ApplyCharImpedances(CNetworkModalData& point);

    std::int32_t GetNumPorts() const { return mNumPorts; }
    std::int32_t GetMatrixSize() const { return mMatrixSize; }
    const std::vector<std::int32_t>& GetModes() const { return mModes; }
    // Null if they aren't set.
    const ComplexVector* GetDefaultImpedances() const { return mDefaultImpeds.get(); }
    const ComplexVector* GetOverrideImpedances() const { return mImpeds.get(); }

    bool mIsModal = true;                          // output stays modal; else terminal
    bool mDoRenorm = false;                        // the defaults ask for renormalisation
    bool mDoDeembed = false;                       // the defaults ask for de-embedding
    bool mUseZpiOnly = true;                       // false makes the setup active, no more
    bool mLosslessDeembed = true;                  // only the phase moves
    std::vector<bool> mDoPortRenorm;               // the port's default impedances are fixed
    std::vector<NetworkDataKind> mPortCharImpeds;  // Zpi, Zvi or Zpv of each row; any other counts as Zpi
    double mImpedMultiplier = 1.0;                 // on characteristic impedances
    std::vector<CZephDifferentialPair> mDiffPairs; // for terminal output
    bool mExtrapToDC = false;                      // a fitted sweep begins at 0 Hz
    bool mDoDCSnapping = false;                    // S at 0 Hz snaps to -1, 0 and 1
    double mDCSnapTolerance = 0.0;
    std::unique_ptr<ComplexVector> mPortImpeds; // stored, copied and compared; not applied

private:
    std::int32_t mNumPorts;
    std::int32_t mMatrixSize;
    std::vector<std::int32_t> mModes;
    std::unique_ptr<ComplexVector> mDefaultImpeds;
    std::unique_ptr<ComplexVector> mImpeds;
    std::unique_ptr<ComplexVector> mMergedImpeds;
    std::unique_ptr<RealVector> mDefaultDists;
    std::unique_ptr<RealVector> mDists;
    std::vector<bool> mExplicitRenorm; // rows that SetOverrides set, or empty
};
