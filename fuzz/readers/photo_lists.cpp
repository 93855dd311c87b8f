#include "fuzz/support/Bundle.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"
#include "workflow/Error.h"
#include "workflow/photos/Photos.h"
#include "workflow/steps/LoadPhotos.h"

void veld_fuzz::photo_lists(std::string_view input)
{
    write_bundle(input);
    if (!ends_well<veld::InputError>([] { veld::read_camera_list(work_folder()); }))
    {
        return;
    }
    note_header();
    veld::photo_source_files(work_folder());
    veld::Context context;
    context.threads = 1;
    if (ends_well<veld::InputError>([&] { veld::load_photos(work_folder(), context); }))
    {
        note_accepted();
    }
}
