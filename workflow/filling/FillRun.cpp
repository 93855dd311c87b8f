#include "workflow/filling/FillRun.h"

#include "workflow/Stopwatch.h"
#include "workflow/files/KeptAttributes.h"
#include "workflow/filling/FillValues.h"
#include "workflow/filling/HoleList.h"
#include "workflow/filling/record/EdgeNumbers.h"

#include "algorithmVeld/common/mesh/RimTurn.h"

#include <algorithm>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

FillRun::FillRun(TriMesh const& mesh, FillSettings const& limits, FillResult& result,
                 StepScope& scope)
    : given_(mesh),
      result_(result),
      scope_(scope),
      made_by_(result.mesh, "<made-by>"),
      holes_(all_holes(result.mesh)),
      record_(result.mesh, holes_),
      finder_(limits)
{
    result.holes_before = holes_.size();
    std::fill(made_by_.data().begin(), made_by_.data().end(), GIVEN);
}

void FillRun::run(FillSettings const& settings)
{
    FillPass pass;
    pass.method = settings.method;
    pass.holes_before = holes_.size();
    if (result_.passes.empty() || has_work(settings))
    {
        fill(settings, pass);
    }
    pass.holes_after = holes_.size();
    result_.passes.push_back(pass);
}

bool FillRun::has_work(FillSettings const& settings) const
{
    return std::any_of(holes_.begin(), holes_.end(),
                       [&](Hole const& hole)
                       {
                           return has_few_enough_edges(settings, hole.size()) &&
                                  is_short_enough(settings, hole_perimeter(result_.mesh, hole)) &&
                                  !OrvaneAlgorithm::detail::turns_back(result_.mesh, hole,
                                                                       settings.normal_angle);
                       });
}

/// Runs a pass and counts what it did.
void FillRun::fill(FillSettings const& settings, FillPass& pass)
{
    TriMesh& mesh = result_.mesh;
    bool const cuts = moves_regions(settings) && settings.region == RegionHandling::DELETE;
    TriMesh const before = cuts ? mesh : TriMesh();
    std::size_t const vertices = mesh.n_vertices();
    PassOutcome const outcome = run_timed(settings);
    auto const is_new = [&](OpenMesh::FaceHandle face)
    { return made_by_.data()[static_cast<std::size_t>(face.idx())] == NEW; };
    finder_.add(mesh, outcome.open, settings, is_new);
    record_.note(settings.method, mesh, outcome.cut_faces > 0 ? &before : nullptr, is_new);
    holes_ = all_holes(mesh);
    count_new_faces(pass);
    pass.new_vertices = mesh.n_vertices() - vertices;
    pass.cut_faces = outcome.cut_faces;
    result_.new_vertices += pass.new_vertices;
    result_.cut_faces += pass.cut_faces;
    result_.markers_without_hole += outcome.markers_without_hole;
}

PassOutcome FillRun::run_timed(FillSettings const& settings)
{
    Stopwatch const watch;
    PassOutcome outcome = run_pass(result_.mesh, settings, scope_);
    result_.seconds += watch.seconds();
    return outcome;
}

/// Counts the new faces and gives them the number of their pass.
void FillRun::count_new_faces(FillPass& pass)
{
    int const number = GIVEN + 1 + static_cast<int>(result_.passes.size());
    for (int& made_by : made_by_.data())
    {
        if (made_by == NEW)
        {
            made_by = number;
            ++pass.new_faces;
        }
    }
    result_.new_faces += pass.new_faces;
}

void FillRun::finish()
{
    for (int const number : made_by_.data())
    {
        result_.made_by.push_back(number - GIVEN);
    }
    complete_carried(given_, result_.mesh, result_.made_by);
    if (result_.cut_faces > 0)
    {
        number_edges_as_read(result_.mesh);
        holes_ = all_holes(result_.mesh);
    }
    report_open_holes();
    result_.closed = record_.closed();
    if (result_.cut_faces > 0)
    {
        drop_bare_vertices();
    }
}

void FillRun::report_open_holes()
{
    for (auto const& hole : holes_)
    {
        double const perimeter = hole_perimeter(result_.mesh, hole);
        result_.open.push_back({result_.open.size(), hole.size(), perimeter,
                                finder_.reason(result_.mesh, hole, perimeter)});
    }
    result_.holes_after = result_.open.size();
}

/// Takes out the vertices that lost their last face.
void FillRun::drop_bare_vertices()
{
    TriMesh& mesh = result_.mesh;
    OrvaneAlgorithm::detail::DeletionScope const status(mesh);
    for (auto const vertex : given_.vertices())
    {
        if (mesh.is_isolated(vertex) && !given_.is_isolated(vertex))
        {
            mesh.status(vertex).set_deleted(true);
        }
    }
    mesh.garbage_collection(true, false, false);
}

} // namespace veld
