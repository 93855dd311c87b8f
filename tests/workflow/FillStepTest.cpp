#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "workflow/workflow.h"

#include <gmock/gmock.h>

#include <random>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::HoleFillingCore;
using OrvaneAlgorithm::Holes;
using testing::HasSubstr;

veld::FillSettings core_settings()
{
    veld::FillSettings settings;
    settings.method = veld::FillMethod::CORE;
    settings.max_perimeter = 0.0;
    return settings;
}

/// A sheet of unit cells without those within a square around the middle, its vertices up and down
/// by chance.
TriMesh rough_sheet(int cells, int hole_from, int hole_to)
{
    std::vector<Cell> missing;
    for (int y = hole_from; y < hole_to; ++y)
    {
        for (int x = hole_from; x < hole_to; ++x)
        {
            missing.emplace_back(x, y);
        }
    }
    TriMesh mesh = grid_without(cells, cells, missing);
    std::mt19937 random(1);
    for (auto const v : mesh.vertices())
    {
        float const height = static_cast<float>(random() % 1000U) / 2000.0F;
        mesh.set_point(v, mesh.point(v) + Vector3f(0, 0, height));
    }
    return mesh;
}

/// The same by the class, with a number of edges from which on splits are left out.
TriMesh filled_by_the_class(TriMesh mesh, int sample_number, veld::FillSettings const& settings)
{
    veld::Context context;
    Holes const holes = veld::find_holes(mesh, {}, context).holes;
    HoleFillingCore core;
    core.set_smooth_type(settings.smoothness);
    core.set_use_hole_vert_num_thr(true);
    core.set_hole_verts_thr(settings.max_edges);
    core.set_triangulation_sample_num(sample_number);
    std::vector<std::vector<OpenMesh::FaceHandle>> faces;
    Holes vertices;
    Holes patches;
    core.fill_holes_core(mesh, holes, settings.rings, faces, vertices, patches, false);
    return mesh;
}

TEST(FillStep, EverySplitOfAHoleOfMoreThanFourHundredEdgesIsLookedAt)
{
    // The hole has 408 edges, the border of the sheet 440.
    TriMesh const mesh = rough_sheet(110, 4, 106);
    veld::Context context;
    auto settings = core_settings();
    settings.max_edges = 410;
    auto const every_split = fingerprint(veld::fill(mesh, settings, context).mesh);
    EXPECT_GT(every_split.size(), fingerprint(mesh).size());
    EXPECT_EQ(every_split, fingerprint(filled_by_the_class(mesh, 409, settings)));
    EXPECT_NE(every_split, fingerprint(filled_by_the_class(mesh, 400, settings)));
    settings.exact_edges = 399;
    EXPECT_EQ(fingerprint(veld::fill(mesh, settings, context).mesh),
              fingerprint(filled_by_the_class(mesh, 400, settings)));
}

TEST(FillStep, PatchOfMoreThanTwentyThousandVerticesIsFaired)
{
    // The rings reach as far as a hundred cells from the hole.
    TriMesh const mesh = rough_sheet(220, 108, 112);
    auto settings = core_settings();
    settings.max_perimeter = 40.0; // of the hole of 16 edges, not of the border
    settings.rings = 200;
    settings.smoothness = 0;
    veld::Context context;
    std::size_t warnings = 0;
    context.warn = [&](veld::Warning const&) { ++warnings; };
    TriMesh const filled = veld::fill(mesh, settings, context).mesh;
    EXPECT_EQ(warnings, 0U);
    std::size_t moved = 0;
    for (auto const v : mesh.vertices())
    {
        moved += mesh.point(v) != filled.point(v) ? 1 : 0;
    }
    EXPECT_GT(moved, 20000U);
}

TEST(FillStep, PatchThatIsTooLargeIsWarnedOf)
{
    TriMesh const mesh = rough_sheet(12, 5, 8);
    auto settings = core_settings();
    settings.max_edges = 12;
    settings.max_patch = 20;
    veld::Context context;
    std::vector<veld::Warning> warnings;
    context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning); };
    auto const result = veld::fill(mesh, settings, context);
    EXPECT_EQ(result.holes_after, 1U);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].code, veld::WarningCode::PATCH_UNFAIRED);
    EXPECT_THAT(warnings[0].text, HasSubstr("more than 20"));
    for (auto const v : mesh.vertices())
    {
        ASSERT_EQ(mesh.point(v), result.mesh.point(v));
    }
    settings.max_patch = 0; // no limit
    veld::fill(mesh, settings, context);
    EXPECT_EQ(warnings.size(), 1U);
}

} // namespace
