#pragma once

#include "tests/TextureFusion/random_scenes.h"
#include "tests/TextureFusion/reference_fusion.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

/// \file
/// What is textured from end to end by a class and by its reference, and how both are compared.

namespace veld_test
{

using OrvaneAlgorithm::BaseTriMesh;
using OrvaneAlgorithm::Vector2i;

/// An object with faces enough that regions of them are kept, in millimetres.
inline BaseTriMesh random_fine_object(Lot& lot)
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

/// \param pixels width and height of all photographs; without it each has its own
inline reference::Photographs random_set(BaseTriMesh const& object, Lot& lot,
                                         std::optional<Vector2i> const& pixels = {})
{
    reference::Photographs set;
    float const size = object.vCoord[0].norm();
    for (int n = 1 + lot.below(7); n > 0; --n)
    {
        int const width = pixels ? pixels->x() : 14 + lot.below(12);
        int const height = pixels ? pixels->y() : 14 + lot.below(12);
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

/// Colours may differ by what is cut off, all else not at all.
inline void expect_same_texture(reference::TexturedResult const& expected,
                                BaseTriMesh const& actual, reference::Taken& taken)
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

/// Textures an object by a class of the library, and compares.
template <typename Texture>
void expect_same_from(Texture&& texture, reference::TexturedResult const& expected,
                      BaseTriMesh& mesh, reference::Photographs const& set, reference::Taken& taken)
{
    auto const result = texture.texture_fusion(mesh, set.images, set.poses, set.intrinsics, false);
    ++taken[expected.is_textured ? "textured" : "not textured"];
    ASSERT_EQ(result,
              expected.is_textured ? OrvaneAlgorithm::RET_SUCCESS : OrvaneAlgorithm::RET_FAILED);
    if (expected.is_textured)
    {
        expect_same_texture(expected, mesh, taken);
    }
}

/// Compares scene after scene. \param compare gets the seed of one, and what was taken
template <typename Compare>
void compare_scenes(unsigned n, Compare const& compare, reference::Taken& taken)
{
    for (unsigned seed = 0; seed < n; ++seed)
    {
        SCOPED_TRACE("scene " + std::to_string(seed));
        ASSERT_NO_FATAL_FAILURE(compare(seed, taken));
    }
    EXPECT_LT(taken["colours cut off elsewhere"] * 1000, taken["colours"]);
}

} // namespace veld_test
