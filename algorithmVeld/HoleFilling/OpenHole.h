#pragma once

#include "algorithmVeld/common/export.h"
#include "algorithmVeld/common/types.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Why a hole stayed open, or partly open.
enum class OpenReason
{
    TOO_MANY_EDGES,     ///< It has more edges than the limit.
    PERIMETER_TOO_LONG, ///< Its perimeter is not below the limit.
    CORNER_TOO_WIDE,    ///< No corner that is left has an interior angle within the limit.
    EDGE_TOO_LONG,      ///< The next ear's closing edge is longer than the limit.
    NORMALS_DISAGREE,   ///< The next ear is a sliver, or turns away from the faces around it.
    FACE_REFUSED,       ///< The mesh cannot take the triangle: an edge or vertex is taken already.
    DEGENERATE_CORNER,  ///< Corners that coincide, coordinates that are no numbers, a lone edge.
    BOUNDARY_TANGLED,   ///< The boundary touches itself in a way that cannot be taken apart.
    NOT_A_BOUNDARY,     ///< What was given is no boundary loop with faces around it.
    FOLDS_TOO_SHARPLY,  ///< The triangulation that was found folds back by more than the limit.
    HANGS_ON_A_VERTEX   ///< A piece of surface hangs on one of its vertices, or it is that piece's
                        ///< rim.
};

/// The reason in a few lower-case English words, such as "more edges than allowed".
ALGORITHMVELD_API char const* to_string(OpenReason reason);

/// A boundary loop that a run left open.
struct OpenHole
{
    std::vector<OpenMesh::VertexHandle> corners; ///< What is left of it, in boundary order.
    OpenReason reason;                           ///< What ended the last attempt at it.
};

} // namespace OrvaneAlgorithm
