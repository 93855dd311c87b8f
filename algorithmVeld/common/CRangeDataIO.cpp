#include "algorithmVeld/common/CRangeDataIO.h"

#include "algorithmVeld/common/arrays/Channels.h"
#include "algorithmVeld/common/files/BinaryFile.h"
#include "algorithmVeld/common/files/limits.h"
#include "algorithmVeld/common/files/wide_path.h"

#include <array>
#include <cstdint>
#include <filesystem>

namespace OrvaneAlgorithm
{

namespace
{

using detail::BinaryReader;
using detail::BinaryWriter;

/// No text begins with it, and a transfer as text destroys it.
constexpr std::array<unsigned char, 8> SIGNATURE{0x89, 'V', 'R', 'G', 'E', '\r', '\n', 0x1a};
constexpr std::uint32_t VERSION = 1;

bool is_too_large(std::int64_t rows, std::int64_t columns)
{
    return rows > 0 && columns > 0 && rows * columns > detail::MOST_CELLS;
}

bool is_believable_grid(std::int64_t rows, std::int64_t columns)
{
    return rows >= 0 && columns >= 0 && !is_too_large(rows, columns);
}

std::string too_large_grid(RangeData const& frame)
{
    return "its grid of " + std::to_string(frame.grid_rows) + " x " +
           std::to_string(frame.grid_cols) + " cells is too large: more than " +
           std::to_string(detail::MOST_CELLS);
}

bool has_known_header(BinaryReader& reader)
{
    std::array<unsigned char, 8> signature{};
    reader.elements<unsigned char>(signature.data(), signature.size());
    auto const version = reader.scalar<std::uint32_t>();
    return signature == SIGNATURE && version == VERSION;
}

void write_header(BinaryWriter& writer)
{
    writer.elements<unsigned char>(SIGNATURE.data(), SIGNATURE.size());
    writer.scalar<std::uint32_t>(VERSION);
}

void read_grid_size(BinaryReader& reader, RangeData& frame)
{
    frame.grid_rows = reader.scalar<std::int32_t>();
    frame.grid_cols = reader.scalar<std::int32_t>();
    if (!is_believable_grid(frame.grid_rows, frame.grid_cols))
    {
        reader.fail();
    }
}

void write_grid_size(BinaryWriter& writer, RangeData const& frame)
{
    writer.scalar<std::int32_t>(frame.grid_rows);
    writer.scalar<std::int32_t>(frame.grid_cols);
}

/// Row by row, as one reads it.
using RowMajor3d = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

void read_pose(BinaryReader& reader, RigidMatrix& pose)
{
    RowMajor3d rotation = RowMajor3d::Identity();
    Vector3d translation = Vector3d::Zero();
    reader.elements<double>(rotation.data(), 9);
    reader.elements<double>(translation.data(), 3);
    pose.set_rotation(rotation);
    pose.set_translation(translation);
}

void write_pose(BinaryWriter& writer, RigidMatrix const& pose)
{
    RowMajor3d const rotation = pose.get_rotation();
    writer.elements<double>(rotation.data(), 9);
    writer.elements<double>(pose.get_translation().data(), 3);
}

void read_frame(BinaryReader& reader, RangeData& frame)
{
    read_grid_size(reader, frame);
    read_pose(reader, frame.pose);
    reader.array<float>(frame.vCoord);
    reader.array<std::int32_t>(frame.vUV);
    reader.array<char>(frame.cellFlag);
    detail::read_channel<float>(reader, frame.has_vNormal, frame.vNrv);
    detail::read_channel<float>(reader, frame.has_vColor, frame.vColor);
    detail::read_channel<unsigned char>(reader, frame.has_vFlag, frame.vFlag);
}

void write_frame(BinaryWriter& writer, RangeData const& frame)
{
    write_grid_size(writer, frame);
    write_pose(writer, frame.pose);
    writer.array<float>(frame.vCoord);
    writer.array<std::int32_t>(frame.vUV);
    writer.array<char>(frame.cellFlag);
    detail::write_channel<float>(writer, frame.has_vNormal, frame.vNrv);
    detail::write_channel<float>(writer, frame.has_vColor, frame.vColor);
    detail::write_channel<unsigned char>(writer, frame.has_vFlag, frame.vFlag);
}

} // namespace

int CRangeDataIO::read_rge(std::wstring const& path, RangeData& frame)
{
    std::string ignored;
    return read_rge(path, frame, ignored);
}

int CRangeDataIO::read_rge(std::wstring const& path, RangeData& frame, std::string& reason)
{
    frame = RangeData();
    reason.clear();
    std::filesystem::path file;
    bool const is_name = detail::path_from_wide(path, file);
    BinaryReader reader(file);
    if (!is_name || !reader.is_open())
    {
        reason = "it cannot be opened";
        return 1;
    }
    if (!has_known_header(reader))
    {
        reason = "it is no frame file of a known version";
        return 2;
    }
    RangeData whole;
    read_frame(reader, whole);
    if (!reader.finish())
    {
        reason = is_too_large(whole.grid_rows, whole.grid_cols) ? too_large_grid(whole)
                                                                : "the file is damaged";
        return 3;
    }
    frame = std::move(whole);
    return 0;
}

int CRangeDataIO::write_rge(std::wstring const& path, RangeData const& frame)
{
    std::error_code error;
    return write_rge(path, frame, error);
}

int CRangeDataIO::write_rge(std::wstring const& path, RangeData const& frame,
                            std::error_code& error)
{
    error.clear();
    std::filesystem::path file;
    if (frame.is_swapped_out() || !detail::path_from_wide(path, file) ||
        !is_believable_grid(frame.grid_rows, frame.grid_cols))
    {
        return 1;
    }
    BinaryWriter writer(file);
    write_header(writer);
    write_frame(writer, frame);
    bool const is_written = writer.finish();
    error = writer.error();
    return is_written ? 0 : 1;
}

} // namespace OrvaneAlgorithm
