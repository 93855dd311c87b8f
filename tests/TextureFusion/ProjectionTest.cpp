#include "algorithmVeld/TextureFusion/projection/Projection.h"

#include "tests/TextureFusion/scenes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::detail::FaceTex;
using OrvaneAlgorithm::detail::project_faces;
using OrvaneAlgorithm::detail::project_vertices;
using OrvaneAlgorithm::detail::TexImage;
using OrvaneAlgorithm::detail::TexProperties;
using OrvaneAlgorithm::detail::VertTex;
using OrvaneAlgorithm::detail::VertTexLists;
using OrvaneAlgorithm::detail::VisibilityLimits;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int WIDTH = 40;
constexpr int HEIGHT = 30;
constexpr float FOCAL_LENGTH = 128.0F;
Vector3f const TO_CAMERA(0, 0, -1);

/// A camera at the origin that looks along z; its axis meets the middle of pixel (0, 0).
TexImage axis_view(int width = WIDTH, int height = HEIGHT)
{
    TexImage result;
    result.intrinsics = CameraInParam(FOCAL_LENGTH, FOCAL_LENGTH, 0.0, 0.0);
    result.image = Image<3, unsigned char>(width, height);
    return result;
}

/// A point that this camera sees at (u, v); exact where u and v are multiples of 1/16.
Vector3f seen_at(float u, float v, float z = 64.0F)
{
    return {u * z / FOCAL_LENGTH, v * z / FOCAL_LENGTH, z};
}

struct NormalPoint
{
    Vector3f point;
    Vector3f normal = TO_CAMERA;
};

/// Vertices without faces.
TriMesh vertices_with_normals(std::vector<NormalPoint> const& points)
{
    TriMesh mesh;
    mesh.request_vertex_normals();
    for (NormalPoint const& p : points)
    {
        mesh.set_normal(mesh.add_vertex(p.point), p.normal);
    }
    return mesh;
}

/// Which vertices are seen in any of the views.
std::vector<bool> seen(TriMesh const& mesh, std::vector<TexImage> const& views,
                       VisibilityLimits const& limits = {})
{
    auto const lists = project_vertices(mesh, views, limits);
    std::vector<bool> result;
    for (std::size_t v = 0; v < mesh.n_vertices(); ++v)
    {
        result.push_back(lists.size(v) > 0);
    }
    return result;
}

std::vector<bool> seen(std::vector<NormalPoint> const& points, VisibilityLimits const& limits = {})
{
    return seen(vertices_with_normals(points), {axis_view()}, limits);
}

std::vector<int> views_of(VertTexLists const& lists, std::size_t vertex)
{
    std::vector<int> ids;
    for (VertTex const* entry = lists.begin(vertex); entry != lists.end(vertex); ++entry)
    {
        ids.push_back(entry->image_id);
    }
    return ids;
}

auto all_of(VertTex const& t)
{
    return std::make_tuple(t.image_id, t.depth, t.px, t.py, t.u, t.v, t.cosine);
}

bool same(VertTex const& a, VertTex const& b)
{
    return all_of(a) == all_of(b);
}

TEST(ProjectVertices, AnEntrySaysWhereTheVertexIsSeen)
{
    // (3, 4, 12) has the length 13. The pixel is where u and v are cut off: half a pixel is not
    // added to them, though whole numbers are the middles of pixels.
    TexImage view = axis_view();
    view.intrinsics = CameraInParam(64.0, 32.0, 0.75, 0.25);
    auto const mesh = vertices_with_normals({{{3, 4, 12}}});
    auto const lists = project_vertices(mesh, {view}, {});
    ASSERT_EQ(lists.size(0), 1U);
    VertTex const& entry = *lists.begin(0);
    EXPECT_EQ(entry.image_id, 0);
    EXPECT_EQ(entry.depth, 12.0F);
    EXPECT_EQ(entry.u, 16.75F);
    EXPECT_EQ(entry.px, 16);
    EXPECT_FLOAT_EQ(entry.v, 32.0F / 3.0F + 0.25F);
    EXPECT_EQ(entry.py, 10);
    EXPECT_FLOAT_EQ(entry.cosine, 12.0F / 13.0F);
}

TEST(ProjectVertices, TheFirstPixelBehindTheBorderIsInAndTheOneAtItsOtherEndIsOut)
{
    EXPECT_THAT(
        seen({{seen_at(3, 10)}, {seen_at(2.9375F, 10)}, {seen_at(10, 3)}, {seen_at(10, 2.9375F)}}),
        ElementsAre(true, false, true, false));
    EXPECT_THAT(seen({{seen_at(WIDTH - 3, 10)},
                      {seen_at(WIDTH - 3 - 0.0625F, 10)},
                      {seen_at(10, HEIGHT - 3)},
                      {seen_at(10, HEIGHT - 3 - 0.0625F)}}),
                ElementsAre(false, true, false, true));
}

TEST(ProjectVertices, WithoutABorderLessThanAPixelBesideTheImageIsIn)
{
    // Cutting off takes what lies between -1 and 0 to pixel 0.
    VisibilityLimits limits;
    limits.image_border = 0;
    std::vector<NormalPoint> const points{{seen_at(-0.9375F, 10)},        {seen_at(-1, 10)},
                                          {seen_at(WIDTH - 0.0625F, 10)}, {seen_at(WIDTH, 10)},
                                          {seen_at(10, -0.9375F)},        {seen_at(10, -1)}};
    EXPECT_THAT(seen(points, limits), ElementsAre(true, false, true, false, true, false));
    limits.image_border = -5; // does not make the image larger
    EXPECT_THAT(seen(points, limits), ElementsAre(true, false, true, false, true, false));
}

TEST(ProjectVertices, ABorderThatLeavesNothingShowsNothing)
{
    VisibilityLimits limits;
    for (int const border : {15, 20, std::numeric_limits<int>::max()})
    {
        limits.image_border = border;
        EXPECT_THAT(seen({{seen_at(20, 15)}}, limits), ElementsAre(false)) << border;
    }
    limits.image_border = 14;
    EXPECT_THAT(seen({{seen_at(20, 15)}}, limits), ElementsAre(true));
}

TEST(ProjectVertices, EdgeOnIsSeenAndALittleFartherIsNot)
{
    // Seen at (0, 10): the ray has no x.
    VisibilityLimits limits;
    limits.image_border = 0;
    Vector3f const at = seen_at(0, 10);
    EXPECT_THAT(seen({{at, {1, 0, 0}}, {at, {1, 0, 1e-6F}}, {at, {1, 0, -1e-6F}}}, limits),
                ElementsAre(true, false, true));
}

TEST(ProjectVertices, ACosineOfTheThresholdIsEnough)
{
    VisibilityLimits limits;
    limits.image_border = 0;
    limits.norm_thr = 0.5F;
    Vector3f const at(0, 0, 64); // straight ahead: the cosine is -z of the normal
    EXPECT_THAT(seen({{at, {0, 0, -0.5F}}, {at, {0, 0, -0.4999999F}}}, limits),
                ElementsAre(true, false));
}

TEST(ProjectVertices, WhatLiesBehindTheCameraIsSeenToo)
{
    // The depth has no sign, so the point is seen on the same side of the axis as it lies.
    auto const mesh = vertices_with_normals({{{5, 5, -64}, {0, 0, 1}}, {{5, 5, -64}, {0, 0, -1}}});
    auto const lists = project_vertices(mesh, {axis_view()}, {});
    ASSERT_EQ(lists.size(0), 1U);
    EXPECT_EQ(lists.begin(0)->depth, 64.0F);
    EXPECT_EQ(lists.begin(0)->px, 10);
    EXPECT_GT(lists.begin(0)->cosine, 0.9F);
    EXPECT_EQ(lists.size(1), 0U); // looks away
}

TEST(ProjectVertices, WhatLiesBehindTheCameraIsNotSeenWhereThatIsAskedFor)
{
    std::vector<NormalPoint> const points{{seen_at(9, 9)}, {{5, 5, -64}, {0, 0, 1}}};
    VisibilityLimits limits;
    EXPECT_THAT(seen(points, limits), ElementsAre(true, true));
    limits.behind_camera = OrvaneAlgorithm::BehindCamera::UNSEEN;
    EXPECT_THAT(seen(points, limits), ElementsAre(true, false));
}

TEST(ProjectVertices, TheToleranceItselfIsTooFarBehind)
{
    for (bool const near_first : {true, false})
    {
        std::vector<NormalPoint> points{{seen_at(10.5F, 10.5F, 64)},
                                        {seen_at(10.5F, 10.5F, 64.999F)},
                                        {seen_at(10.5F, 10.5F, 65)},
                                        {seen_at(10.5F, 10.5F, 80)}};
        std::vector<bool> expected{true, true, false, false};
        if (!near_first)
        {
            std::reverse(points.begin(), points.end());
            std::reverse(expected.begin(), expected.end());
        }
        EXPECT_EQ(seen(points), expected);
    }
}

TEST(ProjectVertices, ANearerNeighbourHidesAPixelThatLiesFartherThanTheTolerance)
{
    Vector3f const near = seen_at(10, 10, 64);
    EXPECT_THAT(seen({{near}, {seen_at(11, 10, 65.0625F)}}), ElementsAre(true, false));
    EXPECT_THAT(seen({{near}, {seen_at(9, 9, 65.0625F)}}), ElementsAre(true, false));
    EXPECT_THAT(seen({{near}, {seen_at(12, 10, 65.0625F)}}), ElementsAre(true, true));
    // Between neighbours the tolerance itself is still near enough.
    EXPECT_THAT(seen({{near}, {seen_at(11, 10, 65)}}), ElementsAre(true, true));
}

TEST(ProjectVertices, WhatIsHiddenItselfStillHidesItsNeighbours)
{
    // The second is hidden by the first, and the third by the second only.
    EXPECT_THAT(seen({{seen_at(10, 10, 64)}, {seen_at(11, 10, 70)}, {seen_at(12, 10, 80)}}),
                ElementsAre(true, false, false));
}

TEST(ProjectVertices, WhatLooksAwayOrLiesInTheBorderHidesNothing)
{
    Vector3f const away(0, 0, 1);
    EXPECT_THAT(seen({{seen_at(10, 10, 64), away}, {seen_at(10, 10, 80)}}),
                ElementsAre(false, true));
    EXPECT_THAT(seen({{seen_at(2, 10, 64)}, {seen_at(3, 10, 80)}}), ElementsAre(false, true));
}

TEST(ProjectVertices, TheEleventhViewAddsNothing)
{
    auto const mesh = vertices_with_normals({{seen_at(10, 10)}});
    std::vector<TexImage> const views(12, axis_view());
    auto const lists = project_vertices(mesh, views, {});
    EXPECT_THAT(views_of(lists, 0), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(ProjectVertices, AVertexWithAFullListHidesNothing)
{
    VisibilityLimits limits;
    limits.vertex_tex_num_thr = 1;
    auto const mesh = vertices_with_normals({{seen_at(10, 10, 64)}, {seen_at(10, 10, 80)}});
    std::vector<TexImage> const views(2, axis_view());
    auto const lists = project_vertices(mesh, views, limits);
    EXPECT_THAT(views_of(lists, 0), ElementsAre(0));
    EXPECT_THAT(views_of(lists, 1), ElementsAre(1));
}

TEST(ProjectVertices, ListsOfAnyLengthFollowTheOrderOfViews)
{
    auto const mesh = vertices_with_normals({{seen_at(10, 10)}, {seen_at(30, 10)}});
    std::vector<TexImage> const views{axis_view(), axis_view(25, 20), axis_view()};
    for (auto const& [most, left, right] :
         std::vector<std::tuple<int, std::vector<int>, std::vector<int>>>{
             {std::numeric_limits<int>::max(), {0, 1, 2}, {0, 2}},
             {2, {0, 1}, {0, 2}},
             {1, {0}, {0}},
             {0, {}, {}},
             {-1, {}, {}}})
    {
        VisibilityLimits limits;
        limits.vertex_tex_num_thr = most;
        auto const lists = project_vertices(mesh, views, limits);
        EXPECT_EQ(views_of(lists, 0), left) << most;
        EXPECT_EQ(views_of(lists, 1), right) << most;
    }
}

TEST(ProjectVertices, ListsThatNoMemoryHoldsAreRefused)
{
    auto const huge = std::numeric_limits<std::size_t>::max();
    EXPECT_THROW(VertTexLists(huge / 2, 3), std::length_error);
    EXPECT_THROW(VertTexLists(3, huge / 2), std::length_error);
}

TEST(ProjectVertices, WhatIsNoPlaceInAViewIsDropped)
{
    // On the camera's plane or in the camera itself, too large for any int, or no number.
    std::vector<NormalPoint> const points{{{1, 1, 0}},
                                          {{0, 0, 0}},
                                          {{1, 1, 1e-38F}},
                                          {{1e30F, 1, 1e-8F}},
                                          {{NOT_A_NUMBER, 1, 64}},
                                          {{1, NOT_A_NUMBER, 64}},
                                          {{1, 1, NOT_A_NUMBER}},
                                          {{INFINITE, 1, 64}},
                                          {{1, 1, INFINITE}},
                                          {{1, 1, -INFINITE}},
                                          {seen_at(10, 10)}};
    std::vector<bool> expected(points.size());
    expected.back() = true;
    VisibilityLimits limits;
    limits.image_border = 0;
    EXPECT_EQ(seen(points, limits), expected);
}

TEST(ProjectVertices, ANormalThatIsNoNumberRefusesNothing)
{
    // Only a cosine below the threshold does, and none is below nothing.
    auto const mesh = vertices_with_normals(
        {{seen_at(10, 10), {NOT_A_NUMBER, 0, 0}}, {seen_at(20, 10), {0, 0, 0}}});
    auto const lists = project_vertices(mesh, {axis_view()}, {});
    ASSERT_EQ(lists.size(0), 1U);
    EXPECT_TRUE(std::isnan(lists.begin(0)->cosine));
    ASSERT_EQ(lists.size(1), 1U);
    EXPECT_EQ(lists.begin(1)->cosine, 0.0F);
}

TEST(ProjectVertices, ViewsWithoutPixelsOrWithAPoseThatIsNoneShowNothing)
{
    std::vector<TexImage> views(5, axis_view());
    views[0].image = Image<3, unsigned char>();
    views[1].pose.set_translation(Vector3d::Constant(NOT_A_NUMBER));
    views[2].pose.set_rotation(Matrix3d::Constant(INFINITE));
    views[3].intrinsics = CameraInParam(NOT_A_NUMBER, 1.0, 0.0, 0.0);
    auto const mesh = vertices_with_normals({{seen_at(10, 10)}});
    EXPECT_THAT(views_of(project_vertices(mesh, views, {}), 0), ElementsAre(4));
    EXPECT_EQ(project_vertices(mesh, {}, {}).size(0), 0U);
    EXPECT_NO_THROW(project_vertices(vertices_with_normals({}), views, {}));
}

TEST(ProjectVertices, EachViewTellsHowManyVerticesItShows)
{
    auto const mesh = vertices_with_normals({{seen_at(10, 10)}, {seen_at(30, 10)}});
    std::vector<TexImage> const views{axis_view(), axis_view(25, 20), TexImage()};
    LogCapture const log;
    project_vertices(mesh, views, {});
    EXPECT_EQ(log.text(), "  image( 0 ) projected vertices: 2\n"
                          "  image( 1 ) projected vertices: 1\n"
                          "  image( 2 ) projected vertices: 0\n");
}

TEST(ProjectVertices, NothingIsToldWithoutTheSwitch)
{
    LogCapture const log(false);
    project_vertices(vertices_with_normals({{seen_at(10, 10)}}), {axis_view()}, {});
    EXPECT_EQ(log.text(), "");
}

OpenMesh::FaceHandle const THE_FACE(0);

/// A triangle whose corners are seen in given views with given cosines.
class OneFace
{
public:
    using CornerViews = std::vector<std::pair<int, float>>;

    OneFace(CornerViews const& a, CornerViews const& b, CornerViews const& c)
    {
        properties.add_to(mesh);
        std::array<CornerViews const*, 3> const views{&a, &b, &c};
        for (std::size_t v = 0; v < 3; ++v)
        {
            for (auto const& [view, cosine] : *views[v])
            {
                VertTex entry;
                entry.image_id = view;
                entry.cosine = cosine;
                entry.px = static_cast<int>(v);
                lists.append(v, entry);
            }
        }
        project_faces(mesh, properties, lists);
    }

    std::vector<FaceTex> const& list() const
    {
        return mesh.property(properties.face_tex_list, THE_FACE);
    }
    bool has_tex() const { return mesh.property(properties.face_has_tex, THE_FACE); }

    std::vector<int> ids() const
    {
        std::vector<int> result;
        for (FaceTex const& entry : list())
        {
            result.push_back(entry.image_id);
        }
        return result;
    }

    TriMesh mesh = lone_triangle();
    TexProperties properties;
    VertTexLists lists{3, 8};
};

TEST(ProjectFaces, OnlyViewsThatAllCornersHaveCount)
{
    OneFace const face({{0, 1.0F}, {2, 1.0F}, {3, 1.0F}, {5, 1.0F}},
                       {{1, 1.0F}, {2, 0.5F}, {5, 1.0F}, {6, 1.0F}},
                       {{2, 1.0F}, {4, 1.0F}, {5, 1.0F}});
    EXPECT_TRUE(face.has_tex());
    EXPECT_THAT(face.ids(), ElementsAre(5, 2));
    EXPECT_EQ(face.mesh.property(face.properties.face_tex_index, THE_FACE), 0);
    EXPECT_EQ(face.mesh.property(face.properties.face_tex_label, THE_FACE), 5);
}

TEST(ProjectFaces, CornersStandInTheOrderOfTheFace)
{
    OneFace const face({{3, 0.1F}}, {{3, 0.2F}}, {{3, 0.3F}});
    ASSERT_EQ(face.list().size(), 1U);
    std::size_t i = 0;
    for (auto const vertex : face.mesh.fv_range(THE_FACE))
    {
        EXPECT_EQ(face.list()[0].corner[i++].px, vertex.idx());
    }
}

TEST(ProjectFaces, AFaceWhoseCornersShareNoViewHasNone)
{
    // Each corner may be seen in many views, and any two corners in one.
    OneFace face({{0, 1.0F}, {1, 1.0F}}, {{1, 1.0F}, {2, 1.0F}}, {{0, 1.0F}, {2, 1.0F}});
    EXPECT_FALSE(face.has_tex());
    EXPECT_THAT(face.list(), IsEmpty());
    // What was there before goes.
    face.mesh.property(face.properties.face_has_tex, THE_FACE) = true;
    face.mesh.property(face.properties.face_tex_list, THE_FACE).resize(2);
    project_faces(face.mesh, face.properties, face.lists);
    EXPECT_FALSE(face.has_tex());
    EXPECT_THAT(face.list(), IsEmpty());
}

TEST(ProjectFaces, TheMostFrontalViewIsFirstAndOfEqualOnesTheEarlier)
{
    OneFace::CornerViews const views{{0, 0.25F}, {1, 0.75F}, {2, 0.5F}, {3, 0.75F}, {4, 0.25F}};
    EXPECT_THAT(OneFace(views, views, views).ids(), ElementsAre(1, 3, 2, 0, 4));
}

TEST(ProjectFaces, ACosineThatIsNoNumberComesLast)
{
    OneFace::CornerViews const views{{0, NOT_A_NUMBER}, {1, 0.5F}, {2, INFINITE}, {3, 0.75F}};
    EXPECT_THAT(OneFace(views, views, views).ids(), ElementsAre(3, 1, 0, 2));
}

TEST(ProjectFaces, TheMeanCosineIsSummedInFloatAndDividedInDouble)
{
    // In float the small ones are lost one after the other; in double their sum would count.
    float const small = std::ldexp(1.0F, -24);
    OneFace const face({{0, small}}, {{0, small}}, {{0, small}});
    EXPECT_EQ(face.list().at(0).avg_cos, static_cast<float>(3.0 * small / 3.0));
    for (std::size_t big = 0; big < 3; ++big)
    {
        std::array<float, 3> cosines{small, small, small};
        cosines[big] = 1.0F;
        OneFace const mixed({{0, cosines[0]}}, {{0, cosines[1]}}, {{0, cosines[2]}});
        float sum = 0.0F;
        for (auto const& corner : mixed.list().at(0).corner)
        {
            sum += corner.cosine;
        }
        EXPECT_EQ(mixed.list()[0].avg_cos, static_cast<float>(static_cast<double>(sum) / 3.0));
    }
}

/// A sphere with views all around, some of which see only a part of it.
struct SphereScene
{
    TriMesh mesh = sphere(6);
    std::vector<TexImage> views;

    SphereScene()
    {
        mesh.request_vertex_normals();
        std::mt19937 random(5);
        for (auto const v : mesh.vertices())
        {
            mesh.set_point(v, 50.0F * mesh.point(v));
            Vector3f const shake(static_cast<float>(random() % 100U), 0.0F, 0.0F);
            mesh.set_normal(v, (mesh.point(v) + 0.2F * shake).normalized());
        }
        for (int k = 0; k < 14; ++k)
        {
            double const angle = 0.9 * k;
            Vector3d const eye(200.0 * std::cos(angle), 20.0 * k - 140.0, 200.0 * std::sin(angle));
            views.push_back(view(k, look_at(eye, Vector3d(10.0, 0.0, 0.0)), 250.0 + 20.0 * k,
                                 Image<3, unsigned char>(160 + 10 * k, 200 - 10 * k)));
        }
    }
};

/// All that the two stages find, in one list.
std::vector<std::tuple<int, float, int, int, float, float, float>> all_found(int n_threads)
{
    Threads const threads(n_threads);
    SphereScene scene;
    TexProperties properties;
    properties.add_to(scene.mesh);
    VisibilityLimits limits;
    limits.vertex_tex_num_thr = 4;
    auto const lists = project_vertices(scene.mesh, scene.views, limits);
    project_faces(scene.mesh, properties, lists);
    decltype(all_found(1)) found;
    for (std::size_t v = 0; v < scene.mesh.n_vertices(); ++v)
    {
        for (VertTex const* entry = lists.begin(v); entry != lists.end(v); ++entry)
        {
            found.push_back(all_of(*entry));
        }
    }
    for (auto const f : scene.mesh.faces())
    {
        found.emplace_back(scene.mesh.property(properties.face_has_tex, f) ? 1 : 0, 0.0F,
                           scene.mesh.property(properties.face_tex_label, f),
                           scene.mesh.property(properties.face_tex_index, f), 0.0F, 0.0F, 0.0F);
        for (FaceTex const& entry : scene.mesh.property(properties.face_tex_list, f))
        {
            found.emplace_back(entry.image_id, entry.avg_cos, 0, 0, 0.0F, 0.0F, 0.0F);
        }
    }
    return found;
}

TEST(ProjectVertices, AnyNumberOfThreadsFindsTheSame)
{
    auto const with_one = all_found(1);
    EXPECT_GT(with_one.size(), 50000U);
    EXPECT_TRUE(all_found(2) == with_one);
    EXPECT_TRUE(all_found(8) == with_one);
}

TEST(ProjectVertices, RenumberingVerticesChangesNothing)
{
    SphereScene const scene;
    std::vector<NormalPoint> points;
    for (auto const v : scene.mesh.vertices())
    {
        points.push_back({scene.mesh.point(v), scene.mesh.normal(v)});
    }
    auto const lists = project_vertices(scene.mesh, scene.views, {});
    std::reverse(points.begin(), points.end());
    auto const reversed = project_vertices(vertices_with_normals(points), scene.views, {});
    for (std::size_t v = 0; v < points.size(); ++v)
    {
        std::size_t const w = points.size() - 1 - v;
        ASSERT_TRUE(
            std::equal(lists.begin(v), lists.end(v), reversed.begin(w), reversed.end(w), same));
    }
}

} // namespace
} // namespace veld_test
