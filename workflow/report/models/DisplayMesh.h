#pragma once

#include "workflow/files/GlbReader.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld
{

/// More faces, or points of a cloud, than this are thinned before they go into a page.
constexpr std::size_t MOST_DISPLAY_FACES = 300000;

/// A mesh for the page: thinned where it is large, on a grid of 65535 steps along each axis of its
/// box, and compressed. Faces that are new come last.
struct DisplayMesh
{
    std::size_t vertices = 0;
    std::size_t faces = 0;    ///< 0: a cloud.
    std::size_t border = 0;   ///< Edges with one face; all of the mesh's are kept.
    std::size_t new_from = 0; ///< The first new face; `faces` without any.
    OrvaneAlgorithm::Vector3f box_min = OrvaneAlgorithm::Vector3f::Zero(); ///< Millimetres.
    OrvaneAlgorithm::Vector3f box_max = OrvaneAlgorithm::Vector3f::Zero();

    std::size_t all_vertices = 0; ///< Of the mesh as it was.
    std::size_t all_faces = 0;

    /// \name Compressed arrays
    /// @{
    std::string points;    ///< Four 16-bit numbers each, the last of which is 0.
    std::string triangles; ///< Three vertices each.
    std::string borders;   ///< Two vertices each.
    std::string texcoords; ///< Two 16-bit numbers each, 65535 for 1; may be empty.
    /// @}
    std::string image; ///< The content of an image file, for texture coordinates.
    std::string image_type;

    bool is_thinned() const { return all_faces > 0 ? faces < all_faces : vertices < all_vertices; }
};

/// Thinning keeps every edge of the border, and the line between old and new faces. The same mesh
/// gives the same bytes.
/// \param is_new one mark for each face; empty: none is new
/// \param most_faces more are thinned to about so many
DisplayMesh make_display_mesh(OrvaneAlgorithm::TriMesh const& mesh, std::vector<char> const& is_new,
                              std::size_t most_faces = MOST_DISPLAY_FACES);

/// The same for a textured model; here the seams of its texture stay where they are.
DisplayMesh make_display_mesh(GlbContent content, std::size_t most_faces = MOST_DISPLAY_FACES);

} // namespace veld
