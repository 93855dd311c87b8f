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

template <typename Source>
void read_faces(Source& source, Element const& element, MeshSoup& soup)
{
    auto const& properties = element.properties;
    auto const n_corner_lists = std::count_if(properties.begin(), properties.end(), is_corner_list);
    if (n_corner_lists != 1)
    {
        throw FileError("has faces without one list vertex_indices");
    }
    auto const most = source.most_rows(4);
    soup.faces.reserve(static_cast<std::size_t>(std::min(element.rows, most)));
    LoopProgress progress(static_cast<std::size_t>(element.rows));
    for (Row row{&element, 0}; row.number < element.rows; ++row.number)
    {
        progress.next();
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
    read_body(header, soup, "face",
              [&](auto& source, Element const& element) { read_faces(source, element, soup); });
    return soup;
}

} // namespace OrvaneAlgorithm::detail
