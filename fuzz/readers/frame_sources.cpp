#include "fuzz/support/Bundle.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"
#include "workflow/Error.h"
#include "workflow/steps/LoadFrames.h"

void veld_fuzz::frame_sources(std::string_view input)
{
    write_bundle(input);
    auto const description = work_folder() / "frames.json";
    bool const is_described = std::filesystem::exists(description);
    veld::Context context;
    context.threads = 1;
    context.warn = [](veld::Warning const&) { note_header(); };
    auto const load = [&]
    { veld::load_frames(is_described ? description : work_folder(), {}, context); };
    if (ends_well<veld::InputError>(load))
    {
        note_accepted();
    }
}
