#include "commands/Command.h"
#include "demo/DemoRun.h"
#include "options/CommonOptions.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class DemoCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_output_directory(
            app, directory_,
            "Directory for the frames, photographs, meshes and pictures (default: ./veld-demo)");
        add_integer(app, "--width", width_, 16, 16384,
                    "Pixels across the pictures, three quarters as high (default: 1200)");
        set_example(app, "demo -o veld-demo");
    }

    std::vector<std::filesystem::path> directories() const override { return demo().directories(); }

    std::vector<std::filesystem::path> outputs() const override { return demo().files(); }

    Json run(Desk const& desk) override { return demo().run(desk); }

private:
    DemoRun demo() const { return {directory_, width_}; }

    std::string directory_ = "veld-demo";
    int width_ = 1200; ///< Of the pictures, in pixels.
};

} // namespace

std::unique_ptr<Command> make_demo_command()
{
    return std::make_unique<DemoCommand>();
}

} // namespace veld::cli
