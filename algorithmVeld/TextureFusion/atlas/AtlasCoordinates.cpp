#include "algorithmVeld/TextureFusion/atlas/AtlasCoordinates.h"

#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>
#include <cstdint>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;
using UVCoord = BaseTriMesh::UVCoord;

/// Whether the faces around a vertex have one coordinate there, or each its own.
enum class Sharing
{
    BY_VERTEX,
    NONE
};

/// The list of coordinates as it grows, with those that vertices share.
class CoordinateList
{
public:
    CoordinateList(std::vector<UVCoord>& coordinates, std::size_t n_vertices, int atlas_width,
                   int atlas_height)
        : coordinates_(coordinates),
          of_vertex_(n_vertices, NO_INDEX),
          width_(static_cast<float>(atlas_width)),
          height_(static_cast<float>(atlas_height))
    {
    }

    /// Appends a point of the atlas. \return its index
    int append(float column, float row)
    {
        coordinates_.push_back({column / width_, 1.0F - row / height_});
        return static_cast<int>(coordinates_.size()) - 1;
    }

    /// The index for a corner of a face. Where coordinates are shared, the first to ask for that of
    /// a vertex appends it.
    int index_of(Sharing sharing, VertexHandle vertex, float column, float row)
    {
        if (sharing == Sharing::NONE)
        {
            return append(column, row);
        }
        int& index = of_vertex_[static_cast<std::size_t>(vertex.idx())];
        if (index == NO_INDEX)
        {
            index = append(column, row);
        }
        return index;
    }

private:
    static constexpr int NO_INDEX = -1;

    std::vector<UVCoord>& coordinates_;
    std::vector<int> of_vertex_;
    float width_;
    float height_;
};

/// Whether a face at one of the corners of `face` is one that `is_other` tells.
template <typename IsOther>
bool touches(TriMesh const& mesh, FaceHandle face, IsOther const& is_other)
{
    return !AroundCorners(mesh)(face, [&](FaceHandle other) { return !is_other(other); });
}

/// Makes the faces `BOUNDARY` that touch another patch at a corner only.
void reclassify(TriMesh& mesh, TexProperties const& properties)
{
    parallel_for_short(
        mesh.n_faces(),
        [&](std::size_t i)
        {
            FaceHandle const face(static_cast<int>(i));
            int const own = mesh.property(properties.face_patch_id, face);
            if (mesh.property(properties.face_group, face) == FaceGroupType::NONBOUNDARY &&
                own >= 0 &&
                touches(mesh, face,
                        [&](FaceHandle other)
                        {
                            int const id = mesh.property(properties.face_patch_id, other);
                            return id >= 0 && id != own &&
                                   mesh.property(properties.face_has_tex, other);
                        }))
            {
                mesh.property(properties.face_group, face) = FaceGroupType::BOUNDARY;
            }
        });
}

Sharing sharing_of(FaceGroupType group)
{
    return group == FaceGroupType::ISOLATED || group == FaceGroupType::NONBOUNDARY
               ? Sharing::BY_VERTEX
               : Sharing::NONE;
}

/// The indices of a face's corners.
/// \param place `place(vertex, k)` gives the column and the row of corner `k` in the atlas
template <typename Place>
Vector3i corner_indices(TriMesh const& mesh, FaceHandle face, Sharing sharing, Place const& place,
                        CoordinateList& list)
{
    Vector3i indices = Vector3i::Zero();
    Eigen::Index k = 0;
    for (auto const vertex : mesh.fv_range(face))
    {
        Vector2f const at = place(vertex, static_cast<std::size_t>(k));
        indices[k++] = list.index_of(sharing, vertex, at.x(), at.y());
    }
    return indices;
}

/// The indices of a face with a view.
Vector3i patch_indices(TriMesh const& mesh, TexProperties const& properties, FaceHandle face,
                       PatchTex const& patch, Sharing sharing, CoordinateList& list)
{
    FaceTex const& chosen = properties.chosen(mesh, face);
    auto const dx = static_cast<float>(patch.atlas_x - patch.min_x);
    auto const dy = static_cast<float>(patch.atlas_y - patch.min_y);
    return corner_indices(
        mesh, face, sharing,
        [&](VertexHandle, std::size_t k)
        { return Vector2f(dx + chosen.corner[k].u, dy + chosen.corner[k].v); },
        list);
}

/// The same for a face of a repaired hole.
Vector3i hole_indices(TriMesh const& mesh, TexProperties const& properties, FaceHandle face,
                      PatchTex const& hole, Sharing sharing, CoordinateList& list)
{
    // Pixels of a virtual view may be as far off as an int goes.
    auto const in_atlas = [](int pixel, int min, int corner)
    { return static_cast<float>(std::int64_t{pixel} - min + corner); };
    return corner_indices(
        mesh, face, sharing,
        [&](VertexHandle vertex, std::size_t /*k*/)
        {
            Vector2i const& pixel = mesh.property(properties.vert_hole_uv, vertex);
            return Vector2f(in_atlas(pixel.x(), hole.min_x, hole.atlas_x),
                            in_atlas(pixel.y(), hole.min_y, hole.atlas_y));
        },
        list);
}

/// Gives coordinates to those faces with a view that share them, or to the others.
void give_patch_coordinates(TriMesh& mesh, TexProperties const& properties,
                            std::vector<PatchTex> const& patches, Sharing sharing,
                            CoordinateList& list)
{
    LoopProgress progress(mesh.n_faces());
    for (auto const face : mesh.all_faces())
    {
        progress.next();
        if (mesh.property(properties.face_has_tex, face) &&
            sharing_of(mesh.property(properties.face_group, face)) == sharing)
        {
            auto const id = static_cast<std::size_t>(mesh.property(properties.face_patch_id, face));
            mesh.property(properties.face_uv_index, face) =
                patch_indices(mesh, properties, face, patches[id], sharing, list);
        }
    }
}

/// Gives coordinates to the faces of hole number `h`.
void give_hole_coordinates(TriMesh& mesh, TexProperties const& properties,
                           std::vector<FaceHandle> const& faces, int h, PatchTex const& hole,
                           CoordinateList& list)
{
    auto const give = [&](FaceHandle face, Sharing sharing)
    {
        mesh.property(properties.face_uv_index, face) =
            hole_indices(mesh, properties, face, hole, sharing, list);
    };
    auto const is_of_another = [&](FaceHandle face)
    {
        int const id = mesh.property(properties.face_hole_id, face);
        return id >= 0 && id != h;
    };
    // Holes are connected through vertices, so that no two of them should touch.
    std::vector<FaceHandle> at_seams;
    CancelPoll poll;
    for (auto const face : faces)
    {
        poll.next();
        if (touches(mesh, face, is_of_another))
        {
            at_seams.push_back(face);
        }
        else
        {
            give(face, Sharing::BY_VERTEX);
        }
    }
    for (auto const face : at_seams)
    {
        give(face, Sharing::NONE);
    }
}

} // namespace

std::vector<UVCoord> patch_coordinates(TriMesh& mesh, TexProperties const& properties,
                                       std::vector<PatchTex> const& patches, BlackCell black_cell,
                                       int atlas_width, int atlas_height)
{
    std::vector<UVCoord> coordinates;
    coordinates.reserve(mesh.n_vertices());
    CoordinateList list(coordinates, mesh.n_vertices(), atlas_width, atlas_height);
    int const black =
        list.append(static_cast<float>(black_cell.column), static_cast<float>(black_cell.row));
    mesh.property(properties.face_uv_index)
        .data_vector()
        .assign(mesh.n_faces(), Vector3i::Constant(black));

    Stages stages({2, 1, 1});
    stages.next();
    reclassify(mesh, properties);
    stages.next();
    give_patch_coordinates(mesh, properties, patches, Sharing::BY_VERTEX, list);
    stages.next();
    give_patch_coordinates(mesh, properties, patches, Sharing::NONE, list);
    return coordinates;
}

void append_hole_coordinates(TriMesh& mesh, TexProperties const& properties,
                             std::vector<std::vector<FaceHandle>> const& holes,
                             std::vector<PatchTex> const& hole_patches, int atlas_width,
                             int atlas_height, std::vector<UVCoord>& coordinates)
{
    CoordinateList list(coordinates, mesh.n_vertices(), atlas_width, atlas_height);
    Progress progress(holes.size());
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        if (hole_patches[h].is_hole && hole_patches[h].repaired)
        {
            give_hole_coordinates(mesh, properties, holes[h], static_cast<int>(h), hole_patches[h],
                                  list);
        }
        progress.advance();
    }
}

} // namespace OrvaneAlgorithm::detail
