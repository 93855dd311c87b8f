#include "algorithmVeld/TextureFusion/TextureFusion.h"

#include "tests/TextureFusion/random_sets.h"
#include "tests/support/sanitizers.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::BaseTriMesh;
using veld_test::IS_SANITIZED;

constexpr unsigned FUSION_SEEDS = IS_SANITIZED ? 25 : 100;
constexpr double MOST_DENSE_SOLVED = 700.0;

void compare_fusion(unsigned seed, reference::Taken& taken)
{
    Lot lot(seed);
    Threads const threads(1 + static_cast<int>(seed % 4));
    BaseTriMesh mesh = random_fine_object(lot);
    auto const set = random_set(mesh, lot);
    auto const expected = reference::texture_plainly(mesh, set, MOST_DENSE_SOLVED, taken);
    if (expected.is_too_large)
    {
        ++taken["too large to compare"];
        return;
    }
    OrvaneAlgorithm::TextureFusion fusion;
    auto const result = fusion.texture_fusion(mesh, set.images, set.poses, set.intrinsics, false);
    ++taken[expected.is_textured ? "textured" : "not textured"];
    ASSERT_EQ(result,
              expected.is_textured ? OrvaneAlgorithm::RET_SUCCESS : OrvaneAlgorithm::RET_FAILED);
    if (expected.is_textured)
    {
        expect_same_texture(expected, mesh, taken);
    }
}

TEST(PlainFusion, IsThatOfTheLibraryFromEndToEnd)
{
    reference::Taken taken;
    for (unsigned seed = 0; seed < FUSION_SEEDS; ++seed)
    {
        SCOPED_TRACE("scene " + std::to_string(seed));
        ASSERT_NO_FATAL_FAILURE(compare_fusion(seed, taken));
    }
    expect_all_taken(taken, {"hole repaired", "hole without surroundings", "not textured",
                             "own coordinates", "patch alone", "patch at others",
                             "shared at a vertex", "textured", "vote followed"});
    EXPECT_LT(taken["colours cut off elsewhere"] * 1000, taken["colours"]);
}

} // namespace
} // namespace veld_test
