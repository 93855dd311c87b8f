#include "FrameObjects.h"

#include "Arrays.h"
#include "Call.h"
#include "Existing.h"
#include "JsonObjects.h"
#include "Paths.h"
#include "Settings.h"
#include "Text.h"

#include "workflow/files/OutputFile.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/frames/FrameSource.h"
#include "workflow/steps/Align.h"
#include "workflow/steps/FrameNoise.h"

#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace veld::python
{

namespace
{

using FramesPointer = std::unique_ptr<FrameSet>;

/// Name, points, their cells, whether a face begins there, normals, colours, pose, rows, columns
/// and where the sensor is.
using FrameArrays = std::tuple<std::string, FloatRows, IntPairs, Flags, std::optional<FloatRows>,
                               std::optional<FloatRows>, Matrix4, int, int, std::string>;

Sensor sensor_of(std::string const& name)
{
    std::map<std::string, Sensor> const sensors{{"unknown", Sensor::UNKNOWN},
                                                {"origin", Sensor::ORIGIN},
                                                {"+z", Sensor::PLUS_Z},
                                                {"-z", Sensor::MINUS_Z}};
    auto const found = sensors.find(name);
    if (found == sensors.end())
    {
        throw InputError("'sensor' has to be one of +z, -z, origin, unknown");
    }
    return found->second;
}

NamedFrame frame_of(FrameArrays const& arrays, int number)
{
    auto const& [name, points, cells, flags, normals, colors, pose, rows, columns, sensor] = arrays;
    NamedFrame frame;
    frame.name = name;
    frame.number = number;
    frame.sensor = sensor_of(sensor);
    frame.data.set_grid_size(rows, columns);
    frame.data.set_rigidMatrix(motion_of(pose));
    frame.data.vCoord = vectors_of(points);
    frame.data.has_vNormal = normals.has_value();
    frame.data.vNrv = normals ? vectors_of(*normals) : OrvaneAlgorithm::Verts();
    frame.data.has_vColor = colors.has_value();
    frame.data.vColor = colors ? vectors_of(*colors) : OrvaneAlgorithm::Verts();
    for (std::size_t i = 0; i < cells.shape(0); ++i)
    {
        frame.data.vUV.push_back({cells.data()[2 * i], cells.data()[2 * i + 1]});
        frame.data.cellFlag.push_back(static_cast<char>(flags.data()[i]));
    }
    return frame;
}

FramesPointer frames_of_arrays(std::string const& name, std::vector<FrameArrays> const& arrays,
                               double scale, Call& call)
{
    LoadFramesSettings settings;
    read_settings(Json{{"scale", scale}}, "frames: ", settings);
    std::vector<NamedFrame> frames;
    for (auto const& frame : arrays)
    {
        frames.push_back(frame_of(frame, static_cast<int>(frames.size())));
    }
    return call.run(
        [&](Context& context) {
            return std::make_unique<FrameSet>(
                prepare_frames(name, std::move(frames), settings, context));
        });
}

FramesPointer frames_of_source(nb::object const& source, Values const& values, Call& call)
{
    auto const path = path_of(source);
    auto const settings = settings_of<LoadFramesSettings>("load_frames", values);
    return call.run([&](Context& context)
                    { return std::make_unique<FrameSet>(load_frames(path, settings, context)); });
}

FramesPointer with_poses(FrameSet const& frames, std::vector<Matrix4> const& matrices, Call& call)
{
    std::vector<OrvaneAlgorithm::RigidMatrix> poses;
    for (auto const& matrix : matrices)
    {
        poses.push_back(motion_of(matrix));
    }
    return call.run([&](Context&) { return std::make_unique<FrameSet>(posed(frames, poses)); });
}

/// Whether all frames of a source have to be read at once: text frames that share a file of poses,
/// which alone tells which there are.
bool is_read_at_once(std::filesystem::path const& path)
{
    FrameSource const source = find_frame_source(path);
    return source.kind == FrameSourceKind::TEXT_FRAMES &&
           source.description.at("poses").at("form") == "common";
}

/// The files that `load_frames` would read, which need not be there, and whether at once.
std::tuple<Paths, bool> source_files(nb::object const& source, Call& call)
{
    auto const path = path_of(source);
    auto const [files, at_once] = call.run(
        [&](Context&)
        {
            auto found = frame_source_files(path);
            return std::pair(std::move(found), is_read_at_once(path));
        });
    return {objects_of(files), at_once};
}

/// The files, and the noise of their frames, as `veld frames` tells them.
Values save_frames(FrameSet const& frames, nb::object const& folder, bool overwrite, Call& call)
{
    auto const directory = path_of(folder);
    Json const json = call.run(
        [&](Context& context)
        {
            auto const files = new_frame_files_in(directory, frames.frames.size());
            Outputs outputs(existing_of(overwrite));
            outputs.make_directory(directory);
            outputs.check(files, frames.files);
            Json const told = to_json(frames, files, measure_noise(frames, context));
            for (std::size_t i = 0; i < files.size(); ++i)
            {
                write_frame(outputs.add(files[i]), frames.frames[i].data, context);
            }
            outputs.commit();
            return told;
        });
    return values_of(json);
}

NamedFrame const& frame_at(FrameSet const& frames, std::size_t i)
{
    if (i >= frames.frames.size())
    {
        throw nb::index_error("there are not so many frames");
    }
    return frames.frames[i];
}

std::optional<FloatView> channel_of(FrameSet& frames, bool is_there,
                                    OrvaneAlgorithm::Verts const& channel)
{
    return is_there ? std::optional(view_of(channel.data(), channel.size(), nb::find(frames)))
                    : std::nullopt;
}

IntView cells_of(FrameSet& frames, std::size_t i)
{
    using Cell = OrvaneAlgorithm::RangeData::UVCoord;
    static_assert(sizeof(Cell) == 2 * sizeof(int));
    auto const& cells = frame_at(frames, i).data.vUV;
    auto const* const first = reinterpret_cast<int const*>(cells.data());
    return IntView(first, {cells.size(), 2}, nb::find(frames));
}

void bind_arrays(nb::class_<FrameSet>& frames)
{
    frames
        .def("points", [](FrameSet& self, std::size_t i)
             { return *channel_of(self, true, frame_at(self, i).data.vCoord); })
        .def("normals",
             [](FrameSet& self, std::size_t i)
             {
                 auto const& data = frame_at(self, i).data;
                 return channel_of(self, data.has_vNormal, data.vNrv);
             })
        .def("colors",
             [](FrameSet& self, std::size_t i)
             {
                 auto const& data = frame_at(self, i).data;
                 return channel_of(self, data.has_vColor, data.vColor);
             })
        .def("cells", &cells_of)
        .def("pose", [](FrameSet const& self, std::size_t i)
             { return matrix_of(frame_at(self, i).data.pose); });
}

} // namespace

void bind_frames(nb::module_& module)
{
    nb::class_<FrameSet> frames(module, "FrameData", "Frames as the library holds them.");
    frames.def("__len__", [](FrameSet const& self) { return self.frames.size(); })
        .def_prop_ro("source", [](FrameSet const& self) { return text_of(self.source); })
        .def_prop_ro("left_out", [](FrameSet const& self) { return self.left_out; })
        .def("name",
             [](FrameSet const& self, std::size_t i) { return text_of(frame_at(self, i).name); })
        .def("grid_shape",
             [](FrameSet const& self, std::size_t i)
             {
                 auto const& data = frame_at(self, i).data;
                 return std::pair(data.grid_rows, data.grid_cols);
             })
        .def("with_poses", &with_poses);
    bind_arrays(frames);
    module.def("make_frames", &frames_of_arrays, nb::arg("name"), nb::arg("frames"),
               nb::arg("scale"), nb::arg("call"));
    module.def("load_frames", &frames_of_source, nb::arg("source"), nb::arg("settings"),
               nb::arg("call"));
    module.def("frame_source_files", &source_files, nb::arg("source"), nb::arg("call"));
    module.def("save_frames", &save_frames, nb::arg("frames"), nb::arg("folder"),
               nb::arg("overwrite"), nb::arg("call"));
}

} // namespace veld::python
