#include "algorithmVeld/MeshAssistant/MeshAssistant.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh_files/ObjText.h"
#include "algorithmVeld/common/running/Log.h"

#include <queue>
#include <set>
#include <unordered_map>

namespace OrvaneAlgorithm
{

namespace
{

using VertexSet = std::set<OpenMesh::VertexHandle>;
using FaceSet = std::set<OpenMesh::FaceHandle>;

template <typename Element>
bool is_usable(TriMesh const& mesh, Element element)
{
    return mesh.is_valid_handle(element) && !detail::is_deleted(mesh, element);
}

/// Vertices with the one-based numbers that the file gives them.
class Numbering
{
public:
    void add(OpenMesh::VertexHandle vertex)
    {
        if (numbers_.emplace(vertex.idx(), static_cast<int>(order_.size()) + 1).second)
        {
            order_.push_back(vertex);
        }
    }

    /// A vertex that has its number already is written once more, without a use for it.
    void add_again(OpenMesh::VertexHandle vertex)
    {
        numbers_.emplace(vertex.idx(), static_cast<int>(order_.size()) + 1);
        order_.push_back(vertex);
    }

    std::vector<OpenMesh::VertexHandle> const& order() const { return order_; }

    /// The numbers of a face's corners; one that is not known is logged and left out.
    std::vector<int> corners(TriMesh const& mesh, OpenMesh::FaceHandle face) const
    {
        std::vector<int> result;
        for (auto it = mesh.cfv_iter(face); it.is_valid(); ++it)
        {
            auto const number = numbers_.find(it->idx());
            if (number == numbers_.end())
            {
                detail::log("invalid vetex index [%s (%d)]\n", __FILE__, __LINE__);
                continue;
            }
            result.push_back(number->second);
        }
        return result;
    }

private:
    std::vector<OpenMesh::VertexHandle> order_;
    std::unordered_map<int, int> numbers_;
};

void write_vertices(detail::ObjText& file, TriMesh const& mesh, Numbering const& numbering)
{
    for (auto const vertex : numbering.order())
    {
        file.vertex(mesh.point(vertex));
    }
}

void write_faces(detail::ObjText& file, TriMesh const& mesh, FaceSet const& faces,
                 Numbering const& numbering)
{
    for (auto const face : faces)
    {
        file.polygon(numbering.corners(mesh, face));
    }
}

/// The faces around some vertices.
FaceSet faces_around(TriMesh const& mesh, VertexSet const& vertices)
{
    FaceSet result;
    for (auto const vertex : vertices)
    {
        for (auto it = mesh.cvf_iter(vertex); it.is_valid(); ++it)
        {
            result.insert(*it);
        }
    }
    return result;
}

/// The faces within two rings of some vertices.
FaceSet faces_near(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& vertices)
{
    VertexSet near;
    for (auto const vertex : vertices)
    {
        if (!is_usable(mesh, vertex))
        {
            continue;
        }
        near.insert(vertex);
        for (auto it = mesh.cvv_iter(vertex); it.is_valid(); ++it)
        {
            near.insert(*it);
        }
    }
    return faces_around(mesh, near);
}

void add_corners(TriMesh const& mesh, FaceSet const& faces, Numbering& numbering)
{
    VertexSet corners;
    for (auto const face : faces)
    {
        for (auto it = mesh.cfv_iter(face); it.is_valid(); ++it)
        {
            corners.insert(*it);
        }
    }
    for (auto const corner : corners)
    {
        numbering.add(corner);
    }
}

/// Writes faces with their corners. \return false if the file cannot take them
bool write_region(char const* path, TriMesh const& mesh, FaceSet const& faces)
{
    Numbering numbering;
    add_corners(mesh, faces, numbering);
    detail::ObjText file(path);
    write_vertices(file, mesh, numbering);
    write_faces(file, mesh, faces, numbering);
    return file.close();
}

/// The boundary vertices that can be reached from one through boundary vertices.
VertexSet boundary_component(TriMesh& mesh, OpenMesh::VertexHandle start)
{
    VertexSet component{start};
    std::queue<OpenMesh::VertexHandle> queue({start});
    while (!queue.empty())
    {
        auto const vertex = queue.front();
        queue.pop();
        for (auto it = mesh.vv_iter(vertex); it.is_valid(); ++it)
        {
            if (mesh.is_boundary(*it) && component.insert(*it).second)
            {
                queue.push(*it);
            }
        }
    }
    return component;
}

} // namespace

void MeshAssistant::output_faces(TriMesh const& mesh,
                                 std::vector<OpenMesh::FaceHandle> const& faces,
                                 std::string const& name)
{
    detail::log("output_faces() ..\n");
    char path[512];
    format_line(path, "%s/%s", gPH.result_dir.c_str(), name.c_str());

    Numbering numbering;
    std::vector<OpenMesh::FaceHandle> usable;
    for (auto const face : faces)
    {
        if (!is_usable(mesh, face))
        {
            continue;
        }
        usable.push_back(face);
        for (auto it = mesh.cfv_iter(face); it.is_valid(); ++it)
        {
            numbering.add(*it);
        }
    }

    detail::ObjText file(path);
    file.vertex_count(static_cast<int>(numbering.order().size()));
    write_vertices(file, mesh, numbering);
    file.triangle_count(static_cast<int>(usable.size()));
    for (auto const face : usable)
    {
        file.polygon(numbering.corners(mesh, face));
    }
    if (!file.close())
    {
        detail::log("  !!!fail to write '%s'.\n", path);
    }
}

void MeshAssistant::output_hole_region(TriMesh& mesh, std::string const& directory)
{
    if (!gPH.log_enabled)
    {
        return;
    }
    VertexSet used;
    for (auto it = mesh.vertices_sbegin(); it != mesh.vertices_end(); ++it)
    {
        OpenMesh::VertexHandle const start = *it;
        if (!mesh.is_boundary(start) || used.count(start) != 0)
        {
            continue;
        }
        auto const component = boundary_component(mesh, start);
        used.insert(component.begin(), component.end());
        char path[512];
        format_line(path, "%s/vertex-%d-hole-region.obj", directory.c_str(), start.idx());
        if (!write_region(path, mesh, faces_around(mesh, component)))
        {
            detail::log_line(true, "fail to write '%s' [%s (%d)].\n", path, __FILE__, __LINE__);
        }
    }
}

void MeshAssistant::output_neighbour_region(TriMesh const& mesh, OpenMesh::VertexHandle const& a,
                                            OpenMesh::VertexHandle const& b,
                                            OpenMesh::VertexHandle const& c,
                                            Vector3f const& /*point_a*/,
                                            Vector3f const& /*point_b*/, float radius, bool failed,
                                            // Hosts know it with a copy.
                                            // NOLINTNEXTLINE(performance-unnecessary-value-param)
                                            std::string name)
{
    if (gPH.debug_dir.empty() || !is_usable(mesh, a) || !is_usable(mesh, b) || !is_usable(mesh, c))
    {
        return;
    }
    char path[512];
    format_line(path,
                failed ? "%s/%s-patch_radius-%f_[%d-%d-%d]_with-failed-face.obj"
                       : "%s/%s-patch_radius-%f_[%d-%d-%d].obj",
                gPH.debug_dir.c_str(), name.c_str(), static_cast<double>(radius), a.idx(), b.idx(),
                c.idx());

    // The triangle's corners are the first three vertices of the file, also where two coincide.
    Numbering numbering;
    for (auto const corner : {a, b, c})
    {
        numbering.add_again(corner);
    }
    auto const faces = faces_near(mesh, {a, b, c});
    add_corners(mesh, faces, numbering);

    detail::ObjText file(path);
    write_vertices(file, mesh, numbering);
    file.triangle(1, 2, 3);
    write_faces(file, mesh, faces, numbering);
    if (!file.close())
    {
        detail::log("fail to write '%s'.\n", path);
    }
}

void MeshAssistant::output_nodes_region(TriMesh const& mesh,
                                        std::vector<OpenMesh::VertexHandle> const& nodes,
                                        std::string& name)
{
    if (nodes.empty())
    {
        return;
    }
    char path[512];
    format_line(path, "%s/%s-start-node-%d.obj", gPH.debug_dir.c_str(), name.c_str(),
                nodes.front().idx());

    if (!write_region(path, mesh, faces_near(mesh, nodes)))
    {
        detail::log("fail to write '%s'.\n", path);
    }
}

} // namespace OrvaneAlgorithm
