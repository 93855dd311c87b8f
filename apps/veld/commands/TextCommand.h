#pragma once

#include "commands/Command.h"
#include "help/HelpTexts.h"

#include <filesystem>
#include <string>
#include <vector>

namespace veld::cli
{

/// A command that makes a text of what the parser knows of the program.
class TextCommand : public Command
{
public:
    void add_options(CLI::App& app) override;
    std::vector<std::filesystem::path> outputs() const override;
    Json run(Desk const& desk) final;

protected:
    virtual std::string text(ProgramHelp const& program) const = 0;

private:
    CLI::App const* program_ = nullptr;
    std::string file_;
};

} // namespace veld::cli
