#include "workflow/photos/TextureJudge.h"

#include "workflow/pictures/Scatter.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace veld
{

using Eigen::Vector2d;
using OrvaneAlgorithm::TriMesh;

namespace
{

constexpr std::size_t COLOUR_SAMPLES = 200'000;
constexpr std::array<double, 5> PLACES_OF_EDGE{0.1, 0.3, 0.5, 0.7, 0.9};

/// A face as the judge reads it.
struct TexturedFace
{
    std::array<Vector3d, 3> points;
    std::array<Vector2d, 3> coordinates;

    /// Three coordinates that are one point, or none, show no part of a photograph.
    bool is_blank() const
    {
        auto const& [a, b, c] = coordinates;
        return !(a.allFinite() && b.allFinite() && c.allFinite()) || (a == b && b == c);
    }
};

TexturedFace face_of(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    TexturedFace result;
    std::size_t i = 0;
    for (auto const halfedge : mesh.fh_range(face))
    {
        result.points[i] = mesh.point(halfedge.to()).cast<double>();
        result.coordinates[i] = mesh.texcoord2D(halfedge).cast<double>();
        ++i;
    }
    return result;
}

Vector3d texture_colour(JudgedTexture const& texture, Vector2d const& coordinate)
{
    auto const& image = texture.image;
    if (image.empty() || !coordinate.allFinite())
    {
        return Vector3d::Zero();
    }
    double const x =
        std::clamp(coordinate.x() * image.width() - texture.pixel_middle, 0.0, image.width() - 1.0);
    double const y = std::clamp((1.0 - coordinate.y()) * image.height() - texture.pixel_middle, 0.0,
                                image.height() - 1.0);
    auto const column = static_cast<int>(x);
    auto const row = static_cast<int>(y);
    int const next_column = std::min(column + 1, image.width() - 1);
    int const next_row = std::min(row + 1, image.height() - 1);
    auto const pixel = [&image](int i, int j)
    {
        unsigned char const* const bytes = image.pixel(i, j);
        return Vector3d(bytes[0], bytes[1], bytes[2]);
    };
    double const right = x - column;
    double const down = y - row;
    return (pixel(column, row) * (1.0 - right) + pixel(next_column, row) * right) * (1.0 - down) +
           (pixel(column, next_row) * (1.0 - right) + pixel(next_column, next_row) * right) * down;
}

template <typename T>
T mixed(std::array<T, 3> const& corners, Vector3d const& weights)
{
    return corners[0] * weights[0] + corners[1] * weights[1] + corners[2] * weights[2];
}

/// A place of a triangle by two numbers from 0 to 1, each as likely as any other.
Vector3d even_weights(double a, double b)
{
    double const root = std::sqrt(a);
    return {1.0 - root, root * (1.0 - b), root * b};
}

/// Sorts the values.
double percentile_95(std::vector<double>& values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0.0 : values[(values.size() - 1) * 95 / 100];
}

double mean_of(std::vector<double> const& values)
{
    double sum = 0.0;
    for (double const value : values)
    {
        sum += value;
    }
    return values.empty() ? 0.0 : sum / static_cast<double>(values.size());
}

/// What the texture and the truth show at one place.
struct ComparedColour
{
    Vector3d shown;
    Vector3d truth;
    bool is_blank;
};

std::vector<ComparedColour> compare_colours(JudgedTexture const& texture,
                                            TrueColour const& true_colour)
{
    std::vector<std::pair<double, TexturedFace>> faces; // with the area up to the face's end
    double area = 0.0;
    for (auto const face : texture.mesh.faces())
    {
        TexturedFace const textured = face_of(texture.mesh, face);
        auto const& [a, b, c] = textured.points;
        double const own = 0.5 * (b - a).cross(c - a).norm();
        if (std::isfinite(own) && own > 0.0)
        {
            area += own;
            faces.emplace_back(area, textured);
        }
    }
    std::vector<ComparedColour> colours;
    Scatter const lot(1);
    auto at = faces.begin();
    for (std::size_t k = 0; k < COLOUR_SAMPLES && !faces.empty(); ++k)
    {
        double const place = area * (static_cast<double>(k) + 0.5) / COLOUR_SAMPLES;
        at = std::find_if(at, faces.end() - 1,
                          [place](auto const& entry) { return place < entry.first; });
        auto const number = static_cast<std::uint32_t>(k);
        Vector3d const weights =
            even_weights(0.5 + 0.5 * lot.even(2 * number), 0.5 + 0.5 * lot.even(2 * number + 1));
        TexturedFace const& face = at->second;
        bool const is_blank = face.is_blank();
        colours.push_back({is_blank ? Vector3d(Vector3d::Zero())
                                    : texture_colour(texture, mixed(face.coordinates, weights)),
                           255.0 * true_colour(mixed(face.points, weights)), is_blank});
    }
    return colours;
}

/// One side of an edge: its face and the coordinates of both ends, in the direction of the edge's
/// first halfedge.
struct EdgeSide
{
    TexturedFace face;
    Vector2d begin;
    Vector2d end;
};

/// The place of a halfedge among the three of its face.
std::size_t place_in_face(TriMesh const& mesh, OpenMesh::HalfedgeHandle halfedge)
{
    std::size_t i = 0;
    for (auto const other : mesh.fh_range(mesh.face_handle(halfedge)))
    {
        if (other == halfedge)
        {
            break;
        }
        ++i;
    }
    return i;
}

EdgeSide side_of(TriMesh const& mesh, OpenMesh::HalfedgeHandle halfedge, bool is_first)
{
    TexturedFace const face = face_of(mesh, mesh.face_handle(halfedge));
    std::size_t const to = place_in_face(mesh, halfedge);
    Vector2d const& head = face.coordinates[to];
    Vector2d const& tail = face.coordinates[(to + 2) % 3];
    return is_first ? EdgeSide{face, tail, head} : EdgeSide{face, head, tail};
}

} // namespace

ColourError measure_colour_error(JudgedTexture const& texture, TrueColour const& true_colour)
{
    auto const colours = compare_colours(texture, true_colour);
    Vector3d products = Vector3d::Zero();
    Vector3d squares = Vector3d::Zero();
    std::size_t blank = 0;
    for (auto const& colour : colours)
    {
        products += colour.shown.cwiseProduct(colour.truth);
        squares += colour.shown.cwiseProduct(colour.shown);
        blank += colour.is_blank ? 1 : 0;
    }
    ColourError error;
    Vector3d gain = Vector3d::Ones();
    for (int channel = 0; channel < 3; ++channel)
    {
        if (squares[channel] > 0.0)
        {
            gain[channel] = products[channel] / squares[channel];
        }
        error.gain[static_cast<std::size_t>(channel)] = gain[channel];
    }
    std::vector<double> differences;
    differences.reserve(colours.size());
    for (auto const& colour : colours)
    {
        differences.push_back((colour.shown.cwiseProduct(gain) - colour.truth).cwiseAbs().mean());
    }
    error.mean = mean_of(differences);
    error.percentile_95 = percentile_95(differences);
    error.blank =
        colours.empty() ? 0.0 : static_cast<double>(blank) / static_cast<double>(colours.size());
    return error;
}

SeamStep measure_seam_step(JudgedTexture const& texture)
{
    TriMesh const& mesh = texture.mesh;
    SeamStep step;
    std::vector<double> differences;
    for (auto const edge : mesh.edges())
    {
        if (edge.is_boundary())
        {
            continue;
        }
        EdgeSide const one = side_of(mesh, edge.h0(), true);
        EdgeSide const other = side_of(mesh, edge.h1(), false);
        if (one.face.is_blank() || other.face.is_blank() ||
            (one.begin == other.begin && one.end == other.end))
        {
            continue;
        }
        ++step.edges;
        for (double const t : PLACES_OF_EDGE)
        {
            Vector3d const a = texture_colour(texture, one.begin * (1.0 - t) + one.end * t);
            Vector3d const b = texture_colour(texture, other.begin * (1.0 - t) + other.end * t);
            differences.push_back((a - b).cwiseAbs().mean());
        }
    }
    step.mean = mean_of(differences);
    step.percentile_95 = percentile_95(differences);
    return step;
}

} // namespace veld
