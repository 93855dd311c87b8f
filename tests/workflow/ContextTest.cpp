#include "workflow/workflow.h"

#include "tests/reconstruction/frames.h"
#include "tests/support/files.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <omp.h>
#include <utility>
#include <vector>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Cancelled;
using testing::HasSubstr;

/// Two flat frames that overlap.
veld::FrameSet two_frames()
{
    veld::FrameSet set;
    set.source = "two frames";
    set.frames.push_back({"left", flat_frame(20, 20, 1.0F), veld::Sensor::UNKNOWN});
    set.frames.push_back(
        {"right", flat_frame(20, 20, 1.0F, Vector3f(10, 0, 0)), veld::Sensor::UNKNOWN});
    return set;
}

TEST(Context, ProgressGrowsFromNoneToAllAndNamesWhatIsDone)
{
    std::vector<double> fractions;
    std::vector<std::string> steps;
    veld::Context context;
    context.progress = [&](veld::Progress const& progress)
    {
        fractions.push_back(progress.fraction);
        steps.push_back(progress.step);
    };
    veld::merge(two_frames(), {}, context);
    ASSERT_GE(fractions.size(), 4U);
    auto const stitch = std::find(steps.begin(), steps.end(), "stitch the frames") - steps.begin();
    EXPECT_LT(fractions.at(static_cast<std::size_t>(stitch)), 0.9) << "more than a tenth is left";
    EXPECT_EQ(fractions.front(), 0.0);
    EXPECT_EQ(fractions.back(), 1.0);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_THAT(steps, testing::Contains("take the overlap out"));
    EXPECT_THAT(steps, testing::Contains("stitch the frames"));
}

TEST(Context, AStepThatIsCancelledBeforeItBeginsDoesNothing)
{
    veld::Context context;
    context.cancel.cancel();
    TriMesh mesh = grid_with_hole(4);
    EXPECT_THROW(veld::fill(mesh, veld::FillSettings(), context), Cancelled);
    EXPECT_THROW(veld::inspect(mesh, context), Cancelled);
    EXPECT_THROW(veld::merge(two_frames(), {}, context), Cancelled);
}

TEST(Context, AFileThatIsBeingWrittenIsNotThereAfterACancel)
{
    TempDir dir;
    veld::Context context;
    context.progress = [&](veld::Progress const&) { context.cancel.cancel(); };
    EXPECT_THROW(veld::write_mesh(dir.file("grid.ply"), grid(300, 300), context), Cancelled);
    EXPECT_TRUE(std::filesystem::is_empty(dir.file("")));
}

TEST(Context, TheFileThatWasThereStaysAfterACancel)
{
    TempDir dir;
    std::string const path = dir.file("grid.ply");
    std::ofstream(path) << "old";
    veld::Context context;
    context.progress = [&](veld::Progress const&) { context.cancel.cancel(); };
    EXPECT_THROW(veld::write_mesh(path, grid(300, 300), context), Cancelled);
    EXPECT_EQ(file_content(path), "old");
}

TEST(Context, AContextWithoutFunctionsIsEnough)
{
    veld::Context context;
    EXPECT_GT(veld::merge(two_frames(), {}, context).mesh.n_faces(), 0U);
}

TEST(Context, TheNumberOfThreadsHoldsForTheStepAlone)
{
    int const before = omp_get_max_threads();
    int during = 0;
    veld::Context context;
    context.threads = before + 3;
    context.progress = [&](veld::Progress const&) { during = omp_get_max_threads(); };
    TriMesh mesh = grid(3, 3);
    veld::inspect(mesh, context);
    EXPECT_EQ(during, before + 3);
    EXPECT_EQ(omp_get_max_threads(), before);
}

TEST(Context, TheNumberOfThreadsIsPutBackWhereTheStepDoesNotBegin)
{
    int const before = omp_get_max_threads();
    veld::Context context;
    context.threads = before + 3;
    context.cancel.cancel();
    TriMesh mesh = grid(3, 3);
    EXPECT_THROW(veld::inspect(mesh, context), Cancelled);
    EXPECT_EQ(omp_get_max_threads(), before);
}

TEST(Context, WarningsTellTheirKindTheirFileAndASentence)
{
    TempDir dir;
    std::string const path = dir.file("lone.obj");
    std::ofstream(path) << "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1 1 2\n";
    std::vector<veld::Warning> warnings;
    veld::Context context;
    context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning); };
    veld::MeshFile const file = veld::read_mesh(path, context);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].code, veld::WarningCode::FACES_LEFT_OUT);
    EXPECT_EQ(warnings[0].about, path);
    EXPECT_THAT(warnings[0].text, HasSubstr("1 face left out"));
    EXPECT_EQ(file.faces_left_out, 1U);
}

TEST(Context, ASpacingThatIsFarFromThatOfTheFramesIsWarnedOf)
{
    std::vector<std::pair<double, bool>> const cases{
        {0.0, false}, {0.25, false}, {4.0, false}, {0.24, true}, {4.1, true}};
    for (auto const& [spacing, is_far] : cases)
    {
        std::vector<veld::Warning> warnings;
        veld::Context context;
        context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning); };
        veld::MergeSettings settings;
        settings.spacing = spacing;
        veld::merge(two_frames(), settings, context);
        ASSERT_EQ(warnings.size(), is_far ? 1U : 0U) << spacing;
        if (is_far)
        {
            EXPECT_EQ(warnings[0].code, veld::WarningCode::UNITS_UNLIKELY);
        }
    }
}

} // namespace
