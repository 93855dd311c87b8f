#include "workflow/steps/FillSettings.h"

#include "workflow/steps/SettingsReader.h"

namespace veld
{

std::map<std::string, FillMethod> const& fill_methods()
{
    static std::map<std::string, FillMethod> const methods{
        {"clip", FillMethod::CLIP},   {"trim", FillMethod::TRIM},       {"core", FillMethod::CORE},
        {"whole", FillMethod::WHOLE}, {"markers", FillMethod::MARKERS}, {"auto", FillMethod::AUTO}};
    return methods;
}

std::string to_string(FillMethod method)
{
    return name_in(fill_methods(), method);
}

std::map<std::string, RegionHandling> const& region_handlings()
{
    static std::map<std::string, RegionHandling> const handlings{{"delete", RegionHandling::DELETE},
                                                                 {"smooth", RegionHandling::SMOOTH},
                                                                 {"none", RegionHandling::NONE}};
    return handlings;
}

std::map<std::string, FillWeights> const& fill_weights()
{
    static std::map<std::string, FillWeights> const weights{{"uniform", FillWeights::UNIFORM},
                                                            {"length", FillWeights::LENGTH}};
    return weights;
}

} // namespace veld
