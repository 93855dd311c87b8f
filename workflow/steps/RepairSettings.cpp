#include "workflow/steps/RepairSettings.h"

#include "workflow/steps/SettingsReader.h"

namespace veld
{

std::map<std::string, RepairMethod> const& repair_methods()
{
    static std::map<std::string, RepairMethod> const methods{{"ball", RepairMethod::BALL},
                                                             {"project", RepairMethod::PROJECT}};
    return methods;
}

std::string to_string(RepairMethod method)
{
    return name_in(repair_methods(), method);
}

std::vector<double> repair_radii(RepairMethod method, double spacing, bool on_points)
{
    // Balls of half a spacing lie in corners of a torn mesh; on points alone they would only leave
    // specks behind. A search of less than one and a half finds no third corner.
    std::vector<double> radii =
        method == RepairMethod::PROJECT ? std::vector<double>{1.5, 2.0, 3.0, 4.0}
        : on_points                     ? std::vector<double>{1.0, 1.5, 2.0, 3.0, 4.0}
                                        : std::vector<double>{0.5, 0.75, 1.0, 1.5, 2.0, 3.0, 4.0};
    for (double& radius : radii)
    {
        radius *= spacing;
    }
    return radii;
}

} // namespace veld
