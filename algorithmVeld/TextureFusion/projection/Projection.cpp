#include "algorithmVeld/TextureFusion/projection/Projection.h"

#include "algorithmVeld/TextureFusion/projection/DepthBuffer.h"
#include "algorithmVeld/common/mesh/points.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// The pixel of a coordinate. \return false if it lies outside the image or in its border
bool truncate_to_pixel(double coordinate, int size, int border, int& pixel)
{
    // The range first, since not every number fits an int. Numbers that are none fail here too.
    if (!(coordinate > -1.0 && coordinate < size))
    {
        return false;
    }
    pixel = static_cast<int>(coordinate);
    return pixel >= border && pixel < size - border;
}

/// A vertex that may be seen in a view.
struct ViewCandidate
{
    int vertex = 0;
    VertTex projection;
};

/// Projects the vertices of a mesh into one view after the other. Buffers are kept in between.
class VertexProjection
{
public:
    VertexProjection(TriMesh const& mesh, VisibilityLimits const& limits, VertTexLists& lists)
        : points_(points_of(mesh)),
          normals_(mesh.property(mesh.vertex_normals_pph()).data_vector()),
          limits_(limits),
          lists_(lists),
          depths_(limits.dis_thr, limits.dilation),
          blocks_((points_.size() + BLOCK - 1) / BLOCK)
    {
        // A border below zero would let vertices beside the image in.
        limits_.image_border = std::max(limits_.image_border, 0);
    }

    /// \param k position of the view \return how many vertices are seen
    std::size_t project(int k, TexImage const& view)
    {
        parallel_for_uneven(n_blocks(), [&](std::ptrdiff_t b) { find_candidates(b, k, view); });
        fill_depths(k, view);
        std::vector<std::size_t> counts(blocks_.size());
        parallel_for_even(n_blocks(), [&](std::ptrdiff_t b)
                          { counts[static_cast<std::size_t>(b)] = keep_visible(b); });
        return std::accumulate(counts.begin(), counts.end(), std::size_t{0});
    }

private:
    static constexpr std::size_t BLOCK = 2048;

    std::ptrdiff_t n_blocks() const { return static_cast<std::ptrdiff_t>(blocks_.size()); }
    auto& block(std::ptrdiff_t b) { return blocks_[static_cast<std::size_t>(b)]; }

    void find_candidates(std::ptrdiff_t b, int k, TexImage const& view)
    {
        block(b).clear();
        ViewCandidate candidate;
        candidate.projection.image_id = k;
        std::size_t const begin = static_cast<std::size_t>(b) * BLOCK;
        for (std::size_t v = begin; v < std::min(begin + BLOCK, points_.size()); ++v)
        {
            // A vertex with a full list is not there for the others either: it hides nothing.
            if (lists_.has_room(v) && project_vertex(v, view, candidate.projection))
            {
                candidate.vertex = static_cast<int>(v);
                block(b).push_back(candidate);
            }
        }
    }

    /// \return false if the vertex looks away, or lies outside the image or where nothing counts
    bool project_vertex(std::size_t v, TexImage const& view, VertTex& projection) const
    {
        Vector3f const normal = view.pose.transform_normal(normals_[v]);
        Vector3f const p = view.pose * points_[v];
        Vector3f const ray = p / p.norm();
        projection.cosine = -normal.dot(ray);
        if (limits_.norm_thr > projection.cosine)
        {
            return false;
        }
        if (limits_.behind_camera == BehindCamera::UNSEEN && !(p.z() > 0.0F))
        {
            return false;
        }
        double const z = std::abs(static_cast<double>(p.z()));
        return std::isfinite(z) && find_pixel(p, z, view, projection);
    }

    /// \param z depth of the point \return false if it lies outside the image
    bool find_pixel(Vector3f const& p, double z, TexImage const& view, VertTex& projection) const
    {
        bool const is_rounded = limits_.pixels == PixelRule::ROUNDED;
        CameraInParam const& camera = view.intrinsics;
        double const u = is_rounded ? camera.get_fx() * p.x() / z + camera.get_cx() + 0.5
                                    : (p.x() / z) * camera.get_fx() + camera.get_cx();
        double const v = is_rounded ? camera.get_fy() * p.y() / z + camera.get_cy() + 0.5
                                    : (p.y() / z) * camera.get_fy() + camera.get_cy();
        int const border = limits_.image_border;
        if (!truncate_to_pixel(u, view.image.width(), border, projection.px) ||
            !truncate_to_pixel(v, view.image.height(), border, projection.py))
        {
            return false;
        }
        projection.depth = static_cast<float>(z);
        projection.u = static_cast<float>(is_rounded ? projection.px : u);
        projection.v = static_cast<float>(is_rounded ? projection.py : v);
        return true;
    }

    void fill_depths(int k, TexImage const& view)
    {
        depths_.begin_view(view.image.width(), view.image.height());
        for (auto const& candidates : blocks_)
        {
            for (ViewCandidate const& candidate : candidates)
            {
                VertTex const& at = candidate.projection;
                depths_.insert(at.px, at.py, at.depth);
            }
        }
        if (limits_.dilation == Dilation::IN_PLACE)
        {
            StepTimer const timer("image-dilate", "project-vertex-tex");
            log("  image_dilate( %d ) ..\n", k);
            depths_.end_view();
        }
    }

    /// Lists the view for those candidates that no vertex hides.
    std::size_t keep_visible(std::ptrdiff_t b)
    {
        std::array<float, BLOCK> nearest{};
        std::size_t i = 0;
        for (ViewCandidate const& candidate : block(b))
        {
            nearest[i++] = depths_.nearest(candidate.projection.px, candidate.projection.py);
        }
        i = 0;
        std::size_t n = 0;
        for (ViewCandidate const& candidate : block(b))
        {
            VertTex const& at = candidate.projection;
            if (depths_.is_visible(at.px, at.py, at.depth, nearest[i++]))
            {
                lists_.append(static_cast<std::size_t>(candidate.vertex), at);
                ++n;
            }
        }
        return n;
    }

    std::vector<Vector3f> const& points_;
    std::vector<Vector3f> const& normals_;
    VisibilityLimits limits_;
    VertTexLists& lists_;
    DepthBuffer depths_;
    std::vector<std::vector<ViewCandidate>> blocks_; ///< by vertices, in their order
};

/// A view that sees all corners of a face, with its places in their lists.
struct CommonView
{
    float avg_cos = 0.0F;
    std::array<VertTex const*, 3> corners{};

    int image_id() const { return corners[0]->image_id; }
};

using FaceCorners = std::array<std::size_t, 3>;

FaceCorners corners_in_order(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    FaceCorners corners{};
    std::size_t n = 0;
    for (auto const vertex : mesh.fv_range(face))
    {
        corners[n++ % 3] = static_cast<std::size_t>(vertex.idx());
    }
    return corners;
}

/// The views that all three lists hold. Each names a view once, in rising order.
void find_common_views(FaceCorners const& corners, VertTexLists const& vertices,
                       std::vector<CommonView>& views)
{
    views.clear();
    std::array<VertTex const*, 3> at{};
    std::array<VertTex const*, 3> end{};
    for (std::size_t i = 0; i < 3; ++i)
    {
        at[i] = vertices.begin(corners[i]);
        end[i] = vertices.end(corners[i]);
    }
    while (at[0] != end[0] && at[1] != end[1] && at[2] != end[2])
    {
        int const last = std::max({at[0]->image_id, at[1]->image_id, at[2]->image_id});
        bool is_common = true;
        for (std::size_t i = 0; i < 3; ++i)
        {
            is_common = is_common && at[i]->image_id == last;
        }
        if (is_common)
        {
            float const sum = at[0]->cosine + at[1]->cosine + at[2]->cosine;
            views.push_back({static_cast<float>(static_cast<double>(sum) / 3.0), at});
        }
        for (std::size_t i = 0; i < 3; ++i)
        {
            at[i] += is_common || at[i]->image_id < last ? 1 : 0;
        }
    }
}

/// The most frontal views first, of equal ones the earlier; those whose cosine is no number last.
void sort_by_cosine(std::vector<CommonView>& views)
{
    auto const rank = [](CommonView const& view) {
        return std::isfinite(view.avg_cos) ? view.avg_cos : -std::numeric_limits<float>::infinity();
    };
    std::sort(views.begin(), views.end(),
              [&](CommonView const& a, CommonView const& b)
              { return rank(a) > rank(b) || (rank(a) == rank(b) && a.image_id() < b.image_id()); });
}

void fill_face_list(std::vector<CommonView> const& views, std::vector<FaceTex>& list)
{
    list.clear();
    list.reserve(views.size());
    for (CommonView const& view : views)
    {
        list.push_back({view.image_id(),
                        view.avg_cos,
                        {*view.corners[0], *view.corners[1], *view.corners[2]}});
    }
}

} // namespace

VertTexLists::VertTexLists(std::size_t n_vertices, std::size_t most_per_vertex)
    : most_(most_per_vertex)
{
    if (most_ != 0 && n_vertices > entries_.max_size() / most_)
    {
        throw std::length_error("too many projections of vertices");
    }
    entries_.resize(n_vertices * most_);
    sizes_.resize(n_vertices);
}

void VertTexLists::sort_by_view()
{
    parallel_for_short(sizes_.size(),
                       [&](std::size_t vertex)
                       {
                           VertTex* const first = entries_.data() + vertex * most_;
                           std::sort(first, first + sizes_[vertex],
                                     [](VertTex const& a, VertTex const& b)
                                     { return a.image_id < b.image_id; });
                       });
}

VertTexLists project_vertices(TriMesh const& mesh, std::vector<TexImage> const& images,
                              VisibilityLimits const& limits)
{
    std::vector<int> order(images.size());
    std::iota(order.begin(), order.end(), 0);
    return project_vertices(mesh, images, limits, order);
}

VertTexLists project_vertices(TriMesh const& mesh, std::vector<TexImage> const& images,
                              VisibilityLimits const& limits, std::vector<int> const& order)
{
    auto const most = static_cast<std::size_t>(std::max(limits.vertex_tex_num_thr, 0));
    VertTexLists lists(mesh.n_vertices(), std::min(most, images.size()));
    VertexProjection projection(mesh, limits, lists);
    Progress progress(images.size());
    for (int const k : order)
    {
        auto const n = projection.project(k, images[static_cast<std::size_t>(k)]);
        log("  image( %d ) projected vertices: %d\n", k, static_cast<int>(n));
        progress.advance();
    }
    if (!std::is_sorted(order.begin(), order.end()))
    {
        lists.sort_by_view();
    }
    return lists;
}

std::size_t project_faces(TriMesh& mesh, TexProperties const& properties,
                          VertTexLists const& vertices)
{
    std::vector<std::uint8_t> has_tex(mesh.n_faces());
    parallel_for_blocks(
        static_cast<std::ptrdiff_t>(mesh.n_faces()),
        [&](std::ptrdiff_t begin, std::ptrdiff_t end)
        {
            std::vector<CommonView> views;
            for (std::ptrdiff_t f = begin; f < end; ++f)
            {
                OpenMesh::FaceHandle const face(static_cast<int>(f));
                find_common_views(corners_in_order(mesh, face), vertices, views);
                sort_by_cosine(views);
                fill_face_list(views, mesh.property(properties.face_tex_list, face));
                if (!views.empty())
                {
                    has_tex[static_cast<std::size_t>(f)] = 1;
                    mesh.property(properties.face_tex_index, face) = 0;
                    mesh.property(properties.face_tex_label, face) = views.front().image_id();
                }
            }
        });
    for (auto const face : mesh.all_faces())
    {
        mesh.property(properties.face_has_tex, face) =
            has_tex[static_cast<std::size_t>(face.idx())] != 0;
    }
    return static_cast<std::size_t>(std::count(has_tex.begin(), has_tex.end(), 1));
}

} // namespace OrvaneAlgorithm::detail
