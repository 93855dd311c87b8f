#include "commands/TextCommand.h"
#include "help/ManPage.h"
#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class ManCommand : public TextCommand
{
public:
    void add_options(CLI::App& app) override
    {
        TextCommand::add_options(app);
        set_example(app, "man -o veld.1");
    }

protected:
    std::string text(ProgramHelp const& program) const override
    {
        return man_page(program, VELD_VERSION);
    }
};

} // namespace

std::unique_ptr<Command> make_man_command()
{
    return std::make_unique<ManCommand>();
}

} // namespace veld::cli
