#include "algorithmVeld/common/detail/ByteCursor.h"
#include "algorithmVeld/common/detail/MeshReaders.h"
#include "algorithmVeld/common/detail/TextCursor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace OrvaneAlgorithm::detail
{

namespace
{

enum class Encoding
{
    ascii,
    little_endian,
    big_endian
};

enum class Type
{
    int8,
    uint8,
    int16,
    uint16,
    int32,
    uint32,
    float32,
    float64
};

struct Property
{
    std::string name;
    Type type = Type::float32;
    std::optional<Type> list_count; ///< type of the list's length; none for a single value
};

struct Element
{
    std::string name;
    std::uint64_t rows = 0;
    std::vector<Property> properties;
};

struct Header
{
    Encoding encoding = Encoding::ascii;
    std::vector<Element> elements;
    std::string_view body;
};

// The header.

[[noreturn]] void refuse_header_line(TextCursor const& text)
{
    throw MeshFileError("line " + std::to_string(text.line_number()) +
                        " of its header is not understood");
}

Type parse_type(TextCursor& text)
{
    static std::pair<char const*, Type> const names[] = {
        {"char", Type::int8},      {"int8", Type::int8},       {"uchar", Type::uint8},
        {"uint8", Type::uint8},    {"short", Type::int16},     {"int16", Type::int16},
        {"ushort", Type::uint16},  {"uint16", Type::uint16},   {"int", Type::int32},
        {"int32", Type::int32},    {"uint", Type::uint32},     {"uint32", Type::uint32},
        {"float", Type::float32},  {"float32", Type::float32}, {"double", Type::float64},
        {"float64", Type::float64}};
    auto const word = text.next_word();
    for (auto const& [name, type] : names)
    {
        if (word == name)
        {
            return type;
        }
    }
    refuse_header_line(text);
}

Encoding parse_encoding(TextCursor& text)
{
    auto const word = text.next_word();
    if (text.next_word() != "1.0")
    {
        refuse_header_line(text);
    }
    if (word == "ascii")
    {
        return Encoding::ascii;
    }
    if (word == "binary_little_endian")
    {
        return Encoding::little_endian;
    }
    if (word == "binary_big_endian")
    {
        return Encoding::big_endian;
    }
    refuse_header_line(text);
}

Element parse_element(TextCursor& text)
{
    Element element;
    element.name = text.next_word();
    std::int64_t rows = -1;
    if (element.name.empty() || !parse_number(text.next_word(), rows) || rows < 0)
    {
        refuse_header_line(text);
    }
    element.rows = static_cast<std::uint64_t>(rows);
    return element;
}

bool is_integer(Type type)
{
    return type != Type::float32 && type != Type::float64;
}

Property parse_property(TextCursor& text)
{
    Property property;
    TextCursor const before = text;
    if (text.next_word() == "list")
    {
        property.list_count = parse_type(text);
        if (!is_integer(*property.list_count))
        {
            refuse_header_line(text);
        }
    }
    else
    {
        text = before;
    }
    property.type = parse_type(text);
    property.name = text.next_word();
    if (property.name.empty())
    {
        refuse_header_line(text);
    }
    return property;
}

Header parse_header(std::string_view content)
{
    TextCursor text(content);
    text.next_line();
    if (text.next_word() != "ply" || !text.next_word().empty())
    {
        throw MeshFileError("is not a PLY file");
    }
    Header header;
    bool has_format = false;
    while (text.next_line())
    {
        auto const keyword = text.next_word();
        if (keyword == "format")
        {
            header.encoding = parse_encoding(text);
            has_format = true;
        }
        else if (keyword == "element")
        {
            header.elements.push_back(parse_element(text));
        }
        else if (keyword == "property" && !header.elements.empty())
        {
            header.elements.back().properties.push_back(parse_property(text));
        }
        else if (keyword == "end_header" && has_format)
        {
            header.body = text.rest();
            return header;
        }
        else if (keyword != "comment" && keyword != "obj_info" && !keyword.empty())
        {
            refuse_header_line(text);
        }
    }
    throw MeshFileError("ends within its header");
}

// The values: two sources, which tell where a file ends too early.

/// The row that is being read, for messages.
struct Row
{
    Element const* element = nullptr;
    std::uint64_t number = 0;

    std::string name() const { return element->name + " " + std::to_string(number); }
    [[noreturn]] void refuse_end() const { throw MeshFileError("ends in the middle of " + name()); }
};

class BinarySource
{
public:
    BinarySource(std::string_view body, bool big_endian) : bytes_(body, big_endian) {}

    void begin_row(Row const& row) { row_ = row; }
    void end_row() {}

    double number(Type type)
    {
        switch (type)
        {
        case Type::int8:
            return take<std::int8_t>();
        case Type::uint8:
            return take<std::uint8_t>();
        case Type::int16:
            return take<std::int16_t>();
        case Type::uint16:
            return take<std::uint16_t>();
        case Type::int32:
            return take<std::int32_t>();
        case Type::uint32:
            return take<std::uint32_t>();
        case Type::float32:
            return take<float>();
        case Type::float64:
            return take<double>();
        }
        return 0;
    }

    /// The most rows of at least `values` values that can follow.
    std::uint64_t most_rows(std::size_t values) const { return bytes_.left() / values; }

    bool at_end() const { return bytes_.left() == 0; }

private:
    template <typename Number>
    Number take()
    {
        if (bytes_.left() < sizeof(Number))
        {
            row_.refuse_end();
        }
        return bytes_.take<Number>();
    }

    ByteCursor bytes_;
    Row row_;
};

class AsciiSource
{
public:
    explicit AsciiSource(std::string_view body) : text_(body) {}

    void begin_row(Row const& row)
    {
        row_ = row;
        if (!text_.next_line_with_words())
        {
            row_.refuse_end();
        }
    }

    void end_row()
    {
        if (!text_.next_word().empty())
        {
            throw MeshFileError(row_.name() + " has more values than the header declares");
        }
    }

    double number(Type type)
    {
        auto const word = text_.next_word();
        if (word.empty())
        {
            if (text_.rest().empty())
            {
                row_.refuse_end();
            }
            throw MeshFileError(row_.name() + " has fewer values than the header declares");
        }
        double value = 0;
        float single = 0;
        // Rounded once, from the text to the type that the header declares.
        bool const is_number =
            type == Type::float32 ? parse_number(word, single) : parse_number(word, value);
        if (!is_number)
        {
            throw MeshFileError(row_.name() + " has a value that is no number");
        }
        return type == Type::float32 ? single : value;
    }

    std::uint64_t most_rows(std::size_t values) const
    {
        return (text_.rest().size() + 1) / (2 * values);
    }

    bool at_end() const { return !TextCursor(text_).next_line_with_words(); }

private:
    TextCursor text_;
    Row row_;
};

// The elements.

enum Slot : unsigned char
{
    x,
    y,
    z,
    nx,
    ny,
    nz,
    red,
    green,
    blue,
    slots,
    ignored = slots
};

Slot slot_of(Property const& property)
{
    static char const* const names[] = {"x", "y", "z", "nx", "ny", "nz", "red", "green", "blue"};
    auto const* const found = std::find(std::begin(names), std::end(names), property.name);
    return property.list_count ? ignored : static_cast<Slot>(found - std::begin(names));
}

/// How a colour of the type becomes one from 0 to 1.
double colour_scale(Type type)
{
    switch (type)
    {
    case Type::float32:
    case Type::float64:
        return 1;
    case Type::int16:
    case Type::uint16:
        return 1.0 / std::numeric_limits<std::uint16_t>::max();
    default:
        return 1.0 / std::numeric_limits<std::uint8_t>::max();
    }
}

float to_float(double value)
{
    constexpr double largest = std::numeric_limits<float>::max();
    bool const fits = !(std::abs(value) > largest);
    return fits ? static_cast<float>(value) : std::numeric_limits<float>::infinity();
}

template <typename Source>
std::uint64_t list_size(Source& source, Property const& property, Row const& row)
{
    double const size = source.number(*property.list_count);
    if (!(size >= 0 && size <= std::numeric_limits<std::uint32_t>::max()))
    {
        throw MeshFileError(row.name() + " has a list of impossible length");
    }
    return static_cast<std::uint64_t>(size);
}

template <typename Source>
void skip_property(Source& source, Property const& property, Row const& row)
{
    std::uint64_t const n = property.list_count ? list_size(source, property, row) : 1;
    for (std::uint64_t i = 0; i < n; ++i)
    {
        source.number(property.type);
    }
}

template <typename Source>
void skip_element(Source& source, Element const& element)
{
    if (element.properties.empty())
    {
        return;
    }
    for (Row row{&element, 0}; row.number < element.rows; ++row.number)
    {
        source.begin_row(row);
        for (auto const& property : element.properties)
        {
            skip_property(source, property, row);
        }
        source.end_row();
    }
}

/// Which property goes where in a vertex.
class VertexLayout
{
public:
    explicit VertexLayout(Element const& element)
    {
        for (auto const& property : element.properties)
        {
            auto const slot = slot_of(property);
            slots_.push_back(slot);
            scales_.push_back(slot == ignored || slot < red ? 1 : colour_scale(property.type));
        }
        if (!has(x) || !has(y) || !has(z))
        {
            throw MeshFileError("has vertices without the coordinates x, y and z");
        }
    }

    bool has_normals() const { return has(nx) && has(ny) && has(nz); }
    bool has_colors() const { return has(red) && has(green) && has(blue); }
    Slot slot(std::size_t property) const { return slots_[property]; }
    double scale(std::size_t property) const { return scales_[property]; }

private:
    bool has(Slot slot) const
    {
        return std::find(slots_.begin(), slots_.end(), slot) != slots_.end();
    }

    std::vector<Slot> slots_;
    std::vector<double> scales_;
};

template <typename Source>
void read_vertices(Source& source, Element const& element, MeshSoup& soup)
{
    VertexLayout const layout(element);
    auto const most = source.most_rows(element.properties.size());
    auto const room = static_cast<std::size_t>(std::min(element.rows, most));
    soup.points.reserve(room);
    soup.normals.reserve(layout.has_normals() ? room : 0);
    soup.colors.reserve(layout.has_colors() ? room : 0);

    float values[slots] = {};
    for (Row row{&element, 0}; row.number < element.rows; ++row.number)
    {
        source.begin_row(row);
        for (std::size_t i = 0; i < element.properties.size(); ++i)
        {
            auto const& property = element.properties[i];
            if (layout.slot(i) == ignored)
            {
                skip_property(source, property, row);
                continue;
            }
            values[layout.slot(i)] = to_float(source.number(property.type) * layout.scale(i));
        }
        source.end_row();
        soup.points.emplace_back(values[x], values[y], values[z]);
        if (layout.has_normals())
        {
            soup.normals.emplace_back(values[nx], values[ny], values[nz]);
        }
        if (layout.has_colors())
        {
            soup.colors.emplace_back(values[red], values[green], values[blue]);
        }
    }
}

int vertex_index(double value, Row const& row)
{
    if (!(value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max()) ||
        value != std::floor(value))
    {
        throw MeshFileError(row.name() + " has a corner that is no vertex index");
    }
    return static_cast<int>(value);
}

bool is_corner_list(Property const& property)
{
    return property.list_count &&
           (property.name == "vertex_indices" || property.name == "vertex_index");
}

template <typename Source>
void read_faces(Source& source, Element const& element, MeshSoup& soup)
{
    auto const& properties = element.properties;
    auto const n_corner_lists = std::count_if(properties.begin(), properties.end(), is_corner_list);
    if (n_corner_lists != 1)
    {
        throw MeshFileError("has faces without one list vertex_indices");
    }
    auto const most = source.most_rows(4);
    soup.faces.reserve(static_cast<std::size_t>(std::min(element.rows, most)));
    for (Row row{&element, 0}; row.number < element.rows; ++row.number)
    {
        source.begin_row(row);
        for (auto const& property : properties)
        {
            if (!is_corner_list(property))
            {
                skip_property(source, property, row);
                continue;
            }
            require_triangle(row.number, list_size(source, property, row));
            int const a = vertex_index(source.number(property.type), row);
            int const b = vertex_index(source.number(property.type), row);
            int const c = vertex_index(source.number(property.type), row);
            soup.faces.push_back({a, b, c});
        }
        source.end_row();
    }
}

template <typename Source>
MeshSoup read_elements(Source source, std::vector<Element> const& elements)
{
    MeshSoup soup;
    for (auto const& element : elements)
    {
        if (element.name == "vertex")
        {
            read_vertices(source, element, soup);
        }
        else if (element.name == "face")
        {
            read_faces(source, element, soup);
        }
        else
        {
            skip_element(source, element);
        }
    }
    if (!source.at_end())
    {
        throw MeshFileError("holds more than its header declares");
    }
    return soup;
}

/// The elements that a mesh is made of, each at most once.
void check_elements(std::vector<Element> const& elements)
{
    auto const count = [&](char const* name)
    {
        return std::count_if(elements.begin(), elements.end(),
                             [&](Element const& element) { return element.name == name; });
    };
    if (count("vertex") != 1 || count("face") > 1)
    {
        throw MeshFileError("does not declare one list of vertices and one of faces");
    }
    if (count("tristrips") > 0)
    {
        throw MeshFileError("holds triangle strips; only single triangles are supported");
    }
}

} // namespace

MeshSoup read_ply(std::string_view content)
{
    auto const header = parse_header(content);
    check_elements(header.elements);
    if (header.encoding == Encoding::ascii)
    {
        return read_elements(AsciiSource(header.body), header.elements);
    }
    bool const big_endian = header.encoding == Encoding::big_endian;
    return read_elements(BinarySource(header.body, big_endian), header.elements);
}

} // namespace OrvaneAlgorithm::detail
