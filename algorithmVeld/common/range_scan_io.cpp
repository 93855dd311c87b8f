#include "algorithmVeld/common/range_scan_io.h"

#include "algorithmVeld/common/files/WholeFile.h"
#include "algorithmVeld/common/files/limits.h"
#include "algorithmVeld/common/mesh_files/PlyFile.h"

#include <algorithm>

namespace OrvaneAlgorithm
{

namespace
{

using namespace detail::ply;
using detail::FileError;
using detail::MeshSoup;

constexpr char GRID[] = "range_grid"; // the element
constexpr int NO_VERTEX = -1;

struct GridSize
{
    std::int64_t rows = -1;
    std::int64_t columns = -1;

    std::uint64_t cells() const { return static_cast<std::uint64_t>(rows * columns); }
};

/// The number behind a key of the header's info lines.
std::int64_t info_number(Header const& header, std::string_view key)
{
    for (auto const line : header.infos)
    {
        detail::TextCursor text(line);
        text.next_line();
        std::int64_t number = -1;
        if (text.next_word() == key && detail::parse_number(text.next_word(), number) &&
            number >= 0)
        {
            return number;
        }
    }
    throw FileError("has no line 'obj_info " + std::string(key) + "' with a number of cells");
}

GridSize grid_size(Header const& header)
{
    GridSize size;
    size.rows = info_number(header, "num_rows");
    size.columns = info_number(header, "num_cols");
    if (size.rows > 0 && size.columns > detail::MOST_CELLS / size.rows)
    {
        throw FileError("has a grid of " + std::to_string(size.rows) + " x " +
                        std::to_string(size.columns) + " cells, which is too large: more than " +
                        std::to_string(detail::MOST_CELLS));
    }
    return size;
}

bool is_grid(Element const& element)
{
    return element.name == GRID;
}

void check_elements(Header const& header, GridSize const& size)
{
    auto const& elements = header.elements;
    auto const grid = std::find_if(elements.begin(), elements.end(), is_grid);
    auto const is_vertex = [](Element const& element) { return element.name == "vertex"; };
    if (std::count_if(elements.begin(), elements.end(), is_vertex) != 1 ||
        std::count_if(elements.begin(), elements.end(), is_grid) != 1)
    {
        throw FileError("does not declare one list of vertices and one range grid");
    }
    if (grid->properties.size() != 1 || !grid->properties.front().list_count)
    {
        throw FileError("has a range grid that is no list of vertices");
    }
    if (grid->rows != size.cells())
    {
        throw FileError("has a range grid of " + std::to_string(grid->rows) +
                        " cells, but rows and columns for " + std::to_string(size.cells()));
    }
}

/// The vertex of each cell, row by row.
template <typename Source>
std::vector<int> read_grid(Source& source, Element const& element)
{
    std::vector<int> grid;
    auto const most = source.most_rows(1);
    grid.reserve(static_cast<std::size_t>(std::min(element.rows, most)));
    auto const& property = element.properties.front();
    detail::LoopProgress progress(static_cast<std::size_t>(element.rows));
    for (Row row{&element, 0}; row.number < element.rows; ++row.number)
    {
        progress.next();
        source.begin_row(row);
        auto const n = list_size(source, property, row);
        if (n > 1)
        {
            throw FileError(row.name() + " has more than one vertex");
        }
        grid.push_back(n == 0 ? NO_VERTEX : vertex_index(source.number(property.type), row));
        if (n == 1 && grid.back() < 0)
        {
            throw FileError(row.name() + " names a vertex that is not there");
        }
        source.end_row();
    }
    return grid;
}

void check_grid(std::vector<int> const& grid, std::size_t n_vertices)
{
    std::vector<char> is_used(n_vertices, 0);
    detail::CancelPoll poll;
    for (std::size_t i = 0; i < grid.size(); ++i)
    {
        poll.next();
        if (grid[i] == NO_VERTEX)
        {
            continue;
        }
        auto const vertex = static_cast<std::size_t>(grid[i]);
        if (vertex >= n_vertices || is_used[vertex] != 0)
        {
            throw FileError("range_grid " + std::to_string(i) + " names a vertex that is " +
                            (vertex >= n_vertices ? "not there" : "in another cell"));
        }
        is_used[vertex] = 1;
    }
}

bool is_complete(std::vector<int> const& grid, GridSize const& size, std::int64_t row,
                 std::int64_t column)
{
    auto const is_set = [&](std::int64_t r, std::int64_t c)
    { return grid[static_cast<std::size_t>(r * size.columns + c)] != NO_VERTEX; };
    return row + 1 < size.rows && column + 1 < size.columns && is_set(row, column) &&
           is_set(row, column + 1) && is_set(row + 1, column + 1) && is_set(row + 1, column);
}

RangeData frame_of(MeshSoup const& soup, std::vector<int> const& grid, GridSize const& size)
{
    RangeData frame;
    frame.set_grid_size(static_cast<int>(size.rows), static_cast<int>(size.columns));
    if (!soup.colors.empty())
    {
        frame.enable_vColor();
    }
    frame.reserve_vn(std::min(soup.points.size(), grid.size()));
    detail::CancelPoll poll;
    for (std::size_t i = 0; i < grid.size(); ++i)
    {
        poll.next();
        if (grid[i] == NO_VERTEX)
        {
            continue;
        }
        auto const from = static_cast<std::size_t>(grid[i]);
        auto const row = static_cast<std::int64_t>(i) / size.columns;
        auto const column = static_cast<std::int64_t>(i) % size.columns;
        auto const vertex = frame.add_vCoord_and_vUV(
            soup.points[from], {static_cast<int>(row), static_cast<int>(column)});
        frame.set_cellFlag(vertex, static_cast<char>(is_complete(grid, size, row, column)));
        if (frame.has_vColor)
        {
            frame.vColor[vertex] = soup.colors[from];
        }
    }
    return frame;
}

RangeData read_scan(std::string const& content)
{
    auto const header = parse_header(content);
    auto const size = grid_size(header);
    check_elements(header, size);
    MeshSoup soup;
    std::vector<int> grid;
    read_body(header, soup, GRID,
              [&](auto& source, Element const& element) { grid = read_grid(source, element); });
    check_grid(grid, soup.points.size());
    detail::clean_attributes(soup);
    return frame_of(soup, grid, size);
}

} // namespace

bool read_range_ply(std::string const& path, RangeData& frame, std::string& error)
{
    frame = RangeData();
    error = detail::error_of(path, [&] { frame = read_scan(detail::file_content(path)); });
    return error.empty();
}

} // namespace OrvaneAlgorithm
