// Makes one mesh of the text frames of a scan with the classes of the library, step by step.
//
//   stitch_frames DIR ROWS COLUMNS LAST OUT
//
// DIR holds the points cloud1.asc to cloudLAST.asc and the poses rt1.txt to rtLAST.txt.

#include <algorithmVeld/algorithmVeld.h>

#include <cstdlib>
#include <iostream>

using namespace OrvaneAlgorithm;

namespace
{

std::vector<RangeData const*> pointers(std::vector<RangeData> const& frames)
{
    std::vector<RangeData const*> list;
    list.reserve(frames.size());
    for (RangeData const& frame : frames)
    {
        list.push_back(&frame);
    }
    return list;
}

/// 0 for what is no number from 1 to 9999.
int small_number(char const* text)
{
    long const number = std::strtol(text, nullptr, 10);
    return number > 0 && number < 10000 ? static_cast<int>(number) : 0;
}

bool read_frames(char** arguments, std::vector<RangeData>& frames)
{
    int const rows = small_number(arguments[2]);
    int const columns = small_number(arguments[3]);
    int const last = small_number(arguments[4]);
    auto const pixels = static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
    // [read]
    PointCloud2RangeData reader;
    reader.set_ImageSize(rows, columns);
    reader.set_DataInputDir(arguments[1]);
    reader.set_PointCloudName("cloud", ".asc"); // cloud1.asc and so on
    reader.set_RtParamName("rt", ".txt");       // rt1.txt
    reader.set_FrameIdInfo(1, last);
    reader.set_rt_file_with_12_params(true);
    reader.Initialize();
    bool whole = reader.processPointCloud();

    for (int i = 0; i < static_cast<int>(reader.get_frames()); ++i)
    {
        auto const& input = reader.get_frame_input(i);
        whole = whole && input.has_pose && input.pose_values_missing == 0 &&
                input.points_read == pixels;
        frames.push_back(reader.get_rangeData(i));
        frames.back().update_vNrv_from_grid();
    }
    // [read]
    return whole && static_cast<int>(frames.size()) == last;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<RangeData> frames;
    if (argc != 6 || !read_frames(argv, frames))
    {
        std::cerr << (argc == 6 ? "the frames cannot be read whole"
                                : "usage: stitch_frames DIR ROWS COLUMNS LAST OUT")
                  << '\n';
        return 1;
    }

    // [overlap]
    FrameOverlap overlap;
    overlap.set_averages_layers(true);
    std::vector<RangeData> single_layer;
    RetVal const taken_out = overlap.remove_overlap(pointers(frames), single_layer);
    // [overlap]
    if (taken_out != RET_SUCCESS)
    {
        std::cerr << "the overlap cannot be taken out\n";
        return 2;
    }
    for (auto const& counts : overlap.frame_counts())
    {
        std::cout << counts.removed << " of " << counts.points << " points taken out\n";
    }

    double const spacing = overlap.used_point_spacing();
    // [merge]
    MeshMerge merger;
    merger.set_point_spacing(spacing);
    TriMesh mesh;
    std::vector<int> vertex_frames;
    RetVal const merged = merger.mesh_merge(pointers(single_layer), spacing, mesh, false, 20, 100,
                                            5.0 * spacing, vertex_frames);
    // [merge]
    std::string error;
    if (merged != RET_SUCCESS || !write_mesh(argv[5], mesh, error))
    {
        std::cerr << "no mesh: " << error << '\n';
        return 2;
    }
    std::cout << mesh.n_vertices() << " points and " << mesh.n_faces() << " faces\n";
    return 0;
}
