#include "Host/FrequencyResponse.h"
#include "HostProgram/HostFixture.h"

#include <cmath>
#include <complex>

namespace lum::host {

namespace {

TEST(FrequencyResponse, agreesWithTheFormulaOfADelayedOneZeroFilter) {
    constexpr int kDelay = 300;
    std::vector<double> impulse(2048, 0.0);
    impulse[kDelay] = 0.5;
    impulse[kDelay + 1] = 0.25;
    ResponseRequest request;
    request.points = 50;
    for (const auto& point : responseOf(impulse, kDelay, request)) {
        const double omega = 2.0 * M_PI * point.frequencyHz / request.sampleRate;
        const auto expected = 0.5 + 0.25 * std::polar(1.0, -omega);
        EXPECT_NEAR(point.magnitudeDb, 20.0 * std::log10(std::abs(expected)), 1e-9);
        EXPECT_NEAR(point.phaseDegrees, std::arg(expected) * 180.0 / M_PI, 1e-9);
    }
}

TEST_F(HostFixture, theMeasuredPluginShowsItsGainAndNoPhase) {
    ASSERT_EQ(run("response --plugin '" LUM_TEST_PLUGIN "' --set Gain=-6dB --rate 44100 --points 5 "
                  "--channel 8 --csv"),
              0)
        << printed;
    std::istringstream lines(printed);
    std::string line;
    std::getline(lines, line);
    int rows = 0;
    for (; std::getline(lines, line); ++rows) {
        double hz = 0.0;
        double db = 0.0;
        double degrees = 1.0;
        ASSERT_EQ(std::sscanf(line.c_str(), "%lf,%lf,%lf", &hz, &db, &degrees), 3) << line;
        EXPECT_NEAR(db, -6.0, 1e-4);
        EXPECT_NEAR(degrees, 0.0, 1e-6);
    }
    EXPECT_EQ(rows, 5);
}

/// Whether all elements of the picture are closed in order and all its text is escaped.
bool isWellFormed(const std::string& xml) {
    std::vector<std::string> open;
    for (std::size_t at = xml.find('<'); at != std::string::npos; at = xml.find('<', at + 1)) {
        const std::size_t end = xml.find('>', at);
        const std::size_t next = xml.find('<', at + 1);
        if (end == std::string::npos || (next != std::string::npos && next < end)) return false;
        const std::string tag = xml.substr(at + 1, end - at - 1);
        const std::string name = tag.substr(0, tag.find(' '));
        if (name.starts_with('?') || tag.ends_with('/')) continue;
        if (!name.starts_with('/')) {
            open.push_back(name);
        } else if (open.empty() || "/" + open.back() != name) {
            return false;
        } else {
            open.pop_back();
        }
    }
    return open.empty() && xml.find("& ") == std::string::npos;
}

TEST_F(HostFixture, thePlotIsWellFormedAndFiniteWhateverTheResponse) {
    for (const char* settings :
         {"", "--set Mode=On", "--set Gain=1.0", "--set Trim=0 --rate 8000"}) {
        ASSERT_EQ(run("response --plugin '" LUM_TEST_PLUGIN "' " + std::string(settings) +
                      " --svg " + path("plot.svg")),
                  0)
            << printed;
        std::ifstream file(path("plot.svg"));
        const std::string svg((std::istreambuf_iterator<char>(file)), {});
        EXPECT_TRUE(isWellFormed(svg));
        EXPECT_EQ(svg.find("nan"), std::string::npos);
        EXPECT_EQ(svg.find("inf"), std::string::npos);
        EXPECT_NE(svg.find("Test \"Gain\" &lt;&amp;&gt;"), std::string::npos);
    }
}

TEST_F(HostFixture, infoAndBenchTellWhatTheyMeasured) {
    ASSERT_EQ(run("info --json --plugin '" LUM_TEST_PLUGIN "'"), 0) << printed;
    EXPECT_NE(printed.find("{\"sampleRate\": 48000, \"frames\": 100}"), std::string::npos);
    EXPECT_NE(printed.find("\"name\": \"Test \\\"Gain\\\" <&>\""), std::string::npos);
    ASSERT_EQ(run("info --plugin '" LUM_TEST_PLUGIN "'"), 0) << printed;
    EXPECT_NE(printed.find("asked 1 times what this host does not know"), std::string::npos);
    const std::string bench = "bench --plugin '" LUM_TEST_PLUGIN "' --seconds 0.05 --automate ";
    ASSERT_EQ(run(bench + "2 --against '" LUM_TEST_PLUGIN "'"), 0) << printed;
    EXPECT_NE(printed.find("moving: Gain Trim"), std::string::npos);
    EXPECT_NE(printed.find("ratio of the first to the second"), std::string::npos);
    EXPECT_EQ(run(bench + "3"), 1); // Mode is a switch
    const int closed = std::system("'" LUM_HOST_PROGRAM "' info --json --plugin '" LUM_TEST_PLUGIN
                                   "' >/dev/full 2>/dev/null");
    EXPECT_EQ(WEXITSTATUS(closed), 1) << "a result that nobody could write down";
}

} // namespace

} // namespace lum::host
