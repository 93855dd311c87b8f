#include "workflow/workflow.h"

#include "workflow/frames/FramePhoto.h"

#include "tests/reconstruction/frames.h"
#include "tests/workflow/reason_of.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Cancelled;
using OrvaneAlgorithm::RigidMatrix;
using testing::ElementsAre;
using testing::HasSubstr;
using Fate = OrvaneAlgorithm::FrameAlignment::Fate;

RangeData raised(RangeData frame, double by)
{
    RigidMatrix pose;
    pose.set_translation(Vector3d(0, 0, by));
    frame.set_rigidMatrix(pose);
    return frame;
}

/// Three scans of hills that overlap each other, the second one too high.
veld::FrameSet hill_scans(double too_high = 0.4)
{
    veld::FrameSet set;
    set.source = "hills";
    set.frames.push_back({"a", hilly_frame(0, 0, 40), veld::Sensor::UNKNOWN});
    set.frames.push_back({"b", raised(hilly_frame(15, 3, 40), too_high), veld::Sensor::UNKNOWN});
    set.frames.push_back({"c", hilly_frame(4, 16, 40), veld::Sensor::UNKNOWN});
    return set;
}

/// A step's context that keeps what is warned of.
struct Heard
{
    veld::Context context;
    std::vector<veld::Warning> warnings;

    Heard()
    {
        context.warn = [this](veld::Warning const& warning) { warnings.push_back(warning); };
    }
};

/// Which setting a step refuses.
std::string refused_setting(veld::AlignSettings const& settings)
{
    veld::Context context;
    try
    {
        veld::align(hill_scans(), settings, context);
    }
    catch (veld::InputError const& error)
    {
        return error.setting();
    }
    return "none";
}

TEST(AlignStep, BringsAFrameBackToWhereItBelongsAndLeavesTheFirst)
{
    Heard heard;
    auto const result = veld::align(hill_scans(), {}, heard.context);
    ASSERT_EQ(result.poses.size(), 3U);
    EXPECT_EQ(result.poses[0].get_rotation(), OrvaneAlgorithm::Matrix3d::Identity());
    EXPECT_EQ(result.poses[0].get_translation(), Vector3d::Zero());
    for (std::size_t f = 0; f < 3; ++f)
    {
        Vector3d const middle(20, 20, 0);
        Vector3d const place =
            result.poses[f].get_rotation() * middle + result.poses[f].get_translation();
        EXPECT_LT((place - middle).norm(), 0.05) << f;
    }
    EXPECT_EQ(result.motions[0].fate, Fate::HELD);
    EXPECT_EQ(result.motions[1].fate, Fate::MOVED);
    EXPECT_NEAR(result.motions[1].shift, 0.4, 0.05);
    EXPECT_LT(result.after.distance, 0.2 * result.before.distance);
    EXPECT_THAT(result.names, ElementsAre("a", "b", "c"));
    EXPECT_TRUE(result.converged);
    EXPECT_TRUE(heard.warnings.empty());
}

TEST(AlignStep, NamesTheFrameThatOverlapsNone)
{
    auto set = hill_scans();
    set.frames.push_back({"far", hilly_frame(900, 0, 40), veld::Sensor::UNKNOWN});
    Heard heard;
    auto const result = veld::align(set, {}, heard.context);
    EXPECT_EQ(result.motions[3].fate, Fate::ALONE);
    EXPECT_EQ(result.poses[3].get_translation(), Vector3d::Zero());
    ASSERT_EQ(heard.warnings.size(), 1U);
    EXPECT_EQ(heard.warnings[0].code, veld::WarningCode::FRAME_OFF);
    EXPECT_EQ(heard.warnings[0].about, "far");
    EXPECT_EQ(heard.warnings[0].setting, "reach");
}

TEST(AlignStep, LeavesGroupsWhereTheyAreThatOverlapNoneBefore)
{
    auto set = hill_scans();
    set.frames.push_back({"d", hilly_frame(900, 0, 40), veld::Sensor::UNKNOWN});
    set.frames.push_back({"e", hilly_frame(915, 3, 40), veld::Sensor::UNKNOWN});
    Heard heard;
    auto const result = veld::align(set, {}, heard.context);
    EXPECT_EQ(result.motions[3].fate, Fate::HELD);
    EXPECT_EQ(result.poses[3].get_translation(), Vector3d::Zero());
    ASSERT_EQ(heard.warnings.size(), 1U);
    EXPECT_EQ(heard.warnings[0].about, "d");
    EXPECT_THAT(heard.warnings[0].text, HasSubstr("overlap none of those before"));
}

TEST(AlignStep, PosesAreGivenToTheFramesAndTheirPhotographs)
{
    RigidMatrix from_global;
    from_global.set_translation(Vector3d(-20, -20, 100));
    auto const photo = std::make_shared<veld::FramePhoto>(
        "photo.png", 40, 40, OrvaneAlgorithm::CameraInParam{100, 100, 19.5, 19.5}, from_global);
    auto set = hill_scans();
    photo->list_depths(set.frames[1].data, 100);
    set.frames[1].photo = photo;
    std::vector<RigidMatrix> poses;
    for (auto const& frame : set.frames)
    {
        poses.push_back(frame.data.pose);
    }
    poses[1].set_translation(poses[1].get_translation() + Vector3d(50, 0, 0));
    auto const moved = veld::posed(set, poses);
    EXPECT_EQ(moved.frames[1].data.pose.get_translation(), poses[1].get_translation());
    EXPECT_TRUE(moved.frames[1].photo->shows(Vector3f(70, 20, -9)));
    EXPECT_FALSE(moved.frames[1].photo->shows(Vector3f(20, 20, -9)));
    EXPECT_TRUE(photo->shows(Vector3f(20, 20, -9))) << "that of the frames that were given";
}

TEST(AlignStep, PosesHaveToBeOneForEachFrameAndRigid)
{
    std::vector<RigidMatrix> poses(2);
    EXPECT_THAT(reason_of([&] { veld::posed(hill_scans(), poses); }),
                HasSubstr("hills: has 2 poses for 3 frames"));
    poses.resize(3);
    poses[1].set_rotation(2.0 * OrvaneAlgorithm::Matrix3d::Identity());
    EXPECT_THAT(reason_of([&] { veld::posed(hill_scans(), poses); }),
                HasSubstr("b: its pose is no rotation and translation"));
}

TEST(AlignStep, RefusesOneFrameAndFramesThatDoNotMeet)
{
    veld::Context context;
    auto one = hill_scans();
    one.frames.resize(1);
    EXPECT_THAT(reason_of([&] { veld::align(one, {}, context); }), HasSubstr("one frame only, a"));
    auto apart = hill_scans();
    apart.frames = {apart.frames[0], {"far", hilly_frame(900, 0, 40), veld::Sensor::UNKNOWN}};
    EXPECT_THAT(reason_of([&] { veld::align(apart, {}, context); }),
                HasSubstr("hills: no two frames overlap"));
}

TEST(AlignStep, RefusesSettingsThatMeanNothing)
{
    double const no_number = std::numeric_limits<double>::quiet_NaN();
    double const endless = std::numeric_limits<double>::infinity();
    for (double const length : {-1.0, no_number, endless})
    {
        veld::AlignSettings reach;
        reach.reach = length;
        EXPECT_EQ(refused_setting(reach), "reach") << length;
        veld::AlignSettings noise;
        noise.noise = length;
        EXPECT_EQ(refused_setting(noise), "noise") << length;
    }
    veld::AlignSettings rounds;
    rounds.rounds = 0;
    EXPECT_EQ(refused_setting(rounds), "rounds");
    EXPECT_EQ(refused_setting({}), "none");
}

TEST(AlignStep, TheLimitOfRoundsHolds)
{
    veld::AlignSettings settings;
    settings.rounds = 1;
    veld::Context context;
    auto const result = veld::align(hill_scans(), settings, context);
    EXPECT_EQ(result.rounds, 1);
    EXPECT_FALSE(result.converged);
}

TEST(AlignStep, ACancelLeavesTheFramesAsTheyWere)
{
    auto const set = hill_scans();
    Heard heard;
    heard.context.progress = [&](veld::Progress const& progress)
    {
        if (progress.step == "align the frames")
        {
            heard.context.cancel.cancel();
        }
    };
    EXPECT_THROW(veld::align(set, {}, heard.context), Cancelled);
    auto const untouched = hill_scans();
    for (std::size_t f = 0; f < 3; ++f)
    {
        EXPECT_EQ(set.frames[f].data.vCoord, untouched.frames[f].data.vCoord);
        EXPECT_EQ(set.frames[f].data.get_rigidMatrix().get_translation(),
                  untouched.frames[f].data.get_rigidMatrix().get_translation());
    }
}

TEST(AlignStep, AHostThatHandsItsFramesOverGetsTheSamePoses)
{
    veld::Context context;
    auto const kept = veld::align(hill_scans(), {}, context);
    auto const set = hill_scans();
    auto const lent = veld::align(set, {}, context);
    ASSERT_EQ(kept.poses.size(), lent.poses.size());
    for (std::size_t f = 0; f < kept.poses.size(); ++f)
    {
        EXPECT_EQ(kept.poses[f].get_rotation(), lent.poses[f].get_rotation());
        EXPECT_EQ(kept.poses[f].get_translation(), lent.poses[f].get_translation());
    }
}

TEST(CheckStep, TellsHowFarOffAFrameIs)
{
    auto set = hill_scans(0.0);
    for (auto const* const name : {"d", "e", "f"})
    {
        set.frames.push_back({name, hilly_frame(8, 8, 40), veld::Sensor::UNKNOWN});
    }
    set.frames.push_back({"g", raised(hilly_frame(6, 9, 40), 2.0), veld::Sensor::UNKNOWN});
    Heard heard;
    auto const check = veld::check_frames(set, {}, heard.context);
    EXPECT_THAT(check.far_off, ElementsAre(6U));
    ASSERT_EQ(heard.warnings.size(), 1U);
    EXPECT_EQ(heard.warnings[0].about, "g");
    EXPECT_THAT(heard.warnings[0].text, HasSubstr("mm off the other frames, most of them"));
}

TEST(CheckStep, TellsWhichFrameIsOffAndWhichIsAlone)
{
    auto set = hill_scans(1.0);
    for (auto const* const name : {"d", "e"})
    {
        set.frames.push_back({name, hilly_frame(8, 8, 40), veld::Sensor::UNKNOWN});
    }
    set.frames.push_back({"far", hilly_frame(900, 0, 40), veld::Sensor::UNKNOWN});
    Heard heard;
    auto const check = veld::check_frames(set, {}, heard.context);
    EXPECT_THAT(check.alone, ElementsAre(5U));
    ASSERT_FALSE(heard.warnings.empty());
    EXPECT_EQ(heard.warnings.front().about, "far");
    EXPECT_GT(check.agreement.frames[1].distance, 3.0 * check.agreement.frames[3].distance);
}

} // namespace
