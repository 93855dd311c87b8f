#pragma once

#include "algorithmVeld/common/BaseData.h"
#include "algorithmVeld/common/RigidMatrix.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm
{

/// Points in millimetres, with optional normals, colours and flags. A channel that is switched on
/// has one entry for each vertex.
class ALGORITHMVELD_API Cloud : public BaseData
{
public:
    Cloud() = default;
    Cloud(Cloud const&) = default;
    Cloud& operator=(Cloud const&) = default;
    Cloud(Cloud&& other) noexcept;
    Cloud& operator=(Cloud&& other) noexcept;
    ~Cloud() override = default;

    int swap_out_data() override;
    int swap_in_data() override;
    /// Drops all vertices and all channels, with their switches and their memory.
    void clear() override;
    /// Removes the vertices whose deleted flag is set; the order of the others stays.
    void squeeze() override;
    void get_boundBox(Vector3f& min, Vector3f& max) const override;
    /// True if every channel that is on has one entry for each vertex, and all coordinates, normals
    /// and colours are finite.
    bool is_legal() const override;
    /// Removes the vertices whose coordinates are not finite, switches channels of a wrong length
    /// off, and sets normals and colours that are not finite to zero.
    void repair_illegal() override;

    /// Makes room for `n` vertices in every channel that is on.
    virtual void reserve_vn(size_t n);
    /// Changes the number of vertices; new entries are zero.
    virtual void resize_vn(size_t n);
    /// Replaces all positions; the channels that are on follow in length.
    virtual void set_vCoords(std::vector<Vector3f> const& coords);
    /// Appends a vertex, with zero entries in the channels that are on.
    /// \return its index
    virtual size_t add_vCoord(Vector3f const& coord);
    /// Moves the positions and rotates the normals.
    virtual void rigid_transformation(RigidMatrix const& motion);
    /// Mean of the positions, summed in double; zero without vertices.
    virtual Vector3f get_barycenter() const;

    // The algorithms read these directly.
    std::vector<Vector3f> vCoord;     ///< positions
    bool has_vNormal = false;         ///< whether `vNrv` is valid
    std::vector<Vector3f> vNrv;       ///< unit normals
    bool has_vColor = false;          ///< whether `vColor` is valid
    std::vector<Vector3f> vColor;     ///< colours: red, green, blue, each 0 to 1
    bool has_vFlag = false;           ///< whether `vFlag` is valid
    std::vector<unsigned char> vFlag; ///< bit `DELETED` marks a vertex as deleted

    /// The bit of a flag channel that marks an element as deleted.
    static constexpr unsigned char DELETED = 1;

    /// Number of vertices.
    size_t get_vn() const { return vCoord.size(); }

    // These throw `std::out_of_range` for an index that is too large, or if the channel is off.
    /// The normal of a vertex, to be changed.
    Vector3f& get_vNrv(size_t i);
    /// The normal of a vertex.
    Vector3f const& get_vNrv(size_t i) const;
    /// The colour of a vertex.
    Vector3f const& get_vColor(size_t i) const;
    /// Sets or clears the deleted flag of a vertex.
    void set_vDeleted(size_t i, bool deleted);

    // Switching a channel on gives every vertex a zero entry, unless it is on already; switching it
    // off drops its entries and their memory.
    /// Switches the normals on.
    void enable_vNormal();
    /// Switches the normals off.
    void disable_vNormal();
    /// Switches the colours on.
    void enable_vColor();
    /// Switches the colours off.
    void disable_vColor();
    /// Switches the flags on.
    void enable_vFlag();
    /// Switches the flags off.
    void disable_vFlag();

protected:
    /// Swaps the contents of two clouds.
    void exchange(Cloud& other) noexcept;
    /// Writes all content to the temporary file.
    virtual void write_channels(detail::BinaryWriter& writer) const;
    /// Reads what `write_channels` wrote.
    virtual void read_channels(detail::BinaryReader& reader);
    /// Drops everything that is in memory.
    virtual void drop_content();

    /// For each vertex 1, or 0 where the deleted flag is set.
    std::vector<char> unflagged_vertices() const;
    /// For each vertex 1 if its coordinates are finite.
    std::vector<char> finite_vertices() const;
    /// Drops the vertices that are marked 0 from all channels.
    virtual void keep_vertices(std::vector<char> const& keep);
    /// Repairs the channels without removing vertices.
    void repair_channels();
};

} // namespace OrvaneAlgorithm
