#pragma once

#include "workflow/export.h"
#include "workflow/files/Json.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/Clean.h"
#include "workflow/steps/CutSticks.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/FindHoles.h"
#include "workflow/steps/Inspect.h"
#include "workflow/steps/Keyframes.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/Merge.h"
#include "workflow/steps/Normals.h"
#include "workflow/steps/Render.h"
#include "workflow/steps/Repair.h"
#include "workflow/steps/Texture.h"

#include <string>

/// \file
/// Results and settings of the steps as JSON. Meshes and pictures themselves are left out.

namespace veld
{

/// \name Results
/// @{
VELD_WORKFLOW_API Json to_json(OrvaneAlgorithm::MeshFileContents const& contents);
VELD_WORKFLOW_API Json to_json(MeshHealth const& health);
VELD_WORKFLOW_API Json to_json(FindHolesResult const& result);
VELD_WORKFLOW_API Json to_json(FillPass const& pass);
VELD_WORKFLOW_API Json to_json(FillResult const& result);
VELD_WORKFLOW_API Json to_json(CleanResult const& result);
VELD_WORKFLOW_API Json to_json(MergeResult const& result);
VELD_WORKFLOW_API Json to_json(RepairResult const& result);
VELD_WORKFLOW_API Json to_json(NormalsResult const& result);
VELD_WORKFLOW_API Json to_json(KeyframesResult const& result);
VELD_WORKFLOW_API Json to_json(TextureResult const& result);
/// @}

/// \name Settings
/// `read_settings` changes what the object names and leaves the rest. It throws `InputError` for a
/// key that it does not know or a value that does not fit; \p place stands in front of the reason.
/// @{
VELD_WORKFLOW_API Json to_json(LoadFramesSettings const& settings);
VELD_WORKFLOW_API Json to_json(MergeSettings const& settings);
VELD_WORKFLOW_API Json to_json(FillSettings const& settings);
VELD_WORKFLOW_API Json to_json(CleanSettings const& settings);
VELD_WORKFLOW_API Json to_json(RenderSettings const& settings);
VELD_WORKFLOW_API Json to_json(CutSticksSettings const& settings);
VELD_WORKFLOW_API Json to_json(RepairSettings const& settings);
VELD_WORKFLOW_API Json to_json(NormalsSettings const& settings);
VELD_WORKFLOW_API Json to_json(KeyframesSettings const& settings);
VELD_WORKFLOW_API Json to_json(TextureSettings const& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     LoadFramesSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     MergeSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     FillSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     CleanSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     RenderSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     CutSticksSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     RepairSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     NormalsSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     KeyframesSettings& settings);
VELD_WORKFLOW_API void read_settings(Json const& json, std::string const& place,
                                     TextureSettings& settings);
/// @}

} // namespace veld
