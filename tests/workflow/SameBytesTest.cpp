#include "tests/veld/run_veld.h"

#include "workflow/workflow.h"

#include "tests/reconstruction/depth_frames.h"
#include "tests/reconstruction/frames.h"

#include "algorithmVeld/common/CRangeDataIO.h"

namespace
{

using namespace veld_test;

void write_frames(TempDir const& dir, std::vector<OrvaneAlgorithm::RangeData> const& frames)
{
    for (std::size_t i = 0; i < frames.size(); ++i)
    {
        std::string const path = dir.file("frame-" + std::to_string(i) + ".rge");
        ASSERT_EQ(OrvaneAlgorithm::CRangeDataIO::write_rge(std::wstring(path.begin(), path.end()),
                                                           frames[i]),
                  0);
    }
}

TEST(SameBytes, AHostsMergeGivesWhatTheProgramGives)
{
    TempDir const dir;
    write_frames(dir, random_frames(7, 3, 30, 1.0F));
    veld::Context context;
    auto const set = veld::load_frames(dir.file(""), {}, context);
    veld::write_mesh(dir.file("host.ply"), veld::merge(set, {}, context).mesh, context);
    auto const run = run_veld({"merge", dir.file(""), "-o", dir.file("program.ply")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(file_content(dir.file("host.ply")), file_content(dir.file("program.ply")));
}

/// The program computes normals late, where frames are not smoothed, or never.
TEST(SameBytes, BareFramesMergeAsThoseDoThatHaveNormals)
{
    for (double const noise : {0.0, 2.0 * NOISE_SQUARE})
    {
        SCOPED_TRACE(noise);
        std::vector<RangeData> frames{depth_frame(slanted_wall(1000.0, 0.3), noise, 1, 0.0),
                                      depth_frame(slanted_wall(1000.0, 0.3), noise, 2, 60.0)};
        for (auto& frame : frames)
        {
            frame.disable_vNormal();
        }
        TempDir const dir;
        write_frames(dir, frames);
        veld::Context context;
        auto const set = veld::load_frames(dir.file(""), {}, context);
        auto const merged = veld::merge(set, {}, context);
        EXPECT_EQ(merged.prepared, noise > 0.0);
        veld::write_mesh(dir.file("host.ply"), merged.mesh, context);
        auto bare = veld::load_bare_frames(dir.file(""), {}, context);
        EXPECT_TRUE(set.frames[1].data.has_vNormal);
        EXPECT_FALSE(bare.frames[1].data.has_vNormal);
        veld::write_mesh(dir.file("bare.ply"), veld::merge(std::move(bare), {}, context).mesh,
                         context);
        EXPECT_EQ(file_content(dir.file("host.ply")), file_content(dir.file("bare.ply")));
        auto const run = run_veld({"merge", dir.file(""), "-o", dir.file("program.ply")});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(file_content(dir.file("host.ply")), file_content(dir.file("program.ply")));
    }
}

TEST(SameBytes, AHostsRepairGivesWhatTheProgramGives)
{
    MeshDir const dir(grid_with_hole(6));
    veld::Context context;
    for (auto const& [name, method] : veld::repair_methods())
    {
        veld::RepairSettings settings;
        settings.method = method;
        auto const mesh = veld::read_mesh(dir.mesh(), context).mesh;
        veld::write_mesh(dir.file("host.ply"), veld::repair(mesh, settings, context).mesh, context);
        auto const run =
            run_veld({"repair", dir.mesh(), "-o", dir.file("program.ply"), "--method", name});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(file_content(dir.file("host.ply")), file_content(dir.file("program.ply")))
            << name;
    }
}

TEST(SameBytes, AHostsFillGivesWhatTheProgramGives)
{
    MeshDir const dir(grid_with_hole(6));
    veld::Context context;
    for (auto const& [name, method] : veld::fill_methods())
    {
        if (method == veld::FillMethod::MARKERS)
        {
            continue; // it needs some
        }
        veld::FillSettings settings;
        settings.method = method;
        auto const mesh = veld::read_mesh(dir.mesh(), context).mesh;
        veld::write_mesh(dir.file("host.ply"), veld::fill(mesh, settings, context).mesh, context);
        auto const run =
            run_veld({"fill", dir.mesh(), "-o", dir.file("program.ply"), "--method", name});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(file_content(dir.file("host.ply")), file_content(dir.file("program.ply")))
            << name;
    }
}

} // namespace
