#include "algorithmVeld/TextureFusion/SelectKeyframes.h"

#include "algorithmVeld/TextureFusion/keyframes/ViewChain.h"
#include "algorithmVeld/TextureFusion/keyframes/VoxelGrid.h"
#include "algorithmVeld/common/files/PrintedFile.h"
#include "algorithmVeld/common/geometry/BoundingBox.h"
#include "algorithmVeld/common/mesh_files/ObjText.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>

namespace OrvaneAlgorithm
{

namespace
{

// Red, green and blue of cameras in the files.
constexpr int ALL_COLOR[3] = {0, 0, 255};
constexpr int KEY_COLOR[3] = {255, 0, 0};

std::string keyframe_path(std::string const& file)
{
    char path[512];
    format_line(path, "%s/%s", gPH.result_dir.c_str(), file.c_str());
    return path;
}

/// Ends a file, and logs it where it could not be written.
template <typename File>
void end_file(File& file, std::string const& path)
{
    if (!file.close())
    {
        detail::log("fail to write '%s'.\n", path.c_str());
    }
}

/// A flat arrow along the z axis of a camera, in its coordinates.
std::array<Vector3f, 7> view_arrow(double scale)
{
    auto const half_width = static_cast<float>(0.5 * scale / 2.0);
    auto const wing = static_cast<float>(0.5 * scale / 2.0 + 0.25 * scale);
    auto const neck = static_cast<float>(20.0 * scale);
    auto const tip = static_cast<float>(20.0 * scale + 3.0 * scale);
    return {Vector3f(-half_width, 0.0F, 0.0F), Vector3f(half_width, 0.0F, 0.0F),
            Vector3f(half_width, 0.0F, neck),  Vector3f(wing, 0.0F, neck),
            Vector3f(0.0F, 0.0F, tip),         Vector3f(-wing, 0.0F, neck),
            Vector3f(-half_width, 0.0F, neck)};
}

/// The mean of the finite points, of which there is one at least.
Vector3f mean_of_finite(std::vector<Vector3f> const& points)
{
    Vector3f sum = Vector3f::Zero();
    std::size_t n = 0;
    for (auto const& point : points)
    {
        if (point.allFinite())
        {
            sum += point;
            ++n;
        }
    }
    return sum / static_cast<float>(n);
}

std::size_t count_entries(std::vector<std::vector<int>> const& lists)
{
    return std::accumulate(lists.begin(), lists.end(), std::size_t{0},
                           [](std::size_t n, std::vector<int> const& list)
                           { return n + list.size(); });
}

/// Adds the numbers of the points that are not finite.
void append_not_finite(std::vector<Vector3f> const& points, std::vector<int>& numbers)
{
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        if (!points[i].allFinite())
        {
            numbers.push_back(static_cast<int>(i));
        }
    }
}

} // namespace

/// Where the cameras are in the world, and their space.
struct SelectKeyframes::Cameras
{
    std::vector<Vector3f> positions;
    std::vector<Eigen::Matrix3f> views; ///< Rotations from camera to world coordinates.
    Vector3f min;
    Vector3f max;
    float voxel_size = 0.0F;
};

RetVal SelectKeyframes::space_based_selection(std::vector<RigidMatrix> const& poses,
                                              std::vector<int>& key_frames, bool verbose)
{
    gPH.log_enabled = verbose;
    detail::log("space_based_selection() ..\n");
    if (poses.empty())
    {
        return RET_INVALID_INPUT;
    }
    Cameras const cameras = locate(poses);
    if (saves_debug_files())
    {
        std::vector<bool> const all(poses.size(), true);
        save_cam_pos(poses, all, cam_pos_all_file_, ALL_COLOR);
        save_cam_view(poses, all, cam_view_all_file_, 1.0);
    }
    select_key_pose(cameras.positions, cameras.min, cameras.max, cameras.voxel_size, key_frames);
    std::sort(key_frames.begin(), key_frames.end());
    if (saves_debug_files())
    {
        std::vector<bool> chosen(poses.size(), false);
        for (int const frame : key_frames)
        {
            chosen[static_cast<std::size_t>(frame)] = true;
        }
        save_cam_pos(poses, chosen, cam_pos_key_file_, KEY_COLOR);
        save_cam_view(poses, chosen, cam_view_key_file_, 2.0);
    }
    return RET_SUCCESS;
}

RetVal SelectKeyframes::space_based_sort(std::vector<RigidMatrix> const& poses,
                                         std::vector<int>& order, bool verbose)
{
    gPH.log_enabled = verbose;
    detail::log("space_based_sort() ..\n");
    if (poses.empty())
    {
        return RET_INVALID_INPUT;
    }
    Cameras const cameras = locate(poses);
    auto voxels = detail::points_by_voxel(
        cameras.positions, detail::VoxelGrid(cameras.min, cameras.max, cameras.voxel_size));
    sort_voxels(cameras, voxels);
    detail::log("total frames in voxels:  %d\n", static_cast<int>(count_entries(voxels)));
    order = detail::in_turns(voxels);
    append_not_finite(cameras.positions, order);
    return RET_SUCCESS;
}

/// What both operations begin with.
SelectKeyframes::Cameras SelectKeyframes::locate(std::vector<RigidMatrix> const& poses) const
{
    Cameras cameras;
    get_cam_view(poses, cameras.positions, cameras.views);
    get_cam_box(cameras.positions, cameras.min, cameras.max);
    if (saves_debug_files())
    {
        save_bounding_box(cameras.min, cameras.max, keyframe_path(cam_box_file_));
    }
    cameras.voxel_size = detail::voxel_size(cameras.min, cameras.max, voxel_num_);
    return cameras;
}

void SelectKeyframes::get_cam_view(std::vector<RigidMatrix> const& poses,
                                   std::vector<Vector3f>& positions,
                                   std::vector<Eigen::Matrix3f>& views)
{
    positions.clear();
    views.clear();
    detail::CancelPoll poll;
    for (auto const& pose : poses)
    {
        poll.next();
        RigidMatrix const camera = pose.inverse();
        positions.emplace_back(camera.get_translation().cast<float>());
        views.emplace_back(camera.get_rotation().cast<float>());
    }
}

void SelectKeyframes::get_cam_box(std::vector<Vector3f> const& positions, Vector3f& min,
                                  Vector3f& max)
{
    detail::bounding_box(positions.data(), positions.size(), min, max);
}

void SelectKeyframes::select_key_pose(std::vector<Vector3f> const& positions, Vector3f const& min,
                                      Vector3f const& max, float voxel_size,
                                      std::vector<int>& key_frames)
{
    detail::VoxelGrid const grid(min, max, voxel_size);
    auto const distance = [&](int frame)
    {
        return detail::squared_distance_from_upper_corner(
            grid.in_voxels(positions[static_cast<std::size_t>(frame)]));
    };
    key_frames.clear();
    for (auto const& voxel : detail::points_by_voxel(positions, grid))
    {
        // By the corner of the voxel, not by its centre.
        key_frames.push_back(*std::min_element(
            voxel.begin(), voxel.end(), [&](int a, int b) { return distance(a) < distance(b); }));
    }
}

/// Puts the frames of each voxel into the order in which they are taken.
void SelectKeyframes::sort_voxels(Cameras const& cameras, std::vector<std::vector<int>>& voxels)
{
    Vector3f const centre = mean_of_finite(cameras.positions);
    detail::Progress progress(cameras.positions.size());
    for (auto& voxel : voxels)
    {
        voxel = detail::chain_of_views(voxel, cameras.positions, cameras.views, centre, progress);
    }
    progress.finish();
}

bool SelectKeyframes::saves_debug_files() const
{
    return gPH.log_enabled && save_debug_files_;
}

void SelectKeyframes::save_bounding_box(Vector3f const& min, Vector3f const& max,
                                        std::string const& path)
{
    detail::log("save_bounding_box() to %s\n", path.c_str());
    detail::ObjText file(path);
    for (int corner = 0; corner < 8; ++corner)
    {
        file.vertex({(corner & 1) == 0 ? min.x() : max.x(), (corner & 2) == 0 ? min.y() : max.y(),
                     (corner & 4) == 0 ? min.z() : max.z()});
    }
    for (auto const& face : std::array<std::array<int, 4>, 6>{
             {{3, 7, 8, 4}, {7, 5, 6, 8}, {8, 6, 2, 4}, {3, 4, 2, 1}, {7, 3, 1, 5}, {1, 2, 6, 5}}})
    {
        file.polygon({face.begin(), face.end()});
    }
    end_file(file, path);
}

void SelectKeyframes::save_cam_pos(std::vector<RigidMatrix> const& poses,
                                   std::vector<bool> const& mask, std::string const& file,
                                   int const color[3])
{
    detail::log("save camera position ..\n");
    std::string const path = keyframe_path(file);
    detail::PrintedFile points(path);
    for (std::size_t i = 0; i < poses.size(); ++i)
    {
        if (mask[i])
        {
            RigidMatrix const camera = poses[i].inverse();
            Vector3d const& p = camera.get_translation();
            Vector3d const d = camera.transform_normal(Vector3d(0.0, 0.0, 1.0));
            points.print("%f %f %f %f %f %f %d %d %d\n", p.x(), p.y(), p.z(), d.x(), d.y(), d.z(),
                         color[0], color[1], color[2]);
        }
    }
    end_file(points, path);
}

void SelectKeyframes::save_cam_view(std::vector<RigidMatrix> const& poses,
                                    std::vector<bool> const& mask, std::string const& file,
                                    double scale)
{
    detail::log("save camera pose ..\n");
    std::string const path = keyframe_path(file);
    detail::ObjText arrows(path);
    auto const arrow = view_arrow(scale);
    int n_arrows = 0;
    for (std::size_t i = 0; i < poses.size(); ++i)
    {
        if (mask[i])
        {
            RigidMatrix const camera = poses[i].inverse();
            for (auto const& point : arrow)
            {
                arrows.vertex(camera * point);
            }
            ++n_arrows;
        }
    }
    for (int k = 0; k < n_arrows; ++k)
    {
        int const before = 7 * k;
        arrows.polygon({before + 1, before + 2, before + 3, before + 7});
        arrows.triangle(before + 4, before + 5, before + 6);
    }
    end_file(arrows, path);
}

} // namespace OrvaneAlgorithm
