#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "workflow/report/ReportPage.h"
#include "workflow/report/RunRecord.h"
#include "workflow/words.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace veld::cli
{

namespace
{

class ReportCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("DIR", directory_, "Folder of a run, with its run.json")
            ->required()
            ->option_text(" ");
        add_output(app, output_, "The page, .html (default: DIR/report.html)")->type_name("FILE");
        set_example(app, "report veld-demo -o page.html");
    }

    void take_arguments() override { check_extension(page(), {".html", ".htm"}); }

    std::vector<std::filesystem::path> outputs() const override { return {page()}; }

    std::vector<std::filesystem::path> inputs() const override
    {
        return {run_record_path(directory_)};
    }

    Json run(Desk const& desk) override
    {
        RunRecord const record = read_run_record(directory_);
        ReportPage const made = report_page(directory_, record, desk.context);
        write_text_file(desk.outputs.add(page()), made.html);
        desk.console.print(fmt::format(
            "{}: {}, {}, {}, {:.1f} MB\n", shown(page()), counted(record.steps.size(), "step"),
            counted(made.pictures, "picture"), counted(made.models, "model"),
            static_cast<double>(made.html.size()) / 1e6));
        return {{"page", shown(page())},        {"bytes", made.html.size()},
                {"steps", record.steps.size()}, {"pictures", made.pictures},
                {"models", made.models},        {"gaps", made.gaps}};
    }

private:
    std::filesystem::path page() const
    {
        return output_.empty() ? std::filesystem::path(directory_) / "report.html"
                               : std::filesystem::path(output_);
    }

    std::string directory_;
    std::string output_;
};

} // namespace

std::unique_ptr<Command> make_report_command()
{
    return std::make_unique<ReportCommand>();
}

} // namespace veld::cli
