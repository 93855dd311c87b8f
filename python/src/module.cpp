#include "Call.h"
#include "Errors.h"
#include "FrameObjects.h"
#include "LogHook.h"
#include "MeshObject.h"
#include "PhotoObjects.h"
#include "Run.h"
#include "Steps.h"
#include "Tiles.h"

#include <nanobind/nanobind.h>

NB_MODULE(_core, module)
{
    module.doc() = "What the package is made of. Its names are not for hosts.";
    module.attr("VERSION") = VELD_VERSION;
    veld::python::register_errors();
    veld::python::bind_log(module);
    veld::python::bind_call(module);
    veld::python::bind_mesh(module);
    veld::python::bind_frames(module);
    veld::python::bind_photos(module);
    veld::python::bind_steps(module);
    veld::python::bind_run(module);
    veld::python::bind_tiles(module);
}
