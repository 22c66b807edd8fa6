// The exchange of sample blocks between a client's system simulator and the kernel's transient analysis.
//
// One block is in work at a time. The client delivers a block of source samples; the kernel asks for the sources and hands in
// the ports, time step by time step; when the block is used up the port values go to the client, and the kernel's next
// question waits for the next block. A block that comes earlier is kept until the kernel asks for it.
//
// Threads: any thread may call Deliver and Wake; all else belongs to the thread of the running job. The two sides share the
// delivered block and nothing more, behind one lock, which is taken once a block and not once a step.
#pragma once

#include <trancosimlib/cosimportdata.h>
#include <trancosimlib/cosimsrcdata.h>

#include <keldasimenginelib/keldasimenginelib.h>
#include <kernel/ckt_kernel.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

class CosimBridge {
public:
    // What the kernel's questions give back; anything but kGood is to end its analysis.
    enum Result : int {
        kGood = 0,
        kNoClient = 1,
        kNoSource = 2, // no source has this index
        kJobEnds = 3,  // the job was aborted, or can't go on; the client has been told why
        kNotTaken = 4, // the client has refused the port block
    };

    // The client's side. `job` is the handle of the latest start. Gives what the client is to be told: nothing, or why the
    // block was refused, or that it takes the place of one that the kernel hasn't asked for.
    struct Remark {
        std::string text;
        bool refused = false;
    };
    Remark Deliver(BSTR text, std::int32_t job);

    // Makes a waiting job see that it has been aborted.
    void Wake();

    // The kernel's side.

    // Value and slope of a source at a time [s]; `name` is its index as a decimal number. Waits for a block if there is none in
    // work, but not for a time before 0, where all sources are 0. Between two samples a source is a straight line;
    // the sample k of a block is reached at the end of step k. kNoSource leaves the outputs as they are, and so does a block
    // of one sample in a step other than its first.
    int Source(const char* name, double time, double* value, double* slope) noexcept;

    // The pair of a port in the current step. A port of a step without a pair has two zeros.
    int Port(const char* name, double first, double second) noexcept;

    // Ends a step. The ports, not the sources, say how many steps there were: when it is as many as the block has samples, the
    // port block goes to the client.
    int PortFlush() noexcept;

    // One question to the client. The answer comes in Windows-1252 without a terminator; `*length` is its length in characters,
    // which the buffer must hold.
    int Request(const char* request, char* buffer, unsigned* length) noexcept;

    // The end of a job, before its client is told.

    // True if the job can't have come to its end as it was meant to, whatever the kernel says.
    bool Failed() const { return m_Failed; }

    // Tells the client that no block comes any more. May throw, and has told nothing then.
    void SendClosingRecord(IKeldaProgressInterface& client);

    // Back to the start for the next job. A block that was meant for job `job` goes as well, one for a later job stays: the job's
    // own is every block if it took one, and if it has failed, every block that came while it was the latest start.
    void Close(std::int32_t job, bool failed);

private:
    bool TakeBlock(bool wait);
    void ClearPorts();
    int EndJob(const char* why) noexcept;
    HRESULT PutPorts(IKeldaProgressInterface& client);

    // Of the block in work; the kernel's side only.
    COSIMSRCDATA m_Source;
    COSIMSRCDATA m_CarryOver{0, 0}; // column 0: the last sample of the block before, of each source
    COSIMPORTDATA m_Port;
    std::int32_t m_Step = 0;
    double m_StartTime = 0.0; // of the block's first step [s]
    double m_TimeStep = 0.0;  // [s]
    bool m_InWork = false;
    bool m_TookPart = false; // the job has taken a block
    bool m_Failed = false;

    std::mutex m_Reading;
    COSIMSRCDATA m_Read; // storage for the next block to be read

    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    COSIMSRCDATA m_Delivered; // of these two sides, with the next two
    std::int32_t m_DeliveredFor = 0;
    bool m_Full = false;
};

// The one of the process.
CosimBridge& ProcessCosimBridge();

// Delivers a block to it and posts what the client is to be told.
void DeliverCosimBlock(BSTR text, std::int32_t job);

// Registers the bridge's callbacks with a kernel.
void RegisterCosimCallBacks(decltype(&::set_cosim_call_back) set_cosim_call_back);
