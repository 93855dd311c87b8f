#include "workflow/report/models/ReportModels.h"

#include "workflow/Error.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/pictures/NewFaces.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace veld
{

namespace
{

/// A mesh that could be read.
struct StepMesh
{
    std::size_t step = 0;
    TriMesh mesh;
};

using TellGap = std::function<void(std::string const&)>;

std::optional<StepMesh> read_step_mesh(RunRecord const& record, std::size_t step,
                                       RunFiles const& files, Context& context,
                                       TellGap const& tell_gap)
{
    Context reading = context;
    reading.warn = nullptr; // what the files carry beside the mesh is of no matter here
    try
    {
        return StepMesh{step, read_cloud(files(record.steps[step].mesh), reading).mesh};
    }
    catch (Error const& error)
    {
        tell_gap(error.what());
        return std::nullopt;
    }
}

/// The steps with a mesh, in their order.
std::vector<std::size_t> steps_with_mesh(RunRecord const& record)
{
    std::vector<std::size_t> steps;
    for (std::size_t i = 0; i < record.steps.size(); ++i)
    {
        if (!record.steps[i].mesh.empty())
        {
            steps.push_back(i);
        }
    }
    return steps;
}

/// Which faces of the last mesh were not there before. What the only step that added faces says
/// goes first; otherwise they are compared.
/// \return empty where that tells nothing: the surface has moved, or there was none
std::vector<char> marks_of(RunRecord const& record, StepMesh const& after,
                           std::optional<StepMesh> const& before)
{
    constexpr std::size_t MOST = 2; // of all faces one in so many may be new
    std::size_t const faces = after.mesh.n_faces();
    long const begin = record.steps[after.step].new_faces_begin;
    auto const adding =
        std::count_if(record.steps.begin(), record.steps.end(),
                      [](RunStep const& step) { return step.new_faces_begin >= 0; });
    if (begin >= 0 && adding == 1 && static_cast<std::size_t>(begin) <= faces)
    {
        std::vector<char> marks(faces, 0);
        std::fill(marks.begin() + begin, marks.end(), 1);
        return marks;
    }
    if (!before || before->mesh.n_faces() == 0)
    {
        return {};
    }
    std::vector<char> marks = mark_new_faces(after.mesh, before->mesh);
    auto const n_new = static_cast<std::size_t>(std::count(marks.begin(), marks.end(), 1));
    return n_new > faces / MOST ? std::vector<char>() : marks;
}

ReportModel model_of(StepMesh& mesh, std::vector<char> const& marks, Context& context)
{
    return {mesh.step, inspect(mesh.mesh, context), make_display_mesh(mesh.mesh, marks)};
}

void read_textured(RunRecord const& record, RunFiles const& files, ReportModels& models,
                   TellGap const& tell_gap)
{
    if (record.textured.empty())
    {
        return;
    }
    try
    {
        models.textured = make_display_mesh(read_glb(files(record.textured)));
    }
    catch (Error const& error)
    {
        tell_gap(error.what());
    }
}

} // namespace

ReportModels read_report_models(RunRecord const& record, RunFiles const& files, Context& context,
                                TellGap const& tell_gap)
{
    ReportModels models;
    auto const steps = steps_with_mesh(record);
    std::optional<StepMesh> first;
    std::optional<StepMesh> last;
    if (!steps.empty())
    {
        first = read_step_mesh(record, steps.front(), files, context, tell_gap);
    }
    if (steps.size() > 1)
    {
        last = read_step_mesh(record, steps.back(), files, context, tell_gap);
    }
    if (first)
    {
        models.before = model_of(*first, {}, context);
    }
    if (last)
    {
        auto const marks = marks_of(record, *last, first);
        models.is_marked = !marks.empty();
        models.new_faces = static_cast<std::size_t>(std::count(marks.begin(), marks.end(), 1));
        models.after = model_of(*last, marks, context);
    }
    if (!models.after)
    {
        std::swap(models.before, models.after); // the only one
    }
    read_textured(record, files, models, tell_gap);
    return models;
}

} // namespace veld
