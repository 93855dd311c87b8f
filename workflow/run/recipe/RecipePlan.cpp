#include "workflow/run/recipe/RecipePlan.h"

#include "workflow/Error.h"
#include "workflow/run/Run.h"

namespace veld
{

namespace
{

/// Rings of faces along a hole that cannot be filled, which a folded rim hardly exceeds.
constexpr int FOLDED_RINGS = 2;

Recipe plan(ScanKind kind, bool has_normals, bool has_markers, bool has_photos)
{
    Recipe recipe;
    auto const add = [&recipe](StepKind step, Json settings = Json::object()) {
        recipe.steps.push_back({step, std::move(settings), StepWhen::ALWAYS, {}});
    };
    if (kind == ScanKind::FRAMES)
    {
        add(StepKind::MERGE, {{"max_hole_edges", 0}}); // they are the filling's
    }
    if (kind == ScanKind::CLOUD)
    {
        if (!has_normals)
        {
            add(StepKind::NORMALS);
        }
        add(StepKind::REPAIR);
    }
    add(StepKind::CLEAN);
    if (has_markers)
    {
        add(StepKind::MARKERS);
    }
    if (kind != ScanKind::CLOUD)
    {
        // Before the filling, which would close the outline of each piece.
        add(StepKind::REPAIR);
        recipe.steps.back().when = StepWhen::TORN;
    }
    add(StepKind::FILL);
    // The rims of what is still open are folded: without them it can be filled.
    add(StepKind::FILL,
        {{"method", "whole"}, {"region", "delete"}, {"region_rings", FOLDED_RINGS}});
    recipe.steps.back().when = StepWhen::OPEN;
    if (has_photos)
    {
        add(StepKind::TEXTURE);
    }
    return recipe;
}

/// What the steps have made of a scan so far.
enum class Stage
{
    FRAMES,
    CLOUD,
    MESH,
    TEXTURED
};

char const* name_of(Stage stage)
{
    switch (stage)
    {
    case Stage::FRAMES:
        return "frames";
    case Stage::CLOUD:
        return "a cloud of points";
    case Stage::MESH:
        return "a mesh";
    case Stage::TEXTURED:
        break;
    }
    return "a textured mesh";
}

Stage stage_of(ScanKind kind)
{
    return kind == ScanKind::FRAMES  ? Stage::FRAMES
           : kind == ScanKind::CLOUD ? Stage::CLOUD
                                     : Stage::MESH;
}

/// Whether a step takes what is there.
bool takes(StepKind step, Stage stage)
{
    switch (step)
    {
    case StepKind::MERGE:
        return stage == Stage::FRAMES;
    case StepKind::NORMALS:
        return stage == Stage::CLOUD;
    case StepKind::MARKERS:
    case StepKind::REPAIR:
        return stage == Stage::CLOUD || stage == Stage::MESH;
    case StepKind::CLEAN:
    case StepKind::FILL:
    case StepKind::TEXTURE:
        break;
    }
    return stage == Stage::MESH;
}

char const* wanted_by(StepKind step)
{
    return step == StepKind::MERGE                                 ? "frames"
           : step == StepKind::NORMALS                             ? "a cloud of points"
           : step == StepKind::MARKERS || step == StepKind::REPAIR ? "a mesh or a cloud of points"
                                                                   : "a mesh";
}

/// What a step makes.
Stage behind(StepKind step, Stage stage)
{
    return step == StepKind::MERGE || step == StepKind::REPAIR ? Stage::MESH
           : step == StepKind::TEXTURE                         ? Stage::TEXTURED
                                                               : stage;
}

} // namespace

Recipe usual_recipe(ScanLook const& look)
{
    return plan(look.kind, look.mesh.has_vertex_normals(), !look.markers.empty(),
                !look.photos.empty());
}

Recipe usual_recipe()
{
    return plan(ScanKind::FRAMES, false, true, true);
}

void check_fit(Recipe const& recipe, ScanLook const& look)
{
    if (recipe.steps.empty())
    {
        throw InputError("the recipe names no step");
    }
    Stage stage = stage_of(look.kind);
    for (std::size_t i = 0; i < recipe.steps.size(); ++i)
    {
        RecipeStep const& step = recipe.steps[i];
        std::string const name = to_string(step.kind);
        if (!takes(step.kind, stage))
        {
            throw InputError(
                step.place + name + " takes " + wanted_by(step.kind) + ", and " +
                (i == 0 ? "the scan is " : to_string(recipe.steps[i - 1].kind) + " leaves ") +
                name_of(stage));
        }
        if (step.kind == StepKind::MARKERS && look.markers.empty() &&
            !step.settings.contains("markers"))
        {
            throw InputError(step.place + name + ": the scan has no markers", "markers");
        }
        if (step.kind == StepKind::TEXTURE && look.photos.empty())
        {
            throw InputError(step.place + name + ": the scan has no photographs", "photos");
        }
        stage = behind(step.kind, stage);
    }
    if (stage == Stage::FRAMES || stage == Stage::CLOUD)
    {
        throw InputError(recipe.steps.back().place + "the recipe ends before there is a mesh");
    }
}

} // namespace veld
