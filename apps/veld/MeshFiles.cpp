#include "MeshFiles.h"

#include "Errors.h"
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

void save_mesh(OutputFile const& file, TriMesh const& mesh)
{
    Step const step("write-mesh");
    std::string const temporary = file.temporary();
    std::string error;
    if (!write_mesh(temporary, mesh, error))
    {
        bool const named = error.compare(0, temporary.size(), temporary) == 0;
        throw OperationError(named ? file.path() + error.substr(temporary.size()) : error);
    }
}

void check_mesh_extension(std::string const& path)
{
    check_extension(path, {".ply", ".stl", ".obj", ".off", ".om"});
}

} // namespace veld
