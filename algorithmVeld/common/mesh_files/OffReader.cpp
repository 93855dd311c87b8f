#include "algorithmVeld/common/files/ByteCursor.h"
#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/mesh_files/MeshReaders.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <limits>

namespace OrvaneAlgorithm::detail
{

namespace
{

struct Header
{
    bool texcoords = false;
    bool colors = false;
    bool normals = false;
    bool binary = false;
};

/// Goes to the next line that has a word and is no comment. \return false if there is none
bool next_content_line(TextCursor& text)
{
    do
    {
        if (!text.next_line_with_words())
        {
            return false;
        }
    } while (text.rest_of_line().front() == '#');
    return true;
}

/// The first line: the letters before OFF say what a vertex has beside its position.
Header parse_header(TextCursor& text)
{
    char const* const foreign = "is not an OFF file";
    next_content_line(text);
    auto const keyword = text.next_word();
    if (keyword.size() < 3 || keyword.substr(keyword.size() - 3) != "OFF")
    {
        throw FileError(foreign);
    }
    Header header;
    for (char const letter : keyword.substr(0, keyword.size() - 3))
    {
        switch (letter)
        {
        case 'S':
        case 'T':
            header.texcoords = true;
            break;
        case 'C':
            header.colors = true;
            break;
        case 'N':
            header.normals = true;
            break;
        default:
            throw FileError(foreign);
        }
    }
    TextCursor ahead = text;
    header.binary = ahead.next_word() == "BINARY";
    return header;
}

[[noreturn]] void refuse_end(char const* element, std::uint64_t number)
{
    throw FileError(std::string("ends in the middle of ") + element + " " + std::to_string(number));
}

// Text.

/// Values of one line, with the file's end and damage told by what is being read.
class TextRow
{
public:
    TextRow(TextCursor& text, char const* element, std::uint64_t number)
        : text_(text), element_(element), number_(number)
    {
        if (!next_content_line(text_))
        {
            refuse_end(element_, number_);
        }
    }

    template <typename Number>
    Number number()
    {
        auto const word = text_.next_word();
        Number value = 0;
        if (parse_number(word, value))
        {
            return value;
        }
        if ((word.empty() || word.front() == '#') && text_.rest().empty())
        {
            refuse_end(element_, number_);
        }
        throw FileError(std::string(element_) + " " + std::to_string(number_) +
                        (word.empty() ? " has too few values" : " has a value that is no number"));
    }

    Vector3f vector()
    {
        float const x = number<float>();
        float const y = number<float>();
        float const z = number<float>();
        return {x, y, z};
    }

    /// Whether anything but a comment is left of the line.
    bool has_more() const
    {
        TextCursor ahead = text_;
        auto const word = ahead.next_word();
        return !word.empty() && word.front() != '#';
    }

    /// Whether the next word is written with a decimal point.
    bool has_point_ahead() const
    {
        TextCursor ahead = text_;
        return ahead.next_word().find('.') != std::string_view::npos;
    }

private:
    TextCursor& text_;
    char const* element_;
    std::uint64_t number_;
};

struct Counts
{
    std::uint64_t vertices = 0;
    std::uint64_t faces = 0;
};

std::uint64_t parse_count(std::string_view word)
{
    std::int64_t count = -1;
    if (!parse_number(word, count) || count < 0)
    {
        throw FileError("does not say how many vertices and faces it has");
    }
    return static_cast<std::uint64_t>(count);
}

/// The counts stand in the first line or in the next that is no comment.
Counts parse_counts(TextCursor& text)
{
    TextCursor ahead = text;
    auto const word = ahead.next_word();
    if (word.empty() || word.front() == '#')
    {
        next_content_line(text);
    }
    Counts counts;
    counts.vertices = parse_count(text.next_word());
    counts.faces = parse_count(text.next_word());
    return counts;
}

template <typename T>
void reserve_at_most(std::vector<T>& vector, std::uint64_t n, std::size_t most)
{
    vector.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(n, most)));
}

int to_index(std::int64_t index, std::uint64_t face)
{
    if (index < std::numeric_limits<int>::min() || index > std::numeric_limits<int>::max())
    {
        throw FileError("face " + std::to_string(face) + " has a corner that is no vertex index");
    }
    return static_cast<int>(index);
}

/// Colours written as integers are bytes; one decimal point in the file says that they are not.
void scale_colors(std::vector<Vector3f>& colors, bool are_bytes)
{
    for (auto& color : colors)
    {
        color /= are_bytes ? 255.0F : 1.0F;
    }
}

void read_text_vertices(TextCursor& text, Header const& header, std::uint64_t n, MeshSoup& soup)
{
    bool are_bytes = true;
    LoopProgress progress(static_cast<std::size_t>(n));
    for (std::uint64_t i = 0; i < n; ++i)
    {
        progress.next();
        TextRow row(text, "vertex", i);
        soup.points.push_back(row.vector());
        if (header.normals)
        {
            soup.normals.push_back(row.vector());
        }
        if (header.colors)
        {
            are_bytes = are_bytes && !row.has_point_ahead();
            soup.colors.push_back(row.vector());
        }
    }
    scale_colors(soup.colors, are_bytes);
}

void read_text_faces(TextCursor& text, std::uint64_t n, MeshSoup& soup)
{
    std::vector<int> corners;
    bool has_colors = false;
    LoopProgress progress(static_cast<std::size_t>(n));
    for (std::uint64_t i = 0; i < n; ++i)
    {
        progress.next();
        TextRow row(text, "face", i);
        corners.clear();
        for (auto left = row.number<std::int64_t>(); left > 0; --left)
        {
            corners.push_back(to_index(row.number<std::int64_t>(), i));
        }
        soup.add_face(corners);
        has_colors = has_colors || row.has_more();
    }
    if (has_colors)
    {
        soup.drop("face colours");
    }
}

MeshSoup read_text(TextCursor text, Header const& header)
{
    auto const counts = parse_counts(text);
    constexpr std::size_t SHORTEST_ROW = 6;
    std::size_t const most_rows = text.rest().size() / SHORTEST_ROW + 1;
    MeshSoup soup;
    reserve_at_most(soup.points, counts.vertices, most_rows);
    reserve_at_most(soup.faces, counts.faces, most_rows);
    Stages stages({1, 2});
    stages.next();
    read_text_vertices(text, header, counts.vertices, soup);
    stages.next();
    read_text_faces(text, counts.faces, soup);
    if (next_content_line(text))
    {
        throw FileError("holds more than it declares");
    }
    return soup;
}

// Binary. Two layouts are in use: big-endian with a list of colours behind each face and four
// float channels a vertex, and OpenMesh's, little-endian without a list and with three channels.

constexpr std::size_t WORD_SIZE = 4;

/// A channel of OpenMesh's layout is a byte in a word, or a float. No float from 0 to 1 has the
/// bits of a number from 1 to 255, but for denormals.
float take_channel(ByteCursor& bytes, bool big_endian)
{
    ByteCursor ahead = bytes;
    auto const number = ahead.take<std::uint32_t>();
    if (big_endian || number > 255)
    {
        return bytes.take<float>();
    }
    bytes.skip(WORD_SIZE);
    return static_cast<float>(number) / 255.0F;
}

Vector3f take_vector(ByteCursor& bytes)
{
    float const x = bytes.take<float>();
    float const y = bytes.take<float>();
    float const z = bytes.take<float>();
    return {x, y, z};
}

void take_vertices(ByteCursor& bytes, Header const& header, bool big_endian, std::uint64_t n,
                   MeshSoup& soup)
{
    std::size_t const color_words = header.colors ? (big_endian ? 4 : 3) : 0;
    std::size_t const words =
        3 + (header.normals ? 3 : 0) + color_words + (header.texcoords ? 2 : 0);
    LoopProgress progress(static_cast<std::size_t>(n));
    for (std::uint64_t i = 0; i < n; ++i)
    {
        progress.next();
        if (bytes.left() < words * WORD_SIZE)
        {
            refuse_end("vertex", i);
        }
        soup.points.push_back(take_vector(bytes));
        if (header.normals)
        {
            soup.normals.push_back(take_vector(bytes));
        }
        if (header.colors)
        {
            float const red = take_channel(bytes, big_endian);
            float const green = take_channel(bytes, big_endian);
            float const blue = take_channel(bytes, big_endian);
            soup.colors.emplace_back(red, green, blue);
            bytes.skip((color_words - 3) * WORD_SIZE);
        }
        bytes.skip(header.texcoords ? 2 * WORD_SIZE : 0);
    }
}

void take_faces(ByteCursor& bytes, bool big_endian, std::uint64_t n, MeshSoup& soup)
{
    std::vector<int> corners;
    LoopProgress progress(static_cast<std::size_t>(n));
    for (std::uint64_t i = 0; i < n; ++i)
    {
        progress.next();
        auto const need = [&](std::uint64_t words)
        {
            if (bytes.left() / WORD_SIZE < words)
            {
                refuse_end("face", i);
            }
        };
        need(1);
        auto const n_corners = bytes.take<std::uint32_t>();
        need(n_corners);
        corners.clear();
        for (std::uint32_t corner = 0; corner < n_corners; ++corner)
        {
            corners.push_back(bytes.take<std::int32_t>());
        }
        soup.add_face(corners);
        if (big_endian)
        {
            need(1);
            auto const channels = bytes.take<std::uint32_t>();
            need(channels);
            bytes.skip(channels * WORD_SIZE);
            if (channels > 0)
            {
                soup.drop("face colours");
            }
        }
    }
}

MeshSoup read_binary(std::string_view body, Header const& header)
{
    constexpr std::size_t SMALLEST_VERTEX = 3 * WORD_SIZE;
    constexpr std::size_t N_COUNTS = 3;
    if (body.size() < N_COUNTS * WORD_SIZE)
    {
        throw FileError("ends within its header");
    }
    bool const big_endian =
        ByteCursor(body, false).take<std::uint32_t>() > body.size() / SMALLEST_VERTEX;
    ByteCursor bytes(body, big_endian);
    auto const vertices = bytes.take<std::uint32_t>();
    auto const faces = bytes.take<std::uint32_t>();
    bytes.skip(WORD_SIZE);
    MeshSoup soup;
    take_vertices(bytes, header, big_endian, vertices, soup);
    take_faces(bytes, big_endian, faces, soup);
    if (bytes.left() > 0)
    {
        throw FileError("holds more than it declares");
    }
    return soup;
}

} // namespace

MeshSoup read_off(std::string_view content)
{
    TextCursor text(without_byte_order_mark(content));
    auto const header = parse_header(text);
    auto soup = header.binary ? read_binary(text.rest(), header) : read_text(text, header);
    if (header.texcoords)
    {
        soup.drop("texture coordinates");
    }
    return soup;
}

} // namespace OrvaneAlgorithm::detail
