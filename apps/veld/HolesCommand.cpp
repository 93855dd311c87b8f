#include "Command.h"
#include "CommonOptions.h"
#include "Errors.h"
#include "HoleSummary.h"
#include "MarkerFile.h"
#include "MeshFiles.h"
#include "Numbers.h"
#include "Session.h"

#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <array>
#include <sstream>

namespace veld
{

using OrvaneAlgorithm::FindHolesEx;
using OrvaneAlgorithm::gPH;
using OrvaneAlgorithm::Holes;
using OrvaneAlgorithm::Vector3f;

namespace
{

/// A point given as "X,Y,Z".
/// \return false if the text is anything else
bool parse_point(std::string const& text, Vector3f& point)
{
    std::istringstream stream(text + ","); // a comma behind each number, so that none hides
    std::array<std::string, 4> parts;
    std::size_t count = 0;
    while (count < parts.size() && std::getline(stream, parts[count], ','))
    {
        ++count;
    }
    return count == 3 && parse_number(parts[0], point[0]) && parse_number(parts[1], point[1]) &&
           parse_number(parts[2], point[2]);
}

std::string check_point(std::string const& text)
{
    Vector3f ignored;
    return parse_point(text, ignored) ? std::string()
                                      : fmt::format("'{}' is not a point X,Y,Z", text);
}

Json to_json(HoleSummary const& hole)
{
    Json json;
    json["vertices"] = hole.vertices;
    json["edges"] = hole.edges;
    json["perimeter"] = hole.perimeter;
    json["centre"] = json_point(hole.centre);
    return json;
}

std::string to_text(std::string const& path, std::vector<HoleSummary> const& holes)
{
    std::string text = fmt::format("{}: {}\n", path, counted(holes.size(), "hole"));
    if (!holes.empty())
    {
        text += "  hole   edges  perimeter (mm)  centre (mm)\n";
    }
    for (std::size_t i = 0; i < holes.size(); ++i)
    {
        auto const& hole = holes[i];
        text += fmt::format("{:>6}{:>8}{:>16.6g}  {:.6g}, {:.6g}, {:.6g}\n", i, hole.edges,
                            hole.perimeter, hole.centre.x(), hole.centre.y(), hole.centre.z());
    }
    return text;
}

class HolesCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("MESH", mesh_, "Mesh file: PLY, STL, OBJ, OFF or OM")
            ->required()
            ->option_text(" ");
        auto* const perimeter =
            add_length(app, "--max-perimeter", max_perimeter_,
                       "Only holes shorter than this in mm, 0: any (default: 0)");
        add_near_options(app);
        add_marker_options(app, *perimeter);
        set_example(app, "holes scan.ply --max-perimeter 50");
    }

    std::vector<std::string> inputs() const override
    {
        return markers_.empty() ? std::vector<std::string>{mesh_}
                                : std::vector<std::string>{mesh_, markers_};
    }

    Json run(Console& console, Outputs& /*outputs*/) override
    {
        // A wrong marker file is told before a large mesh is read.
        Markers const markers = markers_.empty() ? Markers() : read_markers(markers_, use_normals_);
        TriMesh mesh;
        load_mesh(mesh_, mesh, console);
        Step const step("find-holes");
        std::vector<HoleSummary> summaries;
        for (auto const& hole : find(mesh, markers))
        {
            summaries.push_back(summarise(mesh, hole));
        }
        console.print(to_text(mesh_, summaries));
        Json list = Json::array();
        for (auto const& summary : summaries)
        {
            list.push_back(to_json(summary));
        }
        return Json{{"holes", list}};
    }

private:
    void add_near_options(CLI::App& app)
    {
        near_option_ = app.add_option("--near", near_, "Only the hole nearest to this point (mm)")
                           ->type_name("X,Y,Z")
                           ->check(check_point);
        auto* const distance = add_length(app, "--distance", distance_,
                                          "With --near: its rim has to be nearer than this in mm");
        near_option_->needs(distance);
        distance->needs(near_option_);
    }

    void add_marker_options(CLI::App& app, CLI::Option& perimeter)
    {
        auto* const markers =
            app.add_option("--markers", markers_,
                           "Only holes that markers left: a marker a line, 'x y z [nx ny nz]'")
                ->type_name("FILE");
        auto* const match =
            add_length(app, "--match", match_,
                       "With --markers: a hole's centre has to be nearer to a marker than this "
                       "in mm");
        auto* const radius =
            add_length(app, "--marker-radius", marker_radius_,
                       "With --markers: radius of a marker in mm; a longer rim than its circle is "
                       "no marker hole");
        auto* const normals = app.add_flag("--normals", use_normals_,
                                           "With --markers: a hole has to face like its marker");
        auto* const dot = add_number(app, "--normal-dot", normal_dot_, -1.0, 1.0,
                                     "With --normals: dot product of the two directions has to "
                                     "exceed this (default: 0.5, that is 60 degrees)");
        markers->needs(match)->needs(radius)->excludes(&perimeter)->excludes(near_option_);
        match->needs(markers);
        radius->needs(markers);
        normals->needs(markers);
        dot->needs(normals);
    }

    Holes find(TriMesh& mesh, Markers const& markers) const
    {
        Holes holes;
        if (!markers_.empty())
        {
            FindHolesEx::find_marker_holes(mesh, markers.points, markers.normals, match_,
                                           marker_radius_, use_normals_, normal_dot_, holes,
                                           gPH.log_enabled);
            return holes;
        }
        if (max_perimeter_ > 0.0)
        {
            FindHolesEx::find_holes(mesh, max_perimeter_, holes, gPH.log_enabled);
        }
        else
        {
            holes = all_holes(mesh);
        }
        return near_option_->count() > 0 ? nearest(mesh, holes) : holes;
    }

    Holes nearest(TriMesh const& mesh, Holes const& holes) const
    {
        Vector3f point;
        parse_point(near_, point);
        Hole hole;
        FindHolesEx::find_hole(mesh, point, holes, distance_, hole, gPH.log_enabled);
        return hole.empty() ? Holes() : Holes{hole};
    }

    std::string mesh_;
    double max_perimeter_ = 0.0;
    CLI::Option* near_option_ = nullptr;
    std::string near_;
    double distance_ = 0.0;
    std::string markers_;
    double match_ = 0.0;
    double marker_radius_ = 0.0;
    bool use_normals_ = false;
    double normal_dot_ = 0.5;
};

} // namespace

std::unique_ptr<Command> make_holes_command()
{
    return std::make_unique<HolesCommand>();
}

} // namespace veld
