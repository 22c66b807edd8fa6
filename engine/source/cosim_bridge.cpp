#include <engine/cosim_bridge.h>

#include <engine/job_control.h>
#include <engine/job_messages.h>
#include <engine/job_state.h>

#include <stringutils/astring.h>
#include <trancosimlib/cosim_text.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace {

// A kernel with more ports has lost its way; each of its ports would take memory for every step.
constexpr std::int32_t kMostPorts = 65'536;

// How the client tells a kernel's question from a message.
constexpr char16_t kRequestFlag[] = u"MessageFlag=1";

// A sample that the block doesn't hold.
struct LookupError {
    const char* text;
};

double Sample(const COSIMSRCDATA& block, std::int32_t source, std::int32_t index) {
    if (source >= block.m_NumSources)
        throw LookupError{"Source index out of range"};
    if (index >= block.m_NumSamples)
        throw LookupError{"Data index out of range"};
    return block.m_Data[static_cast<std::size_t>(source)][static_cast<std::size_t>(index)];
}

void PutValue(std::vector<std::vector<double>>& rows, std::size_t p, std::size_t k, double value) {
    if (rows.size() <= p)
        rows.resize(p + 1);
    auto& row = rows[p];
    if (row.size() == k)
        return row.push_back(value);
    if (row.size() < k)
        row.resize(k + 1);
    row[k] = value;
}

bool Stopped() {
    const JobControl* control = ProcessJobState().control;
    return control && control->Aborted();
}

// As atoi, but defined for every number: one that can't be an index gives -1.
std::int32_t Index(const char* name) {
    if (!name)
        return -1;
    std::int32_t index = 0;
    const char* digit = name;
    for (; *digit >= '0' && *digit <= '9' && digit - name < 9; ++digit)
        index = index * 10 + (*digit - '0');
    if (*digit == '\0' && digit != name)
        return index;
    const long number = std::strtol(name, nullptr, 10);
    return number >= 0 && number <= std::numeric_limits<std::int32_t>::max()
               ? static_cast<std::int32_t>(number)
               : -1;
}

} // namespace

CosimBridge::Remark CosimBridge::Deliver(BSTR text, std::int32_t job) {
    std::lock_guard reading(m_Reading);
    std::string fault = "it isn't a time step, a number of sources, a number of samples and that many values";
    if (ReadCosimText(text, m_Read))
        fault = m_Read.Fault();
    if (!fault.empty())
        return {"A block of co-simulation sources was refused: " + fault + ".", true};
    bool replaced;
    {
        std::lock_guard lock(m_Mutex);
        std::swap(m_Read, m_Delivered);
        m_DeliveredFor = job;
        replaced = std::exchange(m_Full, true);
        m_Changed.notify_all();
    }
    if (replaced)
        return {
            "A block of co-simulation sources took the place of one that the simulation had not asked for.",
            false};
    return {};
}

void CosimBridge::Wake() {
    std::lock_guard lock(m_Mutex);
    m_Changed.notify_all();
}

// Gets the next block into work. False if there is none, and with `wait` only if there never will be one.
bool CosimBridge::TakeBlock(bool wait) {
    std::unique_lock lock(m_Mutex);
    if (wait)
        m_Changed.wait(lock, [this] { return m_Full || Stopped(); });
    if (!m_Full || Stopped())
        return false;
    std::swap(m_Source, m_Delivered);
    m_Full = false;
    lock.unlock();
    ClearPorts();
    m_Step = 0;
    m_TimeStep = m_Source.m_TimeStep;
    m_InWork = true;
    m_TookPart = true;
    return true;
}

// The rows stay, empty, for their storage.
void CosimBridge::ClearPorts() {
    m_Port.m_NumPorts = 0;
    m_Port.m_NumSteps = 0;
    for (auto* table : {&m_Port.m_First, &m_Port.m_Second})
        for (auto& row : *table)
            row.clear();
}

int CosimBridge::EndJob(const char* why) noexcept {
    try {
        if (!std::exchange(m_Failed, true))
            PostText(kSeverityError, AString(why));
    } catch (...) {
        // The job ends, with a message or without.
    }
    return kJobEnds;
}

int CosimBridge::Source(const char* name, double time, double* value, double* slope) noexcept {
    if (time < 0.0) {
        *value = 0.0;
        *slope = 0.0;
        return kGood;
    }
    if (m_Failed || (!m_InWork && !TakeBlock(true)))
        return kJobEnds;
    const std::int32_t i = Index(name);
    if (i < 0 || i >= m_Source.m_NumSources)
        return kNoSource;
    try {
        const std::int32_t k = m_Step;
        if (k != 0) {
            if (m_Source.m_NumSamples < 2)
                return kGood;
            const double s0 = Sample(m_Source, i, k - 1);
            const double s1 = Sample(m_Source, i, k);
            *slope = (s1 - s0) / m_TimeStep;
            *value = *slope * (time - (k * m_TimeStep + m_StartTime)) + s0;
        } else if (m_CarryOver.m_NumSamples < 1) {
            *value = Sample(m_Source, i, 0);
            *slope = 0.0;
        } else {
            const double p = Sample(m_CarryOver, i, 0);
            const double s0 = Sample(m_Source, i, 0);
            *slope = (s0 - p) / m_TimeStep;
            *value = *slope * (time - m_StartTime) + p;
        }
    } catch (const LookupError& error) {
        return EndJob(error.text);
    }
    return kGood;
}

int CosimBridge::Port(const char* name, double first, double second) noexcept {
    if (!m_InWork)
        TakeBlock(false);
    if (m_Failed)
        return kJobEnds;
    const std::int32_t index = Index(name);
    if (index < 0 || index >= kMostPorts)
        return EndJob("Port index out of range");
    const auto p = static_cast<std::size_t>(index);
    const auto k = static_cast<std::size_t>(m_Step);
    try {
        PutValue(m_Port.m_First, p, k, first);
        PutValue(m_Port.m_Second, p, k, second);
    } catch (...) {
        return EndJob("There is no memory for a block of co-simulation ports.");
    }
    m_Port.m_NumPorts = std::max(m_Port.m_NumPorts, index + 1);
    m_Port.m_NumSteps = static_cast<std::int32_t>(m_Port.m_First[p].size());
    return kGood;
}

int CosimBridge::PortFlush() noexcept {
    if (!m_InWork)
        TakeBlock(false);
    if (m_Failed || Stopped())
        return kJobEnds;
    ++m_Step;
    if (m_Port.m_NumSteps != m_Source.m_NumSamples)
        return kGood;
    try {
        m_StartTime += m_Port.m_NumSteps * m_TimeStep;
        m_CarryOver.m_NumSources = std::max(m_CarryOver.m_NumSources, m_Source.m_NumSources);
        m_CarryOver.m_NumSamples = m_CarryOver.m_NumSources > 0 ? 1 : 0;
        m_CarryOver.m_Data.resize(static_cast<std::size_t>(m_CarryOver.m_NumSources), std::vector<double>(1));
        for (std::int32_t i = 0; i < m_Source.m_NumSources; ++i)
            m_CarryOver.m_Data[static_cast<std::size_t>(i)][0] =
                Sample(m_Source, i, m_Source.m_NumSamples - 1);
        for (auto* table : {&m_Port.m_First, &m_Port.m_Second}) {
            table->resize(static_cast<std::size_t>(m_Port.m_NumPorts));
            for (auto& row : *table)
                row.resize(static_cast<std::size_t>(m_Port.m_NumSteps));
        }
        m_Port.m_HasData = true;
        // From here on the kernel's next question waits. A block that comes during the call is for that question.
        m_InWork = false;
        IKeldaProgressInterface* client = LiveProgress();
        return client && Succeeded(PutPorts(*client)) ? kGood : kNotTaken;
    } catch (...) {
        return EndJob("The block of co-simulation ports couldn't be sent.");
    }
}

HRESULT CosimBridge::PutPorts(IKeldaProgressInterface& client) {
    const platform::UniqueBstr form = MakeCosimText(m_Port);
    if (!form.Get())
        throw std::bad_alloc();
    return client.PutCosimPortData(form.Get());
}

int CosimBridge::Request(const char* request, char* buffer, unsigned* length) noexcept {
    *length = 0;
    try {
        IKeldaProgressInterface* client = LiveProgress();
        if (!client)
            return kNoClient;
        AString text(kRequestFlag);
        text += AString(request);
        platform::UniqueBstr answer(text);
        if (::Failed(client->BounceOrvaneMessage(answer.Address())))
            return kNoClient;
        const std::u16string_view units = answer.View();
        const AStringBuf bytes = AString(units).ToNarrow(kEncodingWestern);
        // A character outside the code page's reach may take fewer bytes than units; the rest is zero.
        const std::size_t taken = std::min(units.size(), static_cast<std::size_t>(bytes.GetLength()));
        std::memcpy(buffer, bytes.CStr(), taken);
        std::memset(buffer + taken, 0, units.size() - taken);
        *length = static_cast<unsigned>(units.size());
        return kGood;
    } catch (...) {
        return EndJob("A question of the simulation couldn't be answered.");
    }
}

void CosimBridge::SendClosingRecord(IKeldaProgressInterface& client) {
    ClearPorts();
    m_Port.m_First.clear();
    m_Port.m_Second.clear();
    m_Port.m_HasData = false;
    PutPorts(client);
}

void CosimBridge::Close(std::int32_t job, bool failed) {
    {
        std::lock_guard lock(m_Mutex);
        if (m_TookPart || (failed && m_DeliveredFor == job))
            m_Full = false;
    }
    // The storage of a long block isn't kept for jobs that may never need it.
    m_Source = COSIMSRCDATA();
    m_CarryOver = COSIMSRCDATA(0, 0);
    m_Port = COSIMPORTDATA();
    m_Step = 0;
    m_StartTime = 0.0;
    m_TimeStep = 0.0;
    m_InWork = false;
    m_TookPart = false;
    m_Failed = false;
}

CosimBridge& ProcessCosimBridge() {
    // Never destroyed: a worker may still wait in it when the process leaves.
    static CosimBridge& bridge = *new CosimBridge;
    return bridge;
}

void DeliverCosimBlock(BSTR text, std::int32_t job) {
    CosimBridge::Remark remark = ProcessCosimBridge().Deliver(text, job);
    if (!remark.text.empty())
        PostText(remark.refused ? kSeverityError : kSeverityWarning, AString(remark.text));
}

extern "C" {

static int SystemCosimSource(const char* name, double time, double* value, double* slope) noexcept {
    return ProcessCosimBridge().Source(name, time, value, slope);
}

static int SystemCosimPort(const char* name, double, double first, double second) noexcept {
    return ProcessCosimBridge().Port(name, first, second);
}

static int SystemCosimPortFlush() noexcept {
    return ProcessCosimBridge().PortFlush();
}

static int KptCosimCallBack(const char* request, char* buffer, unsigned* length) noexcept {
    return ProcessCosimBridge().Request(request, buffer, length);
}

} // extern "C"

void RegisterCosimCallBacks(decltype(&::set_cosim_call_back) set_cosim_call_back) {
    set_cosim_call_back("SystemCosimSource", reinterpret_cast<void*>(SystemCosimSource));
    set_cosim_call_back("SystemCosimPort", reinterpret_cast<void*>(SystemCosimPort));
    set_cosim_call_back("SystemCosimPortFlush", reinterpret_cast<void*>(SystemCosimPortFlush));
    set_cosim_call_back("KPT_COSIM_CALLBACK", reinterpret_cast<void*>(KptCosimCallBack));
}
