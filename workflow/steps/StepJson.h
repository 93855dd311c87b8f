#pragma once

#include "workflow/export.h"
#include "workflow/files/Json.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/Align.h"
#include "workflow/steps/Clean.h"
#include "workflow/steps/CutSticks.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/FindHoles.h"
#include "workflow/steps/FrameNoise.h"
#include "workflow/steps/Inspect.h"
#include "workflow/steps/Keyframes.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/Merge.h"
#include "workflow/steps/Normals.h"
#include "workflow/steps/Render.h"
#include "workflow/steps/Repair.h"
#include "workflow/steps/Texture.h"

#include <filesystem>
#include <string>
#include <vector>

/// \file
/// Results and settings of the steps as JSON. Meshes and pictures themselves are left out.

namespace veld
{

/// \name Results
/// @{

/// What a mesh file holds, as `contents` of `veld info`.
VELD_WORKFLOW_API Json to_json(OrvaneAlgorithm::MeshFileContents const& contents);
/// Counts of a mesh, as of `veld info`.
VELD_WORKFLOW_API Json to_json(MeshHealth const& health);
/// Holes, as of `veld holes`.
VELD_WORKFLOW_API Json to_json(FindHolesResult const& result);
/// One pass of the filling.
VELD_WORKFLOW_API Json to_json(FillPass const& pass);
/// A filling, as of `veld fill`.
VELD_WORKFLOW_API Json to_json(FillResult const& result);
/// A cleaning, as of `veld clean`.
VELD_WORKFLOW_API Json to_json(CleanResult const& result);
/// A merge, as of `veld merge`.
VELD_WORKFLOW_API Json to_json(MergeResult const& result);
/// Frames and the files that they are written to, as of `veld frames`.
VELD_WORKFLOW_API Json to_json(FrameSet const& frames,
                               std::vector<std::filesystem::path> const& files,
                               FrameNoise const& noise);
/// How frames agree, as of `veld frames --check`.
VELD_WORKFLOW_API Json to_json(FrameCheck const& result);
/// An alignment, as of `veld align`.
VELD_WORKFLOW_API Json to_json(AlignResult const& result);
/// A repair, as of `veld repair`.
VELD_WORKFLOW_API Json to_json(RepairResult const& result);
/// Normals, as of `veld normals`.
VELD_WORKFLOW_API Json to_json(NormalsResult const& result);
/// A choice of photographs, as of `veld keyframes`.
VELD_WORKFLOW_API Json to_json(KeyframesResult const& result);
/// A texture, as of `veld texture`.
VELD_WORKFLOW_API Json to_json(TextureResult const& result);
/// @}

/// \name Settings
/// `read_settings` changes what the object names and leaves the rest. It throws `InputError` for a
/// key that it does not know or a value that does not fit; \p place stands in front of the reason.
/// @{

/// All settings of `load_frames`.
VELD_WORKFLOW_API Json to_json(LoadFramesSettings const& settings);
/// All settings of `merge`.
VELD_WORKFLOW_API Json to_json(MergeSettings const& settings);
/// All settings of `align` and `check_frames`.
VELD_WORKFLOW_API Json to_json(AlignSettings const& settings);
/// All settings of `find_holes` that are set.
VELD_WORKFLOW_API Json to_json(FindHolesSettings const& settings);
/// All settings of `fill`.
VELD_WORKFLOW_API Json to_json(FillSettings const& settings);
/// All settings of `clean`.
VELD_WORKFLOW_API Json to_json(CleanSettings const& settings);
/// All settings of `render`.
VELD_WORKFLOW_API Json to_json(RenderSettings const& settings);
/// All settings of `cut_sticks`.
VELD_WORKFLOW_API Json to_json(CutSticksSettings const& settings);
/// All settings of `repair`.
VELD_WORKFLOW_API Json to_json(RepairSettings const& settings);
/// All settings of `estimate_normals`.
VELD_WORKFLOW_API Json to_json(NormalsSettings const& settings);
/// All settings of `choose_keyframes`.
VELD_WORKFLOW_API Json to_json(KeyframesSettings const& settings);
/// All settings of `texture`.
VELD_WORKFLOW_API Json to_json(TextureSettings const& settings);
/// Settings of `load_frames` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     LoadFramesSettings& settings);
/// Settings of `merge` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     MergeSettings& settings);
/// Settings of `align` and `check_frames` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     AlignSettings& settings);
/// Settings of `find_holes` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     FindHolesSettings& settings);
/// Settings of `fill` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     FillSettings& settings);
/// Settings of `clean` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     CleanSettings& settings);
/// Settings of `render` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     RenderSettings& settings);
/// Settings of `cut_sticks` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     CutSticksSettings& settings);
/// Settings of `repair` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     RepairSettings& settings);
/// Settings of `estimate_normals` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     NormalsSettings& settings);
/// Settings of `choose_keyframes` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     KeyframesSettings& settings);
/// Settings of `texture` that an object names.
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     TextureSettings& settings);
/// @}

} // namespace veld
