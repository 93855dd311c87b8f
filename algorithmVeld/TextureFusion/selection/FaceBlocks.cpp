#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"

#include "algorithmVeld/TextureFusion/selection/LabelCounts.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::FaceHandle;

std::size_t slot_of(FaceHandle face)
{
    return static_cast<std::size_t>(face.idx());
}

bool is_small_region(std::vector<FaceHandle> const& faces, int small_region_face_thr)
{
    return static_cast<std::ptrdiff_t>(faces.size()) <= small_region_face_thr;
}

void unvisit_all(TriMesh& mesh, TexProperties const& properties)
{
    for (auto const face : mesh.all_faces())
    {
        mesh.property(properties.face_visited, face) = false;
    }
}

/// Gives a face the view of a label. \return false, and nothing changes, if it is not seen there
bool relabel(TriMesh& mesh, TexProperties const& properties, FaceHandle face, int label)
{
    auto const& list = mesh.property(properties.face_tex_list, face);
    auto const found =
        std::find_if(list.begin(), list.end(),
                     [label](FaceTex const& entry) { return entry.image_id == label; });
    if (found == list.end())
    {
        return false;
    }
    mesh.property(properties.face_tex_label, face) = label;
    mesh.property(properties.face_tex_index, face) = static_cast<int>(found - list.begin());
    return true;
}

/// Takes the view from faces without textured neighbours. Their order does not matter.
void drop_lone_faces(TriMesh& mesh, TexProperties const& properties)
{
    AcrossEdges const across(mesh);
    for (auto const face : mesh.faces())
    {
        if (mesh.property(properties.face_has_tex, face) &&
            across(face, [&](FaceHandle other)
                   { return !mesh.property(properties.face_has_tex, other); }))
        {
            mesh.property(properties.face_has_tex, face) = false;
        }
    }
}

/// Goes through the blocks of a mesh, and gives the small ones to their neighbours.
class BlockSearch
{
public:
    BlockSearch(TriMesh& mesh, TexProperties const& properties)
        : mesh_(mesh), properties_(properties), across_(mesh), roles_(mesh.n_faces(), Role::NONE)
    {
        unvisit_all(mesh, properties);
    }

    RelabelledFaces run(int small_region_face_thr)
    {
        RelabelledFaces relabelled;
        LoopProgress progress(mesh_.n_faces());
        for (auto const face : mesh_.faces())
        {
            progress.next();
            if (has_tex(face) && !mesh_.property(properties_.face_visited, face))
            {
                grow_block(face);
                if (is_small_region(block_, small_region_face_thr))
                {
                    collect_ring();
                    int const n = give_to_ring();
                    relabelled.faces += n;
                    relabelled.blocks += n > 0 ? 1 : 0;
                }
                forget();
            }
        }
        return relabelled;
    }

private:
    enum class Role : std::uint8_t
    {
        NONE,
        IN_BLOCK,
        IN_RING
    };

    bool has_tex(FaceHandle face) const { return mesh_.property(properties_.face_has_tex, face); }
    int label(FaceHandle face) const { return mesh_.property(properties_.face_tex_label, face); }
    Role& role(FaceHandle face) { return roles_[slot_of(face)]; }

    void take_into_block(FaceHandle face)
    {
        mesh_.property(properties_.face_visited, face) = true;
        role(face) = Role::IN_BLOCK;
    }

    void grow_block(FaceHandle start)
    {
        block_.assign(1, start);
        take_into_block(start);
        int const own = label(start);
        grow_faces(mesh_, block_,
                   [&](FaceHandle, FaceHandle other)
                   {
                       if (!has_tex(other) || label(other) != own ||
                           mesh_.property(properties_.face_visited, other))
                       {
                           return Growth::PASS;
                       }
                       take_into_block(other);
                       return Growth::TAKE;
                   });
    }

    /// Each face of the ring counts once, however many faces of the block it touches.
    void collect_ring()
    {
        ring_.clear();
        for (FaceHandle const face : block_)
        {
            across_(face,
                    [&](FaceHandle other)
                    {
                        if (has_tex(other) && role(other) == Role::NONE)
                        {
                            role(other) = Role::IN_RING;
                            ring_.push_back(other);
                        }
                        return true;
                    });
        }
    }

    /// Each face takes the most frequent view of the ring in which it is seen, and keeps its own
    /// where there is none: a block can fall apart. \return how many take one
    int give_to_ring()
    {
        counts_.clear();
        for (FaceHandle const face : ring_)
        {
            counts_.add(label(face));
        }
        std::vector<int> const labels = counts_.by_frequency();
        return static_cast<int>(std::count_if(
            block_.begin(), block_.end(),
            [&](FaceHandle face)
            {
                return std::any_of(labels.begin(), labels.end(),
                                   [&](int candidate)
                                   { return relabel(mesh_, properties_, face, candidate); });
            }));
    }

    /// The ring's faces can still be in a block of their own.
    void forget()
    {
        for (FaceHandle const face : block_)
        {
            role(face) = Role::NONE;
        }
        for (FaceHandle const face : ring_)
        {
            role(face) = Role::NONE;
        }
        ring_.clear();
    }

    TriMesh& mesh_;
    TexProperties const& properties_;
    AcrossEdges across_;
    std::vector<Role> roles_;
    std::vector<FaceHandle> block_;
    std::vector<FaceHandle> ring_;
    LabelCounts counts_;
};

/// Marks the faces that have a textured face of another view across an edge.
std::vector<std::uint8_t> mark_block_borders(TriMesh const& mesh, TexProperties const& properties)
{
    std::vector<std::uint8_t> marks(mesh.n_faces());
    AcrossEdges const across(mesh);
    parallel_for_short(mesh.n_faces(),
                       [&](std::size_t f)
                       {
                           FaceHandle const face(static_cast<int>(f));
                           if (!mesh.property(properties.face_has_tex, face))
                           {
                               return;
                           }
                           int const own = mesh.property(properties.face_tex_label, face);
                           bool const is_inside = across(
                               face,
                               [&](FaceHandle other)
                               {
                                   return !mesh.property(properties.face_has_tex, other) ||
                                          mesh.property(properties.face_tex_label, other) == own;
                               });
                           marks[f] = is_inside ? 0 : 1;
                       });
    return marks;
}

/// The views of the neighbours of a face.
/// \param neighbours `AcrossEdges` or `AroundCorners`; a face that comes several times counts so
/// often
template <typename Neighbours>
void count_views(TriMesh const& mesh, TexProperties const& properties, Neighbours const& neighbours,
                 FaceHandle face, LabelCounts& counts)
{
    counts.clear();
    neighbours(face,
               [&](FaceHandle other)
               {
                   if (mesh.property(properties.face_has_tex, other))
                   {
                       counts.add(mesh.property(properties.face_tex_label, other));
                   }
                   return true;
               });
}

} // namespace

std::size_t filter_face_tex(TriMesh& mesh, TexProperties const& properties,
                            int small_region_face_thr)
{
    log("filter_face_tex() ..\n");
    drop_lone_faces(mesh, properties);
    unvisit_all(mesh, properties);
    auto const take = [&](FaceHandle face)
    {
        if (!mesh.property(properties.face_has_tex, face) ||
            mesh.property(properties.face_visited, face))
        {
            return Growth::PASS;
        }
        mesh.property(properties.face_visited, face) = true;
        return Growth::TAKE;
    };
    std::size_t largest = 0;
    std::vector<FaceHandle> region;
    LoopProgress progress(mesh.n_faces());
    for (auto const start : mesh.faces())
    {
        progress.next();
        if (take(start) == Growth::TAKE)
        {
            region.assign(1, start);
            grow_faces(mesh, region, [&](FaceHandle, FaceHandle other) { return take(other); });
            for (FaceHandle const face : region)
            {
                mesh.property(properties.face_has_tex, face) =
                    !is_small_region(region, small_region_face_thr);
            }
            largest = std::max(largest, region.size());
        }
    }
    return largest;
}

RelabelledFaces optimize_face_tex(TriMesh& mesh, TexProperties const& properties,
                                  int small_region_face_thr)
{
    log("optimize_face_tex() ..\n");
    return BlockSearch(mesh, properties).run(small_region_face_thr);
}

std::vector<std::uint8_t> find_block_by_face(TriMesh& mesh, TexProperties const& properties,
                                             int small_region_face_thr)
{
    unvisit_all(mesh, properties);
    std::vector<std::uint8_t> is_in_small_block(mesh.n_faces());
    std::vector<FaceHandle> block;
    LoopProgress progress(mesh.n_faces());
    for (auto const start : mesh.faces())
    {
        progress.next();
        int const label = mesh.property(properties.face_tex_label, start);
        auto const take = [&](FaceHandle face)
        {
            if (!mesh.property(properties.face_has_tex, face) ||
                mesh.property(properties.face_visited, face) ||
                mesh.property(properties.face_tex_label, face) != label)
            {
                return Growth::PASS;
            }
            mesh.property(properties.face_visited, face) = true;
            return Growth::TAKE;
        };
        if (take(start) == Growth::TAKE)
        {
            block.assign(1, start);
            grow_faces(mesh, block, [&](FaceHandle, FaceHandle other) { return take(other); });
            for (FaceHandle const face : block)
            {
                is_in_small_block[slot_of(face)] =
                    is_small_region(block, small_region_face_thr) ? 1 : 0;
            }
        }
    }
    return is_in_small_block;
}

int greedy_change_face_tex_by_edge_shared(TriMesh& mesh, TexProperties const& properties)
{
    log("greedy_change_face_tex_by_edge_shared() ..\n");
    auto const is_at_border = mark_block_borders(mesh, properties);
    LabelCounts across;
    int n_affected = 0;
    LoopProgress progress(mesh.n_faces());
    for (auto const face : mesh.faces())
    {
        progress.next();
        if (is_at_border[slot_of(face)] == 0)
        {
            continue;
        }
        count_views(mesh, properties, AcrossEdges(mesh), face, across);
        int const own = mesh.property(properties.face_tex_label, face);
        if (across.most_frequent() != own &&
            relabel(mesh, properties, face, across.most_frequent()))
        {
            ++n_affected;
        }
    }
    log("  affected faces:    %6d\n", n_affected);
    return n_affected;
}

void optimize_boundary_iteration(TriMesh& mesh, TexProperties const& properties)
{
    log("optimize_boundary_iteration() ..\n");
    Stages stages({1, 3});
    stages.next();
    auto is_queued = mark_block_borders(mesh, properties);
    std::vector<FaceHandle> queue;
    for (auto const face : mesh.faces())
    {
        if (is_queued[slot_of(face)] != 0)
        {
            queue.push_back(face);
        }
    }
    stages.next();
    auto const label = [&](FaceHandle face) -> int&
    { return mesh.property(properties.face_tex_label, face); };
    LabelCounts around;
    auto const take_majority = [&](FaceHandle face)
    {
        count_views(mesh, properties, AroundCorners(mesh), face, around);
        return !around.empty() && around.most_frequent() != label(face) &&
               relabel(mesh, properties, face, around.most_frequent());
    };
    // A face comes into the queue once, though its surroundings may change again: so it ends.
    AcrossEdges const across(mesh);
    grow(
        queue,
        [&](FaceHandle face, auto const& visit)
        { return !take_majority(face) || across(face, visit); },
        [&](FaceHandle face, FaceHandle other)
        {
            auto& mark = is_queued[slot_of(other)];
            if (mark != 0 || !mesh.property(properties.face_has_tex, other) ||
                label(other) == label(face))
            {
                return Growth::PASS;
            }
            mark = 1;
            return Growth::TAKE;
        });
}

} // namespace OrvaneAlgorithm::detail
