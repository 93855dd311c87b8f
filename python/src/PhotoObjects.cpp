#include "PhotoObjects.h"

#include "Arrays.h"
#include "Call.h"
#include "Paths.h"
#include "Text.h"

#include "workflow/steps/LoadPhotos.h"

#include <nanobind/stl/array.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <array>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace veld::python
{

namespace
{

/// Name, pixels of blue, green and red, pose, and fx, fy, cx, cy.
using PhotoArrays = std::tuple<std::string, Pixels, Matrix4, std::array<double, 4>>;

std::unique_ptr<PhotoSet> photos_of_arrays(std::string const& name,
                                           std::vector<PhotoArrays> const& arrays, Call& call)
{
    std::vector<PhotoView> views;
    std::vector<Photo> images;
    for (auto const& [image, pixels, pose, camera] : arrays)
    {
        PhotoView view;
        view.image = image;
        view.width = static_cast<int>(pixels.shape(1));
        view.height = static_cast<int>(pixels.shape(0));
        view.intrinsics = CameraInParam(camera[0], camera[1], camera[2], camera[3]);
        view.pose = motion_of(pose);
        views.push_back(std::move(view));
        images.push_back(image_of(pixels));
    }
    return call.run(
        [&](Context& context)
        {
            return std::make_unique<PhotoSet>(
                prepare_photos(name, std::move(views), std::move(images), context));
        });
}

std::unique_ptr<PhotoSet> photos_of_source(nb::object const& source, Call& call)
{
    auto const path = path_of(source);
    return call.run([&](Context& context)
                    { return std::make_unique<PhotoSet>(load_photos(path, context)); });
}

std::size_t checked(PhotoSet const& photos, std::size_t i)
{
    if (i >= photos.views.size())
    {
        throw nb::index_error("there are not so many photographs");
    }
    return i;
}

ByteView pixels_of(PhotoSet& photos, std::size_t i)
{
    Photo const& image = photos.images[checked(photos, i)];
    return ByteView(
        image.data(),
        {static_cast<std::size_t>(image.height()), static_cast<std::size_t>(image.width()), 3},
        nb::find(photos));
}

std::array<double, 4> intrinsics_of(PhotoSet const& photos, std::size_t i)
{
    auto const& camera = photos.views[checked(photos, i)].intrinsics;
    return {camera.get_fx(), camera.get_fy(), camera.get_cx(), camera.get_cy()};
}

} // namespace

void bind_photos(nb::module_& module)
{
    nb::class_<PhotoSet>(module, "PhotoData", "Photographs as the library holds them.")
        .def("__len__", [](PhotoSet const& self) { return self.views.size(); })
        .def_prop_ro("source", [](PhotoSet const& self) { return text_of(self.source); })
        .def("name", [](PhotoSet const& self, std::size_t i)
             { return text_of(self.views[checked(self, i)].image); })
        .def("image", &pixels_of)
        .def("intrinsics", &intrinsics_of)
        .def("pose", [](PhotoSet const& self, std::size_t i)
             { return matrix_of(self.views[checked(self, i)].pose); });
    module.def("make_photos", &photos_of_arrays, nb::arg("name"), nb::arg("photos"),
               nb::arg("call"));
    module.def("load_photos", &photos_of_source, nb::arg("source"), nb::arg("call"));
}

} // namespace veld::python
