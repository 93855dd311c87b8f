#include "algorithmVeld/common/TriMesh.h"

#include "algorithmVeld/common/detail/BoundingBox.h"
#include "algorithmVeld/common/detail/MeshScope.h"

namespace OrvaneAlgorithm
{

int TriMesh::swap_out_data()
{
    return 1;
}

int TriMesh::swap_in_data()
{
    return 1;
}

void TriMesh::clear()
{
    drop_swap_file();
    clean();
    vprops_resize(0);
    eprops_resize(0);
    hprops_resize(0);
    fprops_resize(0);
}

void TriMesh::squeeze()
{
    garbage_collection(true, true, true);
}

void TriMesh::get_boundBox(Vector3f& min, Vector3f& max) const
{
    detail::bounding_box(points(), n_vertices(), min, max);
}

bool TriMesh::is_legal() const
{
    for (auto const vertex : all_vertices())
    {
        if (!point(vertex).allFinite())
        {
            return false;
        }
    }
    for (auto const face : all_faces())
    {
        auto const first = halfedge_handle(face);
        auto h = first;
        for (int i = 0; i < 3; ++i)
        {
            if (!is_valid_handle(h) || face_handle(h) != face ||
                !is_valid_handle(to_vertex_handle(h)) ||
                to_vertex_handle(h) == from_vertex_handle(h))
            {
                return false;
            }
            h = next_halfedge_handle(h);
        }
        if (h != first)
        {
            return false;
        }
    }
    return true;
}

void TriMesh::repair_illegal()
{
    detail::DeletionScope const scope(*this);
    for (auto const vertex : all_vertices())
    {
        if (!point(vertex).allFinite() && !status(vertex).deleted())
        {
            delete_vertex(vertex, false);
        }
    }
    garbage_collection(true, true, true);
}

void TriMesh::reserve_more(size_t vertices, size_t edges, size_t faces)
{
    reserve(n_vertices() + vertices, n_edges() + edges, n_faces() + faces);
}

} // namespace OrvaneAlgorithm
