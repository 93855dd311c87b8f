#include "workflow/report/models/DisplayMesh.h"

#include "algorithmVeld/common/geometry/BoundingBox.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector2f;
using OrvaneAlgorithm::Vector3f;

namespace
{

using Indices = std::vector<unsigned int>;

constexpr float LARGEST_STEP = 65535.0F;

/// What is to be thinned and compressed.
struct Drawing
{
    std::vector<Vector3f> points;
    std::vector<Vector2f> texcoords; ///< Empty, or one for each point.
    std::array<Indices, 2> parts;    ///< The corners of old and of new faces.
    Indices border;                  ///< The ends of its edges.
};

std::size_t corners_of(Drawing const& drawing)
{
    return drawing.parts[0].size() + drawing.parts[1].size();
}

Drawing drawing_of(TriMesh const& mesh, std::vector<char> const& is_new)
{
    Drawing drawing;
    drawing.points.reserve(mesh.n_vertices());
    for (auto const vertex : mesh.vertices())
    {
        drawing.points.emplace_back(mesh.point(vertex));
    }
    for (auto const face : mesh.faces())
    {
        auto const number = static_cast<std::size_t>(face.idx());
        Indices& part = drawing.parts.at(number < is_new.size() && is_new[number] != 0 ? 1 : 0);
        for (auto const vertex : mesh.fv_range(face))
        {
            part.push_back(static_cast<unsigned int>(vertex.idx()));
        }
    }
    for (auto const edge : mesh.edges())
    {
        if (mesh.is_boundary(edge))
        {
            auto const h = mesh.halfedge_handle(edge, 0);
            drawing.border.push_back(static_cast<unsigned int>(mesh.from_vertex_handle(h).idx()));
            drawing.border.push_back(static_cast<unsigned int>(mesh.to_vertex_handle(h).idx()));
        }
    }
    return drawing;
}

/// Takes out what has no place: elements of so many indices, one of which is a point that is none.
void drop_placeless(std::vector<Vector3f> const& points, Indices& indices, std::size_t width)
{
    auto kept = indices.begin();
    for (auto at = indices.begin(); at != indices.end(); at += static_cast<std::ptrdiff_t>(width))
    {
        auto const end = at + static_cast<std::ptrdiff_t>(width);
        if (std::all_of(at, end, [&](unsigned int i) { return points[i].allFinite(); }))
        {
            kept = std::copy(at, end, kept);
        }
    }
    indices.erase(kept, indices.end());
}

/// Fewer faces of about the same shape, on some of the vertices. Its border stays.
Indices thinned(std::vector<Vector3f> const& points, Indices const& corners, std::size_t wanted)
{
    constexpr float ANY_ERROR = 1.0F; // of the box: the number decides
    Indices result(corners.size());
    result.resize(meshopt_simplify(result.data(), corners.data(), corners.size(), points[0].data(),
                                   points.size(), sizeof(Vector3f), wanted / 3 * 3, ANY_ERROR,
                                   meshopt_SimplifyLockBorder, nullptr));
    return result;
}

/// Both parts by the same share, each for itself: the line between them is a border of both.
void thin(Drawing& drawing, std::size_t most_faces)
{
    std::size_t const all = corners_of(drawing);
    if (all <= 3 * most_faces)
    {
        return;
    }
    double const share = 3.0 * static_cast<double>(most_faces) / static_cast<double>(all);
    for (Indices& part : drawing.parts)
    {
        if (!part.empty())
        {
            part = thinned(drawing.points, part,
                           static_cast<std::size_t>(share * static_cast<double>(part.size())));
        }
    }
}

/// So many points of a cloud, evenly by their numbers.
void thin_cloud(std::vector<Vector3f>& points, std::size_t most)
{
    points.erase(std::remove_if(points.begin(), points.end(),
                                [](Vector3f const& point) { return !point.allFinite(); }),
                 points.end());
    std::size_t const all = points.size();
    if (all > most)
    {
        for (std::size_t i = 0; i < most; ++i)
        {
            points[i] = points[i * all / most];
        }
        points.resize(most);
    }
}

/// Neighbours next to each other in every array, which is what the compression lives on.
/// \return the number of vertices that are left
std::size_t put_in_order(Drawing& drawing)
{
    Indices corners;
    for (Indices& part : drawing.parts)
    {
        if (!part.empty())
        {
            meshopt_optimizeVertexCache(part.data(), part.data(), part.size(),
                                        drawing.points.size());
        }
        corners.insert(corners.end(), part.begin(), part.end());
    }
    Indices numbers(drawing.points.size());
    std::size_t const count = meshopt_optimizeVertexFetchRemap(
        numbers.data(), corners.data(), corners.size(), drawing.points.size());
    auto const renumber = [&](Indices& indices)
    {
        for (unsigned int& index : indices)
        {
            index = numbers[index];
        }
    };
    renumber(drawing.parts[0]);
    renumber(drawing.parts[1]);
    renumber(drawing.border);
    meshopt_remapVertexBuffer(drawing.points.data(), drawing.points.data(), drawing.points.size(),
                              sizeof(Vector3f), numbers.data());
    drawing.points.resize(count);
    if (!drawing.texcoords.empty())
    {
        meshopt_remapVertexBuffer(drawing.texcoords.data(), drawing.texcoords.data(),
                                  drawing.texcoords.size(), sizeof(Vector2f), numbers.data());
        drawing.texcoords.resize(count);
    }
    return count;
}

/// Takes out edges whose ends have no face any more.
void drop_unused(Indices& border, std::size_t vertices)
{
    std::size_t kept = 0;
    for (std::size_t i = 0; i < border.size(); i += 2)
    {
        if (border[i] < vertices && border[i + 1] < vertices)
        {
            border[kept++] = border[i];
            border[kept++] = border[i + 1];
        }
    }
    border.resize(kept);
}

/// \param part of the whole, 0 to 1
std::uint16_t step_of(float part)
{
    return static_cast<std::uint16_t>(
        std::lround(LARGEST_STEP * std::clamp(std::isfinite(part) ? part : 0.0F, 0.0F, 1.0F)));
}

template <typename Value>
std::string compressed_values(std::vector<Value> const& values)
{
    std::string bytes(meshopt_encodeVertexBufferBound(values.size(), sizeof(Value)), '\0');
    bytes.resize(meshopt_encodeVertexBuffer(reinterpret_cast<unsigned char*>(bytes.data()),
                                            bytes.size(), values.data(), values.size(),
                                            sizeof(Value)));
    return bytes;
}

std::string compressed_triangles(Indices const& corners, std::size_t vertices)
{
    std::string bytes(meshopt_encodeIndexBufferBound(corners.size(), vertices), '\0');
    bytes.resize(meshopt_encodeIndexBuffer(reinterpret_cast<unsigned char*>(bytes.data()),
                                           bytes.size(), corners.data(), corners.size()));
    return bytes;
}

std::string compressed_edges(Indices const& ends, std::size_t vertices)
{
    std::string bytes(meshopt_encodeIndexSequenceBound(ends.size(), vertices), '\0');
    bytes.resize(meshopt_encodeIndexSequence(reinterpret_cast<unsigned char*>(bytes.data()),
                                             bytes.size(), ends.data(), ends.size()));
    return bytes;
}

void compress_points(std::vector<Vector3f> const& points, DisplayMesh& mesh)
{
    OrvaneAlgorithm::detail::bounding_box(points.data(), points.size(), mesh.box_min, mesh.box_max);
    std::vector<std::array<std::uint16_t, 4>> steps(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            float const size = mesh.box_max[axis] - mesh.box_min[axis];
            float const part = size > 0.0F ? (points[i][axis] - mesh.box_min[axis]) / size : 0.0F;
            steps[i].at(static_cast<std::size_t>(axis)) = step_of(part);
        }
    }
    mesh.points = compressed_values(steps);
}

std::string compressed_texcoords(std::vector<Vector2f> const& texcoords)
{
    std::vector<std::array<std::uint16_t, 2>> steps(texcoords.size());
    for (std::size_t i = 0; i < texcoords.size(); ++i)
    {
        steps[i] = {step_of(texcoords[i].x()), step_of(texcoords[i].y())};
    }
    return compressed_values(steps);
}

DisplayMesh compress_surface(Drawing& drawing, DisplayMesh mesh)
{
    mesh.vertices = put_in_order(drawing);
    drop_unused(drawing.border, mesh.vertices);
    Indices corners = drawing.parts[0];
    corners.insert(corners.end(), drawing.parts[1].begin(), drawing.parts[1].end());
    mesh.faces = corners.size() / 3;
    mesh.new_from = drawing.parts[0].size() / 3;
    mesh.border = drawing.border.size() / 2;
    compress_points(drawing.points, mesh);
    mesh.triangles = compressed_triangles(corners, mesh.vertices);
    if (mesh.border > 0)
    {
        mesh.borders = compressed_edges(drawing.border, mesh.vertices);
    }
    if (!drawing.texcoords.empty())
    {
        mesh.texcoords = compressed_texcoords(drawing.texcoords);
    }
    return mesh;
}

/// Whatever it is: a surface, a cloud, or nothing.
DisplayMesh compress(Drawing drawing, std::size_t most_faces, DisplayMesh mesh)
{
    for (Indices& part : drawing.parts)
    {
        drop_placeless(drawing.points, part, 3);
    }
    drop_placeless(drawing.points, drawing.border, 2);
    if (corners_of(drawing) > 0)
    {
        thin(drawing, most_faces);
        return compress_surface(drawing, std::move(mesh));
    }
    thin_cloud(drawing.points, most_faces);
    mesh.vertices = drawing.points.size();
    if (mesh.vertices > 0)
    {
        compress_points(drawing.points, mesh);
    }
    return mesh;
}

} // namespace

DisplayMesh make_display_mesh(TriMesh const& mesh, std::vector<char> const& is_new,
                              std::size_t most_faces)
{
    DisplayMesh result;
    result.all_vertices = mesh.n_vertices();
    result.all_faces = mesh.n_faces();
    return compress(drawing_of(mesh, is_new), most_faces, std::move(result));
}

DisplayMesh make_display_mesh(GlbContent content, std::size_t most_faces)
{
    DisplayMesh result;
    result.all_vertices = content.points.size();
    result.all_faces = content.triangles.size() / 3;
    result.image = std::move(content.image);
    result.image_type = std::move(content.image_type);
    Drawing drawing;
    drawing.points = std::move(content.points);
    drawing.texcoords = std::move(content.texcoords);
    drawing.parts[0] = std::move(content.triangles);
    return compress(std::move(drawing), most_faces, std::move(result));
}

} // namespace veld
