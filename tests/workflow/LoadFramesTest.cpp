#include "workflow/workflow.h"

#include "tests/reconstruction/frames.h"

#include <gmock/gmock.h>

#include <limits>

namespace
{

using namespace veld_test;
using testing::HasSubstr;

TEST(PrepareFrames, NormalsComeFromTheGridWhereThereAreNone)
{
    std::vector<veld::NamedFrame> frames{{"flat", flat_frame(5, 5, 1.0F), veld::Sensor::UNKNOWN}};
    frames[0].data.disable_vNormal();
    veld::Context context;
    auto const set = veld::prepare_frames("scan", std::move(frames), {}, context);
    ASSERT_EQ(set.frames.size(), 1U);
    auto const& frame = set.frames[0].data;
    ASSERT_TRUE(frame.has_vNormal);
    for (auto const& normal : frame.vNrv)
    {
        EXPECT_NEAR(std::abs(normal.z()), 1.0F, 1e-6F);
    }
}

TEST(PrepareFrames, TheGridIsMirroredWhereItsFacesTurnTheirBacksToTheSensor)
{
    // The faces of the flat frame look up or down; the sensor is on one side and then the other.
    for (auto const sensor : {veld::Sensor::PLUS_Z, veld::Sensor::MINUS_Z})
    {
        std::vector<veld::NamedFrame> frames{{"flat", flat_frame(5, 5, 1.0F), sensor}};
        frames[0].data.disable_vNormal();
        veld::Context context;
        auto const set = veld::prepare_frames("scan", std::move(frames), {}, context);
        float const side = sensor == veld::Sensor::PLUS_Z ? 1.0F : -1.0F;
        EXPECT_NEAR(set.frames[0].data.vNrv[12].z(), side, 1e-6F);
    }
}

TEST(PrepareFrames, PointsThatAreNoNumbersGoWithAWarning)
{
    std::vector<veld::NamedFrame> frames{{"flat", flat_frame(5, 5, 1.0F), veld::Sensor::UNKNOWN}};
    frames[0].data.vCoord[7].x() = std::numeric_limits<float>::quiet_NaN();
    std::vector<veld::Warning> warnings;
    veld::Context context;
    context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning); };
    auto const set = veld::prepare_frames("scan", std::move(frames), {}, context);
    EXPECT_EQ(set.frames[0].data.get_vn(), 24U);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].code, veld::WarningCode::FRAME_MENDED);
    EXPECT_EQ(warnings[0].about, "flat");
    EXPECT_THAT(warnings[0].text, HasSubstr("1 point taken out"));
}

TEST(PrepareFrames, LengthsInMetresAreScaledAndOtherwiseWarnedOf)
{
    auto const metres = []
    {
        return std::vector<veld::NamedFrame>{
            {"flat", flat_frame(5, 5, 0.001F), veld::Sensor::UNKNOWN}};
    };
    std::vector<veld::WarningCode> codes;
    veld::Context context;
    context.warn = [&](veld::Warning const& warning) { codes.push_back(warning.code); };
    auto const scaled = veld::prepare_frames("scan", metres(), {1000.0}, context);
    EXPECT_TRUE(codes.empty());
    EXPECT_NEAR(scaled.frames[0].data.vCoord[1].x(), 1.0F, 1e-5F);
    veld::prepare_frames("scan", metres(), {}, context);
    EXPECT_THAT(codes, testing::ElementsAre(veld::WarningCode::UNITS_UNLIKELY));
}

TEST(PrepareFrames, NoFrameThatCanBeUsedIsAnError)
{
    veld::Context context;
    EXPECT_THROW(veld::prepare_frames("scan", {}, {}, context), veld::InputError);
}

} // namespace
