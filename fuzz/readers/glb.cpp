#include "fuzz/support/Target.h"
#include "fuzz/targets.h"
#include "workflow/Error.h"
#include "workflow/files/GlbReader.h"

void veld_fuzz::glb(std::string_view input)
{
    if (input.substr(0, 4) == "glTF")
    {
        note_header();
    }
    auto const path = work_file("model.glb", input);
    if (ends_well<veld::InputError>([&] { veld::read_glb(path); }))
    {
        note_accepted();
    }
}
