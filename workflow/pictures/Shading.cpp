#include "workflow/pictures/Shading.h"

#include "algorithmVeld/common/geometry/BoundingBox.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cmath>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

constexpr float CREASE_COSINE = 0.5F;  // 60 degrees
constexpr unsigned MOST_SMOOTHED = 64; // faces round a vertex; smoothing costs their square

/// A colour given in bytes, as a drawing program shows it.
Vector3f from_bytes(int red, int green, int blue)
{
    return {from_byte(red), from_byte(green), from_byte(blue)};
}

/// The new index of each vertex that a face uses, and the points in their new order.
std::vector<std::uint32_t> gather_points(TriMesh const& mesh, std::vector<Vector3f>& points)
{
    std::vector<std::uint32_t> index(mesh.n_vertices(), 0);
    for (auto const vertex : mesh.vertices())
    {
        if (!mesh.is_isolated(vertex))
        {
            index[static_cast<std::size_t>(vertex.idx())] =
                static_cast<std::uint32_t>(points.size());
            points.push_back(mesh.point(vertex));
        }
    }
    return index;
}

/// A host's mesh may have points that are at no place; they stay what they are.
std::vector<Vector3f> normalised(std::vector<Vector3f> const& points)
{
    Vector3f min;
    Vector3f max;
    OrvaneAlgorithm::detail::bounding_box(points.data(), points.size(), min, max);
    Vector3d const centre = (min.cast<double>() + max.cast<double>()) / 2.0;
    double const diagonal = (max.cast<double>() - min.cast<double>()).norm();
    double const scale = diagonal > 0.0 ? 1.0 / diagonal : 1.0;
    std::vector<Vector3f> result;
    result.reserve(points.size());
    for (auto const& point : points)
    {
        result.emplace_back(((point.cast<double>() - centre) * scale).cast<float>());
    }
    return result;
}

/// The face's normal with the length of twice its area.
Vector3f weighted_normal(std::vector<Vector3f> const& points, Surface::Triangle const& triangle)
{
    return (points[triangle[1]] - points[triangle[0]])
        .cross(points[triangle[2]] - points[triangle[0]]);
}

/// Sum of the normals around the corner that do not lie behind a sharp edge.
Vector3f corner_normal(TriMesh const& mesh, OpenMesh::VertexHandle corner, Vector3f const& own,
                       std::vector<Vector3f> const& normals)
{
    if (mesh.valence(corner) > MOST_SMOOTHED)
    {
        return own;
    }
    Vector3f sum = Vector3f::Zero();
    for (auto const face : mesh.vf_range(corner))
    {
        Vector3f const& other = normals[static_cast<std::size_t>(face.idx())];
        if (other.dot(own) > CREASE_COSINE * other.norm() * own.norm())
        {
            sum += other;
        }
    }
    return sum;
}

void add_texcoords(TriMesh const& mesh, Surface& surface)
{
    if (!mesh.has_halfedge_texcoords2D())
    {
        return;
    }
    surface.corner_texcoords.reserve(mesh.n_faces());
    for (auto const face : mesh.faces())
    {
        // In the order in which the face's vertices are walked.
        auto& corners = surface.corner_texcoords.emplace_back();
        std::size_t i = 0;
        for (auto const h : mesh.fh_range(face))
        {
            corners[i++] = mesh.texcoord2D(h);
        }
    }
}

void add_colours(TriMesh const& mesh, std::vector<std::uint32_t> const& index, Surface& surface)
{
    if (!mesh.has_vertex_colors())
    {
        return;
    }
    surface.colours.resize(surface.points.size());
    for (auto const vertex : mesh.vertices())
    {
        if (!mesh.is_isolated(vertex))
        {
            surface.colours[index[static_cast<std::size_t>(vertex.idx())]] =
                mesh.color(vertex).unaryExpr([](float c)
                                             { return to_light(std::clamp(c, 0.0F, 1.0F)); });
        }
    }
}

void add_rims(TriMesh const& mesh, std::vector<std::uint32_t> const& index, Surface& surface)
{
    auto const place = [&](OpenMesh::VertexHandle vertex)
    { return surface.points[index[static_cast<std::size_t>(vertex.idx())]]; };
    for (auto const edge : mesh.edges())
    {
        if (edge.is_boundary())
        {
            surface.rim_ends.push_back(place(edge.v0()));
            surface.rim_ends.push_back(place(edge.v1()));
        }
    }
}

} // namespace

Surface make_surface(TriMesh const& mesh, std::vector<char> const& marks)
{
    Surface surface;
    std::vector<Vector3f> points;
    auto const index = gather_points(mesh, points);
    surface.points = normalised(points);
    std::vector<Vector3f> normals;
    OrvaneAlgorithm::detail::CancelPoll poll;
    for (auto const face : mesh.faces())
    {
        poll.next();
        Surface::Triangle triangle{};
        std::size_t i = 0;
        for (auto const vertex : mesh.fv_range(face))
        {
            triangle[i++] = index[static_cast<std::size_t>(vertex.idx())];
        }
        surface.triangles.push_back(triangle);
        normals.push_back(weighted_normal(surface.points, triangle));
    }
    for (auto const face : mesh.faces())
    {
        poll.next();
        std::array<Vector3f, 3> corners;
        std::size_t i = 0;
        for (auto const vertex : mesh.fv_range(face))
        {
            corners[i++] =
                corner_normal(mesh, vertex, normals[static_cast<std::size_t>(face.idx())], normals);
        }
        for (auto& corner : corners)
        {
            corner.stableNormalize();
        }
        surface.corner_normals.push_back(corners);
    }
    surface.marks = marks;
    surface.marks.resize(surface.triangles.size(), 0);
    add_texcoords(mesh, surface);
    add_colours(mesh, index, surface);
    add_rims(mesh, index, surface);
    return surface;
}

Vector3f surface_colour(SurfacePlace const& place, Camera const& camera)
{
    static Vector3f const outside = from_bytes(236, 226, 208);
    static Vector3f const inside = from_bytes(112, 124, 146);
    static Vector3f const filled = from_bytes(92, 178, 196);
    static Vector3f const filled_carefully = from_bytes(164, 140, 214);
    Vector3f const towards = -camera.forward;
    Vector3f const key = (towards - camera.right * 0.7F + camera.up * 0.85F).normalized();
    Vector3f const side = (towards * 0.6F + camera.right).normalized();

    float const sky = 0.25F + 0.11F * place.normal.dot(camera.up);
    float const lit = std::max(0.0F, place.normal.dot(key));
    float const filling = std::max(0.0F, place.normal.dot(side));
    // A corner that the sky does not reach gets less of the lamps too.
    float const open = place.openness;
    float const light = sky * open + (0.72F * lit + 0.10F * filling) * (0.45F + 0.55F * open);

    Vector3f const half_way = (key + place.viewer).normalized();
    float const gloss = 0.05F * open * std::pow(std::max(0.0F, place.normal.dot(half_way)), 24.0F);
    Vector3f const& base = !place.front      ? inside
                           : place.colour    ? *place.colour
                           : place.mark == 0 ? outside
                           : place.mark == 1 ? filled
                                             : filled_carefully;
    return base * light + Vector3f::Constant(place.front ? gloss : 0.0F);
}

Vector3f rim_colour(Vector3f const& normal, Vector3f const& viewer)
{
    static Vector3f const base = from_bytes(244, 72, 16);
    return base * (0.75F + 0.25F * std::abs(normal.dot(viewer)));
}

Vector3f background_colour(float height)
{
    static Vector3f const bottom = from_bytes(228, 230, 233);
    static Vector3f const top = from_bytes(250, 250, 251);
    return bottom + (top - bottom) * height;
}

float from_byte(int byte)
{
    return to_light(static_cast<float>(byte) / 255.0F);
}

float to_light(float value)
{
    return value <= 0.04045F ? value / 12.92F : std::pow((value + 0.055F) / 1.055F, 2.4F);
}

unsigned char to_byte(float linear)
{
    float const value = std::clamp(linear, 0.0F, 1.0F);
    float const shown =
        value <= 0.0031308F ? value * 12.92F : 1.055F * std::pow(value, 1.0F / 2.4F) - 0.055F;
    return static_cast<unsigned char>(std::lround(shown * 255.0F));
}

} // namespace veld
