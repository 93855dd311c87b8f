#include "commands/Command.h"
#include "shell/CommonOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <map>

namespace veld::cli
{

namespace
{

constexpr int LARGEST_NUMBER = 1'000'000'000;

class CleanCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("MESH", mesh_,
                       "Mesh file: PLY, STL, OBJ, OFF or OM; for --markers it may be a cloud of "
                       "points without faces")
            ->required()
            ->option_text(" ");
        add_mesh_output(app, output_);
        add_piece_options(app);
        add_marker_options(app);
        app.callback([this, &app] { note_order(app); });
        set_example(app, "clean scan.ply -o cleaned.ply --min-faces 6 --non-manifold");
    }

    std::vector<std::filesystem::path> inputs() const override
    {
        std::vector<std::filesystem::path> files{mesh_};
        files.insert(files.end(), markers_.begin(), markers_.end());
        return files;
    }

    std::vector<std::filesystem::path> outputs() const override
    {
        check_mesh_extension(output_);
        return {output_};
    }

    Json run(Desk const& desk) override
    {
        CleanSettings settings;
        for (auto const& make : order_)
        {
            // A wrong marker file is told before a large mesh is read.
            settings.clean_ups.push_back(make());
        }
        MeshFile const file = read_mesh(mesh_, desk.context);
        check_output_holds(file.mesh);
        CleanResult const result =
            about(mesh_, [&] { return clean(file.mesh, settings, desk.context); });
        write_mesh(desk.outputs.add(output_), result.mesh, desk.context);
        desk.console.print(to_text(output_, result));
        return to_json(result);
    }

private:
    /// Makes the clean-up of the i-th time that its option is given.
    using Maker = std::function<CleanUp(std::size_t)>;

    void add_piece_options(CLI::App& app)
    {
        makers_[add_integers(app, "--min-faces", min_faces_, 1, LARGEST_NUMBER,
                             "Remove pieces of N faces or fewer; faces hang together over edges")] =
            [this](std::size_t i) { return small_pieces_by_faces(min_faces_[i]); };
        makers_[add_integers(app, "--min-vertices", min_vertices_, 1, LARGEST_NUMBER,
                             "Remove pieces of N vertices or fewer, single points among them; a "
                             "shared vertex is enough to hang together")] = [this](std::size_t i)
        { return small_pieces_by_vertices(min_vertices_[i]); };
        auto* const strong =
            add_integers(app, "--strong", strong_, 1, LARGEST_NUMBER,
                         "Remove bodies of fewer than N faces, also where they hang on others by "
                         "strips narrower than twice --rings, and what is as thin as that "
                         "everywhere");
        makers_[strong] = [this](std::size_t i)
        { return small_bodies_on_strips(strong_[i], rings_); };
        auto* const rings =
            add_integer(app, "--rings", rings_, 1, LARGEST_NUMBER,
                        "With --strong: so many rings of faces are peeled and grown back");
        strong->needs(rings);
        rings->needs(strong);
        makers_[app.add_flag("--non-manifold",
                             "Remove vertices at which several fans of faces meet")
                    ->disable_flag_override()] = [](std::size_t)
        { return non_manifold_vertices(); };
        makers_[add_integers(app, "--peel", peel_, 0, LARGEST_NUMBER,
                             "Remove the faces along every boundary and N rings behind them")] =
            [this](std::size_t i) { return rims(peel_[i]); };
    }

    void add_marker_options(CLI::App& app)
    {
        auto* const markers =
            repeatable(app.add_option(
                           "--markers", markers_,
                           "Remove what lies near markers: a marker a line, 'x y z [nx ny nz]'"))
                ->type_name("FILE");
        makers_[markers] = [this](std::size_t i) {
            return surface_near_markers(read_markers(markers_[i], settings_.use_normals),
                                        settings_);
        };
        auto* const radius = add_length(app, "--marker-radius", settings_.radius,
                                        "With --markers: what is nearer to one than this in mm");
        auto* const normals =
            app.add_flag("--normals", settings_.use_normals,
                         "With --markers: only connected pieces of it, or points, that face like "
                         "the marker");
        auto* const dot = add_number(app, "--normal-dot", settings_.normal_dot, -1.0, 1.0,
                                     "With --normals: dot product of the two directions has to "
                                     "exceed this (default: 0.5, that is 60 degrees)");
        markers->needs(radius);
        radius->needs(markers);
        normals->needs(markers);
        dot->needs(normals);
    }

    /// The clean-ups run as they stand on the command line, each as often as it stands there.
    void note_order(CLI::App const& app)
    {
        std::map<CLI::Option const*, std::size_t> times;
        for (auto const* option : app.parse_order())
        {
            auto const maker = makers_.find(option);
            if (maker != makers_.end())
            {
                order_.emplace_back([&make = maker->second, i = times[option]++]
                                    { return make(i); });
            }
        }
        if (order_.empty())
        {
            throw CLI::ValidationError("nothing to do",
                                       "name one of --min-faces, --min-vertices, --strong, "
                                       "--non-manifold, --peel and --markers");
        }
    }

    void check_output_holds(TriMesh const& mesh) const
    {
        if (mesh.n_vertices() > 0 && mesh.n_faces() == 0 && lower_extension(output_) == ".stl")
        {
            throw InputError(output_ + ": an STL file cannot hold points without faces");
        }
    }

    std::string mesh_;
    std::string output_;
    std::vector<int> min_faces_;
    std::vector<int> min_vertices_;
    std::vector<int> strong_;
    int rings_ = 1;
    std::vector<int> peel_;
    std::vector<std::string> markers_;
    MarkerSettings settings_;
    std::map<CLI::Option const*, Maker> makers_;
    std::vector<std::function<CleanUp()>> order_;
};

} // namespace

std::unique_ptr<Command> make_clean_command()
{
    return std::make_unique<CleanCommand>();
}

} // namespace veld::cli
