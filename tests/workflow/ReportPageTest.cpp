#include "workflow/report/ReportPage.h"

#include "workflow/files/MeshFiles.h"
#include "workflow/report/page/Html.h"
#include "workflow/report/page/PageTables.h"
#include "workflow/report/page/ViewerFiles.h"
#include "workflow/steps/Render.h"

#include "tests/support/files.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>

#include <cmath>
#include <string>
#include <vector>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using veld::Json;
using veld::ReportPage;
using veld::RunRecord;
using veld::RunStep;

/// A folder with a run of two steps: a hole is left by the first and filled by the second.
class Folder
{
public:
    Folder()
    {
        veld::Context context;
        TriMesh const open = grid_with_hole(3);
        veld::write_mesh(dir_.path() / "open.ply", open, context);
        TriMesh const closed = grid(5, 5);
        veld::write_mesh(dir_.path() / "closed.ply", closed, context);
        veld::RenderSettings small;
        small.width = small.height = 32;
        veld::write_picture(dir_.path() / "open.png", veld::render(open, {}, small, context),
                            context);
        record.version = "1.2.3";
        record.source = "scan.conf";
        RunStep merge;
        merge.name = "merge";
        merge.title = "Merge 2 frames";
        merge.mesh = "open.ply";
        merge.picture = "open.png";
        merge.seconds = 3.0;
        merge.result = {{"faces", 12345}};
        RunStep fill;
        fill.name = "fill";
        fill.title = "Fill 1 hole";
        fill.mesh = "closed.ply";
        fill.seconds = 1.0;
        record.steps = {merge, fill};
    }

    ReportPage page()
    {
        warnings.clear();
        veld::Context context;
        context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning.text); };
        return veld::report_page(dir_.path(), record, context);
    }

    std::filesystem::path path(char const* name) const { return dir_.path() / name; }

    RunRecord record;
    std::vector<std::string> warnings;

private:
    TempDir dir_;
};

std::size_t count_in(std::string const& text, std::string const& part)
{
    std::size_t n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    {
        ++n;
    }
    return n;
}

/// What stands in the page in front of its script.
std::string readable(ReportPage const& page)
{
    return page.html.substr(0, page.html.find("<script>"));
}

TEST(ReportPage, HasPicturesModelsAndNumbers)
{
    Folder folder;
    ReportPage const page = folder.page();
    EXPECT_TRUE(page.gaps.empty());
    EXPECT_TRUE(folder.warnings.empty());
    EXPECT_EQ(page.pictures, 1U);
    EXPECT_EQ(page.models, 2U);
    EXPECT_THAT(readable(page), HasSubstr("<title>scan.conf</title>"));
    EXPECT_THAT(readable(page), HasSubstr("2 steps in 4.00 s · veld 1.2.3"));
    EXPECT_THAT(readable(page), HasSubstr("<td class=\"number\">12\u202F345</td>"));
    EXPECT_THAT(readable(page), HasSubstr("<td class=\"number\">75 %</td>"));
    EXPECT_THAT(readable(page), HasSubstr("src=\"data:image/png;base64,iVBORw0KGgo"));
    // The inner hole and the rim; then the rim alone.
    EXPECT_THAT(readable(page),
                HasSubstr("Holes</th><td class=\"number\">2</td><td class=\"number\">1"));
}

TEST(ReportPage, NewFacesAreThoseThatWereNotThereBefore)
{
    Folder folder;
    TriMesh const open = grid_with_hole(3);
    std::string const expected = "New faces</th><td></td><td class=\"number\">" +
                                 std::to_string(grid(5, 5).n_faces() - open.n_faces()) + "</td>";
    EXPECT_THAT(readable(folder.page()), HasSubstr(expected));
    folder.record.steps[1].new_faces_begin = 48; // of 50
    EXPECT_THAT(readable(folder.page()),
                HasSubstr("New faces</th><td></td><td class=\"number\">2</td>"));
}

TEST(ReportPage, TheSameRecordGivesTheSameBytes)
{
    Folder folder;
    std::string const page = folder.page().html;
    EXPECT_TRUE(page == folder.page().html);
    veld::write_run_record(folder.path("run.json").parent_path(), folder.record);
    folder.record = veld::read_run_record(folder.path("run.json").parent_path());
    EXPECT_TRUE(page == folder.page().html); // without a megabyte of text where it fails
}

TEST(ReportPage, NoTextOfTheRecordBecomesPartOfThePage)
{
    std::string const evil = "</script><script>alert(1)</script> & \"zz\" 'y' <!--";
    Folder folder;
    std::size_t const scripts = count_in(folder.page().html, "<script");
    RunRecord& record = folder.record;
    record.source = record.version = evil;
    record.recipe = {{evil, evil}};
    record.comparison = {{evil, evil}};
    record.textured = evil;
    for (RunStep& step : record.steps)
    {
        step.name = step.title = step.line = evil;
        step.warnings = {evil};
        step.settings = {{evil, evil}, {"list", Json::array({{{evil, evil}}})}};
        step.result = {{evil, {{evil, evil}}}, {"texts", {evil, evil}}};
    }
    record.steps[0].picture = evil;
    ReportPage const page = folder.page();
    EXPECT_EQ(page.gaps.size(), 2U);
    EXPECT_EQ(count_in(page.html, "<script"), scripts);
    EXPECT_THAT(readable(page), Not(HasSubstr("alert(1)</script> &")));
    EXPECT_THAT(readable(page), Not(HasSubstr("\"zz\"")));
    EXPECT_THAT(readable(page),
                HasSubstr("&lt;/script&gt;&lt;script&gt;alert(1)&lt;/script&gt; &amp; "
                          "&quot;zz&quot; &#39;y&#39; &lt;!--"));
}

TEST(ReportPage, AMissingFileIsAGapThatIsSaid)
{
    Folder folder;
    folder.record.steps[0].picture = "no<thing>.png";
    folder.record.steps[1].mesh = "lost.ply";
    folder.record.textured = "lost.glb";
    ReportPage const page = folder.page();
    EXPECT_EQ(page.gaps.size(), 3U);
    EXPECT_EQ(folder.warnings.size(), 3U);
    EXPECT_EQ(page.pictures, 0U);
    EXPECT_EQ(page.models, 1U);
    EXPECT_THAT(readable(page), HasSubstr("Missing in this page: "));
    EXPECT_THAT(readable(page), HasSubstr("no&lt;thing&gt;.png: no such file"));
    EXPECT_THAT(readable(page), HasSubstr("lost.ply: no such file"));
    EXPECT_THAT(readable(page), HasSubstr("lost.glb: no such file"));
}

TEST(ReportPage, DamagedFilesAreGapsToo)
{
    Folder folder;
    write_file(folder.path("open.png"), "no picture");
    write_file(folder.path("open.ply"), "no mesh");
    write_file(folder.path("closed.ply"), "");
    ReportPage const page = folder.page();
    EXPECT_EQ(page.gaps.size(), 3U);
    EXPECT_EQ(page.models, 0U);
    // There is nothing to turn, so there is no script either.
    EXPECT_EQ(count_in(page.html, "<script"), 0U);
    EXPECT_THAT(readable(page), HasSubstr("Merge 2 frames"));
}

TEST(ReportPage, ARunWithoutStepsHasAPage)
{
    Folder folder;
    folder.record = {};
    ReportPage const page = folder.page();
    EXPECT_THAT(readable(page), HasSubstr("0 steps"));
    EXPECT_EQ(count_in(page.html, "</html>"), 1U);
}

TEST(ReportPage, NothingIsLoadedAndOnlyItsOwnScriptRuns)
{
    Folder folder;
    std::string const html = folder.page().html;
    std::string const text = html.substr(0, html.find("<script"));
    EXPECT_THAT(text, HasSubstr("default-src 'none'; script-src 'sha256-"));
    EXPECT_EQ(count_in(text, "http:") + count_in(text, "https:"), 0U);
    // Handlers and styles in attributes would not be taken.
    EXPECT_EQ(count_in(text, " style=") + count_in(text, " onclick="), 0U);
}

TEST(ReportPage, EveryControlHasALabel)
{
    Folder folder;
    std::string const text = readable(folder.page());
    std::size_t controls = 0;
    for (char const* tag : {"<button", "<input", "<select"})
    {
        for (auto at = text.find(tag); at != std::string::npos; at = text.find(tag, at + 1))
        {
            ++controls;
            std::string const element = text.substr(at, text.find('>', at) - at);
            auto const opened = text.rfind("<label", at);
            auto const closed = text.rfind("</label", at);
            bool const is_in_label =
                opened != std::string::npos && (closed == std::string::npos || closed < opened);
            bool const has_name = element.find("aria-label=\"") != std::string::npos ||
                                  element.find("id=\"reset\"") != std::string::npos;
            EXPECT_TRUE(is_in_label || has_name) << element;
        }
    }
    EXPECT_GE(controls, 17U);
}

TEST(ReportPage, ALargeMeshIsThinnedAndThePageSaysSo)
{
    Folder folder;
    veld::Context context;
    TriMesh const large = grid(400, 400);
    veld::write_mesh(folder.path("closed.ply"), large, context);
    EXPECT_THAT(readable(folder.page()),
                testing::ContainsRegex("After: shown with (299|300)\u202F[0-9]{3} of 320\u202F000 "
                                       "faces"));
}

TEST(Html, TextsAreEscaped)
{
    EXPECT_EQ(veld::html_text("a<b>&\"c'\n\x01"), "a&lt;b&gt;&amp;&quot;c&#39;\n?");
    EXPECT_EQ(veld::json_in_script(R"({"a":"</script><!--"})"),
              R"({"a":"\u003c/script>\u003c!--"})");
}

TEST(Html, Base64HasItsPadding)
{
    EXPECT_EQ(veld::base64(""), "");
    EXPECT_EQ(veld::base64("f"), "Zg==");
    EXPECT_EQ(veld::base64("fo"), "Zm8=");
    EXPECT_EQ(veld::base64("foo"), "Zm9v");
    EXPECT_EQ(veld::base64(std::string("\xFF\x00\xFE\x80", 4)), "/wD+gA==");
}

TEST(Html, TheViewerHasItsLicencesAndEndsNoScript)
{
    std::string const script = veld::viewer_script().content;
    EXPECT_EQ(count_in(script, "three.js authors"), 1U);
    EXPECT_EQ(count_in(script, "Permission is hereby granted"), 2U);
    EXPECT_EQ(count_in(script, "</script") + count_in(script, "<!--"), 0U);
    EXPECT_EQ(veld::viewer_script().sha256.size(), 64U);
}

TEST(PageTables, NumbersAreWrittenForPeople)
{
    EXPECT_EQ(veld::page_value(1234567), "1\u202F234\u202F567");
    EXPECT_EQ(veld::page_value(-999), "-999");
    EXPECT_EQ(veld::page_value(-1000), "-1\u202F000");
    EXPECT_EQ(veld::page_value(0.017057019), "0.01706");
    EXPECT_EQ(veld::page_value(251570.25), "251\u202F570");
    EXPECT_EQ(veld::page_value(0.0), "0");
    EXPECT_EQ(veld::page_value(1e-9), "1.00e-09");
    EXPECT_EQ(veld::page_value(true), "yes");
    EXPECT_EQ(veld::page_value(Json()), "–");
    EXPECT_EQ(veld::page_value(Json::array()), "none");
    EXPECT_EQ(veld::page_value(Json::array({1, "a"})), "1, a");
    EXPECT_EQ(veld::page_name("holes_before"), "holes before");
    EXPECT_EQ(veld::page_seconds(0.346), "0.35 s");
    EXPECT_EQ(veld::page_seconds(12.34), "12.3 s");
    EXPECT_EQ(veld::page_seconds(125.2), "2 min 5 s");
}

TEST(PageTables, ObjectsInObjectsAreRowsAndListsOfObjectsAreTables)
{
    Json const object = {{"before", {{"holes", 3}}}, {"closed", Json::array({{{"edges", 5}}})}};
    std::string const table = veld::value_table("Result", object);
    EXPECT_THAT(table,
                HasSubstr("<th scope=\"row\">before, holes</th><td class=\"number\">3</td>"));
    EXPECT_THAT(table, HasSubstr("<summary>closed: 1</summary>"));
    EXPECT_THAT(table, HasSubstr("<th scope=\"col\">edges</th>"));
    EXPECT_EQ(veld::value_table("Settings", Json()), "");
    EXPECT_EQ(veld::value_table("Settings", Json::object()), "");
}

} // namespace
