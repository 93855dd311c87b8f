#pragma once

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/export.h"

#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

/// Chooses views of a scan, or puts them into an order of preference, by the poses of their cameras
/// alone; no image is looked at. The box around all camera positions is divided into cubes, the
/// voxels, 5 along its longest side by default.
///
/// A position is on the rim of the box, too, so a whole side of n voxels takes n + 1 of them. If
/// all positions are one, there is one voxel. A camera whose position is not finite is in none and
/// does not count for the box: it is never chosen, and comes last in an order.
///
/// Voxels come in the order in which the poses first meet them. Everything runs on the calling
/// thread. An object keeps its settings between calls; it is not meant to be used from two threads
/// at once.
class ALGORITHMVELD_API SelectKeyframes
{
public:
    SelectKeyframes() = default;
    SelectKeyframes(SelectKeyframes const&) = default;
    SelectKeyframes& operator=(SelectKeyframes const&) = default;
    ~SelectKeyframes() = default;

    /// How many voxels lie along the longest side of the box; 5 by default, and at most 2^20. What
    /// is no positive number makes one voxel of the box.
    void set_voxel_num(double voxels) { voxel_num_ = voxels; }
    /// Whether files that show the box, the cameras and the choice are written to `result_dir` of
    /// `gPH`, where the log switch is on; false by default. One that cannot be written is logged.
    void set_save_debug_files(bool save) { save_debug_files_ = save; }
    /// \name Names of these files
    /// The defaults are "aabb-box-of-cam-pos.obj", "cam-pos-all.asc", "cam-view-all.obj",
    /// "cam-pos-key.asc" and "cam-view-key.obj". Positions come with the direction of the view and
    /// a colour, views as flat arrows.
    /// @{

    /// The box of all cameras.
    void set_cam_box_file(std::string const& name) { cam_box_file_ = name; }
    /// The positions of all cameras.
    void set_cam_pos_all_file(std::string const& name) { cam_pos_all_file_ = name; }
    /// The views of all cameras.
    void set_cam_view_all_file(std::string const& name) { cam_view_all_file_ = name; }
    /// The positions of the chosen cameras.
    void set_cam_pos_key_file(std::string const& name) { cam_pos_key_file_ = name; }
    /// The views of the chosen cameras.
    void set_cam_view_key_file(std::string const& name) { cam_view_key_file_ = name; }
    /// @}

    /// Chooses one camera of each voxel: the one that is nearest to the voxel's upper corner, of
    /// equals the first. Time and memory are proportional to the number of poses.
    /// \param poses from world to camera coordinates, lengths in any unit
    /// \param key_frames replaced: the numbers of the chosen poses, rising; left alone without
    ///        poses
    /// \param verbose written to the log switch of `gPH`, where it stays
    /// \return `RET_SUCCESS`, or `RET_INVALID_INPUT` without poses
    RetVal space_based_selection(std::vector<RigidMatrix> const& poses,
                                 std::vector<int>& key_frames, bool verbose);

    /// Orders all cameras so that the first ones already cover the whole space: the first of each
    /// voxel, then the second of each, and so on. In a voxel the camera is first that looks most
    /// directly at the mean of all positions, and each next one is, of those that are left, the
    /// one whose direction of view is most like that of the one before.
    ///
    /// Memory is proportional to the number of poses. Time grows with the square of the number
    /// within one voxel: more than a second for 30 thousand there.
    /// \param poses from world to camera coordinates, lengths in any unit
    /// \param order replaced by a permutation of all numbers of poses; left alone without poses
    ///        and where the run is cancelled
    /// \param verbose written to the log switch of `gPH`, where it stays
    /// \return `RET_SUCCESS`, or `RET_INVALID_INPUT` without poses
    RetVal space_based_sort(std::vector<RigidMatrix> const& poses, std::vector<int>& order,
                            bool verbose);

private:
    struct Cameras;

    Cameras locate(std::vector<RigidMatrix> const& poses) const;
    static void get_cam_view(std::vector<RigidMatrix> const& poses,
                             std::vector<Vector3f>& positions, std::vector<Eigen::Matrix3f>& views);
    static void get_cam_box(std::vector<Vector3f> const& positions, Vector3f& min, Vector3f& max);
    static void select_key_pose(std::vector<Vector3f> const& positions, Vector3f const& min,
                                Vector3f const& max, float voxel_size,
                                std::vector<int>& key_frames);
    static void sort_voxels(Cameras const& cameras, std::vector<std::vector<int>>& voxels);

    bool saves_debug_files() const;
    static void save_bounding_box(Vector3f const& min, Vector3f const& max,
                                  std::string const& path);
    static void save_cam_pos(std::vector<RigidMatrix> const& poses, std::vector<bool> const& mask,
                             std::string const& file, int const color[3]);
    static void save_cam_view(std::vector<RigidMatrix> const& poses, std::vector<bool> const& mask,
                              std::string const& file, double scale);

    double voxel_num_ = 5.0; ///< Along the longest side of the box.
    std::string cam_box_file_ = "aabb-box-of-cam-pos.obj";
    std::string cam_pos_all_file_ = "cam-pos-all.asc";
    std::string cam_view_all_file_ = "cam-view-all.obj";
    std::string cam_pos_key_file_ = "cam-pos-key.asc";
    std::string cam_view_key_file_ = "cam-view-key.obj";
    bool save_debug_files_ = false;
};

} // namespace OrvaneAlgorithm
