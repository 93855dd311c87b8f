#include "algorithmVeld/common/ScopeTimer.h"

#include "tests/support/log_capture.h"
#include "tests/support/standard_output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <string>

using namespace OrvaneAlgorithm;
using testing::MatchesRegex;
using veld_test::output_of;

TEST(ScopeTimer, PrintsItsNameAtTheStartAndTheTimeAtTheEnd)
{
    veld_test::LogCapture const log(false);
    std::string middle;
    std::string const text = output_of(
        []
        {
            ScopeTimer const timer("kd-tree");
            std::printf("inside\n");
        });
    EXPECT_THAT(text,
                MatchesRegex("kd-tree \\.\\.\\.\\.\\.\\.\ninside\nkd-tree [^\n]*[0-9][^\n]*\n"));
    EXPECT_EQ(log.text(), "")
        << "these are no log lines, and the log switch does not hold them back";
}

TEST(ScopeTimer, NameMayGoAndMayBeLongOrHoldAPercentSign)
{
    std::string const text = output_of(
        []
        {
            std::string name(600, 'n');
            ScopeTimer const timer(name.c_str());
            name.assign(600, 'x');
            ScopeTimer const percent("50 %s %d");
        });
    EXPECT_EQ(text.substr(0, 608), std::string(600, 'n') + " ......\n");
    EXPECT_NE(text.find("50 %s %d ......\n50 %s %d "), std::string::npos);
    EXPECT_NE(text.find("\n" + std::string(511, 'n') + " "), std::string::npos);
    EXPECT_EQ(text.find('x'), std::string::npos);
}

TEST(ScopeTimer, GoesToThePrintSinkOfTheHostAndCarriesWhatItThrows)
{
    std::string printed;
    gLH.set_print_sink([&](std::string const& text) { printed += text; });
    EXPECT_EQ(output_of([] { ScopeTimer const timer("scope"); }), "");
    EXPECT_THAT(printed, MatchesRegex("scope \\.\\.\\.\\.\\.\\.\nscope [0-9.,]+ s\n"));
    int calls = 0;
    gLH.set_print_sink(
        [&](std::string const&)
        {
            if (++calls == 2)
            {
                throw std::runtime_error("stop");
            }
        });
    EXPECT_THROW({ ScopeTimer const timer("scope"); }, std::runtime_error);
    gLH.set_print_sink({});
}
