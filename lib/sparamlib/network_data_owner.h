// What a point asks of the solution that holds it.
//
// A point keeps a plain pointer to its owner, which outlives it or is taken away by `SetOwner`. The owner knows how
// many rows the point's matrices have and what each row means. The operations below don't change the owner.
#pragma once

#include <sparamlib/network_data_utilities.h>

class CMatrixEntry;

class INetworkDataOwner {
public:
    // Rows of every matrix of a point.
    virtual int GetMatrixSize() const = 0;
    // What row `index` means; null outside the table.
    virtual CMatrixEntry* GetMatrixEntry(unsigned index) const = 0;

    // A solution of modes that has several on some port. Then the vectors that have one element for each port
    // are spread over the rows: port p has GetNumModes(p) rows in succession.
    virtual bool HasMultipleModes() const { return false; }
    virtual int GetNumPorts() const = 0;
    virtual int GetNumModes(unsigned port) const = 0;

    // Which of a field solver's impedances count as a point's port impedance: Zpi, Zpv or Zvi.
    virtual NetworkDataKind GetPreferredImpedance() const { return NetworkDataKind::Zpi; }

protected:
    ~INetworkDataOwner() = default;
};
