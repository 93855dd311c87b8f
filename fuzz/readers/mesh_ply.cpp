#include "algorithmVeld/common/mesh_files/PlyFile.h"
#include "fuzz/support/MeshFileTarget.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

#include "algorithmVeld/common/files/FileError.h"

void veld_fuzz::mesh_ply(std::string_view input)
{
    if (ends_well<OrvaneAlgorithm::detail::FileError>(
            [&] { OrvaneAlgorithm::detail::ply::parse_header(input); }))
    {
        note_header();
    }
    fuzz_mesh_file("mesh.ply", input);
}
