#pragma once

#include "algorithmVeld/TextureFusion/BehindCamera.h"
#include "algorithmVeld/TextureFusion/projection/DepthBuffer.h"
#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// When a vertex counts as seen.
struct VisibilityLimits
{
    float dis_thr = 1.0F;        ///< tolerance of depths, mm
    float norm_thr = 0.0F;       ///< lowest cosine between normal and viewing ray
    int vertex_tex_num_thr = 10; ///< a vertex collects at most so many views
    int image_border = 3;        ///< pixels at the rim of a photograph that do not count
    PixelRule pixels = PixelRule::TRUNCATED;
    Dilation dilation = Dilation::FROM_ORIGINAL;
    BehindCamera behind_camera = BehindCamera::SEEN;
};

/// The views in which each vertex is seen, in their order. Lists lie side by side in one array.
class VertTexLists
{
public:
    VertTexLists() = default;
    /// Throws std::length_error if there would be more entries than memory can have.
    VertTexLists(std::size_t n_vertices, std::size_t most_per_vertex);

    std::size_t size(std::size_t vertex) const { return sizes_[vertex]; }
    bool has_room(std::size_t vertex) const { return sizes_[vertex] < most_; }
    VertTex const* begin(std::size_t vertex) const { return entries_.data() + vertex * most_; }
    VertTex const* end(std::size_t vertex) const { return begin(vertex) + size(vertex); }
    /// There has to be room.
    void append(std::size_t vertex, VertTex const& entry)
    {
        entries_[vertex * most_ + sizes_[vertex]++] = entry;
    }

    /// Puts the entries of each vertex into the order of the views' numbers.
    void sort_by_view();

private:
    std::size_t most_ = 0;
    std::vector<VertTex> entries_;
    std::vector<std::size_t> sizes_;
};

/// Finds the views in which each vertex is seen, by a depth buffer of vertices: no triangle is
/// drawn into it, and the gaps between the vertices are closed by a dilation of one pixel.
/// \param mesh with vertex normals
/// \param order the positions of the views, each once, in the order in which vertices collect them;
///        without it, that of `images`
VertTexLists project_vertices(TriMesh const& mesh, std::vector<TexImage> const& images,
                              VisibilityLimits const& limits, std::vector<int> const& order);
VertTexLists project_vertices(TriMesh const& mesh, std::vector<TexImage> const& images,
                              VisibilityLimits const& limits);

/// Lists for each face the views that see all its corners, and chooses the most frontal one:
/// `face_has_tex`, `face_tex_list`, `face_tex_index` and `face_tex_label`.
/// \return how many faces have one
std::size_t project_faces(TriMesh& mesh, TexProperties const& properties,
                          VertTexLists const& vertices);

} // namespace OrvaneAlgorithm::detail
