#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"

#include <array>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What of the edges between patches of different views is prescribed.
enum class SeamShape
{
    VERTICES, ///< their ends, and vertices in which patches touch without an edge
    EDGES     ///< all of their pixels
};

/// A pixel between patches of different views, as one of the patches sees it.
struct SeamPixel
{
    OpenMesh::VertexHandle vertex; ///< not valid between the ends of an edge
    int x = 0;                     ///< pixel in the patch's rectangle
    int y = 0;
    PixelColor mean{};                 ///< of all views there, truncated
    std::array<float, 3> correction{}; ///< the mean, not truncated, less the patch's own colour
};

/// A vertex of a patch: the colours of all views there, of which one with two faces weighs twice.
/// \param patch_id number of the patch, which has a face at the vertex
SeamPixel seam_pixel(TriMesh const& mesh, TexProperties const& properties,
                     std::vector<TexImage> const& images, PatchTex const& patch, int patch_id,
                     OpenMesh::VertexHandle vertex);

/// The seam of a patch. A vertex is listed once for each of the faces that it is a corner of, and
/// of several vertices in one pixel the last one counts.
/// \param boundary_faces those of the patch that touch another
std::vector<SeamPixel> patch_seam(TriMesh const& mesh, TexProperties const& properties,
                                  std::vector<TexImage> const& images, PatchTex const& patch,
                                  std::vector<OpenMesh::FaceHandle> const& boundary_faces);

} // namespace OrvaneAlgorithm::detail
