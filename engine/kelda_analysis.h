// One run of the simulation kernel, on the stack of the thread that runs the job.
//
// The constructor binds the kernel, Analyze or AnalyzeCommand runs it once, the destructor unloads it. One
// thread, which owns the job gate, does all three; the kernel's callbacks arrive on it during the run.
#pragma once

#include <engine/client_messages.h>
#include <engine/job_control.h>
#include <engine/kernel_library.h>

#include <keldasimenginelib/keldasimenginelib.h>
#include <registry/registry_access.h>
#include <stringutils/astring.h>

class CKeldaAnalysis final : public MessageManager, public ClientMessages, public RegistryAccess {
public:
    // Both interfaces may be null and outlive the object. `control` is null where nobody can abort the job.
    CKeldaAnalysis(IKeldaProgressInterface* pProgress, IKeldaSolutionInterface* pSolution,
                   JobControl* control);
    ~CKeldaAnalysis() override;
    CKeldaAnalysis(const CKeldaAnalysis&) = delete;
    CKeldaAnalysis& operator=(const CKeldaAnalysis&) = delete;

    // Runs a client's job and reports its end. 0, or the HRESULT of a failed AnalysisDone.
    HRESULT Analyze(const AString& filename, const AString& projectpath);

    // Hands a command line to the kernel. 0, or the HRESULT of a kernel that can't be used.
    HRESULT AnalyzeCommand(int argc, char** argv);

    std::int32_t GetState() override { return 0; }

private:
    IKeldaProgressInterface* MessageClient() const override;
    std::int32_t RunKernel(const AString& filename, const AString& projectpath) const;
    std::int32_t CloseCosim(std::int32_t result) const;

    platform::DynamicLibrary m_Kernel;
    IKeldaProgressInterface* m_pProgress = nullptr;
    JobControl* const m_Control;
    HRESULT m_Bound;
    std::string m_BindError; // in words, UTF-8
};
