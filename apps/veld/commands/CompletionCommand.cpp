#include "commands/TextCommand.h"
#include "help/Completion.h"
#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class CompletionCommand : public TextCommand
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("SHELL", shell_, "The shell that reads it")
            ->required()
            ->check(CLI::IsMember(std::vector<std::string>{"bash", "zsh"}));
        TextCommand::add_options(app);
        set_example(app, "completion bash");
    }

protected:
    std::string text(ProgramHelp const& program) const override
    {
        return shell_ == "bash" ? bash_completion(program) : zsh_completion(program);
    }

private:
    std::string shell_;
};

} // namespace

std::unique_ptr<Command> make_completion_command()
{
    return std::make_unique<CompletionCommand>();
}

} // namespace veld::cli
