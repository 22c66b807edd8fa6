// The channel: every method of the three interfaces through a pair of sockets, calls within calls, and
// hostile streams.

#include <transport/callback_stub.h>
#include <transport/channel.h>
#include <transport/engine_proxy.h>
#include <transport/engine_stub.h>

#include <keldasimenginelib/kelda_engine_dispatch.h>
#include <platform/marshal.h>

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <cstring>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <thread>

using platform::InterfacePtr;
using platform::UniqueBstr;
using platform::UniqueFd;

namespace {

std::u16string Text(BSTR text) {
    return text ? std::u16string(text, SysStringLen(text)) : u"(null)";
}

class Progress final : public platform::CountedObject<IKeldaProgressInterface> {
public:
    HRESULT ProgressUpdate(double value) override {
        seen = value;
        return onProgress ? onProgress() : S_OK;
    }
    HRESULT AnalysisDone(std::int32_t code) override { return code; }
    HRESULT PostOrvaneMessage(BSTR message) override {
        posted = Text(message);
        return S_FALSE;
    }
    HRESULT BounceOrvaneMessage(BSTR* message) override {
        posted = Text(*message);
        SysFreeString(*message);
        *message = answer.Release();
        return S_OK;
    }
    HRESULT PutCosimPortData(BSTR data) override {
        posted = Text(data);
        return onPorts ? onPorts() : E_FAIL;
    }

    std::function<HRESULT()> onProgress;
    std::function<HRESULT()> onPorts;
    double seen = 0;
    std::u16string posted;
    UniqueBstr answer;
    bool* gone = nullptr;

private:
    ~Progress() override {
        if (gone)
            *gone = true;
    }
};

class Solution final : public platform::CountedObject<IKeldaSolutionInterface> {
public:
    HRESULT GetFieldSolverData(BSTR a, BSTR b, BSTR c, BSTR d, BSTR e, BSTR f, BSTR* data,
                               std::int32_t* msg) override {
        for (BSTR text : {a, b, c, d, e, f, *data})
            asked += Text(text) + u"|";
        SysFreeString(*data);
        *data = SysAllocString(u"network");
        *msg = 7;
        return S_FALSE;
    }
    HRESULT GetNetlistSolverData(BSTR a, BSTR b, BSTR c, BSTR* data, std::int32_t* msg) override {
        for (BSTR text : {a, b, c, *data})
            asked += Text(text) + u"|";
        *msg = -1;
        return S_OK;
    }
    std::u16string asked;
};

// An engine whose methods do what a test says.
class Engine final : public KeldaEngineDispatch {
public:
    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }

    HRESULT StartAnalysis(IKeldaProgressInterface* progress, IKeldaSolutionInterface* solution, BSTR file,
                          BSTR project, std::int32_t* procid) override {
        texts = Text(file) + u"|" + Text(project);
        *procid = 42;
        return onStart ? onStart(progress, solution) : S_OK;
    }
    HRESULT AbortAnalysis(std::int32_t procid, std::int32_t state) override { return procid * 100 + state; }
    HRESULT IsAlive(std::int32_t procid, std::int32_t* alive) override {
        *alive = procid == 42;
        return S_OK;
    }
    HRESULT SendCosimPortData(BSTR data) override {
        texts = Text(data);
        return S_OK;
    }
    HRESULT SendCosimSourceData(BSTR data) override {
        texts = Text(data);
        if (texts == u"throw")
            throw std::runtime_error("from the engine");
        return E_INVALIDARG;
    }

    std::function<HRESULT(IKeldaProgressInterface*, IKeldaSolutionInterface*)> onStart;
    std::u16string texts;
};

struct SocketPair {
    SocketPair() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        here = UniqueFd(ends[0]);
        there = UniqueFd(ends[1]);
    }
    UniqueFd here, there;
};

// Both ends in one process: the engine's call thread and the client's callback thread serve, the test is the
// client.
class ChannelTest : public testing::Test {
protected:
    ChannelTest() : m_EngineStub(engine, [this](std::int32_t job) { resumed = job; }) {
        SocketPair calls, callbacks;
        m_EngineCalls.emplace(std::move(calls.there), m_EngineStub);
        m_EngineCallbacks.emplace(std::move(callbacks.there), m_EngineStub);
        m_ClientCalls.emplace(std::move(calls.here), m_Objects);
        m_ClientCallbacks.emplace(std::move(callbacks.here), m_Objects);
        m_EngineStub.Connect({*m_EngineCalls, *m_EngineCallbacks, [this](BSTR block) {
                                  answered.push_back(Text(block));
                                  answeredBy = std::this_thread::get_id();
                              }});
        client.emplace(*m_ClientCalls, m_Objects);
        m_CallThread = std::thread([this] { Serve(*m_EngineCalls); });
        m_CallbackThread = std::thread([this] { Serve(*m_ClientCallbacks); });
    }
    ~ChannelTest() override { Disconnect(); }

    static void Serve(transport::Channel& channel) {
        while (channel.ServeOne()) {
        }
    }

    void Disconnect() {
        if (m_CallThread.joinable()) {
            m_ClientCalls->Shutdown();
            m_ClientCallbacks->Shutdown();
            m_CallThread.join();
            m_CallbackThread.join();
        }
    }

    // Runs `work` as a job's thread would: with the client's objects taken over from the engine's call
    // thread.
    HRESULT RunJob(IKeldaProgressInterface* progress, IKeldaSolutionInterface* solution,
                   const std::function<void(IKeldaProgressInterface*, IKeldaSolutionInterface*)>& work) {
        std::unique_ptr<platform::InterfaceStream> progressStream, solutionStream;
        engine.onStart = [&](IKeldaProgressInterface* p, IKeldaSolutionInterface* s) {
            EXPECT_EQ(platform::CoMarshalInterThreadInterfaceInStream(IKeldaProgressInterface::kIid, p,
                                                                      &progressStream),
                      S_OK);
            if (s) {
                EXPECT_EQ(platform::CoMarshalInterThreadInterfaceInStream(IKeldaSolutionInterface::kIid, s,
                                                                          &solutionStream),
                          S_OK);
            }
            return S_OK;
        };
        std::int32_t job = 0;
        HRESULT result = client->StartAnalysis(progress, solution, nullptr, nullptr, &job);
        std::thread([&] {
            auto p = Take<IKeldaProgressInterface>(std::move(progressStream));
            auto s = Take<IKeldaSolutionInterface>(std::move(solutionStream));
            work(p.Get(), s.Get());
        }).join();
        return result;
    }

    template <class Interface>
    static InterfacePtr<Interface> Take(std::unique_ptr<platform::InterfaceStream> stream) {
        void* object = nullptr;
        platform::CoGetInterfaceAndReleaseStream(std::move(stream), Interface::kIid, &object);
        return InterfacePtr<Interface>::Adopt(static_cast<Interface*>(object));
    }

    Engine engine;
    std::int32_t resumed = -1;
    std::vector<std::u16string> answered; // blocks that came with an answer
    std::thread::id answeredBy;
    std::optional<transport::EngineProxy> client;
    transport::CallbackStub m_Objects;

private:
    transport::EngineStub m_EngineStub;
    std::optional<transport::Channel> m_EngineCalls, m_EngineCallbacks, m_ClientCalls, m_ClientCallbacks;
    std::thread m_CallThread, m_CallbackThread;
};

template <class Object>
InterfacePtr<Object> New() {
    return InterfacePtr<Object>::Adopt(new Object);
}

TEST_F(ChannelTest, EveryMethodOfTheEngineCarriesItsArgumentsAndItsResult) {
    EXPECT_EQ(client->Hello(17), S_OK);
    EXPECT_EQ(resumed, 17);
    std::int32_t value = 0;
    EXPECT_EQ(client->StartAnalysis(nullptr, nullptr, UniqueBstr(u"file").Get(), UniqueBstr(u"folder").Get(),
                                    &value),
              S_OK);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(engine.texts, u"file|folder");
    EXPECT_EQ(client->AbortAnalysis(3, -5), 295);
    EXPECT_EQ(client->IsAlive(42, &value), S_OK);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(client->IsAlive(41, &value), S_OK);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(client->SendCosimPortData(nullptr), S_OK);
    EXPECT_EQ(engine.texts, u"(null)");
    EXPECT_EQ(client->SendCosimSourceData(UniqueBstr(u"samples").Get()), E_INVALIDARG);
    EXPECT_EQ(engine.texts, u"samples");
    EXPECT_EQ(client->SendCosimSourceData(UniqueBstr(u"throw").Get()), E_UNEXPECTED);
}

TEST_F(ChannelTest, EveryCallbackCarriesItsArgumentsAndItsResult) {
    auto progress = New<Progress>();
    auto solution = New<Solution>();
    RunJob(progress.Get(), solution.Get(), [&](IKeldaProgressInterface* p, IKeldaSolutionInterface* s) {
        EXPECT_EQ(p->ProgressUpdate(0.1), S_OK);
        EXPECT_EQ(progress->seen, 0.1);
        EXPECT_EQ(p->AnalysisDone(-7), -7);
        EXPECT_EQ(p->PostOrvaneMessage(UniqueBstr(u"posted").Get()), S_FALSE);
        EXPECT_EQ(progress->posted, u"posted");
        EXPECT_EQ(p->PutCosimPortData(UniqueBstr(u"ports").Get()), E_FAIL);
        EXPECT_EQ(progress->posted, u"ports");
        UniqueBstr data(u"in");
        std::int32_t msg = 0;
        auto bstr = [](const char16_t* text) { return UniqueBstr(text); };
        EXPECT_EQ(s->GetFieldSolverData(bstr(u"a").Get(), bstr(u"b").Get(), nullptr, bstr(u"d").Get(),
                                        bstr(u"").Get(), bstr(u"f").Get(), data.Address(), &msg),
                  S_FALSE);
        EXPECT_EQ(solution->asked, u"a|b|(null)|d||f|in|");
        EXPECT_EQ(data.View(), u"network");
        EXPECT_EQ(msg, 7);
        solution->asked.clear();
        EXPECT_EQ(s->GetNetlistSolverData(bstr(u"a").Get(), bstr(u"b").Get(), bstr(u"c").Get(),
                                          data.Address(), &msg),
                  S_OK);
        EXPECT_EQ(solution->asked, u"a|b|c|network|");
        EXPECT_EQ(msg, -1);
    });
}

TEST_F(ChannelTest, TextsOfAnyContentAndLengthComeThroughBothWays) {
    std::u16string all;
    for (int unit = 0; unit < 256; ++unit)
        all += static_cast<char16_t>(unit);
    const std::u16string texts[] = {u"",
                                    std::u16string(3, u'\0'),
                                    all,
                                    u"\xD800 lone \xDC00",
                                    std::u16string(8191, u'x'),
                                    std::u16string(8192, u'y'),
                                    std::u16string(8193, u'z'),
                                    std::u16string(100'003, u'\x2603'),
                                    std::u16string(50'000'001, u'\x1234')};
    auto progress = New<Progress>();
    RunJob(progress.Get(), nullptr, [&](IKeldaProgressInterface* p, IKeldaSolutionInterface*) {
        for (const std::u16string& text : texts) {
            progress->answer = UniqueBstr(text);
            UniqueBstr bounced(text);
            ASSERT_EQ(p->BounceOrvaneMessage(bounced.Address()), S_OK);
            EXPECT_TRUE(progress->posted == text) << text.size() << " units to the client";
            EXPECT_TRUE(bounced.View() == text) << text.size() << " units back";
        }
        UniqueBstr bounced(u"an answer of no text");
        EXPECT_EQ(p->BounceOrvaneMessage(bounced.Address()), S_OK);
        EXPECT_EQ(bounced.Get(), nullptr);
    });
}

TEST_F(ChannelTest, ATextLongerThanIsSetAsideAtOnceArrivesWhole) {
    std::u16string text((std::size_t{128} << 20) + 3, u'a');
    for (std::size_t i = 0; i < text.size(); i += 65'521)
        text[i] = static_cast<char16_t>(i);
    EXPECT_EQ(client->SendCosimPortData(UniqueBstr(text).Get()), S_OK);
    EXPECT_TRUE(engine.texts == text);
}

TEST_F(ChannelTest, ManyLongTextsInOneCallArriveEachInItsPlace) {
    auto solution = New<Solution>();
    auto progress = New<Progress>();
    std::u16string expected;
    std::vector<UniqueBstr> texts;
    for (std::size_t i = 0; i < 7; ++i) {
        texts.emplace_back(std::u16string(8190 + i, static_cast<char16_t>(u'a' + i)));
        expected += std::u16string(texts.back().View()) + u"|";
    }
    RunJob(progress.Get(), solution.Get(), [&](IKeldaProgressInterface*, IKeldaSolutionInterface* s) {
        std::int32_t msg = 0;
        s->GetFieldSolverData(texts[0].Get(), texts[1].Get(), texts[2].Get(), texts[3].Get(), texts[4].Get(),
                              texts[5].Get(), texts[6].Address(), &msg);
    });
    EXPECT_TRUE(solution->asked == expected);
}

TEST_F(ChannelTest, ACallbackMayCallTheEngineAndACallMayCallTheClientBack) {
    auto progress = New<Progress>();
    std::int32_t alive = 0;
    progress->onProgress = [&] { return client->IsAlive(42, &alive); };
    RunJob(progress.Get(), nullptr,
           [&](IKeldaProgressInterface* p, IKeldaSolutionInterface*) { p->ProgressUpdate(1); });
    EXPECT_EQ(alive, 1) << "a call from within a job's callback";

    // Within one call each side calls the other in turn, ten deep, on the client's own thread.
    int depth = 0;
    std::thread::id thread;
    progress->onProgress = [&] {
        thread = std::this_thread::get_id();
        std::int32_t job = 0;
        return ++depth < 10 ? client->StartAnalysis(progress.Get(), nullptr, nullptr, nullptr, &job) : 77;
    };
    engine.onStart = [](IKeldaProgressInterface* p, IKeldaSolutionInterface*) {
        return p->ProgressUpdate(2);
    };
    std::int32_t job = 0;
    EXPECT_EQ(client->StartAnalysis(progress.Get(), nullptr, nullptr, nullptr, &job), 77);
    EXPECT_EQ(depth, 10);
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(ChannelTest, ABlockThatIsDeliveredWithinThePortsCallbackTravelsWithItsAnswer) {
    auto progress = New<Progress>();
    HRESULT delivered = E_FAIL, second = S_OK, elsewhere = S_OK;
    std::thread::id job;
    progress->onPorts = [&] {
        // Another thread isn't within the callback, and a second block has no room in the answer: both go as calls.
        std::thread([&] { elsewhere = client->SendCosimSourceData(UniqueBstr(u"elsewhere").Get()); }).join();
        EXPECT_EQ(engine.texts, u"elsewhere");
        delivered = client->SendCosimSourceData(UniqueBstr(u"block").Get());
        EXPECT_EQ(engine.texts, u"elsewhere");
        second = client->SendCosimSourceData(UniqueBstr(u"second").Get());
        EXPECT_EQ(engine.texts, u"second");
        return S_FALSE;
    };
    RunJob(progress.Get(), nullptr, [&](IKeldaProgressInterface* p, IKeldaSolutionInterface*) {
        job = std::this_thread::get_id();
        EXPECT_EQ(p->PutCosimPortData(UniqueBstr(u"ports").Get()), S_FALSE);
        EXPECT_EQ(answered, (std::vector<std::u16string>{u"block"}));
        progress->onPorts = nullptr;
        EXPECT_EQ(p->PutCosimPortData(UniqueBstr(u"ports").Get()), E_FAIL);
        progress->onPorts = [&] { return client->SendCosimSourceData(nullptr); };
        EXPECT_EQ(p->PutCosimPortData(nullptr), S_OK);
    });
    EXPECT_EQ(answered, (std::vector<std::u16string>{u"block", u""}));
    EXPECT_EQ(answeredBy, job);
    EXPECT_EQ(delivered, S_OK);
    EXPECT_EQ(second, E_INVALIDARG) << "the engine's own answer";
    EXPECT_EQ(elsewhere, E_INVALIDARG);
    EXPECT_EQ(client->SendCosimSourceData(UniqueBstr(u"later").Get()), E_INVALIDARG);
    EXPECT_EQ(engine.texts, u"later");
}

TEST_F(ChannelTest, TheClientsObjectsAreReleasedWhenTheEngineHasLetGoOfThem) {
    bool gone = false;
    {
        auto progress = New<Progress>();
        progress->gone = &gone;
        RunJob(progress.Get(), nullptr,
               [&](IKeldaProgressInterface* p, IKeldaSolutionInterface*) { p->ProgressUpdate(1); });
    }
    // The word is on its way, at the latest with the next call on the callback channel.
    engine.onStart = nullptr;
    auto other = New<Progress>();
    RunJob(other.Get(), nullptr,
           [](IKeldaProgressInterface* p, IKeldaSolutionInterface*) { p->ProgressUpdate(1); });
    EXPECT_TRUE(gone);
}

TEST_F(ChannelTest, CallsFromManyThreadsDoNotMix) {
    std::vector<std::thread> threads;
    for (int t = 1; t <= 4; ++t)
        threads.emplace_back([this, t] {
            for (int i = 0; i < 500; ++i)
                ASSERT_EQ(client->AbortAnalysis(t, i % 100), t * 100 + i % 100);
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(ChannelTest, ACallOnAnEndedConnectionSaysSo) {
    Disconnect();
    std::int32_t value = 0;
    EXPECT_EQ(client->IsAlive(1, &value), RPC_E_DISCONNECTED);
    EXPECT_EQ(client->Hello(0), RPC_E_DISCONNECTED);
}

// Streams that no client sends: the end that reads them closes, and neither crashes nor waits nor takes much
// memory.
class HostileStreamTest : public testing::Test {
protected:
    // A frame with one long text behind it, as bytes.
    static std::string Sample() {
        SocketPair pair;
        Engine engine;
        transport::EngineStub stub(engine, [](std::int32_t) {});
        transport::Channel sender(std::move(pair.here), stub);
        std::string bytes;
        std::thread reader([&] {
            char buffer[4096];
            for (ssize_t got; (got = recv(pair.there.Get(), buffer, sizeof buffer, 0)) > 0;) {
                bytes.append(buffer, static_cast<std::size_t>(got));
                if (bytes.size() > 2 * 9001)
                    break;
            }
            shutdown(pair.there.Get(), SHUT_RDWR);
        });
        transport::OutgoingMessage message;
        message.kind = transport::Kind::kSendCosimSourceData;
        UniqueBstr text(std::u16string(9001, u't'));
        message.texts[0] = text.Get();
        transport::IncomingMessage reply;
        sender.Call(message, reply);
        reader.join();
        return bytes;
    }

    // Feeds the bytes to an engine's end and gives how many calls it served.
    static int Feed(std::string_view bytes) {
        SocketPair pair;
        Engine engine;
        transport::EngineStub stub(engine, [](std::int32_t) {});
        transport::Channel channel(std::move(pair.there), stub);
        SocketPair callbacks;
        transport::Channel callbackChannel(std::move(callbacks.there), stub);
        stub.Connect({channel, callbackChannel});
        std::thread writer([&] {
            while (!bytes.empty()) {
                ssize_t sent = send(pair.here.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
                if (sent <= 0)
                    break;
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            }
            shutdown(pair.here.Get(), SHUT_WR);
            char sink[4096];
            while (recv(pair.here.Get(), sink, sizeof sink, 0) > 0) {
            }
        });
        int served = 0;
        while (channel.ServeOne())
            ++served;
        channel.Shutdown();
        writer.join();
        return served;
    }
};

TEST_F(HostileStreamTest, AStreamCutOffAnywhereServesWhatWasWhole) {
    std::string sample = Sample();
    ASSERT_EQ(Feed(sample), 1);
    ASSERT_EQ(Feed(sample + sample), 2);
    for (std::size_t length = 0; length < sample.size(); length += length < 200 ? 1 : 997)
        EXPECT_EQ(Feed(std::string_view(sample).substr(0, length)), 0) << length;
}

TEST_F(HostileStreamTest, DamagedBytesNeverCrashOrHang) {
    std::string sample = Sample();
    std::mt19937 random(20'26);
    for (int round = 0; round < 1000; ++round) {
        std::string damaged = sample;
        int changes = 1 + static_cast<int>(random() % 8);
        for (int i = 0; i < changes; ++i)
            damaged[random() % 120] = static_cast<char>(random());
        Feed(damaged);
    }
}

TEST_F(HostileStreamTest, DeclaredSizesAreNotTrusted) {
    auto words = [](std::initializer_list<std::uint32_t> values) {
        return std::string(reinterpret_cast<const char*>(std::data(values)), values.size() * 4);
    };
    EXPECT_EQ(Feed(words({0, 0xFFFFFFFF, 0, 0})), 0) << "a segment of 32 GB";
    EXPECT_EQ(Feed(words({0xFFFFFFFF, 1, 1, 1})), 0) << "four milliards of segments";
    EXPECT_EQ(Feed(words({63, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF})), 0) << "a table that is cut off";
    EXPECT_EQ(Feed(words({0, 0})), 0) << "no root at all";
    std::string sample = Sample();
    const std::uint32_t length = 9001;
    auto claim = sample.find(std::string(reinterpret_cast<const char*>(&length), 4));
    ASSERT_NE(claim, std::string::npos);
    for (std::uint32_t claimed :
         {std::uint32_t{1} << 29, static_cast<std::uint32_t>(kMaxBstrLength), 0xFFFFFFFFu}) {
        std::memcpy(sample.data() + claim, &claimed, 4);
        EXPECT_EQ(Feed(sample), 0) << "a text of " << claimed << " units";
    }
    EXPECT_EQ(Feed(std::string(1 << 20, '\xFF')), 0);
    EXPECT_EQ(Feed(std::string(1 << 20, '\0')), 0);
}

} // namespace
