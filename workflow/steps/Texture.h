#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/steps/LoadPhotos.h"
#include "workflow/steps/TextureResult.h"
#include "workflow/steps/TextureSettings.h"

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// Gives a mesh the photographs as its texture. The same bytes for any number of threads.
///
/// What lies behind a camera is not seen by it. A place that no photograph shows and that would
/// take more pixels than four of the largest photograph (times `hole_ratio`, if that is more than
/// 1) stays without colours.
///
/// Throws `InputError` where no photograph has a vertex in view, where the poses are those of
/// another direction or other axes, where the mesh is turned inside out, or where `MESH` gets
/// photographs of different sizes. Throws `OperationError` where no photograph shows a region of
/// more faces than count, where less than a twentieth of the faces that look towards a camera
/// gets a texture, or where the pieces of `MESH` leave no pixel for faces without a colour. Warns
/// where the mesh seems to have another unit than the poses or than millimetres, where much of it
/// is seen by no photograph or lies in small regions, and where the texture is larger than graphics
/// hardware takes.
VELD_WORKFLOW_API TextureResult texture(OrvaneAlgorithm::TriMesh const& mesh,
                                        PhotoSet const& photos, TextureSettings const& settings,
                                        Context& context);

} // namespace veld
