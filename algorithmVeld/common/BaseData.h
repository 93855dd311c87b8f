#pragma once

#include "algorithmVeld/common/export.h"
#include "algorithmVeld/common/types.h"

#include <string>

namespace OrvaneAlgorithm
{

/// Common base of the geometric data classes.
///
/// The bulk data of an object can be moved to a temporary file and back. Between `swap_out_data()`
/// and `swap_in_data()` the object is empty and only its own `swap_in_data()`, `clear()` and
/// destruction are allowed. The file disappears with the object or when the data comes back.
class ALGORITHMVELD_API BaseData
{
public:
    virtual ~BaseData();

    /// Moves the bulk data to the temporary file, to free memory.
    /// \return 0 on success; otherwise the data stays in memory
    virtual int swap_out_data() = 0;

    /// Brings the data back and removes the file.
    /// \return 0 on success; otherwise the file is missing or damaged and the object is empty
    virtual int swap_in_data() = 0;

    /// Full name of this object's temporary file. It is made up on the first call and differs
    /// between objects and processes; a copy of an object gets its own.
    virtual const std::wstring get_temp_full_name();

    /// Drops all content.
    virtual void clear() = 0;

    /// Removes what is marked deleted, and renumbers what stays in its order.
    virtual void squeeze() = 0;

    /// Axis-aligned bounding box. Without any finite vertex both corners are zero.
    virtual void get_boundBox(Vector3f& min, Vector3f& max) const = 0;

    /// True if the object is consistent in itself: lengths of channels, indices in range, finite
    /// coordinates.
    virtual bool is_legal() const = 0;

    /// Makes the object consistent again by dropping what is not.
    virtual void repair_illegal() = 0;

protected:
    BaseData() = default;
    BaseData(BaseData const&);
    BaseData& operator=(BaseData const&);

    /// True between a successful `swap_out_data()` and the return of the data.
    bool is_swapped_out() const { return swapped_out_; }

    /// Takes note that the data now is in the file, or no longer is; the latter removes the file.
    void set_swapped_out(bool swapped_out);

private:
    std::wstring temp_full_name_;
    bool swapped_out_ = false;
};

} // namespace OrvaneAlgorithm
