#include "algorithmVeld/TextureFusion/seams/EdgeSeam.h"

#include "algorithmVeld/TextureFusion/seams/ImageLine.h"
#include "algorithmVeld/TextureFusion/solve/ColourClamp.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/running/Log.h"

#include <cstdlib>

namespace OrvaneAlgorithm::detail
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

namespace
{

std::vector<VertexHandle> shared_vertices(TriMesh const& mesh, FaceHandle a, FaceHandle b)
{
    std::vector<VertexHandle> shared;
    for (auto const vertex : mesh.fv_range(a))
    {
        for (auto const other : mesh.fv_range(b))
        {
            if (vertex == other)
            {
                shared.push_back(vertex);
            }
        }
    }
    return shared;
}

/// The edges of seams of one patch, as they are collected.
class EdgePixels
{
public:
    EdgePixels(TriMesh const& mesh, TexProperties const& properties,
               std::vector<TexImage> const& images, PatchTex const& patch,
               RasterizedEdges& rasterized)
        : mesh_(mesh),
          properties_(properties),
          images_(images),
          patch_(patch),
          rasterized_(rasterized)
    {
    }

    /// Adds the edge between a face of the patch and one of another.
    void add(FaceHandle face, FaceHandle other)
    {
        auto const shared = shared_vertices(mesh_, face, other);
        if (shared.size() != 2)
        {
            log("  unexpected vertex pair [%s (%d)]\n", __FILE__, __LINE__);
            return;
        }
        int const patch_id = mesh_.property(properties_.face_patch_id, face);
        auto const end = [&](VertexHandle vertex)
        { return seam_pixel(mesh_, properties_, images_, patch_, patch_id, vertex); };
        SeamPixel const first = end(shared[0]);
        SeamPixel const last = end(shared[1]);
        add_between(first, last);
        ends_.push_back(first);
        ends_.push_back(last);
    }

    /// All pixels; nothing is left.
    std::vector<SeamPixel> take()
    {
        between_.insert(between_.end(), ends_.begin(), ends_.end());
        ends_.clear();
        return std::move(between_);
    }

private:
    void add_between(SeamPixel const& first, SeamPixel const& last)
    {
        Vector2i const from(first.x, first.y);
        Vector2i const to(last.x, last.y);
        int const length = (to - from).cwiseAbs().maxCoeff();
        int n = 0;
        walk_image_line(from, to,
                        [&](Vector2i const& pixel)
                        {
                            ++n;
                            int const way = (pixel - from).cwiseAbs().maxCoeff();
                            if (way > 0 && way < length)
                            {
                                between_.push_back(
                                    between(first, last, pixel,
                                            static_cast<float>(way) / static_cast<float>(length)));
                            }
                        });
        rasterized_.add(n);
    }

    /// \param share how far along the edge the pixel is
    SeamPixel between(SeamPixel const& first, SeamPixel const& last, Vector2i const& pixel,
                      float share) const
    {
        auto const& photo = images_[static_cast<std::size_t>(patch_.label)].image;
        auto const* const own = photo.pixel(pixel.x() + patch_.min_x, pixel.y() + patch_.min_y);
        SeamPixel result;
        result.x = pixel.x();
        result.y = pixel.y();
        for (std::size_t c = 0; c < 3; ++c)
        {
            result.correction[c] =
                first.correction[c] + share * (last.correction[c] - first.correction[c]);
            result.mean[c] = clamped_colour(result.correction[c] + static_cast<float>(own[c]));
        }
        return result;
    }

    TriMesh const& mesh_;
    TexProperties const& properties_;
    std::vector<TexImage> const& images_;
    PatchTex const& patch_;
    RasterizedEdges& rasterized_;
    std::vector<SeamPixel> between_;
    std::vector<SeamPixel> ends_;
};

} // namespace

std::vector<SeamPixel> edge_seam(TriMesh const& mesh, TexProperties const& properties,
                                 std::vector<TexImage> const& images, PatchTex const& patch,
                                 std::vector<FaceHandle> const& boundary_faces,
                                 RasterizedEdges& rasterized)
{
    EdgePixels pixels(mesh, properties, images, patch, rasterized);
    AcrossEdges const across(mesh);
    for (auto const face : boundary_faces)
    {
        int const patch_id = mesh.property(properties.face_patch_id, face);
        across(face,
               [&](FaceHandle other)
               {
                   int const other_id = mesh.property(properties.face_patch_id, other);
                   if (mesh.property(properties.face_has_tex, other) && other_id >= 0 &&
                       other_id != patch_id &&
                       mesh.property(properties.face_tex_label, other) != patch.label)
                   {
                       pixels.add(face, other);
                   }
                   return true;
               });
    }
    return pixels.take();
}

} // namespace OrvaneAlgorithm::detail
