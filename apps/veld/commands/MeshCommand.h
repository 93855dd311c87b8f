#pragma once

#include "commands/Command.h"
#include "options/MeshInput.h"
#include "options/ResultPlace.h"

#include <functional>
#include <optional>
#include <string>

namespace veld::cli
{

/// A command on meshes, one after the other. Where there are several, each has its result to
/// itself: one that fails is told, and the others go on.
class MeshCommand : public Command
{
public:
    void take_arguments() override;
    bool writes_standard_output() const override;
    std::filesystem::path directory() const override;
    std::vector<std::filesystem::path> outputs() const override;
    std::vector<std::filesystem::path> inputs() const override;
    Json run(Desk const& desk) final;
    int status() const override { return status_; }

protected:
    MeshCommand() = default;
    explicit MeshCommand(ResultPlace::Kind kind) : result_(kind) {}

    /// Does the work on one mesh. \return the result for `--json`
    virtual Json run_on(std::string const& mesh, Desk const& desk) = 0;

    /// What is read beside the meshes.
    virtual std::vector<std::filesystem::path> further_inputs() const { return {}; }

    MeshInput const& input() const { return input_; }
    MeshInput& input() { return input_; }

    /// Where the results go, for commands that write some.
    ResultPlace& result() { return *result_; }

    /// The output for a mesh.
    OutputFile const& open_result(std::string const& mesh, Desk const& desk) const;

private:
    Json run_apart(std::string const& mesh, Desk const& desk);
    bool attempt(Desk const& desk, Json& result, std::function<void()> const& work);

    MeshInput input_;
    std::optional<ResultPlace> result_;
    int status_ = 0;
};

} // namespace veld::cli
