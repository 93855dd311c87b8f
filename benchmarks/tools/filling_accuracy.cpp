#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/mesh_io.h"
#include "benchmarks/support/surface_distance.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/FindHoles.h"

#include <array>
#include <cstdio>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

/// \file
/// How near fillings come to the surface that was there: cuts a round hole of about so many edges
/// into surfaces that are known, fills it by each method, or carefully with each continuity or with
/// several numbers of rings, and prints a row of a table for each. Distances are those of the faces
/// that are new or have moved, root of the mean square, in thousandths of the hole's diameter;
/// angles are the largest between two faces of which one is such a face, in degrees. With `methods`
/// each cell has the time of the filling as well, the least of five, in milliseconds.
///
///   filling_accuracy methods|continuity|rings [CLOSED_MESH...]

namespace
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;
using OrvaneAlgorithm::detail::PI;
using veld_benchmark::MeasuredSurface;

// -------------------------------------------------------------------------------------- surfaces

/// A surface over the plane. Lengths are in radii of the hole, which is cut around the origin.
struct Shape
{
    char const* name;
    std::function<Vector3d(double, double)> at;
};

/// A ball of which the hole takes the part within an angle around its pole.
Shape ball(char const* name, double degrees)
{
    double const radius = 1.0 / (degrees * PI / 180.0);
    return {name, [radius](double x, double y)
            {
                double const way = std::hypot(x, y);
                double const angle = way / radius;
                double const aside = way > 0.0 ? radius * std::sin(angle) / way : 1.0;
                return Vector3d(x * aside, y * aside, radius * std::cos(angle));
            }};
}

std::vector<Shape> shapes()
{
    return {ball("ball, 20 degrees", 20.0),
            ball("ball, 60 degrees", 60.0),
            {"saddle", [](double x, double y) { return Vector3d(x, y, 0.25 * (x * x - y * y)); }},
            {"tube", [](double x, double y)
             { return Vector3d(1.5 * std::sin(x / 1.5), y, 1.5 * std::cos(x / 1.5)); }},
            {"waves",
             [](double x, double y)
             {
                 return Vector3d(x, y,
                                 0.15 * std::sin(1.6 * x + 0.4) * std::cos(1.3 * y) +
                                     0.1 * std::sin(2.2 * y + x));
             }},
            {"rounded edge",
             [](double x, double y) { return Vector3d(x, y, -0.7 * std::sqrt(x * x + 0.04)); }},
            {"sharp edge", [](double x, double y) { return Vector3d(x, y, -0.7 * std::abs(x)); }}};
}

constexpr double CELL = 0.5; // of a grid, in millimetres

/// The part of a surface within two radii, as a grid, its vertices off their places by up to a
/// share of a cell.
TriMesh sampled(Shape const& shape, int cells, double noise)
{
    std::mt19937 random(1);
    auto const shift = [&] { return noise * (2.0 * random() / 4294967296.0 - 1.0); };
    TriMesh mesh;
    int const side = 2 * cells;
    for (int i = -side; i <= side; ++i)
    {
        for (int j = -side; j <= side; ++j)
        {
            Vector3d const place = shape.at(2.0 * i / side, 2.0 * j / side) * cells;
            Vector3d const off(shift(), shift(), shift());
            mesh.add_vertex(((place + off) * CELL).cast<float>());
        }
    }
    auto const vertex = [side](int i, int j)
    { return OpenMesh::VertexHandle((i + side) * (2 * side + 1) + j + side); };
    for (int i = -side; i < side; ++i)
    {
        for (int j = -side; j < side; ++j)
        {
            std::array<OpenMesh::VertexHandle, 4> const c{vertex(i, j), vertex(i + 1, j),
                                                          vertex(i + 1, j + 1), vertex(i, j + 1)};
            // The diagonals alternate.
            std::size_t const first = (i + j) % 2 == 0 ? 0 : 1;
            mesh.add_face(c[first], c[first + 1], c[first + 2]);
            mesh.add_face(c[first], c[first + 2], c[(first + 3) % 4]);
        }
    }
    return mesh;
}

// ------------------------------------------------------------------------------------------ holes

/// The faces at the vertices that hang together with one and are nearer to it than a radius.
std::set<OpenMesh::FaceHandle> faces_near(TriMesh const& mesh, OpenMesh::VertexHandle centre,
                                          float radius)
{
    using OrvaneAlgorithm::detail::Growth;
    std::set<OpenMesh::VertexHandle> met{centre};
    std::vector<OpenMesh::VertexHandle> inside{centre};
    OrvaneAlgorithm::detail::grow_vertices(
        mesh, inside,
        [&](OpenMesh::VertexHandle, OpenMesh::VertexHandle v)
        {
            bool const near = (mesh.point(v) - mesh.point(centre)).norm() < radius;
            return near && met.insert(v).second ? Growth::TAKE : Growth::PASS;
        });
    std::set<OpenMesh::FaceHandle> faces;
    for (auto const v : inside)
    {
        faces.insert(mesh.cvf_begin(v), mesh.cvf_end(v));
    }
    return faces;
}

/// Number of edges around some faces; 0 unless they are one simple loop.
int rim_length(TriMesh const& mesh, std::set<OpenMesh::FaceHandle> const& faces)
{
    std::map<OpenMesh::VertexHandle, OpenMesh::VertexHandle> next;
    int length = 0;
    for (auto const f : faces)
    {
        for (auto const h : mesh.fh_range(f))
        {
            if (faces.count(mesh.face_handle(mesh.opposite_halfedge_handle(h))) == 0)
            {
                next[mesh.from_vertex_handle(h)] = mesh.to_vertex_handle(h);
                ++length;
            }
        }
    }
    int steps = 0;
    auto v = next.empty() ? OpenMesh::VertexHandle() : next.begin()->first;
    while (v.is_valid() && steps <= length)
    {
        v = next[v];
        ++steps;
        if (v == next.begin()->first)
        {
            break;
        }
    }
    return steps == length ? length : 0;
}

TriMesh without(TriMesh const& mesh, std::set<OpenMesh::FaceHandle> const& faces)
{
    TriMesh result;
    for (auto const v : mesh.vertices())
    {
        result.add_vertex(mesh.point(v));
    }
    for (auto const f : mesh.faces())
    {
        if (faces.count(f) == 0)
        {
            auto v = mesh.cfv_iter(f);
            auto const a = *v;
            auto const b = *++v;
            result.add_face(a, b, *++v);
        }
    }
    return result;
}

/// A mesh with a hole of as nearly so many edges as a ball around a vertex can cut.
struct CutMesh
{
    TriMesh mesh;
    int edges = 0;
    double diameter = 0.0;
    Vector3f centre = Vector3f::Zero(); ///< On the surface that was there.
};

CutMesh cut(TriMesh const& mesh, OpenMesh::VertexHandle centre, int edges, float largest_radius)
{
    float low = 0.0F;
    float high = largest_radius;
    std::set<OpenMesh::FaceHandle> best;
    int best_edges = 0;
    float best_radius = 0.0F;
    for (int step = 0; step < 14 && best_edges != edges; ++step)
    {
        float const radius = 0.5F * (low + high);
        auto const faces = faces_near(mesh, centre, radius);
        int const length = rim_length(mesh, faces);
        if (length > 0 && std::abs(length - edges) < std::abs(best_edges - edges))
        {
            best = faces;
            best_edges = length;
            best_radius = radius;
        }
        (length > 0 && length < edges ? low : high) = radius;
    }
    return {without(mesh, best), best_edges, 2.0 * static_cast<double>(best_radius),
            mesh.point(centre)};
}

/// Moves the vertices of a hole's rim, and those beside them, off their places by up to a length
/// along each axis: a scanner sees the surface worst where it stops seeing it.
CutMesh with_bad_rim(CutMesh cut, double length)
{
    std::set<OpenMesh::VertexHandle> rim;
    for (auto const v : cut.mesh.vertices())
    {
        bool const near =
            static_cast<double>((cut.mesh.point(v) - cut.centre).norm()) < 0.75 * cut.diameter;
        if (near && cut.mesh.is_boundary(v) && !cut.mesh.is_isolated(v))
        {
            rim.insert(v);
            rim.insert(cut.mesh.vv_begin(v), cut.mesh.vv_end(v));
        }
    }
    std::mt19937 random(2);
    auto const shift = [&] { return length * (2.0 * random() / 4294967296.0 - 1.0); };
    for (auto const v : rim)
    {
        double const x = shift();
        double const y = shift();
        cut.mesh.point(v) += Vector3d(x, y, shift()).cast<float>();
    }
    return cut;
}

// -------------------------------------------------------------------------------------- judgement

/// Whether each face is new or has a corner that moved. Where faces were cut away none moves, and
/// vertices are numbered anew.
std::vector<bool> changed_faces(TriMesh const& before, veld::FillResult const& result)
{
    TriMesh const& after = result.mesh;
    std::vector<bool> changed(after.n_faces());
    for (auto const f : after.faces())
    {
        bool is_old = result.made_by[static_cast<std::size_t>(f.idx())] == 0;
        for (auto const v : after.fv_range(f))
        {
            is_old = is_old && (result.cut_faces > 0 || before.point(v) == after.point(v));
        }
        changed[static_cast<std::size_t>(f.idx())] = !is_old;
    }
    return changed;
}

Vector3d area_vector(TriMesh const& mesh, OpenMesh::FaceHandle f)
{
    auto v = mesh.cfv_iter(f);
    Vector3d const a = mesh.point(*v).cast<double>();
    Vector3d const b = mesh.point(*++v).cast<double>();
    return 0.5 * (b - a).cross(mesh.point(*++v).cast<double>() - a);
}

double rms_distance(TriMesh const& mesh, std::vector<bool> const& faces,
                    MeasuredSurface const& truth)
{
    double squares = 0.0;
    double area = 0.0;
    for (auto const f : mesh.faces())
    {
        if (faces[static_cast<std::size_t>(f.idx())])
        {
            double const weight = area_vector(mesh, f).norm();
            double const distance = truth.distance(mesh.calc_face_centroid(f));
            squares += weight * distance * distance;
            area += weight;
        }
    }
    return std::sqrt(squares / area);
}

double worst_angle(TriMesh const& mesh, std::vector<bool> const& faces)
{
    double worst = 0.0;
    for (auto const e : mesh.edges())
    {
        auto const f = mesh.face_handle(mesh.halfedge_handle(e, 0));
        auto const g = mesh.face_handle(mesh.halfedge_handle(e, 1));
        if (f.is_valid() && g.is_valid() &&
            (faces[static_cast<std::size_t>(f.idx())] || faces[static_cast<std::size_t>(g.idx())]))
        {
            Vector3d const a = area_vector(mesh, f);
            Vector3d const b = area_vector(mesh, g);
            worst = std::max(worst, std::atan2(a.cross(b).norm(), a.dot(b)) * 180.0 / PI);
        }
    }
    return worst;
}

/// Longer than the hole and shorter than the border of a surface.
double limit_of(TriMesh mesh, int edges)
{
    veld::Context context;
    double limit = 0.0;
    for (auto const& hole : veld::find_holes(mesh, {}, context).summaries)
    {
        limit = hole.edges == static_cast<std::size_t>(edges) ? 1.2 * hole.perimeter : limit;
    }
    return limit;
}

/// What a column of the table fills with.
struct Column
{
    veld::FillSettings settings;
    bool has_time = false;
};

/// \return distance in thousandths of the diameter, angle and, if wanted, milliseconds
std::string judged(CutMesh const& cut, MeasuredSurface const& truth, Column const& column)
{
    veld::FillSettings settings = column.settings;
    settings.max_perimeter = limit_of(cut.mesh, cut.edges);
    settings.markers.points = {cut.centre};
    settings.marker_radius = cut.diameter;
    veld::Context context;
    veld::FillResult result = veld::fill(cut.mesh, settings, context);
    double seconds = result.seconds;
    for (int run = 1; column.has_time && run < 5; ++run)
    {
        seconds = std::min(seconds, veld::fill(cut.mesh, settings, context).seconds);
    }
    if (result.closed.size() != 1)
    {
        return " open |";
    }
    auto const changed = changed_faces(cut.mesh, result);
    char text[64];
    std::snprintf(text, sizeof(text), " %.2f / %.0f",
                  1000.0 * rms_distance(result.mesh, changed, truth) / cut.diameter,
                  worst_angle(result.mesh, changed));
    std::string cell = text;
    if (column.has_time)
    {
        std::snprintf(text, sizeof(text), seconds < 0.01 ? " / %.2g" : " / %.0f", 1000.0 * seconds);
        cell += text;
    }
    return cell + " |";
}

// ------------------------------------------------------------------------------------------ table

struct Columns
{
    std::string head;
    std::vector<Column> list;
};

Column careful(int smoothness, int rings)
{
    Column column;
    column.settings.method = veld::FillMethod::CORE;
    column.settings.smoothness = smoothness;
    column.settings.rings = rings;
    return column;
}

Column of_method(veld::FillMethod method, veld::RegionHandling region)
{
    Column column;
    column.settings.method = method;
    column.settings.region = region;
    column.settings.region_rings = 5; // of small surfaces more than that would cut the border off
    column.has_time = true;
    return column;
}

Columns columns_of(std::string const& what)
{
    using veld::FillMethod;
    using veld::RegionHandling;
    if (what == "methods")
    {
        return {"clip | trim | core | whole | whole, cut | markers",
                {of_method(FillMethod::CLIP, RegionHandling::NONE),
                 of_method(FillMethod::TRIM, RegionHandling::NONE),
                 of_method(FillMethod::CORE, RegionHandling::NONE),
                 of_method(FillMethod::WHOLE, RegionHandling::NONE),
                 of_method(FillMethod::WHOLE, RegionHandling::DELETE),
                 of_method(FillMethod::MARKERS, RegionHandling::NONE)}};
    }
    if (what == "rings")
    {
        return {"c1, 1 ring | 3 | 6 | c2, 1 ring | 3 | 6",
                {careful(1, 1), careful(1, 3), careful(1, 6), careful(2, 1), careful(2, 3),
                 careful(2, 6)}};
    }
    return {"c0 | c1 | c2", {careful(0, 3), careful(1, 3), careful(2, 3)}};
}

void print_row(std::string const& name, CutMesh const& cut, MeasuredSurface const& truth,
               Columns const& columns)
{
    std::string row = "| " + name + " | " + std::to_string(cut.edges) + " |";
    for (auto const& column : columns.list)
    {
        row += judged(cut, truth, column);
    }
    std::printf("%s\n", row.c_str());
    std::fflush(stdout);
}

void print_shapes(Columns const& columns, std::string const& remark, double noise,
                  std::vector<int> const& sizes, double noise_of_rim = 0.0)
{
    for (int const edges : sizes)
    {
        for (auto const& shape : shapes())
        {
            // A circle of so many cells around has 6.5 edges a cell of its radius.
            int const cells = std::max(3, static_cast<int>(std::lround(edges / 6.5)));
            TriMesh const exact = sampled(shape, cells, 0.0);
            TriMesh const mesh = sampled(shape, cells, noise);
            OpenMesh::VertexHandle const middle(static_cast<int>(mesh.n_vertices() / 2));
            CutMesh const hole = cut(mesh, middle, edges, 0.75F * static_cast<float>(cells));
            print_row(shape.name + remark,
                      noise_of_rim > 0.0 ? with_bad_rim(hole, noise_of_rim * CELL) : hole,
                      MeasuredSurface(exact), columns);
        }
    }
}

/// Three places of a closed mesh, by number.
bool print_scan(Columns const& columns, std::string const& path)
{
    TriMesh mesh;
    OrvaneAlgorithm::MeshReadReport report;
    if (!OrvaneAlgorithm::read_mesh(path, mesh, report))
    {
        std::fprintf(stderr, "%s\n", report.error.c_str());
        return false;
    }
    MeasuredSurface const truth(mesh);
    std::string const name = path.substr(path.find_last_of('/') + 1);
    auto const radius = static_cast<float>(veld::box_diagonal(mesh) / 4.0);
    for (std::size_t place = 1; place <= 3; ++place)
    {
        OpenMesh::VertexHandle const centre(static_cast<int>(mesh.n_vertices() * place / 4));
        for (int const edges : {30, 100, 200, 400})
        {
            print_row(name, cut(mesh, centre, edges, radius), truth, columns);
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    std::string const what = argc > 1 ? argv[1] : "";
    if (what != "methods" && what != "continuity" && what != "rings")
    {
        std::fprintf(stderr, "usage: filling_accuracy methods|continuity|rings [CLOSED_MESH...]\n");
        return 1;
    }
    Columns const columns = columns_of(what);
    std::printf("| surface | edges | %s |\n|---|---|", columns.head.c_str());
    for (std::size_t i = 0; i < columns.list.size(); ++i)
    {
        std::printf("---|");
    }
    std::printf("\n");
    if (what == "methods")
    {
        print_shapes(columns, "", 0.03, {12, 30, 100, 300});
        print_shapes(columns, ", bad rim", 0.03, {100}, 0.3);
    }
    else
    {
        print_shapes(columns, "", 0.03, {30, 100, 300, 1000});
        print_shapes(columns, ", more noise", 0.1, {100, 300});
    }
    bool read = true;
    for (int i = 2; i < argc; ++i)
    {
        read = print_scan(columns, argv[i]) && read;
    }
    return read ? 0 : 1;
}
