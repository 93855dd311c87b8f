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
    expect_same_from(OrvaneAlgorithm::TextureMesh(), expected, mesh, set, taken);
}

TEST(PlainModules, AreThoseOfTheLibraryFromEndToEnd)
{
    reference::Taken taken;
    ASSERT_NO_FATAL_FAILURE(compare_scenes(MODULES_SEEDS, compare_modules, taken));
    expect_all_taken(taken,
                     {"at the rim", "between the ends of an edge", "border has gone", "hidden",
                      "hole repaired", "hole without surroundings", "neighbours followed",
                      "not textured", "own coordinates", "patch alone", "patch at others",
                      "pixel for no colour", "shared at a vertex", "textured"});
}

} // namespace
} // namespace veld_test
