// Compiled without the precompiled header, which would bring everything.

#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Cloud.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/ImagePacking.h"
#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/image_io.h"
#include "algorithmVeld/common/range_scan_io.h"

// OpenMesh's configuration comes with every header of it.
#ifdef OPENMESH_CONFIG_H
#error "a header of values includes OpenMesh"
#endif

#include "algorithmVeld/common/types.h"

#if defined(OM_MESHIO_HH) || defined(OPENMESH_TRIMESH_ARRAY_KERNEL_HH)
#error "types.h needs OpenMesh's handles, but no mesh"
#endif

// Values first and OpenMesh's input and output last, as a host may have them.
#include "algorithmVeld/common/TriMesh.h"

#include <OpenMesh/Core/IO/MeshIO.hh>

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;

TEST(ValueHeaders, GiveTheSameClassesWithAndWithoutTheMesh)
{
    TriMesh mesh;
    Holes const holes{{mesh.add_vertex({1, 2, 3})}};
    Cloud cloud;
    cloud.set_vCoords(Verts{mesh.point(holes[0][0])});
    EXPECT_EQ(cloud.get_barycenter(), Vector3f(1, 2, 3));
    EXPECT_TRUE(OpenMesh::IO::Options(OpenMesh::IO::Options::Binary).is_binary());
}
