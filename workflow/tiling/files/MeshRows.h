#pragma once

#include "workflow/files/OutputFile.h"
#include "workflow/tiling/files/TileMesh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace veld
{

/// A binary PLY file that is written row by row, of a mesh that nobody holds as a whole. Vertices
/// and faces may come in turns.
class MeshRows
{
public:
    MeshRows(OutputFile const& output, bool has_colours);
    ~MeshRows();
    MeshRows(MeshRows const&) = delete;
    MeshRows& operator=(MeshRows const&) = delete;

    /// \param v its place in the tile \return its row
    std::uint32_t add_vertex(TileMesh const& tile, std::size_t v);
    void add_face(std::array<std::uint32_t, 3> const& rows);

    /// Puts everything into the output.
    void finish();

    std::size_t vertices() const { return n_vertices_; }
    std::size_t faces() const { return n_faces_; }

private:
    std::string header() const;

    OutputFile const& output_;
    bool has_colours_;
    std::filesystem::path vertex_file_; ///< Both beside the output until it is complete.
    std::filesystem::path face_file_;
    std::ofstream vertex_rows_;
    std::ofstream face_rows_;
    std::size_t n_vertices_ = 0;
    std::size_t n_faces_ = 0;
};

} // namespace veld
