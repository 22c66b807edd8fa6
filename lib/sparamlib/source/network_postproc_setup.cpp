#include <sparamlib/network_postproc_setup.h>

#include "function_items.h"
#include "named_values.h"
#include "point_items.h"

#include <sparamlib/port_table.h>
#include <sparamlib/zeph_modal_data.h>
#include <utility/assertion.h>

#include <algorithm>

#define TARVOK_SETUP_ASSERT(expression)                                                                      \
    TARVOK_ASSERT_AT("lib/sparamlib/source/NetworkPostprocSetup", __LINE__, expression, #expression)

namespace {

constexpr std::int32_t kFailed = -1;

AString KeywordOf(NetworkDataKind impedance) {
    return impedance == NetworkDataKind::Zpv ? u"Zpv" : impedance == NetworkDataKind::Zvi ? u"Zvi" : u"Zpi";
}

template <class T>
bool AreEqual(const std::unique_ptr<Vector<T>>& a, const std::unique_ptr<Vector<T>>& b) {
    if (!a || !b)
        return !a && !b;
    return std::equal(a->Data(), a->Data() + a->Size(), b->Data(), b->Data() + b->Size());
}

// The other vector's elements if it has any, else zeros.
template <class T>
std::unique_ptr<Vector<T>> StartFrom(const std::unique_ptr<Vector<T>>& other, std::int32_t n) {
    return other && other->Size() > 0 ? std::make_unique<Vector<T>>(*other)
                                      : std::make_unique<Vector<T>>(n, T());
}

// Replaces a vector by what is stored for it, if anything is.
template <class T>
void ReadVector(io::CBlock& block, std::u16string_view name, std::int32_t n,
                std::unique_ptr<Vector<T>>& vector) {
    const io::CBlock_func* stored = FindFunction(block, name);
    if (!stored)
        return;
    vector = std::make_unique<Vector<T>>(n, T());
    FillVector(*stored, *vector);
}

void Write(io::CBlock_func& function, const Complex& value) {
    function << value.re << value.im;
}
void Write(io::CBlock_func& function, double value) {
    function << value;
}

template <class T>
void WriteVector(io::CBlock& block, const wchar16* name, const std::unique_ptr<Vector<T>>& vector) {
    if (!vector)
        return;
    AddFunction(block, name, [&vector](io::CBlock_func& function) {
        for (int i = 0; i < vector->Size(); ++i)
            Write(function, (*vector)[i]);
    });
}

// An item that stands there also without elements.
template <class Sequence, class Value>
void WriteSequence(io::CBlock& block, const wchar16* name, const Sequence& sequence, const Value& value) {
    AddFunction(block, name, [&](io::CBlock_func& function) {
        for (const auto element : sequence)
            function << value(element);
    });
}

template <class Setup, class Move>
void ForEachSwitch(Setup& setup, const Move& move) {
    move(u"IsModal", setup.mIsModal);
    move(u"DoRenorm", setup.mDoRenorm);
    move(u"DoDeembed", setup.mDoDeembed);
    move(u"UseZpiOnly", setup.mUseZpiOnly);
    move(u"LosslessDeembed", setup.mLosslessDeembed);
    move(u"ImpedMultiplier", setup.mImpedMultiplier);
}

template <class Setup, class Move>
void ForEachOfDC(Setup& setup, const Move& move) {
    move(u"ExtrapToDC", setup.mExtrapToDC);
    move(u"DoDCSnapping", setup.mDoDCSnapping);
    move(u"DCSnapTolerance", setup.mDCSnapTolerance);
}

const ComplexVector* ImpedancesOf(const CZephModalData& point, NetworkDataKind kind) {
    switch (kind) {
    case NetworkDataKind::Zvi:
        return point.GetZvi();
    case NetworkDataKind::Zpv:
        return point.GetZpv();
    default:
        return point.GetZpi();
    }
}

} // namespace

CNetworkPostprocSetup::CNetworkPostprocSetup(std::vector<std::int32_t> modes)
    : mDoPortRenorm(modes.size(), false), mNumPorts(static_cast<std::int32_t>(modes.size())),
      mMatrixSize(CountRows(modes).value_or(0)), mModes(std::move(modes)) {
    mPortCharImpeds.assign(static_cast<std::size_t>(mMatrixSize), NetworkDataKind::Zpi);
}

CNetworkPostprocSetup::CNetworkPostprocSetup(const CNetworkPostprocSetup& other)
    : CNetworkPostprocSetup(std::vector<std::int32_t>()) {
    *this = other;
}

CNetworkPostprocSetup& CNetworkPostprocSetup::operator=(const CNetworkPostprocSetup& other) {
    if (this == &other)
        return *this;
    mNumPorts = other.mNumPorts;
    mMatrixSize = other.mMatrixSize;
    mIsModal = other.mIsModal;
    mDoRenorm = other.mDoRenorm;
    mDoDeembed = other.mDoDeembed;
    mUseZpiOnly = other.mUseZpiOnly;
    CopyItem(mPortImpeds, other.mPortImpeds.get());
    CopyItem(mDefaultImpeds, other.mDefaultImpeds.get());
    CopyItem(mImpeds, other.mImpeds.get());
    mMergedImpeds.reset();
    CopyItem(mDefaultDists, other.mDefaultDists.get());
    CopyItem(mDists, other.mDists.get());
    mLosslessDeembed = other.mLosslessDeembed;
    mModes = other.mModes;
    mDoPortRenorm = other.mDoPortRenorm;
    mPortCharImpeds = other.mPortCharImpeds;
    mImpedMultiplier = other.mImpedMultiplier;
    mDiffPairs = other.mDiffPairs;
    mExtrapToDC = other.mExtrapToDC;
    mDoDCSnapping = other.mDoDCSnapping;
    mDCSnapTolerance = other.mDCSnapTolerance;
    return *this;
}

bool CNetworkPostprocSetup::IsEqual(const CNetworkPostprocSetup& other) const {
    return mNumPorts == other.mNumPorts && mMatrixSize == other.mMatrixSize && mIsModal == other.mIsModal &&
           mDoRenorm == other.mDoRenorm && mDoDeembed == other.mDoDeembed &&
           mLosslessDeembed == other.mLosslessDeembed && mUseZpiOnly == other.mUseZpiOnly &&
           mExtrapToDC == other.mExtrapToDC && mDoDCSnapping == other.mDoDCSnapping &&
           mDCSnapTolerance == other.mDCSnapTolerance && mImpedMultiplier == other.mImpedMultiplier &&
           AreEqual(mPortImpeds, other.mPortImpeds) && AreEqual(mDefaultImpeds, other.mDefaultImpeds) &&
           AreEqual(mDefaultDists, other.mDefaultDists) && mModes == other.mModes &&
           mDoPortRenorm == other.mDoPortRenorm && mPortCharImpeds == other.mPortCharImpeds &&
           mDiffPairs == other.mDiffPairs;
}

bool CNetworkPostprocSetup::WriteToBlock(io::CBlock& block) const {
    const NamedWriter write{block};
    write(u"NumPorts", mNumPorts);
    write(u"MatrixSize", mMatrixSize);
    ForEachSwitch(*this, write);
    WriteSequence(block, u"Modes", mModes, [](std::int32_t count) { return count; });
    WriteVector(block, u"PortImpeds", mPortImpeds);
    WriteVector(block, u"DefaultImpeds", mDefaultImpeds);
    WriteVector(block, u"Impeds", mImpeds);
    WriteVector(block, u"DefaultDists", mDefaultDists);
    WriteVector(block, u"Dists", mDists);
    WriteSequence(block, u"DoPortRenorm", mDoPortRenorm, [](bool isFixed) { return isFixed; });
    WriteSequence(block, u"PortCharImpeds", mPortCharImpeds, KeywordOf);
    bool isGood = true;
    if (!mDiffPairs.empty()) {
        const io::CBlockPtr pairs(new io::CBlock(AString(u"DiffPairs")));
        for (const CZephDifferentialPair& pair : mDiffPairs) {
            const io::CBlockPtr stored(new io::CBlock(AString(u"Pair")));
            isGood = isGood && pair.WriteToBlock(*stored.Get());
            pairs->Add(stored);
        }
        block.Add(pairs);
    }
    if (mExtrapToDC)
        ForEachOfDC(*this, write);
    return isGood;
}

std::int32_t CNetworkPostprocSetup::ReadFromBlock(io::CBlock& block) {
    std::int32_t ports = mNumPorts;
    std::int32_t rows = mMatrixSize;
    const NamedReader read{block};
    read(u"NumPorts", ports);
    read(u"MatrixSize", rows);
    if (ports < 0 || ports > kMaxMatrixSize || rows < 0 || rows > kMaxMatrixSize)
        return kFailed;
    mNumPorts = ports;
    mMatrixSize = rows;
    ForEachSwitch(*this, read);
    mModes.clear();
    mDoPortRenorm.clear();
    mPortCharImpeds.clear();
    if (!FindFunction(block, u"Modes"))
        return kFailed;
    AppendArguments<std::int32_t>(block, u"Modes", mModes);
    ReadVector(block, u"PortImpeds", mMatrixSize, mPortImpeds);
    ReadVector(block, u"DefaultImpeds", mMatrixSize, mDefaultImpeds);
    ReadVector(block, u"Impeds", mMatrixSize, mImpeds);
    ReadVector(block, u"DefaultDists", mNumPorts, mDefaultDists);
    ReadVector(block, u"Dists", mNumPorts, mDists);
    if (!FindFunction(block, u"DoPortRenorm"))
        return kFailed;
    AppendArguments<bool>(block, u"DoPortRenorm", mDoPortRenorm);
    if (!FindFunction(block, u"PortCharImpeds"))
        return kFailed;
    std::vector<AString> keywords;
    AppendArguments<AString>(block, u"PortCharImpeds", keywords);
    for (const AString& keyword : keywords) {
        for (const auto kind : {NetworkDataKind::Zpi, NetworkDataKind::Zvi, NetworkDataKind::Zpv}) {
            if (keyword == KeywordOf(kind))
                mPortCharImpeds.push_back(kind);
        }
    }
    const std::int32_t code = ReadPairs(block, u"DiffPairs", mDiffPairs);
    if (code != 0 && code != 1)
        return code;
    mExtrapToDC = false;
    mDoDCSnapping = false;
    mDCSnapTolerance = 0.0;
    ForEachOfDC(*this, read);
    return block.HasErrors(false) ? kFailed : 0;
}

bool CNetworkPostprocSetup::IsActive() const {
    return mMatrixSize != 0 && (IsRenormActive() || IsDeembedActive() || !mIsModal || !mUseZpiOnly ||
                                mExtrapToDC || mImpedMultiplier != 1.0);
}

const ComplexVector* CNetworkPostprocSetup::GetRenormImpedances() {
    if (mMergedImpeds)
        return mMergedImpeds.get();
    if (!mImpeds)
        return mDefaultImpeds.get();
    mMergedImpeds = std::make_unique<ComplexVector>(*mImpeds);
    const int defaults = mDefaultImpeds ? mDefaultImpeds->Size() : 0;
    for (int row = 0; row < std::min(mMergedImpeds->Size(), defaults); ++row) {
        if ((*mMergedImpeds)[row] == Complex())
            (*mMergedImpeds)[row] = (*mDefaultImpeds)[row];
    }
    return mMergedImpeds.get();
}

void CNetworkPostprocSetup::SetDefaults(bool isModal, const ComplexVector* renormImpeds,
                                        const RealVector* deembedDists) {
    mIsModal = isModal;
    std::unique_ptr<ComplexVector> impedances;
    if (renormImpeds && renormImpeds->Size() == mMatrixSize)
        impedances = std::make_unique<ComplexVector>(*renormImpeds);
    std::unique_ptr<RealVector> distances;
    if (deembedDists && deembedDists->Size() == mNumPorts)
        distances = std::make_unique<RealVector>(*deembedDists);
    // Without a vector before and now the flag stays as it was read.
    if (mDefaultImpeds || impedances)
        mDoRenorm = impedances != nullptr;
    if (mDefaultDists || distances)
        mDoDeembed = distances != nullptr;
    mDefaultImpeds = std::move(impedances);
    mDefaultDists = std::move(distances);
    mMergedImpeds.reset();
    ClearOverrides();
}

void CNetworkPostprocSetup::ClearOverrides() {
    mDists.reset();
    if (mImpeds)
        mExplicitRenorm.clear();
    mImpeds.reset();
}

void CNetworkPostprocSetup::SetOverrides(const ImpedanceOverrides& renormImpeds,
                                         const DistanceOverrides& deembedDists) {
    ClearOverrides();
    if (!renormImpeds.empty()) {
        mImpeds = StartFrom(mDefaultImpeds, mMatrixSize);
        mExplicitRenorm.resize(mExplicitRenorm.size() + static_cast<std::size_t>(mMatrixSize), false);
        for (std::size_t i = 0; i < renormImpeds.size(); ++i) {
            TARVOK_SETUP_ASSERT(0 <= renormImpeds[i].first);
            TARVOK_SETUP_ASSERT(renormImpeds[i].first < mMatrixSize);
            const std::int32_t row = renormImpeds[i].first;
            if (row < 0 || row >= std::min(mMatrixSize, mImpeds->Size()))
                continue;
            (*mImpeds)[row] = renormImpeds[i].second;
            mExplicitRenorm[static_cast<std::size_t>(row)] = true;
        }
    }
    if (!deembedDists.empty()) {
        mDists = StartFrom(mDefaultDists, mNumPorts);
        for (std::size_t i = 0; i < deembedDists.size(); ++i) {
            TARVOK_SETUP_ASSERT(0 <= deembedDists[i].first);
            TARVOK_SETUP_ASSERT(deembedDists[i].first < mNumPorts);
            const std::int32_t port = deembedDists[i].first;
            if (port >= 0 && port < std::min(mNumPorts, mDists->Size()))
                (*mDists)[port] = deembedDists[i].second;
        }
    }
}

void CNetworkPostprocSetup::ApplyCharImpedances(CNetworkModalData& point) {
    auto* zeph = dynamic_cast<CZephModalData*>(&point);
    if (!mIsModal || !zeph)
        return;
    const auto isIn = [](const auto& sequence, std::size_t index) { return index < sequence.size(); };
    int row = 0;
    for (std::size_t port = 0; port < mModes.size(); ++port) {
        for (std::int32_t mode = 0; mode < mModes[port]; ++mode, ++row) {
            const auto r = static_cast<std::size_t>(row);
            const ComplexVector* impedances =
                isIn(mPortCharImpeds, r) ? ImpedancesOf(*zeph, mPortCharImpeds[r]) : nullptr;
            if (!impedances || row >= impedances->Size())
                return;
            Complex z = (*impedances)[row];
            if (mImpedMultiplier != 1.0)
                z = mImpedMultiplier * z;
            zeph->SetPortImpedanceElement(row, z);
            if (mImpeds && isIn(mExplicitRenorm, r) && !mExplicitRenorm[r]) {
                if (row < mImpeds->Size())
                    (*mImpeds)[row] = z;
            } else if (mDefaultImpeds && !(isIn(mDoPortRenorm, port) && mDoPortRenorm[port])) {
                if (row < mDefaultImpeds->Size())
                    (*mDefaultImpeds)[row] = z;
            }
        }
    }
}
