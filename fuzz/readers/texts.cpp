#include "fuzz/support/Target.h"
#include "fuzz/targets.h"
#include "workflow/Error.h"
#include "workflow/files/MarkerFile.h"
#include "workflow/files/SeedFile.h"
#include "workflow/report/ReportPage.h"
#include "workflow/report/RunRecord.h"
#include "workflow/run/Recipe.h"

namespace
{

using veld::InputError;
using namespace veld_fuzz;

/// What the system writes of a recipe, it reads.
void fuzz_recipe(std::string const& text)
{
    veld::Recipe recipe;
    if (ends_well<InputError>([&] { recipe = veld::parse_recipe(text, "recipe.json"); }))
    {
        note_accepted();
        veld::parse_recipe(veld::to_json(recipe).dump(), "written.json");
    }
}

void fuzz_record(std::string const& text)
{
    veld::RunRecord record;
    if (ends_well<InputError>([&] { record = veld::parse_run_record(text, "run.json"); }))
    {
        note_accepted();
        veld::parse_run_record(record.to_text(), "written.json");
        veld::Context context;
        context.threads = 1;
        veld::report_page(
            record, [](std::string const&) { return work_folder() / "none"; }, context);
    }
}

void fuzz_number_lines(std::string const& text)
{
    auto const path = work_file("numbers.txt", text);
    for (auto const with_normals : {false, true})
    {
        if (ends_well<InputError>([&] { veld::read_markers(path, with_normals); }))
        {
            note_accepted();
        }
    }
    if (ends_well<InputError>([&] { veld::read_seeds(path); }))
    {
        note_accepted();
    }
}

} // namespace

void veld_fuzz::texts(std::string_view input)
{
    std::string const text(input);
    if (text.empty() || text.front() != '{')
    {
        fuzz_number_lines(text);
        return;
    }
    if (veld::Json::accept(text))
    {
        note_header();
    }
    fuzz_recipe(text);
    fuzz_record(text);
}
