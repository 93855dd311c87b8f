#pragma once

#include "workflow/Context.h"
#include "workflow/files/OutputFile.h"
#include "workflow/files/TexturedMesh.h"
#include "workflow/report/RunRecord.h"
#include "workflow/run/ScanLook.h"
#include "workflow/steps/Render.h"

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/files/TemporaryPlace.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace veld
{

/// The folder that a run writes to. It is a run's where it has a `run.json`; the names of a run's
/// files are then its own, and all other files are nobody's business.
class RunFolder
{
public:
    static constexpr char const* MODEL = "model.ply";
    static constexpr char const* TEXTURED = "model.glb";
    static constexpr char const* RECIPE = "recipe.json";
    static constexpr char const* REPORT = "report.html";

    /// Looks at the folder and changes nothing. Throws `InputError` where it is no place for a run:
    /// it is that of the scan, holds files of others with the names that this run needs, or another
    /// run is at work there.
    /// \param steps of the recipe, by name
    RunFolder(std::filesystem::path directory, std::vector<std::string> const& steps,
              ScanLook const& look, Existing existing);

    /// The record of the run before; none if there was none.
    std::optional<RunRecord> const& earlier() const { return earlier_; }

    std::filesystem::path file(std::string const& name) const { return directory_ / name; }

    /// The name of the mesh of a step, counted from 0: "01-merge.ply".
    static std::string mesh_name(std::size_t step, std::string const& name);

    /// The name of its picture: "01-merge.png".
    static std::string picture_name(std::size_t step, std::string const& name);

    /// Whether a file is there and as it was. \param checksum as `checksum_of()` gave it
    bool has(std::string const& name, std::string const& checksum) const;

    /// Makes the folder, and takes away what an earlier run left and `record` does not name. Throws
    /// `InputError` if another run has made it meanwhile.
    void open(RunRecord const& record);

    /// Writes the record, and then takes away what it does not name.
    void save(RunRecord const& record) const;

    void write(std::string const& name, OrvaneAlgorithm::TriMesh const& mesh,
               Context& context) const;
    void write(std::string const& name, TexturedMesh const& textured, Context& context) const;
    void write(std::string const& name, Picture const& picture, Context& context) const;
    void write(std::string const& name, std::string const& text) const;
    void copy(std::string const& from, std::string const& to) const;

private:
    void check_place(ScanLook const& look) const;
    void check_names(std::vector<std::string> const& steps) const;
    void remove_others(RunRecord const& record, bool ends) const;
    void claim();

    std::filesystem::path directory_;
    OrvaneAlgorithm::detail::UseMark mark_; ///< Two runs would take each other's files away.
    std::optional<RunRecord> earlier_;
};

} // namespace veld
