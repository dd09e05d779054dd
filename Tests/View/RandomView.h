#pragma once

#include <LumvoData/LumvoData.h>

#include <algorithm>
#include <cmath>
#include <random>

/// Random numbers, points and boxes, the same in every run.
class RandomView
{
public:
    double operator()(double low, double high) { return std::uniform_real_distribution(low, high)(m_Engine); }
    float Float(double low, double high) { return static_cast<float>((*this)(low, high)); }
    int Int(int low, int high) { return std::uniform_int_distribution(low, high)(m_Engine); }
    AMath::Vector3 Point(double low, double high)
    {
        const double x = (*this)(low, high), y = (*this)(low, high), z = (*this)(low, high);
        return {x, y, z};
    }

private:
    std::mt19937 m_Engine{2011};
};

/// An orthographic view from a random place, up to 3000 pixels wide and high, and what it was made from.
struct View
{
    explicit View(RandomView& random) : eye(random.Point(-1000, 1000))
    {
        do {
            direction = random.Point(-2, 2);
            up = random.Point(-2, 2);
        } while (direction.crossProduct(up).length() < 0.1);
        camera.ViewMatrix(GrphUtil::ComputeViewMatrix(eye, direction, up));
        const double width = random(1, 3000), height = random(1, 3000);
        viewport.Reset(random(-50, 50), random(-50, 50), width, height);
        viewport.SetExtents(random.Float(1, 100));
        viewport.SetZoom(random.Float(0.05, 40));
        viewport.UpdateProjectionMatrix();
    }
    /// The row vector (p, 1) times m.
    static AMath::Vector4 Map(const AMath::Vector3& p, const AMath::Matrix4& m)
    {
        return m.transpose() * AMath::Vector4(p.x, p.y, p.z, 1);
    }

    AMath::Vector3 eye, direction, up;
    Kelvra::ACamera camera;
    Kelvra::AViewport viewport;
};

/// Corner 0 to 7 of a box.
inline AMath::Vector3 Corner(const AMath::AxisAlignedBox& box, int i)
{
    const AMath::Vector3 &low = box.getMinimum(), &high = box.getMaximum();
    return {(i & 1) != 0 ? high.x : low.x, (i & 2) != 0 ? high.y : low.y, (i & 4) != 0 ? high.z : low.z};
}
