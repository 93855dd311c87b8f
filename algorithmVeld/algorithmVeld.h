#pragma once

/// \file
/// Everything that the library offers, for hosts that want one include.

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/MeshAssistant/MeshAssistant.h"
#include "algorithmVeld/api/RetVal.h"
#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Cloud.h"
#include "algorithmVeld/common/ImagePacking.h"
#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/ScopeTimer.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/image_io.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "algorithmVeld/common/mesh_io.h"
#include "algorithmVeld/common/random_selection.h"
#include "algorithmVeld/hole_detection/FindHoles.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
