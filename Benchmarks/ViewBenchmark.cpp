// View geometry over a million items, each job beside the same one written with glm and with Eigen, and the two
// tests of boxes beside plain scalar code. Compare ratios within one run, not times between runs.

#include <LumvoData/LumvoData.h>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>
#include <glm/glm.hpp>

#include <cmath>
#include <random>
#include <vector>

using namespace Kelvra;
using AMath::AxisAlignedBox;
using AMath::Matrix4;
using AMath::Vector3;

namespace {

constexpr std::size_t s_Count = 1'000'000;

/// A view that shows about half of a million small boxes, the boxes, and one point in each.
struct Data
{
    Data()
    {
        std::mt19937_64 random(7);
        std::uniform_real_distribution<double> place(-1000, 1000);
        std::uniform_real_distribution<double> size(0.1, 5);
        for (std::size_t i = 0; i < s_Count; ++i) {
            const Vector3 centre(place(random), place(random), place(random));
            const Vector3 half(size(random), size(random), size(random));
            boxes.emplace_back(centre - half, centre + half);
            points.push_back(centre);
        }
        camera.ViewMatrix(GrphUtil::ComputeViewMatrix({0, 0, 3000}, {0, 0, -1}, {0, 1, 0}));
        viewport.SetExtents(71); // times zoom 20: 1420 of 2000 units along each axis
        viewport.UpdateProjectionMatrix();
        GrphUtil::ExtractPlanes(frustum, camera, viewport);
        for (const AxisAlignedBox& box : boxes)
            visible += frustum.IsVisible(box) ? 1U : 0U;
    }

    std::vector<AxisAlignedBox> boxes;
    std::vector<Vector3> points;
    ACamera camera;
    AViewport viewport{0, 0, 1000, 1000};
    AFrustum frustum;
    std::size_t visible = 0;
};

const Data& Scene()
{
    static const Data s_Data;
    return s_Data;
}

const Matrix4 s_Transform(0.8, 0.6, 0, 0, -0.6, 0.8, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1);

/// The two boxes differ at most by rounding.
bool Near(const Vector3& a, double x, double y, double z)
{
    return std::abs(a.x - x) + std::abs(a.y - y) + std::abs(a.z - z) < 1e-6;
}

// Boxes against a frustum: `test` tells whether box i is visible. The count is checked outside the timed part.
template <class Test> void CountVisible(benchmark::State& state, Test test)
{
    std::size_t visible = 0;
    for (auto _ : state) {
        visible = 0;
        for (std::size_t i = 0; i < s_Count; ++i)
            visible += test(i) ? 1U : 0U;
        benchmark::DoNotOptimize(visible);
    }
    if (visible != Scene().visible)
        state.SkipWithError("another number of boxes is visible");
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(s_Count));
}

void IsVisible(benchmark::State& state)
{
    CountVisible(state, [&scene = Scene()](std::size_t i) { return scene.frustum.IsVisible(scene.boxes[i]); });
}

void IsVisibleScalar(benchmark::State& state)
{
    const Data& scene = Scene();
    double planes[4][4];
    for (int p = 0; p < 4; ++p) {
        const AMath::Plane& plane = scene.frustum.GetPlane(p);
        const double values[] = {plane.normal.x, plane.normal.y, plane.normal.z, plane.d};
        std::copy(std::begin(values), std::end(values), planes[p]);
    }
    CountVisible(state, [&](std::size_t i) {
        const AxisAlignedBox& box = scene.boxes[i];
        if (box.m_State != AMath::BoxStateFinite)
            return box.m_State == AMath::BoxStateInfinite;
        const double cx = (box.m_Maximum.x + box.m_Minimum.x) * 0.5, hx = (box.m_Maximum.x - box.m_Minimum.x) * 0.5;
        const double cy = (box.m_Maximum.y + box.m_Minimum.y) * 0.5, hy = (box.m_Maximum.y - box.m_Minimum.y) * 0.5;
        const double cz = (box.m_Maximum.z + box.m_Minimum.z) * 0.5, hz = (box.m_Maximum.z - box.m_Minimum.z) * 0.5;
        for (const auto& p : planes)
            if (p[0] * cx + p[1] * cy + p[2] * cz + p[3] <
                -(std::abs(p[0] * hx) + std::abs(p[1] * hy) + std::abs(p[2] * hz)))
                return false;
        return true;
    });
}

struct GlmBox
{
    glm::dvec3 minimum, maximum;
};

std::vector<GlmBox> GlmBoxes()
{
    std::vector<GlmBox> boxes;
    for (const AxisAlignedBox& box : Scene().boxes)
        boxes.push_back(
            {{box.m_Minimum.x, box.m_Minimum.y, box.m_Minimum.z}, {box.m_Maximum.x, box.m_Maximum.y, box.m_Maximum.z}});
    return boxes;
}

void IsVisibleGlm(benchmark::State& state)
{
    const std::vector<GlmBox> boxes = GlmBoxes();
    glm::dvec4 planes[4];
    for (int p = 0; p < 4; ++p) {
        const AMath::Plane& plane = Scene().frustum.GetPlane(p);
        planes[p] = {plane.normal.x, plane.normal.y, plane.normal.z, plane.d};
    }
    CountVisible(state, [&](std::size_t i) {
        const glm::dvec3 centre = (boxes[i].maximum + boxes[i].minimum) * 0.5;
        const glm::dvec3 half = (boxes[i].maximum - boxes[i].minimum) * 0.5;
        for (const glm::dvec4& p : planes)
            if (glm::dot(glm::dvec3(p), centre) + p.w < -glm::dot(glm::abs(glm::dvec3(p)), half))
                return false;
        return true;
    });
}

struct EigenBox
{
    Eigen::Vector3d minimum, maximum;
};

std::vector<EigenBox> EigenBoxes()
{
    std::vector<EigenBox> boxes;
    for (const AxisAlignedBox& box : Scene().boxes)
        boxes.push_back(
            {{box.m_Minimum.x, box.m_Minimum.y, box.m_Minimum.z}, {box.m_Maximum.x, box.m_Maximum.y, box.m_Maximum.z}});
    return boxes;
}

void IsVisibleEigen(benchmark::State& state)
{
    const std::vector<EigenBox> boxes = EigenBoxes();
    Eigen::Vector3d normals[4];
    double constants[4];
    for (int p = 0; p < 4; ++p) {
        const AMath::Plane& plane = Scene().frustum.GetPlane(p);
        normals[p] = {plane.normal.x, plane.normal.y, plane.normal.z};
        constants[p] = plane.d;
    }
    CountVisible(state, [&](std::size_t i) {
        const Eigen::Vector3d centre = (boxes[i].maximum + boxes[i].minimum) * 0.5;
        const Eigen::Vector3d half = (boxes[i].maximum - boxes[i].minimum) * 0.5;
        for (int p = 0; p < 4; ++p)
            if (normals[p].dot(centre) + constants[p] < -normals[p].cwiseAbs().dot(half))
                return false;
        return true;
    });
}

// World points to the screen: `map` gives the pixel of point i. The last pixel is checked.
template <class Map> void MapPoints(benchmark::State& state, Map map)
{
    AMath::Vector2 pixel;
    for (auto _ : state)
        for (std::size_t i = 0; i < s_Count; ++i) {
            pixel = map(i);
            benchmark::DoNotOptimize(pixel);
        }
    const AMath::Vector2 expected =
        GrphUtil::WorldPoint2ScreenPoint(Scene().points.back(), Scene().camera, Scene().viewport);
    if (std::abs(pixel.x - expected.x) + std::abs(pixel.y - expected.y) > 0.001) // summed in another order
        state.SkipWithError("the last point maps to another pixel");
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(s_Count));
}

void WorldPoint2ScreenPoint(benchmark::State& state)
{
    MapPoints(state, [&scene = Scene()](std::size_t i) {
        return GrphUtil::WorldPoint2ScreenPoint(scene.points[i], scene.camera, scene.viewport);
    });
}

void ScreenPointMapper(benchmark::State& state)
{
    const GrphUtil::ScreenPointMapper map(Scene().camera, Scene().viewport);
    MapPoints(state, [&scene = Scene(), &map](std::size_t i) { return map(scene.points[i]); });
}

void MatrixTimesVectorGlm(benchmark::State& state)
{
    const Matrix4 worldToClip = Scene().camera.ViewMatrix().concatenate(Scene().viewport.ProjectionMatrix());
    glm::dmat4 matrix; // its columns are our rows
    for (int k = 0; k < 16; ++k)
        matrix[k / 4][k % 4] = worldToClip[static_cast<std::size_t>(k)];
    std::vector<glm::dvec3> points;
    for (const Vector3& p : Scene().points)
        points.emplace_back(p.x, p.y, p.z);
    const double width = Scene().viewport.GetWidth();
    const double height = Scene().viewport.GetHeight();
    MapPoints(state, [&](std::size_t i) -> AMath::Vector2 {
        const glm::dvec4 clip = matrix * glm::dvec4(points[i], 1);
        return {static_cast<float>((0.5 + 0.5 * clip.x) * width), static_cast<float>((0.5 - 0.5 * clip.y) * height)};
    });
}

void MatrixTimesVectorEigen(benchmark::State& state)
{
    const Matrix4 worldToClip = Scene().camera.ViewMatrix().concatenate(Scene().viewport.ProjectionMatrix());
    const Eigen::Matrix4d matrix = Eigen::Map<const Eigen::Matrix4d>(&worldToClip[0]); // its columns are our rows
    std::vector<Eigen::Vector3d> points;
    for (const Vector3& p : Scene().points)
        points.emplace_back(p.x, p.y, p.z);
    const double width = Scene().viewport.GetWidth();
    const double height = Scene().viewport.GetHeight();
    MapPoints(state, [&](std::size_t i) -> AMath::Vector2 {
        const Eigen::Vector4d clip = matrix * points[i].homogeneous();
        return {static_cast<float>((0.5 + 0.5 * clip.x()) * width),
                static_cast<float>((0.5 - 0.5 * clip.y()) * height)};
    });
}

// Boxes transformed and merged: `unite` gives the union as minimum and maximum, which are checked.
template <class Unite> void MergeBoxes(benchmark::State& state, Unite unite)
{
    AxisAlignedBox expected;
    for (AxisAlignedBox box : Scene().boxes) {
        box.transform(s_Transform);
        expected.merge(box);
    }
    bool equal = true;
    for (auto _ : state) {
        const auto [minimum, maximum] = unite();
        equal = equal && Near(expected.m_Minimum, minimum[0], minimum[1], minimum[2]) &&
                Near(expected.m_Maximum, maximum[0], maximum[1], maximum[2]);
    }
    if (!equal)
        state.SkipWithError("another union");
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(s_Count));
}

void TransformAndMerge(benchmark::State& state)
{
    MergeBoxes(state, [] {
        AxisAlignedBox all;
        for (AxisAlignedBox box : Scene().boxes) {
            box.transform(s_Transform);
            all.merge(box);
        }
        const AMath::Vector3 &low = all.m_Minimum, &high = all.m_Maximum;
        return std::pair{glm::dvec3(low.x, low.y, low.z), glm::dvec3(high.x, high.y, high.z)};
    });
}

void TransformAndMergeScalar(benchmark::State& state)
{
    MergeBoxes(state, [] {
        double low[3] = {INFINITY, INFINITY, INFINITY};
        double high[3] = {-INFINITY, -INFINITY, -INFINITY};
        const Matrix4& m = s_Transform;
        for (const AxisAlignedBox& box : Scene().boxes) {
            if (box.m_State != AMath::BoxStateFinite)
                continue;
            for (std::size_t a = 0; a < 3; ++a) {
                const double x0 = box.m_Minimum.x * m[a], x1 = box.m_Maximum.x * m[a];
                const double y0 = box.m_Minimum.y * m[a + 4], y1 = box.m_Maximum.y * m[a + 4];
                const double z0 = box.m_Minimum.z * m[a + 8], z1 = box.m_Maximum.z * m[a + 8];
                low[a] = std::min(low[a], std::min(x0, x1) + std::min(y0, y1) + std::min(z0, z1) + m[a + 12]);
                high[a] = std::max(high[a], std::max(x0, x1) + std::max(y0, y1) + std::max(z0, z1) + m[a + 12]);
            }
        }
        return std::pair{glm::dvec3(low[0], low[1], low[2]), glm::dvec3(high[0], high[1], high[2])};
    });
}

void TransformAndMergeGlm(benchmark::State& state)
{
    const std::vector<GlmBox> boxes = GlmBoxes();
    glm::dvec3 rows[4];
    for (int r = 0; r < 4; ++r)
        rows[r] = {s_Transform[static_cast<std::size_t>(4 * r)], s_Transform[static_cast<std::size_t>(4 * r + 1)],
                   s_Transform[static_cast<std::size_t>(4 * r + 2)]};
    MergeBoxes(state, [&] {
        GlmBox all{glm::dvec3(INFINITY), glm::dvec3(-INFINITY)};
        for (const GlmBox& box : boxes) {
            glm::dvec3 low = rows[3];
            glm::dvec3 high = rows[3];
            for (int axis = 0; axis < 3; ++axis) {
                const glm::dvec3 a = rows[axis] * box.minimum[axis];
                const glm::dvec3 b = rows[axis] * box.maximum[axis];
                low += glm::min(a, b);
                high += glm::max(a, b);
            }
            all = {glm::min(all.minimum, low), glm::max(all.maximum, high)};
        }
        return std::pair{all.minimum, all.maximum};
    });
}

void TransformAndMergeEigen(benchmark::State& state)
{
    const std::vector<EigenBox> boxes = EigenBoxes();
    Eigen::Vector3d rows[4];
    for (int r = 0; r < 4; ++r)
        rows[r] = {s_Transform[static_cast<std::size_t>(4 * r)], s_Transform[static_cast<std::size_t>(4 * r + 1)],
                   s_Transform[static_cast<std::size_t>(4 * r + 2)]};
    MergeBoxes(state, [&] {
        Eigen::Vector3d minimum = Eigen::Vector3d::Constant(INFINITY);
        Eigen::Vector3d maximum = Eigen::Vector3d::Constant(-INFINITY);
        for (const EigenBox& box : boxes) {
            Eigen::Vector3d low = rows[3];
            Eigen::Vector3d high = rows[3];
            for (int axis = 0; axis < 3; ++axis) {
                const Eigen::Vector3d a = rows[axis] * box.minimum[axis];
                const Eigen::Vector3d b = rows[axis] * box.maximum[axis];
                low += a.cwiseMin(b);
                high += a.cwiseMax(b);
            }
            minimum = minimum.cwiseMin(low);
            maximum = maximum.cwiseMax(high);
        }
        return std::pair{minimum, maximum};
    });
}

BENCHMARK(IsVisible);
BENCHMARK(IsVisibleScalar);
BENCHMARK(IsVisibleGlm);
BENCHMARK(IsVisibleEigen);
BENCHMARK(WorldPoint2ScreenPoint);
BENCHMARK(ScreenPointMapper);
BENCHMARK(MatrixTimesVectorGlm);
BENCHMARK(MatrixTimesVectorEigen);
BENCHMARK(TransformAndMerge);
BENCHMARK(TransformAndMergeScalar);
BENCHMARK(TransformAndMergeGlm);
BENCHMARK(TransformAndMergeEigen);
} // namespace

BENCHMARK_MAIN();
