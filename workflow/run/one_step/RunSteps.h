#pragma once

#include "workflow/Context.h"
#include "workflow/files/Json.h"
#include "workflow/files/TexturedMesh.h"
#include "workflow/run/Recipe.h"
#include "workflow/run/ScanLook.h"

#include "algorithmVeld/common/TriMesh.h"

#include <optional>
#include <string>

namespace veld
{

/// What the steps of a run work on.
struct RunState
{
    ScanLook look;
    OrvaneAlgorithm::TriMesh mesh; ///< Or cloud, as the step before left it; none of frames.
    double marker_radius = 0.0;    ///< In which markers were cut out, in millimetres; 0: not yet.
};

/// What a step made.
struct StepOutcome
{
    std::string title; ///< "Merge 10 frames".
    std::string text;  ///< What the line says of it.
    Json settings;     ///< As taken, without any null.
    Json result;
    bool is_left_out = false; ///< There was nothing to be done, and the mesh is as it was.
    OrvaneAlgorithm::TriMesh mesh;
    std::optional<TexturedMesh> textured;
    long new_faces_begin = -1;
};

/// Takes one step of a recipe.
StepOutcome take_step(RecipeStep const& step, RunState& state, Context& context);

} // namespace veld
