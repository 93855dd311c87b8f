#pragma once

#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RigidMatrix.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace OrvaneAlgorithm::detail
{

/// What the pixel of a point is.
enum class PixelRule
{
    TRUNCATED, ///< the whole part; the point itself is kept beside it
    ROUNDED    ///< half a pixel on, and the whole part; the point counts as being there
};

/// One view: a photograph and where it was taken.
struct TexImage
{
    int id = 0; ///< its position among the views, which are in the order of preference
    CameraInParam intrinsics;
    RigidMatrix pose; ///< world to camera
    Image<3, unsigned char> image;
};

/// Where a vertex is seen in a view.
struct VertTex
{
    int image_id = -1;   ///< the view
    float depth = 0.0F;  ///< absolute z in the camera's coordinates, mm
    int px = 0;          ///< pixel column, `u` truncated
    int py = 0;          ///< pixel row, `v` truncated
    float u = 0.0F;      ///< column
    float v = 0.0F;      ///< row
    float cosine = 0.0F; ///< between the vertex normal and the way back to the camera
};

/// A view in which all three corners of a face are seen.
struct FaceTex
{
    int image_id = -1;
    float avg_cos = 0.0F;            ///< mean of the corners' cosines
    std::array<VertTex, 3> corner{}; ///< in the order in which the face's vertices are walked
};

/// The rectangle of a patch in its view, or of a texture hole in its virtual view, and its place in
/// the atlas. Bounds are inclusive, in pixels; those of a virtual view may be negative.
struct PatchTex
{
    int label = 0; ///< the view; 0 for a hole
    int min_x = 0;
    int max_x = 0;
    int min_y = 0;
    int max_y = 0;
    int atlas_x = 0; ///< column of the top left corner
    int atlas_y = 0; ///< row of the top left corner
    bool is_hole = false;
    bool repaired = false; ///< whether a hole has its image

    int width() const { return max_x - min_x + 1; }
    int height() const { return max_y - min_y + 1; }
    /// 0 if a bound lies beyond the opposite one.
    std::int64_t n_pixels() const
    {
        return std::max<std::int64_t>(width(), 0) * std::max<std::int64_t>(height(), 0);
    }
};

/// What the patch of a face has to do with other patches.
enum class FaceGroupType : int
{
    UNKNOWN = 0,
    TEXLESS = 1,    ///< no view was chosen
    ISOLATED = 2,   ///< in a patch without neighbours
    BOUNDARY = 3,   ///< touches another patch
    NONBOUNDARY = 4 ///< inside a patch that has neighbours
};

} // namespace OrvaneAlgorithm::detail
