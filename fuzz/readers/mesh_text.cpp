#include "algorithmVeld/common/mesh_io.h"
#include "fuzz/support/MeshFileTarget.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

void veld_fuzz::mesh_text(std::string_view input)
{
    if (input.substr(0, 40).find("OFF") != std::string_view::npos)
    {
        note_header();
        fuzz_mesh_file("mesh.off", input);
        return;
    }
    OrvaneAlgorithm::TriMesh cloud;
    OrvaneAlgorithm::MeshFileContents contents;
    if (OrvaneAlgorithm::read_cloud(work_file("cloud.xyz", input).string(), cloud, contents))
    {
        note_header();
        note_accepted();
    }
}
