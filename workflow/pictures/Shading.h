#pragma once

#include "workflow/pictures/Camera.h"

#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace veld
{

/// A mesh as the picture needs it: moved and scaled so that its box has its middle at the origin
/// and a diagonal of 1.
struct Surface
{
    using Triangle = std::array<std::uint32_t, 3>;

    std::vector<Vector3f> points;  ///< Vertices that faces use.
    std::vector<Vector3f> colours; ///< Theirs; empty if the mesh has none.
    std::vector<Triangle> triangles;
    std::vector<std::array<Vector3f, 3>> corner_normals; ///< Smooth, but broken at sharp edges.
    /// Texture coordinates of the corners, NaN where there are none; empty if the mesh has none.
    std::vector<std::array<OrvaneAlgorithm::Vector2f, 3>> corner_texcoords;
    std::vector<char> marks;        ///< Which colour a face has.
    std::vector<Vector3f> rim_ends; ///< Two points for each boundary edge.
};

/// \param marks one for each face of the mesh: 0 for the surface, 1 and 2 for the two colours of
///        filled holes; or empty
Surface make_surface(OrvaneAlgorithm::TriMesh const& mesh, std::vector<char> const& marks);

/// A place of the surface as a ray saw it.
struct SurfacePlace
{
    Vector3f normal;                ///< Unit, towards the viewer's side.
    Vector3f viewer;                ///< Unit direction to the viewer.
    bool front = true;              ///< Whether the outside of the mesh is seen.
    char mark = 0;                  ///< Of the face.
    std::optional<Vector3f> colour; ///< Of the outside, where it has one of its own.
    float openness = 1.0F;          ///< How much of the sky reaches the place.
};

/// Colours are linear red, green, blue.
Vector3f surface_colour(SurfacePlace const& place, Camera const& camera);
Vector3f rim_colour(Vector3f const& normal, Vector3f const& viewer);

/// \param height place in the picture, 0 at the bottom and 1 at the top
Vector3f background_colour(float height);

/// A linear colour channel as a byte of an image file, and the other way round.
unsigned char to_byte(float linear);
float from_byte(int byte);

/// The light of a colour channel as image files have it, both from 0 to 1.
float to_light(float value);

} // namespace veld
