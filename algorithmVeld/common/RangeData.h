#pragma once

#include "algorithmVeld/common/Cloud.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm
{

/// One frame of a scanner: points on an image grid, in the frame's own coordinates, with the pose
/// that takes them to global coordinates.
///
/// Normals and the grid have one sense: the corners (r, c), (r, c+1), (r+1, c+1) run against the
/// clock about the normals, which point along the step to the next column cross the step to the
/// next row. So where normals face the sensor and columns run to the right as it sees them, rows
/// run upwards.
class ALGORITHMVELD_API RangeData : public Cloud
{
public:
    /// A grid cell. Vertices that are added without one get (-1, -1), which is no cell.
    struct UVCoord
    {
        int row = 0; ///< downwards
        int col = 0; ///< to the right
    };

    RangeData() = default;
    RangeData(RangeData const&) = default;
    RangeData& operator=(RangeData const&) = default;
    RangeData(RangeData&& other) noexcept;
    RangeData& operator=(RangeData&& other) noexcept;
    ~RangeData() override = default;

    /// Removes the flagged vertices and takes the cell flag from cells that lose a corner.
    void squeeze() override;
    /// True if the cloud is legal, `vUV` and `cellFlag` have one entry for each vertex, every
    /// vertex has a cell inside the grid or none, every flagged cell has four corners, and the pose
    /// is finite.
    bool is_legal() const override;
    /// Repairs the cloud, takes cells outside the grid from their vertices and the flag from cells
    /// that lack a corner. A pose that is not finite becomes the identity.
    void repair_illegal() override;
    void reserve_vn(size_t n) override;
    void resize_vn(size_t n) override;
    void set_vCoords(std::vector<Vector3f> const& coords) override;
    size_t add_vCoord(Vector3f const& coord) override;
    /// Moves the frame in global coordinates: the pose is followed by the motion, and the points
    /// stay in the frame's own coordinates.
    void rigid_transformation(RigidMatrix const& motion) override;
    /// Mean of the positions in global coordinates; zero without vertices.
    Vector3f get_barycenter() const override;

    int grid_rows = 0;          ///< height of the grid
    int grid_cols = 0;          ///< width of the grid
    std::vector<UVCoord> vUV;   ///< grid cell of each vertex
    std::vector<char> cellFlag; ///< 1 if the cell whose top left corner is this vertex has all four
    RigidMatrix pose;           ///< frame to global coordinates

    /// Sets the size of the grid; negative numbers count as 0.
    void set_grid_size(int rows, int cols);
    /// Appends a vertex with its grid cell. \return its index
    size_t add_vCoord_and_vUV(Vector3f const& coord, UVCoord const& cell);
    /// Sets the pose.
    void set_rigidMatrix(RigidMatrix const& matrix) { pose = matrix; }
    /// The pose.
    RigidMatrix const& get_rigidMatrix() const { return pose; }

    // The next three throw `std::out_of_range` for an index that is too large.

    /// Position of a vertex after the pose.
    void get_global_vCoord(size_t i, Vector3f& out) const;
    /// Normal of a vertex, rotated by the pose.
    Vector3f get_global_vNrv(size_t i) const;
    /// Sets whether the cell to the right of and below a vertex has a face.
    void set_cellFlag(size_t vertex, char flag);

    /// Fills `map` (rows x columns) with the vertex index of each cell, -1 where there is none. A
    /// vertex whose cell lies outside the grid is left out; of two in one cell the later stays.
    void create_vertices_index_map(MatrixXi& map) const;

    /// Lists the cells whose `cellFlag` is 1 as quads of vertex indices, (r, c), (r, c+1),
    /// (r+1, c+1), (r+1, c), in the order of the vertices. A cell that lacks a corner is left out.
    void convert_to_quad(MatrixXi const& map, std::vector<std::vector<int>>& quads) const;
    /// The same without a map, which has an entry for each cell of the grid: the memory that this
    /// takes grows with the vertices, however large the grid says it is.
    void convert_to_quad(std::vector<std::vector<int>>& quads) const;

    /// Computes unit normals from the neighbours on the grid and switches their channel on. A
    /// vertex that has no neighbour in its row or none in its column gets a zero normal.
    void update_vNrv_from_grid();

protected:
    /// Swaps the contents of two frames.
    void exchange(RangeData& other) noexcept;
    /// Writes all content to the temporary file.
    void write_channels(detail::BinaryWriter& writer) const override;
    /// Reads what `write_channels` wrote.
    void read_channels(detail::BinaryReader& reader) override;
    void drop_content() override;
    void keep_vertices(std::vector<char> const& keep) override;

private:
    bool has_legal_cells() const;
    void drop_incomplete_cells();
};

/// Measures the mean distance between neighbours on the grid of a frame, to the right and below.
/// \param map as `create_vertices_index_map` makes it
/// \param mean the mean, in millimetres; 0 where there are no neighbours
/// \param sample_count how many vertices are looked at, spread evenly; all if there are fewer, or
///        if none of those looked at has a neighbour
/// \return 0 on success; 1 if `sample_count` is not positive or no vertex has a neighbour
ALGORITHMVELD_API int RangeData_compute_mean_distance(RangeData const& frame, MatrixXi const& map,
                                                      double& mean, int sample_count);
/// The same without a map, in memory that grows with the vertices and not with the grid.
ALGORITHMVELD_API int RangeData_compute_mean_distance(RangeData const& frame, double& mean,
                                                      int sample_count);

} // namespace OrvaneAlgorithm
