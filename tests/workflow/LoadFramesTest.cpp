#include "workflow/workflow.h"

#include "tests/reconstruction/frames.h"
#include "tests/workflow/reason_of.h"

#include <gmock/gmock.h>

#include <limits>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::RangeData;
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

/// A flat patch of 60 x 60 points on a grid of the given size, without normals.
RangeData patch_on_grid(int side)
{
    RangeData frame = flat_frame(60, 60, 1.0F);
    frame.set_grid_size(side, side);
    frame.disable_vNormal();
    return frame;
}

TEST(PrepareFrames, FrameThatFillsATinyPartOfItsGridIsAsGoodAsAny)
{
    for (auto const sensor : {veld::Sensor::PLUS_Z, veld::Sensor::MINUS_Z})
    {
        veld::NamedFrame sparse{"sparse", patch_on_grid(16384), sensor};
        sparse.data.add_vCoord_and_vUV({200, 200, 0}, {16383, 16383});
        veld::Context context;
        auto const wanted =
            veld::prepare_frames("scan", {{"tight", patch_on_grid(60), sensor}}, {}, context);
        auto const set = veld::prepare_frames("scan", {sparse}, {}, context);
        RangeData const& tight = wanted.frames[0].data;
        RangeData const& frame = set.frames[0].data;
        ASSERT_EQ(frame.get_vn(), tight.get_vn() + 1);
        EXPECT_EQ(frame.grid_cols, 16384);
        int const shift = sensor == veld::Sensor::PLUS_Z ? 0 : 16384 - 60;
        for (std::size_t i = 0; i < tight.get_vn(); ++i)
        {
            ASSERT_EQ(frame.vUV[i].col, tight.vUV[i].col + shift);
            ASSERT_EQ(frame.cellFlag[i], tight.cellFlag[i]);
            ASSERT_EQ(frame.vNrv[i], tight.vNrv[i]);
        }
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

/// Only a merge of frames that it may change computes normals itself.
TEST(BareFrames, AreRefusedByStepsThatReadNormals)
{
    veld::FrameSet bare;
    bare.source = "scan";
    for (char const* const name : {"one", "two"})
    {
        bare.frames.push_back({name, flat_frame(8, 8, 1.0F), veld::Sensor::UNKNOWN});
    }
    bare.frames[1].data.disable_vNormal();
    veld::Context context;
    auto const refusal = HasSubstr("two: has no normals yet; provide_normals computes them");
    EXPECT_THAT(reason_of([&] { veld::merge(bare, {}, context); }), refusal);
    EXPECT_THAT(reason_of([&] { veld::align(bare, {}, context); }), refusal);
    EXPECT_THAT(reason_of([&] { veld::check_frames(bare, {}, context); }), refusal);
    EXPECT_THAT(reason_of([&] { veld::estimate_normals(bare, {}, context); }), refusal);
    veld::provide_normals(bare);
    EXPECT_EQ(veld::estimate_normals(bare, {}, context).cloud.n_vertices(), 128U);
}

} // namespace
