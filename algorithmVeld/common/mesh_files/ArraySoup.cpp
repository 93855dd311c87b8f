#include "algorithmVeld/common/mesh_files/ArraySoup.h"

#include "algorithmVeld/common/running/Progress.h"

#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

std::vector<Vector3f> take_channel(bool is_on, std::vector<Vector3f>& channel, std::size_t n_points,
                                   char const* name)
{
    if (!is_on)
    {
        return {};
    }
    if (channel.size() != n_points)
    {
        throw FileError("has " + std::to_string(channel.size()) + " " + name + " for " +
                        std::to_string(n_points) + " vertices");
    }
    return std::move(channel);
}

Vector2f coordinate_of(BaseTriMesh const& arrays, std::size_t face, int index)
{
    if (index == -1)
    {
        return no_texcoord();
    }
    if (index < 0 || static_cast<std::size_t>(index) >= arrays.texture_coords.size())
    {
        throw FileError("face " + std::to_string(face) + " names texture coordinate " +
                        std::to_string(index) + ", but there are only " +
                        std::to_string(arrays.texture_coords.size()));
    }
    auto const& place = arrays.texture_coords[static_cast<std::size_t>(index)];
    return {place.u, place.v};
}

std::vector<Vector2f> texcoords_of(BaseTriMesh const& arrays)
{
    if (arrays.face_texture_ids.size() != arrays.get_fn())
    {
        throw FileError("has texture coordinates for " +
                        std::to_string(arrays.face_texture_ids.size()) + " of " +
                        std::to_string(arrays.get_fn()) + " faces");
    }
    std::vector<Vector2f> texcoords;
    texcoords.reserve(3 * arrays.get_fn());
    CancelPoll poll;
    for (std::size_t face = 0; face < arrays.get_fn(); ++face)
    {
        poll.next();
        for (int const corner : {0, 1, 2})
        {
            texcoords.push_back(coordinate_of(arrays, face, arrays.face_texture_ids[face][corner]));
        }
    }
    return texcoords;
}

} // namespace

MeshSoup soup_of(BaseTriMesh&& arrays)
{
    MeshSoup soup;
    soup.points = std::move(arrays.vCoord);
    std::size_t const n_points = soup.points.size();
    soup.normals = take_channel(arrays.has_vNormal, arrays.vNrv, n_points, "normals");
    soup.colors = take_channel(arrays.has_vColor, arrays.vColor, n_points, "colours");
    soup.faces.reserve(arrays.get_fn());
    for (auto const& face : arrays.faces)
    {
        soup.faces.push_back(face.v);
    }
    if (arrays.has_texture)
    {
        soup.texcoords = texcoords_of(arrays);
    }
    check_soup(soup);
    clean_attributes(soup);
    return soup;
}

} // namespace OrvaneAlgorithm::detail
