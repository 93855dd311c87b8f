#pragma once

#include "workflow/files/MeshFiles.h"
#include "workflow/steps/Clean.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/FindHoles.h"
#include "workflow/steps/Inspect.h"
#include "workflow/steps/Keyframes.h"
#include "workflow/steps/Merge.h"
#include "workflow/steps/Normals.h"
#include "workflow/steps/Repair.h"
#include "workflow/steps/Texture.h"
#include "workflow/tiling/Tiling.h"

#include <cstddef>
#include <string>

/// \file
/// Results of steps as lines for people. \p path is the file that the result is about.

namespace veld::cli
{

/// "40 faces", "40 faces and 9 vertices".
std::string added(std::size_t faces, std::size_t vertices);

/// A mesh, and below it what its file holds.
std::string to_text(std::string const& path, MeshHealth const& health,
                    OrvaneAlgorithm::MeshFileContents const& contents);
std::string to_text(std::string const& path, FindHolesResult const& result);
/// \param all lists every hole that stays open, also where they are many, and which method closed
///        which of the others, where there are several
std::string to_text(std::string const& path, FillResult const& result, bool all);
std::string to_text(std::string const& path, CleanResult const& result);
/// Noise at the depth in the middle, and aslant.
std::string to_text(FrameNoise const& noise);
std::string to_text(std::string const& path, MergeResult const& result);
/// A tile that is done.
std::string to_text(std::size_t tile, TileResult const& result);
std::string to_text(std::string const& path, TiledMergeResult const& result);
std::string to_text(std::string const& path, RepairResult const& result);
std::string to_text(std::string const& path, NormalsResult const& result);
std::string to_text(std::string const& path, TextureResult const& result);

/// A line a view, with its photograph.
std::string to_text(KeyframesResult const& result);

/// A stick that was cut out.
std::string to_text(std::string const& path, OrvaneAlgorithm::TriMesh const& stick);

} // namespace veld::cli
