#pragma once

#include "algorithmVeld/common/export.h"
#include "algorithmVeld/common/vectors.h"

#include <functional>
#include <memory>
#include <string>

namespace OrvaneAlgorithm
{

namespace detail
{
class BinaryReader;
class BinaryWriter;
class SwapFile;
} // namespace detail

/// Common base of the geometric data classes.
///
/// The bulk data of an object can be moved to a temporary file and back. Between `swap_out_data()`
/// and `swap_in_data()` the object is empty and is not to be filled. Copies are deep then too: a
/// copy of an object whose data is in the file is swapped out, and brings the same data back. The
/// file disappears when none of them needs it any more: a copy lets go of it with its end, when its
/// data comes back, and when it is cleared or assigned to.
///
/// Moving copies nothing and does not throw. What was in the source, in memory or in the file, is
/// in the target, with the name of the file; the source is as new. Moved to itself, an object stays
/// as it is.
class ALGORITHMVELD_API BaseData
{
public:
    virtual ~BaseData();

    /// Moves the bulk data to the temporary file, to free memory.
    /// \return 0 on success, also if the data is in the file already; otherwise the data stays in
    ///         memory
    virtual int swap_out_data() = 0;

    /// Brings the data back as it was, byte for byte, and lets go of the file.
    /// \return 0 on success, also if the data is in memory already; otherwise the file is missing
    ///         or damaged and the object is empty
    virtual int swap_in_data() = 0;

    /// True between a successful `swap_out_data()` and the return of the data.
    bool is_swapped_out() const { return swap_file_ != nullptr; }

    /// Full name of the temporary file that this object writes. It is made up on the first call and
    /// differs between objects and processes; a copy of an object gets its own. An object that lets
    /// go of its file while copies still need it gets a new name. An override should give each
    /// object a name of its own; while another object's data is in the file of that name, a made-up
    /// one is taken instead.
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
    BaseData(BaseData&& other) noexcept { exchange(other); }
    BaseData& operator=(BaseData&& other) noexcept;

    /// Swaps the contents of two objects. A class with members of its own has a function of this
    /// name that swaps them too; its moves are made of it.
    void exchange(BaseData& other) noexcept;

    /// Writes the temporary file; the caller then drops the data.
    /// \return true if all of it is in the file; otherwise there is no file
    bool write_swap_file(std::function<void(detail::BinaryWriter&)> const& write);

    /// Reads the temporary file and lets go of it.
    /// \return true if all of it was read and is undamaged; otherwise what was read is worthless
    bool read_swap_file(std::function<void(detail::BinaryReader&)> const& read);

    /// Forgets the data in the file, which goes if no copy needs it.
    void drop_swap_file();

private:
    std::wstring temp_full_name_;
    std::shared_ptr<detail::SwapFile const> swap_file_; ///< null while the data is in memory
};

} // namespace OrvaneAlgorithm
