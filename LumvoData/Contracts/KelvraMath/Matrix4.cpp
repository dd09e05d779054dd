#include <LumvoData/Contracts/KelvraMath/Matrix4.h>

#include <cmath>
#include <limits>
#include <utility>

namespace AMath {
namespace {

/// All elements NaN: a result that cannot be mistaken for a transform.
Matrix4 NotInvertible() noexcept
{
    Matrix4 m;
    for (std::size_t k = 0; k < 16; ++k)
        m[k] = std::numeric_limits<double>::quiet_NaN();
    return m;
}

void SwapRows(Matrix4& m, std::size_t a, std::size_t b) noexcept
{
    for (std::size_t c = 0; c < 4; ++c)
        std::swap(m[4 * a + c], m[4 * b + c]);
}

void SubtractRow(Matrix4& m, std::size_t from, std::size_t r, double factor) noexcept
{
    for (std::size_t c = 0; c < 4; ++c)
        m[4 * from + c] -= factor * m[4 * r + c];
}

/// Makes `right`, the identity at first, the inverse of the first `size` rows and columns of `left`.
bool InvertBlock(Matrix4& left, Matrix4& right, std::size_t size) noexcept
{
    for (std::size_t column = 0; column < size; ++column) {
        std::size_t pivot = column;
        for (std::size_t r = column + 1; r < size; ++r)
            if (std::abs(left[4 * r + column]) > std::abs(left[4 * pivot + column]))
                pivot = r;
        const double divisor = left[4 * pivot + column];
        if (divisor == 0 || !std::isfinite(divisor))
            return false;
        if (pivot != column) {
            SwapRows(left, pivot, column);
            SwapRows(right, pivot, column);
        }
        for (std::size_t r = 0; r < size; ++r) {
            const double factor = left[4 * r + column] / divisor;
            if (r == column || factor == 0)
                continue;
            SubtractRow(left, r, column, factor);
            SubtractRow(right, r, column, factor);
        }
    }
    // What is left of the block is its diagonal.
    for (std::size_t r = 0; r < size; ++r)
        for (std::size_t c = 0; c < size; ++c)
            right[4 * r + c] /= left[5 * r];
    return true;
}

bool IsFinite(const Matrix4& m) noexcept
{
    for (std::size_t k = 0; k < 16; ++k)
        if (!std::isfinite(m[k]))
            return false;
    return true;
}
} // namespace

Matrix4 Matrix4::inverse() const noexcept
{
    // An affine transform is undone in its own form: the translation does not disturb the axes, and the fourth column
    // stays exactly what it is.
    const Matrix4& m = *this;
    const bool affine = m[3] == 0 && m[7] == 0 && m[11] == 0 && m[15] == 1;
    Matrix4 left = m;
    Matrix4 right;
    if (!InvertBlock(left, right, affine ? 3 : 4))
        return NotInvertible();
    if (affine)
        for (std::size_t c = 0; c < 3; ++c)
            right[12 + c] = -(m[12] * right[c] + m[13] * right[4 + c] + m[14] * right[8 + c]);
    return IsFinite(right) ? right : NotInvertible();
}
} // namespace AMath
