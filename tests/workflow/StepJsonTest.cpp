#include "workflow/steps/StepJson.h"

#include "workflow/Error.h"

#include <gmock/gmock.h>

namespace
{

using testing::HasSubstr;
using veld::Json;

template <typename Settings>
std::string refusal_of(Json const& json, Settings settings)
{
    try
    {
        veld::read_settings(json, "recipe.json: ", settings);
    }
    catch (veld::InputError const& error)
    {
        return error.what();
    }
    return "no error";
}

/// Settings come back from their JSON form as they were.
template <typename Settings>
void expect_round_trip(Settings const& settings)
{
    Json const json = veld::to_json(settings);
    Settings read;
    veld::read_settings(json, "", read);
    EXPECT_EQ(veld::to_json(read), json);
    EXPECT_NE(veld::to_json(Settings()), json) << "all that is written differs from the defaults";
}

TEST(StepJson, SettingsComeBackAsTheyWere)
{
    expect_round_trip(veld::LoadFramesSettings{1000.0});
    expect_round_trip(veld::MergeSettings{veld::MergeMethod::OUTLIER, veld::Layers::BEST, 0.5, 0.75,
                                          2.0, 12, 7, 9, 31.0, 4.5, 140.0, false, 3.5,
                                          veld::Preparation::NEVER, 2.5});
    expect_round_trip(veld::AlignSettings{2.5, 7, 0.75});
    veld::FillSettings fill;
    fill.method = veld::FillMethod::CORE;
    fill.max_edges = 5;
    fill.max_perimeter = 12.5;
    fill.edge_length = 3.0;
    fill.normal_angle = 99.0;
    fill.min_edges = 4;
    fill.rings = 2;
    fill.smoothness = 0;
    fill.exact_edges = 400;
    fill.max_patch = 9000;
    fill.region = veld::RegionHandling::SMOOTH;
    fill.region_rings = 4;
    fill.weights = veld::FillWeights::UNIFORM;
    fill.markers.points = {{1.0F, 2.0F, 3.0F}};
    fill.marker_radius = 2.5;
    fill.small_edges = 6;
    expect_round_trip(fill);
    veld::RepairSettings repair;
    repair.method = veld::RepairMethod::PROJECT;
    repair.spacing = 0.5;
    repair.radii = {0.5, 1.25};
    repair.normal_angle = 45.0;
    repair.ear_perimeter = 7.5;
    repair.manifold = false;
    repair.empty_ball = false;
    repair.renew_normals = true;
    repair.delete_fans = true;
    repair.refused_faces = "refused";
    repair.normal_z = 0.5;
    expect_round_trip(repair);
    veld::RenderSettings render;
    render.width = 10;
    render.height = 20;
    render.view = {1.0, 2.0, veld::UpAxis::Z};
    render.line_width = 1.5;
    render.unlit = true;
    render.plain = true;
    expect_round_trip(render);
    veld::TextureSettings texture;
    texture.scale = 1000.0;
    texture.pose_scale = 0.5;
    texture.balance = false;
    texture.depth_tolerance = 2.0;
    texture.lowest_cosine = 0.25;
    texture.views_per_vertex = 5;
    texture.small_region = 7;
    texture.hole_ratio = 0.5;
    texture.hole_vertices = 100;
    texture.image_border = 9;
    texture.packing_gap = 2;
    texture.patch_margin = 4;
    texture.solver = veld::TextureSolver::PARDISO;
    expect_round_trip(texture);
    texture.pipeline = veld::TexturePipeline::MESH;
    texture.packing_gap.reset();
    expect_round_trip(texture);
    expect_round_trip(veld::CutSticksSettings{veld::StickTips::DOWN});
    expect_round_trip(veld::KeyframesSettings{veld::KeyframesMethod::SORT, 12});
    expect_round_trip(veld::NormalsSettings{24, OrvaneAlgorithm::Vector3f(1.0F, 2.0F, 3.0F)});
}

TEST(StepJson, CleanUpsComeBackWithTheirMarkers)
{
    veld::Markers markers;
    markers.points = {{1.0F, 2.0F, 3.0F}};
    markers.normals = {{0.0F, 0.0F, 1.0F}};
    veld::MarkerSettings near_markers;
    near_markers.radius = 2.5;
    near_markers.use_normals = true;
    near_markers.normal_dot = 0.25;
    expect_round_trip(
        veld::CleanSettings{{veld::small_pieces_by_faces(3), veld::small_pieces_by_vertices(4),
                             veld::small_bodies_on_strips(5, 2), veld::non_manifold_vertices(),
                             veld::rims(1), veld::surface_near_markers(markers, near_markers)}});
}

TEST(StepJson, HolesThatAreLookedForComeBack)
{
    veld::FindHolesSettings near;
    near.max_perimeter = 12.0;
    near.nearest_to = veld::HoleNearPlace{{1.0F, 2.0F, 3.0F}, 4.0};
    expect_round_trip(near);
    veld::FindHolesSettings of_markers;
    of_markers.of_markers.emplace();
    of_markers.of_markers->markers.points = {{1.0F, 2.0F, 3.0F}};
    of_markers.of_markers->markers.normals = {{0.0F, 0.0F, 1.0F}};
    of_markers.of_markers->match = 2.0;
    of_markers.of_markers->radius = 3.0;
    of_markers.of_markers->use_normals = true;
    of_markers.of_markers->normal_dot = 0.75;
    expect_round_trip(of_markers);
}

TEST(StepJson, HolesAreLookedForWithAllThatBelongsTogether)
{
    veld::FindHolesSettings const none;
    Json const markers = {{0.0, 0.0, 0.0}};
    EXPECT_THAT(refusal_of(Json{{"near", {0, 0, 0}}}, none), HasSubstr("'distance' is missing"));
    EXPECT_THAT(refusal_of(Json{{"distance", 1}}, none), HasSubstr("'distance' is for 'near'"));
    EXPECT_THAT(refusal_of(Json{{"match", 1}}, none), HasSubstr("'match' is for 'markers'"));
    EXPECT_THAT(refusal_of(Json{{"markers", markers}, {"match", 1}}, none),
                HasSubstr("'marker_radius' is missing"));
    Json both{{"markers", markers}, {"match", 1}, {"marker_radius", 1}};
    EXPECT_EQ(refusal_of(both, none), "no error");
    both["normals"] = true;
    EXPECT_THAT(refusal_of(both, none), HasSubstr("'normals' needs markers with normals"));
    both["normals"] = false;
    both["max_perimeter"] = 1.0;
    EXPECT_THAT(refusal_of(both, none),
                HasSubstr("'markers' is not together with 'near' or 'max_perimeter'"));
}

TEST(StepJson, WhatIsNotNamedKeepsItsValue)
{
    veld::MergeSettings settings;
    settings.spacing = 0.25;
    veld::read_settings(Json{{"min_component", 3}}, "", settings);
    EXPECT_EQ(settings.spacing, 0.25);
    EXPECT_EQ(settings.min_component, 3);
    EXPECT_EQ(settings.max_hole_edges, 30);
}

TEST(StepJson, ANameThatIsNotKnownIsATypingError)
{
    EXPECT_THAT(refusal_of(Json{{"spaceing", 1.0}}, veld::MergeSettings()),
                HasSubstr("recipe.json: 'spaceing' is not known here"));
    EXPECT_THAT(refusal_of(Json{{"method", "magic"}}, veld::FillSettings()),
                HasSubstr("'method' has to be one of auto, clip, core, markers, trim, whole"));
    EXPECT_THAT(
        refusal_of(Json{{"clean_ups", {{{"kind", "peel"}, {"ring", 1}}}}}, veld::CleanSettings()),
        HasSubstr("recipe.json: clean_ups[0]: 'ring' is not known here"));
}

TEST(StepJson, AValueOutsideItsBoundsIsRefused)
{
    EXPECT_THAT(refusal_of(Json{{"spacing", -1.0}}, veld::MergeSettings()),
                HasSubstr("'spacing' has to be a number of 0 or more"));
    EXPECT_THAT(refusal_of(Json{{"rounds", 1001}}, veld::AlignSettings()), HasSubstr("rounds"));
    EXPECT_THAT(refusal_of(Json{{"smoothness", 3}}, veld::FillSettings()),
                HasSubstr("'smoothness' has to be a whole number from 0 to 2"));
    EXPECT_THAT(refusal_of(Json{{"elevation", 91.0}}, veld::RenderSettings()),
                HasSubstr("'elevation' has to be a number from -90 to 90"));
    EXPECT_THAT(refusal_of(Json{{"radii", {1.0, 0.0}}}, veld::RepairSettings()),
                HasSubstr("'radii' has to be a list of numbers above 0"));
    EXPECT_THAT(refusal_of(Json{{"radii", 1.0}}, veld::RepairSettings()),
                HasSubstr("'radii' has to be a list of numbers above 0"));
    EXPECT_THAT(refusal_of(Json{{"normal_z", 1.5}}, veld::RepairSettings()),
                HasSubstr("'normal_z' has to be a number from -1 to 1"));
    EXPECT_THAT(refusal_of(Json::array(), veld::RenderSettings()), HasSubstr("is no JSON object"));
}

} // namespace
