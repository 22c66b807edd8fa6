#include "frame.h"

#include "engine.capnp.h"

#include <cstring>

namespace transport {
namespace {

class TextWriter {
public:
    explicit TextWriter(std::vector<BSTR>& following) : m_Following(following) {}

    void operator()(wire::Text::Builder out, BSTR text) {
        if (!text) {
            out.setNone();
            return;
        }
        std::size_t length = SysStringLen(text);
        if (length > kMaxUnitsInFrame) {
            out.setFollowing(static_cast<std::uint32_t>(length));
            m_Following.push_back(text);
        } else {
            auto* bytes = reinterpret_cast<const kj::byte*>(text);
            out.setUnits(kj::arrayPtr(bytes, length * sizeof(wchar16)));
        }
    }

private:
    std::vector<BSTR>& m_Following;
};

class TextReader {
public:
    explicit TextReader(std::vector<FollowingText>& following) : m_Following(following) {}

    void operator()(wire::Text::Reader in, platform::UniqueBstr& text) {
        switch (in.which()) {
        case wire::Text::NONE:
            break;
        case wire::Text::UNITS: {
            auto bytes = in.getUnits();
            std::size_t length = bytes.size() / sizeof(wchar16);
            text = platform::UniqueBstr::Adopt(SysAllocStringLen(nullptr, length));
            m_Good &= text.Get() != nullptr;
            if (text.Get() && length > 0)
                std::memcpy(text.Get(), bytes.begin(), length * sizeof(wchar16));
            break;
        }
        case wire::Text::FOLLOWING:
            m_Good &= in.getFollowing() <= kMaxBstrLength;
            m_Following.push_back({&text, in.getFollowing()});
            break;
        default:
            m_Good = false;
        }
    }

    bool Good() const { return m_Good; }

private:
    std::vector<FollowingText>& m_Following;
    bool m_Good = true;
};

} // namespace

void WriteFrame(const OutgoingMessage& message, capnp::MessageBuilder& builder,
                std::vector<BSTR>& following) {
    auto frame = builder.initRoot<wire::Frame>();
    TextWriter write(following);
    const auto& texts = message.texts;
    frame.setNumber(message.number);
    frame.setObject(message.object);
    switch (message.kind) {
    case Kind::kReply: {
        auto reply = frame.initReply();
        reply.setResult(message.numbers[0]);
        reply.setValue(message.numbers[1]);
        reply.setEnding(message.ending);
        write(reply.initText(), texts[0]);
        break;
    }
    case Kind::kHello: {
        auto hello = frame.initHello();
        hello.setProtocol(static_cast<std::uint32_t>(message.numbers[0]));
        hello.setPreviousJob(message.numbers[1]);
        break;
    }
    case Kind::kRelease:
        frame.setRelease();
        break;
    case Kind::kStartAnalysis: {
        auto start = frame.initStartAnalysis();
        start.setProgress(static_cast<std::uint32_t>(message.numbers[0]));
        start.setSolution(static_cast<std::uint32_t>(message.numbers[1]));
        write(start.initFilename(), texts[0]);
        write(start.initProjectpath(), texts[1]);
        break;
    }
    case Kind::kAbortAnalysis: {
        auto abort = frame.initAbortAnalysis();
        abort.setProcid(message.numbers[0]);
        abort.setSavestate(message.numbers[1]);
        break;
    }
    case Kind::kIsAlive:
        frame.setIsAlive(message.numbers[0]);
        break;
    case Kind::kSendCosimPortData:
        write(frame.initSendCosimPortData(), texts[0]);
        break;
    case Kind::kSendCosimSourceData:
        write(frame.initSendCosimSourceData(), texts[0]);
        break;
    case Kind::kProgressUpdate:
        frame.setProgressUpdate(message.real);
        break;
    case Kind::kAnalysisDone:
        frame.setAnalysisDone(message.numbers[0]);
        break;
    case Kind::kPostOrvaneMessage:
        write(frame.initPostOrvaneMessage(), texts[0]);
        break;
    case Kind::kBounceOrvaneMessage:
        write(frame.initBounceOrvaneMessage(), texts[0]);
        break;
    case Kind::kPutCosimPortData:
        write(frame.initPutCosimPortData(), texts[0]);
        break;
    case Kind::kGetFieldSolverData: {
        auto request = frame.initGetFieldSolverData();
        write(request.initDesignName(), texts[0]);
        write(request.initCompInstID(), texts[1]);
        write(request.initSolnType(), texts[2]);
        write(request.initSolnFlag(), texts[3]);
        write(request.initParamValues(), texts[4]);
        write(request.initFreqValues(), texts[5]);
        write(request.initNetwData(), texts[6]);
        break;
    }
    case Kind::kGetNetlistSolverData: {
        auto request = frame.initGetNetlistSolverData();
        write(request.initDesignName(), texts[0]);
        write(request.initCompInstID(), texts[1]);
        write(request.initParamValues(), texts[2]);
        write(request.initNetlistData(), texts[3]);
        break;
    }
    }
}

bool ReadFrame(capnp::MessageReader& reader, IncomingMessage& message,
               std::vector<FollowingText>& following) {
    auto frame = reader.getRoot<wire::Frame>();
    TextReader read(following);
    auto& texts = message.texts;
    message.number = frame.getNumber();
    message.object = frame.getObject();
    switch (frame.which()) {
    case wire::Frame::REPLY: {
        auto reply = frame.getReply();
        message.kind = Kind::kReply;
        message.numbers = {reply.getResult(), reply.getValue()};
        message.ending = reply.getEnding();
        read(reply.getText(), texts[0]);
        break;
    }
    case wire::Frame::HELLO: {
        auto hello = frame.getHello();
        message.kind = Kind::kHello;
        message.numbers = {static_cast<std::int32_t>(hello.getProtocol()), hello.getPreviousJob()};
        break;
    }
    case wire::Frame::RELEASE:
        message.kind = Kind::kRelease;
        break;
    case wire::Frame::START_ANALYSIS: {
        auto start = frame.getStartAnalysis();
        message.kind = Kind::kStartAnalysis;
        message.numbers = {static_cast<std::int32_t>(start.getProgress()),
                           static_cast<std::int32_t>(start.getSolution())};
        read(start.getFilename(), texts[0]);
        read(start.getProjectpath(), texts[1]);
        break;
    }
    case wire::Frame::ABORT_ANALYSIS: {
        auto abort = frame.getAbortAnalysis();
        message.kind = Kind::kAbortAnalysis;
        message.numbers = {abort.getProcid(), abort.getSavestate()};
        break;
    }
    case wire::Frame::IS_ALIVE:
        message.kind = Kind::kIsAlive;
        message.numbers[0] = frame.getIsAlive();
        break;
    case wire::Frame::SEND_COSIM_PORT_DATA:
        message.kind = Kind::kSendCosimPortData;
        read(frame.getSendCosimPortData(), texts[0]);
        break;
    case wire::Frame::SEND_COSIM_SOURCE_DATA:
        message.kind = Kind::kSendCosimSourceData;
        read(frame.getSendCosimSourceData(), texts[0]);
        break;
    case wire::Frame::PROGRESS_UPDATE:
        message.kind = Kind::kProgressUpdate;
        message.real = frame.getProgressUpdate();
        break;
    case wire::Frame::ANALYSIS_DONE:
        message.kind = Kind::kAnalysisDone;
        message.numbers[0] = frame.getAnalysisDone();
        break;
    case wire::Frame::POST_ORVANE_MESSAGE:
        message.kind = Kind::kPostOrvaneMessage;
        read(frame.getPostOrvaneMessage(), texts[0]);
        break;
    case wire::Frame::BOUNCE_ORVANE_MESSAGE:
        message.kind = Kind::kBounceOrvaneMessage;
        read(frame.getBounceOrvaneMessage(), texts[0]);
        break;
    case wire::Frame::PUT_COSIM_PORT_DATA:
        message.kind = Kind::kPutCosimPortData;
        read(frame.getPutCosimPortData(), texts[0]);
        break;
    case wire::Frame::GET_FIELD_SOLVER_DATA: {
        auto request = frame.getGetFieldSolverData();
        message.kind = Kind::kGetFieldSolverData;
        read(request.getDesignName(), texts[0]);
        read(request.getCompInstID(), texts[1]);
        read(request.getSolnType(), texts[2]);
        read(request.getSolnFlag(), texts[3]);
        read(request.getParamValues(), texts[4]);
        read(request.getFreqValues(), texts[5]);
        read(request.getNetwData(), texts[6]);
        break;
    }
    case wire::Frame::GET_NETLIST_SOLVER_DATA: {
        auto request = frame.getGetNetlistSolverData();
        message.kind = Kind::kGetNetlistSolverData;
        read(request.getDesignName(), texts[0]);
        read(request.getCompInstID(), texts[1]);
        read(request.getParamValues(), texts[2]);
        read(request.getNetlistData(), texts[3]);
        break;
    }
    default:
        return false;
    }
    return read.Good();
}

} // namespace transport
