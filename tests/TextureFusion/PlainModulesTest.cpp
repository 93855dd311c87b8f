#include "algorithmVeld/TextureFusion/TextureMesh.h"

#include "tests/TextureFusion/random_sets.h"
#include "tests/TextureFusion/reference_modules.h"
#include "tests/support/sanitizers.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

namespace veld_test
{

namespace
{

constexpr unsigned MODULES_SEEDS = IS_SANITIZED ? 25 : 100;

void compare_modules(unsigned seed, reference::Taken& taken)
{
    Lot lot(seed);
    Threads const threads(1 + static_cast<int>(seed % 4));
    BaseTriMesh mesh = random_fine_object(lot);
    Vector2i const size(14 + lot.below(12), 14 + lot.below(12));
    auto const set = random_set(mesh, lot, size);
    auto const expected = reference::texture_in_modules(mesh, set, taken);
    OrvaneAlgorithm::TextureMesh texture;
    auto const result = texture.texture_fusion(mesh, set.images, set.poses, set.intrinsics, false);
    ++taken[expected.is_textured ? "textured" : "not textured"];
    ASSERT_EQ(result,
              expected.is_textured ? OrvaneAlgorithm::RET_SUCCESS : OrvaneAlgorithm::RET_FAILED);
    if (expected.is_textured)
    {
        expect_same_texture(expected, mesh, taken);
    }
}

TEST(PlainModules, AreThoseOfTheLibraryFromEndToEnd)
{
    reference::Taken taken;
    for (unsigned seed = 0; seed < MODULES_SEEDS; ++seed)
    {
        SCOPED_TRACE("scene " + std::to_string(seed));
        ASSERT_NO_FATAL_FAILURE(compare_modules(seed, taken));
    }
    expect_all_taken(taken,
                     {"at the rim", "between the ends of an edge", "border has gone", "hidden",
                      "hole repaired", "hole without surroundings", "neighbours followed",
                      "not textured", "own coordinates", "patch alone", "patch at others",
                      "pixel for no colour", "shared at a vertex", "textured"});
    EXPECT_LT(taken["colours cut off elsewhere"] * 1000, taken["colours"]);
}

} // namespace
} // namespace veld_test
