# The schema of recipes as a source: docs/recipe.schema.json, a literal for each of its lines.
set_property(DIRECTORY APPEND PROPERTY
  CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/recipe.schema.json")
file(READ "${PROJECT_SOURCE_DIR}/docs/recipe.schema.json" VELD_RECIPE_SCHEMA)
string(REGEX REPLACE "([^\n]*)\n" "        R\"json(\\1)json\" \"\\\\n\"\n"
  VELD_RECIPE_SCHEMA "${VELD_RECIPE_SCHEMA}")
string(STRIP "${VELD_RECIPE_SCHEMA}" VELD_RECIPE_SCHEMA)
set(VELD_RECIPE_SCHEMA_SOURCE "${CMAKE_CURRENT_BINARY_DIR}/RecipeSchema.cpp")
configure_file("${PROJECT_SOURCE_DIR}/workflow/run/recipe/RecipeSchema.cpp.in"
  "${VELD_RECIPE_SCHEMA_SOURCE}" @ONLY)
