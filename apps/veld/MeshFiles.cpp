#include "MeshFiles.h"

#include "Errors.h"
#include "OutputFile.h"
#include "Session.h"

#include "algorithmVeld/common/mesh_io.h"

#include <fmt/format.h>

namespace veld
{

std::size_t load_mesh(std::string const& path, TriMesh& mesh, Console& console)
{
    Step const step("read-mesh");
    OrvaneAlgorithm::MeshReadReport report;
    if (!read_mesh(path, mesh, report))
    {
        throw InputError(report.error);
    }
    if (report.faces_left_out > 0)
    {
        console.warn(fmt::format("{}: {} {} left out: a corner is repeated, or an edge has "
                                 "two faces already",
                                 path, report.faces_left_out,
                                 report.faces_left_out == 1 ? "face" : "faces"));
    }
    return report.faces_left_out;
}

void save_mesh(std::string const& path, TriMesh const& mesh)
{
    Step const step("write-mesh");
    std::string error;
    if (!write_mesh(path, mesh, error))
    {
        throw OperationError(error);
    }
}

void check_mesh_extension(std::string const& path)
{
    check_extension(path, {".ply", ".stl", ".obj", ".off", ".om"});
}

} // namespace veld
