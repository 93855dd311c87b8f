#include "workflow/repairing/RepairRun.h"

#include "workflow/files/KeptAttributes.h"
#include "workflow/repairing/CloudPlaces.h"
#include "workflow/repairing/RepairValues.h"
#include "workflow/repairing/WorkingMesh.h"
#include "workflow/repairing/passes/BallSeeds.h"
#include "workflow/repairing/passes/BallSeries.h"
#include "workflow/repairing/passes/EarPass.h"
#include "workflow/repairing/passes/ProjectionPass.h"
#include "workflow/repairing/passes/SpoiltFaces.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace veld
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;

namespace
{

/// What the first round drops may be closed better by another one.
constexpr int ROUNDS = 2;
/// How many pieces far from each other a cloud may have before the search for more of them ends.
constexpr int MOST_SEED_ROUNDS = 16;

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
          ball_(settings_),
          is_old_(mesh_, "<was-there>")
    {
        std::fill(is_old_.data().begin(), is_old_.data().end(), 1);
    }

    void run()
    {
        provide_unit_normals(mesh_);
        scale_points(mesh_, unit_);
        if (is_cloud_of(given_))
        {
            roll_over_points();
        }
        for (int i = is_cloud_of(given_) ? 1 : 0; i < ROUNDS; ++i)
        {
            OrvaneAlgorithm::detail::ProgressPart const part(static_cast<double>(i) / ROUNDS,
                                                             (i + 1.0) / ROUNDS);
            run_passes();
            close_the_rest();
            if (drop_spoilt() == 0)
            {
                break;
            }
            // The ball would put the same faces there again; ears may do it otherwise.
            close_the_rest();
            drop_spoilt();
        }
        finish();
    }

private:
    void roll_over_points();
    void run_passes();
    void close_the_rest();
    void connect(double radius);
    template <typename Pass>
    void note_pass(double radius, Pass const& pass);
    std::size_t drop_spoilt();
    std::size_t count_new() const;
    void finish();
    void restore_attributes();

    TriMesh const& given_;
    RepairResult& result_;
    RepairSettings const& settings_;
    TriMesh& mesh_;
    KeptAttributes attributes_;
    double unit_;
    BallSeries ball_;
    /// 1 for each face that was there; OpenMesh gives new ones 0.
    mutable OrvaneAlgorithm::detail::ScopedProperty<OpenMesh::FPropHandleT<char>> is_old_;
};

std::size_t RepairRun::count_new() const
{
    auto const& old = is_old_.data();
    return static_cast<std::size_t>(std::count(old.begin(), old.end(), 0));
}

/// Starts in one place first, as the points of one object are one piece as a rule, and then in
/// those that the ball did not get to.
void RepairRun::roll_over_points()
{
    OrvaneAlgorithm::detail::ProgressPart const part(0.0, 1.0 / ROUNDS);
    BallSeeds seeds(mesh_, settings_.radii.front() * unit_, least_cosine(settings_));
    double const first = settings_.radii.front();
    bool goes_on = false;
    note_pass(first, [&] { goes_on = seeds.add_first(mesh_); });
    for (int i = 0; goes_on && i < MOST_SEED_ROUNDS; ++i)
    {
        run_passes();
        note_pass(first, [&] { goes_on = seeds.add_elsewhere(mesh_) > 0; });
    }
    drop_spoilt();
}

void RepairRun::run_passes()
{
    auto const n = static_cast<double>(settings_.radii.size() + 1);
    for (std::size_t i = 0; i < settings_.radii.size(); ++i)
    {
        auto const done = static_cast<double>(i);
        OrvaneAlgorithm::detail::ProgressPart const part(done / n, (done + 1.0) / n);
        double const radius = settings_.radii[i];
        note_pass(radius, [&] { connect(radius); });
    }
}

/// With ears.
void RepairRun::close_the_rest()
{
    if (*settings_.ear_perimeter > 0.0 && !mesh_.faces_empty())
    {
        note_pass(0.0, [&] { close_with_ears(mesh_, *settings_.ear_perimeter * unit_); });
    }
}

void RepairRun::connect(double radius)
{
    auto const scaled = static_cast<float>(radius * unit_);
    if (settings_.method == RepairMethod::BALL)
    {
        ball_.roll(mesh_, scaled);
    }
    else
    {
        result_.dropped_faces += run_projection(mesh_, scaled, settings_, is_old_.handle());
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
    result_.refused_faces = ball_.refused_faces();
    result_.new_faces = count_new();
    result_.lost_faces = given_.n_faces() - (old.size() - result_.new_faces);
    restore_attributes();
    std::vector<int> made_by;
    std::transform(old.begin(), old.end(), std::back_inserter(made_by),
                   [](char is_old) { return is_old != 0 ? 0 : 1; });
    complete_carried(given_, mesh_, made_by);
}

void RepairRun::restore_attributes()
{
    if (!is_cloud_of(given_))
    {
        attributes_.restore(mesh_, [&](FaceHandle face)
                            { return mesh_.property(is_old_.handle(), face) != 0; });
        return;
    }
    for (auto const vertex : mesh_.vertices())
    {
        mesh_.set_normal(vertex, given_.normal(vertex)); // measured, not made of faces
    }
    if (mesh_.has_face_normals())
    {
        mesh_.update_face_normals();
    }
}

RepairResult run_on(TriMesh const& mesh, RepairSettings const& settings)
{
    RepairResult result;
    result.mesh = mesh;
    result.settings = settings;
    RepairRun(mesh, result).run();
    return result;
}

/// Two points in one place would tear the surface there, for the ball reaches one of them.
RepairResult repair_places(TriMesh const& cloud, std::vector<VertexHandle> const& places,
                           RepairSettings const& settings)
{
    TriMesh of_places;
    of_places.request_vertex_normals();
    for (auto const vertex : places)
    {
        of_places.set_normal(of_places.add_vertex(cloud.point(vertex)), cloud.normal(vertex));
    }
    RepairResult result = run_on(of_places, settings);
    TriMesh const connected = std::exchange(result.mesh, cloud);
    std::vector<VertexHandle> corners;
    for (auto const face : connected.faces())
    {
        corners.clear();
        for (auto const corner : connected.fv_range(face))
        {
            corners.push_back(places[static_cast<std::size_t>(corner.idx())]);
        }
        result.mesh.add_face(corners);
    }
    complete_carried(cloud, result.mesh, std::vector<int>(result.mesh.n_faces(), 1));
    return result;
}

} // namespace

RepairResult run_repair(TriMesh const& mesh, RepairSettings const& settings)
{
    if (is_cloud_of(mesh))
    {
        auto const places = one_of_each_place(mesh);
        if (places.size() < mesh.n_vertices())
        {
            return repair_places(mesh, places, settings);
        }
    }
    return run_on(mesh, settings);
}

} // namespace veld
