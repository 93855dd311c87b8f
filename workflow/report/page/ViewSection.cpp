#include "workflow/report/page/ViewSection.h"

#include "workflow/report/page/Html.h"
#include "workflow/report/page/PageTables.h"

#include <fmt/format.h>

#include <utility>
#include <vector>

namespace veld
{

namespace
{

Json scene_model(std::string const& name, DisplayMesh const& mesh)
{
    Json blocks;
    for (auto const& [block, bytes] :
         {std::pair("points", &mesh.points), std::pair("triangles", &mesh.triangles),
          std::pair("border", &mesh.borders), std::pair("texcoords", &mesh.texcoords),
          std::pair("image", &mesh.image)})
    {
        if (!bytes->empty())
        {
            blocks[block] = bytes->size();
        }
    }
    return {{"data", "data-" + name},
            {"vertices", mesh.vertices},
            {"faces", mesh.faces},
            {"border", mesh.border},
            {"new_from", mesh.new_from},
            {"box_min", json_point(mesh.box_min)},
            {"box_max", json_point(mesh.box_max)},
            {"image_type", mesh.image_type},
            {"blocks", blocks}};
}

/// The models by their names in the page.
std::vector<std::pair<std::string, DisplayMesh const*>> shown_models(ReportModels const& models)
{
    std::vector<std::pair<std::string, DisplayMesh const*>> list;
    auto const add = [&](char const* name, DisplayMesh const& mesh)
    {
        if (mesh.vertices > 0)
        {
            list.emplace_back(name, &mesh);
        }
    };
    if (models.before)
    {
        add("before", models.before->display);
    }
    if (models.after)
    {
        add("after", models.after->display);
    }
    if (models.textured)
    {
        add("textured", *models.textured);
    }
    return list;
}

std::string button(char const* id, char const* label, char const* sign)
{
    return fmt::format("<button type=\"button\" id=\"{}\" aria-label=\"{}\" title=\"{}\">{}"
                       "</button>\n",
                       id, label, label, sign);
}

std::string check_box(char const* id, char const* key, std::string const& label, bool checked)
{
    return fmt::format("<label class=\"check\"><input type=\"checkbox\" id=\"{}\"{}> {} "
                       "<kbd>{}</kbd></label>\n",
                       id, checked ? " checked" : "", label, key);
}

std::string move_buttons()
{
    return "<fieldset><legend>Move</legend>\n<div class=\"buttons\">\n" +
           button("turn-left", "Turn left", "&#8592;") + button("turn-up", "Turn up", "&#8593;") +
           button("turn-down", "Turn down", "&#8595;") +
           button("turn-right", "Turn right", "&#8594;") + button("zoom-in", "Nearer", "+") +
           button("zoom-out", "Farther", "&#8722;") +
           "<button type=\"button\" id=\"reset\">Reset</button>\n</div>\n"
           "<div class=\"buttons\">\n" +
           button("pan-left", "Shift left", "&#8676;") + button("pan-up", "Shift up", "&#10514;") +
           button("pan-down", "Shift down", "&#10515;") +
           button("pan-right", "Shift right", "&#8677;") +
           "<label class=\"choice\">Up <select id=\"up-axis\"><option value=\"x\">x</option>"
           "<option value=\"y\" selected>y</option><option value=\"z\">z</option></select></label>"
           "\n</div>\n</fieldset>\n";
}

std::string show_boxes(ReportModels const& models)
{
    std::string html = "<fieldset><legend>Show</legend>\n";
    if (models.textured)
    {
        html += check_box("textured", "T", "Photographs", true);
    }
    html += check_box("border", "H", "<span class=\"swatch hole\"></span>Holes", true);
    if (models.is_marked)
    {
        html += check_box("new", "N", "<span class=\"swatch new\"></span>New faces", true);
    }
    return html + check_box("wires", "W", "Edges", false) + "</fieldset>\n";
}

std::string section_controls()
{
    return "<fieldset><legend>Section</legend>\n"
           "<label class=\"choice\">Across <select id=\"section-axis\"><option value=\"\">none"
           "</option><option value=\"x\">x</option><option value=\"y\">y</option>"
           "<option value=\"z\">z</option></select></label>\n"
           "<output id=\"section-value\" for=\"section-axis section-place\"></output>\n"
           "<label class=\"range\">Place <input type=\"range\" id=\"section-place\" min=\"-100\" "
           "max=\"100\" step=\"0.5\" value=\"0\" disabled></label>\n"
           "<label class=\"check\"><input type=\"checkbox\" id=\"section-turned\" disabled> "
           "The other half</label>\n</fieldset>\n";
}

std::string divider(ReportModels const& models)
{
    return models.before && models.after
               ? "<label class=\"divider\">Divider: before on its left, after on its right "
                 "<input type=\"range\" id=\"divider\" min=\"0\" max=\"100\" step=\"0.5\" "
                 "value=\"50\"></label>\n"
               : "";
}

/// "Shown with 300 000 of 1 000 000 faces".
std::string thinning_line(std::string const& name, DisplayMesh const& mesh)
{
    bool const is_cloud = mesh.all_faces == 0;
    return mesh.is_thinned()
               ? fmt::format("{}: shown with {} of {} {}. ", name,
                             page_value(is_cloud ? mesh.vertices : mesh.faces),
                             page_value(is_cloud ? mesh.all_vertices : mesh.all_faces),
                             is_cloud ? "points" : "faces")
               : "";
}

std::string thinning_note(ReportModels const& models)
{
    std::string text;
    if (models.before)
    {
        text += thinning_line("Before", models.before->display);
    }
    if (models.after)
    {
        text += thinning_line("After", models.after->display);
    }
    if (models.textured)
    {
        text += thinning_line("With photographs", *models.textured);
    }
    return text.empty() ? ""
                        : fmt::format("<p class=\"note\">{}Borders are shown in full; figures are "
                                      "those of the whole meshes.</p>\n",
                                      text);
}

std::string view_labels(RunRecord const& record, ReportModels const& models)
{
    std::string html;
    if (models.before && models.after)
    {
        html += fmt::format("<span class=\"label\" id=\"label-before\">Before: {}</span>\n"
                            "<span class=\"label\" id=\"label-after\">After: {}</span>\n"
                            "<span id=\"divider-line\"></span>\n",
                            html_text(record.steps[models.before->step].title),
                            html_text(record.steps[models.after->step].title));
    }
    return html;
}

} // namespace

std::size_t count_models(ReportModels const& models)
{
    return shown_models(models).size();
}

std::string view_section(RunRecord const& record, ReportModels const& models)
{
    if (count_models(models) == 0)
    {
        return "";
    }
    return fmt::format(
        "<section id=\"view-part\" data-state=\"waiting\">\n<h2>Model</h2>\n"
        "<p class=\"view-missing\">The 3D view needs JavaScript and WebGL, which this browser does "
        "not give it; the pictures below show the model instead. "
        "<span id=\"view-reason\"></span></p>\n"
        "<div class=\"stage\">\n<canvas id=\"view\" tabindex=\"0\" role=\"application\" "
        "aria-label=\"3D view of the model\" aria-describedby=\"view-keys\"></canvas>\n{}</div>\n"
        "{}<div class=\"controls\">\n{}{}{}</div>\n"
        "<p id=\"view-keys\" class=\"note\">Drag or use the <kbd>arrow keys</kbd> to turn, the "
        "wheel, two fingers or <kbd>+</kbd> <kbd>&#8722;</kbd> to zoom, the right button, two "
        "fingers or <kbd>Shift</kbd> with <kbd>arrow keys</kbd> to shift, <kbd>Home</kbd> to "
        "reset.</p>\n{}</section>\n",
        view_labels(record, models), divider(models), show_boxes(models), section_controls(),
        move_buttons(), thinning_note(models));
}

std::string scene_data(ReportModels const& models)
{
    Json scene;
    scene["models"] = Json::object();
    std::string html;
    for (auto const& [name, mesh] : shown_models(models))
    {
        scene["models"][name] = scene_model(name, *mesh);
        html += fmt::format(
            "<script type=\"application/octet-stream\" id=\"data-{}\">{}</script>\n", name,
            base64(mesh->points + mesh->triangles + mesh->borders + mesh->texcoords + mesh->image));
    }
    return html + fmt::format("<script type=\"application/json\" id=\"scene\">{}</script>\n",
                              json_in_script(scene.dump()));
}

} // namespace veld
