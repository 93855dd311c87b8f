#include "algorithmVeld/common/mesh_files/SoupMending.h"

#include "algorithmVeld/common/arrays/Channels.h"
#include "algorithmVeld/common/mesh_files/PolygonTriangles.h"
#include "algorithmVeld/common/mesh_files/SoupParts.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

// Lists of faces.

int place_of(MeshSoup const& soup, std::size_t face)
{
    return soup.places.empty() ? static_cast<int>(face) : soup.places[face];
}

/// The faces of a soup, made anew one by one.
class NewFaces
{
public:
    explicit NewFaces(MeshSoup& soup) : soup_(soup)
    {
        faces_.reserve(soup.faces.size());
        places_.reserve(soup.faces.size());
        texcoords_.reserve(soup.texcoords.size());
    }

    /// Adds a triangle of the corners of an old face.
    /// \param corners their places among `old`
    void add(std::size_t face, int const* old, Vector2f const* texcoords, Triangle const& corners)
    {
        faces_.push_back({old[corners[0]], old[corners[1]], old[corners[2]]});
        places_.push_back(place_of(soup_, face));
        if (texcoords != nullptr)
        {
            for (int const corner : corners)
            {
                texcoords_.push_back(texcoords[corner]);
            }
        }
    }

    /// Adds a triangle as it was.
    void keep(std::size_t face)
    {
        auto const* const texcoords =
            soup_.texcoords.empty() ? nullptr : soup_.texcoords.data() + 3 * face;
        add(face, soup_.faces[face].data(), texcoords, {0, 1, 2});
    }

    void put_in_place()
    {
        soup_.faces = std::move(faces_);
        soup_.places = std::move(places_);
        soup_.texcoords = std::move(texcoords_);
    }

private:
    MeshSoup& soup_;
    std::vector<Triangle> faces_;
    std::vector<int> places_;
    std::vector<Vector2f> texcoords_;
};

/// Takes triangles out.
template <typename IsGone>
void remove_faces_if(MeshSoup& soup, LeftOut& removed, IsGone const& is_gone)
{
    std::vector<std::size_t> gone;
    for (std::size_t i = 0; i < soup.faces.size(); ++i)
    {
        if (is_gone(i))
        {
            gone.push_back(i);
        }
    }
    remove_faces(soup, gone, removed);
}

/// The corners of a polygon. One that is named several times in a row counts once.
class PolygonCorners
{
public:
    PolygonCorners(MeshSoup const& soup, Polygon const& polygon)
    {
        auto const* const corners = soup.polygon_corners.data() + polygon.first_corner;
        for (std::size_t i = 0; i < polygon.n_corners; ++i)
        {
            if (corners[i] == corners[(i + 1) % polygon.n_corners])
            {
                continue;
            }
            corners_.push_back(corners[i]);
            points_.push_back(soup.points[at(corners[i])]);
            if (!soup.polygon_texcoords.empty())
            {
                texcoords_.push_back(soup.polygon_texcoords[polygon.first_corner + i]);
            }
        }
    }

    std::size_t size() const { return corners_.size(); }

    void triangulate(std::size_t face, NewFaces& faces) const
    {
        for (auto const& triangle : triangulate_polygon(points_))
        {
            faces.add(face, corners_.data(), texcoords_.empty() ? nullptr : texcoords_.data(),
                      triangle);
        }
    }

private:
    std::vector<int> corners_;
    std::vector<Vector3f> points_;
    std::vector<Vector2f> texcoords_;
};

// Points.

/// Takes the faces out that have a corner at a point that goes, polygons included.
void remove_faces_at(MeshSoup& soup, std::vector<char> const& is_kept, LeftOut& removed)
{
    std::vector<Triangle> faces;
    std::vector<Polygon> polygons;
    std::vector<Vector2f> texcoords;
    std::vector<int> places;
    auto polygon = soup.polygons.begin();
    soup.for_each_face(
        [&](std::size_t face, int const* corners, std::size_t n)
        {
            bool const is_polygon = polygon != soup.polygons.end() && polygon->face == face;
            auto const this_polygon = is_polygon ? polygon++ : polygon;
            if (!std::all_of(corners, corners + n, [&](int i) { return is_kept[at(i)] != 0; }))
            {
                removed.add(at(place_of(soup, face)));
                return;
            }
            if (is_polygon)
            {
                polygons.push_back(*this_polygon);
                polygons.back().face = faces.size();
            }
            for (std::size_t i = 3 * face; i < 3 * face + 3 && !soup.texcoords.empty(); ++i)
            {
                texcoords.push_back(soup.texcoords[i]);
            }
            faces.push_back(soup.faces[face]);
            places.push_back(place_of(soup, face));
        });
    soup.faces = std::move(faces);
    soup.polygons = std::move(polygons);
    soup.texcoords = std::move(texcoords);
    soup.places = std::move(places);
}

} // namespace

void remove_faces(MeshSoup& soup, std::vector<std::size_t> const& faces, LeftOut& removed)
{
    if (faces.empty())
    {
        return;
    }
    NewFaces kept(soup);
    CancelPoll poll;
    auto gone = faces.begin();
    for (std::size_t i = 0; i < soup.faces.size(); ++i)
    {
        poll.next();
        if (gone != faces.end() && *gone == i)
        {
            removed.add(at(place_of(soup, i)));
            ++gone;
        }
        else
        {
            kept.keep(i);
        }
    }
    kept.put_in_place();
}

std::size_t remove_unplaced_points(MeshSoup& soup, LeftOut& faces)
{
    std::vector<char> is_kept(soup.points.size(), 1);
    std::vector<int> number(soup.points.size(), 0);
    int n = 0;
    for (std::size_t i = 0; i < soup.points.size(); ++i)
    {
        is_kept[i] = soup.points[i].allFinite() ? 1 : 0;
        number[i] = is_kept[i] != 0 ? n++ : 0;
    }
    std::size_t const removed = soup.points.size() - at(n);
    if (removed == 0)
    {
        return 0;
    }
    remove_faces_at(soup, is_kept, faces);
    auto const renumber = [&](int& corner) { corner = number[at(corner)]; };
    for (auto& face : soup.faces)
    {
        std::for_each(face.begin(), face.end(), renumber);
    }
    std::for_each(soup.polygon_corners.begin(), soup.polygon_corners.end(), renumber);
    for_each_point_list(soup, [&](auto& list) { keep_marked(list, is_kept); });
    return removed;
}

void triangulate_polygons(MeshSoup& soup, LeftOut& too_few, LeftOut& too_many)
{
    if (soup.polygons.empty())
    {
        return;
    }
    NewFaces faces(soup);
    auto polygon = soup.polygons.begin();
    LoopProgress progress(soup.faces.size());
    for (std::size_t face = 0; face < soup.faces.size(); ++face)
    {
        progress.next();
        if (polygon == soup.polygons.end() || polygon->face != face)
        {
            faces.keep(face);
            continue;
        }
        poll_cancel();
        PolygonCorners const corners(soup, *polygon++);
        if (corners.size() < 3 || corners.size() > MOST_POLYGON_CORNERS)
        {
            (corners.size() < 3 ? too_few : too_many).add(at(place_of(soup, face)));
            continue;
        }
        corners.triangulate(face, faces);
    }
    faces.put_in_place();
    soup.polygons = {};
    soup.polygon_corners = {};
    soup.polygon_texcoords = {};
}

void remove_degenerate(MeshSoup& soup, LeftOut& removed)
{
    remove_faces_if(soup, removed,
                    [&](std::size_t i)
                    {
                        auto const& [a, b, c] = soup.faces[i];
                        return a == b || b == c || c == a;
                    });
}

void remove_repeated(MeshSoup& soup, LeftOut& removed)
{
    std::vector<std::array<int, 4>> sorted; // the lowest corner first, and the face
    sorted.reserve(soup.faces.size());
    for (std::size_t i = 0; i < soup.faces.size(); ++i)
    {
        auto face = soup.faces[i];
        std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
        sorted.push_back({face[0], face[1], face[2], static_cast<int>(i)});
    }
    poll_cancel();
    std::sort(sorted.begin(), sorted.end());
    std::vector<char> is_repeated(soup.faces.size(), 0);
    for (std::size_t i = 1; i < sorted.size(); ++i)
    {
        bool const same =
            std::equal(sorted[i].begin(), sorted[i].begin() + 3, sorted[i - 1].begin());
        is_repeated[at(sorted[i][3])] = same ? 1 : 0;
    }
    remove_faces_if(soup, removed, [&](std::size_t i) { return is_repeated[i] != 0; });
}

} // namespace OrvaneAlgorithm::detail
