#include "algorithmVeld/common/LogHolder.h"

#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "tests/support/log_capture.h"
#include "tests/support/standard_output.h"
#include "tests/support/steps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <clocale>
#include <map>
#include <stdexcept>
#include <thread>

using namespace OrvaneAlgorithm;
using nlohmann::json;
using testing::HasSubstr;
using veld_test::outline;

namespace
{

/// A log with its text.
struct Log
{
    Log()
    {
        log.set_sink([this](std::string const& piece) { text += piece; });
    }
    LogHolder log;
    std::string text;
};

void lap(LogHolder& log, std::string const& step, std::string const& parent)
{
    log.startSpecStepTimer(step, parent);
    log.lapSpecStepTimer(step);
}

} // namespace

TEST(LogHolder, FinishedTextGoesToTheSinkAsItIs)
{
    Log l;
    l.log.print_log("find_marker_holes() ..\n");
    l.log.print_log("100 %d %s %n\n");
    l.log.print_log("");
    l.log.print_log(nullptr);
    EXPECT_EQ(l.text, "find_marker_holes() ..\n100 %d %s %n\n");
}

TEST(LogHolder, FormattedTextHasAnyLength)
{
    Log l;
    EXPECT_TRUE(l.log.LogPrintf("%d + %.2f = %s\n", 1, 0.5, "1.50"));
    EXPECT_TRUE(l.log.LogPrintf("%s", std::string(5000, 'x').c_str()));
    EXPECT_TRUE(l.log.LogPrintf("%s", "50 %d %s"));
    EXPECT_EQ(l.text, "1 + 0.50 = 1.50\n" + std::string(5000, 'x') + "50 %d %s");
    EXPECT_FALSE(l.log.LogPrintf(static_cast<char const*>(nullptr)));
}

TEST(LogHolder, WideTextReachesTheSinkAsUtf8)
{
    Log l;
    EXPECT_TRUE(l.log.LogPrintf(L"folder '%ls' has %d files\n", L"a", 3));
    EXPECT_EQ(l.text, "folder 'a' has 3 files\n");
    l.text.clear();
    EXPECT_TRUE(l.log.LogPrintf(L"\u00E4\u20AC\U0001F600%d", 1));
    EXPECT_EQ(l.text, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"
                      "1");
    l.text.clear();
    std::wstring const longer(3000, L'y');
    EXPECT_TRUE(l.log.LogPrintf(L"%ls", longer.c_str()));
    EXPECT_EQ(l.text, std::string(3000, 'y'));
    EXPECT_FALSE(l.log.LogPrintf(static_cast<wchar_t const*>(nullptr)));
}

TEST(LogHolder, WideTextHasLessThan2ToThe20Characters)
{
    Log l;
    std::wstring text((1U << 20U) - 1, L'z');
    EXPECT_TRUE(l.log.LogPrintf(L"%ls", text.c_str()));
    EXPECT_EQ(l.text, std::string(text.size(), 'z'));
    l.text.clear();
    text += L'z';
    EXPECT_FALSE(l.log.LogPrintf(L"%ls", text.c_str()));
    EXPECT_EQ(l.text, "");
}

TEST(LogHolder, WithoutASinkTextGoesToStandardOutput)
{
    LogHolder log;
    testing::internal::CaptureStdout();
    log.print_log("one\n");
    log.set_sink([](std::string const&) {});
    log.print_log("two\n");
    log.set_sink({});
    log.LogPrintf("%s", "three\n");
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one\nthree\n");
}

TEST(LogHolder, WhatIsPrintedPastTheLogGoesToItsOwnSink)
{
    Log log;
    std::string printed;
    log.log.set_print_sink([&](std::string const& piece) { printed += piece; });
    std::string const output = veld_test::output_of(
        [&]
        {
            log.log.print_past_log("50 %d\n");
            log.log.print_log("log\n");
        });
    EXPECT_EQ(printed, "50 %d\n");
    EXPECT_EQ(log.text, "log\n");
    EXPECT_EQ(output, "");
    log.log.set_print_sink({});
    EXPECT_EQ(veld_test::output_of([&] { log.log.print_past_log("again\n"); }), "again\n");
    EXPECT_EQ(printed, "50 %d\n");
}

TEST(LogHolder, WithoutSinksLogAndPrintsShareStandardOutputInOrder)
{
    LogHolder log;
    EXPECT_EQ(veld_test::output_of(
                  [&]
                  {
                      log.print_past_log("a");
                      log.print_log("b");
                      log.print_past_log("c");
                  }),
              "abc");
}

TEST(LogHolder, TheTwoSinksAreNeverCalledAtOnce)
{
    LogHolder log;
    std::string both;
    auto const add = [&](std::string const& piece) { both += piece; };
    log.set_sink(add);
    log.set_print_sink(add);
    detail::parallel_for_even(2000,
                              [&](std::ptrdiff_t i) {
                                  i % 2 == 0 ? log.print_log("log\n") : log.print_past_log("out\n");
                              });
    EXPECT_EQ(both.size(), 8000U);
    for (std::size_t i = 0; i < both.size(); i += 4)
    {
        ASSERT_TRUE(both.compare(i, 4, "log\n") == 0 || both.compare(i, 4, "out\n") == 0) << i;
    }
}

TEST(LogHolder, LinesOfParallelRegionsStayWhole)
{
    Log l;
    detail::parallel_for_uneven(2000, [&](std::ptrdiff_t i)
                                { l.log.LogPrintf("line %d.\n", static_cast<int>(i)); });
    std::map<std::string, int> lines;
    std::istringstream stream(l.text);
    for (std::string line; std::getline(stream, line);)
    {
        ++lines[line];
    }
    EXPECT_EQ(lines.size(), 2000U);
    for (int i = 0; i < 2000; ++i)
    {
        EXPECT_EQ(lines["line " + std::to_string(i) + "."], 1);
    }
}

TEST(LogHolder, WhatTheSinkThrowsReachesTheCaller)
{
    LogHolder log;
    log.set_sink([](std::string const&) { throw std::runtime_error("enough"); });
    EXPECT_THROW(log.print_log("text"), std::runtime_error);
    EXPECT_THROW(log.LogPrintf("%d", 1), std::runtime_error);
    EXPECT_THROW(detail::parallel_for_uneven(100, [&](std::ptrdiff_t) { log.print_log("text"); }),
                 std::runtime_error);
    EXPECT_THROW(detail::parallel_for_even(100, [&](std::ptrdiff_t) { log.print_log("text"); }),
                 std::runtime_error);
    log.set_sink([](std::string const&) {});
    log.print_log("and the log is not locked");
}

TEST(FormatLine, FormatsInto512BytesAndCutsOffWhatIsLonger)
{
    char buffer[512];
    EXPECT_EQ(format_line(buffer, "%s has %4d", "it", 7), 11);
    EXPECT_STREQ(buffer, "it has    7");
    EXPECT_EQ(format_line(buffer, "%s", std::string(511, 'a').c_str()), 511);
    EXPECT_EQ(std::string(buffer), std::string(511, 'a'));
    EXPECT_EQ(format_line(buffer, "%s", std::string(512, 'b').c_str()), 512);
    EXPECT_EQ(std::string(buffer), std::string(511, 'b'));
    EXPECT_EQ(format_line(buffer, "%s", std::string(100000, 'c').c_str()), 100000);
    EXPECT_EQ(std::string(buffer), std::string(511, 'c'));
    EXPECT_EQ(format_line(buffer, "%s", "50 %s %d %n"), 11);
    EXPECT_STREQ(buffer, "50 %s %d %n");
}

TEST(StepTimers, StepsStandUnderTheirParentsInOrderOfTheirFirstStart)
{
    LogHolder log;
    EXPECT_EQ(log.steps_as_json(), "[]");
    log.startSpecStepTimer("mesh-merge", "");
    lap(log, "rge-to-mesh", "mesh-merge");
    lap(log, "border-stitch", "mesh-merge");
    lap(log, "rge-to-mesh", "mesh-merge");
    log.lapSpecStepTimer("mesh-merge");
    lap(log, "segment-stick", "");
    EXPECT_EQ(outline(log), "mesh-merge(rge-to-mesh border-stitch) segment-stick");
    json const steps = json::parse(log.steps_as_json());
    EXPECT_EQ(steps[0]["laps"], 1);
    EXPECT_EQ(steps[0]["running"], 0);
    EXPECT_EQ(steps[0]["children"][0]["laps"], 2);
}

TEST(StepTimers, TotalIsTheSumOverTheLapsAndIsReportedUnderTheParent)
{
    LogHolder log;
    std::vector<double> laps;
    log.set_step_observer(
        [&](StepEvent const& event)
        {
            if (!event.started && event.step == "child")
            {
                laps.push_back(event.seconds);
            }
        });
    log.startSpecStepTimer("parent", "");
    for (int i = 0; i < 3; ++i)
    {
        log.startSpecStepTimer("child", "parent");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        log.lapSpecStepTimer("child");
    }
    log.lapSpecStepTimer("parent");
    ASSERT_EQ(laps.size(), 3U);
    json const parent = json::parse(log.steps_as_json())[0];
    double const total = parent["children"][0]["seconds"];
    EXPECT_NEAR(total, laps[0] + laps[1] + laps[2], 1e-8);
    EXPECT_GE(total, 0.015);
    EXPECT_GE(parent["seconds"].get<double>(), total);

    std::string const report = log.report_steps();
    EXPECT_THAT(report, testing::MatchesRegex("parent +1 +[0-9.]+ s\n  child +3 +[0-9.]+ s\n"));
}

TEST(StepTimers, LapWithoutAStartIsIgnored)
{
    LogHolder log;
    log.lapSpecStepTimer("never");
    EXPECT_EQ(log.steps_as_json(), "[]");
    lap(log, "once", "");
    log.lapSpecStepTimer("once");
    EXPECT_EQ(json::parse(log.steps_as_json())[0]["laps"], 1);
}

TEST(StepTimers, LapInAnotherThreadEndsTheLastStepOfThatName)
{
    LogHolder log;
    std::vector<StepEvent> ends;
    log.set_step_observer(
        [&](StepEvent const& event)
        {
            if (!event.started)
            {
                ends.push_back(event);
            }
        });
    log.startSpecStepTimer("job", "first");
    log.startSpecStepTimer("job", "second");
    log.startSpecStepTimer("other", "");
    std::thread([&] { log.lapSpecStepTimer("job"); }).join();
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends[0].parent, "second");
    std::thread([&] { log.lapSpecStepTimer("job"); }).join();
    ASSERT_EQ(ends.size(), 2U);
    EXPECT_EQ(ends[1].parent, "first");
    std::thread([&] { log.lapSpecStepTimer("job"); }).join();
    EXPECT_EQ(ends.size(), 2U) << "nothing of that name runs any more";
    json const steps = json::parse(log.steps_as_json());
    EXPECT_EQ(steps[0]["running"], 0);
    EXPECT_EQ(steps[2]["running"], 1) << "the other step still runs";
}

TEST(StepTimers, OwnStepEndsBeforeALaterOneOfAnotherThread)
{
    LogHolder log;
    log.startSpecStepTimer("job", "mine");
    std::thread([&] { log.startSpecStepTimer("job", "theirs"); }).join();
    log.lapSpecStepTimer("job");
    json const steps = json::parse(log.steps_as_json());
    EXPECT_EQ(steps[0]["running"], 0);
    EXPECT_EQ(steps[1]["running"], 1);
}

TEST(StepTimers, StepWithoutALapStaysRunningAndHindersNothing)
{
    LogHolder log;
    log.startSpecStepTimer("left", "");
    for (int i = 0; i < 3; ++i)
    {
        lap(log, "left", "");
        lap(log, "other", "left");
    }
    json const steps = json::parse(log.steps_as_json());
    EXPECT_EQ(outline(steps), "left(other)");
    EXPECT_EQ(steps[0]["laps"], 3);
    EXPECT_EQ(steps[0]["running"], 1);
    EXPECT_EQ(steps[0]["children"][0]["laps"], 3);
}

TEST(StepTimers, StepOfAnUnknownParentStandsAtTheTop)
{
    LogHolder log;
    lap(log, "Ball-Pivoting-Radius:1.5", "Ball-Pivoting");
    EXPECT_EQ(outline(log), "Ball-Pivoting-Radius:1.5");
    EXPECT_THAT(log.report_steps(), HasSubstr("Ball-Pivoting-Radius:1.5"));
}

TEST(StepTimers, ParentThatStartsAfterItsChildTakesIt)
{
    LogHolder log;
    lap(log, "child", "parent");
    lap(log, "parent", "");
    EXPECT_EQ(outline(log), "parent(child)");
    lap(log, "child", "parent");
    json const steps = json::parse(log.steps_as_json());
    EXPECT_EQ(outline(steps), "parent(child)");
    EXPECT_EQ(steps[0]["children"][0]["laps"], 2);
}

TEST(StepTimers, StepsThatNameEachOtherMakeNoCircle)
{
    LogHolder log;
    for (int i = 0; i < 100; ++i)
    {
        log.startSpecStepTimer("a", "b");
        log.startSpecStepTimer("b", "a");
        log.startSpecStepTimer("self", "self");
    }
    json const steps = json::parse(log.steps_as_json());
    EXPECT_EQ(outline(steps), "a(b) self");
    EXPECT_EQ(steps[0]["running"], 100);
    EXPECT_EQ(steps[0]["children"][0]["running"], 100);
    std::string const report = log.report_steps();
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 3);
}

TEST(StepTimers, ChildBelongsToTheParentThatRuns)
{
    LogHolder log;
    for (std::string const top : {"holes-filling", "marker-holes-filling"})
    {
        log.startSpecStepTimer(top, "");
        log.startSpecStepTimer("process-holes", top);
        lap(log, "hole_refinement", "process-holes");
        log.lapSpecStepTimer("process-holes");
        log.lapSpecStepTimer(top);
    }
    EXPECT_EQ(outline(log), "holes-filling(process-holes(hole_refinement)) "
                            "marker-holes-filling(process-holes(hole_refinement))");
}

TEST(StepTimers, NestedLapsOfOneStepEndFromWithin)
{
    LogHolder log;
    log.startSpecStepTimer("step", "");
    log.startSpecStepTimer("step", "");
    log.lapSpecStepTimer("step");
    EXPECT_EQ(json::parse(log.steps_as_json())[0]["running"], 1);
    log.lapSpecStepTimer("step");
    json const step = json::parse(log.steps_as_json())[0];
    EXPECT_EQ(step["running"], 0);
    EXPECT_EQ(step["laps"], 2);
}

TEST(StepTimers, ClearingForgetsEverythingAlsoWhatRuns)
{
    LogHolder log;
    log.startSpecStepTimer("step", "");
    log.clear_steps();
    log.lapSpecStepTimer("step");
    EXPECT_EQ(log.steps_as_json(), "[]");
    EXPECT_EQ(log.report_steps(), "");
}

TEST(StepTimers, ParallelRegionsTimeStepsAtTheSameTime)
{
    LogHolder log;
    log.startSpecStepTimer("process-holes", "");
    detail::parallel_for_uneven(1000,
                                [&](std::ptrdiff_t i)
                                {
                                    std::string const step = i % 2 == 0 ? "even" : "odd";
                                    log.startSpecStepTimer(step, "process-holes");
                                    lap(log, "inner", step);
                                    log.lapSpecStepTimer(step);
                                });
    log.lapSpecStepTimer("process-holes");
    json const steps = json::parse(log.steps_as_json());
    ASSERT_EQ(steps.size(), 1U);
    ASSERT_EQ(steps[0]["children"].size(), 2U);
    for (auto const& child : steps[0]["children"])
    {
        EXPECT_EQ(child["laps"], 500);
        EXPECT_EQ(child["running"], 0);
        ASSERT_EQ(child["children"].size(), 1U);
        EXPECT_EQ(child["children"][0]["laps"], 500);
    }
}

TEST(StepTimers, JsonIsValidForAnyNameAndAnyLocale)
{
    LogHolder log;
    std::string const names[] = {"quote\" back\\slash\n\t\x01", "\xC3\xA4\xE2\x82\xAC",
                                 std::string("nul\0inside", 10)};
    for (auto const& name : names)
    {
        lap(log, name, "");
    }
    lap(log, "bad \xFF\xC3 \xED\xA0\x80 \xC0\xAF \xF0\x9F", "");
    char const* const before = std::setlocale(LC_NUMERIC, nullptr);
    std::string const saved = before == nullptr ? "C" : before;
    bool const comma = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    json const steps = json::parse(log.steps_as_json());
    std::string const report = log.report_steps();
    std::setlocale(LC_NUMERIC, saved.c_str());
    for (size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(steps[i]["name"], names[i]);
    }
    std::string const r = "\xEF\xBF\xBD";
    EXPECT_EQ(steps[3]["name"], "bad " + r + r + " " + r + r + r + " " + r + r + " " + r + r);
    EXPECT_EQ(report.find(','), std::string::npos) << "locale with a comma set: " << comma;
}

TEST(StepTimers, ObserverHearsOfStartsAndEnds)
{
    LogHolder log;
    std::vector<StepEvent> events;
    log.set_step_observer([&](StepEvent const& event) { events.push_back(event); });
    log.startSpecStepTimer("outer", "");
    lap(log, "inner", "outer");
    log.lapSpecStepTimer("outer");
    log.lapSpecStepTimer("outer");
    log.set_step_observer({});
    lap(log, "unheard", "");
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events[0].step, "outer");
    EXPECT_TRUE(events[0].started);
    EXPECT_EQ(events[1].parent, "outer");
    EXPECT_EQ(events[2].step, "inner");
    EXPECT_FALSE(events[2].started);
    EXPECT_EQ(events[2].parent, "outer");
    EXPECT_GE(events[3].seconds, events[2].seconds);
}

TEST(StepTimers, ObserverMayLogAndAskForTheReport)
{
    Log l;
    l.log.set_step_observer(
        [&](StepEvent const& event)
        {
            l.log.print_log((event.step + (event.started ? " starts\n" : " ends\n")).c_str());
            EXPECT_FALSE(!event.started && l.log.report_steps().empty());
        });
    lap(l.log, "step", "");
    EXPECT_EQ(l.text, "step starts\nstep ends\n");
}

TEST(StepTimers, WhatTheObserverThrowsReachesTheCallerAndLeavesTheStepsInOrder)
{
    LogHolder log;
    bool at_start = true;
    log.set_step_observer(
        [&](StepEvent const& event)
        {
            if (event.started == at_start)
            {
                throw std::runtime_error("cancelled");
            }
        });
    EXPECT_THROW(log.startSpecStepTimer("step", ""), std::runtime_error);
    EXPECT_EQ(log.steps_as_json(), "[]");
    at_start = false;
    log.startSpecStepTimer("step", "");
    EXPECT_THROW(log.lapSpecStepTimer("step"), std::runtime_error);
    EXPECT_EQ(json::parse(log.steps_as_json())[0]["running"], 0);
}
