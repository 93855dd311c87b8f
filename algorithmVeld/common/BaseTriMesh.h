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
    std::array<int, 3> v{{-1, -1, -1}};

    BaseTriFace() = default;
    BaseTriFace(int a, int b, int c) : v{{a, b, c}} {}

    int& operator[](size_t i) { return v[i]; }
    int operator[](size_t i) const { return v[i]; }
};

/// Array mesh: a cloud with triangles, and optionally normals and flags of faces and a texture.
class ALGORITHMVELD_API BaseTriMesh : public Cloud
{
public:
    /// Texture coordinates; (0, 0) is the lower left corner of the image, (1, 1) the upper right.
    struct UVCoord
    {
        float u = 0.0F;
        float v = 0.0F;
    };

    BaseTriMesh() = default;
    BaseTriMesh(BaseTriMesh const&) = default;
    BaseTriMesh& operator=(BaseTriMesh const&) = default;
    ~BaseTriMesh() override = default;

    int swap_out_data() override;
    int swap_in_data() override;
    void clear() override;
    /// Removes the flagged vertices and faces and the faces that use a removed vertex. The order of
    /// what stays is kept; vertices that lose their last face stay.
    void squeeze() override;
    bool is_legal() const override;
    void repair_illegal() override;
    void rigid_transformation(RigidMatrix const& motion) override;

    std::vector<BaseTriFace> faces;
    bool has_fNormal = false;              ///< whether `fNrv` is valid
    std::vector<Vector3f> fNrv;            ///< unit normals of the faces
    bool has_fFlag = false;                ///< whether `fFlag` is valid
    std::vector<unsigned char> fFlag;      ///< bit `DELETED` marks a face as deleted
    bool has_texture = false;              ///< whether the three texture members are valid
    Image<3, unsigned char> texture_image; ///< the atlas
    std::vector<UVCoord> texture_coords;
    std::vector<Vector3i> face_texture_ids; ///< for each face three indices into `texture_coords`

    size_t get_fn() const { return faces.size(); }
    BaseTriFace const& get_face(size_t i) const;
    Vector3f& get_fNrv(size_t i);
    Vector3f const& get_fNrv(size_t i) const;
    /// Appends a face. \return its index
    size_t add_face(BaseTriFace const& face);

    /// Computes the vertex normals, weighted by area, and switches their channel on. A vertex
    /// without a face of positive area gets a zero normal.
    void update_VNrv();
    /// Computes the face normals and switches their channel on; zero for a face without area.
    void update_FNrv();

    /// Sets or clears the deleted flag of a face; the flag channel has to be on.
    void set_fDeleted(size_t i, bool deleted);
    void enable_fFlag();
    void disable_fFlag();
    void enable_fNormal();
    void disable_fNormal();

    /// Switches the texture on, with three indices -1 for each face.
    void enable_texture();
    void set_texture_image(Image<3, unsigned char> const& image);
    void set_texture_coords(std::vector<UVCoord> const& coords);
    void set_face_texture_id(size_t face, Vector3i const& ids);

private:
    void keep_faces(std::vector<char> const& keep, std::vector<int> const& new_vertices);
};

} // namespace OrvaneAlgorithm
