#pragma once

#include "workflow/files/OutputFile.h"
#include "workflow/tiling/files/TileMesh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace veld
{

/// Refuses what cannot be the mesh of tiles, before the work: another format, and a file that the
/// mesh is made of.
void check_mesh_output(OutputFile const& output, std::vector<std::filesystem::path> const& inputs);

/// Bytes that go to a file of their own first, and from there into the output. Each call throws
/// `OperationError` with the output's name and the system's reason where it fails.
class RowFile
{
public:
    /// \param what behind the output's name tells the file
    RowFile(OutputFile const& output, char const* what);
    ~RowFile();
    RowFile(RowFile const&) = delete;
    RowFile& operator=(RowFile const&) = delete;

    void write(void const* data, std::size_t n);

    /// Hands all to the system, so that a full disk is known now.
    void flush();

    std::uint64_t size() const { return size_; }

    /// Calls `take` with one block after the other of what was written.
    void read_back(std::function<void(char const*, std::size_t)> const& take);

private:
    [[noreturn]] void fail() const;

    OutputFile const& output_;
    std::filesystem::path path_; ///< beside the output's until that is complete
    std::ofstream stream_;
    std::uint64_t size_ = 0;
};

/// A binary PLY file that is written row by row, of a mesh that nobody holds as a whole. Vertices
/// and faces may come in turns.
class MeshRows
{
public:
    MeshRows(OutputFile const& output, bool has_colours);

    /// \param v its place in the tile \return its row
    std::uint32_t add_vertex(TileMesh const& tile, std::size_t v);
    void add_face(std::array<std::uint32_t, 3> const& rows);

    /// Hands the rows so far to the system.
    void flush();

    /// Puts everything into the output.
    void finish();

    std::size_t vertices() const { return n_vertices_; }
    std::size_t faces() const { return n_faces_; }

private:
    std::string header() const;

    OutputFile const& output_;
    bool has_colours_;
    RowFile vertex_rows_;
    RowFile face_rows_;
    std::size_t n_vertices_ = 0;
    std::size_t n_faces_ = 0;
};

} // namespace veld
