#include "algorithmVeld/common/mesh_files/MeshReaders.h"
#include "algorithmVeld/common/mesh_files/PlyFile.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

using namespace ply;

bool is_corner_list(Property const& property)
{
    return property.list_count &&
           (property.name == "vertex_indices" || property.name == "vertex_index");
}

/// Texture coordinates of the corners, in one list for the whole face.
bool is_texcoord_list(Property const& property)
{
    return property.list_count && property.name == "texcoord";
}

bool is_colour(std::string const& name)
{
    return name == "red" || name == "green" || name == "blue" || name == "alpha";
}

void note_dropped(std::vector<Property> const& properties, MeshSoup& soup)
{
    for (auto const& property : properties)
    {
        if (property.name == "texnumber")
        {
            soup.drop("texture images");
        }
        else if (is_colour(property.name))
        {
            soup.drop("face colours");
        }
        else if (!is_corner_list(property) && !is_texcoord_list(property))
        {
            soup.drop("face " + property.name);
        }
    }
}

template <typename Source>
void read_corners(Source& source, Property const& property, Row const& row,
                  std::vector<int>& corners)
{
    CancelPoll poll;
    for (auto n = list_size(source, property, row); n > 0; --n)
    {
        poll.next();
        corners.push_back(vertex_index(source.number(property.type), row));
    }
}

template <typename Source>
void read_texcoords(Source& source, Property const& property, Row const& row,
                    std::vector<Vector2f>& texcoords)
{
    CancelPoll poll;
    for (auto n = list_size(source, property, row); n > 0; n -= std::min<std::uint64_t>(n, 2))
    {
        poll.next();
        float const u = to_float(source.number(property.type));
        texcoords.emplace_back(u, n > 1 ? to_float(source.number(property.type)) : NAN);
    }
}

template <typename Source>
void read_faces(Source& source, Element const& element, MeshSoup& soup)
{
    auto const& properties = element.properties;
    auto const n_corner_lists = std::count_if(properties.begin(), properties.end(), is_corner_list);
    if (n_corner_lists != 1)
    {
        throw FileError("has faces without one list vertex_indices");
    }
    note_dropped(properties, soup);
    bool const has_texcoords =
        std::count_if(properties.begin(), properties.end(), is_texcoord_list) == 1;
    auto const most = source.most_rows(4);
    soup.faces.reserve(static_cast<std::size_t>(std::min(element.rows, most)));
    std::vector<int> corners;
    std::vector<Vector2f> texcoords;
    LoopProgress progress(static_cast<std::size_t>(element.rows));
    for (Row row{&element, 0}; row.number < element.rows; ++row.number)
    {
        progress.next();
        source.begin_row(row);
        corners.clear();
        texcoords.clear();
        for (auto const& property : properties)
        {
            if (is_corner_list(property))
            {
                read_corners(source, property, row, corners);
            }
            else if (has_texcoords && is_texcoord_list(property))
            {
                read_texcoords(source, property, row, texcoords);
            }
            else
            {
                skip_property(source, property, row);
            }
        }
        source.end_row();
        soup.add_face(corners);
        if (has_texcoords)
        {
            soup.add_texcoords(corners.size(), texcoords);
        }
    }
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
        throw FileError("does not declare one list of vertices and one of faces");
    }
    if (count("tristrips") > 0)
    {
        throw FileError("holds triangle strips; only single triangles are supported");
    }
}

} // namespace

MeshSoup read_ply(std::string_view content)
{
    auto const header = parse_header(content);
    check_elements(header.elements);
    MeshSoup soup;
    if (header.has_textures)
    {
        soup.drop("texture images");
    }
    read_body(header, soup, "face",
              [&](auto& source, Element const& element) { read_faces(source, element, soup); });
    return soup;
}

} // namespace OrvaneAlgorithm::detail
