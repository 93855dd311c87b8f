#pragma once

#include "algorithmVeld/common/Cloud.h"
#include "algorithmVeld/common/Image.h"

#include <array>
#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm
{

/// The three vertex indices of a triangle, in order.
struct BaseTriFace
{
    std::array<int, 3> v{{-1, -1, -1}}; ///< the indices

    BaseTriFace() = default;
    /// With three indices.
    BaseTriFace(int a, int b, int c) : v{{a, b, c}} {}

    /// An index, by the corner's place 0 to 2.
    int& operator[](size_t i) { return v[i]; }
    /// The same for a face that is only read.
    int operator[](size_t i) const { return v[i]; }
};

/// Array mesh: a cloud with triangles, and optionally normals and flags of faces and a texture.
class ALGORITHMVELD_API BaseTriMesh : public Cloud
{
public:
    /// Texture coordinates; (0, 0) is the lower left corner of the image, (1, 1) the upper right.
    struct UVCoord
    {
        float u = 0.0F; ///< to the right
        float v = 0.0F; ///< upwards
    };

    BaseTriMesh() = default;
    BaseTriMesh(BaseTriMesh const&) = default;
    BaseTriMesh& operator=(BaseTriMesh const&) = default;
    BaseTriMesh(BaseTriMesh&& other) noexcept;
    BaseTriMesh& operator=(BaseTriMesh&& other) noexcept;
    ~BaseTriMesh() override = default;

    /// Removes the flagged vertices and faces and the faces that use a removed vertex. The order of
    /// what stays is kept; vertices that lose their last face stay.
    void squeeze() override;
    /// True if the cloud is legal, every channel of the faces that is on has one entry for each
    /// face, every face has three different vertices of this mesh, face normals are finite, and
    /// texture indices are -1 or name a texture coordinate.
    bool is_legal() const override;
    /// Repairs the cloud, removes faces that are not legal or lose a vertex, switches channels of a
    /// wrong length off, and sets texture indices that are not legal to -1.
    void repair_illegal() override;
    /// Moves the positions and rotates the normals of vertices and faces.
    void rigid_transformation(RigidMatrix const& motion) override;

    std::vector<BaseTriFace> faces;         ///< the faces
    bool has_fNormal = false;               ///< whether `fNrv` is valid
    std::vector<Vector3f> fNrv;             ///< unit normals of the faces
    bool has_fFlag = false;                 ///< whether `fFlag` is valid
    std::vector<unsigned char> fFlag;       ///< bit `DELETED` marks a face as deleted
    bool has_texture = false;               ///< whether the three texture members are valid
    Image<3, unsigned char> texture_image;  ///< the atlas
    std::vector<UVCoord> texture_coords;    ///< the places in the atlas
    std::vector<Vector3i> face_texture_ids; ///< for each face three indices into `texture_coords`

    /// Number of faces.
    size_t get_fn() const { return faces.size(); }

    // These throw `std::out_of_range` for an index that is too large, or if the channel is off.
    /// A face.
    BaseTriFace const& get_face(size_t i) const;
    /// The normal of a face, to be changed.
    Vector3f& get_fNrv(size_t i);
    /// The normal of a face.
    Vector3f const& get_fNrv(size_t i) const;
    /// Sets or clears the deleted flag of a face.
    void set_fDeleted(size_t i, bool deleted);

    /// Appends a face, with zero entries in the channels that are on (texture indices -1).
    /// \return its index
    size_t add_face(BaseTriFace const& face);

    /// Computes the vertex normals, weighted by area, and switches their channel on. A vertex
    /// without a face of positive area gets a zero normal. Faces that are not legal are left out.
    void update_VNrv();
    /// Computes the face normals and switches their channel on; zero for a face without area.
    void update_FNrv();

    // As with the channels of the vertices.
    /// Switches the flags of the faces on.
    void enable_fFlag();
    /// Switches the flags of the faces off.
    void disable_fFlag();
    /// Switches the normals of the faces on.
    void enable_fNormal();
    /// Switches the normals of the faces off.
    void disable_fNormal();

    /// Switches the texture on, with three indices -1 for each face. It stays as it is if it is on.
    void enable_texture();
    /// Drops the texture and its memory.
    void disable_texture();
    /// Replaces the atlas.
    void set_texture_image(Image<3, unsigned char> const& image);
    /// Replaces the places in the atlas.
    void set_texture_coords(std::vector<UVCoord> const& coords);
    /// Throws `std::out_of_range` for a face that is not there, or if the texture is off.
    void set_face_texture_id(size_t face, Vector3i const& ids);

protected:
    /// Swaps the contents of two meshes.
    void exchange(BaseTriMesh& other) noexcept;
    /// Writes all content to the temporary file.
    void write_channels(detail::BinaryWriter& writer) const override;
    /// Reads what `write_channels` wrote.
    void read_channels(detail::BinaryReader& reader) override;
    void drop_content() override;
    void keep_vertices(std::vector<char> const& keep) override;

private:
    bool is_legal(BaseTriFace const& face) const;
    bool has_legal_texture() const;
    void keep_faces(std::vector<char> const& keep);
    void repair_face_channels();
};

} // namespace OrvaneAlgorithm
