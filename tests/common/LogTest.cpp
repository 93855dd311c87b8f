#include "algorithmVeld/common/running/Log.h"

#include "algorithmVeld/common/running/ParallelFor.h"
#include "tests/support/log_capture.h"
#include "tests/support/standard_output.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <stdexcept>

using namespace OrvaneAlgorithm;
using veld_test::LogCapture;

namespace
{

/// Takes what the library's own log knows of steps away before and after.
class CleanSteps
{
public:
    CleanSteps() { gLH.clear_steps(); }
    ~CleanSteps()
    {
        gLH.set_step_observer({});
        gLH.clear_steps();
    }
    CleanSteps(CleanSteps const&) = delete;
    CleanSteps& operator=(CleanSteps const&) = delete;

    static nlohmann::json steps() { return nlohmann::json::parse(gLH.steps_as_json()); }
};

} // namespace

TEST(LogLine, IsLoggedOnlyWhileEnabled)
{
    LogCapture const log;
    detail::log_line(true, "  # faces:         %8d\n", 12);
    detail::log_line(false, "never %d\n", 1);
    detail::log_line(true, "finished %d text\n");
    detail::log_line(false, "never\n");
    EXPECT_EQ(log.text(), "  # faces:               12\nfinished %d text\n");
}

TEST(LogLine, IsCutOffAt511Bytes)
{
    LogCapture const log;
    detail::log_line(true, "%s", std::string(600, 'x').c_str());
    EXPECT_EQ(log.text(), std::string(511, 'x'));
}

TEST(ScopedStepTimer, EndsItsStepAlsoWhenAnExceptionLeavesTheScope)
{
    CleanSteps const clean;
    try
    {
        detail::StepTimer const timer("step");
        detail::StepTimer const inner("inner", "step");
        throw std::runtime_error("out");
    }
    catch (std::runtime_error const&)
    {
    }
    auto const steps = CleanSteps::steps();
    EXPECT_EQ(steps[0]["laps"], 1);
    EXPECT_EQ(steps[0]["running"], 0);
    EXPECT_EQ(steps[0]["children"][0]["name"], "inner");
    EXPECT_EQ(steps[0]["children"][0]["running"], 0);
}

TEST(ScopedStepTimer, HostCanCancelFromItsObserverAtTheStartAndAtTheEnd)
{
    CleanSteps const clean;
    for (bool const at_start : {true, false})
    {
        gLH.set_step_observer(
            [at_start](StepEvent const& event)
            {
                if (event.started == at_start)
                {
                    throw std::runtime_error("cancelled");
                }
            });
        EXPECT_THROW(detail::StepTimer("step"), std::runtime_error);
        EXPECT_THROW(
            detail::parallel_for_uneven(50, [](std::ptrdiff_t) { detail::StepTimer("hole"); }),
            std::runtime_error);
    }
    gLH.set_step_observer([](StepEvent const&) { throw std::runtime_error("at the end"); });
    gLH.set_step_observer({});
    for (auto const& step : CleanSteps::steps())
    {
        EXPECT_EQ(step["running"], 0);
    }
}

TEST(ScopedStepTimer, ExceptionOnItsWayWinsOverThatOfTheObserver)
{
    CleanSteps const clean;
    gLH.set_step_observer(
        [](StepEvent const& event)
        {
            if (!event.started)
            {
                throw std::logic_error("from the observer");
            }
        });
    EXPECT_THROW(
        {
            detail::StepTimer const timer("step");
            throw std::runtime_error("first");
        },
        std::runtime_error);
}

TEST(LogAndPrintLine, GivesTheSameTextToTheLogAndToStandardOutput)
{
    veld_test::LogCapture const log;
    std::string const printed = veld_test::output_of(
        []
        {
            detail::log_and_print_line(true, "100 %d percent\n");
            detail::log_and_print_line(true, "%d of %s\n", 3, "50 %d");
            detail::log_and_print_line(false, "nothing\n");
            detail::log_and_print_line(false, "%d\n", 4);
        });
    EXPECT_EQ(printed, "100 %d percent\n3 of 50 %d\n");
    EXPECT_EQ(log.text(), printed);
}

TEST(ParamHolder, LogSwitchIsUsedAndCopiedLikeABool)
{
    ParamHolder holder;
    holder.log_enabled = true;
    bool const on = holder.log_enabled;
    EXPECT_TRUE(on);
    EXPECT_TRUE(holder.log_enabled && !ParamHolder().log_enabled);
    EXPECT_EQ(holder.log_enabled, true);
    ParamHolder copy = holder;
    holder.log_enabled = false;
    EXPECT_TRUE(copy.log_enabled);
    copy = holder;
    EXPECT_FALSE(copy.log_enabled);
    copy.log_enabled = holder.log_enabled = true;
    EXPECT_TRUE(copy.log_enabled);
}

TEST(ParamHolder, HostSetsDirectoriesAndTheLogSwitch)
{
    ParamHolder holder;
    EXPECT_FALSE(holder.log_enabled);
    EXPECT_TRUE(holder.debug_dir.empty() && holder.result_dir.empty());
    holder.set_debug_dir("debug");
    holder.set_result_dir("result");
    holder.set_log_enabled(true);
    EXPECT_EQ(holder.debug_dir, "debug");
    EXPECT_EQ(holder.result_dir, "result");
    EXPECT_TRUE(holder.log_enabled);
}
