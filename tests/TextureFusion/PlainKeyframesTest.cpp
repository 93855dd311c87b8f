#include "algorithmVeld/TextureFusion/SelectKeyframes.h"

#include "tests/TextureFusion/random_scenes.h"
#include "tests/TextureFusion/reference_keyframes.h"

#include <gtest/gtest.h>

namespace veld_test
{

namespace
{

constexpr unsigned KEYFRAME_SEEDS = 3000;

/// Where a camera stands: anywhere, on one of a few points of a lattice, on a line or a plane, or
/// where another one does.
Vector3f random_stand(std::vector<Vector3f> const& others, int kind, Lot& lot)
{
    Vector3f stand = 3.0F * lot.vector();
    if (!others.empty() && lot.one_in(6))
    {
        return lot.of(others);
    }
    switch (kind)
    {
    case 0:
        return Vector3f(2, -1, 5); // all in one place
    case 1:
        return Vector3f(static_cast<float>(lot.below(11)), static_cast<float>(lot.below(6)),
                        static_cast<float>(lot.below(3)));
    case 2:
        return Vector3f(stand.x(), 1, -7);
    case 3:
        stand.z() = 0.5F;
        return stand;
    case 4:
        return stand.normalized() * 600.0F + Vector3f(1e4F, -300, 20);
    default:
        return stand;
    }
}

std::vector<RigidMatrix> random_poses(unsigned seed)
{
    Lot lot(seed);
    int const kind = lot.below(8);
    bool const is_turned = !lot.one_in(4);
    std::vector<Vector3f> stands;
    std::vector<RigidMatrix> poses;
    for (int n = 1 + lot.below(lot.one_in(4) ? 120 : 20); n > 0; --n)
    {
        stands.push_back(random_stand(stands, kind, lot));
        Vector3d const eye = stands.back().cast<double>();
        RigidMatrix straight;
        straight.set_translation(-eye);
        Vector3d const aim = lot.one_in(3) ? Vector3d(eye + lot.vector().cast<double>())
                                           : Vector3d(0.01, 0.02, 0.03);
        poses.push_back(is_turned ? look_at(eye, aim) : straight);
    }
    return poses;
}

TEST(PlainKeyframes, AreThoseOfTheLibraryForAllPoses)
{
    reference::Taken taken;
    for (unsigned seed = 0; seed < KEYFRAME_SEEDS; ++seed)
    {
        SCOPED_TRACE("poses " + std::to_string(seed));
        auto const poses = random_poses(seed);
        OrvaneAlgorithm::SelectKeyframes selection;
        std::vector<int> key_frames;
        std::vector<int> order;
        ASSERT_EQ(selection.space_based_selection(poses, key_frames, false),
                  OrvaneAlgorithm::RET_SUCCESS);
        ASSERT_EQ(selection.space_based_sort(poses, order, false), OrvaneAlgorithm::RET_SUCCESS);
        ASSERT_EQ(key_frames, reference::select_by_space(poses, taken));
        ASSERT_EQ(order, reference::sort_by_space(poses, taken));
    }
    expect_all_taken(taken, {"equally far from the corner", "equally good for the chain",
                             "in the sixth cell", "nearer to the corner", "order changed",
                             "voxel of one", "voxel with a chain"});
}

} // namespace
} // namespace veld_test
