#include "workflow/steps/MergeJudge.h"

#include <gmock/gmock.h>

namespace
{

using testing::HasSubstr;

/// A mesh of 10,000 points in one piece, of frames with little noise.
veld::MergeFacts sound_merge()
{
    veld::MergeFacts facts;
    facts.points = 30000.0;
    facts.removed = 20000.0;
    facts.vertices = 10000.0;
    facts.edges = 30000.0;
    facts.boundary_edges = 400.0;
    facts.pieces = 1.0;
    facts.spacing = 1.0;
    facts.noise = 0.1;
    return facts;
}

TEST(MergeJudge, SaysNothingOfASoundMesh)
{
    EXPECT_EQ(veld::judge_merge(sound_merge()), "");
}

TEST(MergeJudge, SaysNothingOfAFewPoints)
{
    veld::MergeFacts facts = sound_merge();
    facts.points = 9000.0;
    facts.boundary_edges = facts.edges;
    EXPECT_EQ(veld::judge_merge(facts), "");
}

TEST(MergeJudge, TellsOfPointsThatVanished)
{
    veld::MergeFacts facts = sound_merge();
    facts.vertices = 4000.0;
    EXPECT_THAT(veld::judge_merge(facts), HasSubstr("only 4000 of 10000 points"));
}

TEST(MergeJudge, TellsOfLongBordersAndManyPieces)
{
    veld::MergeFacts borders = sound_merge();
    borders.boundary_edges = 5000.0;
    EXPECT_THAT(veld::judge_merge(borders), HasSubstr("5000 of 30000 edges are borders"));
    veld::MergeFacts pieces = sound_merge();
    pieces.pieces = 50.0;
    EXPECT_THAT(veld::judge_merge(pieces), HasSubstr("in 50 pieces"));
}

TEST(MergeJudge, BlamesNoiseWhereThereIsMuchAndItStayed)
{
    veld::MergeFacts facts = sound_merge();
    facts.pieces = 50.0;
    facts.noise = 2.0;
    EXPECT_THAT(veld::judge_merge(facts), HasSubstr("noise of 2 mm"));
    facts.prepared = true;
    EXPECT_THAT(veld::judge_merge(facts), Not(HasSubstr("noise of 2 mm")));
}

TEST(MergeJudge, BlamesPosesWhereFramesAreFarOffEachOther)
{
    veld::MergeFacts facts = sound_merge();
    facts.pieces = 50.0;
    facts.prepared = true;
    facts.disagreement = 12.0;
    EXPECT_THAT(veld::judge_merge(facts), HasSubstr("12 mm off each other"));
}

TEST(MergeJudge, BlamesPosesOrUnitsWhereNothingOverlaps)
{
    veld::MergeFacts facts = sound_merge();
    facts.pieces = 50.0;
    facts.removed = 0.0;
    facts.vertices = 30000.0;
    EXPECT_THAT(veld::judge_merge(facts), HasSubstr("no frame saw what another one did"));
}

} // namespace
