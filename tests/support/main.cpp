#include <gmock/gmock.h>
#include <gtest/gtest.h>

/// Runs tests as GoogleTest's own `main` does, and tells apart where all were skipped: ctest counts
/// that as skipped and not as passed.
int main(int argc, char** argv)
{
    constexpr int ALL_SKIPPED = 77;
    testing::InitGoogleMock(&argc, argv);
    int const result = RUN_ALL_TESTS();
    auto const& program = *testing::UnitTest::GetInstance();
    bool const skipped = program.skipped_test_count() > 0 && program.successful_test_count() == 0;
    return result == 0 && skipped ? ALL_SKIPPED : result;
}
