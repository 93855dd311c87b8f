#pragma once

#include "workflow/export.h"
#include "workflow/files/Json.h"

#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

/// A step of a run, as it is kept for who looks at it later. Files are named relative to the folder
/// of the run.
struct RunStep // NOLINT(bugprone-exception-escape): JSON moves without throwing
{
    std::string name;     ///< Its key in the recipe: "merge", "fill".
    std::string title;    ///< What people call it: "Merge 10 frames".
    Json settings;        ///< As taken: what was measured stands in place of what was not set.
    Json result;          ///< As `StepJson.h` has it.
    double seconds = 0.0; ///< How long it took.
    std::string line;     ///< What the console said of it.
    std::vector<std::string> warnings; ///< What it warned of.
    std::string mesh;    ///< The mesh or cloud behind the step; empty if it is not kept.
    std::string picture; ///< A PNG of it; empty for none.
    std::string key;     ///< Checksum of all that the result depends on, to go on behind it later.
    long new_faces_begin = -1; ///< The first face that the step added to `mesh`; -1: not known.
};

/// What a run did. It lies in the folder of the run as `run.json`.
struct RunRecord // NOLINT(bugprone-exception-escape): as above
{
    std::string version;        ///< Of the program.
    std::string source;         ///< What was given.
    Json recipe;                ///< As taken.
    std::vector<RunStep> steps; ///< In their order.
    Json comparison;            ///< With the true object, where there is one; null otherwise.
    std::string textured;       ///< The textured model at the end, a GLB file; may be empty.

    /// The record as one object.
    VELD_WORKFLOW_API Json to_json() const;
    /// The content of the file.
    VELD_WORKFLOW_API std::string to_text() const;
};

/// The file of a run's record in the folder of the run.
VELD_WORKFLOW_API std::filesystem::path run_record_path(std::filesystem::path const& directory);

/// Throws `InputError` with the file and the reason where there is no record, or a damaged one.
/// Keys that are not known are left for later versions.
VELD_WORKFLOW_API RunRecord read_run_record(std::filesystem::path const& directory);

/// The same from the content of a file. \param place stands in front of every reason
VELD_WORKFLOW_API RunRecord parse_run_record(std::string const& text, std::string const& place);

/// Writes the record: whole, or not at all. Throws `OperationError` where it cannot.
VELD_WORKFLOW_API void write_run_record(std::filesystem::path const& directory,
                                        RunRecord const& record);

} // namespace veld
