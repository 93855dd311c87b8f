#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"

#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>
#include <vector>

namespace veld_test
{

namespace
{

using OpenMesh::FaceHandle;
using OrvaneAlgorithm::detail::AcrossEdges;
using OrvaneAlgorithm::detail::FaceTex;
using OrvaneAlgorithm::detail::filter_face_tex;
using OrvaneAlgorithm::detail::optimize_boundary_iteration;
using OrvaneAlgorithm::detail::optimize_face_tex;
using OrvaneAlgorithm::detail::TexProperties;

constexpr int SMALL = 50;

FaceHandle fh(int i)
{
    return FaceHandle(i);
}

/// A mesh whose faces are given views by hand; none has one at first.
class Painted
{
public:
    explicit Painted(TriMesh source) : mesh(std::move(source))
    {
        properties.add_to(mesh);
        for (auto const face : mesh.faces())
        {
            clear(face);
        }
    }

    void clear(FaceHandle face)
    {
        mesh.property(properties.face_has_tex, face) = false;
        mesh.property(properties.face_tex_list, face).clear();
    }

    /// The face is seen in these views, and has the first of them.
    void paint(FaceHandle face, std::vector<int> const& views)
    {
        auto& list = mesh.property(properties.face_tex_list, face);
        list.resize(views.size());
        std::transform(views.begin(), views.end(), list.begin(),
                       [](int id)
                       {
                           FaceTex entry;
                           entry.image_id = id;
                           return entry;
                       });
        mesh.property(properties.face_has_tex, face) = true;
        mesh.property(properties.face_tex_index, face) = 0;
        mesh.property(properties.face_tex_label, face) = views.front();
    }
    void paint(int first, int last, std::vector<int> const& views)
    {
        for (int f = first; f <= last; ++f)
        {
            paint(fh(f), views);
        }
    }

    bool has_tex(FaceHandle face) const { return mesh.property(properties.face_has_tex, face); }
    int label(FaceHandle face) const { return mesh.property(properties.face_tex_label, face); }

    int n_textured() const
    {
        return static_cast<int>(std::count_if(mesh.faces_begin(), mesh.faces_end(),
                                              [this](FaceHandle f) { return has_tex(f); }));
    }
    std::vector<int> labels() const
    {
        std::vector<int> result;
        for (auto const face : mesh.faces())
        {
            result.push_back(has_tex(face) ? label(face) : -1);
        }
        return result;
    }

    TriMesh mesh;
    TexProperties properties;
};

std::vector<FaceHandle> across_edges_of(TriMesh const& mesh, FaceHandle face)
{
    std::vector<FaceHandle> faces;
    AcrossEdges const across(mesh);
    across(face,
           [&](FaceHandle other)
           {
               faces.push_back(other);
               return true;
           });
    return faces;
}

/// The faces that share a corner with a face, but no edge.
std::vector<FaceHandle> only_at_corners_of(TriMesh const& mesh, FaceHandle face)
{
    std::set<FaceHandle> faces;
    for (auto const v : mesh.fv_range(face))
    {
        faces.insert(mesh.cvf_begin(v), mesh.cvf_end(v));
    }
    faces.erase(face);
    for (FaceHandle const other : across_edges_of(mesh, face))
    {
        faces.erase(other);
    }
    return {faces.begin(), faces.end()};
}

/// A strip of `n` faces, each with the one before and the one behind it across an edge.
Painted strip(int n)
{
    std::vector<Vector3f> points{{0, 0, 0}, {0, 1, 0}};
    std::vector<std::array<int, 3>> triangles;
    for (int i = 0; i < n; ++i)
    {
        points.emplace_back(1.0F + static_cast<float>(i / 2), i % 2 == 0 ? 0.0F : 1.0F, 0.0F);
        triangles.push_back({i + i % 2, i + 1 - i % 2, i + 2});
    }
    return Painted(make_mesh(points, triangles));
}

TEST(FilterFaceTex, AFaceWithoutATexturedNeighbourLosesItsView)
{
    // A threshold of 0 drops no region: it is for the lack of neighbours.
    Painted scene = strip(10);
    scene.paint(fh(2), {0});
    scene.paint(5, 6, {0});
    filter_face_tex(scene.mesh, scene.properties, 0);
    EXPECT_EQ(scene.labels(), (std::vector<int>{-1, -1, -1, -1, -1, 0, 0, -1, -1, -1}));
}

TEST(FilterFaceTex, ARegionOfFiftyFacesIsDroppedAndOneOfFiftyOneStays)
{
    for (int const n : {49, 50, 51})
    {
        Painted scene = strip(60);
        scene.paint(0, n - 1, {0});
        EXPECT_EQ(filter_face_tex(scene.mesh, scene.properties, SMALL),
                  static_cast<std::size_t>(n));
        EXPECT_EQ(scene.n_textured(), n > 50 ? n : 0) << n;
    }
}

TEST(FilterFaceTex, ARegionMayHaveManyViews)
{
    Painted scene = strip(60);
    for (int f = 0; f < 51; ++f)
    {
        scene.paint(fh(f), {f % 7});
    }
    filter_face_tex(scene.mesh, scene.properties, SMALL);
    EXPECT_EQ(scene.n_textured(), 51);
}

TEST(FilterFaceTex, WhatMeetsInAVertexOnlyIsNotOneRegion)
{
    // The cells (0, 0) and (1, 1) of two faces each.
    for (int const threshold : {1, 2})
    {
        Painted scene(grid(2, 2));
        scene.paint(0, 1, {0});
        scene.paint(6, 7, {0});
        filter_face_tex(scene.mesh, scene.properties, threshold);
        EXPECT_EQ(scene.n_textured(), threshold == 1 ? 4 : 0);
    }
}

TEST(OptimizeFaceTex, ABlockOfFiftyFacesIsGivenAwayAndOneOfFiftyOneStays)
{
    for (int const n : {50, 51})
    {
        Painted scene = strip(200);
        scene.paint(0, n - 1, {1, 3, 0});
        scene.paint(n, 199, {0});
        optimize_face_tex(scene.mesh, scene.properties, SMALL);
        EXPECT_EQ(scene.label(fh(0)), n == 50 ? 0 : 1);
        EXPECT_EQ(scene.label(fh(n - 1)), n == 50 ? 0 : 1);
        // The index follows the label.
        EXPECT_EQ(scene.mesh.property(scene.properties.face_tex_index, fh(0)), n == 50 ? 2 : 0);
    }
}

TEST(OptimizeFaceTex, ASmallBlockWithNothingAroundItKeepsItsView)
{
    Painted scene = strip(20);
    scene.paint(3, 12, {1, 0});
    optimize_face_tex(scene.mesh, scene.properties, SMALL);
    EXPECT_EQ(scene.label(fh(3)), 1);
    EXPECT_EQ(scene.label(fh(12)), 1);
}

TEST(OptimizeFaceTex, AFaceOfTheRingCountsOnceHoweverOftenItTouchesTheBlock)
{
    // Face `inner` touches the block with three edges, the two faces of view 7 with one each, for
    // they fill corners of the sheet. By edges view 5 would win, three to two.
    Painted scene(grid(6, 6));
    FaceHandle const inner = fh(2 * (6 * 3 + 3));
    int n_corners = 0;
    for (auto const face : scene.mesh.faces())
    {
        bool const is_corner = across_edges_of(scene.mesh, face).size() == 1;
        scene.paint(face, is_corner ? std::vector<int>{7} : std::vector<int>{1, 5, 7});
        n_corners += is_corner ? 1 : 0;
    }
    ASSERT_EQ(n_corners, 2);
    scene.paint(inner, {5});
    optimize_face_tex(scene.mesh, scene.properties, 1000);
    EXPECT_EQ(scene.label(fh(0)), 7);
    EXPECT_EQ(scene.label(inner), 5);
}

TEST(OptimizeFaceTex, OfEquallyFrequentViewsAroundABlockTheLowestIsTaken)
{
    for (bool const lower_first : {true, false})
    {
        Painted scene = strip(200);
        scene.paint(0, 80, {lower_first ? 2 : 4});
        scene.paint(81, 90, {9, 4, 2});
        scene.paint(91, 199, {lower_first ? 4 : 2});
        optimize_face_tex(scene.mesh, scene.properties, SMALL);
        EXPECT_EQ(scene.label(fh(81)), 2);
        EXPECT_EQ(scene.label(fh(90)), 2);
    }
}

TEST(OptimizeFaceTex, EachFaceTakesTheFirstViewInWhichItIsSeenSoThatABlockCanFallApart)
{
    Painted scene = strip(200);
    scene.paint(0, 80, {2});
    scene.paint(81, 84, {9, 2});
    scene.paint(85, 86, {9, 4}); // not seen in 2: takes the second
    scene.paint(87, 90, {9, 3}); // seen in neither: keeps its own
    scene.paint(91, 199, {4});
    optimize_face_tex(scene.mesh, scene.properties, SMALL);
    for (int f = 81; f <= 90; ++f)
    {
        EXPECT_EQ(scene.label(fh(f)), f < 85 ? 2 : f < 87 ? 4 : 9) << f;
    }
}

TEST(OptimizeFaceTex, TheRingOfOneBlockCanStartABlockOfItsOwn)
{
    // The first block takes view 5 of the second, which then is looked at by itself: around it 5
    // and 6 are as frequent, and the lower one is its own.
    Painted scene = strip(200);
    scene.paint(0, 9, {0, 5});
    scene.paint(10, 19, {5, 6, 0});
    scene.paint(20, 199, {6});
    optimize_face_tex(scene.mesh, scene.properties, SMALL);
    EXPECT_EQ(scene.label(fh(0)), 5);
    EXPECT_EQ(scene.label(fh(9)), 5);
    EXPECT_EQ(scene.label(fh(10)), 5);
    // A second call finds the twenty faces as one block, with 6 around it.
    scene.paint(0, 9, {5, 6});
    optimize_face_tex(scene.mesh, scene.properties, SMALL);
    EXPECT_EQ(scene.label(fh(0)), 6);
    EXPECT_EQ(scene.label(fh(19)), 6);
}

TEST(OptimizeFaceTex, ABlockThatWasGivenAwayIsNotGrownOverAgain)
{
    // The first block takes view 5. The second one of view 5 does not join it, so it has ten faces
    // and not twenty: at a threshold of ten it is given away.
    Painted scene = strip(200);
    scene.paint(0, 9, {0, 5});
    scene.paint(10, 19, {5, 3});
    scene.paint(20, 199, {3});
    optimize_face_tex(scene.mesh, scene.properties, 10);
    EXPECT_EQ(scene.label(fh(9)), 5);
    EXPECT_EQ(scene.label(fh(10)), 3); // 3 and 5 are as frequent around it
}

/// A sheet of view 0 whose face `g` and one neighbour `f` have view 1 and are seen in 0 too. The
/// other two neighbours of g have no view, unless one of them gets it.
struct Erosion
{
    Painted scene{grid(9, 9)};
    FaceHandle g = fh(2 * (9 * 4 + 4));
    FaceHandle f;
    std::vector<FaceHandle> others;

    Erosion()
    {
        scene.paint(0, static_cast<int>(scene.mesh.n_faces()) - 1, {0});
        others = across_edges_of(scene.mesh, g);
        std::sort(others.begin(), others.end());
        f = others.back(); // behind g in the order of faces
        others.pop_back();
        scene.paint(g, {1, 0});
        scene.paint(f, {1, 0});
        for (FaceHandle const other : others)
        {
            scene.clear(other);
        }
    }
};

TEST(OptimizeBoundary, AChangeGoesOnToFacesThatWereNoBorderBefore)
{
    // Only f has a face of view 0 across an edge. Around g view 1 counts 3 + 2 and view 0 nine.
    Erosion erosion;
    ASSERT_EQ(only_at_corners_of(erosion.scene.mesh, erosion.g).size(), 9U);
    ASSERT_GT(erosion.f.idx(), erosion.g.idx());
    optimize_boundary_iteration(erosion.scene.mesh, erosion.scene.properties);
    EXPECT_EQ(erosion.scene.label(erosion.f), 0);
    EXPECT_EQ(erosion.scene.label(erosion.g), 0);
}

TEST(OptimizeBoundary, WhereNothingChangesNobodyElseIsAsked)
{
    Erosion erosion;
    erosion.scene.paint(erosion.f, {1}); // is not seen in view 0, so it stays
    optimize_boundary_iteration(erosion.scene.mesh, erosion.scene.properties);
    EXPECT_EQ(erosion.scene.label(erosion.f), 1);
    EXPECT_EQ(erosion.scene.label(erosion.g), 1); // though most around it have view 0
}

TEST(OptimizeBoundary, AFaceIsAskedOnceThoughItsSurroundingsChangeAfterwards)
{
    // g is asked before f: view 1 counts 3 + 2 there, view 0 2 + 2, so it stays. Then f changes,
    // and 3 would stand against 6.
    Erosion erosion;
    Painted& scene = erosion.scene;
    std::set<FaceHandle> beside_f;
    for (FaceHandle const face : across_edges_of(scene.mesh, erosion.f))
    {
        beside_f.insert(face);
    }
    for (FaceHandle const face : only_at_corners_of(scene.mesh, erosion.g))
    {
        if (beside_f.count(face) == 0)
        {
            scene.clear(face);
        }
    }
    scene.paint(erosion.others.front(), {0});
    optimize_boundary_iteration(scene.mesh, scene.properties);
    EXPECT_EQ(scene.label(erosion.f), 0);
    EXPECT_EQ(scene.label(erosion.g), 1);
    // Asked again it changes: a second call finds it at the border.
    optimize_boundary_iteration(scene.mesh, scene.properties);
    EXPECT_EQ(scene.label(erosion.g), 0);
}

/// One face of view `own` in a sheet without views, with one neighbour across an edge and `corners`
/// faces at its corners of view `other`. \return what the face has afterwards
int asked(int own, int other, std::size_t corners, std::vector<int> const& more_views)
{
    Painted scene(grid(9, 9));
    FaceHandle const g = fh(2 * (9 * 4 + 4));
    std::vector<int> views{own};
    views.insert(views.end(), more_views.begin(), more_views.end());
    scene.paint(g, views);
    scene.paint(across_edges_of(scene.mesh, g).front(), {other});
    auto const around = only_at_corners_of(scene.mesh, g);
    for (std::size_t i = 0; i < corners; ++i)
    {
        scene.paint(around[i], {other});
    }
    optimize_boundary_iteration(scene.mesh, scene.properties);
    return scene.label(g);
}

TEST(OptimizeBoundary, AFaceCountsThreeTimesANeighbourTwiceAndOneAtACornerOnce)
{
    EXPECT_EQ(asked(1, 2, 0, {2}), 1); // 3 to 2
    EXPECT_EQ(asked(1, 2, 1, {2}), 1); // 3 to 3
    EXPECT_EQ(asked(1, 2, 2, {2}), 2); // 3 to 4
}

TEST(OptimizeBoundary, OfEquallyFrequentViewsTheLowestIsTakenThoughItIsNotTheFaces)
{
    EXPECT_EQ(asked(2, 1, 0, {1}), 2); // 3 to 2
    EXPECT_EQ(asked(2, 1, 1, {1}), 1); // 3 to 3
}

TEST(OptimizeBoundary, AFaceThatIsNotSeenInTheMostFrequentViewKeepsItsOwn)
{
    EXPECT_EQ(asked(1, 2, 5, {}), 1);
    EXPECT_EQ(asked(1, 2, 5, {0, 3}), 1);
}

TEST(OptimizeBoundary, AFaceThatTouchesOtherViewsOnlyAtCornersIsNotAsked)
{
    Painted scene(grid(9, 9));
    FaceHandle const g = fh(2 * (9 * 4 + 4));
    scene.paint(g, {1, 0});
    for (FaceHandle const face : only_at_corners_of(scene.mesh, g))
    {
        scene.paint(face, {0});
    }
    optimize_boundary_iteration(scene.mesh, scene.properties);
    EXPECT_EQ(scene.label(g), 1);
}

TEST(FaceBlocks, EachStepIsTold)
{
    Painted scene = strip(4);
    LogCapture const log;
    filter_face_tex(scene.mesh, scene.properties, SMALL);
    optimize_face_tex(scene.mesh, scene.properties, SMALL);
    optimize_boundary_iteration(scene.mesh, scene.properties);
    EXPECT_EQ(log.text(), "filter_face_tex() ..\n"
                          "optimize_face_tex() ..\n"
                          "optimize_boundary_iteration() ..\n");
}

void run_all(Painted& scene, int threshold)
{
    filter_face_tex(scene.mesh, scene.properties, threshold);
    optimize_face_tex(scene.mesh, scene.properties, threshold);
    optimize_boundary_iteration(scene.mesh, scene.properties);
    optimize_face_tex(scene.mesh, scene.properties, threshold);
}

TEST(FaceBlocks, MeshesWithoutFacesOrWithBordersThatTouchAreNoTrouble)
{
    TriMesh points;
    points.add_vertex(Vector3f(1, 2, 3));
    for (TriMesh const& mesh : {TriMesh(), points, bow_tie(), pinched_pair(), tetrahedron()})
    {
        Painted scene(mesh);
        for (auto const face : scene.mesh.faces())
        {
            scene.paint(face, {face.idx() % 2, 1 - face.idx() % 2});
        }
        EXPECT_NO_THROW(run_all(scene, 1));
        // The two faces of the tie share no edge.
        EXPECT_EQ(scene.n_textured(), mesh.n_faces() == 2 ? 0 : static_cast<int>(mesh.n_faces()));
    }
}

/// Patches of views with stray faces in them, each seen in some other views too.
Painted speckled(unsigned seed)
{
    Painted scene(sphere(5));
    std::mt19937 random(seed);
    for (auto const face : scene.mesh.faces())
    {
        Vector3f centre = Vector3f::Zero();
        for (auto const v : face.vertices())
        {
            centre += scene.mesh.point(v);
        }
        int const sector = static_cast<int>(2.0F * (centre.x() + 3.0F)) + (centre.y() > 0 ? 7 : 0);
        std::vector<int> views{random() % 5U == 0 ? static_cast<int>(random() % 20U) : sector};
        for (int const more : {sector, (sector + 1) % 20, static_cast<int>(random() % 20U)})
        {
            if (random() % 3U != 0 && std::count(views.begin(), views.end(), more) == 0)
            {
                views.push_back(more);
            }
        }
        scene.paint(face, views);
        scene.mesh.property(scene.properties.face_has_tex, face) = random() % 12U != 0;
    }
    return scene;
}

TEST(FaceBlocks, EachFaceEndsWithAViewInWhichItIsSeen)
{
    Painted scene = speckled(1);
    std::vector<int> const before = scene.labels();
    run_all(scene, SMALL);
    std::vector<int> const after = scene.labels();
    int n_changed = 0;
    for (auto const face : scene.mesh.faces())
    {
        auto const f = static_cast<std::size_t>(face.idx());
        if (!scene.has_tex(face))
        {
            continue;
        }
        ASSERT_NE(before[f], -1); // nobody is given a view who had none
        auto const& list = scene.mesh.property(scene.properties.face_tex_list, face);
        int const index = scene.mesh.property(scene.properties.face_tex_index, face);
        ASSERT_EQ(list.at(static_cast<std::size_t>(index)).image_id, after[f]);
        n_changed += before[f] != after[f] ? 1 : 0;
    }
    EXPECT_GT(n_changed, 300);
}

TEST(FaceBlocks, AnyNumberOfThreadsMakesTheSame)
{
    auto const labels_with = [](int n)
    {
        Threads const threads(n);
        Painted scene = speckled(2);
        run_all(scene, SMALL);
        return scene.labels();
    };
    auto const with_one = labels_with(1);
    EXPECT_EQ(labels_with(2), with_one);
    EXPECT_EQ(labels_with(8), with_one);
}

} // namespace
} // namespace veld_test
