#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/report/RunRecord.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace veld
{

/// A page about a run.
struct ReportPage
{
    std::string html;              ///< The whole page: it needs no other file and no network.
    std::vector<std::string> gaps; ///< Files of the record that are missing in it, and why.
    std::size_t pictures = 0;      ///< How many it shows.
    std::size_t models = 0;        ///< How many can be turned in it.
};

/// Makes the page of a run from its record and the files in its folder. A file that cannot be read
/// is a warning, and said in the page. The same record and files give the same bytes.
VELD_WORKFLOW_API ReportPage report_page(std::filesystem::path const& directory,
                                         RunRecord const& record, Context& context);

/// The same with files that are elsewhere, or not in their places yet.
/// \param files gives the place of a file by its name in the record
VELD_WORKFLOW_API ReportPage report_page(
    RunRecord const& record, std::function<std::filesystem::path(std::string const&)> const& files,
    Context& context);

} // namespace veld
