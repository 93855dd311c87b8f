#include "workflow/steps/Normals.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/clouds/DistinctPoints.h"
#include "workflow/clouds/NormalOrientation.h"
#include "workflow/clouds/PlaneFits.h"
#include "workflow/frames/FrameGrid.h"
#include "workflow/words.h"

#include "algorithmVeld/common/geometry/unit_vector.h"
#include "algorithmVeld/common/mesh/points.h"
#include "algorithmVeld/common/mesh_files/Carried.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

namespace
{

namespace detail = OrvaneAlgorithm::detail;

void check(NormalsSettings const& settings)
{
    if (settings.neighbours < FEWEST_NEIGHBOURS || settings.neighbours > MOST_NEIGHBOURS)
    {
        throw InputError(fmt::format("a plane takes {} to {} neighbours, not {}", FEWEST_NEIGHBOURS,
                                     MOST_NEIGHBOURS, settings.neighbours),
                         "neighbours");
    }
    if (settings.sensor && !settings.sensor->allFinite())
    {
        throw InputError("the place of the sensor is not finite", "sensor");
    }
}

/// The points of a mesh alone, with their colours and carried values.
TriMesh points_of(TriMesh const& mesh)
{
    TriMesh cloud;
    cloud.reserve_more(mesh.n_vertices(), 0, 0);
    if (mesh.has_vertex_colors())
    {
        cloud.request_vertex_colors();
    }
    auto const values = detail::carried_values(mesh);
    std::vector<detail::CarriedValue> copies;
    copies.reserve(values.size());
    for (auto const value : values)
    {
        copies.push_back(detail::add_carried_value(cloud, detail::name_in_file(mesh, value)));
    }
    detail::CancelPoll poll;
    for (auto const vertex : mesh.vertices())
    {
        poll.next();
        auto const copy = cloud.add_vertex(mesh.point(vertex));
        if (mesh.has_vertex_colors())
        {
            cloud.set_color(copy, mesh.color(vertex));
        }
        for (std::size_t i = 0; i < values.size(); ++i)
        {
            cloud.property(copies[i], copy) = mesh.property(values[i], vertex);
        }
    }
    return cloud;
}

/// The points of all frames in global coordinates.
TriMesh points_of(FrameSet const& frames)
{
    bool const has_colors =
        std::all_of(frames.frames.begin(), frames.frames.end(),
                    [](NamedFrame const& frame) { return frame.data.has_vColor; });
    TriMesh cloud;
    if (has_colors)
    {
        cloud.request_vertex_colors();
    }
    detail::CancelPoll poll;
    for (auto const& named : frames.frames)
    {
        RangeData const& frame = named.data;
        cloud.reserve_more(frame.get_vn(), 0, 0);
        for (std::size_t i = 0; i < frame.get_vn(); ++i)
        {
            poll.next();
            auto const vertex = cloud.add_vertex(frame.get_rigidMatrix() * frame.vCoord[i]);
            if (has_colors)
            {
                cloud.set_color(vertex, frame.vColor[i]);
            }
        }
    }
    return cloud;
}

/// For each point of the frames where its normal has to look; a zero vector where nobody knows.
std::vector<Vector3f> directions_of(FrameSet const& frames)
{
    std::vector<Vector3f> directions;
    for (auto const& named : frames.frames)
    {
        RangeData const& frame = named.data;
        RigidMatrix const& pose = frame.get_rigidMatrix();
        for (std::size_t i = 0; i < frame.get_vn(); ++i)
        {
            Vector3d const own = named.sensor != Sensor::UNKNOWN
                                     ? towards_sensor(frame.vCoord[i].cast<double>(), named.sensor)
                                     : Vector3d(frame.vNrv[i].cast<double>());
            directions.push_back(detail::unit_or_zero(pose.transform_normal(own)));
        }
    }
    return directions;
}

std::vector<Vector3f> directions_to(Vector3f const& sensor, std::vector<Vector3f> const& points)
{
    std::vector<Vector3f> directions(points.size());
    detail::parallel_for_short(points.size(),
                               [&](std::size_t i) {
                                   directions[i] = detail::unit_or_zero(sensor.cast<double>() -
                                                                        points[i].cast<double>());
                               });
    return directions;
}

/// Gives the points their normals and counts those that have none.
/// \param directions where normals have to look; empty where they are turned already
void set_normals(DistinctPoints const& distinct, PlaneFits const& fits,
                 std::vector<Vector3f> const& directions, NormalsResult& result)
{
    result.cloud.request_vertex_normals();
    for (auto const vertex : result.cloud.vertices())
    {
        auto const i = static_cast<std::size_t>(vertex.idx());
        Vector3f normal = Vector3f::Zero();
        if (distinct.places[i] == DistinctPoints::NO_PLACE)
        {
            ++result.unplaced;
        }
        else
        {
            auto const place = static_cast<std::size_t>(distinct.places[i]);
            normal = fits.normals[place];
            result.normals += fits.fits[place] == PlaneFit::DONE ? 1 : 0;
            result.few_points += fits.fits[place] == PlaneFit::FEW_POINTS ? 1 : 0;
            result.on_a_line += fits.fits[place] == PlaneFit::LINE ? 1 : 0;
        }
        bool const looks_away = !directions.empty() && normal.dot(directions[i]) < 0.0F;
        result.cloud.set_normal(vertex, looks_away ? Vector3f(-normal) : normal);
    }
    result.repeated = distinct.places.size() - result.unplaced - distinct.points.size();
}

/// Warns of points without a normal, and refuses a cloud that has no others.
void report_missing(NormalsResult const& result, std::string const& about, StepScope& scope)
{
    std::string text;
    auto const add = [&](std::size_t count, char const* why)
    {
        if (count > 0)
        {
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, why);
        }
    };
    add(result.few_points, "of fewer than three different points");
    add(result.on_a_line, "with all points around on a line");
    add(result.unplaced, "with coordinates that are not finite or beyond 1e18");
    if (result.normals == 0)
    {
        throw OperationError("no point gets a normal: " + text);
    }
    if (!text.empty())
    {
        scope.warn(WarningCode::NORMALS_MISSING, about,
                   fmt::format("{} without a normal: {}",
                               counted(result.cloud.n_vertices() - result.normals, "point"), text));
    }
}

/// Estimates the normals of a cloud.
/// \param find_directions where they have to look if no sensor is given; nothing if nobody knows
/// \param about what messages call the cloud
template <typename Directions>
NormalsResult estimate(TriMesh cloud, NormalSense sense, Directions const& find_directions,
                       NormalsSettings const& settings, std::string const& about, StepScope& scope)
{
    NormalsResult result;
    result.settings = settings;
    result.cloud = std::move(cloud);
    result.sense = settings.sensor ? NormalSense::SENSOR : sense;
    Stopwatch const watch;
    if (result.cloud.n_vertices() == 0)
    {
        throw InputError("there are no points");
    }
    auto const distinct = scope.stage(
        "sort the points", 0.1, [&] { return distinct_points(detail::points_of(result.cloud)); });
    auto fits =
        scope.stage("fit the planes", 0.75,
                    [&] { return fit_planes(distinct.points, result.settings.neighbours); });
    scope.stage("turn the normals", 1.0,
                [&]
                {
                    auto const directions =
                        settings.sensor
                            ? directions_to(*settings.sensor, detail::points_of(result.cloud))
                            : find_directions();
                    if (directions.empty())
                    {
                        result.pieces = orient_by_neighbours(distinct.points, fits);
                    }
                    set_normals(distinct, fits, directions, result);
                });
    result.seconds = watch.seconds();
    report_missing(result, about, scope);
    return result;
}

} // namespace

NormalsResult estimate_normals(TriMesh const& cloud, NormalsSettings const& settings,
                               Context& context)
{
    check(settings);
    StepScope scope(context, "estimate-normals", "estimate the normals");
    return estimate(
        points_of(cloud), NormalSense::NEIGHBOURS, [] { return std::vector<Vector3f>(); }, settings,
        "the cloud", scope);
}

NormalsResult estimate_normals(FrameSet const& frames, NormalsSettings const& settings,
                               Context& context)
{
    check(settings);
    refuse_bare_frames(frames);
    StepScope scope(context, "estimate-normals", "estimate the normals");
    return estimate(
        points_of(frames), NormalSense::FRAMES, [&] { return directions_of(frames); }, settings,
        frames.source, scope);
}

} // namespace veld
