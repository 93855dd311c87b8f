// Gives a mesh photographs as its texture.
//
//   texture_mesh MESH PHOTOS OUT
//
// PHOTOS is what `veld texture` takes: a folder with cameras.json, or with a COLMAP model as text.
// OUT is an .obj or a .glb.

#include <workflow/workflow.h>

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::cerr << "usage: texture_mesh MESH PHOTOS OUT\n";
        return 1;
    }
    veld::Context context;
    context.warn = [](veld::Warning const& warning)
    { std::cerr << warning.about << ": " << warning.text << '\n'; };
    try
    {
        // [texture]
        veld::MeshFile const file = veld::read_mesh(argv[1], context);
        veld::PhotoSet const photos = veld::load_photos(argv[2], context);
        veld::TextureResult const result = veld::texture(file.mesh, photos, {}, context);
        veld::write_textured_mesh(argv[3], result.textured, context);
        // [texture]
        std::cout << result.photographs << " photographs on " << result.textured_faces << " of "
                  << file.mesh.n_faces() << " faces\n";
    }
    catch (std::exception const& error)
    {
        std::cerr << error.what() << '\n';
        return 2;
    }
    return 0;
}
