#include "options/RepairOptions.h"

#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

void RepairOptions::add(CLI::App& app)
{
    add_choice(app, "--method", method_, names_in(repair_methods()),
               "ball: a ball rolls around the borders and connects what it touches; project: "
               "around each border vertex, those nearby are connected in its tangent plane "
               "(default: ball)");
    add_shared_options(app);
    add_ball_options(app);
    add_projection_options(app);
    app.callback([this] { uses_.refuse_unused(method_); });
}

RepairSettings RepairOptions::settings() const
{
    RepairSettings settings = settings_;
    settings.method = repair_methods().at(method_);
    settings.empty_ball = !any_ball_;
    if (ear_option_->count() > 0)
    {
        settings.ear_perimeter = ear_perimeter_;
    }
    settings.manifold = !keep_all_;
    return settings;
}

void RepairOptions::add_shared_options(CLI::App& app)
{
    add_length(app, "--spacing", settings_.spacing,
               "Distance between neighbouring vertices in mm, which other lengths follow, 0: "
               "measured (default: 0)");
    add_lengths(app, "--radius", settings_.radii,
                "A pass with this radius in mm, several in their order: of the ball, which closes "
                "gaps of up to twice of it (default: from half a spacing to four), or of the "
                "search around a border vertex (default: from one and a half to four)");
    add_number(app, "--normal-angle", settings_.normal_angle, 0.0, 180.0,
               "Largest angle in degrees between a new face and the normal of each of its corners, "
               "180: any (default: 60)");
    ear_option_ = add_length(app, "--ear-perimeter", ear_perimeter_,
                             "Holes that are left and are shorter than this in mm are closed with "
                             "flat triangles, 0: none (default: 25 spacings)");
    app.add_flag("--keep-all", keep_all_,
                 "Leave vertices at which several fans of faces meet; without it one fan stays, "
                 "of old faces if it can be");
}

void RepairOptions::add_ball_options(CLI::App& app)
{
    std::vector<std::string> const ball{"ball"};
    uses_.add(app.add_flag("--any-ball", any_ball_,
                           "ball: what it meets first is connected, also where it holds other "
                           "vertices"),
              ball, "it knows no ball");
    uses_.add(app.add_flag("--renew-normals", settings_.renew_normals,
                           "ball: normals are computed anew for each pass; without it loose points "
                           "keep theirs"),
              ball, "it takes the normals once");
    uses_.add(app.add_flag("--delete-fans", settings_.delete_fans,
                           "ball: where the mesh has no room for a face, the smaller fans of faces "
                           "at its corners go, and the pass runs again"),
              ball, "the mesh takes what fits of each of its fans");
    uses_.add(app.add_option("--refused-faces", refused_faces_,
                             "ball: write the surroundings of faces that the mesh had no room for "
                             "to DIR, as OBJ")
                  ->type_name("DIR"),
              ball, "of each triangle that it tries the mesh refuses one orientation");
}

void RepairOptions::add_projection_options(CLI::App& app)
{
    std::vector<std::string> const project{"project"};
    uses_.add(add_number(app, "--normal-z", settings_.normal_z, -1.0, 1.0,
                         "project: cosine of the tilt against z up to which a tangent plane is "
                         "taken as it lies (default: 0.95)"),
              project, "it knows no planes");
}

} // namespace veld::cli
