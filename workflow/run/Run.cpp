#include "workflow/run/Run.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/files/Checksum.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/report/ReportPage.h"
#include "workflow/run/EarlierSteps.h"
#include "workflow/run/RunFolder.h"
#include "workflow/run/one_step/RunSteps.h"
#include "workflow/run/recipe/RecipePlan.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

namespace veld
{

namespace
{

/// A context whose warnings are noted in a list, too.
Context noting(Context const& whole, std::vector<std::string>& warnings)
{
    return with_warnings(whole,
                         [&warnings](Warning const& warning)
                         {
                             warnings.push_back(warning.about + ": " + warning.text);
                             return warning;
                         });
}

/// For what is written and read between the steps, of which all is known.
Context quiet(Context const& whole)
{
    Context part;
    part.cancel = whole.cancel;
    part.threads = whole.threads;
    return part;
}

/// What a step made: new faces in a colour of their own, a texture without other light than that of
/// the photographs.
Picture picture_of(StepOutcome const& outcome, Context& context)
{
    RenderSettings settings;
    settings.width = 800; // as wide as the page shows them
    settings.height = 600;
    settings.line_width = 3.0;
    if (outcome.textured)
    {
        settings.unlit = true;
        return render(outcome.textured->mesh, outcome.textured->image, {}, settings, context);
    }
    FaceMarks marks;
    if (outcome.new_faces_begin >= 0)
    {
        marks.assign(outcome.mesh.n_faces(), 1);
        std::fill_n(marks.begin(), outcome.new_faces_begin, 0);
    }
    return render(outcome.mesh, marks, settings, context);
}

/// A run at work.
class RunAtWork
{
public:
    RunAtWork(RunRequest const& request, Context& context, RunListener const& tell)
        : request_(request), context_(context), tell_(tell)
    {
    }

    RunResult go()
    {
        look();
        RunFolder folder(request_.directory, step_names(), state_.look, request_.existing);
        auto const keys = step_keys(recipe_, state_.look, context_);
        take_from_before(folder, keys);
        bool const has_ended = result_.from_before == recipe_.steps.size() &&
                               folder.earlier()->steps.size() == recipe_.steps.size();
        if (!has_ended)
        {
            folder.open(result_.record);
        }
        for (auto const& step : result_.record.steps)
        {
            say(step.line + ", from before");
        }
        read_last_mesh(folder);
        for (std::size_t i = result_.from_before; i < recipe_.steps.size(); ++i)
        {
            take(i, keys[i], folder);
        }
        write_model(folder);
        folder.write(RunFolder::RECIPE, result_.record.recipe.dump(2) + "\n");
        if (!has_ended || !std::filesystem::exists(folder.file(RunFolder::REPORT)))
        {
            write_page(folder);
        }
        finish(folder);
        return std::move(result_);
    }

private:
    /// What is there, and what is to be done with it.
    void look()
    {
        std::vector<std::string> warnings;
        Context part = noting(share_of(context_, 0.0, 0.0), warnings);
        state_.look = look_at_scan(request_.scan, request_.markers, request_.photos, part);
        recipe_ = request_.recipe ? *request_.recipe : usual_recipe(state_.look);
        check_fit(recipe_, state_.look);
        first_warnings_ = std::move(warnings);
        result_.record.version = VELD_VERSION;
        result_.record.source = shown(request_.scan);
        result_.record.recipe = to_json(recipe_);
        say(shown(request_.scan) + ": " + state_.look.found);
    }

    std::vector<std::string> step_names() const
    {
        std::vector<std::string> names;
        for (auto const& step : recipe_.steps)
        {
            names.push_back(to_string(step.kind));
        }
        return names;
    }

    /// Goes on behind the steps of an earlier run that are the same.
    void take_from_before(RunFolder const& folder, std::vector<std::string> const& keys)
    {
        auto steps = kept_steps(folder, keys, request_.keep);
        for (std::size_t i = 0; i < steps.size(); ++i)
        {
            note_settings(i, steps[i].settings);
        }
        result_.from_before = steps.size();
        if (!steps.empty())
        {
            first_warnings_.clear(); // the first step has them
        }
        bool const is_textured = !steps.empty() && is_texture(steps.back());
        result_.record.textured = is_textured ? RunFolder::TEXTURED : "";
        result_.record.steps = std::move(steps);
    }

    /// The settings of a step as they were taken.
    void note_settings(std::size_t i, Json const& settings)
    {
        RecipeStep const& step = recipe_.steps[i];
        result_.record.recipe["steps"][i]["settings"] =
            with_defaults(step.kind, without_nulls(settings));
        auto const radius = settings.find("radius");
        if (step.kind == StepKind::MARKERS && radius != settings.end() && radius->is_number())
        {
            state_.marker_radius = radius->get<double>();
        }
    }

    /// What the last of the steps before left is what the next one works on.
    void read_last_mesh(RunFolder const& folder)
    {
        state_.mesh = std::move(state_.look.mesh);
        for (auto step = result_.record.steps.rbegin(); step != result_.record.steps.rend(); ++step)
        {
            if (has_output(*step) && !is_texture(*step))
            {
                model_ = step->mesh;
                state_.mesh = result_.from_before == recipe_.steps.size()
                                  ? OrvaneAlgorithm::TriMesh()
                                  : read_back(model_, folder);
                return;
            }
        }
    }

    /// Its warnings, if any, were told when the mesh was made.
    OrvaneAlgorithm::TriMesh read_back(std::string const& name, RunFolder const& folder) const
    {
        Context reading = quiet(context_);
        return read_cloud(folder.file(name), reading).mesh;
    }

    void take(std::size_t i, std::string const& key, RunFolder const& folder)
    {
        RecipeStep const& step = recipe_.steps[i];
        if (step.kind == StepKind::TEXTURE)
        {
            write_model(folder); // it stays where the texture fails
        }
        Stopwatch const watch;
        RunStep done;
        done.name = to_string(step.kind);
        done.key = key;
        done.warnings = std::exchange(first_warnings_, {});
        double const share = 1.0 / static_cast<double>(recipe_.steps.size());
        Context part = noting(
            share_of(context_, share * static_cast<double>(i), share * static_cast<double>(i + 1)),
            done.warnings);
        try
        {
            StepOutcome const outcome = take_step(step, state_, part);
            keep(outcome, i, done, folder);
            done.seconds = watch.seconds();
            draw(outcome, i, done, folder);
        }
        catch (Error const& error)
        {
            fail(i, error);
        }
        done.line = fmt::format("{}: {} ({:.2f} s)", done.name, done.line, done.seconds);
        say(done.line);
        note_settings(i, done.settings);
        result_.record.steps.push_back(std::move(done));
        write_run_record(request_.directory, result_.record);
    }

    /// The input was looked at before the first step: where a later one fails, others may do no
    /// better with it.
    [[noreturn]] void fail(std::size_t i, Error const& error) const
    {
        std::string const reason = fmt::format("{}{}: {}", recipe_.steps[i].place,
                                               to_string(recipe_.steps[i].kind), error.what());
        if (i == 0 && dynamic_cast<InputError const*>(&error) != nullptr)
        {
            throw InputError(reason);
        }
        throw OperationError(reason);
    }

    /// Writes what a step made, and goes on with what the file holds.
    void keep(StepOutcome const& outcome, std::size_t i, RunStep& done, RunFolder const& folder)
    {
        done.title = outcome.title;
        done.settings = outcome.settings;
        done.result = outcome.result;
        done.line = outcome.text;
        done.new_faces_begin = outcome.new_faces_begin;
        if (outcome.is_left_out)
        {
            return;
        }
        Context writing = quiet(context_);
        std::string file = RunFolder::TEXTURED;
        if (outcome.textured)
        {
            folder.write(file, *outcome.textured, writing);
            result_.record.textured = file;
        }
        else
        {
            file = RunFolder::mesh_name(i, done.name);
            folder.write(file, outcome.mesh, writing);
            done.mesh = file;
            model_ = file;
            state_.mesh = read_back(file, folder);
        }
        done.result[FILE_CHECKSUM] = checksum_of(folder.file(file));
    }

    /// No cloud, and nothing that is as it was before.
    void draw(StepOutcome const& outcome, std::size_t i, RunStep& done,
              RunFolder const& folder) const
    {
        bool const has_faces = outcome.textured || outcome.mesh.n_faces() > 0;
        if (!request_.pictures || outcome.is_left_out || !has_faces)
        {
            return;
        }
        Context drawing = quiet(context_);
        std::string const file = RunFolder::picture_name(i, done.name);
        folder.write(file, picture_of(outcome, drawing), drawing);
        done.picture = file;
    }

    void write_model(RunFolder const& folder)
    {
        if (model_.empty())
        {
            Context writing = quiet(context_);
            folder.write(RunFolder::MODEL, state_.mesh, writing);
        }
        else if (model_ != RunFolder::MODEL)
        {
            folder.copy(model_, RunFolder::MODEL);
        }
    }

    /// While the meshes of all steps are there, for it shows them.
    void write_page(RunFolder const& folder) const
    {
        Context writing = quiet(context_);
        writing.warn = context_.warn;
        folder.write(RunFolder::REPORT,
                     report_page(request_.directory, result_.record, writing).html);
    }

    void finish(RunFolder const& folder)
    {
        if (!request_.keep)
        {
            for (auto& step : result_.record.steps)
            {
                bool const is_last = !step.mesh.empty() && step.mesh == model_;
                step.mesh = is_last ? RunFolder::MODEL : "";
            }
        }
        folder.save(result_.record);
        if (context_.progress)
        {
            context_.progress({"write the results", 1.0});
        }
    }

    void say(std::string const& line) const
    {
        if (tell_)
        {
            tell_(line);
        }
    }

    RunRequest const& request_;
    Context& context_;
    RunListener const& tell_;
    Recipe recipe_;
    RunState state_;
    RunResult result_;
    std::vector<std::string> first_warnings_; ///< Of the scan itself.
    std::string model_; ///< The file with the mesh of the last step; empty if none has made one.
};

} // namespace

RunResult run(RunRequest const& request, Context& context, RunListener const& tell)
{
    return RunAtWork(request, context, tell).go();
}

} // namespace veld
