#pragma once

#include "workflow/Context.h"
#include "workflow/report/RunRecord.h"
#include "workflow/report/models/DisplayMesh.h"
#include "workflow/steps/Inspect.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace veld
{

/// Where a file of a run is that the record names.
using RunFiles = std::function<std::filesystem::path(std::string const&)>;

/// A mesh of a run as the page has it.
struct ReportModel
{
    std::size_t step = 0; ///< Behind which it was.
    MeshHealth health;
    DisplayMesh display;
};

/// What the page shows in three dimensions.
struct ReportModels
{
    std::optional<ReportModel> before; ///< Behind the first step that left a mesh.
    std::optional<ReportModel> after;  ///< Behind the last one. One mesh alone is this.
    std::optional<DisplayMesh> textured;
    std::size_t new_faces = 0; ///< Of the last mesh, as it was.
    bool is_marked = false;    ///< Whether it is known which faces are new.
};

/// Reads them. What cannot be read is left out, and \p tell_gap is told of it.
ReportModels read_report_models(RunRecord const& record, RunFiles const& files, Context& context,
                                std::function<void(std::string const&)> const& tell_gap);

} // namespace veld
