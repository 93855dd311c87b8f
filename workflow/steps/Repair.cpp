#include "workflow/steps/Repair.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/files/KeptAttributes.h"
#include "workflow/steps/BallSeeds.h"
#include "workflow/steps/SpoiltFaces.h"
#include "workflow/words.h"

#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/BallPivoting.h"
#include "algorithmVeld/reconstruction/TopologyRepair.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <iterator>
#include <utility>

namespace veld
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

namespace
{

/// About as long as the rim of the largest hole that the largest ball reaches across.
constexpr double EAR_PERIMETER_SPACINGS = 25.0;
/// Largest turn from the faces around a hole to the ears that close it, in degrees.
constexpr double EAR_ANGLE = 100.0;
/// What the first round drops may be closed better by another one.
constexpr int ROUNDS = 2;
/// How many pieces far from each other a cloud may have before the search for more of them ends.
constexpr int MOST_SEED_ROUNDS = 16;

bool is_cloud_of(TriMesh const& mesh)
{
    return mesh.n_faces() == 0;
}

double cosine_of(double degrees)
{
    return degrees >= 180.0 ? -1.0 : std::cos(degrees * OrvaneAlgorithm::detail::PI / 180.0);
}

// ------------------------------------------------------------------------------------ the spacing

double median(std::vector<double>& lengths)
{
    if (lengths.empty())
    {
        return 0.0;
    }
    auto const middle = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
    std::nth_element(lengths.begin(), middle, lengths.end());
    return *middle;
}

/// Median length of the edges of the border, where the repair works, or of all where there is none.
double measure_edges(TriMesh const& mesh)
{
    std::vector<double> border;
    std::vector<double> all;
    for (auto const edge : mesh.edges())
    {
        double const length =
            (mesh.point(edge.v0()).cast<double>() - mesh.point(edge.v1()).cast<double>()).norm();
        all.push_back(length);
        if (edge.is_boundary())
        {
            border.push_back(length);
        }
    }
    return median(border.empty() ? all : border);
}

/// Median over some points of the mean distance to the nearest others. On a surface that is about
/// the length of the edges that it gets.
double measure_points(TriMesh const& mesh)
{
    constexpr std::size_t SAMPLES = 2000;
    constexpr int NEAREST = 7; // one of them is the point itself
    constexpr float ANYWHERE = 1e18F;
    OrvaneAlgorithm::KdTree3f tree;
    tree.build_kdtree({mesh.points(), mesh.points() + mesh.n_vertices()});
    std::size_t const step = std::max<std::size_t>(1, mesh.n_vertices() / SAMPLES);
    std::vector<double> means;
    std::vector<int> hits;
    std::vector<float> square_distances;
    for (std::size_t i = 0; i < mesh.n_vertices(); i += step)
    {
        tree.radius_search(mesh.points()[i], ANYWHERE, hits, square_distances, NEAREST);
        double sum = 0.0;
        for (float const square : square_distances)
        {
            sum += std::sqrt(static_cast<double>(square));
        }
        if (square_distances.size() > 1)
        {
            means.push_back(sum / static_cast<double>(square_distances.size() - 1));
        }
    }
    return median(means);
}

/// The given settings, and what the mesh tells where they say nothing.
RepairSettings complete(RepairSettings settings, TriMesh const& mesh)
{
    if (settings.spacing == 0.0)
    {
        settings.spacing = is_cloud_of(mesh) ? measure_points(mesh) : measure_edges(mesh);
    }
    if (!(settings.spacing > 0.0) || !std::isfinite(settings.spacing))
    {
        throw InputError("the points tell no spacing, for most of them lie in one place; it has to "
                         "be given",
                         "spacing");
    }
    if (settings.radii.empty())
    {
        settings.radii = repair_radii(settings.method, settings.spacing, is_cloud_of(mesh));
    }
    settings.ear_perimeter =
        settings.ear_perimeter.value_or(EAR_PERIMETER_SPACINGS * settings.spacing);
    return settings;
}

// ------------------------------------------------------------------------------------- the checks

void check_numbers(RepairSettings const& settings)
{
    auto const is_length = [](double length) { return length >= 0.0 && std::isfinite(length); };
    if (!is_length(settings.spacing))
    {
        throw InputError("the spacing has to be 0 or more millimetres", "spacing");
    }
    if (!std::all_of(settings.radii.begin(), settings.radii.end(),
                     [&](double radius) { return is_length(radius) && radius > 0.0; }))
    {
        throw InputError("a radius has to be more than 0 millimetres", "radius");
    }
    if (!is_length(settings.ear_perimeter.value_or(0.0)))
    {
        throw InputError("the perimeter has to be 0 or more millimetres", "ear_perimeter");
    }
    if (!(settings.normal_angle >= 0.0 && settings.normal_angle <= 180.0))
    {
        throw InputError("the angle of normals has to be from 0 to 180 degrees", "normal_angle");
    }
}

bool has_direction(Vector3f const& normal)
{
    return normal.allFinite() && !normal.isZero();
}

void check_cloud_to_repair(TriMesh const& mesh, RepairSettings const& settings)
{
    if (settings.method == RepairMethod::PROJECT)
    {
        throw InputError("points without faces have no border to project; the ball makes a "
                         "surface of them",
                         "method");
    }
    if (settings.renew_normals)
    {
        throw InputError("points without faces have no other normals than their own",
                         "renew_normals");
    }
    auto const vertices = mesh.vertices();
    if (!mesh.has_vertex_normals() ||
        std::none_of(vertices.begin(), vertices.end(),
                     [&](VertexHandle vertex) { return has_direction(mesh.normal(vertex)); }))
    {
        throw InputError("points without faces need normals, which tell the sides of their "
                         "surface: 'veld normals' estimates them");
    }
}

void check_input(TriMesh const& mesh, RepairSettings const& settings)
{
    check_numbers(settings);
    if (mesh.n_vertices() < 3)
    {
        throw InputError(
            fmt::format("{} are too few for a face", counted(mesh.n_vertices(), "vertex")));
    }
    if (is_cloud_of(mesh))
    {
        check_cloud_to_repair(mesh, settings);
    }
}

// --------------------------------------------------------------------------------------- the work

/// Gives a mesh the unit normals of its faces; points without a face keep the direction of theirs.
void provide_unit_normals(TriMesh& mesh)
{
    bool const had_normals = mesh.has_vertex_normals();
    if (!had_normals)
    {
        mesh.request_vertex_normals();
    }
    mesh.request_face_normals();
    mesh.update_face_normals();
    for (auto const vertex : mesh.vertices())
    {
        bool const is_loose = mesh.is_isolated(vertex);
        Vector3f const normal = !is_loose     ? mesh.calc_vertex_normal(vertex)
                                : had_normals ? mesh.normal(vertex)
                                              : Vector3f::Zero();
        mesh.set_normal(vertex, has_direction(normal) ? normal.stableNormalized().eval()
                                                      : Vector3f::Zero().eval());
    }
    mesh.release_face_normals();
}

/// The power of two that brings a spacing near 1 where the margins of the ball, which are lengths,
/// would mean something else than they do for a scan in millimetres.
double unit_for(double spacing)
{
    constexpr double SMALLEST = 1.0 / 16.0;
    constexpr double LARGEST = 1024.0;
    return spacing >= SMALLEST && spacing <= LARGEST ? 1.0 : std::ldexp(1.0, -std::ilogb(spacing));
}

/// A repair of a mesh with complete settings.
class RepairRun
{
public:
    RepairRun(TriMesh const& given, RepairResult& result)
        : given_(given),
          result_(result),
          settings_(result.settings),
          mesh_(result.mesh),
          attributes_(given),
          unit_(unit_for(settings_.spacing)),
          is_old_(mesh_, "<was-there>")
    {
        std::fill(is_old_.data().begin(), is_old_.data().end(), 1);
    }

    void run()
    {
        provide_unit_normals(mesh_);
        for (auto const vertex : mesh_.vertices())
        {
            mesh_.set_point(vertex, (mesh_.point(vertex).cast<double>() * unit_).cast<float>());
        }
        set_up_ball();
        if (is_cloud_of(given_))
        {
            roll_over_points();
        }
        for (int i = is_cloud_of(given_) ? 1 : 0; i < ROUNDS; ++i)
        {
            OrvaneAlgorithm::detail::ProgressPart const part(static_cast<double>(i) / ROUNDS,
                                                             (i + 1.0) / ROUNDS);
            run_round();
            if (drop_spoilt() == 0)
            {
                break;
            }
        }
        finish();
    }

private:
    void set_up_ball();
    void roll_over_points();
    void run_round();
    void run_passes();
    void roll(double radius);
    void project(double radius);
    void close_with_ears();
    template <typename Pass>
    void note_pass(double radius, Pass const& pass);
    std::size_t drop_spoilt();
    std::size_t count_new() const;
    void finish();

    float scaled(double length) const { return static_cast<float>(length * unit_); }

    TriMesh const& given_;
    RepairResult& result_;
    RepairSettings const& settings_;
    TriMesh& mesh_;
    KeptAttributes attributes_;
    double unit_;
    OrvaneAlgorithm::BallPivoting ball_;
    bool knows_vertices_ = false; ///< Whether the ball does.
    /// 1 for each face that was there; OpenMesh gives new ones 0.
    mutable OrvaneAlgorithm::detail::ScopedProperty<OpenMesh::FPropHandleT<char>> is_old_;
};

std::size_t RepairRun::count_new() const
{
    auto const& old = is_old_.data();
    return static_cast<std::size_t>(std::count(old.begin(), old.end(), 0));
}

void RepairRun::set_up_ball()
{
    ball_.set_NormConsistencyThr(static_cast<float>(cosine_of(settings_.normal_angle)));
    ball_.set_norm_mode(settings_.renew_normals);
    ball_.set_node_in_sphere_restrain(settings_.empty_ball);
    ball_.set_enable_delete_isolated_faces(settings_.delete_fans);
    ball_.set_debug_save_path(settings_.refused_faces.string());
}

/// Starts in one place first, as the points of one object are one piece as a rule, and then in
/// those that the ball did not get to.
void RepairRun::roll_over_points()
{
    OrvaneAlgorithm::detail::ProgressPart const part(0.0, 1.0 / ROUNDS);
    BallSeeds seeds(mesh_, settings_.radii.front() * unit_, cosine_of(settings_.normal_angle));
    bool goes_on = seeds.add_first(mesh_);
    for (int i = 0; goes_on && i < MOST_SEED_ROUNDS; ++i)
    {
        run_passes();
        goes_on = seeds.add_elsewhere(mesh_) > 0;
    }
    drop_spoilt();
}

void RepairRun::run_round()
{
    run_passes();
    if (*settings_.ear_perimeter > 0.0 && !mesh_.faces_empty())
    {
        note_pass(0.0, [&] { close_with_ears(); });
    }
}

void RepairRun::run_passes()
{
    auto const n = static_cast<double>(settings_.radii.size() + 1);
    for (std::size_t i = 0; i < settings_.radii.size(); ++i)
    {
        auto const done = static_cast<double>(i);
        OrvaneAlgorithm::detail::ProgressPart const part(done / n, (done + 1.0) / n);
        double const radius = settings_.radii[i];
        note_pass(radius,
                  [&] { settings_.method == RepairMethod::BALL ? roll(radius) : project(radius); });
    }
}

/// Runs a pass, and adds what it did to the one of the same radius.
template <typename Pass>
void RepairRun::note_pass(double radius, Pass const& pass)
{
    std::size_t const before = count_new();
    pass();
    std::size_t const after = count_new();
    auto note = std::find_if(result_.passes.begin(), result_.passes.end(),
                             [&](RepairPass const& other) { return other.radius == radius; });
    if (note == result_.passes.end())
    {
        note = result_.passes.insert(note, {radius, 0});
    }
    note->new_faces += after - std::min(before, after);
}

/// The ball has to have been on these vertices in a series of passes to ask which of them it holds.
void RepairRun::roll(double radius)
{
    if (knows_vertices_ && !settings_.delete_fans)
    {
        int added = 0;
        int boundary_vertices = 0;
        ball_.repair_mesh(mesh_, scaled(radius), added, boundary_vertices, 0);
        return;
    }
    ball_.repair_mesh(mesh_, std::vector<float>{scaled(radius)});
    knows_vertices_ = true;
}

/// What the projection does not ask of a face is asked behind it.
void RepairRun::project(double radius)
{
    OrvaneAlgorithm::TopologyRepair projection;
    projection.set_search_radius(scaled(radius));
    projection.set_normal_z_thr(static_cast<float>(settings_.normal_z));
    projection.repair_mesh(mesh_);
    result_.dropped_faces +=
        drop_spoilt_faces(mesh_, is_old_.handle(),
                          {settings_.manifold ? Pinches::OF_NEW_FACES : Pinches::KEPT,
                           cosine_of(settings_.normal_angle)});
}

void RepairRun::close_with_ears()
{
    OrvaneAlgorithm::EarTrimming ears;
    ears.set_node_num_constraint(false);
    ears.set_edge_length_constraint(false);
    ears.set_norm_constraint(true);
    ears.set_norm_thr(EAR_ANGLE);
    ears.set_max_perimeter(*settings_.ear_perimeter * unit_);
    ears.set_take_apart(true);
    ears.ear_trimming(mesh_);
}

/// \return how many faces went
std::size_t RepairRun::drop_spoilt()
{
    if (!settings_.manifold)
    {
        return 0;
    }
    std::size_t const faces = mesh_.n_faces();
    std::size_t const new_faces = count_new();
    drop_spoilt_faces(mesh_, is_old_.handle(), {Pinches::OF_ALL_FACES, -1.0});
    result_.dropped_faces += new_faces - count_new();
    return faces - mesh_.n_faces();
}

/// Puts what the faces do not concern back as it was.
void RepairRun::finish()
{
    for (auto const vertex : mesh_.vertices())
    {
        mesh_.set_point(vertex, given_.point(vertex));
    }
    auto const& old = is_old_.data();
    result_.refused_faces = static_cast<std::size_t>(ball_.refused_faces());
    result_.new_faces = count_new();
    result_.lost_faces = given_.n_faces() - (old.size() - result_.new_faces);
    attributes_.restore(mesh_, [&](FaceHandle face)
                        { return old[static_cast<std::size_t>(face.idx())] != 0; });
    if (is_cloud_of(given_))
    {
        for (auto const vertex : mesh_.vertices())
        {
            mesh_.set_normal(vertex, given_.normal(vertex)); // measured, not made of faces
        }
    }
    std::vector<int> made_by;
    std::transform(old.begin(), old.end(), std::back_inserter(made_by),
                   [](char is_old) { return is_old != 0 ? 0 : 1; });
    complete_carried(given_, mesh_, made_by);
}

/// Repairs a mesh with complete settings.
RepairResult run_repair(TriMesh const& mesh, RepairSettings const& settings)
{
    RepairResult result;
    result.mesh = mesh;
    result.settings = settings;
    RepairRun(mesh, result).run();
    return result;
}

// ------------------------------------------------------------------------------------- the reason

/// How far apart what is connected may be at most.
double reach_of(RepairSettings const& settings)
{
    return (settings.method == RepairMethod::PROJECT ? 1.0 : 2.0) *
           *std::max_element(settings.radii.begin(), settings.radii.end());
}

/// Why a repair added no face: what it would have taken to add some is tried.
struct Reason
{
    std::string text;
    std::string setting;
};

Reason find_reason(TriMesh const& mesh, RepairResult const& result)
{
    using Change = std::function<void(RepairSettings&)>;
    auto const adds_with = [&](Change const& change)
    {
        RepairSettings settings = result.settings;
        settings.refused_faces.clear();
        change(settings);
        return run_repair(mesh, settings).new_faces > 0;
    };
    if (adds_with([](RepairSettings& settings)
                  { settings.normal_angle = std::max(settings.normal_angle, 90.0); }))
    {
        return {fmt::format("faces within its reach are turned more than {:.6g} degrees away from "
                            "the normals of their corners",
                            result.settings.normal_angle),
                "normal_angle"};
    }
    if (result.dropped_faces > 0)
    {
        return {"the faces within its reach would lie back to back or make vertices non-manifold",
                ""};
    }
    if (result.refused_faces > 0)
    {
        return {"the mesh has no room for the faces within its reach, for several fans of faces "
                "meet at their corners",
                ""};
    }
    if (result.settings.method == RepairMethod::BALL &&
        adds_with([](RepairSettings& settings) { settings.empty_ball = false; }))
    {
        return {"every ball that touches a border holds other vertices", "radius"};
    }
    return {fmt::format("there is nothing to connect within {:.6g} mm", reach_of(result.settings)),
            "radius"};
}

void judge(TriMesh const& mesh, RepairResult const& result, StepScope& scope)
{
    if (result.new_faces > 0 && (result.after.holes < result.before.holes ||
                                 result.after.boundary_edges < result.before.boundary_edges ||
                                 result.after.isolated_vertices < result.before.isolated_vertices))
    {
        return;
    }
    if (result.before.closed && result.before.isolated_vertices == 0)
    {
        return;
    }
    std::string const name = to_string(result.settings.method);
    if (result.new_faces > 0)
    {
        scope.warn(WarningCode::NOTHING_CLOSED, name,
                   fmt::format("no hole is closed, for they are wider than its reach of {:.6g} mm",
                               reach_of(result.settings)));
        return;
    }
    Reason const reason = find_reason(mesh, result);
    if (is_cloud_of(mesh))
    {
        throw OperationError("the points give no face: " + reason.text, reason.setting);
    }
    scope.warn(WarningCode::NOTHING_CLOSED, name, "nothing is closed: " + reason.text);
}

} // namespace

std::map<std::string, RepairMethod> const& repair_methods()
{
    static std::map<std::string, RepairMethod> const methods{{"ball", RepairMethod::BALL},
                                                             {"project", RepairMethod::PROJECT}};
    return methods;
}

std::string to_string(RepairMethod method)
{
    return method == RepairMethod::BALL ? "ball" : "project";
}

std::vector<double> repair_radii(RepairMethod method, double spacing, bool on_points)
{
    // Balls of half a spacing lie in corners of a torn mesh; on points alone they would only leave
    // specks behind. A search of less than one and a half finds no third corner.
    std::vector<double> const factors =
        method == RepairMethod::PROJECT ? std::vector<double>{1.5, 2.0, 3.0, 4.0}
        : on_points                     ? std::vector<double>{1.0, 1.5, 2.0, 3.0, 4.0}
                                        : std::vector<double>{0.5, 0.75, 1.0, 1.5, 2.0, 3.0, 4.0};
    std::vector<double> radii;
    for (double const factor : factors)
    {
        radii.push_back(factor * spacing);
    }
    return radii;
}

RepairResult repair(TriMesh const& mesh, RepairSettings const& settings, Context& context)
{
    check_input(mesh, settings);
    StepScope scope(context, "repair-mesh", "measure the mesh");
    auto const measure = [](TriMesh& measured) { return measure_health(measured); };
    TriMesh copy = mesh;
    MeshHealth const before = scope.stage("measure the mesh", 0.05, [&] { return measure(copy); });
    RepairSettings const completed =
        scope.stage("measure the spacing", 0.1, [&] { return complete(settings, mesh); });
    auto const start = std::chrono::steady_clock::now();
    RepairResult result = scope.stage(is_cloud_of(mesh) ? "connect the points" : "close the gaps",
                                      0.9, [&] { return run_repair(mesh, completed); });
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.before = before;
    result.after = scope.stage("measure the mesh", 0.95, [&] { return measure(result.mesh); });
    scope.stage("look at the result", 1.0, [&] { judge(mesh, result, scope); });
    return result;
}

} // namespace veld
