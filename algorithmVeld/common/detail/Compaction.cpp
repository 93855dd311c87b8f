#include "algorithmVeld/common/detail/Compaction.h"

namespace OrvaneAlgorithm::detail
{

void compact(TriMesh& mesh)
{
    mesh.garbage_collection(true, true, true);
}

} // namespace OrvaneAlgorithm::detail
