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
    expect_same_from(OrvaneAlgorithm::TextureFusion(), expected, mesh, set, taken);
}

TEST(PlainFusion, IsThatOfTheLibraryFromEndToEnd)
{
    reference::Taken taken;
    ASSERT_NO_FATAL_FAILURE(compare_scenes(FUSION_SEEDS, compare_fusion, taken));
    expect_all_taken(taken, {"hole repaired", "hole without surroundings", "not textured",
                             "own coordinates", "patch alone", "patch at others",
                             "shared at a vertex", "textured", "vote followed"});
}

} // namespace
} // namespace veld_test
