#pragma once

#include "MarkerFile.h"
#include "Sticks.h"

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// A scan with what its host knows of it.
struct DemoScan
{
    OrvaneAlgorithm::TriMesh mesh;
    Markers markers;
    double marker_radius = 0.0; ///< Of all markers, millimetres.
    StickSeeds sticks;
};

/// Makes the scan of an object that does not exist: a bumpy gourd, about 100 mm high, as a scanner
/// would deliver it. It has the border where it stood on the table, holes of many sizes, two holes
/// with a piece of two faces between them that only a vertex at either end holds, a scrap that
/// hangs on the rim by one vertex, loose specks, noise, adhesive markers, each a disc of wrong
/// surface with a known centre and normal, and sticks, which stand along z. The same scan in every
/// call.
DemoScan make_demo_scan();

} // namespace veld
