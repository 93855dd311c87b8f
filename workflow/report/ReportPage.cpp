#include "workflow/report/ReportPage.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/files/InputFile.h"
#include "workflow/report/models/ReportModels.h"
#include "workflow/report/page/Html.h"
#include "workflow/report/page/PageTables.h"
#include "workflow/report/page/ViewSection.h"
#include "workflow/report/page/ViewerFiles.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <iterator>
#include <utility>

namespace veld
{

namespace
{

/// A picture of a step, as its file has it.
struct StepPicture
{
    std::size_t step = 0;
    std::string bytes;
};

/// All that the page is made of.
struct Contents // NOLINT(bugprone-exception-escape): JSON moves without throwing
{
    RunRecord record;
    std::vector<StepPicture> pictures;
    ReportModels models;
    std::vector<std::string> gaps;
};

std::string read_picture_file(std::filesystem::path const& path)
{
    std::string bytes = file_bytes(path);
    if (bytes.compare(0, 4, "\x89PNG") != 0)
    {
        throw InputError(shown(path) + ": is no PNG picture");
    }
    return bytes;
}

std::vector<StepPicture> read_pictures(RunRecord const& record, RunFiles const& files,
                                       std::function<void(std::string const&)> const& tell_gap)
{
    std::vector<StepPicture> pictures;
    for (std::size_t i = 0; i < record.steps.size(); ++i)
    {
        if (record.steps[i].picture.empty())
        {
            continue;
        }
        try
        {
            pictures.push_back({i, read_picture_file(files(record.steps[i].picture))});
        }
        catch (Error const& error)
        {
            tell_gap(error.what());
        }
    }
    return pictures;
}

std::string title_of(RunRecord const& record, ReportModel const& model)
{
    return html_text(record.steps[model.step].title);
}

std::string head(RunRecord const& record)
{
    std::string const title = html_text(record.source.empty() ? "A run of steps" : record.source);
    ViewerFile const style = page_style();
    return fmt::format(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
        "script-src {} 'wasm-unsafe-eval'; style-src {}; img-src data: blob:; base-uri 'none'; "
        "form-action 'none'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<meta name=\"color-scheme\" content=\"light dark\">\n"
        "<meta name=\"generator\" content=\"veld {}\">\n"
        "<link rel=\"icon\" href=\"data:,\">\n"
        "<title>{}</title>\n<style>{}</style>\n</head>\n",
        policy_hash(viewer_script().sha256), policy_hash(style.sha256), html_text(record.version),
        title, style.content);
}

std::string heading(RunRecord const& record)
{
    double seconds = 0.0;
    for (RunStep const& step : record.steps)
    {
        seconds += step.seconds;
    }
    return fmt::format("<header>\n<p class=\"kind\">Scan report</p>\n<h1>{}</h1>\n"
                       "<p class=\"facts\">{} in {} · veld {}</p>\n</header>\n",
                       html_text(record.source.empty() ? "A run of steps" : record.source),
                       counted(record.steps.size(), "step"), page_seconds(seconds),
                       html_text(record.version));
}

std::string warning_section(Contents const& contents)
{
    std::string items;
    for (std::size_t i = 0; i < contents.record.steps.size(); ++i)
    {
        RunStep const& step = contents.record.steps[i];
        for (std::string const& warning : step.warnings)
        {
            items += fmt::format("<li><a href=\"#step-{}\">{}</a>: {}</li>\n", i + 1,
                                 html_text(step.title), html_text(warning));
        }
    }
    for (std::string const& gap : contents.gaps)
    {
        items += fmt::format("<li>Missing in this page: {}</li>\n", html_text(gap));
    }
    return items.empty() ? ""
                         : fmt::format("<section class=\"warnings\">\n<h2>Warnings</h2>\n<ul>\n{}"
                                       "</ul>\n</section>\n",
                                       items);
}

std::string health_row(char const* name, std::size_t MeshHealth::*count, ReportModels const& models)
{
    std::string row = fmt::format("<tr><th scope=\"row\">{}</th>", name);
    for (auto const* model : {&models.before, &models.after})
    {
        if (*model)
        {
            row += fmt::format("<td class=\"number\">{}</td>", page_value((*model)->health.*count));
        }
    }
    return row + "</tr>\n";
}

/// The mesh in numbers, before and after.
std::string mesh_section(Contents const& contents)
{
    ReportModels const& models = contents.models;
    if (!models.after)
    {
        return "";
    }
    std::string html = "<section>\n<h2>Result</h2>\n<div class=\"wide\"><table class=\"health\">\n"
                       "<thead><tr><td></td>";
    for (auto const* model : {&models.before, &models.after})
    {
        if (*model)
        {
            html += fmt::format("<th scope=\"col\" class=\"number\">{}</th>",
                                title_of(contents.record, **model));
        }
    }
    html += "</tr></thead>\n<tbody>\n" + health_row("Faces", &MeshHealth::faces, models) +
            health_row("Vertices", &MeshHealth::vertices, models) +
            health_row("Holes", &MeshHealth::holes, models) +
            health_row("Border edges", &MeshHealth::boundary_edges, models) +
            health_row("Pieces", &MeshHealth::components, models) +
            health_row("Non-manifold vertices", &MeshHealth::non_manifold_vertices, models) +
            health_row("Loose points", &MeshHealth::isolated_vertices, models);
    if (models.is_marked)
    {
        html += fmt::format("<tr><th scope=\"row\">New faces</th>{}<td class=\"number\">{}</td>"
                            "</tr>\n",
                            models.before ? "<td></td>" : "", page_value(models.new_faces));
    }
    return html + "</tbody>\n</table></div>\n</section>\n";
}

std::string picture_section(Contents const& contents)
{
    auto const& pictures = contents.pictures;
    if (pictures.empty())
    {
        return "";
    }
    std::string html = "<section>\n<h2>Before and after</h2>\n<div class=\"pictures\">\n";
    for (StepPicture const& picture : pictures)
    {
        std::string const title = html_text(contents.record.steps[picture.step].title);
        bool const is_one_of_many = pictures.size() > 1;
        char const* const rank = !is_one_of_many                 ? ""
                                 : &picture == &pictures.front() ? "Before: "
                                 : &picture == &pictures.back()  ? "After: "
                                                                 : "";
        html += fmt::format("<figure><img alt=\"The model behind the step {}\" "
                            "src=\"data:image/png;base64,{}\"><figcaption>{}{}</figcaption>"
                            "</figure>\n",
                            title, base64(picture.bytes), rank, title);
    }
    return html + "</div>\n</section>\n";
}

std::string time_section(RunRecord const& record)
{
    return record.steps.empty()
               ? ""
               : "<section>\n<h2>Time</h2>\n" + time_chart(record.steps) + "</section>\n";
}

std::string comparison_section(RunRecord const& record)
{
    std::string const table = value_table("Distances in mm, colours of 255", record.comparison);
    return table.empty() ? ""
                         : "<section>\n<h2>Beside the true object</h2>\n" + table + "</section>\n";
}

std::string step_part(RunStep const& step, std::size_t number)
{
    std::string html = fmt::format("<article id=\"step-{}\">\n<h3><span class=\"step\">{}</span> {}"
                                   "</h3>\n<p class=\"facts\">{} · {}</p>\n",
                                   number, number, html_text(step.title), html_text(step.name),
                                   page_seconds(step.seconds));
    if (!step.line.empty())
    {
        html += fmt::format("<p class=\"line\">{}</p>\n", html_text(step.line));
    }
    for (std::string const& warning : step.warnings)
    {
        html += fmt::format("<p class=\"warning\">Warning: {}</p>\n", html_text(warning));
    }
    html += "<div class=\"tables\">\n<div>" + value_table("Result", step.result) + "</div>\n<div>" +
            value_table("Settings", step.settings) + "</div>\n</div>\n";
    return html + "</article>\n";
}

std::string step_section(RunRecord const& record)
{
    if (record.steps.empty())
    {
        return "";
    }
    std::string html = "<section>\n<h2>Steps</h2>\n";
    for (std::size_t i = 0; i < record.steps.size(); ++i)
    {
        html += step_part(record.steps[i], i + 1);
    }
    return html + "</section>\n";
}

std::string recipe_section(RunRecord const& record)
{
    return record.recipe.empty()
               ? ""
               : fmt::format("<section>\n<h2>Recipe</h2>\n<details><summary>The recipe as it was "
                             "taken</summary>\n<pre>{}</pre></details>\n</section>\n",
                             html_text(record.recipe.dump(2)));
}

std::string page_of(Contents const& contents)
{
    RunRecord const& record = contents.record;
    bool const has_view = count_models(contents.models) > 0;
    std::string html = head(record) + "<body>\n<main>\n" + heading(record) +
                       warning_section(contents) + view_section(record, contents.models) +
                       mesh_section(contents) + picture_section(contents) + time_section(record) +
                       comparison_section(record) + step_section(record) + recipe_section(record);
    html += "</main>\n<footer><p>Lengths are millimetres. This page needs no network and sends "
            "nothing.";
    if (has_view)
    {
        html += " The 3D view contains three.js and meshoptimizer, whose licences stand in the "
                "source of the page.";
    }
    html += "</p></footer>\n";
    if (has_view)
    {
        html += scene_data(contents.models) + "<script>" + viewer_script().content + "</script>\n";
    }
    return html + "</body>\n</html>\n";
}

} // namespace

ReportPage report_page(RunRecord const& record, RunFiles const& files, Context& context)
{
    StepScope scope(context, "report-page", "make the page");
    Contents contents;
    // Texts and numbers as the file of the record has them, whatever they were before.
    contents.record = parse_run_record(record.to_text(), "");
    auto const tell_gap = [&](std::string const& gap)
    {
        contents.gaps.push_back(gap);
        scope.warn(WarningCode::REPORT_GAP, "", "the page lacks " + gap);
    };
    contents.pictures = read_pictures(contents.record, files, tell_gap);
    contents.models = read_report_models(contents.record, files, context, tell_gap);
    return {page_of(contents), contents.gaps, contents.pictures.size(),
            count_models(contents.models)};
}

ReportPage report_page(std::filesystem::path const& directory, RunRecord const& record,
                       Context& context)
{
    return report_page(
        record, [&](std::string const& name) { return directory / name; }, context);
}

} // namespace veld
