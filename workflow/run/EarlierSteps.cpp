#include "workflow/run/EarlierSteps.h"

#include "workflow/StepScope.h"
#include "workflow/files/Checksum.h"
#include "workflow/run/one_step/RunSteps.h"

#include "algorithmVeld/common/solver.h"

#include <algorithm>
#include <cstddef>

namespace veld
{

namespace
{

bool needs_markers(StepKind kind)
{
    return kind == StepKind::CLEAN || kind == StepKind::MARKERS || kind == StepKind::FILL;
}

/// Whether what a step made is still there.
bool is_kept(RunStep const& step, RunFolder const& folder)
{
    std::string const name = is_texture(step) ? RunFolder::TEXTURED : step.mesh;
    Json const& checksum = step.result[FILE_CHECKSUM];
    // Who edits a record may leave anything there.
    return checksum.is_string() && folder.has(name, checksum.get<std::string>());
}

/// Goes back to the last step of which all is there that is needed.
void drop_lost(std::vector<RunStep>& steps, RunFolder const& folder, bool keep)
{
    bool is_needed = true; // the mesh of the last step, or of all that are to be kept
    for (std::size_t i = steps.size(); i-- > 0;)
    {
        if (!has_output(steps[i]))
        {
            continue;
        }
        bool const is_lost = (is_needed && !is_kept(steps[i], folder)) ||
                             (keep && !is_texture(steps[i]) && steps[i].mesh == RunFolder::MODEL);
        if (is_lost)
        {
            steps.resize(i);
            is_needed = true;
        }
        else
        {
            // Behind a texture there is no mesh, so the one before it is the model.
            is_needed = keep || is_texture(steps[i]);
        }
    }
}

} // namespace

std::vector<std::string> step_keys(Recipe const& recipe, ScanLook const& look,
                                   Context const& context)
{
    Context comparing = share_of(context, 0.0, 0.0);
    StepScope const scope(comparing, "compare-input", "compare the input");
    Checksum input;
    input.add(VELD_VERSION).add(OrvaneAlgorithm::solver_name());
    for (auto const& file : look.files)
    {
        input.add(file.filename().u8string()).add_file(file);
    }
    std::vector<std::string> keys;
    std::string before = input.text();
    for (auto const& step : recipe.steps)
    {
        Checksum key;
        key.add(before).add(to_string(step.kind)).add(step.settings.dump());
        key.add(std::to_string(static_cast<int>(step.when)));
        if (needs_markers(step.kind) && !look.markers.empty())
        {
            key.add_file(look.markers);
        }
        if (step.kind == StepKind::TEXTURE)
        {
            for (auto const& file : look.photo_files)
            {
                key.add(file.filename().u8string()).add_file(file);
            }
        }
        keys.push_back(before = key.text());
    }
    return keys;
}

std::vector<RunStep> kept_steps(RunFolder const& folder, std::vector<std::string> const& keys,
                                bool keep)
{
    if (!folder.earlier())
    {
        return {};
    }
    auto steps = folder.earlier()->steps;
    std::size_t same = 0;
    while (same < std::min(steps.size(), keys.size()) && steps[same].key == keys[same])
    {
        ++same;
    }
    steps.resize(same);
    drop_lost(steps, folder, keep);
    return steps;
}

bool has_output(RunStep const& step)
{
    return step.result.is_object() && step.result.contains(FILE_CHECKSUM);
}

bool is_texture(RunStep const& step)
{
    return step.name == to_string(StepKind::TEXTURE);
}

} // namespace veld
