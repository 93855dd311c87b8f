#include "commands/TextCommand.h"

#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

void TextCommand::add_options(CLI::App& app)
{
    program_ = app.get_parent();
    add_output(app, file_, "File to write (default: standard output)")->type_name("FILE");
}

std::vector<std::filesystem::path> TextCommand::outputs() const
{
    return file_.empty() ? std::vector<std::filesystem::path>()
                         : std::vector<std::filesystem::path>{file_};
}

Json TextCommand::run(Desk const& desk)
{
    std::string const result = text(help_texts(*program_));
    if (file_.empty())
    {
        desk.console.print(result);
    }
    else
    {
        write_text_file(desk.outputs.add(file_), result);
    }
    return Json{{"text", result}};
}

} // namespace veld::cli
