// A client that writes down what a job tells it.
#pragma once

#include <platform/event.h>
#include <platform/unknown.h>

#include <keldasimenginelib/keldasimenginelib.h>
#include <trancosimlib/cosimportdata.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

class Recorder final : public platform::CountedObject<IKeldaProgressInterface> {
public:
    static platform::InterfacePtr<Recorder> New(std::string name = "") {
        auto recorder = platform::InterfacePtr<Recorder>::Adopt(new Recorder);
        recorder->m_Name = std::move(name);
        return recorder;
    }

    HRESULT ProgressUpdate(double value) override {
        std::ostringstream text;
        text << "progress " << value;
        Note(text.str());
        return onProgress ? onProgress() : S_OK;
    }
    HRESULT AnalysisDone(std::int32_t code) override {
        Note("done " + std::to_string(code));
        HRESULT result = onDone ? onDone() : S_OK;
        m_Done.Set();
        return result;
    }
    HRESULT PostOrvaneMessage(BSTR message) override {
        Note("message " + Narrow(message));
        return S_OK;
    }
    HRESULT BounceOrvaneMessage(BSTR* message) override { return onBounce ? onBounce(message) : S_OK; }
    HRESULT PutCosimPortData(BSTR data) override {
        COSIMPORTDATA block;
        const bool good = block.FromText(AString(data, SysStringLen(data)));
        AString text;
        Note(!good             ? "no ports"
             : block.m_HasData ? "ports " + block.ToText(text).ToCString()
                               : kClosingRecord);
        return onPorts && block.m_HasData ? onPorts() : S_OK;
    }

    // False when the end didn't come in a time that is far above any machine's.
    bool WaitDone() { return m_Done.WaitFor(std::chrono::seconds(60)); }
    bool IsDone() { return m_Done.WaitFor(std::chrono::milliseconds(0)); }

    std::vector<std::string> AllCalls() {
        std::lock_guard lock(m_Mutex);
        return m_Calls;
    }
    // Without what every job says: the two messages that frame its run, and a failed one's closing record.
    std::vector<std::string> Calls() {
        auto calls = AllCalls();
        std::erase_if(calls, IsFrame);
        return calls;
    }

    std::function<HRESULT()> onProgress;
    std::function<HRESULT()> onDone;
    std::function<HRESULT(BSTR*)> onBounce;
    std::function<HRESULT()> onPorts; // not for the closing record
    // Where several recorders note in one order; outlives them.
    class Order {
    public:
        void Note(std::string call) {
            std::lock_guard lock(m_Mutex);
            m_Calls.push_back(std::move(call));
        }
        std::vector<std::string> Calls() {
            std::lock_guard lock(m_Mutex);
            return m_Calls;
        }

    private:
        std::mutex m_Mutex;
        std::vector<std::string> m_Calls;
    };
    Order* order = nullptr;

private:
    // The message's own text, without the form round it.
    static std::string Narrow(BSTR message) {
        std::string text;
        for (std::size_t i = 0; i < SysStringLen(message); ++i)
            text += static_cast<char>(message[i]);
        auto begin = text.find("stringarg0='");
        auto severity = text.find("severity=");
        if (begin == std::string::npos || severity == std::string::npos)
            return text;
        begin += 12;
        return text.substr(severity + 9, text.find(',', severity) - severity - 9) + " " +
               text.substr(begin, text.find("', argtype0") - begin);
    }

    static constexpr char kClosingRecord[] = "closing";
    static bool IsFrame(const std::string& call) {
        return call.starts_with("message 2 Analyzing") || call == kClosingRecord;
    }

    void Note(const std::string& call) {
        {
            std::lock_guard lock(m_Mutex);
            m_Calls.push_back(call);
        }
        if (order && !IsFrame(call))
            order->Note(m_Name + call);
    }

    std::string m_Name;
    std::mutex m_Mutex;
    std::vector<std::string> m_Calls;
    platform::Event m_Done{platform::Event::Mode::kManualReset};
};
