#include "workflow/run/Recipe.h"

#include "reason_of.h"
#include "workflow/steps/StepJson.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <map>
#include <regex>

namespace
{

using namespace veld_test;
using testing::HasSubstr;
using veld::Json;
using veld::StepKind;
using veld::StepWhen;

std::string refusal_of_recipe(std::string const& text)
{
    return reason_of([&] { veld::parse_recipe(text, "recipe.json"); });
}

/// A recipe of one step, its settings on the third line.
std::string recipe_with(std::string const& step, std::string const& settings)
{
    return "{\"veld_recipe\": 1, \"steps\": [\n{\"step\": \"" + step + "\", \"settings\":\n" +
           settings + "}\n]}";
}

Json schema_of(std::string const& definition)
{
    return Json::parse(veld::recipe_schema())["definitions"][definition]["properties"];
}

/// The settings of a step by the code: what is written of their defaults, and what is read.
struct CodedSettings
{
    std::string definition;
    Json written;
    std::function<void(Json const&)> read;
};

template <typename Settings>
CodedSettings coded(std::string const& definition)
{
    return {definition, veld::to_json(Settings()),
            [](Json const& json)
            {
                Settings settings;
                veld::read_settings(json, "", settings);
            }};
}

std::vector<CodedSettings> all_coded_settings()
{
    return {coded<veld::MergeSettings>("merge"),     coded<veld::NormalsSettings>("normals"),
            coded<veld::RepairSettings>("repair"),   coded<veld::FillSettings>("fill"),
            coded<veld::TextureSettings>("texture"), coded<veld::CleanSettings>("clean")};
}

/// Keys that the run reads itself, or whose default it measures.
std::map<std::string, std::vector<std::string>> const OWN_KEYS{{"merge", {"scale"}},
                                                               {"fill", {"marker_radius"}},
                                                               {"texture", {"scale", "pose_scale"}},
                                                               {"clean", {"clean_ups"}}};

bool is_own(std::string const& definition, std::string const& key)
{
    auto const found = OWN_KEYS.find(definition);
    return found != OWN_KEYS.end() &&
           std::count(found->second.begin(), found->second.end(), key) > 0;
}

/// A value that a schema allows.
Json sample_of(Json const& schema)
{
    if (!schema["default"].is_null())
    {
        return schema["default"];
    }
    std::string const type = schema["type"][0];
    return type == "boolean"   ? Json(true)
           : type == "array"   ? Json::array({1.0, 2.0, 3.0})
           : type == "integer" ? Json(2)
                               : Json(2.5);
}

TEST(RecipeSchema, HasEverySettingThatIsWrittenWithItsDefault)
{
    for (auto const& code : all_coded_settings())
    {
        Json const properties = schema_of(code.definition);
        for (auto const& item : code.written.items())
        {
            std::string const place = code.definition + "." + item.key();
            ASSERT_TRUE(properties.contains(item.key())) << place;
            Json const& by_schema = properties[item.key()]["default"];
            bool const is_measured = by_schema.is_null();
            Json const zero = item.value().is_array() ? Json::array() : Json(0.0);
            if (!is_own(code.definition, item.key()))
            {
                EXPECT_EQ(is_measured ? zero : by_schema, item.value()) << place;
            }
        }
    }
}

TEST(RecipeSchema, HasNoSettingThatIsNotRead)
{
    for (auto const& code : all_coded_settings())
    {
        Json const properties = schema_of(code.definition);
        for (auto const& item : properties.items())
        {
            std::string const place = code.definition + "." + item.key();
            if (place == "merge.scale")
            {
                continue; // it is of the frames
            }
            Json value = sample_of(item.value());
            value = item.key() == "markers" ? Json::array({value}) : value;
            value = item.key() == "clean_ups" ? Json::array({{{"kind", "peel"}}}) : value;
            EXPECT_EQ(reason_of(
                          [&] {
                              code.read(Json{{item.key(), value}});
                          }),
                      "no error")
                << place;
        }
    }
}

TEST(RecipeSchema, CleanUpsAndMarkersHaveTheSameKeysAsTheCode)
{
    for (std::string const definition : {"clean_up", "markers"})
    {
        Json clean_up{{"kind", "markers"}};
        Json const properties = schema_of(definition);
        for (auto const& item : properties.items())
        {
            if (item.key() != "kind")
            {
                clean_up[item.key()] = item.key() == "markers"
                                           ? Json::array({sample_of(item.value())})
                                           : sample_of(item.value());
            }
        }
        veld::CleanSettings settings;
        EXPECT_EQ(
            reason_of(
                [&] {
                    veld::read_settings(Json{{"clean_ups", Json::array({clean_up})}}, "", settings);
                }),
            "no error")
            << definition;
    }
}

TEST(RecipeSchema, EverySettingHasATypeADefaultAndAUnit)
{
    std::regex const unit("mm|degrees|spacings|edges|faces|vertices|rings|[Pp]ixels|photographs|"
                          "points|no unit|Factor|multiple|[Hh]oles|Pieces");
    for (auto const& [name, kind] : veld::step_kinds())
    {
        Json const properties = schema_of(name);
        for (auto const& item : properties.items())
        {
            Json const& property = item.value();
            ASSERT_TRUE(property.contains("type")) << name << "." << item.key();
            EXPECT_TRUE(property.contains("default")) << name << "." << item.key();
            std::string const type =
                property["type"].is_array() ? property["type"][0] : property["type"];
            std::string const text = property["description"];
            bool const is_number = type == "number" || type == "integer";
            EXPECT_TRUE(!text.empty() && (!is_number || std::regex_search(text, unit)))
                << name << "." << item.key() << ": " << text;
        }
    }
}

TEST(Recipe, StepsComeInTheirOrderWithWhatIsGiven)
{
    auto const recipe = veld::parse_recipe(
        R"({"veld_recipe": 1, "steps": [
            {"step": "fill", "settings": {"max_perimeter": 5, "markers": null}},
            {"step": "repair", "when": "torn"},
            {"step": "fill", "when": "open"}]})",
        "recipe.json");
    ASSERT_EQ(recipe.steps.size(), 3U);
    EXPECT_EQ(recipe.steps[0].kind, StepKind::FILL);
    EXPECT_EQ(recipe.steps[0].settings, (Json{{"max_perimeter", 5}})) << "null is not given";
    EXPECT_EQ(recipe.steps[1].kind, StepKind::REPAIR);
    EXPECT_EQ(recipe.steps[1].when, StepWhen::TORN);
    EXPECT_EQ(recipe.steps[2].kind, StepKind::FILL);
    EXPECT_EQ(recipe.steps[2].when, StepWhen::OPEN);
    EXPECT_EQ(recipe.steps[2].place, "recipe.json:4: steps[2]: ");
}

TEST(Recipe, WhatIsPrintedIsARecipeOfTheSame)
{
    auto const recipe = veld::parse_recipe(
        R"({"veld_recipe": 1, "steps": [{"step": "clean"}, {"step": "markers"},
            {"step": "repair", "when": "torn", "settings": {"radii": [0.5, 1.25]}}]})",
        "recipe.json");
    Json const json = veld::to_json(recipe);
    EXPECT_EQ(json["steps"][2]["settings"]["radii"], Json::array({0.5, 1.25}));
    EXPECT_TRUE(json["steps"][1]["settings"]["radius"].is_null()) << "it is measured";
    EXPECT_EQ(json["steps"][0]["settings"]["clean_ups"].size(), 3U);
    Json const again = veld::to_json(veld::parse_recipe(json.dump(2), "again.json"));
    EXPECT_EQ(veld::without_nulls(again), veld::without_nulls(json));
}

TEST(Recipe, AnErrorNamesFileLineAndKey)
{
    struct Fault
    {
        char const* step;
        char const* settings;
        char const* complaint;
    };
    for (Fault const& fault :
         {Fault{"fill", R"({"max_perimeter": -3})",
                "max_perimeter: has to be a number of 0 or more, or null"},
          Fault{"fill", R"({"smoothness": 3})", "smoothness: has to be a whole number from 0 to 2"},
          Fault{"fill", R"({"rings": 2.5})", "rings: has to be a whole number of 0 or more"},
          Fault{"merge", R"({"method": "magic"})", "method: has to be one of outlier, stitch"},
          Fault{"merge", R"({"cut_long_edges": 1})", "cut_long_edges: has to be true or false"},
          Fault{"repair", R"({"radii": [1, 0]})", "radii[1]: has to be a number above 0"},
          Fault{"fill", R"({"markers": [[1, 2]]})", "markers[0]: has to be a list of 3 to 6"}})
    {
        EXPECT_EQ(refusal_of_recipe(recipe_with(fault.step, fault.settings)),
                  std::string("recipe.json:3: steps[0].settings.") + fault.complaint);
    }
    EXPECT_THAT(refusal_of_recipe(recipe_with("normals", "{\n\"neighbors\": 3}")),
                testing::AllOf(HasSubstr("recipe.json:4: steps[0].settings: 'neighbors' is not "
                                         "known here (known: neighbours sensor)")));
    EXPECT_EQ(refusal_of_recipe(recipe_with("clean", "{\"clean_ups\": [{\"kind\": \"peel\"},\n"
                                                     "{\"limit\": 3}]}")),
              "recipe.json:4: steps[0].settings.clean_ups[1]: 'kind' is missing");
}

TEST(Recipe, ItsFrameIsCheckedTheSameWay)
{
    EXPECT_EQ(refusal_of_recipe("{\"veld_recipe\": 2,\n\"steps\": [{\"step\": \"fill\"}]}"),
              "recipe.json:1: veld_recipe: has to be 1");
    EXPECT_EQ(refusal_of_recipe("{\"veld_recipe\": 1,\n\"steps\": []}"),
              "recipe.json:2: steps: has to be a list of at least 1");
    EXPECT_EQ(refusal_of_recipe("{\"veld_recipe\": 1}"), "recipe.json:1: 'steps' is missing");
    EXPECT_EQ(refusal_of_recipe(recipe_with("polish", "{}")),
              "recipe.json:2: steps[0].step: has to be one of merge, normals, clean, markers, "
              "repair, fill, texture");
    EXPECT_EQ(refusal_of_recipe("{\"veld_recipe\": 1, \"steps\": [\n{\"settings\": {}}]}"),
              "recipe.json:2: steps[0]: 'step' is missing");
    EXPECT_EQ(refusal_of_recipe("3"), "recipe.json:1: has to be an object");
}

TEST(Recipe, WhatIsNoJsonNamesItsLine)
{
    EXPECT_EQ(refusal_of_recipe("{\n\"veld_recipe\": 1, // first\n\"steps\": []}"),
              "recipe.json:2: JSON has no comments");
    EXPECT_EQ(refusal_of_recipe("{\n# a recipe\n}"), "recipe.json:2: JSON has no comments");
    EXPECT_EQ(refusal_of_recipe("{\n\n\"steps\" 3}"), "recipe.json:3: is no JSON");
    EXPECT_EQ(refusal_of_recipe("[1,\n2"), "recipe.json:2: it ends too early");
    EXPECT_EQ(refusal_of_recipe(""), "recipe.json:1: it ends too early");
    EXPECT_EQ(refusal_of_recipe("{\"steps\": 1,\n\"steps\": 2}"),
              "recipe.json:2: 'steps' is there twice");
    EXPECT_EQ(refusal_of_recipe("{\"1e999\":\n1e999}"), "recipe.json:2: a number is too large");
    EXPECT_THAT(refusal_of_recipe(std::string(100000, '[')),
                HasSubstr("more than 32 lists and objects in each other"));
}

} // namespace
