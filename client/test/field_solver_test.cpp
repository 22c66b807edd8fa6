// Components given by network data, between a client and a real engine process, whose kernel asks what the test says.

#include "engine_process.h"

#include <cmath>
#include <iomanip>

namespace {

// A client that answers as the test says, and writes down what it was asked.
struct Data final : kelda::SolutionInterface {
    HRESULT GetFieldSolverData(BSTR design, BSTR instance, BSTR type, BSTR flag, BSTR parameters,
                               BSTR frequencies, BSTR* netwData, std::int32_t* msg) override {
        for (BSTR text : {design, instance, type, flag, parameters, frequencies})
            asked.push_back(std::string(AString(text, SysStringLen(text)).ToNarrow(kEncodingUtf8)));
        if (*netwData || *msg != 0)
            asked.push_back("not empty");
        if (onAsked)
            onAsked();
        if (hasReply)
            *netwData = UniqueBstr(AString(reply)).Release();
        *msg = code;
        return result;
    }
    std::string reply;
    bool hasReply = true;
    std::int32_t code = 0;
    HRESULT result = S_OK;
    std::function<void()> onAsked;
    std::vector<std::string> asked;
};

struct Point {
    double frequency;
    std::vector<double> elements; // real
};

// A solution in the compact form, with real matrices and one impedance for all ports (none for 0).
std::string Solution(int type, double ohms, const std::vector<Point>& points) {
    std::ostringstream text;
    text << std::setprecision(17) << "$begin 'SolutionData'\nA(1, " << type << ", 'test', 0)\n$begin 'Ps'\n";
    const auto n = static_cast<std::size_t>(std::lround(std::sqrt(points.at(0).elements.size())));
    for (std::size_t row = 0; row < n; ++row)
        text << "p('P" << row << "', 't', 'P" << row << "', 1, 'm', 't', " << row << ")\n";
    text << "$end 'Ps'\n$begin 'Fs'\n";
    for (const Point& point : points) {
        text << "f(" << point.frequency << ", 1, 0, 0, 0, " << (ohms > 0 ? 1 : 0) << ", 0";
        for (std::size_t i = 0; i < point.elements.size(); ++i) {
            if (ohms > 0 && i % n == 0)
                text << ", " << ohms << ", 0";
            text << ", " << point.elements[i] << ", 0";
        }
        text << ")\n";
    }
    text << "$end 'Fs'\n$end 'SolutionData'\n";
    return text.str();
}

// A resistor in series between two ports.
Point Series(double frequency, double resistor, double ohms) {
    const double d = resistor + 2 * ohms, s11 = resistor / d, s21 = 2 * ohms / d;
    return {frequency, {s11, s21, s21, s11}};
}

// What a request is to give: the frequencies with the real matrices, without an imaginary part.
std::vector<double> Numbers(const std::vector<Point>& points) {
    std::vector<double> numbers;
    for (const Point& point : points) {
        numbers.push_back(point.frequency);
        for (double element : point.elements)
            numbers.insert(numbers.end(), {element, 0});
    }
    return numbers;
}

class FieldSolverTest : public EngineProcessTest {
protected:
    Calls Ask(InterfacePtr<Data> data, const std::string& commands) {
        auto client = Recorder::New();
        EXPECT_EQ(Start(client.Get(), commands, nullptr, data.Get()), S_OK);
        EXPECT_TRUE(client->WaitDone());
        return client->Calls();
    }
    static InterfacePtr<Data> With(std::string reply) {
        auto data = InterfacePtr<Data>::Adopt(new Data);
        data->reply = std::move(reply);
        return data;
    }
    static void ExpectNumbers(const Calls& calls, const std::vector<Point>& points, double tolerance) {
        const auto expected = Numbers(points);
        ASSERT_EQ(calls.size(), 2u) << testing::PrintToString(calls);
        std::istringstream text(calls[0]);
        std::string message, severity, field;
        int result = -1;
        std::size_t count = 0;
        text >> message >> severity >> field >> result >> count;
        EXPECT_EQ(result, 0) << calls[0];
        ASSERT_EQ(count, expected.size());
        for (double number : expected) {
            double value = 7e77;
            text >> value;
            EXPECT_NEAR(value, number, tolerance * std::max(1.0, std::fabs(number))) << calls[0];
        }
    }
};

constexpr int kNone = 0, kAdaptive = 1, kNeville = 4;

TEST_F(FieldSolverTest, TheKernelGetsTheCallbackOnlyWhereTheClientHasData) {
    const std::string without =
        "message 2 SystemCosimSource SystemCosimPort SystemCosimPortFlush KPT_COSIM_CALLBACK ";
    EXPECT_EQ(Run("names")[0], without);
    DropEngine();
    EXPECT_EQ(Ask(With(""), "names").at(0), without + "FieldSolver ");
}

TEST_F(FieldSolverTest, TheClientIsAskedOnceForAllFrequenciesWithSixteenDigits) {
    auto data = With(Solution(kNeville, 50, {Series(1e9, 100, 50)}));
    Ask(data, "field band N1 w=0.3m 27 1e9 1000000000.1234567 0.1");
    ASSERT_EQ(data->asked.size(), 6u);
    EXPECT_EQ(Calls(data->asked.begin(), data->asked.end() - 1),
              (Calls{"band", "N1", "EMFastSweep", "0", "w=0.3m"}));
    std::vector<double> frequencies;
    std::string text = data->asked.back();
    std::replace(text.begin(), text.end(), ',', ' ');
    std::istringstream words(text);
    for (double frequency; words >> frequency;)
        frequencies.push_back(frequency);
    EXPECT_EQ(frequencies, (std::vector{1e9, 1000000000.123457, 0.1})) << data->asked.back();
}

TEST_F(FieldSolverTest, EveryPortIsReferredToFiftyOhm) {
    struct Row {
        const char* what;
        std::string reply;
        const char* frequencies;
        std::vector<Point> points;
        double tolerance;
    };
    // An interpolated matrix is renormalised as the others are. The resistor rises along a line, so that S is a rational function.
    const std::vector<Point> line = {Series(1e9, 100, 75), Series(2e9, 200, 75), Series(3e9, 300, 75),
                                     Series(4e9, 400, 75)};
    const auto at50 = [](double frequency) { return Series(frequency, frequency * 1e-7, 50); };
    const Row rows[] = {
        {"held and between", Solution(kNeville, 75, line), "2e9 2.5e9", {at50(2e9), at50(2.5e9)}, 1e-9},
        {"no type means Neville", Solution(kNone, 75, line), "1.5e9 3e9", {at50(1.5e9), at50(3e9)}, 1e-9},
        {"outside, and in the kernel's order",
         Solution(kNeville, 75, line),
         "5e9 0.5e9 1e9",
         {at50(5e9), at50(0.5e9), at50(1e9)},
         1e-9},
        {"one frequency twice", Solution(kAdaptive, 75, line), "3e9 3e9", {at50(3e9), at50(3e9)}, 1e-14},
        {"the kernel's own frequency stands in the answer",
         Solution(kAdaptive, 75, line),
         "1000000000.5",
         {Series(1000000000.5, 100, 50)},
         1e-14},
        {"one port", Solution(kAdaptive, 75, {{1e9, {-0.2}}}), "1e9", {{1e9, {0}}}, 1e-14},
        {"data that state no reference stay as they are",
         Solution(kAdaptive, 0, {{1e9, {0.25, 0.5, 0.5, 0.25}}}),
         "1e9",
         {{1e9, {0.25, 0.5, 0.5, 0.25}}},
         0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const auto capacity = std::to_string(Numbers(row.points).size());
        ExpectNumbers(Ask(With(row.reply), "field d N1 - " + capacity + " " + row.frequencies), row.points,
                      row.tolerance);
    }
}

TEST_F(FieldSolverTest, ANetworkThatTheWayThroughAdmittancesChangesIsToldWithTheAnswer) {
    const double third = 1.0 / 3;
    const std::vector<double> through = {0, 1, 1, 0}, open = {1, 0, 0, 1};
    struct Row {
        const char* what;
        double ohms;
        std::vector<Point> points;
        const char* words; // empty: nothing is posted
    };
    const Row rows[] = {
        {"through", 50, {{1e9, through}, {2e9, {0.5, 0.5, 0.5, 0.5}}}, "at 1000000000 Hz the network"},
        {"throughs", 75, {{1e9, through}, {2e9, through}}, "at 2 frequencies from 1000000000 Hz on the"},
        {"short", 75, {{1e9, {-1}}, {2e9, {0}}}, "at 1000000000 Hz the network"},
        {"tee, singular but for rounding",
         75,
         {{1e9, {-third, 2 * third, 2 * third, 2 * third, -third, 2 * third, 2 * third, 2 * third, -third}},
          {2e9, {0, 0, 0, 0, 0, 0, 0, 0, 0}}},
         "at 1000000000 Hz the network"},
        {"open", 75, {{1e9, open}, {2e9, open}}, ""},
        {"through without a reference", 0, {{1e9, through}, {2e9, through}}, ""},
        {"ordinary", 75, {Series(1e9, 1e-3, 75), Series(2e9, 100, 75)}, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Calls calls = Ask(With(Solution(kAdaptive, row.ohms, row.points)), "field d N1 - 100 1e9 2e9");
        const bool isTold = *row.words;
        ASSERT_EQ(calls.size(), isTold ? 3u : 2u) << testing::PrintToString(calls);
        if (isTold) {
            EXPECT_TRUE(
                calls[0].starts_with(std::string("message 0 Network data of N1 (design d): ") + row.words))
                << calls[0];
        }
        EXPECT_TRUE(calls[isTold].starts_with("message 2 field 0 ")) << calls[isTold];
    }
}

TEST_F(FieldSolverTest, AKernelWithTooLittleRoomIsToldHowMuchItNeeds) {
    const std::string reply = Solution(kAdaptive, 50, {Series(1e9, 100, 50), Series(2e9, 200, 50)});
    struct Row {
        const char* capacity;
        const char* said;
    };
    for (const Row& row : {Row{"17", "field 2 18 untouched"}, Row{"0", "field 2 18 untouched"},
                           Row{"-5", "field 2 18 untouched"}}) {
        auto data = With(reply);
        const auto ask = std::string("field d N1 - ") + row.capacity + " 1e9 2e9";
        EXPECT_EQ(Ask(data, ask + "; field d N1 - 18 1e9 2e9")[0], std::string("message 2 ") + row.said);
        EXPECT_EQ(data->asked.size(), 12u) << "nothing is kept between two requests";
    }
    const Calls calls = Ask(With(reply), "field d N1 - 18 1e9 2e9");
    EXPECT_TRUE(calls[0].starts_with("message 2 field 0 18 1000000000 ")) << calls[0];
}

TEST_F(FieldSolverTest, EachFailureHasItsCodeAndTheOnesOfTheReplyAreToldInWords) {
    const std::string good = Solution(kAdaptive, 50, {Series(1e9, 100, 50)});
    const std::string fault = " No network data for N1 (design d): ";
    const auto without = [&good](const char* part) {
        std::string text = good;
        text.erase(text.find(part), std::string_view(part).size());
        return text;
    };
    struct Row {
        const char* what;
        std::function<void(Data&)> set;
        const char* frequencies;
        int code;
        std::string words; // empty: nothing is posted
    };
    const auto reply = [](std::string text) { return [text](Data& data) { data.reply = text; }; };
    const Row rows[] = {
        {"the client's failure", [](Data& data) { data.code = 77; }, "1e9", 77, ""},
        {"a negative one, with data",
         [&](Data& data) {
             data.reply = good;
             data.code = -3;
         },
         "1e9", -3, ""},
        {"no data", [](Data& data) { data.hasReply = false; }, "1e9", 1, ""},
        {"an empty reply", reply(""), "1e9", 3, "the reply is damaged: "},
        {"something else", reply("once upon a time\n"), "1e9", 3, "the reply"},
        {"an unknown class", reply("$begin 'SolutionData'\nObjectType='None'\n$end 'SolutionData'\n"), "1e9",
         3, "the reply holds no solution"},
        {"a damaged line", reply(without("('P1'")), "1e9", 3, "the reply is damaged: Ps:5: "},
        {"cut off", reply(good.substr(0, good.size() - 30)), "1e9", 3, "the reply ends within a block"},
        {"no points", reply("$begin 'S'\nA(1, 4, 'x', 0)\n$end 'S'\n"), "1e9", 4,
         "the reply holds no data, and none can be interpolated, at 1000000000 Hz"},
        {"a frequency that can't be interpolated", reply(good), "1e9 2.5e9", 4,
         "the reply holds no data, and none can be interpolated, at 2500000000 Hz"},
        {"no scattering matrix",
         reply("$begin 'S'\nA(1, 1, 'x', 0)\n$begin 'Ps'\np('a', 't', 'a', 1, 'm', 't', 0)\n$end 'Ps'\n"
               "$begin 'Fs'\nf(1e9, 0, 1, 0, 0, 0, 0, 1, 0)\n$end 'Fs'\n$end 'S'\n"),
         "1e9", 4, "the reply holds no scattering matrix at 1000000000 Hz"},
        {"no number", reply(good), "nan", 4, "the simulation asked for a frequency that is no number"},
        {"no frequencies", reply(good), "", 5, "the simulation asked for no frequency"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        auto data = With("");
        row.set(*data);
        Calls calls = Ask(data, std::string("field d N1 - 18 ") + row.frequencies);
        if (!row.words.empty()) {
            ASSERT_EQ(calls.size(), 3u) << testing::PrintToString(calls);
            EXPECT_TRUE(calls[0].starts_with((row.code == 4 ? "message 0" : "message 1") + fault + row.words))
                << calls[0];
            calls.erase(calls.begin());
        }
        EXPECT_EQ(calls, (Calls{"message 2 field " + std::to_string(row.code) + " 0 untouched", "done 0"}));
    }
}

TEST_F(FieldSolverTest, ACallThatFailsIsNoDataAndToldWithTheSystemsWords) {
    auto data = With("anything");
    data->result = E_ACCESSDENIED;
    const Calls calls = Ask(data, "field d N1 - 9 1e9");
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_TRUE(calls[0].starts_with("message 1 ")) << calls[0];
    EXPECT_EQ(calls[1], "message 2 field 1 0 untouched");
}

TEST_F(FieldSolverTest, ALongReplyArrivesWhole) {
    // 100 MB in units of two bytes, most of it in one remark.
    std::string reply = Solution(kAdaptive, 75, {Series(1e9, 100, 75)});
    reply.insert(reply.find('\n'), " !" + std::string(50'000'000, 'x'));
    ExpectNumbers(Ask(With(std::move(reply)), "field d N1 - 9 1e9"), {Series(1e9, 100, 50)}, 1e-14);
}

TEST_F(FieldSolverTest, AnEngineThatDiesWhileItsClientLooksForDataIsReported) {
    auto client = Recorder::New();
    auto data = With(Solution(kAdaptive, 50, {Series(1e9, 100, 50)}));
    data->onAsked = [this] { kill(EngineProcess(), SIGKILL); };
    ASSERT_EQ(Start(client.Get(), "field d N1 - 9 1e9", nullptr, data.Get()), S_OK);
    EXPECT_TRUE(Eventually([&] { return Lost().size() == 1; }));
    EXPECT_EQ(Lost().at(0).signal, SIGKILL);
    EXPECT_FALSE(client->IsDone());
    data->onAsked = nullptr;
    ExpectNumbers(Ask(data, "field d N1 - 9 1e9"), {Series(1e9, 100, 50)}, 1e-14);
}

} // namespace
