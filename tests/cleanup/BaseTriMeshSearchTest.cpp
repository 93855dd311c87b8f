#include "algorithmVeld/cleanup/BaseTriMeshSearch.h"
#include "tests/support/standard_output.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>

#include <map>
#include <random>
#include <set>
#include <stdexcept>

/// \file
/// The lists of neighbours, against lists that are made face by face.

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

using Row = std::vector<int>;

BaseTriMesh array_mesh(int vertices, std::vector<BaseTriFace> const& faces)
{
    BaseTriMesh mesh;
    mesh.resize_vn(static_cast<std::size_t>(vertices));
    mesh.faces = faces;
    return mesh;
}

/// The construction prints; the tests' output stays clean.
BaseTriMeshSearch search_of(BaseTriMesh const& mesh)
{
    std::vector<BaseTriMeshSearch> made;
    output_of([&] { made.emplace_back(mesh); });
    return made.front();
}

using Lookup = int (BaseTriMeshSearch::*)(int, int*&, int*&);

Row row(BaseTriMeshSearch& search, Lookup lookup, int i)
{
    int* begin = nullptr;
    int* end = nullptr;
    int const n = (search.*lookup)(i, begin, end);
    Row const list(begin, end);
    EXPECT_EQ(n, static_cast<int>(list.size()));
    return list;
}

/// Four triangles of a strip, and one that hangs on it by a vertex:
///
///     1---3---5
///      \ / \ / \        6, 7 hang on 5
///       0---2---4
BaseTriMesh strip_with_flag()
{
    return array_mesh(8, {{0, 3, 1}, {0, 2, 3}, {2, 5, 3}, {2, 4, 5}, {5, 6, 7}});
}

/// Random faces: some share three vertices, some have a vertex twice.
BaseTriMesh soup(unsigned seed, int vertices, int faces)
{
    std::mt19937 random(seed);
    BaseTriMesh mesh = array_mesh(vertices, {});
    auto const pick = [&] { return static_cast<int>(random() % static_cast<unsigned>(vertices)); };
    for (int f = 0; f < faces; ++f)
    {
        mesh.faces.emplace_back(pick(), pick(), pick());
    }
    return mesh;
}

/// The same lists made by going through everything.
struct PlainLists
{
    std::map<int, Row> v2f, v2v, f2f, f2f_edge;
    std::map<int, bool> boundary;

    explicit PlainLists(BaseTriMesh const& mesh)
    {
        int const n_faces = static_cast<int>(mesh.get_fn());
        for (int v = 0; v < static_cast<int>(mesh.get_vn()); ++v)
        {
            std::map<int, int> met;
            boundary[v] = false;
            for (int f = 0; f < n_faces; ++f)
            {
                for (int const corner : mesh.faces[static_cast<std::size_t>(f)].v)
                {
                    if (corner != v)
                    {
                        continue;
                    }
                    v2f[v].push_back(f);
                    for (int const other : mesh.faces[static_cast<std::size_t>(f)].v)
                    {
                        met[other] += other != v ? 1 : 0;
                    }
                }
            }
            met.erase(v);
            for (auto const& [other, times] : met)
            {
                v2v[v].push_back(other);
                boundary[v] = boundary[v] || times < 2;
            }
        }
        for (int f = 0; f < n_faces; ++f)
        {
            std::set<int> seen;
            for (int const corner : mesh.faces[static_cast<std::size_t>(f)].v)
            {
                for (int const other : v2f[corner])
                {
                    if (other != f)
                    {
                        (seen.insert(other).second ? f2f : f2f_edge)[f].push_back(other);
                    }
                }
            }
        }
    }
};

void expect_plain(BaseTriMesh const& mesh)
{
    BaseTriMeshSearch search = search_of(mesh);
    PlainLists plain(mesh);
    for (int v = 0; v < static_cast<int>(mesh.get_vn()); ++v)
    {
        ASSERT_EQ(row(search, &BaseTriMeshSearch::v2fRing1, v), plain.v2f[v]);
        ASSERT_EQ(row(search, &BaseTriMeshSearch::v2vRing1, v), plain.v2v[v]);
        ASSERT_EQ(search.is_boundary_vertex(v), plain.boundary[v]);
    }
    for (int f = 0; f < static_cast<int>(mesh.get_fn()); ++f)
    {
        ASSERT_EQ(row(search, &BaseTriMeshSearch::f2fRing1, f), plain.f2f[f]);
        ASSERT_EQ(row(search, &BaseTriMeshSearch::f2fEdgeRing1, f), plain.f2f_edge[f]);
    }
}

} // namespace

TEST(BaseTriMeshSearch, ListsFacesOfAVertexInRisingOrder)
{
    BaseTriMeshSearch search = search_of(strip_with_flag());
    EXPECT_THAT(row(search, &BaseTriMeshSearch::v2fRing1, 3), ElementsAre(0, 1, 2));
    EXPECT_THAT(row(search, &BaseTriMeshSearch::v2fRing1, 5), ElementsAre(2, 3, 4));
    EXPECT_THAT(row(search, &BaseTriMeshSearch::v2fRing1, 7), ElementsAre(4));
}

TEST(BaseTriMeshSearch, ListsNeighboursOfAVertexInRisingOrder)
{
    BaseTriMeshSearch search = search_of(strip_with_flag());
    EXPECT_THAT(row(search, &BaseTriMeshSearch::v2vRing1, 5), ElementsAre(2, 3, 4, 6, 7));
    EXPECT_THAT(row(search, &BaseTriMeshSearch::v2vRing1, 1), ElementsAre(0, 3));
}

TEST(BaseTriMeshSearch, NeighboursOfAFaceShareAVertexWithIt)
{
    // Face 2 has the corners 2 (faces 1, 2, 3), 5 (2, 3, 4) and 3 (0, 1, 2).
    BaseTriMeshSearch search = search_of(strip_with_flag());
    EXPECT_THAT(row(search, &BaseTriMeshSearch::f2fRing1, 2), ElementsAre(1, 3, 4, 0));
    EXPECT_THAT(row(search, &BaseTriMeshSearch::f2fEdgeRing1, 2), ElementsAre(3, 1));
    EXPECT_THAT(row(search, &BaseTriMeshSearch::f2fRing1, 4), ElementsAre(2, 3));
    EXPECT_THAT(row(search, &BaseTriMeshSearch::f2fEdgeRing1, 4), IsEmpty());
}

TEST(BaseTriMeshSearch, KnowsBoundaryVertices)
{
    // A fan closed round vertex 0: its rim is the boundary.
    BaseTriMeshSearch search =
        search_of(array_mesh(6, {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}}));
    EXPECT_FALSE(search.is_boundary_vertex(0));
    EXPECT_TRUE(search.is_boundary_vertex(1));
    // A vertex without faces has no edge at all.
    EXPECT_FALSE(search.is_boundary_vertex(5));
    EXPECT_THROW(search.is_boundary_vertex(6), std::out_of_range);
}

TEST(BaseTriMeshSearch, AVertexOutOfRangeHasAnEmptyListAndALine)
{
    BaseTriMeshSearch search = search_of(strip_with_flag());
    int value = 0;
    int* begin = &value;
    int* end = &value + 1;
    for (auto const& [vertex, line] : std::map<int, std::string>{{-1, "v2fRing1: idx--1 illegal\n"},
                                                                 {8, "v2fRing1: idx-8 illegal\n"}})
    {
        int const v = vertex;
        EXPECT_EQ(output_of([&] { EXPECT_EQ(search.v2fRing1(v, begin, end), 0); }), line);
        EXPECT_EQ(begin, end);
    }
}

TEST(BaseTriMeshSearch, AFaceOutOfRangeHasALineAndThrows)
{
    // It prints and goes on; what it goes on to is checked access.
    BaseTriMeshSearch search = search_of(strip_with_flag());
    int* begin = nullptr;
    int* end = nullptr;
    EXPECT_EQ(output_of([&] { EXPECT_THROW(search.f2fRing1(-1, begin, end), std::out_of_range); }),
              "f2fRing1: idx--1 illegal\n");
    EXPECT_EQ(output_of([&] { EXPECT_THROW(search.f2fRing1(5, begin, end), std::out_of_range); }),
              "f2fRing1: idx-5 illegal\n");
    EXPECT_THROW(search.f2fEdgeRing1(5, begin, end), std::out_of_range);
    EXPECT_THROW(search.v2vRing1(8, begin, end), std::out_of_range);
}

TEST(BaseTriMeshSearch, AnEmptyMeshHasNoLists)
{
    BaseTriMeshSearch search = search_of(BaseTriMesh());
    int* begin = nullptr;
    int* end = nullptr;
    EXPECT_EQ(output_of([&] { EXPECT_EQ(search.v2fRing1(0, begin, end), 0); }),
              "v2fRing1: idx-0 illegal\n");
}

TEST(BaseTriMeshSearch, RefusesAFaceWithAVertexThatIsNotThere)
{
    for (int const bad : {-1, 3, 1 << 30})
    {
        BaseTriMesh const mesh = array_mesh(3, {{0, 1, 2}, {0, bad, 1}});
        output_of([&] { EXPECT_THROW(BaseTriMeshSearch search(mesh), std::out_of_range); });
    }
}

TEST(BaseTriMeshSearch, RefusesMoreEntriesThanAnIntCanNumber)
{
    // The square of 50 000 faces round one vertex.
    BaseTriMesh mesh = array_mesh(50001, {});
    for (int i = 1; i <= 50000; ++i)
    {
        mesh.faces.emplace_back(0, i, i % 50000 + 1);
    }
    output_of([&] { EXPECT_THROW(BaseTriMeshSearch search(mesh), std::length_error); });
}

TEST(BaseTriMeshSearch, TellsHowLongItTook)
{
    BaseTriMesh const mesh = strip_with_flag();
    std::string const name = "OrvaneAlgorithm::BaseTriMeshSearch::BaseTriMeshSearch";
    EXPECT_THAT(output_of([&] { BaseTriMeshSearch search(mesh); }),
                testing::StartsWith(name + " ......\n" + name + " "));
}

TEST(BaseTriMeshSearch, HasTheListsThatAPlainSearchHas)
{
    expect_plain(strip_with_flag());
    // The same face three times is met again and again.
    expect_plain(array_mesh(3, {{0, 1, 2}, {0, 1, 2}, {2, 1, 0}}));
    expect_plain(array_mesh(3, {{0, 0, 1}, {1, 1, 1}, {2, 0, 2}}));
    for (unsigned seed = 0; seed < 200; ++seed)
    {
        expect_plain(soup(seed, 4 + static_cast<int>(seed % 20), 3 + static_cast<int>(seed % 40)));
    }
}

TEST(BaseTriMeshSearch, HasTheSameListsOnAnyNumberOfThreads)
{
    for (int const threads : {1, 2, 8})
    {
        Threads const scope(threads);
        expect_plain(soup(1, 50, 400));
    }
}
