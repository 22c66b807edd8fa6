// The noise data of a network at one frequency, and of a solution over its frequencies.
//
//   CNoiseDataSolution noise;
//   noise.AddData(1e9)->SetValues(0.8, 0.35, 120, 0.2);
//   noise.WriteToBlock(block, false);
//
// A plain store, without interpolation: points are found at their exact frequency only. One thread at a time.
#pragma once

#include <sparamlib/network_data_utilities.h>

#include <cstdint>
#include <map>
#include <memory>

class CNoiseDataSolution;

class CNoiseData {
public:
    CNoiseData() = default;
    CNoiseData(CNoiseDataSolution* owner, double frequency) : m_Owner(owner), m_Frequency(frequency) {}
    // Copies have the values; the owner of the target stays (of a new point: none).
    CNoiseData(const CNoiseData& other) { *this = other; }
    CNoiseData& operator=(const CNoiseData& other);
    virtual ~CNoiseData() = default;

    virtual double GetFrequency() const { return m_Frequency; } // hertz
    // A key that the block doesn't hold leaves its field. Always 0.
    virtual std::int32_t ReadFromBlock(io::CBlock& block);
    // Appends the five named values. Always true.
    virtual bool WriteToBlock(io::CBlock& block) const;
    // The minimum noise figure, the magnitude and the angle of the best source reflection, and the equivalent
    // noise resistance. Always true.
    virtual bool SetValues(double fmin, double goptMag, double goptAng, double rn);
    virtual void GetValues(double& fmin, double& goptMag, double& goptAng, double& rn) const;

    CNoiseDataSolution* GetOwner() const { return m_Owner; }
    void SetOwner(CNoiseDataSolution* owner) { m_Owner = owner; }

private:
    CNoiseDataSolution* m_Owner = nullptr;
    double m_Frequency = 0.0;
    double m_Fmin = 0.0;
    double m_GoptMag = 0.0;
    double m_GoptAng = 0.0;
    double m_Rn = 0.0;
};

class CNoiseDataSolution {
public:
    using Points = std::map<double, std::unique_ptr<CNoiseData>, FrequencyLess>;

    CNoiseDataSolution() = default;
    CNoiseDataSolution(const CNoiseDataSolution& other) { *this = other; }
    CNoiseDataSolution& operator=(const CNoiseDataSolution& other);
    virtual ~CNoiseDataSolution() = default;

    // The point held at the data's frequency; if there is none yet, a copy of `data` becomes it. Null for null.
    virtual CNoiseData* AddData(const CNoiseData* data);
    // The point held at the frequency; if there is none yet, a new one with all values 0.
    virtual CNoiseData* AddData(double freq);
    // Destroys the point; false if there is none at exactly this frequency.
    virtual bool RemoveData(double freq);
    // Replaces the points. 0, or 1 if a later point of a frequency that stands twice was dropped. A keyword that
    // is absent or unknown leaves the type; an item of "Frequencies" that is no block is passed over.
    virtual std::int32_t ReadFromBlock(io::CBlock& block);
    // Appends "NoiseSolutionType" and, if there are points, "Frequencies". False, and nothing appended, for a
    // type without a keyword. `flag` is not looked at.
    virtual bool WriteToBlock(io::CBlock& block, bool flag) const;

    NoiseSolutionType GetNoiseSolutionType() const { return m_NoiseSolutionType; }
    void SetNoiseSolutionType(NoiseSolutionType type) { m_NoiseSolutionType = type; }
    // The points by ascending frequency.
    const Points& GetPoints() const { return m_Data; }

private:
    NoiseSolutionType m_NoiseSolutionType = NoiseSolutionType::NoiseResistance;
    Points m_Data;
};
