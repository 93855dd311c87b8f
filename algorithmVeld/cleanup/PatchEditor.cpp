#include "algorithmVeld/cleanup/PatchEditor.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/mesh/MeshInfo.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <limits>
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

// ------------------------------------------------------------------------------------- components

/// The components of faces or vertices. Their edges tell which of them hang together: one pass over
/// the edges in their order needs a fraction of the time of a search from neighbour to neighbour.
class Components
{
public:
    explicit Components(std::size_t n) : sets_(n), size_(n, 0) {}

    void join(int a, int b) { sets_.join(a, b); }

    /// Counts an element to its component, when all are joined.
    void count(std::size_t element)
    {
        int& size = size_of(element);
        number_ += size == 0 ? 1 : 0;
        largest_ = std::max(largest_, ++size);
    }

    /// Of how many elements these are the components, counted or not.
    std::size_t n_elements() const { return size_.size(); }

    /// How many components there are among the elements that were counted.
    int number() const { return number_; }

    /// How many elements the largest component has.
    int largest() const { return largest_; }

    /// How many elements the component of an element has.
    int& size_of(std::size_t element)
    {
        return size_[static_cast<std::size_t>(sets_.root(static_cast<int>(element)))];
    }

private:
    detail::DisjointSets sets_;
    std::vector<int> size_;
    int number_ = 0;
    int largest_ = 0;
};

/// Calls `visit` with each face, or vertex, that is not marked deleted when its turn comes.
template <typename Element, typename Visit>
void for_each_live(TriMesh const& mesh, std::size_t n, Visit const& visit)
{
    detail::LoopProgress progress(n);
    for (std::size_t i = 0; i < n; ++i)
    {
        progress.next();
        Element const element(static_cast<int>(i));
        if (!detail::is_deleted(mesh, element))
        {
            visit(element);
        }
    }
}

/// The components of those faces that a rule takes; faces hang together over edges.
template <typename Rule>
Components face_components(TriMesh const& mesh, Rule const& takes)
{
    Components components(mesh.n_faces());
    int const n = static_cast<int>(mesh.n_edges());
    detail::LoopProgress progress(mesh.n_edges());
    for (int e = 0; e < n; ++e)
    {
        progress.next();
        auto const a = mesh.face_handle(OpenMesh::HalfedgeHandle(2 * e));
        auto const b = mesh.face_handle(OpenMesh::HalfedgeHandle(2 * e + 1));
        if (a.is_valid() && b.is_valid() && takes(a) && takes(b))
        {
            components.join(a.idx(), b.idx());
        }
    }
    for_each_live<FaceHandle>(mesh, mesh.n_faces(),
                              [&](FaceHandle face)
                              {
                                  if (takes(face))
                                  {
                                      components.count(place(face));
                                  }
                              });
    return components;
}

/// The components of all faces.
Components face_components(TriMesh const& mesh)
{
    return face_components(mesh, [](FaceHandle) { return true; });
}

/// The components of the vertices; vertices hang together along edges.
Components vertex_components(TriMesh const& mesh)
{
    Components components(mesh.n_vertices());
    int const n = static_cast<int>(mesh.n_edges());
    detail::LoopProgress progress(mesh.n_edges());
    for (int e = 0; e < n; ++e)
    {
        progress.next();
        OpenMesh::HalfedgeHandle const h(2 * e);
        if (!mesh.status(OpenMesh::EdgeHandle(e)).deleted())
        {
            components.join(mesh.from_vertex_handle(h).idx(), mesh.to_vertex_handle(h).idx());
        }
    }
    for_each_live<VertexHandle>(mesh, mesh.n_vertices(),
                                [&](VertexHandle vertex) { components.count(place(vertex)); });
    return components;
}

void log_patches(bool verbose, char const* format, Components const& components)
{
    detail::log_line(verbose, "  ==========< patch info >==========\n");
    detail::log_line(verbose, format, components.number());
}

/// Deletes the components of up to `limit` elements, and logs the sizes before and after.
/// \param count_line how their number is logged
/// \param find_components gives those of the mesh
/// \param delete_element marks one element deleted
template <typename Element, typename Find, typename Delete>
void remove_small(TriMesh& mesh, int limit, bool verbose, char const* count_line,
                  Find const& find_components, Delete const& delete_element)
{
    detail::log_size(verbose, detail::INITIAL_SIZE, mesh);
    {
        detail::DeletionScope const status(mesh);
        detail::CompactedOnException const compacted(mesh);
        detail::Stages stages({6, 2, 2});
        stages.next();
        Components components = find_components(mesh);
        log_patches(verbose, count_line, components);
        stages.next();
        for_each_live<Element>(mesh, components.n_elements(),
                               [&](Element element)
                               {
                                   if (components.size_of(place(element)) <= limit)
                                   {
                                       delete_element(element);
                                   }
                               });
        stages.next();
        detail::compact(mesh);
    }
    detail::log_size(verbose, detail::FINAL_SIZE, mesh);
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
        find_boundary_faces();
        detail::grow_faces(mesh_, peeled_,
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

    /// Deletes the pieces of the core that have fewer faces than the limit. Exactly as many stay,
    /// unlike with plain components. The order of deletion tells from which halfedge on a vertex
    /// that keeps several fans is walked round, so it is that of a search.
    void delete_small_cores(int face_thr)
    {
        detail::Stages stages({3, 1});
        stages.next();
        auto cores = face_components(mesh_, [&](FaceHandle face) { return layer(face) == 0; });
        stages.next();
        for_each_live<FaceHandle>(mesh_, layer_.size(),
                                  [&](FaceHandle first)
                                  {
                                      if (layer(first) != 0 ||
                                          cores.size_of(place(first)) >= face_thr)
                                      {
                                          return;
                                      }
                                      for (auto const face : take_core(first))
                                      {
                                          delete_face(face);
                                      }
                                  });
    }

    /// Gives the cores that are left their rings back. All of the core is at distance 0, so it is
    /// enough to begin with what is next to peeled faces.
    void grow_back()
    {
        std::vector<FaceHandle> faces = core_next_to_peeled_faces();
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
        for_each_live<FaceHandle>(mesh_, layer_.size(),
                                  [&](FaceHandle face)
                                  {
                                      if (layer(face) > 0)
                                      {
                                          delete_face(face);
                                      }
                                  });
    }

private:
    int& layer(FaceHandle face) { return layer_[place(face)]; }

    void delete_face(FaceHandle face)
    {
        detail::delete_face_checked(mesh_, face, IsolatedVertices::DELETED);
    }

    /// Faces with a boundary edge are the first layer; a boundary vertex alone does not count.
    void find_boundary_faces()
    {
        int const n = static_cast<int>(mesh_.n_halfedges());
        detail::LoopProgress progress(mesh_.n_halfedges());
        for (int i = 0; i < n; ++i)
        {
            progress.next();
            OpenMesh::HalfedgeHandle const h(i);
            auto const face = mesh_.face_handle(h);
            if (face.is_valid() && layer(face) == 0 &&
                mesh_.is_boundary(mesh_.opposite_halfedge_handle(h)) &&
                !detail::is_deleted(mesh_, face))
            {
                layer(face) = 1;
                peeled_.push_back(face);
            }
        }
    }

    std::vector<FaceHandle> core_next_to_peeled_faces() const
    {
        std::vector<FaceHandle> core;
        detail::AcrossEdges const neighbours(mesh_);
        for (auto const face : peeled_)
        {
            neighbours(face,
                       [&](FaceHandle other)
                       {
                           if (layer_[place(other)] == 0)
                           {
                               core.push_back(other);
                           }
                           return true;
                       });
        }
        return core;
    }

    /// The piece of the core that a face belongs to, breadth first; it is part of the core no
    /// longer.
    std::vector<FaceHandle> take_core(FaceHandle first)
    {
        std::vector<FaceHandle> core{first};
        layer(first) = GONE;
        detail::grow_faces(mesh_, core,
                           [&](FaceHandle, FaceHandle other)
                           {
                               if (layer(other) != 0)
                               {
                                   return Growth::PASS;
                               }
                               layer(other) = GONE;
                               return Growth::TAKE;
                           });
        return core;
    }

    static constexpr int GONE = std::numeric_limits<int>::min();

    TriMesh& mesh_;
    int ring_num_;
    std::vector<int> layer_;
    std::vector<FaceHandle> peeled_;
};

} // namespace

int PatchEditor::count_components_by_face(TriMesh const& mesh)
{
    return face_components(mesh).number();
}

int PatchEditor::largest_component_by_face(TriMesh const& mesh)
{
    return face_components(mesh).largest();
}

RetVal PatchEditor::remove_small_components_by_face(TriMesh& mesh, int face_thr, bool verbose)
{
    detail::log_line(verbose, "remove_patch_by_face() with thr = %d ..\n", face_thr);
    remove_small<FaceHandle>(
        mesh, face_thr, verbose, "    # face patch:          %8d\n",
        [](TriMesh const& whole) { return face_components(whole); },
        [&](FaceHandle face)
        { detail::delete_face_checked(mesh, face, IsolatedVertices::DELETED); });
    return RET_SUCCESS;
}

RetVal PatchEditor::remove_small_components_by_vert(TriMesh& mesh, int vert_thr, bool verbose)
{
    detail::log_line(verbose, "remove_patch_by_vert() with thr = %d ..\n", vert_thr);
    remove_small<VertexHandle>(
        mesh, vert_thr, verbose, "    # vert patch:          %8d\n", vertex_components,
        [&](VertexHandle vertex)
        { detail::delete_vertex_checked(mesh, vertex, IsolatedVertices::DELETED); });
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
    detail::CompactedOnException const compacted(mesh);
    detail::Stages stages({2, 5, 1, 1, 1});
    stages.next();
    Opening opening(mesh, ring_num);
    opening.peel_boundaries();
    stages.next();
    opening.delete_small_cores(face_thr);
    stages.next();
    opening.grow_back();
    stages.next();
    opening.delete_what_was_not_reached();
    stages.next();
    detail::compact(mesh);
    return RET_SUCCESS;
}

} // namespace OrvaneAlgorithm
