#pragma once

#include "demo/DemoObject.h"
#include "demo/PhotoFiles.h"
#include "demo/TextFrameFiles.h"
#include "shell/Desk.h"
#include "workflow/files/Json.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/Merge.h"
#include "workflow/steps/Render.h"
#include "workflow/steps/Texture.h"

#include <filesystem>
#include <string>
#include <vector>

namespace veld::cli
{

using OrvaneAlgorithm::TriMesh;

/// The demonstration: scans an object made by code, and runs the whole chain of steps on it.
class DemoRun
{
public:
    /// \param directory for all files \param width of the pictures in pixels
    DemoRun(std::string directory, int width) : directory_(std::move(directory)), width_(width) {}

    /// All files that the run writes.
    std::vector<std::filesystem::path> files() const;

    /// The directories of the frames and of the photographs.
    std::vector<std::filesystem::path> directories() const
    {
        return {file("frames"), file("photos")};
    }

    /// \return every step's result
    Json run(Desk const& desk) const;

private:
    std::string file(std::string const& name) const
    {
        return (std::filesystem::path(directory_) / name).string();
    }
    TextFrameFiles frame_files() const;
    PhotoFiles photo_files() const;

    FrameSet scan(DemoObject const& object, Desk const& desk, Json& result) const;
    TriMesh merge_frames(FrameSet const& frames, Desk const& desk, Json& result) const;
    void write_knowledge(DemoObject const& object, Desk const& desk) const;
    std::vector<TriMesh> cut(TriMesh& mesh, DemoObject const& object, Desk const& desk,
                             Json& result) const;
    TriMesh clean_up(TriMesh const& mesh, DemoObject const& object,
                     std::vector<TriMesh> const& sticks, Desk const& desk, Json& result) const;
    FillResult close_holes(TriMesh const& mesh, DemoObject const& object, Desk const& desk,
                           Json& result) const;
    std::string photograph(Desk const& desk, Json& result) const;
    void texture_mesh(TriMesh const& mesh, std::string const& cameras, Desk const& desk,
                      Json& result) const;
    Json compare_repairs(TriMesh const& mesh, Desk const& desk) const;
    std::string write_page(Json const& result, Desk const& desk) const;
    Json draw(TriMesh const& mesh, FaceMarks const& marks, std::string const& name,
              Desk const& desk) const;
    RenderSettings picture_settings() const;
    Json save_picture(Picture const& picture, std::string const& name, Desk const& desk) const;

    std::string directory_;
    int width_;
};

} // namespace veld::cli
