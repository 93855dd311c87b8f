#pragma once

#include "algorithmVeld/TextureFusion/seams/PatchSeam.h"

#include <algorithm>
#include <cstdint>

namespace OrvaneAlgorithm::detail
{

/// How many pixels the edges of seams have.
struct RasterizedEdges
{
    int n_edges = 0;
    std::int64_t n_points = 0;
    int fewest = 1000000000; ///< as it stays without an edge
    int most = 0;

    void add(int n)
    {
        ++n_edges;
        n_points += n;
        fewest = std::min(fewest, n);
        most = std::max(most, n);
    }

    void add(RasterizedEdges const& other)
    {
        n_edges += other.n_edges;
        n_points += other.n_points;
        fewest = std::min(fewest, other.fewest);
        most = std::max(most, other.most);
    }

    double mean() const { return n_edges == 0 ? 0.0 : static_cast<double>(n_points) / n_edges; }
};

/// The seam of a patch as whole edges, pixel by pixel: their ends as `patch_seam` has them, and
/// between these corrections that go evenly from one to the other. The ends stand behind all
/// others, so that they count where a pixel is listed twice.
/// \param boundary_faces those of the patch that touch another
/// \param rasterized is added to
std::vector<SeamPixel> edge_seam(TriMesh const& mesh, TexProperties const& properties,
                                 std::vector<TexImage> const& images, PatchTex const& patch,
                                 std::vector<OpenMesh::FaceHandle> const& boundary_faces,
                                 RasterizedEdges& rasterized);

} // namespace OrvaneAlgorithm::detail
