#include <engine/field_solver_bridge.h>

#include <engine/job_messages.h>
#include <engine/job_state.h>

#include <sparamlib/solution_factory.h>
#include <streamio/block.h>
#include <streamio/delimiter_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>
#include <stringutils/astring.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <list>
#include <memory>

using platform::UniqueBstr;

namespace {

constexpr int kFrequencyDigits = 16;
constexpr double kFrequencyTolerance = 1e-5; // [Hz]
constexpr double kReferenceOhms = 50.0;

static_assert(sizeof(Complex) == 2 * sizeof(double));

// Why a request has no answer.
struct Failure {
    FieldSolverBridge::Result result;
    AString text;
};

UniqueBstr MakeBstr(const char* text) {
    return UniqueBstr(text ? AString(text) : AString());
}

UniqueBstr MakeFrequencyText(std::span<const double> frequencies) {
    io::CToken_ostring s(0, false, &io::DefaultDelimiterGrammar());
    s.SetPrecision(kFrequencyDigits);
    for (double frequency : frequencies)
        s.Write(frequency);
    return UniqueBstr(s.TakeText());
}

AString Hertz(double frequency) {
    AString text;
    text.Format(u"%.*g Hz", kFrequencyDigits - 1, frequency);
    return text;
}

std::unique_ptr<CNetworkDataSolution> ReadSolution(std::u16string_view reply) {
    io::CBlock block;
    io::CToken_istring s(io::CToken_istring::InPlace{reply}, &io::DefaultDelimiterGrammar(),
                         io::kDropSourceText);
    block.Read(s);
    std::list<AString> errors;
    if (block.CollectErrors(errors, true))
        throw Failure{FieldSolverBridge::kNotReadable, u"the reply is damaged: " + errors.front()};
    if (s.GetIndentLevel() != 0)
        throw Failure{FieldSolverBridge::kNotReadable, u"the reply ends within a block"};
    auto solution = CreateNetworkSolution(block);
    if (!solution)
        throw Failure{FieldSolverBridge::kNotReadable, u"the reply holds no solution"};
    return solution;
}

// The point's scattering matrix at a frequency, as the solution has it now.
const ComplexMatrix& MatrixAt(CNetworkDataSolution& solution, double frequency) {
    CNetworkData* point = solution.GetData(frequency, kFrequencyTolerance, true, false);
    const ComplexMatrix* s = point ? point->GetSMatrix(false) : nullptr;
    if (s)
        return *s;
    throw Failure{FieldSolverBridge::kNoPoint,
                  (point ? u"the reply holds no scattering matrix at "
                         : u"the reply holds no data, and none can be interpolated, at ") +
                      Hertz(frequency)};
}

int CountNumbers(CNetworkDataSolution& solution, std::span<const double> frequencies) {
    std::int64_t count = static_cast<std::int64_t>(frequencies.size());
    for (double frequency : frequencies)
        count += std::int64_t{2} * MatrixAt(solution, frequency).Size();
    if (count > std::numeric_limits<int>::max())
        throw Failure{FieldSolverBridge::kNoPoint, u"the answer would be longer than an answer can be"};
    return static_cast<int>(count);
}

bool IsIdentity(const ComplexMatrix& m) {
    for (int i = 0; i < m.Rows(); ++i)
        for (int j = 0; j < m.Columns(); ++j)
            if (!(m[i][j] == Complex(i == j ? 1.0 : 0.0)))
                return false;
    return m.IsSquare();
}

// Whether S, which is that of open ports or isn't, came by admittances that say something. Those of a network that has none,
// as a short or an ideal through, come out as zeros, which are an open's, or as what rounding makes of infinity.
bool CameByAdmittances(CNetworkData& point, bool isOpen) {
    constexpr double kMost = 1e8 / kReferenceOhms; // [S]; half of the digits are gone
    const ComplexMatrix* y = point.GetYMatrix(false);
    if (!y || y->Size() == 0)
        return true;
    double largest = 0;
    for (int k = 0; k < y->Size(); ++k)
        largest = std::max(largest, abs(y->Data()[k]));
    return largest == 0 ? isOpen : largest < kMost;
}

// Gives the frequencies at which that made another network of the data.
std::vector<double> ReferToFiftyOhm(CNetworkDataSolution& solution, std::span<const double> frequencies) {
    std::vector<bool> areOpen;
    for (double frequency : frequencies)
        areOpen.push_back(IsIdentity(MatrixAt(solution, frequency)));
    const ComplexVector impedances(MatrixAt(solution, frequencies.front()).Rows(),
                                   Complex(kReferenceOhms, 0.0));
    solution.RenormalizePorts(impedances, true);
    std::vector<double> lost;
    for (std::size_t i = 0; i < frequencies.size(); ++i) {
        CNetworkData* point = solution.GetData(frequencies[i], kFrequencyTolerance, true, false);
        if (point && !CameByAdmittances(*point, areOpen[i]))
            lost.push_back(frequencies[i]);
    }
    return lost;
}

int WriteNumbers(CNetworkDataSolution& solution, std::span<const double> frequencies, std::span<double> out) {
    std::size_t count = 0;
    for (double frequency : frequencies) {
        const ComplexMatrix& s = MatrixAt(solution, frequency);
        const std::size_t numbers = 2 * static_cast<std::size_t>(s.Size());
        // A solution with a setup of its own makes its points anew here.
        if (out.size() - count < numbers + 1)
            throw Failure{FieldSolverBridge::kNoPoint,
                          u"the reply's post-processing makes a larger matrix at " + Hertz(frequency)};
        out[count] = frequency;
        if (numbers > 0)
            std::memcpy(&out[count + 1], s.Data(), numbers * sizeof(double));
        count += numbers + 1;
    }
    return static_cast<int>(count);
}

void Post(const FieldSolverBridge::Request& request, std::int32_t severity, const char16_t* what,
          const AString& text) noexcept {
    try {
        const auto name = [](const char* bytes) { return bytes ? AString(bytes) : AString(); };
        PostText(severity, AString(what + name(request.compInstID) + u" (design " + name(request.designName) +
                                   u"): " + text + u"."));
    } catch (...) {
        // A result says it, too.
    }
}

// A frequency that the data doesn't give may be one that the kernel can do without; it says so if it can't.
void PostFailure(const FieldSolverBridge::Request& request, int result, const AString& reason) noexcept {
    Post(request, result == FieldSolverBridge::kNoPoint ? kSeverityWarning : kSeverityError,
         u"No network data for ", reason);
}

void PostLost(const FieldSolverBridge::Request& request, const std::vector<double>& lost) {
    AString where = u"at " + Hertz(lost.front());
    if (lost.size() > 1) {
        where.Format(u"at %d frequencies from ", static_cast<int>(lost.size()));
        where += Hertz(lost.front()) + u" on";
    }
    Post(request, kSeverityWarning, u"Network data of ",
         where + u" the network has no admittances, by which it is referred to 50 ohm (nor has a short or an "
                 u"ideal through): what the simulation gets there is another one. S at 50 ohm without "
                 u"references stays as it is");
}

int Ask(IKeldaSolutionInterface& client, const FieldSolverBridge::Request& request, UniqueBstr& reply) {
    const UniqueBstr design = MakeBstr(request.designName), instance = MakeBstr(request.compInstID),
                     solnType(u"EMFastSweep"), solnFlag(u"0"), parameters = MakeBstr(request.paramValues),
                     frequencies = MakeFrequencyText(request.frequencies);
    std::int32_t msg = 0;
    const HRESULT result =
        client.GetFieldSolverData(design.Get(), instance.Get(), solnType.Get(), solnFlag.Get(),
                                  parameters.Get(), frequencies.Get(), reply.Address(), &msg);
    if (Failed(result))
        PostFailedCall(result);
    if (msg != 0)
        return msg;
    return reply.Get() ? FieldSolverBridge::kGood : FieldSolverBridge::kNoData;
}

} // namespace

int FieldSolverBridge::Answer(const Request& request, std::span<double> out, int& count) noexcept {
    count = 0;
    try {
        if (request.frequencies.empty())
            throw Failure{kNoFrequencies, u"the simulation asked for no frequency"};
        if (!std::all_of(request.frequencies.begin(), request.frequencies.end(),
                         [](double f) { return std::isfinite(f); }))
            throw Failure{kNoPoint, u"the simulation asked for a frequency that is no number"};
        UniqueBstr reply;
        if (const int result = Ask(m_Client, request, reply))
            return result;
        const auto solution = ReadSolution(reply.View());
        reply = {};
        if (solution->GetSolutionType() == SolutionType::None)
            solution->SetSolutionType(SolutionType::InterpolateNeville);
        const int needed = CountNumbers(*solution, request.frequencies);
        if (static_cast<std::size_t>(needed) > out.size()) {
            count = needed;
            return kTooSmall;
        }
        const std::vector<double> lost = ReferToFiftyOhm(*solution, request.frequencies);
        if (!lost.empty())
            PostLost(request, lost);
        count = WriteNumbers(*solution, request.frequencies, out);
        return kGood;
    } catch (const Failure& failure) {
        PostFailure(request, failure.result, failure.text);
        return failure.result;
    } catch (...) {
        PostFailure(request, kNotReadable, u"there is no memory for the reply");
        return kNotReadable;
    }
}

extern "C" {

static int FieldSolverCallBack(const char* designName, const char* compInstID, const char* paramValues,
                               const double* freqs, int nFreqs, double* out, int capacity,
                               int* outCount) noexcept {
    const auto size = [](const void* data, int count) {
        return static_cast<std::size_t>(data ? std::max(count, 0) : 0);
    };
    IKeldaSolutionInterface* client = LiveSolution();
    if (!client)
        return FieldSolverBridge::kNoData;
    int count = 0;
    const int result =
        FieldSolverBridge(*client).Answer({designName, compInstID, paramValues, {freqs, size(freqs, nFreqs)}},
                                          {out, size(out, capacity)}, count);
    if (outCount)
        *outCount = count;
    return result;
}

} // extern "C"

void RegisterFieldSolverCallBack(decltype(&::set_cosim_call_back) set_cosim_call_back) {
    set_cosim_call_back("FieldSolver", reinterpret_cast<void*>(FieldSolverCallBack));
}
