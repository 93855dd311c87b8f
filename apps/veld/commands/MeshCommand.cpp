#include "commands/MeshCommand.h"

#include "shell/Failure.h"
#include "shell/Signals.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace fs = std::filesystem;

namespace veld::cli
{

void MeshCommand::take_arguments()
{
    auto const& meshes = input_.meshes();
    if (result_)
    {
        result_->allow_directory(meshes.size() > 1);
    }
    if (std::count(meshes.begin(), meshes.end(), STANDARD_STREAM) > 1)
    {
        throw CLI::ValidationError("MESH", "standard input is named twice");
    }
    if (result_ && meshes.size() > 1 && !result_->is_directory())
    {
        throw CLI::ValidationError("--output", "several meshes need a directory, DIR/");
    }
    if (result_ && result_->is_directory() && input_.has_standard_input())
    {
        throw CLI::ValidationError("--output", "standard input has no name for a file in it");
    }
    bool const writes_mesh =
        writes_standard_output() && result_->kind() != ResultPlace::Kind::PICTURE;
    if (input_.format_is_given() && !input_.has_standard_input() && !writes_mesh)
    {
        throw CLI::ValidationError("--format", "is for meshes on standard input and output");
    }
}

bool MeshCommand::writes_standard_output() const
{
    return result_ && result_->is_standard_output();
}

fs::path MeshCommand::directory() const
{
    return result_ && result_->is_directory() ? result_->given() : fs::path();
}

std::vector<fs::path> MeshCommand::outputs() const
{
    std::vector<fs::path> files;
    if (result_ && !writes_standard_output())
    {
        result_->check_extension();
        for (auto const& mesh : input_.meshes())
        {
            files.push_back(result_->file_for(mesh));
        }
    }
    return files;
}

std::vector<fs::path> MeshCommand::inputs() const
{
    auto files = input_.files();
    auto const others = further_inputs();
    files.insert(files.end(), others.begin(), others.end());
    return files;
}

Json MeshCommand::run(Desk const& desk)
{
    auto const& meshes = input_.meshes();
    if (meshes.size() == 1)
    {
        return run_on(meshes.front(), desk);
    }
    Json list = Json::array();
    for (auto const& mesh : meshes)
    {
        Json entry{{"file", mesh_name(mesh)}};
        entry.update(run_apart(mesh, desk));
        list.push_back(std::move(entry));
    }
    return Json{{"meshes", std::move(list)}};
}

OutputFile const& MeshCommand::open_result(std::string const& mesh, Desk const& desk) const
{
    return result_->open(mesh, input_.format(), desk.outputs);
}

/// The output gets its place at once: what happens to the next mesh is no matter to it.
Json MeshCommand::run_apart(std::string const& mesh, Desk const& desk)
{
    Outputs outputs(desk.outputs.existing());
    Desk const apart{desk.console, desk.context, outputs, desk.verbose};
    Json result;
    bool const done = attempt(desk, result, [&] { result = run_on(mesh, apart); });
    // A report that is lost is lost for all.
    desk.console.finish();
    if (done)
    {
        attempt(desk, result, [&] { outputs.commit(); });
    }
    return result;
}

bool MeshCommand::attempt(Desk const& desk, Json& result, std::function<void()> const& work)
{
    try
    {
        work();
        if (desk.context.cancel.is_cancelled())
        {
            throw OrvaneAlgorithm::Cancelled();
        }
        return true;
    }
    catch (...)
    {
        if (Signals::received() != 0)
        {
            throw;
        }
        Failure const failure = current_failure();
        desk.console.clear_progress();
        print_error(failure.text);
        status_ = std::max(status_, failure.status);
        result = {{"error", failure.text}};
        return false;
    }
}

} // namespace veld::cli
