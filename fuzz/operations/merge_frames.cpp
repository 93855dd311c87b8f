#include "algorithmVeld/reconstruction/DepthFrames.h"
#include "algorithmVeld/reconstruction/FrameAlignment.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/reconstruction/GeoPatentRecon.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

#include <stdexcept>

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_fuzz;

void set_pose(ByteSource& source, RangeData& frame)
{
    Matrix3d rotation = Matrix3d::Identity();
    int const kind = source.below(4);
    if (kind == 1)
    {
        rotation << 1, 0, 0, 0, -1, 0, 0, 0, -1;
    }
    if (kind == 2)
    {
        rotation << 0.8, -0.6, 0, 0.6, 0.8, 0, 0, 0, 1;
    }
    if (kind == 3)
    {
        rotation.col(source.below(3)) = decode_point(source).cast<double>();
    }
    RigidMatrix pose;
    pose.set_rotation(rotation);
    pose.set_translation(decode_point(source).cast<double>());
    frame.set_rigidMatrix(pose);
}

/// A few points are put elsewhere, in cells that are others', out of the grid, or anywhere.
void spoil(ByteSource& source, RangeData& frame)
{
    for (int n = source.below(8); n > 0 && frame.get_vn() > 0; --n)
    {
        auto const vertex =
            static_cast<std::size_t>(source.below(static_cast<int>(frame.get_vn())));
        switch (source.below(4))
        {
        case 0:
            frame.vCoord[vertex] = decode_point(source);
            break;
        case 1:
            frame.vUV[vertex].row = source.integer();
            frame.vUV[vertex].col = source.integer();
            break;
        case 2:
            frame.set_cellFlag(vertex, static_cast<char>(source.byte()));
            break;
        default:
            if (frame.has_vNormal)
            {
                frame.vNrv[vertex] = decode_point(source);
            }
            break;
        }
    }
}

/// A sheet on a grid, of which a byte for each row takes points out.
RangeData decode_frame(ByteSource& source)
{
    RangeData frame;
    int const rows = source.below(10);
    int const columns = source.below(9);
    float const spacing = 0.05F + static_cast<float>(source.below(8)) / 8.0F;
    float const height = source.coordinate();
    frame.set_grid_size(rows, columns);
    for (int row = 0; row < rows; ++row)
    {
        unsigned const missing = static_cast<unsigned>(source.byte());
        for (int column = 0; column < columns; ++column)
        {
            if ((missing >> static_cast<unsigned>(column % 8) & 1U) == 0)
            {
                frame.add_vCoord_and_vUV({spacing * static_cast<float>(column),
                                          -spacing * static_cast<float>(row), height},
                                         {row, column});
                frame.cellFlag.back() = 1;
            }
        }
    }
    if (source.below(8) != 0)
    {
        frame.update_vNrv_from_grid();
    }
    if (source.flag())
    {
        frame.enable_vColor();
    }
    set_pose(source, frame);
    spoil(source, frame);
    return frame;
}

template <typename Merge>
void merge(ByteSource& source, Merge& merging, std::vector<RangeData const*> const& frames)
{
    TriMesh mesh;
    std::vector<int> vertex_frames;
    double const radius = source.number();
    bool const verbose = source.flag();
    int const most_edges = source.integer();
    int const smallest = source.integer();
    if (ends_well<std::out_of_range>(
            [&]
            {
                if (merging.mesh_merge(frames, radius, mesh, verbose, most_edges, smallest,
                                       source.number(), vertex_frames) == RET_SUCCESS)
                {
                    note_accepted();
                }
            }))
    {
        require_sound_links(mesh);
    }
}

void merge_by_stitch(ByteSource& source, std::vector<RangeData const*> const& frames)
{
    MeshMerge merging;
    if (source.flag())
    {
        merging.set_point_spacing(source.number());
        merging.set_normal_angle_thr(source.coordinate());
        merging.set_neighbour_factor(source.integer());
        merging.set_ear_edge_factor(source.number());
        merging.set_ear_normal_angle(source.number());
    }
    merge(source, merging, frames);
}

void merge_by_fans(ByteSource& source, std::vector<RangeData const*> const& frames)
{
    GeoPatentRecon merging;
    if (source.flag())
    {
        merging.set_ear_edge_factor(source.number());
        merging.set_point_spacing(source.number());
        merging.set_normal_angle_thr(source.coordinate());
        merging.set_long_edge_length(source.number());
        merging.set_preprocess_enabled(source.flag());
        merging.set_outlier_factor(source.coordinate());
        merging.set_outlier_removal_enabled(source.flag());
        merging.set_neighbour_factor(source.integer());
    }
    merge(source, merging, frames);
}

void take_overlap_out(ByteSource& source, std::vector<RangeData const*> const& frames)
{
    FrameOverlap overlap;
    if (source.flag())
    {
        overlap.set_point_spacing(source.number());
        overlap.set_cover_factor(source.number());
        overlap.set_layer_factor(source.number());
        overlap.set_normal_angle_thr(source.number());
        overlap.set_gap_factor(source.number());
        overlap.set_border_cells(source.integer());
        overlap.set_long_edge_factor(source.number());
        overlap.set_averages_layers(source.flag());
    }
    std::vector<RangeData> result;
    if (overlap.remove_overlap(frames, result) == RET_SUCCESS)
    {
        note_accepted();
    }
}

void prepare_depths(ByteSource& source, std::vector<RangeData const*> const& frames)
{
    DepthFrames::measure_noise(frames);
    DepthFrames preparation;
    if (source.flag())
    {
        DepthNoise noise;
        noise.constant = source.number();
        noise.square = source.number() / 1000.0;
        preparation.set_noise(noise);
        preparation.set_point_spacing(source.number());
    }
    std::vector<RangeData> result;
    if (preparation.prepare(frames, result) == RET_SUCCESS)
    {
        note_accepted();
    }
}

void align_frames(ByteSource& source, std::vector<RangeData const*> const& frames)
{
    FrameAlignment alignment;
    if (source.flag())
    {
        DepthNoise noise;
        noise.constant = source.number();
        noise.square = source.number() / 1000.0;
        alignment.set_noise(noise);
        alignment.set_reach(source.number());
    }
    FrameAlignment::Agreement agreement;
    alignment.measure(frames, agreement);
    std::vector<RigidMatrix> poses;
    if (alignment.align(frames, poses) == RET_SUCCESS)
    {
        note_accepted();
    }
}

} // namespace

void veld_fuzz::merge_frames(std::string_view input)
{
    ByteSource source(input);
    int const what = source.below(5);
    std::vector<RangeData> frames(static_cast<std::size_t>(source.below(4)));
    std::vector<RangeData const*> pointers;
    for (auto& frame : frames)
    {
        frame = decode_frame(source);
        pointers.push_back(&frame);
    }
    if (!frames.empty() && frames.front().has_vNormal && frames.front().get_vn() > 0)
    {
        note_header();
    }
    switch (what)
    {
    case 0:
        merge_by_stitch(source, pointers);
        break;
    case 1:
        merge_by_fans(source, pointers);
        break;
    case 2:
        take_overlap_out(source, pointers);
        break;
    case 3:
        prepare_depths(source, pointers);
        break;
    default:
        align_frames(source, pointers);
        break;
    }
}
