#include "workflow/files/MeshFiles.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/words.h"

#include "algorithmVeld/common/mesh_io.h"

#include <fmt/format.h>

#include <string>

namespace veld
{

MeshFile read_mesh(std::filesystem::path const& path, Context& context)
{
    StepScope scope(context, "read-mesh", "read the mesh");
    MeshFile file;
    OrvaneAlgorithm::MeshReadReport report;
    if (!OrvaneAlgorithm::read_mesh(path.string(), file.mesh, report))
    {
        throw InputError(report.error);
    }
    file.faces_left_out = report.faces_left_out;
    if (file.faces_left_out > 0)
    {
        scope.warn(
            WarningCode::FACES_LEFT_OUT, shown(path),
            fmt::format("{} left out: a corner is repeated, or an edge has two faces already",
                        counted(file.faces_left_out, "face")));
    }
    return file;
}

void write_mesh(std::filesystem::path const& path, TriMesh const& mesh, Context& context)
{
    check_mesh_extension(path);
    OutputFile file(path);
    write_mesh(file, mesh, context);
    file.commit();
}

void write_mesh(OutputFile const& file, TriMesh const& mesh, Context& context)
{
    StepScope const scope(context, "write-mesh", "write the mesh");
    std::string const temporary = file.temporary().string();
    std::string error;
    if (!OrvaneAlgorithm::write_mesh(temporary, mesh, error))
    {
        bool const named = error.compare(0, temporary.size(), temporary) == 0;
        throw OperationError(named ? shown(file.path()) + error.substr(temporary.size()) : error);
    }
    OrvaneAlgorithm::detail::poll_cancel(); // the last moment before the file gets its place
}

void check_mesh_extension(std::filesystem::path const& path)
{
    check_extension(path, {".ply", ".stl", ".obj", ".off", ".om"});
}

} // namespace veld
