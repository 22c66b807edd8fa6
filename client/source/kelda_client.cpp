#include <client/kelda_client.h>

#include "connection.h"

#include <keldasimenginelib/kelda_engine_dispatch.h>
#include <platform/dynamic_library.h>
#include <registry/registry.h>

#include <unistd.h>

#include <cstdlib>
#include <mutex>

namespace kelda {
namespace {

// The engine object that the client holds. It outlives its process and finds a new one when it has to.
class ClientEngine final : public platform::CountedObject<KeldaEngineDispatch> {
public:
    ClientEngine(ActivationOptions options) : m_Options(std::move(options)) { Connected(); }

    HRESULT QueryInterface(const IID& iid, void** object) override {
        return CountedObject::QueryInterface(iid == IDispatch::kIid ? IKeldaEngine::kIid : iid, object);
    }

    HRESULT StartAnalysis(IKeldaProgressInterface* pIProgress, IKeldaSolutionInterface* pISolution,
                          BSTR filename, BSTR projectpath, std::int32_t* procid) override {
        if (!procid)
            return E_POINTER;
        HRESULT result = Call([&](transport::EngineProxy& engine) {
            return engine.StartAnalysis(pIProgress, pISolution, filename, projectpath, procid);
        });
        if (Succeeded(result)) {
            std::lock_guard lock(m_Mutex);
            m_LastJob = *procid;
        }
        return result;
    }
    HRESULT AbortAnalysis(std::int32_t procid, std::int32_t savestate) override {
        return Call([&](transport::EngineProxy& engine) { return engine.AbortAnalysis(procid, savestate); });
    }
    HRESULT IsAlive(std::int32_t procid, std::int32_t* alive) override {
        if (!alive)
            return E_POINTER;
        return Call([&](transport::EngineProxy& engine) { return engine.IsAlive(procid, alive); });
    }
    HRESULT SendCosimPortData(BSTR portData) override {
        return Call([&](transport::EngineProxy& engine) { return engine.SendCosimPortData(portData); });
    }
    HRESULT SendCosimSourceData(BSTR sourceData) override {
        return Call([&](transport::EngineProxy& engine) { return engine.SendCosimSourceData(sourceData); });
    }

private:
    ~ClientEngine() override {
        if (m_Connection)
            m_Connection->Close();
    }

    std::shared_ptr<Connection> Connected() {
        std::lock_guard lock(m_Mutex);
        if (!m_Connection || m_Connection->Over()) {
            m_Connection.reset();
            m_Connection = Connection::Open(m_Options, m_LastJob);
        }
        return m_Connection;
    }

    template <class Method>
    HRESULT Call(Method method) {
        for (;;) {
            std::shared_ptr<Connection> connection;
            try {
                connection = Connected();
            } catch (const ActivationError& error) {
                if (m_Options.onLost)
                    m_Options.onLost({.reason = error.what()});
                return kEngineNotStarted;
            }
            HRESULT result = method(connection->Engine());
            if (!connection->Engine().Ending())
                return result;
            connection->Close();
            // An engine that ends carries out no call but the one that made it end.
            if (result != RPC_E_DISCONNECTED)
                return result;
        }
    }

    const ActivationOptions m_Options;
    std::mutex m_Mutex;
    std::shared_ptr<Connection> m_Connection;
    std::int32_t m_LastJob = 0;
};

bool IsProgram(const std::string& path) {
    return !path.empty() && access(path.c_str(), X_OK) == 0;
}

// What the class's registration names. A registry that can't be read registers nothing.
std::string RegisteredServer() {
    try {
        registry::Store store;
        AString path(u"CLSID\\");
        path += AString(platform::ToString(KELDASIMENGINELib::kKeldaEngineClsid));
        path += u"\\LocalServer32";
        auto key = store.OpenKey(registry::HKEY_CLASSES_ROOT, path, registry::KEY_QUERY_VALUE);
        if (auto server = key ? key->GetText(AString()) : std::nullopt)
            return std::string(server->ToNarrow(1));
    } catch (const registry::Error&) {
    }
    return {};
}

} // namespace

platform::InterfacePtr<IKeldaEngine> ActivateEngine(ActivationOptions options) {
    return platform::InterfacePtr<IKeldaEngine>::Adopt(new ClientEngine(std::move(options)));
}

std::string FindServer() {
    // What is asked for by name is taken or fails; anything else would start an engine that wasn't meant.
    if (const char* named = std::getenv("TARVOK_SERVER"); named && *named) {
        if (!IsProgram(named))
            throw ActivationError(std::string("TARVOK_SERVER names ") + named + ", which is no program");
        return named;
    }
    std::string registered = RegisteredServer();
    if (IsProgram(registered))
        return registered;
    std::string beside = platform::ProgramFolder() + "/tarvok";
    if (IsProgram(beside))
        return beside;
    throw ActivationError("no engine found: none is registered" +
                          (registered.empty() ? std::string() : " (" + registered + " is gone)") +
                          ", there is no " + beside + ", and TARVOK_SERVER isn't set");
}

} // namespace kelda
