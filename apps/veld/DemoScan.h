#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// Makes the scan of an object that does not exist: a bumpy gourd, about 100 mm high, as a scanner
/// would deliver it. It has the border where it stood on the table, holes of many sizes, two holes
/// that touch at one vertex, a scrap that hangs on the rim by one vertex, loose specks, and noise.
/// The same mesh in every call.
OrvaneAlgorithm::TriMesh make_demo_scan();

} // namespace veld
