#include "algorithmVeld/HoleFilling/OpenHole.h"

namespace OrvaneAlgorithm
{

char const* to_string(OpenReason reason)
{
    switch (reason)
    {
    case OpenReason::TOO_MANY_EDGES:
        return "more edges than allowed";
    case OpenReason::PERIMETER_TOO_LONG:
        return "longer perimeter than allowed";
    case OpenReason::CORNER_TOO_WIDE:
        return "no corner is narrow enough";
    case OpenReason::EDGE_TOO_LONG:
        return "longer closing edge than allowed";
    case OpenReason::NORMALS_DISAGREE:
        return "normals disagree with the faces around";
    case OpenReason::FACE_REFUSED:
        return "the mesh refuses a face";
    case OpenReason::DEGENERATE_CORNER:
        return "degenerate corner";
    case OpenReason::BOUNDARY_TANGLED:
        return "the boundary touches itself";
    case OpenReason::NOT_A_BOUNDARY:
        return "no boundary loop with faces around it";
    case OpenReason::FOLDS_TOO_SHARPLY:
        return "the triangulation found folds back too sharply";
    case OpenReason::HANGS_ON_A_VERTEX:
        return "two pieces hang together by one of its vertices only";
    }
    return "unknown reason";
}

} // namespace OrvaneAlgorithm
