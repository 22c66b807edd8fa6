// A component's data on its way from the client's reply to the kernel's array, against RapidJSON's parse of the same numbers
// alone: the reply is read, made a solution, referred to 50 ohm and copied. The client and the channel take no part: the reply
// is there when it is asked for. A figure is the median of the processor's time of ours over that of the other's, by turns in
// one run. `field_solver_bench [rounds]`.
#include "allocation_count.h"
#include "measure.h"

#include <engine/field_solver_bridge.h>

#include <sparamlib/network_modal_solution.h>
#include <sparamlib/solution_factory.h>
#include <streamio/block.h>
#include <streamio/delimiter_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>
#include <time.h>
#include <vector>

namespace {

int gRounds = 15;

// Hands out a reply that was laid ready.
struct Client final : platform::CountedObject<IKeldaSolutionInterface> {
    HRESULT GetFieldSolverData(BSTR, BSTR, BSTR, BSTR, BSTR, BSTR, BSTR* netwData, std::int32_t*) override {
        *netwData = reply.Release();
        return S_OK;
    }
    HRESULT GetNetlistSolverData(BSTR, BSTR, BSTR, BSTR*, std::int32_t*) override { return E_NOTIMPL; }
    platform::UniqueBstr reply;
};

struct Data {
    AString reply;
    std::string json;
    std::vector<double> frequencies;
};

Data Make(int ports, int points, double ohms) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> element(-0.6 / ports, 0.6 / ports);
    CNetworkModalSolution solution;
    std::vector<CMatrixEntry*> entries;
    for (int port = 0; port < ports; ++port)
        entries.push_back(new CMatrixEntry(AString(fmt::format("P{}", port)), port));
    solution.SetMatrixEntries(entries, false);
    Data data;
    data.json = "[";
    const auto put = [&data](double number) { data.json += fmt::format("{:.17g},", number); };
    ComplexVector z(ports, Complex(ohms));
    for (int i = 0; i < points; ++i) {
        data.frequencies.push_back(1e9 + 1e6 * i);
        put(data.frequencies.back());
        auto* point = static_cast<CNetworkModalData*>(solution.AddData(data.frequencies.back()));
        ComplexMatrix s(ports, ports);
        for (int k = 0; k < s.Size(); ++k) {
            s.Data()[k] = {element(random), element(random)};
            put(s.Data()[k].re);
            put(s.Data()[k].im);
        }
        for (int k = 0; k < ports; ++k) {
            put(z[k].re);
            put(z[k].im);
        }
        point->SetSMatrix(&s, true);
        point->SetPortImpedance(&z, true);
    }
    data.json.back() = ']';
    io::CBlock block(solution.GetBlockName());
    Require(solution.WriteToBlock(block, false));
    io::CToken_ostring s(0, false, &io::DefaultDelimiterGrammar());
    s.SetPrecision(17);
    block.Write(s);
    data.reply = s.TakeText();
    return data;
}

void Compare(int ports, int points) {
    const Data data = Make(ports, points, 75);
    auto client = platform::InterfacePtr<Client>::Adopt(new Client);
    const FieldSolverBridge::Request request{"design", "N1", "", data.frequencies};
    std::vector<double> out(data.frequencies.size() * static_cast<std::size_t>(1 + 2 * ports * ports));
    std::vector<double> ours, theirs, parse, solve, renormalise, release;
    std::size_t allocations = 0;
    for (int round = 0; round < gRounds; ++round) {
        client->reply = platform::UniqueBstr(data.reply);
        const std::size_t before = Allocations();
        ours.push_back(1e3 * Seconds([&] {
                           int count = 0;
                           Require(FieldSolverBridge(*client).Answer(request, out, count) ==
                                   FieldSolverBridge::kGood);
                           Require(count == static_cast<int>(out.size()));
                       }));
        allocations = Allocations() - before;
        theirs.push_back(1e3 * Seconds([&] {
                             rapidjson::Document json;
                             json.Parse<rapidjson::kParseFullPrecisionFlag>(data.json.c_str());
                             Require(!json.HasParseError());
                         }));

        // The parts of ours.
        auto block = std::make_unique<io::CBlock>();
        parse.push_back(1e3 * Seconds([&] {
                            io::CToken_istring s(io::CToken_istring::InPlace{data.reply},
                                                 &io::DefaultDelimiterGrammar(), io::kDropSourceText);
                            block->Read(s);
                        }));
        std::unique_ptr<CNetworkDataSolution> solution;
        solve.push_back(1e3 * Seconds([&] { solution = CreateNetworkSolution(*block); }));
        const ComplexVector fifties(ports, Complex(50));
        renormalise.push_back(1e3 * Seconds([&] { Require(solution->RenormalizePorts(fifties, true)); }));
        release.push_back(1e3 * Seconds([&] { block.reset(); }));
    }
    const double base = Best(theirs);
    fmt::print(
        "{:>3} ports at {:>5} frequencies {:>8.2f} ms   RapidJSON {:>7.2f} ms   ratio {:.2f}, of the best "
        "{:.2f}: parse "
        "{:.2f}, solution {:.2f}, renormalise {:.2f}, tree's release {:.2f}   {:.1f} MB of text, {:.3f} "
        "allocations a number\n",
        ports, points, Median(ours), Median(theirs), Median(ours) / Median(theirs), Best(ours) / base,
        Best(parse) / base, Best(solve) / base, Best(renormalise) / base, Best(release) / base,
        2e-6 * static_cast<double>(data.reply.size()),
        static_cast<double>(allocations) / static_cast<double>(out.size()));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        gRounds = std::max(1, std::atoi(argv[1]));
    Compare(2, 10001);
    Compare(4, 1001);
    Compare(16, 1001);
    Compare(64, 101);
}
