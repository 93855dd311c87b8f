#include "algorithmVeld/common/detail/MeshDump.h"

#include "algorithmVeld/common/detail/Log.h"
#include "algorithmVeld/common/detail/openmesh_io.h"

#include <OpenMesh/Core/IO/IOManager.hh>
#include <OpenMesh/Core/IO/exporter/ExporterT.hh>

#include <mutex>

namespace OrvaneAlgorithm::detail
{

void dump_mesh(TriMesh const& mesh, std::string const& path, std::string const& step)
{
    constexpr std::streamsize PRECISION = 6;
    StepTimer const saving("saving-time");
    StepTimer const timer(step, "saving-time");
    // OpenMesh's manager is shared by all threads.
    static std::mutex mutex;
    std::lock_guard<std::mutex> const lock(mutex);
    OpenMesh::IO::ExporterT<TriMesh> exporter(mesh);
    bool const written = OpenMesh::IO::IOManager().write(
        path, exporter, OpenMesh::IO::Options(OpenMesh::IO::Options::Binary), PRECISION);
    if (!written)
    {
        log_line(gPH.log_enabled, "fail to write '%s'.\n", path.c_str());
    }
}

} // namespace OrvaneAlgorithm::detail
