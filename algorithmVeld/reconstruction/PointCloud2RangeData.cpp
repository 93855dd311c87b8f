#include "algorithmVeld/reconstruction/PointCloud2RangeData.h"

#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/files/limits.h"
#include "algorithmVeld/common/files/series_name.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/frames/TextScanner.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <stdexcept>

namespace OrvaneAlgorithm
{

namespace
{

using detail::TextScanner;

/// Words and header lines are read in pieces of this length.
constexpr size_t LONGEST_TEXT = 511;

// Where the values of the three forms of a pose go in a matrix by rows.
constexpr std::array<int, 12> ROTATION_THEN_TRANSLATION{0, 1, 2, 4, 5, 6, 8, 9, 10, 3, 7, 11};
constexpr std::array<int, 12> THREE_ROWS{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
constexpr std::array<int, 16> FOUR_ROWS{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

/// The number that begins at the first digit of a line; the largest `int` if it is larger.
int number_in(std::string const& line)
{
    auto const found = detail::first_number(line);
    if (!found)
    {
        throw std::out_of_range("invalid string position");
    }
    return found->value;
}

bool is_point(Vector3f const& point)
{
    // False for a point with a NaN, too.
    return static_cast<double>(std::abs(point.x()) + std::abs(point.y()) + std::abs(point.z())) >
           1e-5;
}

} // namespace

void PointCloud2RangeData::set_ImageSize(int rows, int columns)
{
    columns_ = columns;
    rows_ = rows;
}

void PointCloud2RangeData::set_PointCloudName(std::string const& prefix, std::string const& suffix)
{
    point_cloud_prefix_ = prefix;
    point_cloud_suffix_ = suffix;
}

void PointCloud2RangeData::set_RtParamName(std::string const& prefix, std::string const& suffix)
{
    rt_param_prefix_ = prefix;
    rt_param_suffix_ = suffix;
}

void PointCloud2RangeData::set_FrameIdInfo(int first, int last)
{
    first_frame_ = first;
    last_frame_ = last;
}

void PointCloud2RangeData::Initialize()
{
    detail::log("PointCloud2RangeData::Initialize() ..\n");
    if (!memory_allocated_)
    {
        allocMemSpace();
    }
}

size_t PointCloud2RangeData::pixels() const
{
    return static_cast<size_t>(std::max(rows_, 0)) * static_cast<size_t>(std::max(columns_, 0));
}

bool PointCloud2RangeData::is_grid_too_large() const
{
    return pixels() > static_cast<size_t>(detail::MOST_CELLS);
}

void PointCloud2RangeData::allocMemSpace()
{
    freeMemSpace();
    if (is_grid_too_large())
    {
        return;
    }
    points_ = std::make_shared<std::vector<Vector3f>>();
    normals_ = std::make_shared<std::vector<Vector3f>>();
    point_tags_ = std::make_shared<std::vector<char>>();
    quad_tags_ = std::make_shared<std::vector<char>>();
    largest_grid_ = pixels();
}

void PointCloud2RangeData::freeMemSpace()
{
    points_.reset();
    normals_.reset();
    point_tags_.reset();
    quad_tags_.reset();
    largest_grid_ = 0;
}

bool PointCloud2RangeData::processPointCloud()
{
    detail::log("PointCloud2RangeData::processPointCloud() ..\n");
    {
        detail::StepTimer const step("PC2RD-load-data");
        {
            detail::StepTimer const matrices("load-matrix-files", "PC2RD-load-data");
            rt_file_with_12_params_ ? load_matrix_pro_scan() : load_matrix_teeth_data();
        }
        detail::StepTimer const clouds("load-point-cloud-files", "PC2RD-load-data");
        loadFile();
    }
    if (mRtFrameNumArr.size() == mRgeFrameNumArr.size() &&
        mRangeDataArr.size() == mMatrixArr.size() && mRangeDataArr.size() == mRtFrameNumArr.size())
    {
        return true;
    }
    detail::log("  !!!error in file number.\n");
    detail::log("    mRtFrameNumArr.size():   %d\n", static_cast<int>(mRtFrameNumArr.size()));
    detail::log("    mRgeFrameNumArr.size():  %d\n", static_cast<int>(mRgeFrameNumArr.size()));
    detail::log("    mRangeDataArr.size():    %d\n", static_cast<int>(mRangeDataArr.size()));
    detail::log("    mMatrixArr.size():       %d\n", static_cast<int>(mMatrixArr.size()));
    return false;
}

RangeData& PointCloud2RangeData::get_rangeData(int index)
{
    if (index < 0 || static_cast<size_t>(index) >= mRangeDataArr.size())
    {
        detail::log("  !!!error: index is out of range.\n");
    }
    return detail::at(mRangeDataArr, static_cast<size_t>(index));
}

int PointCloud2RangeData::get_frame_id(int index) const
{
    if (index < 0 || static_cast<size_t>(index) >= mRtFrameNumArr.size())
    {
        detail::log("  !!!error: frame index is out of range.\n");
    }
    return detail::at(mRtFrameNumArr, static_cast<size_t>(index));
}

PointCloud2RangeData::FrameInput const& PointCloud2RangeData::get_frame_input(int index) const
{
    return detail::at(inputs_, static_cast<size_t>(index));
}

void PointCloud2RangeData::add_frame(int number)
{
    mRtFrameNumArr.push_back(number);
    inputs_.emplace_back();
}

template <std::size_t n>
PointCloud2RangeData::OrvaneMat
PointCloud2RangeData::read_matrix(TextScanner& text, std::array<int, n> const& places, int& missing)
{
    OrvaneMat matrix;
    missing = static_cast<int>(n);
    for (int const place : places)
    {
        if (!text.next(matrix.values[static_cast<size_t>(place)]))
        {
            break;
        }
        --missing;
    }
    return matrix;
}

bool PointCloud2RangeData::load_matrix_pro_scan()
{
    detail::log("load_matrix_pro_scan() ..\n");
    mMatrixArr.clear();
    for (long long number = first_frame_; number <= last_frame_; ++number)
    {
        detail::poll_cancel();
        int const id = static_cast<int>(number);
        std::string const path =
            detail::series_name(data_input_dir_, rt_param_prefix_, id, rt_param_suffix_);
        TextScanner text(path);
        // Told whether or not there is such a file.
        detail::log("  # loading '%s'.\n", path.c_str());
        if (!text.is_open())
        {
            detail::log("  ! fail to read Rt param of frame %4d\n", id);
            continue;
        }
        add_frame(id);
        OrvaneMat matrix =
            read_matrix(text, ROTATION_THEN_TRANSLATION, inputs_.back().pose_values_missing);
        matrix.curFrameId = id;
        mMatrixArr.push_back(matrix);
    }
    if (mMatrixArr.empty())
    {
        detail::log("  # fail to load any matrix.\n");
        return false;
    }
    return true;
}

bool PointCloud2RangeData::load_matrix_teeth_data()
{
    detail::log("load_matrix_teeth_data() ..\n");
    mMatrixArr.clear();
    if (rt_param_store_type_)
    {
        return load_common_matrix_file();
    }
    for (long long number = first_frame_; number <= last_frame_; ++number)
    {
        detail::poll_cancel();
        load_matrix_file(static_cast<int>(number));
    }
    return true;
}

bool PointCloud2RangeData::load_common_matrix_file()
{
    std::string const path = data_input_dir_ + "/" + rt_param_prefix_ + rt_param_suffix_;
    TextScanner text(path);
    if (!text.is_open())
    {
        if (gPH.log_enabled)
        {
            gLH.print_past_log("fail to read '" + path + "'.\n");
        }
        return true;
    }
    while (text.skip_word(LONGEST_TEXT))
    {
        detail::poll_cancel();
        int id = 0;
        bool const has_id = text.next(id);
        int missing = 0;
        OrvaneMat matrix = read_matrix(text, THREE_ROWS, missing);
        matrix.curFrameId = id;
        mMatrixArr.push_back(matrix);
        add_frame(id);
        inputs_.back().pose_values_missing = has_id ? missing : static_cast<int>(THREE_ROWS.size());
    }
    return true;
}

void PointCloud2RangeData::load_matrix_file(int number)
{
    std::string const path =
        detail::series_name(data_input_dir_, rt_param_prefix_, number, rt_param_suffix_);
    TextScanner text(path);
    detail::log("  loading '%s'.\n", path.c_str());
    if (!text.is_open())
    {
        detail::log("  fail to read Rt param of frame %4d\n", number);
        return;
    }
    add_frame(number);
    int id = number;
    if (has_frame_id_info_)
    {
        number_in(text.line(LONGEST_TEXT)); // has to be a number, which means nothing here
        id = number_in(text.line(LONGEST_TEXT));
    }
    OrvaneMat matrix = read_matrix(text, FOUR_ROWS, inputs_.back().pose_values_missing);
    matrix.curFrameId = id;
    mMatrixArr.push_back(matrix);
}

bool PointCloud2RangeData::loadFile()
{
    detail::log("PointCloud2RangeData::loadFile() ..\n");
    if (is_grid_too_large())
    {
        detail::log("  !!!error: a grid of %d x %d has more than %lld pixels.\n", rows_, columns_,
                    static_cast<long long>(detail::MOST_CELLS));
        return false;
    }
    // Arrays of a smaller grid are as good as none.
    if (points_ == nullptr || largest_grid_ < pixels())
    {
        if (gPH.log_enabled)
        {
            gLH.print_past_log("  !!!error: memory uninitialized.\n");
        }
        return false;
    }
    // Only here: what a short file does not hold stays as the frame before left it.
    points_->clear();
    mRangeDataArr.resize(mRtFrameNumArr.size());
    mRgeFrameNumArr.resize(mRtFrameNumArr.size());
    std::set<int> seen;
    detail::Progress progress(mRtFrameNumArr.size());
    for (size_t i = 0; i < mRtFrameNumArr.size(); ++i)
    {
        progress.advance(0);
        if (!own_points_only_ || seen.insert(mRtFrameNumArr[i]).second)
        {
            load_point_file(i);
        }
        progress.advance();
    }
    return true;
}

void PointCloud2RangeData::load_point_file(size_t index)
{
    int const number = mRtFrameNumArr[index];
    FrameInput& input = inputs_[index];
    std::string const path =
        detail::series_name(data_input_dir_, point_cloud_prefix_, number, point_cloud_suffix_);
    detail::log("  loading '%s'.\n", path.c_str());
    TextScanner text(path);
    input.has_points = text.is_open();
    if (!text.is_open())
    {
        detail::log("  !!!fail to read cloud of frame %4d\n", number);
        return;
    }
    if (own_points_only_)
    {
        points_->clear();
    }
    input.points_read = read_points(text);
    if (own_points_only_)
    {
        points_->resize(input.points_read);
    }
    caclPointCloudInfo();
    input.has_pose = fillRangeData(number, static_cast<int>(index));
    if (!input.has_pose)
    {
        detail::log("  fail to get matrix of frame %d.\n", number);
        return;
    }
    mRgeFrameNumArr[index] = number;
    if (gPH.log_enabled)
    {
        detail::StepTimer const step("pc2rd-create-image");
        // The index, and not the frame's number.
        detail::log("  frame [%4d] valid vertices:  %8d\n", static_cast<int>(index),
                    static_cast<int>(mRangeDataArr[index].get_vn()));
    }
}

/// Reads the records of a frame. \return how many were read as a whole
size_t PointCloud2RangeData::read_points(TextScanner& text)
{
    int const columns = six_columns_ ? 6 : 3;
    std::vector<Vector3f>& points = *points_;
    size_t const n = pixels();
    detail::CancelPoll poll;
    for (size_t i = 0; i < n; ++i)
    {
        poll.next();
        for (int k = 0; k < columns; ++k)
        {
            float value = 0;
            if (!text.next(value))
            {
                return i;
            }
            if (i == points.size())
            {
                points.emplace_back(Vector3f::Zero());
            }
            if (k < 3)
            {
                points[i][k] = value;
            }
        }
    }
    return n;
}

void PointCloud2RangeData::caclPointCloudInfo()
{
    calcQuadTag();
    calcNorm();
}

void PointCloud2RangeData::calcQuadTag()
{
    std::vector<Vector3f> const& points = *points_;
    std::vector<char>& tags = *point_tags_;
    tags.resize(points.size());
    std::transform(points.begin(), points.end(), tags.begin(),
                   [](Vector3f const& point) { return static_cast<char>(is_point(point)); });
    quad_tags_->assign(points.size(), 0);
    auto const width = static_cast<size_t>(std::max(columns_, 0));
    // The corners below the last row that was read hold no point.
    for (size_t row = 0; row + width + 1 < tags.size(); row += width)
    {
        for (size_t i = row; i + 1 < row + width && i + width + 1 < tags.size(); ++i)
        {
            bool const complete = tags[i] == 1 && tags[i + 1] == 1 && tags[i + width] == 1 &&
                                  tags[i + width + 1] == 1;
            (*quad_tags_)[i] = static_cast<char>(complete);
        }
    }
}

/// Normals of the complete cells, not of unit length. The frames do not carry them.
void PointCloud2RangeData::calcNorm()
{
    std::vector<Vector3f> const& points = *points_;
    normals_->assign(points.size(), Vector3f(Vector3f::Zero()));
    for (size_t i = 0; i < points.size(); ++i)
    {
        if ((*quad_tags_)[i] == 1)
        {
            Vector3f const from_right = points[i] - points[i + 1];
            Vector3f const from_below = points[i] - points[i + static_cast<size_t>(columns_)];
            (*normals_)[i] = from_right.cross(from_below);
        }
    }
}

bool PointCloud2RangeData::fillRangeData(int frame_id, int index)
{
    RangeData frame;
    frame.set_grid_size(rows_, columns_);
    std::vector<char> const& tags = *point_tags_;
    auto const width = static_cast<size_t>(std::max(columns_, 0));
    detail::CancelPoll poll;
    frame.reserve_vn(static_cast<size_t>(std::count(tags.begin(), tags.end(), 1)));
    for (size_t i = 0; i < tags.size(); ++i)
    {
        poll.next();
        if (tags[i] == 1)
        {
            size_t const vertex = frame.add_vCoord_and_vUV(
                (*points_)[i], {static_cast<int>(i / width), static_cast<int>(i % width)});
            frame.set_cellFlag(vertex, (*quad_tags_)[i]);
        }
    }
    // After a second run the list holds more frames than there are poses.
    if (static_cast<size_t>(index) >= mMatrixArr.size())
    {
        return false;
    }
    OrvaneMat const& matrix = mMatrixArr[static_cast<size_t>(index)];
    if (matrix.curFrameId != frame_id)
    {
        detail::log("orvaneMat.curFrameId (%d) != frameId (%d)\n", matrix.curFrameId, frame_id);
        return false;
    }
    using Matrix4f = Eigen::Matrix<float, 4, 4, Eigen::RowMajor>;
    auto const rows = Eigen::Map<Matrix4f const>(matrix.values.data()).cast<double>().eval();
    RigidMatrix pose;
    pose.set_rotation(rows.topLeftCorner<3, 3>());
    pose.set_translation(rows.topRightCorner<3, 1>());
    frame.set_rigidMatrix(pose);
    mRangeDataArr[static_cast<size_t>(index)] = std::move(frame);
    return true;
}

} // namespace OrvaneAlgorithm
