#include "fuzz/support/MeshFileTarget.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

void veld_fuzz::mesh_binary(std::string_view input)
{
    bool const is_om = input.substr(0, 2) == "OM";
    constexpr std::size_t STL_HEADER = 84;
    if (is_om || input.substr(0, 5) == "solid" || input.size() >= STL_HEADER)
    {
        note_header();
    }
    fuzz_mesh_file(is_om ? "mesh.om" : "mesh.stl", input);
}
