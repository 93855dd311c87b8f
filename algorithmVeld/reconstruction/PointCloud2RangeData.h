#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/export.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

namespace detail
{
class TextScanner;
}

/// Reads frames that a scanner wrote as text: a point file a frame with one line for each pixel of
/// a fixed grid, and the poses in a file a frame or all in one. docs/range-frames.md tells the
/// forms of the files.
///
/// The poses decide which frames there are. Call all setters, `Initialize`, `processPointCloud`,
/// then the getters. Frames carry no normals. Lengths are millimetres.
///
/// A missing file does not stop a run, and what a file lacks is 0 in a pose and stays as the frame
/// before left it in the points (0 in the first frame): `get_frame_input` tells. Numbers that are
/// none end the reading of a file.
///
/// The size of the grid alone takes no memory: that grows with the points that are read.
///
/// Works on the calling thread. Nothing is thrown but for a header line without a digit, an index
/// that is out of range and lack of memory. A copy shares the arrays of the current frame with its
/// source until one of them calls `Initialize` again, so two of them do not run at the same time.
class ALGORITHMVELD_API PointCloud2RangeData
{
public:
    /// What the files held for a frame of the list.
    struct FrameInput
    {
        bool has_points = false;     ///< whether there was a point file
        std::size_t points_read = 0; ///< pixels of which the whole record was read, from the first
        int pose_values_missing = 0; ///< of 12 or 16 values
        bool has_pose = false;       ///< whether the pose is the one of this frame
    };

    PointCloud2RangeData() = default;
    PointCloud2RangeData(PointCloud2RangeData const&) = default;
    PointCloud2RangeData& operator=(PointCloud2RangeData const&) = default;
    ~PointCloud2RangeData() { freeMemSpace(); }

    /// Height and width of the grid.
    void set_ImageSize(int rows, int columns);
    /// The directory of all input files.
    void set_DataInputDir(std::string const& directory) { data_input_dir_ = directory; }
    /// Kept, but not used.
    void set_DataTmpDir(std::string const& directory) { data_tmp_dir_ = directory; }
    /// The names of the point files before and behind the frame number.
    void set_PointCloudName(std::string const& prefix, std::string const& suffix);
    /// The same for pose files. A common pose file has no number between the two.
    void set_RtParamName(std::string const& prefix, std::string const& suffix);
    /// The numbers of the first and the last frame to try; a common pose file has its own.
    void set_FrameIdInfo(int first, int last);
    /// Whether pose files of 16 values begin with two header lines; the number in the second has to
    /// be the frame's. Default true.
    void set_HasFrameIdInfo(bool has_header) { has_frame_id_info_ = has_header; }
    /// Without 12-value files: true, the default, for one common pose file; false for a file of 16
    /// values a frame.
    void set_RtParamStoreType(bool common_file) { rt_param_store_type_ = common_file; }
    /// Whether there is a pose file of 12 values a frame. Default false.
    void set_rt_file_with_12_params(bool twelve) { rt_file_with_12_params_ = twelve; }
    /// Whether a frame gets what its own point file holds and nothing else: a pixel of which that
    /// file has no whole record holds no point, and a frame whose number stood in the common pose
    /// file before is empty, as without a point file. So memory is bounded by the size of the
    /// files. Default false.
    void set_OwnPointsOnly(bool own) { own_points_only_ = own; }

    /// Makes the arrays for a frame of the grid that is set; those from an earlier call are let go.
    /// A grid of more than 2^28 pixels gets none.
    void Initialize();

    /// Reads all poses and all frames. Run again, it adds to the list of frames of the run before
    /// and so returns false.
    /// \return true if every frame of the list has a pose of its own, also for no frame at all.
    ///         False too if there are frames but no arrays for the grid that is set. A frame whose
    ///         point file is missing, or whose pose has another number, is empty, and the result
    ///         stays true.
    /// \throw std::out_of_range ("invalid string position") for a header line without a digit; the
    ///        frames read so far are poses only then
    bool processPointCloud();

    /// Number of frames.
    size_t get_frames() const { return mRangeDataArr.size(); }
    /// A frame. \throw std::out_of_range for an index out of range
    RangeData& get_rangeData(int index);
    /// The number of a frame in its files' names. \throw std::out_of_range for an index out of
    /// range
    int get_frame_id(int index) const;
    /// The numbers of the frames, in their order.
    std::vector<int> const& get_frame_id_arr() const { return mRtFrameNumArr; }
    /// What the files held for a frame. \throw std::out_of_range for an index out of range
    FrameInput const& get_frame_input(int index) const;

private:
    /// A pose by rows: the rotation in the columns 0 to 2, the translation in column 3.
    struct OrvaneMat
    {
        std::array<float, 16> values{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
        int curFrameId = 0;
    };

    /// Reads values to their places in a pose. What the file lacks stays 0.
    template <std::size_t n>
    static OrvaneMat read_matrix(detail::TextScanner& text, std::array<int, n> const& places,
                                 int& missing);

    size_t pixels() const;
    bool is_grid_too_large() const;
    void allocMemSpace();
    void freeMemSpace();
    void add_frame(int number);
    bool load_matrix_pro_scan();
    bool load_matrix_teeth_data();
    bool load_common_matrix_file();
    void load_matrix_file(int number);
    bool loadFile();
    void load_point_file(size_t index);
    size_t read_points(detail::TextScanner& text);
    void caclPointCloudInfo();
    void calcQuadTag();
    void calcNorm();
    bool fillRangeData(int frame_id, int index);

    int columns_ = 0;
    int rows_ = 0;
    // Row by row up to the last pixel that a file of the run told of. Behind it there is no point.
    std::shared_ptr<std::vector<Vector3f>> points_;
    std::shared_ptr<std::vector<Vector3f>> normals_;
    std::shared_ptr<std::vector<char>> point_tags_;
    std::shared_ptr<std::vector<char>> quad_tags_;
    bool rt_file_with_12_params_ = false;
    std::vector<RangeData> mRangeDataArr;
    std::vector<OrvaneMat> mMatrixArr;
    std::vector<int> mRtFrameNumArr;
    std::vector<int> mRgeFrameNumArr;
    std::string data_input_dir_;
    std::string data_tmp_dir_;
    std::string point_cloud_prefix_;
    std::string point_cloud_suffix_;
    std::string rt_param_prefix_;
    std::string rt_param_suffix_;
    int first_frame_ = 0;
    int last_frame_ = 0;
    bool rt_param_store_type_ = true;
    bool has_frame_id_info_ = true;
    bool memory_allocated_ = false; ///< never set, so every `Initialize` takes memory
    bool six_columns_ = true;

    bool own_points_only_ = false;
    size_t largest_grid_ = 0;        ///< pixels that the arrays were made for
    std::vector<FrameInput> inputs_; ///< one for each entry of mRtFrameNumArr
};

} // namespace OrvaneAlgorithm
