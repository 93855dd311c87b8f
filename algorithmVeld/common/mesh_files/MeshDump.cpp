#include "algorithmVeld/common/mesh_files/MeshDump.h"

#include "algorithmVeld/common/mesh_files/QuietOpenMesh.h"
#include "algorithmVeld/common/mesh_files/StoppableStream.h"
#include "algorithmVeld/common/mesh_files/openmesh_io.h"
#include "algorithmVeld/common/running/Log.h"

#include <OpenMesh/Core/IO/IOManager.hh>
#include <OpenMesh/Core/IO/exporter/ExporterT.hh>

#include <filesystem>
#include <fstream>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// The stream is ours: OpenMesh reports success for a file that it could not open.
bool write(TriMesh const& mesh, std::string const& path)
{
    constexpr std::streamsize PRECISION = 6;
    QuietOpenMesh const quiet;
    std::ofstream file(path, std::ios::binary);
    OpenMesh::IO::ExporterT<TriMesh> exporter(mesh);
    std::string const extension = std::filesystem::path(path).extension().string();
    bool const written =
        file &&
        write_stoppably(file, 50 * mesh.n_faces(),
                        [&](std::ostream& stream)
                        {
                            return OpenMesh::IO::IOManager().write(
                                stream, extension, exporter,
                                OpenMesh::IO::Options(OpenMesh::IO::Options::Binary), PRECISION);
                        });
    return written && file.flush();
}

} // namespace

void dump_mesh(TriMesh const& mesh, std::string const& path, std::string const& step)
{
    StepTimer const saving("saving-time");
    StepTimer const timer(step, "saving-time");
    if (!write(mesh, path))
    {
        log("fail to write '%s'.\n", path.c_str());
    }
}

} // namespace OrvaneAlgorithm::detail
