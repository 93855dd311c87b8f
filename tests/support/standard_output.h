#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace veld_test
{

/// What `body` prints to standard output.
template <typename Body>
std::string output_of(Body const& body)
{
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    body();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

} // namespace veld_test
