#pragma once

/// \file
/// The work in steps, for hosts of any kind.
///
/// A step is a function of an input, settings and a context, and gives a result:
///
///     veld::Context context;
///     veld::FrameSet const frames = veld::load_frames("scan.conf", {}, context);
///     veld::MergeResult merged = veld::merge(frames, {}, context);
///     veld::write_mesh("merged.ply", merged.mesh, context);
///
/// Settings and results are plain values; what settings do not say is measured or has the default
/// that stands with them. Lengths are millimetres. A step that fails or is cancelled leaves by an
/// exception (`Error`, `OrvaneAlgorithm::Cancelled`), with its input as it was. Steps may run in
/// several threads of a host at once, each with a context of its own.

#include "workflow/Context.h"
#include "workflow/Error.h"
#include "workflow/files/MarkerFile.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/files/SeedFile.h"
#include "workflow/files/TexturedMesh.h"
#include "workflow/steps/Align.h"
#include "workflow/steps/Clean.h"
#include "workflow/steps/CutSticks.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/FindHoles.h"
#include "workflow/steps/FrameNoise.h"
#include "workflow/steps/Inspect.h"
#include "workflow/steps/Keyframes.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/LoadPhotos.h"
#include "workflow/steps/Merge.h"
#include "workflow/steps/Normals.h"
#include "workflow/steps/Render.h"
#include "workflow/steps/Repair.h"
#include "workflow/steps/Texture.h"
#include "workflow/tiling/TileJson.h"
#include "workflow/tiling/Tiling.h"
