#include "workflow/pictures/RayScene.h"

#include "workflow/Error.h"

#include "algorithmVeld/common/running/Progress.h"

#include <embree3/rtcore.h>

namespace veld
{

using OrvaneAlgorithm::detail::is_run_cancelled;
using OrvaneAlgorithm::detail::poll_cancel;

static_assert(sizeof(Vector3f) == 3 * sizeof(float), "points are handed over as plain floats");

struct RayScene::Handles
{
    RTCDevice device = nullptr;
    RTCScene scene = nullptr;

    Handles()
    {
        // One thread builds the tree: where two triangles are hit at the same distance, its shape
        // decides, and that must not depend on the machine's load.
        device = rtcNewDevice("threads=1,set_affinity=0");
        if (device == nullptr)
        {
            throw OperationError("the ray caster does not start on this machine");
        }
        scene = rtcNewScene(device);
        rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
    }
    ~Handles()
    {
        rtcReleaseScene(scene);
        rtcReleaseDevice(device);
    }
    Handles(Handles const&) = delete;
    Handles& operator=(Handles const&) = delete;

    /// Memory of a new geometry, owned by it.
    template <typename T>
    T* new_buffer(RTCGeometry geometry, RTCBufferType type, RTCFormat format, std::size_t count)
    {
        void* const buffer = rtcSetNewGeometryBuffer(geometry, type, 0, format, sizeof(T), count);
        if (buffer == nullptr && count > 0)
        {
            rtcReleaseGeometry(geometry);
            throw std::bad_alloc();
        }
        return static_cast<T*>(buffer);
    }

    void finish(RTCGeometry geometry)
    {
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
        // Building the tree takes seconds for millions of faces. It asks the thread that builds.
        rtcSetSceneProgressMonitorFunction(
            scene, [](void* /*unused*/, double /*done*/) { return !is_run_cancelled(); }, nullptr);
        rtcCommitScene(scene);
        poll_cancel();
        if (rtcGetDeviceError(device) != RTC_ERROR_NONE)
        {
            throw OperationError("the ray caster refuses the mesh");
        }
    }
};

RayScene RayScene::of_triangles(std::vector<Vector3f> const& points,
                                std::vector<std::array<std::uint32_t, 3>> const& triangles)
{
    auto handles = std::make_shared<Handles>();
    if (!triangles.empty())
    {
        RTCGeometry const geometry = rtcNewGeometry(handles->device, RTC_GEOMETRY_TYPE_TRIANGLE);
        auto* const places = handles->new_buffer<std::array<float, 3>>(
            geometry, RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT3, points.size());
        for (std::size_t i = 0; i < points.size(); ++i)
        {
            places[i] = {points[i].x(), points[i].y(), points[i].z()};
        }
        auto* const corners = handles->new_buffer<std::array<std::uint32_t, 3>>(
            geometry, RTC_BUFFER_TYPE_INDEX, RTC_FORMAT_UINT3, triangles.size());
        std::copy(triangles.begin(), triangles.end(), corners);
        handles->finish(geometry);
    }
    else
    {
        rtcCommitScene(handles->scene);
    }
    return RayScene(std::move(handles));
}

RayScene RayScene::of_rods(std::vector<Vector3f> const& ends, std::vector<float> const& radii)
{
    auto handles = std::make_shared<Handles>();
    if (!ends.empty())
    {
        RTCGeometry const geometry =
            rtcNewGeometry(handles->device, RTC_GEOMETRY_TYPE_ROUND_LINEAR_CURVE);
        auto* const places = handles->new_buffer<std::array<float, 4>>(
            geometry, RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT4, ends.size());
        for (std::size_t i = 0; i < ends.size(); ++i)
        {
            places[i] = {ends[i].x(), ends[i].y(), ends[i].z(), radii[i]};
        }
        auto* const starts = handles->new_buffer<std::uint32_t>(geometry, RTC_BUFFER_TYPE_INDEX,
                                                                RTC_FORMAT_UINT, ends.size() / 2);
        for (std::size_t i = 0; i < ends.size() / 2; ++i)
        {
            starts[i] = static_cast<std::uint32_t>(2 * i);
        }
        handles->finish(geometry);
    }
    else
    {
        rtcCommitScene(handles->scene);
    }
    return RayScene(std::move(handles));
}

namespace
{

RTCRay make_ray(Vector3f const& origin, Vector3f const& direction, float far)
{
    RTCRay ray;
    ray.org_x = origin.x();
    ray.org_y = origin.y();
    ray.org_z = origin.z();
    ray.dir_x = direction.x();
    ray.dir_y = direction.y();
    ray.dir_z = direction.z();
    ray.tnear = 0.0F;
    ray.tfar = far;
    ray.time = 0.0F;
    ray.mask = 0xFFFFFFFFU;
    ray.id = 0;
    ray.flags = 0;
    return ray;
}

} // namespace

RayHit RayScene::first_hit(Vector3f const& origin, Vector3f const& direction) const
{
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit query;
    query.ray = make_ray(origin, direction, std::numeric_limits<float>::infinity());
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(handles_->scene, &context, &query);
    RayHit result;
    if (query.hit.geomID != RTC_INVALID_GEOMETRY_ID)
    {
        result.element = query.hit.primID;
        result.distance = query.ray.tfar;
        result.u = query.hit.u;
        result.v = query.hit.v;
        result.normal = Vector3f(query.hit.Ng_x, query.hit.Ng_y, query.hit.Ng_z).stableNormalized();
    }
    return result;
}

bool RayScene::blocked(Vector3f const& origin, Vector3f const& direction, float distance) const
{
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRay ray = make_ray(origin, direction, distance);
    rtcOccluded1(handles_->scene, &context, &ray);
    return ray.tfar < 0.0F;
}

} // namespace veld
