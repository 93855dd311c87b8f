#pragma once

#include "algorithmVeld/common/BaseTriMesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

/// \file
/// What is asked of textured meshes.

namespace veld_test
{

using OrvaneAlgorithm::BaseTriMesh;
using OrvaneAlgorithm::Image;
using OrvaneAlgorithm::Vector3i;

template <typename T>
bool same_bytes(std::vector<T> const& a, std::vector<T> const& b)
{
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

inline bool same_pixels(Image<3, unsigned char> const& a, Image<3, unsigned char> const& b)
{
    return a.width() == b.width() && a.height() == b.height() &&
           (a.empty() || std::memcmp(a.data(), b.data(),
                                     3 * static_cast<std::size_t>(a.width()) *
                                         static_cast<std::size_t>(a.height())) == 0);
}

inline bool same(BaseTriMesh const& a, BaseTriMesh const& b)
{
    return same_bytes(a.vCoord, b.vCoord) && same_bytes(a.faces, b.faces) &&
           a.has_vNormal == b.has_vNormal && same_bytes(a.vNrv, b.vNrv) &&
           a.has_fNormal == b.has_fNormal && same_bytes(a.fNrv, b.fNrv) &&
           a.has_fFlag == b.has_fFlag && same_bytes(a.fFlag, b.fFlag) &&
           a.has_texture == b.has_texture && same_pixels(a.texture_image, b.texture_image) &&
           same_bytes(a.texture_coords, b.texture_coords) &&
           same_bytes(a.face_texture_ids, b.face_texture_ids);
}

/// What holds for every textured mesh.
inline void expect_sound(BaseTriMesh const& mesh)
{
    EXPECT_TRUE(mesh.is_legal());
    ASSERT_TRUE(mesh.has_texture);
    ASSERT_EQ(mesh.face_texture_ids.size(), mesh.get_fn());
    ASSERT_FALSE(mesh.texture_coords.empty());
    for (auto const& ids : mesh.face_texture_ids)
    {
        ASSERT_GE(ids.minCoeff(), 0);
        ASSERT_LT(ids.maxCoeff(), static_cast<int>(mesh.texture_coords.size()));
    }
    for (auto const& coordinate : mesh.texture_coords)
    {
        ASSERT_TRUE(coordinate.u >= 0.0F && coordinate.u <= 1.0F);
        ASSERT_TRUE(coordinate.v >= 0.0F && coordinate.v <= 1.0F);
    }
}

/// The pixel of the atlas in which a coordinate lies. What the rounding of floats does to one at
/// the corner of a pixel is made good.
inline unsigned char const* atlas_pixel(BaseTriMesh const& mesh, int id)
{
    constexpr float ROUNDING = 0.01F;
    auto const& coordinate = mesh.texture_coords[static_cast<std::size_t>(id)];
    Image<3, unsigned char> const& atlas = mesh.texture_image;
    auto const column =
        static_cast<int>(coordinate.u * static_cast<float>(atlas.width()) + ROUNDING);
    auto const row =
        static_cast<int>((1.0F - coordinate.v) * static_cast<float>(atlas.height()) + ROUNDING);
    return atlas.pixel(std::min(column, atlas.width() - 1), std::min(row, atlas.height() - 1));
}

inline bool is_black(unsigned char const* pixel)
{
    return pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 0;
}

inline bool has_no_colour(BaseTriMesh const& mesh, std::size_t face)
{
    return mesh.face_texture_ids[face] == Vector3i(0, 0, 0);
}

inline int count_colored(BaseTriMesh const& mesh)
{
    int n = 0;
    for (std::size_t f = 0; f < mesh.get_fn(); ++f)
    {
        n += has_no_colour(mesh, f) ? 0 : 1;
    }
    return n;
}

} // namespace veld_test
