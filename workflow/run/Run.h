#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/OutputFile.h"
#include "workflow/report/RunRecord.h"
#include "workflow/run/Recipe.h"
#include "workflow/run/ScanLook.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace veld
{

/// What a run is to do.
struct RunRequest
{
    std::filesystem::path scan;             ///< What `look_at_scan()` takes.
    std::filesystem::path directory;        ///< For all that is written; made if it is not there.
    std::filesystem::path markers;          ///< Empty: looked for beside the scan.
    std::filesystem::path photos;           ///< The same.
    std::optional<Recipe> recipe;           ///< None: the usual one for what the scan is.
    bool keep = false;                      ///< Whether the mesh of every step stays.
    bool pictures = true;                   ///< Whether each step gets a picture, for the page.
    Existing existing = Existing::REPLACED; ///< Of a run that is there and has ended.
};

/// What a run did.
struct RunResult // NOLINT(bugprone-exception-escape): its record moves without throwing
{
    RunRecord record;            ///< As it lies in the folder.
    std::size_t from_before = 0; ///< So many steps were taken from an earlier run.
};

/// Is told a line for what was found and for each step.
using RunListener = std::function<void(std::string const& line)>;

/// Takes a scan through the steps of a recipe, one after the other.
///
/// The folder then has `model.ply`, the mesh of the end, `model.glb` if it was textured,
/// `recipe.json` with the settings as they were taken, the record `run.json` and a page for people,
/// `report.html`, with the pictures that this shows, as `01-merge.png`. Until then it has the mesh
/// of each step, as `01-merge.ply`; they go at the end unless they are to be kept. A step works on
/// what the file of the step before holds, so that the same bytes come out whether a run was
/// interrupted or not.
///
/// Called again for a folder it goes on behind the last step whose input, settings and result are
/// what they were. Files that are not of a run are never touched: where one has a name that the run
/// needs, the folder is refused. Throws `InputError` where the scan or the recipe is wrong,
/// `OperationError` where a later step fails, `Cancelled`; what was made before stays.
VELD_WORKFLOW_API RunResult run(RunRequest const& request, Context& context,
                                RunListener const& tell);

/// The steps that fit what a scan is. They tell what is not measured.
VELD_WORKFLOW_API Recipe usual_recipe(ScanLook const& look);

/// The same for frames with markers and photographs, which take all steps.
VELD_WORKFLOW_API Recipe usual_recipe();

} // namespace veld
