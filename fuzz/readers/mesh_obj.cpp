#include "fuzz/support/MeshFileTarget.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"
#include "workflow/Context.h"
#include "workflow/files/TexturedMesh.h"

#include "algorithmVeld/common/image_io.h"

void veld_fuzz::mesh_obj(std::string_view input)
{
    static int const image = OrvaneAlgorithm::write_rgb_image(
        (work_folder() / "t.png").string(), OrvaneAlgorithm::Image<3, unsigned char>(4, 3));
    // The format has no header.
    if (fuzz_mesh_file("mesh.obj", input))
    {
        note_header();
    }
    if (image == 0)
    {
        auto const path = work_folder() / "mesh.obj";
        veld::Context context;
        veld::files_named_by(path);
        veld::read_texture_of(path, context);
    }
}
