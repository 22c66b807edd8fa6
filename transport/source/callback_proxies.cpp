#include <transport/callback_proxies.h>

#include <platform/marshal.h>

#include <memory>

namespace transport {
namespace {

// The engine's share in one object of the client, held by all its proxies.
class RemoteObject {
public:
    RemoteObject(CallbackChannels channels, std::uint32_t number)
        : m_Channels(std::move(channels)), m_Number(number) {}
    RemoteObject(const RemoteObject&) = delete;
    RemoteObject& operator=(const RemoteObject&) = delete;
    ~RemoteObject() { m_Channels.callbacks.Release(m_Number); }

    const CallbackChannels& Channels() const { return m_Channels; }
    std::uint32_t Number() const { return m_Number; }

private:
    const CallbackChannels m_Channels;
    const std::uint32_t m_Number;
};

template <class Interface, class Derived>
class Proxy : public Interface, public platform::IMarshal {
public:
    Proxy(Channel& channel, std::shared_ptr<RemoteObject> remote)
        : m_Channel(channel), m_Remote(std::move(remote)) {}

    HRESULT QueryInterface(const IID& iid, void** object) override {
        if (!object)
            return E_POINTER;
        if (iid == Interface::kIid || iid == IUnknown::kIid)
            *object = static_cast<Interface*>(this);
        else if (iid == platform::IMarshal::kIid)
            *object = static_cast<platform::IMarshal*>(this);
        else
            *object = nullptr;
        if (!*object)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    std::uint32_t AddRef() override { return m_References.fetch_add(1, std::memory_order_relaxed) + 1; }
    std::uint32_t Release() override {
        std::uint32_t left = m_References.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            delete static_cast<Derived*>(this);
        return left;
    }

    HRESULT MarshalInterface(const IID& iid, std::unique_ptr<platform::InterfaceStream>* stream) override {
        if (iid != Interface::kIid)
            return E_NOINTERFACE;
        *stream = std::make_unique<Stream>(m_Remote);
        return S_OK;
    }

protected:
    ~Proxy() = default;

    HRESULT Call(Kind kind, OutgoingMessage& call, IncomingMessage& reply) {
        call.kind = kind;
        call.object = m_Remote->Number();
        return m_Channel.Call(call, reply);
    }

    const CallbackChannels& Channels() const { return m_Remote->Channels(); }

    HRESULT CallWithText(Kind kind, BSTR text) {
        OutgoingMessage call;
        call.texts[0] = text;
        IncomingMessage reply;
        return Call(kind, call, reply);
    }

    // Puts a reply's text in the place of the text that was passed.
    static void TakeText(IncomingMessage& reply, BSTR* text) {
        SysFreeString(*text);
        *text = reply.texts[0].Release();
    }

private:
    class Stream final : public platform::InterfaceStream {
    public:
        explicit Stream(std::shared_ptr<RemoteObject> remote) : m_Remote(std::move(remote)) {}
        HRESULT Unmarshal(const IID& iid, void** object) override {
            Channel& channel = m_Remote->Channels().callbacks;
            auto proxy = platform::InterfacePtr<Interface>::Adopt(new Derived(channel, std::move(m_Remote)));
            return proxy->QueryInterface(iid, object);
        }

    private:
        std::shared_ptr<RemoteObject> m_Remote;
    };

    Channel& m_Channel;
    std::shared_ptr<RemoteObject> m_Remote;
    std::atomic<std::uint32_t> m_References{1};
};

class ProgressProxy final : public Proxy<IKeldaProgressInterface, ProgressProxy> {
public:
    using Proxy::Proxy;

    HRESULT ProgressUpdate(double progress_val) override {
        OutgoingMessage call;
        call.real = progress_val;
        IncomingMessage reply;
        return Call(Kind::kProgressUpdate, call, reply);
    }
    HRESULT AnalysisDone(std::int32_t return_code) override {
        OutgoingMessage call;
        call.numbers[0] = return_code;
        IncomingMessage reply;
        return Call(Kind::kAnalysisDone, call, reply);
    }
    HRESULT PostOrvaneMessage(BSTR message) override {
        return CallWithText(Kind::kPostOrvaneMessage, message);
    }
    HRESULT BounceOrvaneMessage(BSTR* message) override {
        if (!message)
            return E_POINTER;
        OutgoingMessage call;
        call.texts[0] = *message;
        IncomingMessage reply;
        HRESULT result = Call(Kind::kBounceOrvaneMessage, call, reply);
        if (Succeeded(result))
            TakeText(reply, message);
        return result;
    }
    HRESULT PutCosimPortData(BSTR port_data) override {
        OutgoingMessage call;
        call.texts[0] = port_data;
        IncomingMessage reply;
        HRESULT result = Call(Kind::kPutCosimPortData, call, reply);
        if (BSTR block = reply.texts[0].Get())
            Channels().sourceBlock(block);
        return result;
    }
};

class SolutionProxy final : public Proxy<IKeldaSolutionInterface, SolutionProxy> {
public:
    using Proxy::Proxy;

    HRESULT GetFieldSolverData(BSTR designName, BSTR compInstID, BSTR solnType, BSTR solnFlag,
                               BSTR paramValues, BSTR freqValues, BSTR* netwData,
                               std::int32_t* msg) override {
        if (!netwData || !msg)
            return E_POINTER;
        OutgoingMessage call;
        call.texts = {designName, compInstID, solnType, solnFlag, paramValues, freqValues, *netwData};
        return CallForData(Kind::kGetFieldSolverData, call, netwData, msg);
    }
    HRESULT GetNetlistSolverData(BSTR designName, BSTR compInstID, BSTR paramValues, BSTR* netlistData,
                                 std::int32_t* msg) override {
        if (!netlistData || !msg)
            return E_POINTER;
        OutgoingMessage call;
        call.texts = {designName, compInstID, paramValues, *netlistData};
        return CallForData(Kind::kGetNetlistSolverData, call, netlistData, msg);
    }

private:
    HRESULT CallForData(Kind kind, OutgoingMessage& call, BSTR* data, std::int32_t* msg) {
        IncomingMessage reply;
        HRESULT result = Call(kind, call, reply);
        if (Succeeded(result)) {
            TakeText(reply, data);
            *msg = reply.numbers[1];
        }
        return result;
    }
};

template <class ProxyClass, class Interface>
platform::InterfacePtr<Interface> Make(CallbackChannels channels, std::uint32_t number) {
    if (number == 0)
        return {};
    Channel& calls = channels.calls;
    auto remote = std::make_shared<RemoteObject>(std::move(channels), number);
    return platform::InterfacePtr<Interface>::Adopt(new ProxyClass(calls, std::move(remote)));
}

} // namespace

platform::InterfacePtr<IKeldaProgressInterface> MakeProgressProxy(CallbackChannels channels,
                                                                  std::uint32_t number) {
    return Make<ProgressProxy, IKeldaProgressInterface>(std::move(channels), number);
}

platform::InterfacePtr<IKeldaSolutionInterface> MakeSolutionProxy(CallbackChannels channels,
                                                                  std::uint32_t number) {
    return Make<SolutionProxy, IKeldaSolutionInterface>(std::move(channels), number);
}

} // namespace transport
