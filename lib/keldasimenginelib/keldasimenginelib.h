// KELDASIMENGINELib 1.0: the interfaces between a client and the engine.
//
// The client calls IKeldaEngine and implements the two callback interfaces, which it passes to StartAnalysis.
// Every method returns an HRESULT: a result below 0 is a failure. Text is BSTR; [in] texts stay the caller's,
// an [in, out] text is replaced by one that the receiver frees. `long` of the interfaces carries 32 bits.
#pragma once

#include <platform/bstr.h>
#include <platform/dispatch.h>
#include <platform/guid.h>
#include <platform/unknown.h>

#include <cstdint>

namespace KELDASIMENGINELib {

inline constexpr GUID kLibId = platform::ParseGuid("9C00D95F-F4DF-4879-9423-D8DBD3DA2491");
inline constexpr CLSID kKeldaEngineClsid = platform::ParseGuid("0FE3FFE3-7029-4A33-9DB9-1A93F6928C0D");

} // namespace KELDASIMENGINELib

// What a job tells its client. The calls of a job come one after the other, from one thread.
class IKeldaProgressInterface : public IUnknown {
public:
    static constexpr IID kIid = platform::ParseGuid("F6072F32-C8B4-4F48-B6C5-3DCC7E521C49");

    // Progress of the running analysis, as the kernel gives it.
    virtual HRESULT ProgressUpdate(double progress_val) = 0;

    // The last call of a job. `return_code` is the kernel's result, 0 for success.
    virtual HRESULT AnalysisDone(std::int32_t return_code) = 0;

    // One message in its text form, for showing.
    virtual HRESULT PostOrvaneMessage(BSTR message) = 0;

    // [in, out] `message`: a text that the client replaces by its answer.
    virtual HRESULT BounceOrvaneMessage(BSTR* message) = 0;

    // One block of co-simulation port values. A failure makes the kernel's flush fail.
    virtual HRESULT PutCosimPortData(BSTR port_data) = 0;

protected:
    ~IKeldaProgressInterface() = default;
};

// What the client knows of components that only field-solved network data describes.
class IKeldaSolutionInterface : public IUnknown {
public:
    static constexpr IID kIid = platform::ParseGuid("42274379-7374-4979-AE50-EA2F8B411C44");

    // [in, out] `netwData` becomes a solution in block text form. `msg` 0 is success; any other value goes
    // back to the kernel as the failure's code. `freqValues` holds the wanted frequencies in hertz, as token
    // text.
    virtual HRESULT GetFieldSolverData(BSTR designName, BSTR compInstID, BSTR solnType, BSTR solnFlag,
                                       BSTR paramValues, BSTR freqValues, BSTR* netwData,
                                       std::int32_t* msg) = 0;

    // For clients; the engine makes no call of it.
    virtual HRESULT GetNetlistSolverData(BSTR designName, BSTR compInstID, BSTR paramValues,
                                         BSTR* netlistData, std::int32_t* msg) = 0;

protected:
    ~IKeldaSolutionInterface() = default;
};

// The engine. One job runs at a time; a StartAnalysis during a job queues behind it.
class IKeldaEngine : public IDispatch {
public:
    static constexpr IID kIid = platform::ParseGuid("B3F0D28E-8292-459B-99EC-A63BADEF1FA0");

    // Starts a job on `filename` for the project directory `projectpath` and returns at once; `procid`
    // receives the job's handle. `pISolution` may be null. S_FALSE: the thread can't be started;
    // E_ACCESSDENIED: `pIProgress` is null.
    virtual HRESULT StartAnalysis(IKeldaProgressInterface* pIProgress, IKeldaSolutionInterface* pISolution,
                                  BSTR filename, BSTR projectpath, std::int32_t* procid) = 0;

    // Ends the latest job, if `procid` is its handle; any other value is ignored. The job brings no
    // AnalysisDone.
    virtual HRESULT AbortAnalysis(std::int32_t procid, std::int32_t savestate) = 0;

    // `alive` is 1 when `procid` is the handle of the latest StartAnalysis, also after that job has ended;
    // else 0.
    virtual HRESULT IsAlive(std::int32_t procid, std::int32_t* alive) = 0;

    virtual HRESULT SendCosimPortData(BSTR portData) = 0;

    // Delivers one block of source samples to a co-simulation.
    virtual HRESULT SendCosimSourceData(BSTR sourceData) = 0;

protected:
    ~IKeldaEngine() = default;
};
