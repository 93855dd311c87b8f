#include "fuzz/support/MeshFileTarget.h"

#include "algorithmVeld/common/mesh_io.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"

#include <cstdio>
#include <cstdlib>

namespace veld_fuzz
{

using OrvaneAlgorithm::TriMesh;

namespace
{

[[noreturn]] void complain(char const* what, std::string const& error)
{
    std::fprintf(stderr, "fuzz: %s: %s\n", what, error.c_str());
    std::abort();
}

void write_and_read_again(std::string const& name, TriMesh const& mesh)
{
    std::string const path = (work_folder() / ("again-" + name)).string();
    std::string error;
    if (!OrvaneAlgorithm::write_mesh(path, mesh, error))
    {
        // OM has no room for large numbers of vertices in small meshes.
        return;
    }
    TriMesh again;
    OrvaneAlgorithm::MeshFileContents contents;
    bool const has_nothing_to_read = mesh.n_vertices() == 0 || mesh.n_faces() == 0;
    if (!OrvaneAlgorithm::read_and_mend_mesh(path, again, contents) && !has_nothing_to_read)
    {
        complain("what was written is not read", contents.error);
    }
    if (!has_nothing_to_read && again.n_faces() != mesh.n_faces())
    {
        complain("faces are lost from file to file", name);
    }
}

} // namespace

bool fuzz_mesh_file(std::string const& name, std::string_view content)
{
    auto const path = work_file(name, content);
    TriMesh mesh;
    OrvaneAlgorithm::MeshReadReport report;
    if (OrvaneAlgorithm::read_mesh(path.string(), mesh, report))
    {
        require_sound_links(mesh);
    }
    OrvaneAlgorithm::MeshFileContents contents;
    if (!OrvaneAlgorithm::read_and_mend_mesh(path.string(), mesh, contents))
    {
        return false;
    }
    note_accepted();
    require_sound_links(mesh);
    write_and_read_again(name, mesh);
    return true;
}

} // namespace veld_fuzz
