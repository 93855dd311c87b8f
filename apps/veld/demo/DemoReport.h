#pragma once

#include "demo/DemoObject.h"
#include "demo/PhotoFiles.h"
#include "demo/TextFrameFiles.h"
#include "shell/Desk.h"
#include "workflow/files/Json.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/Repair.h"
#include "workflow/steps/Texture.h"

#include <string>

/// \file
/// What the demonstration prints of its steps, and their results for `--json`.

namespace veld::cli
{

Json report_frames(FrameSet const& set, TextFrameFiles const& files, Desk const& desk);

Json report_photos(std::vector<TakenPhoto> const& photos, PhotoFiles const& files,
                   Desk const& desk);

/// The mesh that merging made, with what is on the object.
Json report_scan(OrvaneAlgorithm::TriMesh& mesh, std::string const& path, DemoObject const& object,
                 Desk const& desk);

Json report_filling(std::string const& path, FillResult const& result, Desk const& desk);

/// The copy of a mesh that the repairs are compared on.
Json report_torn(std::string const& path, OrvaneAlgorithm::TriMesh& mesh, Desk const& desk);

/// The textured mesh, against the true colours.
Json report_texture(std::string const& path, TextureResult const& result, Desk const& desk);

/// One line of the comparison.
Json report_repair(std::string const& path, RepairResult const& result, Desk const& desk);

/// How far the vertices of a mesh are from the true surface.
Json report_deviation(OrvaneAlgorithm::TriMesh const& mesh, Desk const& desk);

/// The files of markers and sticks, as the commands read them.
std::string marker_lines(Markers const& markers);
std::string seed_lines(StickSeeds const& seeds);

} // namespace veld::cli
