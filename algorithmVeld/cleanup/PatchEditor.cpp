#include "algorithmVeld/cleanup/PatchEditor.h"

#include "algorithmVeld/cleanup/detail/MeshCounts.h"
#include "algorithmVeld/common/detail/Compaction.h"
#include "algorithmVeld/common/detail/FaceSearch.h"
#include "algorithmVeld/common/detail/Log.h"
#include "algorithmVeld/common/detail/MeshScope.h"

#include <vector>

namespace OrvaneAlgorithm
{

using detail::Growth;
using detail::IsolatedVertices;
using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

namespace
{

template <typename Element>
std::size_t place(Element element)
{
    return static_cast<std::size_t>(element.idx());
}

template <typename Element>
Element element_at(std::size_t i)
{
    return Element(static_cast<int>(i));
}

// ------------------------------------------------------------------------------------- components

/// The components of the faces or of the vertices of a mesh, numbered in the order of their lowest
/// elements.
struct Components
{
    std::vector<int> number; ///< Of each element; -1 for one that is marked deleted.
    std::vector<int> size;   ///< Of each component.

    bool has_at_most(std::size_t element, int size_thr) const
    {
        return number[element] >= 0 && size[static_cast<std::size_t>(number[element])] <= size_thr;
    }
};

template <typename Element, typename Neighbours>
Components find_components(TriMesh const& mesh, std::size_t n, Neighbours const& neighbours)
{
    Components result;
    result.number.assign(n, -1);
    std::vector<Element> component;
    for (std::size_t i = 0; i < n; ++i)
    {
        if (result.number[i] >= 0 || detail::is_deleted(mesh, element_at<Element>(i)))
        {
            continue;
        }
        int const number = static_cast<int>(result.size.size());
        result.number[i] = number;
        component.assign(1, element_at<Element>(i));
        detail::grow(component, neighbours,
                     [&](Element, Element other)
                     {
                         int& number_of_other = result.number[place(other)];
                         if (number_of_other >= 0)
                         {
                             return Growth::PASS;
                         }
                         number_of_other = number;
                         return Growth::TAKE;
                     });
        result.size.push_back(static_cast<int>(component.size()));
    }
    return result;
}

void log_patches(bool verbose, char const* format, Components const& components)
{
    detail::log_line(verbose, "  ==========< patch info >==========\n");
    detail::log_line(verbose, format, static_cast<int>(components.size.size()));
}

// ---------------------------------------------------------------------------------------- opening

/// The layers of the faces while a mesh is opened: 0 in the core, from 1 on where boundaries were
/// peeled, below 0 where the core has grown back.
class Opening
{
public:
    Opening(TriMesh& mesh, int ring_num)
        : mesh_(mesh), ring_num_(ring_num), layer_(mesh.n_faces(), 0)
    {
    }

    void peel_boundaries()
    {
        std::vector<FaceHandle> faces;
        for_each_face(
            [&](FaceHandle face)
            {
                if (mesh_.is_boundary(face, false))
                {
                    layer(face) = 1;
                    faces.push_back(face);
                }
            });
        detail::grow_faces(mesh_, faces,
                           [&](FaceHandle face, FaceHandle other)
                           {
                               if (layer(face) >= ring_num_ || layer(other) != 0)
                               {
                                   return Growth::PASS;
                               }
                               layer(other) = layer(face) + 1;
                               return Growth::TAKE;
                           });
    }

    /// Deletes the pieces of the core that have fewer faces than the limit.
    void delete_small_cores(int face_thr)
    {
        std::vector<bool> visited(layer_.size(), false);
        std::vector<FaceHandle> core;
        for_each_face(
            [&](FaceHandle first)
            {
                if (visited[place(first)] || layer(first) != 0)
                {
                    return;
                }
                visited[place(first)] = true;
                core.assign(1, first);
                detail::grow_faces(mesh_, core,
                                   [&](FaceHandle, FaceHandle other)
                                   {
                                       if (visited[place(other)] || layer(other) != 0)
                                       {
                                           return Growth::PASS;
                                       }
                                       visited[place(other)] = true;
                                       return Growth::TAKE;
                                   });
                // Exactly as many as the limit stay, unlike with plain components.
                if (static_cast<int>(core.size()) < face_thr)
                {
                    delete_faces(core);
                }
            });
    }

    /// Gives the cores that are left their rings back.
    void grow_back()
    {
        std::vector<FaceHandle> faces;
        for_each_face(
            [&](FaceHandle face)
            {
                if (layer(face) == 0)
                {
                    faces.push_back(face);
                }
            });
        detail::grow_faces(mesh_, faces,
                           [&](FaceHandle face, FaceHandle other)
                           {
                               if (-layer(face) >= ring_num_ || layer(other) < 1 ||
                                   detail::is_deleted(mesh_, other))
                               {
                                   return Growth::PASS;
                               }
                               layer(other) = layer(face) - 1;
                               return Growth::TAKE;
                           });
    }

    void delete_what_was_not_reached()
    {
        for_each_face(
            [&](FaceHandle face)
            {
                if (layer(face) > 0)
                {
                    detail::delete_face_checked(mesh_, face, IsolatedVertices::DELETED);
                }
            });
    }

private:
    int& layer(FaceHandle face) { return layer_[place(face)]; }

    /// Calls `visit` with every face that is not deleted when its turn comes.
    template <typename Visit>
    void for_each_face(Visit const& visit)
    {
        for (std::size_t i = 0; i < layer_.size(); ++i)
        {
            auto const face = element_at<FaceHandle>(i);
            if (!detail::is_deleted(mesh_, face))
            {
                visit(face);
            }
        }
    }

    void delete_faces(std::vector<FaceHandle> const& faces)
    {
        for (auto const face : faces)
        {
            detail::delete_face_checked(mesh_, face, IsolatedVertices::DELETED);
        }
    }

    TriMesh& mesh_;
    int ring_num_;
    std::vector<int> layer_;
};

} // namespace

RetVal PatchEditor::remove_small_components_by_face(TriMesh& mesh, int face_thr, bool verbose)
{
    detail::log_line(verbose, "remove_patch_by_face() with thr = %d ..\n", face_thr);
    detail::log_mesh_counts(verbose, detail::INITIAL_COUNTS, mesh);
    {
        detail::DeletionScope const status(mesh);
        auto const components =
            find_components<FaceHandle>(mesh, mesh.n_faces(), detail::AcrossEdges(mesh));
        log_patches(verbose, "    # face patch:          %8d\n", components);
        for (std::size_t i = 0; i < components.number.size(); ++i)
        {
            if (components.has_at_most(i, face_thr))
            {
                detail::delete_face_checked(mesh, element_at<FaceHandle>(i),
                                            IsolatedVertices::DELETED);
            }
        }
        detail::compact(mesh);
    }
    detail::log_mesh_counts(verbose, detail::FINAL_COUNTS, mesh);
    return RET_SUCCESS;
}

RetVal PatchEditor::remove_small_components_by_vert(TriMesh& mesh, int vert_thr, bool verbose)
{
    detail::log_line(verbose, "remove_patch_by_vert() with thr = %d ..\n", vert_thr);
    detail::log_mesh_counts(verbose, detail::INITIAL_COUNTS, mesh);
    {
        detail::DeletionScope const status(mesh);
        auto const components =
            find_components<VertexHandle>(mesh, mesh.n_vertices(), detail::AlongEdges(mesh));
        log_patches(verbose, "    # vert patch:          %8d\n", components);
        for (std::size_t i = 0; i < components.number.size(); ++i)
        {
            if (components.has_at_most(i, vert_thr))
            {
                detail::delete_vertex_checked(mesh, element_at<VertexHandle>(i),
                                              IsolatedVertices::DELETED);
            }
        }
        detail::compact(mesh);
    }
    detail::log_mesh_counts(verbose, detail::FINAL_COUNTS, mesh);
    return RET_SUCCESS;
}

RetVal PatchEditor::remove_small_componets_by_face_strong_connection(TriMesh& mesh, int face_thr,
                                                                     int ring_num)
{
    if (face_thr < 1 || ring_num < 1)
    {
        return RET_INVALID_INPUT;
    }
    detail::DeletionScope const status(mesh, detail::HalfedgeStatus::LEFT_OUT);
    Opening opening(mesh, ring_num);
    opening.peel_boundaries();
    opening.delete_small_cores(face_thr);
    opening.grow_back();
    opening.delete_what_was_not_reached();
    detail::compact(mesh);
    return RET_SUCCESS;
}

} // namespace OrvaneAlgorithm
