#include "algorithmVeld/common/RangeData.h"

#include "algorithmVeld/common/arrays/Channels.h"
#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/common/arrays/GridNormal.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

constexpr RangeData::UVCoord NO_CELL{-1, -1};

/// The vertex of a grid cell; -1 outside the map, without a vertex or with one that is not there.
int vertex_at(MatrixXi const& map, long long row, long long col, size_t n_vertices)
{
    if (row < 0 || col < 0 || row >= map.rows() || col >= map.cols())
    {
        return -1;
    }
    int const vertex = map(row, col);
    return vertex >= 0 && static_cast<size_t>(vertex) < n_vertices ? vertex : -1;
}

int vertex_at(detail::GridMap const& map, long long row, long long col, size_t /*n_vertices*/)
{
    return map(row, col);
}

/// The corners of the cell whose top left one is `cell`, against the clock about the normals; -1
/// where there is no vertex.
template <typename Map>
std::array<int, 4> cell_corners(Map const& map, RangeData::UVCoord const& cell, size_t n)
{
    long long const r = cell.row;
    long long const c = cell.col;
    return {{vertex_at(map, r, c, n), vertex_at(map, r, c + 1, n), vertex_at(map, r + 1, c + 1, n),
             vertex_at(map, r + 1, c, n)}};
}

bool is_complete(std::array<int, 4> const& corners)
{
    return std::all_of(corners.begin(), corners.end(), [](int v) { return v >= 0; });
}

struct DistanceSum
{
    double sum = 0.0;
    size_t count = 0;
};

void add_distance(RangeData const& frame, int a, int b, DistanceSum& total)
{
    if (a < 0 || b < 0)
    {
        return;
    }
    double const distance = (frame.vCoord[static_cast<size_t>(a)].cast<double>() -
                             frame.vCoord[static_cast<size_t>(b)].cast<double>())
                                .norm();
    if (std::isfinite(distance))
    {
        total.sum += distance;
        ++total.count;
    }
}

/// Distances from `samples` evenly spread vertices to their neighbours to the right and below.
template <typename Map>
DistanceSum sample_distances(RangeData const& frame, Map const& map, size_t samples)
{
    DistanceSum total;
    size_t const n = std::min(frame.get_vn(), frame.vUV.size());
    for (size_t k = 0; k < samples; ++k)
    {
        auto const corners = cell_corners(map, frame.vUV[k * n / samples], frame.get_vn());
        add_distance(frame, corners[0], corners[1], total);
        add_distance(frame, corners[0], corners[3], total);
    }
    return total;
}

template <typename Map>
int mean_distance(RangeData const& frame, Map const& map, double& mean, int sample_count)
{
    mean = 0.0;
    size_t const n = std::min(frame.get_vn(), frame.vUV.size());
    if (sample_count <= 0)
    {
        return 1;
    }
    DistanceSum total =
        sample_distances(frame, map, std::min(n, static_cast<size_t>(sample_count)));
    if (total.count == 0)
    {
        total = sample_distances(frame, map, n);
    }
    if (total.count == 0)
    {
        return 1;
    }
    mean = total.sum / static_cast<double>(total.count);
    return 0;
}

template <typename Map>
void list_quads(RangeData const& frame, Map const& map, std::vector<std::vector<int>>& quads)
{
    quads.clear();
    size_t const n = frame.get_vn();
    detail::CancelPoll poll;
    for (size_t i = 0; i < n && i < frame.vUV.size() && i < frame.cellFlag.size(); ++i)
    {
        poll.next();
        if (frame.cellFlag[i] != 1)
        {
            continue;
        }
        auto const corners = cell_corners(map, frame.vUV[i], n);
        // Of two vertices in one cell only the one that the map holds stands for it.
        if (is_complete(corners) && corners[0] == static_cast<int>(i))
        {
            quads.emplace_back(corners.begin(), corners.end());
        }
    }
}

} // namespace

RangeData::RangeData(RangeData&& other) noexcept
{
    exchange(other);
}

RangeData& RangeData::operator=(RangeData&& other) noexcept
{
    RangeData taken(std::move(other));
    exchange(taken);
    return *this;
}

void RangeData::exchange(RangeData& other) noexcept
{
    Cloud::exchange(other);
    std::swap(grid_rows, other.grid_rows);
    std::swap(grid_cols, other.grid_cols);
    vUV.swap(other.vUV);
    cellFlag.swap(other.cellFlag);
    std::swap(pose, other.pose);
}

void RangeData::write_channels(detail::BinaryWriter& writer) const
{
    Cloud::write_channels(writer);
    writer.scalar<std::int32_t>(grid_rows);
    writer.scalar<std::int32_t>(grid_cols);
    writer.array<std::int32_t>(vUV);
    writer.array<char>(cellFlag);
    writer.elements<double>(pose.get_rotation().data(), 9);
    writer.elements<double>(pose.get_translation().data(), 3);
}

void RangeData::read_channels(detail::BinaryReader& reader)
{
    Cloud::read_channels(reader);
    grid_rows = reader.scalar<std::int32_t>();
    grid_cols = reader.scalar<std::int32_t>();
    reader.array<std::int32_t>(vUV);
    reader.array<char>(cellFlag);
    Matrix3d rotation = Matrix3d::Identity();
    Vector3d translation = Vector3d::Zero();
    reader.elements<double>(rotation.data(), 9);
    reader.elements<double>(translation.data(), 3);
    pose.set_rotation(rotation);
    pose.set_translation(translation);
}

void RangeData::drop_content()
{
    Cloud::drop_content();
    grid_rows = 0;
    grid_cols = 0;
    detail::release_memory(vUV);
    detail::release_memory(cellFlag);
    pose = RigidMatrix();
}

void RangeData::squeeze()
{
    size_t const before = get_vn();
    Cloud::squeeze();
    if (get_vn() != before)
    {
        drop_incomplete_cells();
    }
}

void RangeData::keep_vertices(std::vector<char> const& keep)
{
    Cloud::keep_vertices(keep);
    detail::keep_marked(vUV, keep);
    detail::keep_marked(cellFlag, keep);
}

void RangeData::drop_incomplete_cells()
{
    detail::GridMap const map(*this);
    for (size_t i = 0; i < vUV.size() && i < cellFlag.size(); ++i)
    {
        if (cellFlag[i] == 1 && !is_complete(cell_corners(map, vUV[i], get_vn())))
        {
            cellFlag[i] = 0;
        }
    }
}

bool RangeData::has_legal_cells() const
{
    auto const is_legal_cell = [this](UVCoord const& cell)
    {
        bool const none = cell.row == NO_CELL.row && cell.col == NO_CELL.col;
        return none ||
               (cell.row >= 0 && cell.row < grid_rows && cell.col >= 0 && cell.col < grid_cols);
    };
    if (!std::all_of(vUV.begin(), vUV.end(), is_legal_cell))
    {
        return false;
    }
    detail::GridMap const map(*this);
    for (size_t i = 0; i < get_vn(); ++i)
    {
        if (cellFlag[i] == 1 && !is_complete(cell_corners(map, vUV[i], get_vn())))
        {
            return false;
        }
    }
    return true;
}

bool RangeData::is_legal() const
{
    return Cloud::is_legal() && grid_rows >= 0 && grid_cols >= 0 && vUV.size() == get_vn() &&
           cellFlag.size() == get_vn() && pose.get_rotation().allFinite() &&
           pose.get_translation().allFinite() && has_legal_cells();
}

void RangeData::repair_illegal()
{
    set_grid_size(grid_rows, grid_cols);
    vUV.resize(get_vn(), NO_CELL);
    cellFlag.resize(get_vn(), 0);
    Cloud::repair_illegal();
    for (auto& cell : vUV)
    {
        bool const inside =
            cell.row >= 0 && cell.row < grid_rows && cell.col >= 0 && cell.col < grid_cols;
        cell = inside ? cell : NO_CELL;
    }
    drop_incomplete_cells();
    if (!pose.get_rotation().allFinite() || !pose.get_translation().allFinite())
    {
        pose = RigidMatrix();
    }
}

void RangeData::reserve_vn(size_t n)
{
    Cloud::reserve_vn(n);
    vUV.reserve(n);
    cellFlag.reserve(n);
}

void RangeData::resize_vn(size_t n)
{
    Cloud::resize_vn(n);
    vUV.resize(n, NO_CELL);
    cellFlag.resize(n, 0);
}

void RangeData::set_vCoords(std::vector<Vector3f> const& coords)
{
    Cloud::set_vCoords(coords);
}

size_t RangeData::add_vCoord(Vector3f const& coord)
{
    return Cloud::add_vCoord(coord);
}

size_t RangeData::add_vCoord_and_vUV(Vector3f const& coord, UVCoord const& cell)
{
    UVCoord const copy = cell;
    size_t const index = add_vCoord(coord);
    vUV[index] = copy;
    return index;
}

void RangeData::rigid_transformation(RigidMatrix const& motion)
{
    RigidMatrix moved;
    moved.set_rotation(motion.get_rotation() * pose.get_rotation());
    moved.set_translation(motion.get_rotation() * pose.get_translation() +
                          motion.get_translation());
    pose = moved;
}

Vector3f RangeData::get_barycenter() const
{
    return vCoord.empty() ? Vector3f(Vector3f::Zero()) : pose * Cloud::get_barycenter();
}

void RangeData::set_grid_size(int rows, int cols)
{
    grid_rows = std::max(rows, 0);
    grid_cols = std::max(cols, 0);
}

void RangeData::set_cellFlag(size_t vertex, char flag)
{
    detail::at(cellFlag, vertex) = flag;
}

void RangeData::get_global_vCoord(size_t i, Vector3f& out) const
{
    out = pose * detail::at(vCoord, i);
}

Vector3f RangeData::get_global_vNrv(size_t i) const
{
    return pose.transform_normal(detail::at(vNrv, i));
}

void RangeData::create_vertices_index_map(MatrixXi& map) const
{
    map.setConstant(std::max(grid_rows, 0), std::max(grid_cols, 0), -1);
    for (size_t i = 0; i < get_vn() && i < vUV.size(); ++i)
    {
        UVCoord const& cell = vUV[i];
        if (cell.row >= 0 && cell.row < grid_rows && cell.col >= 0 && cell.col < grid_cols)
        {
            map(cell.row, cell.col) = static_cast<int>(i);
        }
    }
}

void RangeData::convert_to_quad(MatrixXi const& map, std::vector<std::vector<int>>& quads) const
{
    list_quads(*this, map, quads);
}

void RangeData::convert_to_quad(std::vector<std::vector<int>>& quads) const
{
    list_quads(*this, detail::GridMap(*this), quads);
}

void RangeData::update_vNrv_from_grid()
{
    detail::GridMap const map(*this);
    vNrv.assign(get_vn(), Vector3f::Zero());
    has_vNormal = true;
    for (size_t i = 0; i < get_vn() && i < vUV.size(); ++i)
    {
        vNrv[i] = detail::grid_normal(*this, map, i);
    }
}

int RangeData_compute_mean_distance(RangeData const& frame, MatrixXi const& map, double& mean,
                                    int sample_count)
{
    return mean_distance(frame, map, mean, sample_count);
}

int RangeData_compute_mean_distance(RangeData const& frame, double& mean, int sample_count)
{
    return mean_distance(frame, detail::GridMap(frame), mean, sample_count);
}

} // namespace OrvaneAlgorithm
