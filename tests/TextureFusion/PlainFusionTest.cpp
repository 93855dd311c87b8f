#include "algorithmVeld/TextureFusion/TextureFusion.h"

#include "tests/TextureFusion/random_scenes.h"
#include "tests/TextureFusion/reference_fusion.h"
#include "tests/support/sanitizers.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::BaseTriMesh;
using veld_test::IS_SANITIZED;

constexpr unsigned FUSION_SEEDS = IS_SANITIZED ? 25 : 100;
constexpr double MOST_DENSE_SOLVED = 700.0;

/// An object with faces enough that regions of them are kept, in millimetres.
BaseTriMesh random_fine_object(Lot& lot)
{
    Pieces pieces;
    int const more = lot.below(8);
    TriMesh shape = lot.one_in(2) ? sphere(3) : torus(14 + more, 10 + more);
    disturb(shape, lot);
    pieces.add(shape, lot.one_in(2) ? random_cut(shape, lot) : Cut(), lot.one_in(3), 1.0F,
               Vector3f::Zero());
    if (lot.one_in(3))
    {
        pieces.add(sphere(2), Cut(), false, 0.5F, Vector3f(1.5F * lot.vector()));
    }
    TriMesh mesh = mesh_as_far_as_it_goes(pieces.points, pieces.triangles);
    float const size = lot.of<float>({1.0F, 4.0F});
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, size * mesh.point(v));
    }
    BaseTriMesh result;
    OrvaneAlgorithm::TriMesh_convert_to_BaseTriMesh(mesh, result);
    return result;
}

reference::Photographs random_set(BaseTriMesh const& object, Lot& lot)
{
    reference::Photographs set;
    float const size = object.vCoord[0].norm();
    for (int n = 1 + lot.below(7); n > 0; --n)
    {
        int const width = 14 + lot.below(12);
        int const height = 14 + lot.below(12);
        float const distance = size * lot.of<float>({2.5F, 3.0F, 4.0F});
        Vector3f const target = 0.1F * size * lot.vector();
        Vector3f const eye = target + distance * lot.vector().normalized();
        set.images.push_back(random_image(width, height, lot));
        set.poses.push_back(look_at(eye.cast<double>(), target.cast<double>()));
        double const focal_length = width * lot.of<double>({0.6, 0.9, 1.3});
        set.intrinsics.emplace_back(focal_length, focal_length, width / 2.0, height / 2.0);
    }
    return set;
}

void expect_same_texture(reference::TexturedResult const& expected, BaseTriMesh const& actual,
                         reference::Taken& taken)
{
    auto const& image = expected.atlas.image;
    ASSERT_EQ(actual.texture_image.width(), image.width());
    ASSERT_EQ(actual.texture_image.height(), image.height());
    for (std::size_t i = 0; i < 3 * at(image.width()) * at(image.height()); ++i)
    {
        int const difference = actual.texture_image.data()[i] - image.data()[i];
        ASSERT_LE(std::abs(difference), 1) << "channel " << i;
        ++taken["colours"];
        taken["colours cut off elsewhere"] += difference != 0 ? 1 : 0;
    }
    ASSERT_EQ(actual.texture_coords.size(), expected.coordinates.size());
    for (std::size_t i = 0; i < expected.coordinates.size(); ++i)
    {
        ASSERT_TRUE(is_same(actual.texture_coords[i].u, expected.coordinates[i].u)) << i;
        ASSERT_TRUE(is_same(actual.texture_coords[i].v, expected.coordinates[i].v)) << i;
    }
    ASSERT_EQ(actual.face_texture_ids, expected.state.uv_index);
}

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
