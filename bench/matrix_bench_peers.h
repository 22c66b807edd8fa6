// Other libraries' ways to the same results as the conversions of network data.
#pragma once

#include <matrix/complex.h>

#include <memory>

struct PeerConversions {
    virtual ~PeerConversions() = default;
    virtual void SToY(const Complex* s, const Complex* z) = 0;
    virtual void SToZ(const Complex* s, const Complex* z) = 0;
    virtual void YToS(const Complex* y, const Complex* z) = 0;
    virtual void RenormalizeModes(const Complex* s, const Complex* oldZ, const Complex* newZ) = 0;
    virtual void RenormalizeTerminals(const Complex* s, const Complex* oldR, const Complex* newR) = 0;
};

std::unique_ptr<PeerConversions> MakeEigenPeer(int n);
std::unique_ptr<PeerConversions> MakeNativeEigenPeer(int n); // compiled for this processor
std::unique_ptr<PeerConversions> MakeLapackPeer(int n);      // zgesv; no terminals

void UseOneBlasThread();
