#include "algorithmVeld/common/mesh_files/PlyFile.h"

namespace OrvaneAlgorithm::detail::ply
{

namespace
{

[[noreturn]] void refuse_header_line(TextCursor const& text)
{
    throw FileError("line " + std::to_string(text.line_number()) +
                    " of its header is not understood");
}

Type parse_type(TextCursor& text)
{
    static std::pair<char const*, Type> const names[] = {
        {"char", Type::INT8},      {"int8", Type::INT8},       {"uchar", Type::UINT8},
        {"uint8", Type::UINT8},    {"short", Type::INT16},     {"int16", Type::INT16},
        {"ushort", Type::UINT16},  {"uint16", Type::UINT16},   {"int", Type::INT32},
        {"int32", Type::INT32},    {"uint", Type::UINT32},     {"uint32", Type::UINT32},
        {"float", Type::FLOAT32},  {"float32", Type::FLOAT32}, {"double", Type::FLOAT64},
        {"float64", Type::FLOAT64}};
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
        return Encoding::ASCII;
    }
    if (word == "binary_little_endian")
    {
        return Encoding::BINARY_LITTLE_ENDIAN;
    }
    if (word == "binary_big_endian")
    {
        return Encoding::BINARY_BIG_ENDIAN;
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
    return type != Type::FLOAT32 && type != Type::FLOAT64;
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

} // namespace

Header parse_header(std::string_view content)
{
    TextCursor text(without_byte_order_mark(content));
    text.next_line();
    if (text.next_word() != "ply" || !text.next_word().empty())
    {
        throw FileError("is not a PLY file");
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
        else if (keyword == "comment")
        {
            header.has_textures = header.has_textures || text.next_word() == "TextureFile";
        }
        else if (keyword == "obj_info")
        {
            header.infos.push_back(text.rest_of_line());
        }
        else if (!keyword.empty())
        {
            refuse_header_line(text);
        }
    }
    throw FileError("ends within its header");
}

} // namespace OrvaneAlgorithm::detail::ply
