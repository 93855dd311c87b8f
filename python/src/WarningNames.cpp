#include "WarningNames.h"

namespace veld::python
{

char const* name_of(WarningCode code)
{
    // Without a default, so that the compiler tells of a code that is missing.
    switch (code)
    {
    case WarningCode::FACES_LEFT_OUT:
        return "FACES_LEFT_OUT";
    case WarningCode::MESH_MENDED:
        return "MESH_MENDED";
    case WarningCode::VALUES_DROPPED:
        return "VALUES_DROPPED";
    case WarningCode::FRAME_LEFT_OUT:
        return "FRAME_LEFT_OUT";
    case WarningCode::FRAME_MENDED:
        return "FRAME_MENDED";
    case WarningCode::PATCH_UNFAIRED:
        return "PATCH_UNFAIRED";
    case WarningCode::MESH_CUT_AWAY:
        return "MESH_CUT_AWAY";
    case WarningCode::MARKER_WITHOUT_HOLE:
        return "MARKER_WITHOUT_HOLE";
    case WarningCode::UNITS_UNLIKELY:
        return "UNITS_UNLIKELY";
    case WarningCode::STICK_EMPTY:
        return "STICK_EMPTY";
    case WarningCode::NOTHING_CLOSED:
        return "NOTHING_CLOSED";
    case WarningCode::NORMALS_MISSING:
        return "NORMALS_MISSING";
    case WarningCode::POINTS_REPEATED:
        return "POINTS_REPEATED";
    case WarningCode::POINTS_LEFT:
        return "POINTS_LEFT";
    case WarningCode::FACES_UNSEEN:
        return "FACES_UNSEEN";
    case WarningCode::FACES_TURNED:
        return "FACES_TURNED";
    case WarningCode::HOLES_COLOURLESS:
        return "HOLES_COLOURLESS";
    case WarningCode::IMAGE_LARGE:
        return "IMAGE_LARGE";
    case WarningCode::PHOTOS_REPEATED:
        return "PHOTOS_REPEATED";
    case WarningCode::REPORT_GAP:
        return "REPORT_GAP";
    case WarningCode::FRAME_OFF:
        return "FRAME_OFF";
    case WarningCode::POSES_OFF:
        return "POSES_OFF";
    case WarningCode::MERGE_IN_SHREDS:
        return "MERGE_IN_SHREDS";
    }
    return "";
}

} // namespace veld::python
